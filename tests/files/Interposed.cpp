// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Interposed.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio_ext.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

thread_local test::Interposed::OnCall const* current = nullptr;

int ask(char const* function) {
  if (current == nullptr) {
    return 0;
  }
  // What it calls is not asked about.
  auto const* const asked = std::exchange(current, nullptr);
  int const answer = (*asked)(function);
  current = asked;
  return answer;
}

template <typename Function>
Function next(char const* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// -1 with errno for a failure that was asked for, else the true function's result.
template <typename... Arguments>
int call(char const* name, Arguments... arguments) {
  if (int const error = ask(name); error > 0) {
    errno = error;
    return -1;
  }
  return next<int (*)(Arguments...)>(name)(arguments...);
}

bool hasMode(int flags) {
  return (flags & O_TMPFILE) == O_TMPFILE || (flags & O_CREAT) != 0;
}

int openAsked(char const* name, char const* path, int flags, mode_t mode) {
  if (int const error = ask((flags & O_TMPFILE) == O_TMPFILE ? "open unnamed" : "open"); error > 0) {
    errno = error;
    return -1;
  }
  return next<int (*)(char const*, int, ...)>(name)(path, flags, mode);
}

}  // namespace

// Visible to the libraries, whose calls come here.
#pragma GCC visibility push(default)
extern "C" {

int open(char const* path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  mode_t const mode = hasMode(flags) ? va_arg(list, mode_t) : 0;
  va_end(list);
  return openAsked("open", path, flags, mode);
}

int open64(char const* path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  mode_t const mode = hasMode(flags) ? va_arg(list, mode_t) : 0;
  va_end(list);
  return openAsked("open64", path, flags, mode);
}

ssize_t write(int file, void const* bytes, size_t count) {
  int const answer = ask("write");
  if (answer > 0) {
    errno = answer;
    return -1;
  }
  size_t const part = answer == test::Interposed::shortWrite ? (count + 1) / 2 : count;
  return next<ssize_t (*)(int, void const*, size_t)>("write")(file, bytes, part);
}

ssize_t pwrite64(int file, void const* bytes, size_t count, off64_t place) {
  if (int const error = ask("pwrite"); error > 0) {
    errno = error;
    return -1;
  }
  return next<ssize_t (*)(int, void const*, size_t, off64_t)>("pwrite64")(file, bytes, count, place);
}

size_t fwrite(void const* bytes, size_t size, size_t count, FILE* file) {
  int const answer = ask("fwrite");
  if (answer > 0) {
    errno = answer;
    return 0;
  }
  std::vector<char> const zeros(answer == test::Interposed::lostWrite ? size * count : 0);
  return next<size_t (*)(void const*, size_t, size_t, FILE*)>("fwrite")(zeros.empty() ? bytes : zeros.data(), size,
                                                                        count, file);
}

// What is in its buffer is lost when a stream can't write it, as it closes or moves on.
int fclose(FILE* file) {
  int const error = ask("fclose");
  if (error > 0) {
    __fpurge(file);
  }
  int const result = next<int (*)(FILE*)>("fclose")(file);
  if (error > 0) {
    errno = error;
    return EOF;
  }
  return result;
}

int fseeko64(FILE* file, off64_t place, int whence) {
  if (int const error = ask("fseeko64"); error > 0) {
    __fpurge(file);
    errno = error;
    return -1;
  }
  return next<int (*)(FILE*, off64_t, int)>("fseeko64")(file, place, whence);
}

int pthread_create(pthread_t* thread, pthread_attr_t const* attributes, void* (*work)(void*), void* argument) noexcept {
  if (int const error = ask("pthread_create"); error > 0) {
    return error;
  }
  return next<int (*)(pthread_t*, pthread_attr_t const*, void* (*)(void*), void*)>("pthread_create")(thread, attributes,
                                                                                                     work, argument);
}

int fdatasync(int file) {
  return call("fdatasync", file);
}

int ftruncate64(int file, off64_t size) noexcept {
  return call("ftruncate64", file, size);
}

int fsync(int file) {
  return call("fsync", file);
}

// As the system's, a failing one closes all the same.
int close(int file) {
  int const error = ask("close");
  int const result = next<int (*)(int)>("close")(file);
  if (error > 0) {
    errno = error;
    return -1;
  }
  return result;
}

int flock(int file, int operation) noexcept {
  return call("flock", file, operation);
}

int linkat(int from, char const* fromPath, int to, char const* toPath, int flags) noexcept {
  return call("linkat", from, fromPath, to, toPath, flags);
}

int rename(char const* from, char const* to) noexcept {
  return call("rename", from, to);
}

int mkdir(char const* path, mode_t mode) noexcept {
  return call("mkdir", path, mode);
}

int fchmod(int file, mode_t mode) noexcept {
  return call("fchmod", file, mode);
}

}  // extern "C"
#pragma GCC visibility pop

namespace test {

Interposed::Interposed(OnCall onCall) : mOnCall(std::move(onCall)) {
  current = &mOnCall;
}

Interposed::~Interposed() {
  current = nullptr;
}

Interposed::OnCall withKind(Kind kind, Interposed::OnCall onCall) {
  return [kind, onCall = std::move(onCall)](std::string const& function) {
    return kind == Kind::Named && function == "open unnamed" ? EOPNOTSUPP : onCall(function);
  };
}

}  // namespace test
