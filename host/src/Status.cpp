#include <array>
#include <kes/Status.h>

namespace kes {

std::string_view toString(Status status) {
  constexpr std::array<std::string_view, 7> names{"ok",         "outsideImage",     "outsideOrientation", "noSurface",
                                                  "noSolution", "notTransformable", "notFinite"};
  auto const i = static_cast<std::size_t>(status);
  return i < names.size() ? names[i] : "unknown";
}

}  // namespace kes
