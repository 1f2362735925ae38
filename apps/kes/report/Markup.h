// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QXmlStreamWriter>

#include <string>
#include <utility>
#include <vector>

namespace tool {

/// A page of HTML that is well-formed XML, too. All texts are escaped; what XML can't have, such as control characters,
/// is replaced.
class Markup {
public:
  using Attributes = std::vector<std::pair<char const*, std::string>>;

  /// An element that is open; it ends with the object.
  class Element {
  public:
    explicit Element(Markup& page) : mPage(page) {}
    ~Element() { mPage.mWriter.writeEndElement(); }
    Element(Element const&) = delete;
    Element& operator=(Element const&) = delete;

  private:
    Markup& mPage;
  };

  Markup();
  Markup(Markup const&) = delete;
  Markup& operator=(Markup const&) = delete;

  /// An element with others in it. HTML takes one without any for an open one.
  [[nodiscard]] Element open(char const* name, Attributes const& attributes = {});
  /// An element with a text, which may be empty.
  void element(char const* name, std::string const& text, Attributes const& attributes = {});
  /// An element that has no contents: a drawing's shape, or one of those that HTML doesn't close.
  void shape(char const* name, Attributes const& attributes);
  /// All that was written, when everything is closed.
  std::string take();

private:
  void start(char const* name, Attributes const& attributes);

  QByteArray mBytes;
  QXmlStreamWriter mWriter;
};

}  // namespace tool
