// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Bytes.h"

#include <sensor/EOP.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace test {

/// A record as files hold it, with angles.
struct EopRecord {
  double time = 0.0;
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double omega = 0.0;
  double phi = 0.0;
  double kappa = 0.0;
  std::int32_t status = 0;
};

/// Records a tenth of a second apart from 50 s on, that move by (1, -2, 0.5) metres and turn a little each.
inline std::vector<EopRecord> eopRecords(int count) {
  std::vector<EopRecord> records;
  for (int i = 0; i < count; ++i) {
    records.push_back({50.0 + 0.1 * i, 1.0 * i, -2.0 * i, 1000.0 + 0.5 * i, 0.01 * i, -0.02, 0.5 + 0.03 * i, i});
  }
  return records;
}

inline std::string parameterBlock(int count, std::string const& version = "3") {
  return "<?xml version=\"1.0\"?>\n<EOPData version=\"" + version + "\" numsets=\"" + std::to_string(count) +
         "\">\n<TM source=\"clock\" />\n<Unknown a=\"1\" />\n<AnchorPoint lat=\"0.8\" lon=\"0.2\" h=\"400.5\" />\n"
         "<POS source=\"inertial\" />\n<Source name=\"test\" />\n<AbsoluteTime value=\"4000000000\" />\n"
         "<DefaultStandardDeviation x=\"0.1\" y=\"0.2\" z=\"0.3\" omega=\"1e-3\" phi=\"2e-3\" kappa=\"3e-3\" "
         "/>\n</EOPData>";
}

/// Entry i of a table of standard deviations: i + 1, i + 2 and so on.
inline std::array<float, 6> stdDevEntry(int i) {
  auto const first = static_cast<float>(i + 1);
  return {first, first + 1, first + 2, first + 3, first + 4, first + 5};
}

/// How a file is made up.
struct EopFile {
  std::int32_t version = 3;
  std::vector<EopRecord> records = eopRecords(3);
  bool stdDevs = false;
  std::int32_t gap = 0;  ///< Bytes between header, records and standard deviations.
  int promised = -1;     ///< Count in the header; that of the records when negative.
  std::string block;     ///< XML block; a regular one when empty.

  std::int32_t count() const { return promised < 0 ? static_cast<std::int32_t>(records.size()) : promised; }
  std::int32_t recordSize() const { return version == 3 ? 48 : 60; }

  std::string bytes() const {
    std::string const xml = (block.empty() ? parameterBlock(count()) : block) + '\0';
    auto const length = static_cast<std::int32_t>(xml.size());
    std::int32_t const header = version == 1 ? 60 : (version == 2 ? 24 : 20) + length;
    std::int32_t const data = header + gap;
    std::int32_t const devs = stdDevs ? data + recordSize() * static_cast<std::int32_t>(records.size()) + gap : 0;
    Bytes out;
    out << std::string("EOP_") << version << data;
    if (version != 3) {
      out << std::int32_t{77};
    }
    out << devs;
    if (version == 1) {
      out << count() << 12.5 << 0.2 << 0.8 << 400.5 << std::int32_t{88};
    } else {
      out << length << xml;
    }
    out << std::string(static_cast<std::size_t>(gap), '\xEE');
    for (EopRecord const& r : records) {
      append(out, r);
    }
    out << std::string(static_cast<std::size_t>(gap), '\xEE');
    for (int i = 0; stdDevs && i < static_cast<int>(records.size()); ++i) {
      out << stdDevEntry(i);
    }
    return out.str();
  }

private:
  void append(Bytes& out, EopRecord const& r) const {
    out << r.time << r.x << r.y << r.z;
    if (version == 3) {
      out << static_cast<float>(r.omega) << static_cast<float>(r.phi) << static_cast<float>(r.kappa)
          << static_cast<float>(r.status);
    } else {
      out << r.omega << r.phi << r.kappa << r.status;
    }
  }
};

}  // namespace test
