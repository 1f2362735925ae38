// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <smmintrin.h>

namespace sensor {

/// Four lanes of single precision in the vector unit of SSE level 4.1. See `PlainLanes` for what the operations do.
struct SseLanes {
  struct Mask {
    __m128 lanes;
  };
  struct Ints {
    __m128i lanes;
  };
  struct Floats {
    __m128 lanes;

    friend Floats operator+(Floats a, Floats b) { return {_mm_add_ps(a.lanes, b.lanes)}; }
    friend Floats operator-(Floats a, Floats b) { return {_mm_sub_ps(a.lanes, b.lanes)}; }
    friend Floats operator*(Floats a, Floats b) { return {_mm_mul_ps(a.lanes, b.lanes)}; }
    friend Floats operator/(Floats a, Floats b) { return {_mm_div_ps(a.lanes, b.lanes)}; }
  };

  static Floats same(float value) { return {_mm_set1_ps(value)}; }
  static Floats load(float const* four) { return {_mm_loadu_ps(four)}; }
  static void store(float* four, Floats a) { _mm_storeu_ps(four, a.lanes); }

  static Mask below(Floats a, Floats b) { return {_mm_cmplt_ps(a.lanes, b.lanes)}; }
  static Mask notAbove(Floats a, Floats b) { return {_mm_cmple_ps(a.lanes, b.lanes)}; }
  static Mask both(Mask a, Mask b) { return {_mm_and_ps(a.lanes, b.lanes)}; }
  static Mask everywhere() { return {_mm_castsi128_ps(_mm_set1_epi32(-1))}; }
  static unsigned bits(Mask mask) { return static_cast<unsigned>(_mm_movemask_ps(mask.lanes)); }
  static bool any(Mask mask) {
    __m128i const lanes = _mm_castps_si128(mask.lanes);
    return _mm_testz_si128(lanes, lanes) == 0;
  }
  static bool all(Mask mask) { return _mm_movemask_ps(mask.lanes) == 0xF; }
  static Floats select(Mask mask, Floats a, Floats b) { return {_mm_blendv_ps(b.lanes, a.lanes, mask.lanes)}; }

  static Mask select(Mask mask, Mask a, Mask b) { return {_mm_blendv_ps(b.lanes, a.lanes, mask.lanes)}; }
  static Mask only(unsigned lane) {
    __m128i const number = _mm_set_epi32(3, 2, 1, 0);
    return {_mm_castsi128_ps(_mm_cmpeq_epi32(number, _mm_set1_epi32(static_cast<std::int32_t>(lane))))};
  }

  static Ints truncate(Floats a) { return {_mm_cvttps_epi32(a.lanes)}; }
  static Floats toFloats(Ints a) { return {_mm_cvtepi32_ps(a.lanes)}; }
  static Ints add(Ints a, Ints b) { return {_mm_add_epi32(a.lanes, b.lanes)}; }
  static Ints limit(Ints a, std::int32_t least, std::int32_t most) {
    return {_mm_min_epi32(_mm_max_epi32(a.lanes, _mm_set1_epi32(least)), _mm_set1_epi32(most))};
  }
  static void loadPairs(float const* table, Ints index, Floats& first, Floats& second) {
    __m128 const a = pairs(table, _mm_extract_epi32(index.lanes, 0), _mm_extract_epi32(index.lanes, 1));
    __m128 const b = pairs(table, _mm_extract_epi32(index.lanes, 2), _mm_extract_epi32(index.lanes, 3));
    first.lanes = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
    second.lanes = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
  }

private:
  // The entries i, i + 1, j, j + 1.
  static __m128 pairs(float const* table, std::int32_t i, std::int32_t j) {
    return _mm_castsi128_ps(_mm_unpacklo_epi64(pair(table + i), pair(table + j)));
  }
  static __m128i pair(float const* two) { return _mm_loadl_epi64(reinterpret_cast<__m128i const*>(two)); }
};

}  // namespace sensor
