// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/XmlCheck.h"

#include "check/SourceFile.h"

#include <QByteArray>
#include <QXmlStreamReader>

#include <algorithm>
#include <set>
#include <utility>

namespace tool {

namespace {

constexpr int deepest = 64;
constexpr int mostAttributes = 256;

// Ends a section of markup whose first bytes `text` begins with; nothing for any other text.
std::optional<std::size_t> lengthOfSection(std::string_view text) {
  constexpr std::pair<std::string_view, std::string_view> sections[]{
      {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
  for (auto const& [start, end] : sections) {
    if (text.starts_with(start)) {
      auto const found = text.find(end);
      return found == std::string_view::npos ? text.size() : found + end.size();
    }
  }
  return std::nullopt;
}

// The parser's time grows with the square of an element's attributes.
bool hasManyAttributes(std::string_view text) {
  int attributes = 0;
  char quote = 0;
  bool isInTag = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char const c = text[i];
    if (!isInTag) {
      if (c != '<') {
        continue;
      }
      if (auto const length = lengthOfSection(text.substr(i))) {
        i += *length - 1;
        continue;
      }
      isInTag = true;
      attributes = 0;
    } else if (quote != 0) {
      quote = c == quote ? '\0' : quote;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      isInTag = false;
    } else if (c == '=' && ++attributes > mostAttributes) {
      return true;
    }
  }
  return false;
}

std::string faultOf(XmlAttribute::Value value, std::string const& text) {
  switch (value) {
  case XmlAttribute::Value::number:
    return faultOfNumber(text);
  case XmlAttribute::Value::wholeNumber:
    return faultOfWholeNumber(text);
  case XmlAttribute::Value::text:
    break;
  }
  return {};
}

// The start tags of a text that may come from anywhere, and what is wrong with its syntax.
class Tags {
public:
  Tags(std::string const& text, FileFindings& findings, std::optional<Place> place)
      : mReader(QByteArray::fromStdString(text)), mFindings(&findings), mPlace(place) {
    if (hasManyAttributes(text)) {
      mReader.raiseError(QStringLiteral("an element has more than 256 attributes"));
    }
  }

  // Calls `visit(level)` at each start; the level of the root is 0.
  template <class Visit>
  void walk(Visit visit) {
    int level = 0;
    while (!mReader.atEnd()) {
      auto const token = mReader.readNext();
      if (token == QXmlStreamReader::StartElement) {
        visit(level++);
      } else if (token == QXmlStreamReader::EndElement) {
        --level;
      } else if (token == QXmlStreamReader::DTD) {
        mReader.raiseError(QStringLiteral("a document type declaration"));
      }
      if (level > deepest) {
        mReader.raiseError(QStringLiteral("elements are nested too deeply"));
      }
    }
    if (mReader.hasError()) {
      mFindings->error(place(), "can't be read as XML: " + mReader.errorString().toStdString());
    }
  }

  std::string name() const { return mReader.name().toString().toStdString(); }
  QXmlStreamAttributes attributes() const { return mReader.attributes(); }
  Place place() const { return mPlace ? *mPlace : atLine(mReader.lineNumber()); }

private:
  QXmlStreamReader mReader;
  FileFindings* mFindings;
  std::optional<Place> mPlace;
};

// Holds each element against those that its reader knows.
class Comparison {
public:
  Comparison(XmlElement const& root, Tags& tags, FileFindings& findings, XmlVisit const& visit)
      : mRoot(&root), mTags(&tags), mFindings(&findings), mVisit(&visit) {}

  void take(int level) {
    mOpen.resize(static_cast<std::size_t>(level));
    XmlElement const* const element = level == 0 ? rootElement() : childOf(mOpen.back());
    mOpen.push_back({element, {}});
    if (element != nullptr) {
      QXmlStreamAttributes const attributes = mTags->attributes();
      checkAttributes(*element, attributes);
      if (*mVisit) {
        (*mVisit)({*element, attributes, mTags->place()});
      }
    }
  }

private:
  // An element whose start has come, and its children so far. Null for one that no reader looks into.
  struct Open {
    XmlElement const* element;
    std::set<std::string> children;
  };

  XmlElement const* rootElement() const {
    if (mTags->name() == mRoot->name) {
      return mRoot;
    }
    mFindings->error(mTags->place(), "the root is \"" + mTags->name() + "\" where \"" + mRoot->name + "\" is expected");
    return nullptr;
  }

  XmlElement const* childOf(Open& parent) const {
    if (parent.element == nullptr || parent.element->hasOwnContent) {
      return nullptr;
    }
    std::string const name = mTags->name();
    auto const& known = parent.element->children;
    auto const found = std::find_if(known.begin(), known.end(), [&](auto const& child) { return name == child.name; });
    if (found == known.end()) {
      mFindings->warn(mTags->place(), "unknown element \"" + name + "\" is left out");
      return nullptr;
    }
    if (!parent.children.insert(name).second && found->repetition == XmlElement::Repetition::lastOneCounts) {
      mFindings->error(mTags->place(), "element \"" + name + "\" stands here again: the last one counts");
    }
    return &*found;
  }

  void checkAttributes(XmlElement const& element, QXmlStreamAttributes const& attributes) {
    for (qsizetype i = 0; !element.hasOwnContent && i < attributes.size(); ++i) {
      auto const& attribute = attributes[static_cast<int>(i)];
      check(element, attribute.qualifiedName().toString().toStdString(), attribute.value().toString().toStdString());
    }
  }

  void check(XmlElement const& element, std::string const& name, std::string const& text) {
    auto const known = std::find_if(element.attributes.begin(), element.attributes.end(),
                                    [&](XmlAttribute const& entry) { return name == entry.name; });
    if (known == element.attributes.end()) {
      mFindings->warn(mTags->place(), "unknown attribute \"" + name + "\" of \"" + element.name + "\" is left out");
      return;
    }
    if (std::string const fault = faultOf(known->value, text); !fault.empty()) {
      mFindings->error(mTags->place(), name + "=\"" + text + "\" " + fault + ": " + element.badNumber);
    }
  }

  XmlElement const* mRoot;
  Tags* mTags;
  FileFindings* mFindings;
  XmlVisit const* mVisit;
  std::vector<Open> mOpen;
};

}  // namespace

void checkXml(std::string const& text, XmlElement const& root, FileFindings& findings, XmlVisit const& visit,
              std::optional<Place> place) {
  Tags tags(text, findings, place);
  Comparison comparison(root, tags, findings, visit);
  tags.walk([&](int level) { comparison.take(level); });
}

void checkWellFormed(std::string const& text, FileFindings& findings, std::function<void(XmlTag const&)> const& visit) {
  Tags tags(text, findings, std::nullopt);
  tags.walk([&](int) {
    if (visit) {
      visit({tags.name(), tags.attributes(), tags.place()});
    }
  });
}

}  // namespace tool
