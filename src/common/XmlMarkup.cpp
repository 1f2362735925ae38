#include "common/XmlMarkup.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace sensor {

namespace {

bool isOfWideCharacters(std::string_view text) {
  auto const start = text.substr(0, 2);
  return start == "\xFF\xFE" || start == "\xFE\xFF" || start.find('\0') != std::string_view::npos;
}

// The ASCII characters of UTF-16 or UTF-32 text, with an 'x' for others: markup is made of ASCII alone.
std::string narrowed(std::string_view text) {
  bool const isLittleEndian = text[1] == '\0' || text.substr(0, 2) == "\xFF\xFE";
  std::string result;
  result.reserve(text.size() / 2);
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    char const low = text[isLittleEndian ? i : i + 1];
    char const high = text[isLittleEndian ? i + 1 : i];
    if (high != '\0') {
      result += 'x';
    } else if (low != '\0') {
      result += low;
    }
  }
  return result;
}

// The place behind the next `mark`, or the end.
std::size_t behind(std::string_view text, std::string_view mark, std::size_t from) {
  auto const found = text.find(mark, from);
  return found == std::string_view::npos ? text.size() : found + mark.size();
}

struct Tag {
  std::size_t end;
  int attributes;
};

// The tag that begins at `from`. A quoted value may hold any character but its quote.
Tag tagAt(std::string_view text, std::size_t from) {
  Tag tag{from, 0};
  while (tag.end < text.size() && text[tag.end] != '>') {
    char const c = text[tag.end++];
    if (c == '=') {
      ++tag.attributes;
    } else if (c == '"' || c == '\'') {
      tag.end = behind(text, std::string_view(&c, 1), tag.end);
    }
  }
  return tag;
}

bool hasTag(std::string_view text, int limit) {
  for (auto at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
    auto const rest = text.substr(at);
    if (rest.substr(0, 4) == "<!--") {
      at = behind(text, "-->", at + 4);
    } else if (rest.substr(0, 9) == "<![CDATA[") {
      at = behind(text, "]]>", at + 9);
    } else if (rest.substr(0, 2) == "<?") {
      at = behind(text, "?>", at + 2);
    } else {
      Tag const tag = tagAt(text, at);
      if (tag.attributes > limit) {
        return true;
      }
      at = tag.end;
    }
  }
  return false;
}

}  // namespace

bool hasTagOfMoreAttributes(QByteArray const& text, int limit) {
  std::string_view const bytes(text.constData(), static_cast<std::size_t>(text.size()));
  return bytes.size() >= 2 && isOfWideCharacters(bytes) ? hasTag(narrowed(bytes), limit) : hasTag(bytes, limit);
}

}  // namespace sensor
