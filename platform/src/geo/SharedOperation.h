// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "geo/ProjHandles.h"

#include <cstdint>
#include <memory>
#include <mutex>

namespace geo {

/// A coordinate operation of PROJ that many threads use. A PROJ object serves one thread at a time: shared by several
/// it gives wrong results without an error. So nobody works with the operation itself; each thread has a copy.
class SharedOperation {
public:
  /// `operation` lives in `context`, which was made for a definition of that origin.
  SharedOperation(ProjContext context, ProjObject operation, util::Origin origin);

  /// The copy of the calling thread, made at its first call and freed when the thread ends or, after `shared` is gone,
  /// when the thread makes its next copy of another. Null when PROJ can't make one.
  static PJ* ofThisThread(std::shared_ptr<SharedOperation const> const& shared);

private:
  friend class ThreadOperations;
  ProjObject clone(PJ_CONTEXT* context) const;

  ProjContext mContext;
  ProjObject mOperation;
  util::Origin mOrigin;
  std::uint64_t mId;  // never used twice in a process, unlike an address
  mutable std::mutex mMutex;
};

}  // namespace geo
