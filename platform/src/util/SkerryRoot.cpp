#include <util/SkerryRoot.h>

#include <dlfcn.h>
#include <filesystem>

namespace util {

// The loader knows which file this function came from.
std::string getSkerryRoot() {
  Dl_info info{};
  std::error_code error;
  if (dladdr(reinterpret_cast<void const*>(&getSkerryRoot), &info) != 0 && info.dli_fname != nullptr) {
    auto const library = std::filesystem::canonical(info.dli_fname, error);
    if (!error) {
      auto folder = library.parent_path();
      // Debian's libraries lie in a folder of the architecture below "lib".
      if (folder.filename() != "lib" && folder.filename() != "lib64" && folder.parent_path().filename() == "lib") {
        folder = folder.parent_path();
      }
      return folder.parent_path().string();
    }
  }
  return KESSENSOR_INSTALL_PREFIX;
}

}  // namespace util
