// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/SharedOperation.h"

#include <atomic>
#include <unordered_map>
#include <utility>

namespace geo {
namespace {

std::uint64_t nextId() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

/// The copies of one thread.
class ThreadOperations {
public:
  PJ* of(std::shared_ptr<SharedOperation const> const& shared) {
    if (shared->mId != mLastId) {
      mLast = find(shared);
      mLastId = shared->mId;
    }
    return mLast;
  }

private:
  struct Entry {
    std::weak_ptr<SharedOperation const> origin;
    ProjObject operation;
  };

  PJ* find(std::shared_ptr<SharedOperation const> const& shared) {
    auto const found = mEntries.find(shared->mId);
    if (found != mEntries.end()) {
      return found->second.operation.get();
    }
    std::erase_if(mEntries, [](auto const& entry) { return entry.second.origin.expired(); });
    ProjObject copy = shared->clone(contextFor(shared->mOrigin));
    return mEntries.emplace(shared->mId, Entry{shared, std::move(copy)}).first->second.operation.get();
  }

  PJ_CONTEXT* contextFor(util::Origin origin) {
    ProjContext& context = origin == util::Origin::file ? mFileContext : mUserContext;
    if (!context) {
      context = makeProjContext(origin);
    }
    return context.get();
  }

  ProjContext mUserContext;  // before the objects that live in them
  ProjContext mFileContext;
  std::unordered_map<std::uint64_t, Entry> mEntries;
  std::uint64_t mLastId = 0;
  PJ* mLast = nullptr;
};

SharedOperation::SharedOperation(ProjContext context, ProjObject operation, util::Origin origin)
    : mContext(std::move(context)), mOperation(std::move(operation)), mOrigin(origin), mId(nextId()) {}

PJ* SharedOperation::ofThisThread(std::shared_ptr<SharedOperation const> const& shared) {
  thread_local ThreadOperations operations;
  return operations.of(shared);
}

ProjObject SharedOperation::clone(PJ_CONTEXT* context) const {
  std::lock_guard const lock(mMutex);
  return ProjObject(proj_clone(context, mOperation.get()));
}

}  // namespace geo
