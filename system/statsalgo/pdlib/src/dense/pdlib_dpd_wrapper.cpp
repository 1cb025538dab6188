#include "dense/pdlib_dpd_wrapper.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "base/numeric.h"

namespace {

constexpr uint64_t kFullConfidence = 1024;

// Sums and products modulo 2^64.
int64_t add(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}
int64_t multiply(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

int64_t distance(int near, int far) {
  return std::abs(int64_t{far} - near);
}

struct Extremes {
  int64_t min;
  int64_t max;
  int64_t min_index;  // the first of equal ones
};

Extremes find_extremes(const int64_t* sad, int64_t count) {
  Extremes found = {sad[0], sad[0], 0};
  for (int64_t i = 1; i < count; ++i) {
    found.max = std::max(found.max, sad[i]);
    if (sad[i] >= found.min) continue;
    found.min = sad[i];
    found.min_index = i;
  }
  return found;
}

// How far the vertex of the parabola around entry `best` lies from it, in `offset`; false on the
// curve's ends and where the parabola is a line.
bool fit_parabola(const int64_t* filtered, int64_t best, int64_t last, float* offset) {
  if (best == 0 || best == last) return false;
  const float before = static_cast<float>(filtered[best - 1]);
  const float after = static_cast<float>(filtered[best + 1]);
  const float denominator = 2 * (before + after) - 4 * static_cast<float>(filtered[best]);
  if (denominator == 0) return false;
  *offset = (before - after) / denominator;
  return true;
}

struct Window {
  int64_t start;
  int16_t length;  // counted in 16 bits; below 1: no window
};

// `width` entries around `best`, moved inward at the ends of the curve. A negative width, whose
// ends come in the wrong order, holds none.
Window confidence_window(int64_t best, int64_t last, int width) {
  if (width < 0) return {0, 0};
  const int64_t half = width / 2;
  const auto window = [](int64_t start, int64_t length) {
    return Window{start, static_cast<int16_t>(length)};
  };
  if (best < half) return window(0, std::min<int64_t>(last, width) + 1);
  if (best + half <= last) {
    const int64_t start = std::max<int64_t>(best - half, 0);
    return window(start, std::min(best + half, last) + 1 - start);
  }
  const int64_t start = std::max<int64_t>(last - width, 0);
  return window(start, last + 1 - start);
}

uint16_t confidence(const int64_t* sad, int64_t minimum, const Window& window) {
  int64_t sum = 0;
  for (int i = 0; i < window.length; ++i) sum = add(sum, sad[window.start + i]);
  if (sum < 1) return 0;
  const int64_t below = multiply(multiply(window.length, minimum), kFullConfidence);
  return static_cast<uint16_t>(kFullConfidence - static_cast<uint64_t>(below / sum));
}

int reduce(int index, int far) {
  return static_cast<int>(index - std::abs(int64_t{far}));
}

// What a match on either kind of curve has in common. `position` turns the index of the minimum,
// and the offset of the parabola's vertex from it (null: not refined), into a displacement.
template <class Position>
uint16_t find_matching(const int64_t* sad, const int64_t* filtered, int near, int far, int width,
                       float* integer_pd, float* pd, int64_t* min, int64_t* max, float range_factor,
                       int* range_low, int* range_high, Position position) {
  const int64_t last = distance(near, far);
  const Extremes found = find_extremes(sad, last + 1);
  *min = found.min;
  *max = found.max;
  *integer_pd = static_cast<float>(near + found.min_index);

  float offset = 0;
  const bool refined = fit_parabola(filtered, found.min_index, last, &offset);
  *pd = position(static_cast<float>(found.min_index), refined ? &offset : nullptr);

  int min_index = 0;
  dpd_compute_out_range(sad, static_cast<int>(last + 1), range_factor, range_low, range_high,
                        &min_index);
  *range_low = reduce(*range_low, far);
  *range_high = reduce(*range_high, far);
  return confidence(sad, found.min, confidence_window(found.min_index, last, width));
}

// The turns of a curve.
class Reversals {
 public:
  // A step of the curve at `index` goes up (1) or down (-1).
  void Step(int index, int sign) {
    if (last_sign_ != 0 && sign != last_sign_) Turn(index);
    last_sign_ = sign;
  }

  int count() const { return count_; }

  // Whether the distances between neighbours deviate from `mean` by more than `tolerance`. The
  // least and the greatest speak for all.
  bool DeviateFrom(float mean, float tolerance) const {
    const auto deviates = [=](int distance) {
      return std::fabs(static_cast<float>(distance) - mean) > tolerance;
    };
    return count_ > 1 && (deviates(least_) || deviates(greatest_));
  }

 private:
  void Turn(int index) {
    if (count_++ > 0) {
      least_ = std::min(least_, index - last_);
      greatest_ = std::max(greatest_, index - last_);
    }
    last_ = index;
  }

  int last_sign_ = 0;
  int count_ = 0;
  int last_ = 0;
  int least_ = std::numeric_limits<int>::max();
  int greatest_ = 0;
};

// 1 for a step up, -1 down, 0 for one that is flat. From 0 every step counts as one up.
int step_sign(int64_t from, int64_t to, float threshold) {
  if (from == 0) return 1;
  const float change = std::fabs(static_cast<float>(to) / static_cast<float>(from) - 1);
  if (change < threshold) return 0;
  return from < to ? 1 : -1;
}

Reversals find_reversals(const int64_t* curve, int count, float threshold) {
  Reversals reversals;
  for (int i = 0; i + 1 < count; ++i) {
    const int sign = step_sign(curve[i], curve[i + 1], threshold);
    if (sign != 0) reversals.Step(i, sign);
  }
  return reversals;
}

}  // namespace

void dpd_sad_bias(int64_t* sad, const uint16_t* bias, int16_t count) {
  for (int i = 0; i < count; ++i) sad[i] = multiply(bias[i], sad[i]) >> 12;
}

void dpd_sad_temporal_filter(const int64_t* sad, int64_t* filtered, float weight, int16_t count) {
  const float memory = std::max(1 - weight, 0.0F);
  for (int i = 0; i < count; ++i) {
    const auto kept = pdlib::SaturateTo<int64_t>(static_cast<float>(filtered[i]) * memory);
    const auto added = pdlib::SaturateTo<int64_t>(static_cast<float>(sad[i]) * weight);
    filtered[i] = add(kept, added);
  }
}

uint16_t dpd_FindMatching(const int64_t* sad, const int64_t* filtered, int near, int far, int width,
                          float* integer_pd, float* pd, int64_t* min, int64_t* max,
                          float range_factor, int* range_low, int* range_high) {
  const auto position = [far](float index, const float* offset) {
    return (offset != nullptr ? index + *offset : index) - static_cast<float>(far);
  };
  return find_matching(sad, filtered, near, far, width, integer_pd, pd, min, max, range_factor,
                       range_low, range_high, position);
}

uint16_t dpd_HW_FindMatching(const int64_t* sad, const int64_t* filtered, int near, int far,
                             int width, float* integer_pd, float* pd, int64_t* min, int64_t* max,
                             float range_factor, int* range_low, int* range_high) {
  const auto position = [near](float index, const float* offset) {
    return offset != nullptr ? index + *offset + static_cast<float>(near) : index;
  };
  return find_matching(sad, filtered, near, far, width, integer_pd, pd, min, max, range_factor,
                       range_low, range_high, position);
}

int dpd_compute_out_range(const int64_t* sad, int count, float range_factor, int* low, int* high,
                          int* min_index) {
  const int last = std::max(count, 1) - 1;
  const Extremes found = find_extremes(sad, int64_t{last} + 1);
  const int best = static_cast<int>(found.min_index);
  const auto limit =
      pdlib::SaturateTo<int64_t>(static_cast<float>(found.min) * (range_factor + 1.0F));
  *low = -1;
  *high = -1;
  for (int i = 0; i <= best && *low < 0; ++i) {
    if (sad[i] <= limit) *low = i;
  }
  for (int i = last; i >= best && *high < 0; --i) {
    if (sad[i] <= limit) *high = i;
  }
  *min_index = best;
  return 0;
}

float dpd_repeat_patten_detect(const int64_t* curve, uint16_t count,
                               const PDLibRepeatPatternDetect* config) {
  if (config == nullptr) return 0;
  const Reversals reversals = find_reversals(curve, count, config->repeatPatternChangeThr);
  const float score = static_cast<float>(reversals.count() - 1) /
                      static_cast<float>(config->repeatPatternMaxRevCnt);
  // Not a number, from a maximum of 0, is no score either.
  if (!(score > 0)) return 0;
  const float mean = static_cast<float>(count) / static_cast<float>(reversals.count());
  if (reversals.DeviateFrom(mean, mean * config->repeatPatternRevDisTol)) return 0;
  return std::min(score, 1.0F);
}

int dpd_HW_SumSADCoeff(int64_t* total, const int64_t* part, const int* count) {
  if (total == nullptr || part == nullptr || count == nullptr) return 1;
  for (int i = 0; i < *count; ++i) total[i] = add(total[i], part[i]);
  return 0;
}

int dpd_HW_SumGridSADs(int64_t* total, const int* part_count, const int* count, void** parts) {
  if (part_count == nullptr || parts == nullptr) return 1;
  for (int i = 0; i < *part_count; ++i) {
    const int status = dpd_HW_SumSADCoeff(total, static_cast<const int64_t*>(parts[i]), count);
    if (status != 0) return status;
  }
  return 0;
}
