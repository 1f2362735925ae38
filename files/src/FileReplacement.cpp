// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/FileReplacement.h"

#include "Target.h"
#include "Temporary.h"

#include <fcntl.h>
#include <unistd.h>

namespace files {

namespace {

constexpr std::size_t bufferSize = 65536;
constexpr mode_t permissions = 0777;
constexpr mode_t anyNewFile = 0666;
constexpr mode_t thisUser = 0600;

// The name by which the system knows an open file, also one without any other name.
std::string openName(Handle const& file) {
  return "/proc/self/fd/" + std::to_string(file.number());
}

#ifdef O_TMPFILE
// A file that vanishes with its process, where the file system has such files and this process can give it a name
// later.
Handle openUnnamed(std::string const& folder, mode_t mode) {
  Handle file(uninterrupted([&] { return open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode); }));
  return file.isOpen() && access(openName(file).c_str(), F_OK) == 0 && file.lock() == 0 ? std::move(file) : Handle();
}
#else
Handle openUnnamed(std::string const&, mode_t) {
  return {};
}
#endif

int giveName(Handle const& file, std::string const& path) {
  return linkat(AT_FDCWD, openName(file).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}

// A network file system may report a failed write only when the file is closed. The file itself stays open for its
// lock.
int closeDuplicate(Handle const& file) {
  Handle duplicate = file.duplicate();
  return duplicate.isOpen() ? duplicate.close() : errno;
}

}  // namespace

struct FileReplacement::Body {
  bool open(std::string const& name);
  void add(std::string_view bytes);
  bool flush();
  int finish();
  int replace();
  int replaceByName();

  Target target;
  // Has no name as long as the file has none.
  Temporary temporary;
  Handle file;
  std::string buffer;
  std::int64_t count = 0;
  bool failed = false;

private:
  void writeOut(std::string_view bytes);
};

bool FileReplacement::Body::open(std::string const& name) {
  if (target.resolve(name) != 0 || target.lookForFile() != 0) {
    return false;
  }
  target.sweep();
  mode_t const mode = target.exists() ? thisUser : anyNewFile;
  file = openUnnamed(target.folder(), mode);
  if (file.isOpen()) {
    return true;
  }
  auto const make = [mode](std::string const& path) {
    return Handle(
        uninterrupted([&] { return ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode); }));
  };
  if (temporary.create(target, make) == 0) {
    file = temporary.handle().duplicate();
  }
  return file.isOpen();
}

void FileReplacement::Body::writeOut(std::string_view bytes) {
  while (!failed && !bytes.empty()) {
    auto const written = uninterrupted([&] { return ::write(file.number(), bytes.data(), bytes.size()); });
    failed = written <= 0;
    bytes.remove_prefix(failed ? 0 : static_cast<std::size_t>(written));
  }
}

void FileReplacement::Body::add(std::string_view bytes) {
  if (buffer.size() + bytes.size() > bufferSize) {
    writeOut(buffer);
    buffer.clear();
  }
  if (bytes.size() > bufferSize) {
    writeOut(bytes);
  } else {
    buffer.append(bytes);
  }
  count += static_cast<std::int64_t>(bytes.size());
}

bool FileReplacement::Body::flush() {
  writeOut(buffer);
  buffer.clear();
  struct stat now {};
  failed = failed || fstat(file.number(), &now) != 0 || now.st_size != count;
  return !failed;
}

int FileReplacement::Body::finish() {
  if (int const error = target.lookForFile(); error != 0) {
    return error;
  }
  if (target.exists() && fchmod(file.number(), target.old().st_mode & permissions) != 0) {
    return errno;
  }
  int const error = file.sync();
  return error != 0 ? error : closeDuplicate(file);
}

int FileReplacement::Body::replaceByName() {
  auto const make = [this](std::string const& path) {
    errno = giveName(file, path);
    return errno == 0 ? file.duplicate() : Handle();
  };
  if (temporary.path().empty()) {
    if (int const error = temporary.create(target, make); error != 0) {
      return error;
    }
  }
  return temporary.rename(target.path());
}

// Where there is no old file, an unnamed one gets its name at once; it never takes the place of one that has just
// appeared.
int FileReplacement::Body::replace() {
  if (int const error = finish(); error != 0) {
    return error;
  }
  bool const isUnnamed = temporary.path().empty();
  int error = isUnnamed && !target.exists() ? giveName(file, target.path()) : EEXIST;
  if (error == EEXIST) {
    error = replaceByName();
  }
  return error != 0 ? error : syncFolder(target.folder());
}

FileReplacement::FileReplacement(std::string const& name) : mBody(std::make_unique<Body>()) {
  if (!mBody->open(name)) {
    mBody.reset();
  }
}

FileReplacement::~FileReplacement() = default;

bool FileReplacement::isOpen() const {
  return mBody != nullptr;
}

void FileReplacement::write(void const* bytes, std::int64_t count) {
  if (mBody && !mBody->failed && count > 0) {
    mBody->add({static_cast<char const*>(bytes), static_cast<std::size_t>(count)});
  }
}

bool FileReplacement::flush() {
  return mBody && mBody->flush();
}

bool FileReplacement::commit() {
  bool const done = flush() && mBody->replace() == 0;
  mBody.reset();
  return done;
}

bool replaceFile(std::string const& name, std::string_view contents) {
  FileReplacement file(name);
  file.write(contents);
  return file.commit();
}

}  // namespace files
