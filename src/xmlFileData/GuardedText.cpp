// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/GuardedText.h"

#include "common/QtText.h"
#include "common/XmlMarkup.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace xmlFileData {

namespace {

constexpr qint64 firstPiece = 65536;

// Why a parser must not see the first `size` bytes; empty when it may.
QString refusalOf(QByteArray const& text, qint64 size) {
  return sensor::xmlMarkupRefusal(QByteArray::fromRawData(text.constData(), static_cast<sensor::QStringSize>(size)));
}

}  // namespace

GuardedText::GuardedText(QByteArray bytes) : mBytes(std::move(bytes)) {
  open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

bool GuardedText::checkAll() {
  check(mBytes.size());
  return mRefusal.isEmpty();
}

bool GuardedText::atEnd() const {
  return endsEarly() || mRead == mBytes.size();
}

bool GuardedText::endsEarly() const {
  return !mRefusal.isEmpty() && mRead == mChecked;
}

// Of a text that isn't harmless, the longest harmless start is looked for by halving.
void GuardedText::check(qint64 size) {
  mRefusal = refusalOf(mBytes, size);
  if (mRefusal.isEmpty()) {
    mChecked = size;
    return;
  }
  for (qint64 harmful = size; harmful - mChecked > 1;) {
    qint64 const middle = mChecked + (harmful - mChecked) / 2;
    (refusalOf(mBytes, middle).isEmpty() ? mChecked : harmful) = middle;
  }
}

qint64 GuardedText::readData(char* to, qint64 count) {
  if (mRead == mChecked && mRefusal.isEmpty()) {
    check(std::min<qint64>(mBytes.size(), std::max(firstPiece, 2 * mChecked)));
  }
  qint64 const size = std::min(count, mChecked - mRead);
  std::memcpy(to, mBytes.constData() + mRead, static_cast<std::size_t>(size));
  mRead += size;
  return size > 0 || count == 0 ? size : -1;
}

qint64 GuardedText::writeData(char const* /*from*/, qint64 /*count*/) {
  return -1;
}

}  // namespace xmlFileData
