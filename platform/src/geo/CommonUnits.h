// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace geo {

class units;

/// The units that many systems share.
units const& metre();
units const& radianOnEquator();
units const& degreeOnEquator();

}  // namespace geo
