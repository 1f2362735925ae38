// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/Creation.h>
#include <xmlFileData/System.h>
#include <xmlFileData/Version.h>

#include <string>

namespace xmlFileData {

/// What the four XML files of a calibration folder have in common: the version of the format, the camera system, and
/// who made the file.
///
/// The files are values; they are never deleted through this base, hence its destructor. What the getters refer to
/// lives in the object. A file is filled once; then any number of threads may read it.
class KESSENSOR_EXPORT CalibFileBase {
public:
  /// Version 1.0.0, neither system nor creation, not commented.
  CalibFileBase();
  CalibFileBase(CalibFileBase const&) = default;
  CalibFileBase(CalibFileBase&&) = default;
  CalibFileBase& operator=(CalibFileBase const&) = default;
  CalibFileBase& operator=(CalibFileBase&&) = default;

  /// The camera system; empty until set.
  virtual System const& system() const;
  /// Who made the file; empty until set.
  virtual Creation const& creation() const;
  virtual Version const& version() const;
  /// Whether the hint on the structure of the file is written into it.
  virtual bool isCommented() const;
  /// Whether a system was read or set.
  virtual bool hasSystem() const;
  /// Whether a creation was read or set.
  virtual bool hasCreation() const;
  /// Takes a version from a text of three pieces with dots between them. Dots without a piece between them count once,
  /// and a piece that isn't a number is 0; a number beyond 32 bits is the nearest that fits. Throws std::runtime_error
  /// "No valid version string: " + text for any other count of pieces, and then the version stays as it was.
  virtual void setVersion(std::string const& text);
  virtual void setVersion(Version const& version);
  virtual void setSystem(System const& system);
  virtual void setCreation(Creation const& creation);
  virtual void setCommented(bool commented);

protected:
  ~CalibFileBase() = default;

private:
  bool mCommented = false;
  bool mHasSystem = false;
  bool mHasCreation = false;
  System mSystem;
  Creation mCreation;
  Version mVersion;
};

}  // namespace xmlFileData
