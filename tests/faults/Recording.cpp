// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Recording.h"

#include "FaultPlan.h"
#include "Hook.h"
#include "PlannedFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace faults::recording {

namespace {

namespace fs = std::filesystem;

struct Entry {
  ino_t node;
  bool isFolder;
  bool operator==(Entry const&) const = default;
};

using Folder = std::map<std::string, Entry>;

// The record's own calls aren't recorded.
thread_local bool isRecording = false;

bool isWanted() {
  static bool const wanted = variable(recordVariable)[0] != '\0';
  return wanted;
}

std::string contentsOf(std::string const& path) {
  std::string bytes;
  int const file = next<int(char const*, int, ...)>("open")(path.c_str(), O_RDONLY | O_CLOEXEC);
  char block[65536];
  for (ssize_t count = 0; file >= 0 && (count = read(file, block, sizeof block)) > 0;) {
    bytes.append(block, static_cast<std::size_t>(count));
  }
  next<int(int)>("close")(file);
  return bytes;
}

std::string openName(int file) {
  return "/proc/self/fd/" + std::to_string(file);
}

class Recorder {
public:
  // The folder as it is found is the first step, which is safe.
  Recorder()
      : mLog(next<int(char const*, int, ...)>("open")(variable(recordVariable), O_WRONLY | O_APPEND | O_CLOEXEC)) {
    noteEntries();
    noteAllContents();
    line("root " + std::to_string(nodeAt(variable(folderVariable))));
    line("safe");
  }

  void noteContents(ino_t node, std::string const& now) {
    std::string& before = mContents[node];
    std::size_t const common = std::min(before.size(), now.size());
    auto const begin = static_cast<std::size_t>(
        std::mismatch(now.begin(), now.begin() + static_cast<std::ptrdiff_t>(common), before.begin()).first -
        now.begin());
    if (begin == now.size() && now.size() == before.size()) {
      return;
    }
    std::size_t end = now.size();
    while (now.size() == before.size() && now[end - 1] == before[end - 1]) {
      --end;
    }
    line("data " + std::to_string(node) + ' ' + std::to_string(now.size()) + ' ' + std::to_string(begin) + ' ' +
         std::to_string(end - begin));
    line(now.substr(begin, end - begin));
    before = now;
  }

  void noteFile(int file) {
    struct stat status {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
      noteContents(status.st_ino, contentsOf(openName(file)));
    }
  }

  // The number of a file that is gone may be given again.
  void noteOpened(int file) {
    struct stat status {};
    fstat(file, &status);
    if (!hasName(status.st_ino)) {
      noteNew(status.st_ino);
    }
    noteEntries();
    noteFile(file);
  }

  void noteSync(int file) {
    noteFile(file);
    struct stat status {};
    fstat(file, &status);
    line("sync " + std::to_string(status.st_ino));
  }

  // All differences are one step: a rename happens as a whole.
  void noteEntries() {
    std::map<ino_t, Folder> const before = std::exchange(mFolders, foldersNow());
    for (auto const& [node, folder] : mFolders) {
      if (before.count(node) == 0) {
        noteNew(node);
      }
    }
    std::string const step = stepSince(before);
    if (!step.empty()) {
      line(step + "end");
    }
  }

private:
  void noteAllContents() {
    for (auto const& entry : fs::recursive_directory_iterator(variable(folderVariable))) {
      if (entry.is_regular_file()) {
        noteContents(nodeAt(entry.path().string()), contentsOf(entry.path().string()));
      }
    }
  }

  std::string stepSince(std::map<ino_t, Folder> const& before) const {
    std::string step;
    for (auto const& [node, folder] : before) {
      auto const now = mFolders.find(node);
      for (auto const& [name, entry] : folder) {
        if (now != mFolders.end() && now->second.count(name) == 0) {
          step += "unset " + std::to_string(node) + ' ' + name + '\n';
        }
      }
    }
    for (auto const& [node, folder] : mFolders) {
      auto const old = before.find(node);
      for (auto const& [name, entry] : folder) {
        if (old == before.end() || old->second.count(name) == 0 || !(old->second.at(name) == entry)) {
          step += "set " + std::to_string(node) + ' ' + std::to_string(entry.node) + ' ' +
                  (entry.isFolder ? "folder " : "file ") + name + '\n';
        }
      }
    }
    return step;
  }

