// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/Serializer.h>
#include <sensor/kessensor_export.h>

#include <string>

namespace sensor {

class Misalignment;

/// The text file "misalignment.dat" of the older cameras: comment lines that begin with "#", then one line of six
/// numbers, omega, its standard deviation, phi, its deviation, kappa, its deviation, in radians. What follows in that
/// line or after it is ignored. Numbers are read and written in the C locale. Of a line of numbers the first 64 KiB
/// count.
class KESSENSOR_EXPORT SerializerMisalignmentV1Dat : public Serializer<Misalignment> {
public:
  /// `fileName` is a UTF-8 path; nothing is opened yet.
  explicit SerializerMisalignmentV1Dat(std::string const& fileName);

  /// Throws std::runtime_error "Failed to open misalignment file: " + name, "Not a valid misalignment file: " + name
  /// (no line but comments), "Parse error in file: " + name + "(" + line + ")"; the target then stays as it was.
  void read(Misalignment* target) const override;
  /// Writes ten decimals. Throws std::runtime_error "Failed to write misalignment file: " + name; the old file then
  /// stays.
  void write(Misalignment const* source) const override;
  ~SerializerMisalignmentV1Dat() override;
  SerializerMisalignmentV1Dat(SerializerMisalignmentV1Dat const&) = default;
  SerializerMisalignmentV1Dat& operator=(SerializerMisalignmentV1Dat const&) = default;

private:
  std::string mFileName;
};

}  // namespace sensor
