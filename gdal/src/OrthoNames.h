// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Strip.h>
#include <kesgdal/OrthoPlan.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kesgdal {

/// What the choices of an orthophoto are called in files.
template <class Choice>
struct NamesOf;

template <>
struct NamesOf<Resampling> {
  static constexpr std::array<std::pair<Resampling, std::string_view>, 3> all{
      {{Resampling::NEAREST, "nearest"}, {Resampling::BILINEAR, "bilinear"}, {Resampling::CUBIC, "cubic"}}};
};

template <>
struct NamesOf<PixelType> {
  static constexpr std::array<std::pair<PixelType, std::string_view>, 8> all{{{PixelType::IMAGES, "images"},
                                                                              {PixelType::BYTE, "Byte"},
                                                                              {PixelType::UINT16, "UInt16"},
                                                                              {PixelType::INT16, "Int16"},
                                                                              {PixelType::UINT32, "UInt32"},
                                                                              {PixelType::INT32, "Int32"},
                                                                              {PixelType::FLOAT32, "Float32"},
                                                                              {PixelType::FLOAT64, "Float64"}}};
};

template <>
struct NamesOf<FileFormat> {
  static constexpr std::array<std::pair<FileFormat, std::string_view>, 2> all{
      {{FileFormat::COG, "COG"}, {FileFormat::GTIFF, "GTiff"}}};
};

template <>
struct NamesOf<kes::Orientation> {
  static constexpr std::array<std::pair<kes::Orientation, std::string_view>, 2> all{
      {{kes::Orientation::adjusted, "adjusted"}, {kes::Orientation::original, "original"}}};
};

template <class Choice>
std::string nameOf(Choice choice) {
  auto const& all = NamesOf<Choice>::all;
  auto const found = std::find_if(all.begin(), all.end(), [&](auto const& named) { return named.first == choice; });
  return std::string(found->second);
}

template <class Choice>
std::optional<Choice> choiceOf(std::string_view name) {
  auto const& all = NamesOf<Choice>::all;
  auto const found = std::find_if(all.begin(), all.end(), [&](auto const& named) { return named.second == name; });
  return found == all.end() ? std::nullopt : std::optional(found->first);
}

}  // namespace kesgdal
