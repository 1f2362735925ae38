// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QString>

namespace xmlFileData {

/// The text of an XML file for a parser. It ends before markup that no parser must see, see `xmlMarkupRefusal`: a tag
/// of too many attributes, for one, costs time out of all proportion, as they are compared with each other. The text is
/// checked as far as it is read, in pieces that double in size: a parser that stops early doesn't depend on what
/// follows, and a whole text is checked in two passes.
class GuardedText : public QIODevice {
public:
  /// Open for reading.
  explicit GuardedText(QByteArray bytes);

  /// Checks all of the text at once; whether it is harmless.
  bool checkAll();

  /// Whether reading has come to a place where the text may not be read on.
  bool endsEarly() const;
  /// Why the text ends early; empty as long as the text was found harmless.
  QString const& refusal() const { return mRefusal; }

  bool isSequential() const override { return true; }
  bool atEnd() const override;

protected:
  qint64 readData(char* to, qint64 count) override;
  qint64 writeData(char const* from, qint64 count) override;

private:
  void check(qint64 size);

  QByteArray mBytes;
  qint64 mChecked = 0;
  qint64 mRead = 0;
  QString mRefusal;
};

}  // namespace xmlFileData
