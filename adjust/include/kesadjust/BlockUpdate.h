// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/CameraUpdate.h>
#include <kesadjust/OrientationUpdate.h>
#include <kesadjust/kesadjust_export.h>

#include <string>
#include <utility>
#include <vector>

namespace kesadjust {

/// What an adjustment changes in a block: orientations, cameras and other files, all of them or none.
///
/// Its journal is a file that is there while they change. A process that is killed leaves it behind; then
/// `undoInterrupted` gives the block back what it had. One update of a folder's blocks at a time: others wait.
class KESADJUST_EXPORT BlockUpdate {
public:
  /// Files that change are copied to `backup`, an existing folder, beforehand.
  BlockUpdate(std::string journal, std::string backup);

  /// The updates must outlive `install`.
  void add(OrientationUpdate& update) { mOrientations.push_back(&update); }
  /// A camera that was written to a folder of calibrations. The strips that it is for get their orientations, too.
  void add(CameraUpdate const& update, std::string calibrations) {
    mCameras.push_back({&update, std::move(calibrations)});
  }
  /// Another file, which has this text afterwards.
  void add(std::string file, std::string text) { mFiles.push_back({std::move(file), std::move(text)}); }

  /// Makes the changes: cameras, strips, then files. Throws what they throw, "can't copy FILE to COPY" and "can't write
  /// FILE", when all is as it was; after "..., and can't restore FILE from COPY", or when the process is killed, the
  /// journal stays.
  void install();

  /// The journal of a block: the block file's name with ".adjusting".
  [[nodiscard]] static std::string journalOf(std::string const& blockFile);
  /// Takes back what a killed process has changed, and returns whether there was anything. Throws std::runtime_error
  /// "can't restore FILE from COPY", "can't remove FILE", and for a journal that was copied from elsewhere, whose names
  /// can't be trusted, "FILE is a copy: only the original can undo an interrupted update".
  static bool undoInterrupted(std::string const& journal);

private:
  struct Camera {
    CameraUpdate const* update;
    std::string calibrations;
  };
  struct File {
    std::string name;
    std::string text;
  };

  void installAll();

  std::string mJournal;
  std::string mBackup;
  std::vector<OrientationUpdate*> mOrientations;
  std::vector<Camera> mCameras;
  std::vector<File> mFiles;
};

}  // namespace kesadjust
