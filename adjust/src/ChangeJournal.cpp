// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ChangeJournal.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <files/FileReplacement.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kesadjust {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t longestJournal = 64U << 20U;  // bytes

QString textOf(fs::path const& path) {
  return QString::fromStdString(path.string());
}

std::string contentsOf(fs::path const& file) {
  std::ostringstream contents;
  contents << std::ifstream(file, std::ios::binary).rdbuf();
  return contents.str();
}

bool copyFile(fs::path const& from, fs::path const& to) {
  std::string const contents = contentsOf(from);
  std::error_code error;
  return contents.size() == fs::file_size(from, error) && !error && files::replaceFile(to.string(), contents);
}

bool hasNoRoomFor(fs::path const& file, fs::path const& place) {
  std::error_code error;
  std::uintmax_t const size = fs::file_size(file, error);
  return !error && fs::space(place.parent_path(), error).available < size && !error;
}

bool isSame(fs::path const& a, fs::path const& b) {
  std::error_code error;
  bool const areFiles = fs::is_regular_file(a, error) && fs::is_regular_file(b, error);
  return areFiles && contentsOf(a) == contentsOf(b);
}

/// A file's number in its file system: a copy, an unpacked or a downloaded file has another one.
QString identityOf(fs::path const& file) {
  struct stat found {};
  return stat(file.c_str(), &found) == 0 ? QString::number(found.st_ino) : QString();
}

/// Makes a file that isn't there yet, syncs it, and returns whether that worked.
template <class Contents>
bool createFile(fs::path const& file, Contents const& contents) {
  int const handle = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (handle < 0) {
    return false;
  }
  QByteArray const bytes = contents();
  auto const size = static_cast<std::size_t>(bytes.size());
  bool const isWritten = write(handle, bytes.constData(), size) == static_cast<ssize_t>(size) && fsync(handle) == 0;
  int const error = isWritten ? 0 : errno;
  bool const isClosed = close(handle) == 0;
  errno = isWritten ? errno : error;
  return isWritten && isClosed;
}

}  // namespace

ChangeJournal::Lock::Lock(fs::path const& folder) : mFolder(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  while (mFolder >= 0 && flock(mFolder, LOCK_EX) != 0 && errno == EINTR) {
  }
}

ChangeJournal::Lock::~Lock() {
  if (mFolder >= 0) {
    close(mFolder);
  }
}

void ChangeJournal::Lock::sync() const {
  if (mFolder >= 0) {
    fsync(mFolder);
  }
}

ChangeJournal::ChangeJournal(fs::path const& file, fs::path const& copies)
    : mFile(fs::absolute(file)), mCopies(fs::absolute(copies)) {
  mLock.emplace(mFile.parent_path());
}

void ChangeJournal::keep(fs::path const& path) {
  Change change{fs::absolute(path), {}};
  if (fs::exists(change.path)) {
    change.copy = mCopies / (std::to_string(mChanges.size() + 1) + "-" + path.filename().string());
    if (!copyFile(change.path, change.copy)) {
      throw std::runtime_error("can't copy " + change.path.string() + " to " + change.copy.string());
    }
  }
  mChanges.push_back(std::move(change));
}

void ChangeJournal::begin() {
  QJsonArray changes;
  for (Change const& change : mChanges) {
    changes.append(
        QJsonObject{{QStringLiteral("path"), textOf(change.path)}, {QStringLiteral("copy"), textOf(change.copy)}});
  }
  bool const isWritten = createFile(mFile, [&] {
    return QJsonDocument(QJsonObject{{QStringLiteral("file"), identityOf(mFile)}, {QStringLiteral("changes"), changes}})
        .toJson();
  });
  if (!isWritten) {
    std::string const reason = std::strerror(errno);
    if (errno != EEXIST) {
      std::error_code ignored;
      fs::remove(mFile, ignored);
    }
    throw std::runtime_error("can't write " + mFile.string() + ": " + reason);
  }
  mIsBegun = true;
  mLock->sync();
}

void ChangeJournal::finish() {
  remove(mFile, *mLock);
  mIsBegun = false;
  mLock.reset();
}

void ChangeJournal::undo() {
  if (mIsBegun) {
    undo(mChanges);
    finish();
  }
}

bool ChangeJournal::undo(fs::path const& file) {
  fs::path const path = fs::absolute(file);
  if (!fs::exists(path)) {
    return false;
  }
  Lock const lock(path.parent_path());
  // Another process may have come to its end meanwhile.
  if (!fs::exists(path)) {
    return false;
  }
  if (auto const changes = read(path)) {
    undo(*changes);
  }
  remove(path, lock);
  return true;
}

std::optional<std::vector<ChangeJournal::Change>> ChangeJournal::read(fs::path const& file) {
  std::error_code error;
  if (fs::file_size(file, error) > longestJournal || error) {
    throw std::runtime_error("can't read " + file.string());
  }
  QJsonDocument const journal = QJsonDocument::fromJson(QByteArray::fromStdString(contentsOf(file)));
  if (!journal.isObject()) {
    return std::nullopt;
  }
  if (journal[QStringLiteral("file")].toString() != identityOf(file)) {
    throw std::runtime_error(file.string() + " is a copy: only the original can undo an interrupted update");
  }
  std::vector<Change> changes;
  QJsonArray const listed = journal[QStringLiteral("changes")].toArray();
  for (auto const& element : listed) {
    QJsonObject const change = element.toObject();
    changes.push_back({change[QStringLiteral("path")].toString().toStdString(),
                       change[QStringLiteral("copy")].toString().toStdString()});
  }
  return changes;
}

/// New files go first, which leaves room on a full disk. If there still is none, an old file is restored in the place
/// of the new one, since its copy is safe.
void ChangeJournal::undo(std::vector<Change> const& changes) {
  std::error_code error;
  for (Change const& change : changes) {
    if (change.copy.empty()) {
      fs::remove_all(change.path, error);
      if (error) {
        throw std::runtime_error("can't remove " + change.path.string());
      }
    }
  }
  for (auto const& [path, kept] : changes) {
    if (kept.empty() || isSame(path, kept) || copyFile(kept, path)) {
      continue;
    }
    if (hasNoRoomFor(kept, path)) {
      fs::remove(path, error);
    }
    if (!copyFile(kept, path)) {
      throw std::runtime_error("can't restore " + path.string() + " from " + kept.string());
    }
  }
}

void ChangeJournal::remove(fs::path const& file, Lock const& lock) {
  fs::remove(file);
  lock.sync();
}

}  // namespace kesadjust
