// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Bytes.h"

#include <sensor/odf.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace test {

constexpr std::size_t odfHeaderSize = 512;
constexpr std::size_t odfRecordSize = 40;

/// A packed record in which every field has another value; so has every record.
inline sensor::odf odfRecord(int i) {
  sensor::odf record;
  record.t = 10 * i - 15;
  record.x = 1000 * i + 1;
  record.y = -2000 * i + 2;
  record.z = 300 * i + 3;
  record.omega = 11 * i + 4;
  record.phi = -12 * i + 5;
  record.kappa = 13 * i + 6;
  record.stdDevX = static_cast<std::uint16_t>(100 * i + 1);
  record.stdDevY = static_cast<std::uint16_t>(100 * i + 2);
  record.stdDevZ = static_cast<std::uint16_t>(100 * i + 3);
  record.stdDevOmega = static_cast<std::uint16_t>(100 * i + 4);
  record.stdDevPhi = static_cast<std::uint16_t>(100 * i + 5);
  record.stdDevKappa = static_cast<std::uint16_t>(100 * i + 6);
  return record;
}

inline std::vector<sensor::odf> odfRecords(int count) {
  std::vector<sensor::odf> records;
  for (int i = 0; i < count; ++i) {
    records.push_back(odfRecord(i));
  }
  return records;
}

/// How an orientation file is made up, byte by byte without the library.
struct OdfFile {
  /// The texts of the header by their offsets; the count comes by itself unless it is there.
  std::map<std::size_t, std::string> fields{{0, "ODF 1.2"},
                                            {16, "plane"},
                                            {48, "valley"},
                                            {112, "line7"},
                                            {192, "1"},
                                            {194, "100"},
                                            {208, "3"},
                                            {210, "2000"},
                                            {224, "4"},
                                            {240, "1234"},
                                            {256, "dry"},
                                            {352, "  0.8000000000"},
                                            {368, "  0.2000000000"},
                                            {384, "1000"},
                                            {396, "10"},
                                            {416, "-7"},
                                            {428, "400"},
                                            {448, "8"},
                                            {460, "5000"},
                                            {480, "9"}};
  std::vector<sensor::odf> records = odfRecords(4);

  OdfFile& with(std::size_t offset, std::string const& text) {
    fields[offset] = text;
    return *this;
  }

  std::string header() const {
    std::string bytes(odfHeaderSize, '\0');
    std::string const count = std::to_string(records.size());
    bytes.replace(176, count.size(), count);
    for (auto const& [offset, text] : fields) {
      if (offset == 176) {
        bytes.replace(offset, 16, std::string(16, '\0'));
      }
      bytes.replace(offset, text.size(), text);
    }
    return bytes;
  }

  std::string bytes() const {
    Bytes out;
    out << header();
    for (sensor::odf const& r : records) {
      out << r.t << r.x << r.y << r.z << r.omega << r.phi << r.kappa;
      out << r.stdDevX << r.stdDevY << r.stdDevZ << r.stdDevOmega << r.stdDevPhi << r.stdDevKappa;
    }
    return out.str();
  }
};

/// The text that begins at `offset` of a file and ends at its first zero byte.
inline std::string textAt(std::string const& bytes, std::size_t offset, std::size_t size) {
  std::string const field = bytes.size() < offset ? std::string() : bytes.substr(offset, size);
  return field.substr(0, field.find('\0'));
}

}  // namespace test
