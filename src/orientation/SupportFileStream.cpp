// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientation/SupportFileStream.h"

#include <algorithm>
#include <iomanip>
#include <locale>
#include <utility>

namespace sensor {

InputFileBuffer::int_type InputFileBuffer::underflow() {
  auto const count = std::min(static_cast<std::int64_t>(mBytes.size()), mFile.size() - mOffset);
  if (count == 0) {
    return traits_type::eof();
  }
  if (!mFile.read(mOffset, mBytes.data(), count)) {
    throw std::ios_base::failure("reading failed");
  }
  mOffset += count;
  setg(mBytes.data(), mBytes.data(), mBytes.data() + count);
  return traits_type::to_int_type(mBytes.front());
}

SupportFileStream::SupportFileStream(std::string const& name) : mBuffer(name), mStream(&mBuffer) {
  mStream.imbue(std::locale::classic());
}

bool SupportFileStream::next(std::string& word) {
  constexpr int longestWord = 65536;
  std::string found;
  if (!(mStream >> std::setw(longestWord) >> found)) {
    return false;
  }
  word = std::move(found);
  return true;
}

void SupportFileStream::next(double& number) {
  mStream >> number;
}

}  // namespace sensor
