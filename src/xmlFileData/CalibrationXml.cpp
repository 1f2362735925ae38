// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/CalibrationXml.h"

#include "common/InputFile.h"
#include "xmlFileData/NumberList.h"
#include "xmlFileData/WideText.h"

#include <stdexcept>

namespace xmlFileData {

namespace {

constexpr int maxLevel = 64;

QByteArray readBytes(std::string const& fileName) {
  sensor::InputFile file(fileName);
  auto bytes = file.isOpen() ? file.readAll() : std::nullopt;
  refuseIf(!bytes, "Can't read file: " + fileName);
  return *std::move(bytes);
}

}  // namespace

void refuseIf(bool isWrong, std::string const& message) {
  if (isWrong) {
    throw std::runtime_error("XML reader: " + message);
  }
}

CalibrationXml::CalibrationXml(std::string const& fileName, Errors errors, Check check)
    : mFileName(fileName), mErrors(errors), mText(readBytes(fileName)), mReader(&mText) {
  if (check == Check::wholeFile && !mText.checkAll()) {
    mReader.raiseError(mText.refusal());
  }
  bool const hasStart = nextStart();
  if (mReader.error() == QXmlStreamReader::CustomError) {
    checkParser();
  }
  refuseIf(!hasStart, "Can't find start element: " + fileName);
}

bool CalibrationXml::nextStart() {
  while (next()) {
    if (mReader.isStartElement()) {
      return true;
    }
  }
  return false;
}

bool CalibrationXml::next() {
  if (mReader.atEnd()) {
    return false;
  }
  mReader.readNext();
  if (mReader.hasError() && mText.endsEarly()) {
    mReader.raiseError(mText.refusal());
  }
  checkLimits();
  return !mReader.atEnd();
}

void CalibrationXml::checkLimits() {
  switch (mReader.tokenType()) {
  case QXmlStreamReader::DTD:
    mReader.raiseError(QStringLiteral("document type declarations are not accepted"));
    break;
  case QXmlStreamReader::StartElement:
    if (++mLevel > maxLevel) {
      mReader.raiseError(QStringLiteral("elements are nested deeper than %1 levels").arg(maxLevel));
    }
    break;
  case QXmlStreamReader::EndElement:
    --mLevel;
    break;
  default:
    break;
  }
}

CalibrationXml::Text CalibrationXml::attribute(char const* name) const {
  refuseIf(!hasAttribute(name), std::string("Missing attribute (") + name + ")");
  return mReader.attributes().value(QLatin1String(name));
}

bool CalibrationXml::hasAttribute(char const* name) const {
  return mReader.attributes().hasAttribute(QLatin1String(name));
}

std::string CalibrationXml::text(char const* name) const {
  return attribute(name).toString().toStdString();
}

std::string CalibrationXml::text(char const* name, std::string const& missing) const {
  return hasAttribute(name) ? text(name) : missing;
}

double CalibrationXml::real(char const* name) const {
  return attribute(name).toDouble();
}

double CalibrationXml::real(char const* name, double missing) const {
  return hasAttribute(name) ? real(name) : missing;
}

int CalibrationXml::integer(char const* name) const {
  return attribute(name).toInt();
}

int CalibrationXml::integer(char const* name, int missing) const {
  return hasAttribute(name) ? integer(name) : missing;
}

void CalibrationXml::readContent() {
  mContent.clear();
  int const level = mLevel;
  while (mLevel >= level && next()) {
    if (mReader.isCharacters() && mLevel == level) {
      mContent += wideView(mReader.text());
    }
  }
}

std::string CalibrationXml::textContent() {
  readContent();
  return fromWide(mContent).toStdString();
}

double CalibrationXml::realContent() {
  readContent();
  return fromWide(mContent).toDouble();
}

std::vector<double> CalibrationXml::numbersContent(std::size_t expected) {
  readContent();
  return numberList(mContent, expected);
}

void CalibrationXml::checkParser() const {
  refuseIf(mReader.hasError(),
           mReader.errorString().toStdString() + (mErrors == Errors::withName ? ": " + mFileName : ""));
}

}  // namespace xmlFileData
