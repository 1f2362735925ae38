// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Band.h>
#include <kes/Strip.h>
#include <kesgdal/OrthoPlan.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kesgdal {

/// Something that an orthophoto is made of. What isn't a file of its own, such as a data set of GDAL, has neither size
/// nor sum.
struct OrthoInput {
  std::string role;
  std::string name;  // as it was given
  bool isFile = false;
  std::uint64_t bytes = 0;
  std::int64_t modified = 0;  // as the file system counts it
  std::string sha256{};
};

/// The inputs of a strip, without their sums, and the strip in words.
struct StripInputs {
  std::string description;
  std::vector<OrthoInput> inputs;
};

/// Those of a strip that is loaded: its files, and those of the bands of a plan.
StripInputs inputsOf(kes::Strip const& strip, OrthoPlan const& plan);

/// All inputs of an orthophoto, each file once, in the order in which they were added.
class OrthoInputs {
public:
  /// The elevation model and the cut, where there are any.
  OrthoInputs(std::string const& elevationModel, std::string const& cut);

  /// Those that were written down, with their sums.
  explicit OrthoInputs(std::vector<OrthoInput> const& inputs) { add(inputs); }

  /// Returns their indices.
  std::vector<std::size_t> add(std::vector<OrthoInput> const& inputs);

  std::vector<OrthoInput> const& all() const { return mAll; }
  /// Reads a file whole for its sum, unless that was done. Different ones may be read by several threads at once. Throws
  /// std::runtime_error "can't read <file>: " and the reason.
  void sum(std::size_t index);
  /// Reads all that weren't, the largest first, with so many threads.
  void sumAll(int threads);

private:
  std::vector<OrthoInput> mAll;
  std::map<std::string, std::size_t> mIndices;
};

/// The SHA-256 of a file in hexadecimal digits. Throws std::runtime_error "can't read <file>: " and the reason.
std::string sha256(std::string const& name);

/// When a file was changed last.
std::int64_t modificationOf(std::string const& name);

}  // namespace kesgdal
