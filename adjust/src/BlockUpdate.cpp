// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ChangeJournal.h"

#include <kesadjust/BlockUpdate.h>

#include <files/FileReplacement.h>
#include <stdexcept>

namespace kesadjust {

BlockUpdate::BlockUpdate(std::string journal, std::string backup)
    : mJournal(std::move(journal)), mBackup(std::move(backup)) {}

void BlockUpdate::install() {
  ChangeJournal journal(mJournal, mBackup);
  for (OrientationUpdate const* update : mOrientations) {
    for (std::string const& file : update->changedFiles()) {
      journal.keep(file);
    }
  }
  for (Camera const& camera : mCameras) {
    journal.keep(camera.update->folder());
  }
  for (File const& file : mFiles) {
    journal.keep(file.name);
  }
  journal.begin();
  try {
    installAll();
  } catch (std::exception const& error) {
    try {
      journal.undo();
    } catch (std::exception const& other) {
      throw std::runtime_error(std::string(error.what()) + ", and " + other.what());
    }
    throw;
  }
  journal.finish();
}

void BlockUpdate::installAll() {
  for (auto const& [update, calibrations] : mCameras) {
    update->install(calibrations);
  }
  for (OrientationUpdate* update : mOrientations) {
    update->install();
  }
  for (Camera const& camera : mCameras) {
    camera.update->enter();
  }
  for (auto const& [name, text] : mFiles) {
    if (!files::replaceFile(name, text)) {
      throw std::runtime_error("can't write " + name);
    }
  }
}

std::string BlockUpdate::journalOf(std::string const& blockFile) {
  return blockFile + ".adjusting";
}

bool BlockUpdate::undoInterrupted(std::string const& journal) {
  return ChangeJournal::undo(journal);
}

}  // namespace kesadjust
