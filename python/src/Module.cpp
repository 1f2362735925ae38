// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Module.h"

#include <kes/Parallel.h>
#include <kes/Status.h>

namespace kespython {

namespace {

// Never destroyed: the interpreter is gone when static objects are.
PythonClasses* classes = nullptr;

void readClasses() {
  py::module_ const results = py::module_::import("kessensor._results");
  classes =
      new PythonClasses{results.attr("Ground"),       results.attr("GroundWithCovariance"), results.attr("Image"),
                        results.attr("Closure"),      results.attr("Directions"),           results.attr("Times"),
                        results.attr("Heights"),      results.attr("Transformed"),          results.attr("PointError"),
                        results.attr("NotFoundError")};
}

py::dict statuses() {
  py::dict names;
  for (int value = 0; value <= static_cast<int>(kes::Status::notFinite); ++value) {
    names[py::str(std::string(kes::toString(static_cast<kes::Status>(value))))] = value;
  }
  return names;
}

}  // namespace

PythonClasses const& pythonClasses() {
  return *classes;
}

std::string pathOf(py::handle path) {
  return py::cast<std::string>(py::module_::import("os").attr("fspath")(path));
}

}  // namespace kespython

PYBIND11_MODULE(_core, module) {
  using namespace kespython;
  // NumPy's interface is loaded while the module is: later, in a thread that waits for another's import, it could
  // wait for ever.
  py::dtype::of<double>();
  readClasses();
  // The docstrings have them, and the stubs the types.
  py::options signatures;
  signatures.disable_function_signatures();
  bindSystems(module);
  bindOrientation(module);
  bindStrips(module);
  bindPointLists(module);
  bindProducts(module);
  bindTiles(module);
  bindAccuracy(module);
  bindAdjustment(module);
  module.attr("statuses") = statuses();
  module.attr("version") = KESSENSOR_VERSION;
  module.def("threads_of_machine", &kes::threadsOfMachine);
}
