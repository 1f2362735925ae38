// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <benchmark/benchmark.h>
#include <proj.h>

#include <vector>

namespace {

constexpr std::size_t count = 1000000;

// A computation that every user of coordinates knows, on the same machine in the same run.
void yardstick(benchmark::State& state) {
  PJ_CONTEXT* context = proj_context_create();
  PJ* cart = proj_create(context, "+proj=cart +ellps=WGS84");
  std::vector<PJ_COORD> source(count);
  for (std::size_t i = 0; i < count; ++i) {
    double const part = static_cast<double>(i) / static_cast<double>(count);
    source[i] = proj_coord(-1.5 + 3.0 * part, -1.4 + 2.8 * part, 1000.0 * part, 0.0);
  }
  std::vector<PJ_COORD> points(count);
  for (auto _ : state) {
    state.PauseTiming();
    points = source;
    state.ResumeTiming();
    proj_trans_generic(cart, PJ_FWD, &points[0].xyz.x, sizeof(PJ_COORD), count, &points[0].xyz.y, sizeof(PJ_COORD),
                       count, &points[0].xyz.z, sizeof(PJ_COORD), count, nullptr, 0, 0);
    benchmark::DoNotOptimize(points.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
  proj_destroy(cart);
  proj_context_destroy(context);
}
BENCHMARK(yardstick)->Name("yardstick: PROJ, geographic to geocentric")->Unit(benchmark::kMillisecond);

}  // namespace
