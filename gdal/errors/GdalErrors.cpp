// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "GdalErrors.h"

#include <cpl_error.h>

namespace kesgdal {

void keepError(GdalErrors& errors, char const* text) {
  if (!errors.mAny) {
    errors.mAny = true;
    errors.mFirst = text;
  }
}

namespace {

void CPL_STDCALL onError(CPLErr kind, CPLErrorNum /*number*/, char const* text) {
  if (kind >= CE_Failure) {
    keepError(*static_cast<GdalErrors*>(CPLGetErrorHandlerUserData()), text);
  }
}

}  // namespace

GdalErrors::GdalErrors() {
  CPLPushErrorHandlerEx(onError, this);
}

GdalErrors::~GdalErrors() {
  CPLPopErrorHandler();
  CPLErrorReset();
}

}  // namespace kesgdal
