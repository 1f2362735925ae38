// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/InputFile.h"

#include <array>
#include <istream>
#include <streambuf>
#include <string>

namespace sensor {

/// The bytes of a regular file, in pieces of fixed size.
class InputFileBuffer : public std::streambuf {
public:
  explicit InputFileBuffer(std::string const& name) : mFile(name) {}

  bool isOpen() const { return mFile.isOpen(); }

protected:
  /// Throws std::ios_base::failure when the file can't be read on, which a stream takes as damage and not as the end.
  int_type underflow() override;

private:
  InputFile mFile;
  std::int64_t mOffset = 0;
  std::array<char, 65536> mBytes{};
};

/// The words of a support file, separated by white space, with numbers in the C locale. A file may come from anywhere:
/// folders and FIFOs can't be opened, and a word that is longer than any path comes in pieces.
class SupportFileStream {
public:
  explicit SupportFileStream(std::string const& name);

  bool isOpen() const { return mBuffer.isOpen(); }

  /// The next word: true when there is one. `word` stays as it is when there is none.
  bool next(std::string& word);
  /// The next word as a number. What is none is a failure unless the file ends there; nothing more is read then.
  void next(double& number);

  /// Whether reading came to an end before the end of the file.
  bool hasFailed() const { return mStream.fail() && !mStream.eof(); }

private:
  InputFileBuffer mBuffer;
  std::istream mStream;
};

}  // namespace sensor
