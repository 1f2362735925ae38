// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstdint>

namespace sensor {

/// Four lanes of single precision on any machine: a loop over the lanes, which does to each what the vector unit does
/// to all four at once, with the same bits.
struct PlainLanes {
  struct Mask {
    std::array<bool, 4> lane;
  };
  struct Ints {
    std::array<std::int32_t, 4> lane;
  };
  struct Floats {
    std::array<float, 4> lane;

    friend Floats operator+(Floats a, Floats b) {
      return each(a, b, [](float x, float y) { return x + y; });
    }
    friend Floats operator-(Floats a, Floats b) {
      return each(a, b, [](float x, float y) { return x - y; });
    }
    friend Floats operator*(Floats a, Floats b) {
      return each(a, b, [](float x, float y) { return x * y; });
    }
    friend Floats operator/(Floats a, Floats b) {
      return each(a, b, [](float x, float y) { return x / y; });
    }

  private:
    template <class Operation>
    static Floats each(Floats a, Floats b, Operation operation) {
      for (unsigned i = 0; i < 4; ++i) {
        a.lane[i] = operation(a.lane[i], b.lane[i]);
      }
      return a;
    }
  };

  static Floats same(float value) { return {{value, value, value, value}}; }
  static Floats load(float const* four) { return {{four[0], four[1], four[2], four[3]}}; }
  static void store(float* four, Floats a) {
    for (unsigned i = 0; i < 4; ++i) {
      four[i] = a.lane[i];
    }
  }

  static Mask below(Floats a, Floats b) {
    Mask mask{};
    for (unsigned i = 0; i < 4; ++i) {
      mask.lane[i] = a.lane[i] < b.lane[i];
    }
    return mask;
  }
  static Mask notAbove(Floats a, Floats b) {
    Mask mask{};
    for (unsigned i = 0; i < 4; ++i) {
      mask.lane[i] = a.lane[i] <= b.lane[i];
    }
    return mask;
  }
  static Mask both(Mask a, Mask b) {
    for (unsigned i = 0; i < 4; ++i) {
      a.lane[i] = a.lane[i] && b.lane[i];
    }
    return a;
  }
  static Mask everywhere() { return {{true, true, true, true}}; }
  /// Bit i is lane i.
  static unsigned bits(Mask mask) {
    unsigned result = 0;
    for (unsigned i = 0; i < 4; ++i) {
      result |= mask.lane[i] ? 1U << i : 0U;
    }
    return result;
  }
  static bool any(Mask mask) { return bits(mask) != 0; }
  static bool all(Mask mask) { return bits(mask) == 0xF; }

  /// `a` in the lanes of the mask, `b` in the others.
  static Floats select(Mask mask, Floats a, Floats b) {
    for (unsigned i = 0; i < 4; ++i) {
      a.lane[i] = mask.lane[i] ? a.lane[i] : b.lane[i];
    }
    return a;
  }

  static Mask select(Mask mask, Mask a, Mask b) {
    for (unsigned i = 0; i < 4; ++i) {
      a.lane[i] = mask.lane[i] ? a.lane[i] : b.lane[i];
    }
    return a;
  }

  /// One lane.
  static Mask only(unsigned lane) {
    Mask mask{};
    mask.lane[lane] = true;
    return mask;
  }

  /// Towards zero. The values have to be within the range of the integers.
  static Ints truncate(Floats a) {
    Ints result{};
    for (unsigned i = 0; i < 4; ++i) {
      result.lane[i] = static_cast<std::int32_t>(a.lane[i]);
    }
    return result;
  }
  static Floats toFloats(Ints a) {
    Floats result{};
    for (unsigned i = 0; i < 4; ++i) {
      result.lane[i] = static_cast<float>(a.lane[i]);
    }
    return result;
  }
  static Ints add(Ints a, Ints b) {
    for (unsigned i = 0; i < 4; ++i) {
      a.lane[i] += b.lane[i];
    }
    return a;
  }
  static Ints limit(Ints a, std::int32_t least, std::int32_t most) {
    for (unsigned i = 0; i < 4; ++i) {
      a.lane[i] = a.lane[i] < least ? least : a.lane[i] > most ? most : a.lane[i];
    }
    return a;
  }
  /// In each lane the table's value at the index, and the next one.
  static void loadPairs(float const* table, Ints index, Floats& first, Floats& second) {
    for (unsigned i = 0; i < 4; ++i) {
      first.lane[i] = table[index.lane[i]];
      second.lane[i] = table[index.lane[i] + 1];
    }
  }
};

}  // namespace sensor
