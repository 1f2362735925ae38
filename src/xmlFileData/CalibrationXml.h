// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "xmlFileData/GuardedText.h"

#include <QString>
#include <QXmlStreamReader>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace xmlFileData {

/// Walks one XML calibration file from start to end. What could exhaust the memory or the time is an error of the
/// parser, at which the walk ends: a document type declaration, elements nested deeper than 64 levels, more than 256
/// attributes in one.
///
/// The functions for an element are called at its start and leave the walk at its end. A file that breaks off ends all
/// elements that are open.
class CalibrationXml {
public:
  /// Text of an attribute, valid until the walk goes on.
  using Text = decltype(QXmlStreamAttributes().value(QString()));

  /// Whether the parser's errors end with the name of the file.
  enum class Errors { withName, withoutName };

  /// How far the markup of a file is checked: all of it before the walk begins, or as the walk goes on.
  enum class Check { wholeFile, alongTheWalk };

  /// Goes to the first start element. Throws std::runtime_error "XML reader: Can't read file: " + name, "XML reader:
  /// Can't find start element: " + name, and what `checkParser` throws for a file that is refused before.
  CalibrationXml(std::string const& fileName, Errors errors, Check check = Check::wholeFile);
  ~CalibrationXml() = default;
  CalibrationXml(CalibrationXml const&) = delete;
  CalibrationXml& operator=(CalibrationXml const&) = delete;

  /// Whether this is the start of an element of that name.
  bool is(char const* name) const { return mReader.name() == QLatin1String(name); }

  /// Goes to the next start element of the file; false when there is none.
  bool nextStart();

  /// Calls `visit` at each start element that follows, to the end of the file. What `visit` doesn't walk through itself
  /// is walked through like everything else.
  template <class Visit>
  void walkFile(Visit visit) {
    while (nextStart()) {
      visit();
    }
  }

  /// The same to the end of this element.
  template <class Visit>
  void walk(Visit visit) {
    int const level = mLevel;
    while (mLevel >= level && next()) {
      if (mReader.isStartElement()) {
        visit();
      }
    }
  }

  /// Goes to the end of this element.
  void skip() {
    walk([] {});
  }

  /// Attributes of this element; those without a default throw std::runtime_error "XML reader: Missing attribute (" +
  /// name + ")". Text that isn't a number reads as 0.
  Text attribute(char const* name) const;
  bool hasAttribute(char const* name) const;
  std::string text(char const* name) const;
  std::string text(char const* name, std::string const& missing) const;
  double real(char const* name) const;
  double real(char const* name, double missing) const;
  int integer(char const* name) const;
  int integer(char const* name, int missing) const;

  /// The text of this element without the text of elements within it. Goes to its end.
  std::string textContent();
  double realContent();
  /// A list of numbers, see `numberList`.
  std::vector<double> numbersContent(std::size_t expected);

  /// Throws std::runtime_error "XML reader: " + the parser's message, when it has one.
  void checkParser() const;

private:
  bool next();
  void checkLimits();
  void readContent();

  std::string mFileName;
  Errors mErrors;
  GuardedText mText;
  QXmlStreamReader mReader;
  std::u16string mContent;  // Kept, as lists are long.
  int mLevel = 0;
};

/// Throws std::runtime_error "XML reader: " + `message` when `isWrong`.
void refuseIf(bool isWrong, std::string const& message);

}  // namespace xmlFileData