  static ino_t nodeAt(std::string const& path) {
    struct stat status {};
    lstat(path.c_str(), &status);
    return status.st_ino;
  }

  // Other threads may change folders meanwhile; what they do is seen at their own call.
  static std::map<ino_t, Folder> foldersNow() {
    std::map<ino_t, Folder> folders;
    std::error_code error;
    std::string const root = variable(folderVariable);
    folders[nodeAt(root)];
    for (fs::recursive_directory_iterator entry(root, error), end; !error && entry != end; entry.increment(error)) {
      std::string const path = entry->path().string();
      bool const isFolder = entry->is_directory(error);
      folders[nodeAt(entry->path().parent_path().string())][entry->path().filename().string()] = {nodeAt(path),
                                                                                                  isFolder};
      if (isFolder) {
        folders[nodeAt(path)];
      }
    }
    return folders;
  }

  bool hasName(ino_t node) const {
    return std::any_of(mFolders.begin(), mFolders.end(), [node](auto const& folder) {
      return std::any_of(folder.second.begin(), folder.second.end(),
                         [node](auto const& entry) { return entry.second.node == node; });
    });
  }

  void noteNew(ino_t node) {
    mContents.erase(node);
    line("new " + std::to_string(node));
  }

  void line(std::string text) const {
    text += '\n';
    for (std::size_t done = 0; done < text.size();) {
      ssize_t const count =
          next<ssize_t(int, void const*, size_t)>("write")(mLog, text.data() + done, text.size() - done);
      if (count <= 0) {
        std::abort();
      }
      done += static_cast<std::size_t>(count);
    }
  }

  int mLog;
  std::map<ino_t, Folder> mFolders;
  std::map<ino_t, std::string> mContents;
};

// Never destroyed: files are closed while the process ends, too.
Recorder& recorder() {
  static auto* const instance = new Recorder;
  return *instance;
}

std::mutex& mutex() {
  static auto* const instance = new std::mutex;
  return *instance;
}

template <class Note>
void record(Note const& note) {
  if (!isWanted() || isRecording) {
    return;
  }
  int const error = errno;
  isRecording = true;
  {
    std::lock_guard<std::mutex> const guard(mutex());
    note(recorder());
  }
  isRecording = false;
  errno = error;
}

// Before the first call that changes anything.
[[gnu::constructor]] void begin() {
  record([](Recorder&) {});
}

}  // namespace

void opened(int file) {
  record([file](Recorder& recorder) { recorder.noteOpened(file); });
}

void changed(int file) {
  record([file](Recorder& recorder) { recorder.noteFile(file); });
}

void synced(int file) {
  record([file](Recorder& recorder) { recorder.noteSync(file); });
}

void entriesChanged() {
  record([](Recorder& recorder) { recorder.noteEntries(); });
}

Closing::Closing(int file)
    : mDuplicate(isWanted() && file >= 0 ? next<int(int, int, ...)>("fcntl")(file, F_DUPFD_CLOEXEC, 0) : -1) {}

Closing::~Closing() {
  if (mDuplicate >= 0) {
    changed(mDuplicate);
    next<int(int)>("close")(mDuplicate);
  }
}

}  // namespace faults::recording

KES_HOOK int unlink(char const* path) noexcept {
  int const result = faults::next<int(char const*)>("unlink")(path);
  faults::recording::entriesChanged();
  return result;
}

KES_HOOK int unlinkat(int folder, char const* path, int flags) noexcept {
  int const result = faults::next<int(int, char const*, int)>("unlinkat")(folder, path, flags);
  faults::recording::entriesChanged();
  return result;
}

KES_HOOK int rmdir(char const* path) noexcept {
  int const result = faults::next<int(char const*)>("rmdir")(path);
  faults::recording::entriesChanged();
  return result;
}

KES_HOOK int remove(char const* path) noexcept {
  int const result = faults::next<int(char const*)>("remove")(path);
  faults::recording::entriesChanged();
  return result;
}
