// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kes/Status.h>

#include <array>

namespace kes {

std::string_view toString(Status status) {
  constexpr std::array<std::string_view, 7> names{"ok",         "outsideImage",     "outsideOrientation", "noSurface",
                                                  "noSolution", "notTransformable", "notFinite"};
  auto const i = static_cast<std::size_t>(status);
  return i < names.size() ? names[i] : "unknown";
}

}  // namespace kes
