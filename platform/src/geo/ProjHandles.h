// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "geo/ProjFiles.h"

#include <util/Origin.h>

#include <proj.h>

#include <memory>

namespace geo {

struct ProjDeleter {
  void operator()(PJ_CONTEXT* context) const { proj_context_destroy(context); }
  void operator()(PJ* object) const { proj_destroy(object); }
  void operator()(PJ_OBJ_LIST* list) const { proj_list_destroy(list); }
  void operator()(PJ_OPERATION_FACTORY_CONTEXT* context) const { proj_operation_factory_context_destroy(context); }
};

using ProjContext = std::unique_ptr<PJ_CONTEXT, ProjDeleter>;
using ProjObject = std::unique_ptr<PJ, ProjDeleter>;

/// A context that never uses a network, whatever the environment says, and prints nothing. For definitions out of files
/// it opens no files but PROJ's own.
inline ProjContext makeProjContext(util::Origin origin) {
  ProjContext context(proj_context_create());
  proj_context_set_enable_network(context.get(), 0);
  proj_log_level(context.get(), PJ_LOG_NONE);
  if (origin == util::Origin::file) {
    keepToProjFolders(context.get());
  }
  return context;
}

}  // namespace geo
