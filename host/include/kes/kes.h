// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

/// All of the front door.

#include <kes/Accuracy.h>
#include <kes/Band.h>
#include <kes/Block.h>
#include <kes/Camera.h>
#include <kes/CoordinateSystem.h>
#include <kes/Parallel.h>
#include <kes/Partials.h>
#include <kes/Projection.h>
#include <kes/Status.h>
#include <kes/Strip.h>
#include <kes/Surface.h>
#include <kes/Trajectory.h>
