// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

// Where the numbers of a binary orientation file stand, in bytes. All are little-endian; offsets, counts and versions
// take four bytes, of the others those that are named float take four, and the rest are doubles.

namespace sensor::eopFile {

/// The first bytes of every file; the version follows.
inline constexpr char const* mark = "EOP_";
inline constexpr std::int64_t markSize = 4;
inline constexpr std::int64_t version = 4;
inline constexpr std::int64_t dataOffset = 8;

/// The header of version 1.
namespace oldHeader {
inline constexpr std::int64_t stdDevOffset = 16;
inline constexpr std::int64_t count = 20;
inline constexpr std::int64_t frequency = 24;
inline constexpr std::int64_t anchor = 32;  // x, y, z
inline constexpr std::int64_t size = 60;
}  // namespace oldHeader

/// The header of version 3, in front of the parameter block. Version 2 has a reserved number after the offset of the
/// data, which moves all that follows.
namespace header {
inline constexpr std::int64_t stdDevOffset = 12;
inline constexpr std::int64_t blockLength = 16;
inline constexpr std::int64_t size = 20;
inline constexpr std::int64_t reserved = 4;
}  // namespace header

/// A record starts with the time and the position x, y, z in every version. In versions 1 and 2 the angles are doubles,
/// and the status is an integer.
namespace oldRecord {
inline constexpr std::int64_t omega = 32;
inline constexpr std::int64_t phi = 40;
inline constexpr std::int64_t kappa = 48;
inline constexpr std::int64_t status = 56;
inline constexpr std::int64_t size = 60;
}  // namespace oldRecord

/// A record of version 3: omega, phi, kappa and the status are float.
namespace record {
inline constexpr std::int64_t time = 0;
inline constexpr std::int64_t x = 8;
inline constexpr std::int64_t y = 16;
inline constexpr std::int64_t z = 24;
inline constexpr std::int64_t omega = 32;
inline constexpr std::int64_t phi = 36;
inline constexpr std::int64_t kappa = 40;
inline constexpr std::int64_t status = 44;
inline constexpr std::int64_t size = 48;
}  // namespace record

/// Standard deviations of a record: x, y, z, omega, phi, kappa as float.
inline constexpr std::int64_t stdDevsSize = 24;

/// The parameter block, which is XML.
namespace block {
inline constexpr char root[] = "EOPData";
inline constexpr char version[] = "version";
inline constexpr char count[] = "numsets";
inline constexpr char application[] = "Source";
inline constexpr char name[] = "name";
inline constexpr char positions[] = "POS";
inline constexpr char times[] = "TM";
inline constexpr char source[] = "source";
inline constexpr char anchor[] = "AnchorPoint";
inline constexpr char longitude[] = "lon";
inline constexpr char latitude[] = "lat";
inline constexpr char height[] = "h";
inline constexpr char absoluteTime[] = "AbsoluteTime";
inline constexpr char value[] = "value";
inline constexpr char defaultStdDevs[] = "DefaultStandardDeviation";
}  // namespace block

/// Records, or standard deviations, of one read or write.
inline constexpr std::int64_t blockSize = 8192;

}  // namespace sensor::eopFile
