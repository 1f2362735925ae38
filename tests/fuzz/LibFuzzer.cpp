// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// The entry points of libFuzzer. `--kind=NAME` chooses the kind of file; libFuzzer leaves options with two dashes alone.

#include "Kinds.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

namespace {

fuzz::Kind const* chosen = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  constexpr std::string_view option = "--kind=";
  std::string_view name;
  for (int i = 1; i < *argc; ++i) {
    std::string_view const argument = (*argv)[i];
    if (argument.substr(0, option.size()) == option) {
      name = argument.substr(option.size());
    }
  }
  try {
    chosen = &fuzz::kindOf(name);
  } catch (std::exception const& error) {
    std::fprintf(stderr, "kessensor_fuzz: --kind=NAME: %s\n", error.what());
    std::exit(2);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  chosen->run({reinterpret_cast<char const*>(bytes), size});
  return 0;
}
