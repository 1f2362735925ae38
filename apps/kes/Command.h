// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace tool {

/// What the command line asks for; returns the exit code.
using Run = std::function<int()>;

/// Adds one command, with its options and its example, to the command line. When the command is called, `run` becomes
/// what it does.
void addSimulate(CLI::App& app, Run& run);
void addInfo(CLI::App& app, Run& run);
void addCheck(CLI::App& app, Run& run);
void addProject(CLI::App& app, Run& run);
void addClosure(CLI::App& app, Run& run);
void addMeasures(CLI::App& app, Run& run);
void addFootprint(CLI::App& app, Run& run);
void addEop(CLI::App& app, Run& run);
void addOdf(CLI::App& app, Run& run);
void addSupport(CLI::App& app, Run& run);
void addCamera(CLI::App& app, Run& run);
void addOrtho(CLI::App& app, Run& run);
void addBlock(CLI::App& app, Run& run);
void addPoints(CLI::App& app, Run& run);
void addAdjust(CLI::App& app, Run& run);
void addWhere(CLI::App& app, Run& run);
void addLegacy(CLI::App& app, Run& run);
void addReport(CLI::App& app, Run& run);
void addCompletion(CLI::App& app, Run& run);
void addManual(CLI::App& app, Run& run);

}  // namespace tool
