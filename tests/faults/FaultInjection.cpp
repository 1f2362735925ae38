// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// A library to preload: it lets one call of the process fail that opens, writes, syncs, renames or closes a file below
// a folder, or kills the process there. Opening and closing files that are only read doesn't count.

#include "FaultPlan.h"
#include "Hook.h"
#include "PlannedFolder.h"
#include "Recording.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

using faults::Call;
using faults::isBelowFolder;
using faults::isPlanned;
using faults::next;
using faults::variable;

constexpr int noFault = -1;
constexpr int maxFiles = 4096;

// Numbers of the files that count.
std::atomic<bool> isCounted[maxFiles];

faults::Counts* mappedCounts() {
  int const file = static_cast<int>(next<int(char const*, int, ...)>("open")(variable(faults::countsVariable), O_RDWR));
  void* const memory =
      file < 0 ? MAP_FAILED : mmap(nullptr, sizeof(faults::Counts), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (memory == MAP_FAILED) {
    std::abort();
  }
  next<int(int)>("close")(file);
  return static_cast<faults::Counts*>(memory);
}

struct Plan {
  char const* call = variable(faults::callVariable);
  int number = std::atoi(variable(faults::numberVariable));
  int error = std::atoi(variable(faults::errorVariable));
  faults::Counts* counts = mappedCounts();
  std::atomic<int> count{0};

  bool covers(Call kind) const {
    return std::strcmp(call, "any") == 0 || std::strcmp(call, faults::callNames[kind]) == 0;
  }
};

Plan& plan() {
  static Plan instance;
  return instance;
}

// Counts a call: the error that it is to fail with, 0 for a kill, or `noFault`.
int faultOf(Call kind) {
  Plan& p = plan();
  __atomic_add_fetch(&p.counts->calls[kind], 1, __ATOMIC_RELAXED);
  if (!p.covers(kind) || ++p.count != p.number) {
    return noFault;
  }
  p.counts->happened = 1;
  return p.error;
}

// Whether the call fails, with errno set; a kill doesn't return.
bool fails(Call kind) {
  int const fault = faultOf(kind);
  if (fault == 0) {
    raise(SIGKILL);
  }
  if (fault > 0) {
    errno = fault;
  }
  return fault > 0;
}

bool isCountedFile(int file) {
  return file >= 0 && file < maxFiles && isCounted[file];
}

int noted(int file, bool counts) {
  if (file >= 0 && file < maxFiles) {
    isCounted[file] = counts;
  }
  return file;
}

int notedAsOpened(int file, bool counts) {
  if (counts && file >= 0) {
    faults::recording::opened(file);
  }
  return noted(file, counts);
}

bool isForWriting(int flags) {
  return (flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT) != 0;
}

template <class Open>
int openFile(int folder, char const* path, int flags, Open const& open) {
  bool const counts = isForWriting(flags) && isPlanned(folder, path);
  return counts && fails(faults::OPEN) ? -1 : notedAsOpened(open(), counts);
}

// Of a process that is killed within a write, half of it is there.
template <class Write>
ssize_t writeFile(int file, std::size_t size, Write const& write) {
  if (!isCountedFile(file)) {
    return write(size);
  }
  int const fault = faultOf(faults::WRITE);
  if (fault == noFault) {
    ssize_t const written = write(size);
    faults::recording::changed(file);
    return written;
  }
  if (fault == 0) {
    write(size / 2);
    raise(SIGKILL);
  }
  errno = fault;
  return -1;
}

template <class Truncate>
int truncateFile(int file, Truncate const& truncate) {
  if (!isCountedFile(file)) {
    return truncate();
  }
  int const result = fails(faults::WRITE) ? -1 : truncate();
  faults::recording::changed(file);
  return result;
}

template <class Sync>
int syncFile(int file, Sync const& sync) {
  if (!isBelowFolder(file)) {
    return sync(file);
  }
  int const result = fails(faults::SYNC) ? -1 : sync(file);
  if (result == 0) {
    faults::recording::synced(file);
  }
  return result;
}

template <class Rename>
int renameFile(int folder, char const* to, Rename const& rename) {
  if (isPlanned(folder, to) && fails(faults::RENAME)) {
    return -1;
  }
  int const result = rename();
  faults::recording::entriesChanged();
  return result;
}

FILE* openStream(char const* path, char const* mode, char const* function) {
  bool const counts = std::strpbrk(mode, "wa+") != nullptr && isPlanned(AT_FDCWD, path);
  if (counts && fails(faults::OPEN)) {
    return nullptr;
  }
  FILE* const stream = next<FILE*(char const*, char const*)>(function)(path, mode);
  if (stream != nullptr) {
    notedAsOpened(fileno(stream), counts);
  }
  return stream;
}

int makeTemporary(char* path, char const* function, int flags) {
  bool const counts = isPlanned(AT_FDCWD, path);
  return counts && fails(faults::OPEN) ? -1 : notedAsOpened(next<int(char*, int)>(function)(path, flags), counts);
}

// No signal interrupts the making of a folder.
bool folderFails(char const* path) {
  return plan().error != EINTR && isPlanned(AT_FDCWD, path) && fails(faults::OPEN);
}

mode_t modeOf(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

#define KES_OPEN(name)                                                                                                 \
  KES_HOOK int name(char const* path, int flags, ...) {                                                                \
    va_list arguments;                                                                                                 \
    va_start(arguments, flags);                                                                                        \
    mode_t const mode = modeOf(flags, arguments);                                                                      \
    va_end(arguments);                                                                                                 \
    return openFile(AT_FDCWD, path, flags,                                                                             \
                    [&] { return next<int(char const*, int, ...)>(#name)(path, flags, mode); });                       \
  }
KES_OPEN(open)
KES_OPEN(open64)

#define KES_OPENAT(name)                                                                                               \
  KES_HOOK int name(int folder, char const* path, int flags, ...) {                                                    \
    va_list arguments;                                                                                                 \
    va_start(arguments, flags);                                                                                        \
    mode_t const mode = modeOf(flags, arguments);                                                                      \
    va_end(arguments);                                                                                                 \
    return openFile(folder, path, flags,                                                                               \
                    [&] { return next<int(int, char const*, int, ...)>(#name)(folder, path, flags, mode); });          \
  }
KES_OPENAT(openat)
KES_OPENAT(openat64)

#define KES_FCNTL(name)                                                                                                \
  KES_HOOK int name(int file, int command, ...) {                                                                      \
    va_list arguments;                                                                                                 \
    va_start(arguments, command);                                                                                      \
    void* const argument = va_arg(arguments, void*);                                                                   \
    va_end(arguments);                                                                                                 \
    int const result = next<int(int, int, ...)>(#name)(file, command, argument);                                       \
    bool const isCopy = command == F_DUPFD || command == F_DUPFD_CLOEXEC;                                              \
    return isCopy && result >= 0 ? noted(result, isCountedFile(file)) : result;                                        \
  }
KES_FCNTL(fcntl)
KES_FCNTL(fcntl64)

KES_HOOK FILE* fopen(char const* path, char const* mode) {
  return openStream(path, mode, "fopen");
}

KES_HOOK FILE* fopen64(char const* path, char const* mode) {
  return openStream(path, mode, "fopen64");
}

KES_HOOK int mkstemp(char* path) {
  return makeTemporary(path, "mkostemp", 0);
}

KES_HOOK int mkstemp64(char* path) {
  return makeTemporary(path, "mkostemp", 0);
}

KES_HOOK int mkostemp(char* path, int flags) {
  return makeTemporary(path, "mkostemp", flags);
}

KES_HOOK int mkostemp64(char* path, int flags) {
  return makeTemporary(path, "mkostemp", flags);
}

KES_HOOK char* mkdtemp(char* path) {
  char* const result = folderFails(path) ? nullptr : next<char*(char*)>("mkdtemp")(path);
  faults::recording::entriesChanged();
  return result;
}

KES_HOOK int mkdir(char const* path, mode_t mode) {
  int const result = folderFails(path) ? -1 : next<int(char const*, mode_t)>("mkdir")(path, mode);
  faults::recording::entriesChanged();
  return result;
}

KES_HOOK ssize_t write(int file, void const* bytes, size_t size) {
  return writeFile(file, size,
                   [&](std::size_t n) { return next<ssize_t(int, void const*, size_t)>("write")(file, bytes, n); });
}

KES_HOOK ssize_t pwrite(int file, void const* bytes, size_t size, off_t at) {
  return writeFile(file, size, [&](std::size_t n) {
    return next<ssize_t(int, void const*, size_t, off_t)>("pwrite")(file, bytes, n, at);
  });
}

KES_HOOK ssize_t pwrite64(int file, void const* bytes, size_t size, off64_t at) {
  return writeFile(file, size, [&](std::size_t n) {
    return next<ssize_t(int, void const*, size_t, off64_t)>("pwrite64")(file, bytes, n, at);
  });
}

KES_HOOK ssize_t writev(int file, iovec const* pieces, int count) {
  return writeFile(file, static_cast<std::size_t>(count), [&](std::size_t n) {
    return next<ssize_t(int, iovec const*, int)>("writev")(file, pieces, static_cast<int>(n));
  });
}

KES_HOOK ssize_t sendfile(int to, int from, off_t* at, size_t size) {
  return writeFile(to, size,
                   [&](std::size_t n) { return next<ssize_t(int, int, off_t*, size_t)>("sendfile")(to, from, at, n); });
}

KES_HOOK ssize_t sendfile64(int to, int from, off64_t* at, size_t size) {
  return writeFile(to, size, [&](std::size_t n) {
    return next<ssize_t(int, int, off64_t*, size_t)>("sendfile64")(to, from, at, n);
  });
}

KES_HOOK ssize_t copy_file_range(int from, off64_t* fromAt, int to, off64_t* toAt, size_t size, unsigned flags) {
  return writeFile(to, size, [&](std::size_t n) {
    return next<ssize_t(int, off64_t*, int, off64_t*, size_t, unsigned)>("copy_file_range")(from, fromAt, to, toAt, n,
                                                                                            flags);
  });
}

// The C library's own calls can't be reached, so a stream's writes count where the program makes them.
KES_HOOK size_t fwrite(void const* bytes, size_t size, size_t count, FILE* stream) {
  ssize_t const written = writeFile(fileno(stream), count, [&](std::size_t n) {
    return static_cast<ssize_t>(next<size_t(void const*, size_t, size_t, FILE*)>("fwrite")(bytes, size, n, stream));
  });
  return written < 0 ? 0 : static_cast<size_t>(written);
}

KES_HOOK int ftruncate(int file, off_t size) {
  return truncateFile(file, [&] { return next<int(int, off_t)>("ftruncate")(file, size); });
}

KES_HOOK int ftruncate64(int file, off64_t size) {
  return truncateFile(file, [&] { return next<int(int, off64_t)>("ftruncate64")(file, size); });
}

KES_HOOK int fsync(int file) {
  return syncFile(file, next<int(int)>("fsync"));
}

KES_HOOK int fdatasync(int file) {
  return syncFile(file, next<int(int)>("fdatasync"));
}

KES_HOOK int rename(char const* from, char const* to) {
  return renameFile(AT_FDCWD, to, [&] { return next<int(char const*, char const*)>("rename")(from, to); });
}

KES_HOOK int renameat(int fromFolder, char const* from, int toFolder, char const* to) {
  return renameFile(toFolder, to, [&] {
    return next<int(int, char const*, int, char const*)>("renameat")(fromFolder, from, toFolder, to);
  });
}

KES_HOOK int renameat2(int fromFolder, char const* from, int toFolder, char const* to, unsigned flags) {
  return renameFile(toFolder, to, [&] {
    return next<int(int, char const*, int, char const*, unsigned)>("renameat2")(fromFolder, from, toFolder, to, flags);
  });
}

KES_HOOK int link(char const* from, char const* to) {
  return renameFile(AT_FDCWD, to, [&] { return next<int(char const*, char const*)>("link")(from, to); });
}

KES_HOOK int linkat(int fromFolder, char const* from, int toFolder, char const* to, int flags) {
  return renameFile(toFolder, to, [&] {
    return next<int(int, char const*, int, char const*, int)>("linkat")(fromFolder, from, toFolder, to, flags);
  });
}

// The number of a file is free even when closing it fails.
KES_HOOK int close(int file) {
  bool const failing = isCountedFile(file) && fails(faults::CLOSE);
  int const error = errno;
  if (isCountedFile(file)) {
    faults::recording::changed(file);
  }
  noted(file, false);
  int const result = next<int(int)>("close")(file);
  errno = failing ? error : errno;
  return failing ? -1 : result;
}

// What is still in the buffer of a stream is lost with it.
KES_HOOK int fclose(FILE* stream) {
  bool const failing = isCountedFile(fileno(stream)) && fails(faults::CLOSE);
  int const error = errno;
  faults::recording::Closing const closing(isCountedFile(fileno(stream)) ? fileno(stream) : -1);
  noted(fileno(stream), false);
  if (failing) {
    __fpurge(stream);
  }
  int const result = next<int(FILE*)>("fclose")(stream);
  errno = failing ? error : errno;
  return failing ? EOF : result;
}

KES_HOOK int fflush(FILE* stream) {
  if (stream != nullptr && isCountedFile(fileno(stream)) && fails(faults::WRITE)) {
    return EOF;
  }
  return next<int(FILE*)>("fflush")(stream);
}
