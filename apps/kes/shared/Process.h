// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace tool {

/// Reserves the numbers of standard streams that the caller has closed, so that no file which the process opens gets
/// them, and with them what is printed. Reading and writing such a stream fails, and so does writing into a pipe that
/// nobody reads any more, in place of ending the process.
void openStandardStreams();

/// From here on SIGINT, SIGTERM and SIGHUP, unless the caller ignores them, remove the temporary files and end the
/// process with 128 and the signal's number, so that the files it was to replace stay. A second signal ends it at once.
/// Before any other thread starts.
void endOnSignals();

/// Returns unless a signal is ending the process: failures that follow from that aren't reported.
void waitWhenEnding();

}  // namespace tool
