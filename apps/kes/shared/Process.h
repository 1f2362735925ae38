// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace tool {

/// Gives the standard streams that the caller has closed a place, so that no file the process opens gets theirs and what is
/// printed. Reading and writing them fails. To write into a pipe that nobody reads any more fails, too, and doesn't end the
/// process.
void openStandardStreams();

/// From here on SIGINT, SIGTERM and SIGHUP, unless the caller ignores them, remove the temporary files and end the process with
/// 128 and the signal's number, so that the files it was to replace stay. A second signal ends it at once. Before any other
/// thread starts.
void endOnSignals();

/// Returns unless a signal is ending the process: a failure that comes of it is none to report.
void waitWhenEnding();

}  // namespace tool
