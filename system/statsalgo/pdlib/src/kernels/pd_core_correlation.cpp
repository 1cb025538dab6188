#include "kernels/pd_core_correlation.h"

#include <algorithm>
#include <cstddef>

#include "base/numeric.h"
#include "base/pdlib_log.h"
#include "kernels/kernel_table.h"

namespace {

// Full scale of the confidence, and the contrast measure that counts as full at a scale of 140.
constexpr float kConfidenceUnit = 1024;
constexpr float kConfidenceDivisor = 140;
constexpr unsigned short kMaxConfidence = 1023;

float FitPhase(const int* sad, int16_t sad_len, int shift, int16_t min_index, int16_t pd_unit) {
  const int last = sad_len - 1;
  const auto at = [sad, last](int index) {
    return static_cast<float>(sad[std::clamp(index, 0, last)]);
  };
  const float before = at(min_index - 1);
  const float after = at(min_index + 1);
  const float denominator = 2 * (before + after) - 4 * at(min_index);
  if (denominator == 0 || min_index == 0 || min_index == last) {
    return static_cast<float>(-(min_index + shift) * pd_unit);
  }
  const float vertex = (before - after) / denominator + static_cast<float>(min_index);
  return -(vertex + static_cast<float>(shift)) * static_cast<float>(pd_unit);
}

// `shift` is what is added to an index to give the trial shift.
void StorePhase(const int* sad, int16_t sad_len, int shift, int16_t min_index, int16_t pd_unit,
                float* phase_diff) {
  if (phase_diff == nullptr) return;
  *phase_diff = 0;
  if (sad == nullptr || sad_len < 1) return;
  *phase_diff = FitPhase(sad, sad_len, shift, min_index, pd_unit);
}

// Whether the mean of the vector reaches `level`.
bool ReachesLevel(const int* sad, int16_t sad_len, int16_t level) {
  PDLIB_VERBOSE("min_mean_sad_level = %d sad_len=%d", level, sad_len);
  const int64_t wanted = int64_t{level} * sad_len;
  int64_t sum = 0;
  for (int k = 0; k < sad_len && sum <= wanted; ++k) sum += sad[k];
  if (sum >= wanted) return true;
  PDLIB_VERBOSE("sad_sum = %d min_mean_sad_level = %d sad_len=%d", static_cast<int>(sum), level,
                sad_len);
  return false;
}

struct Range {
  int low;
  int high;
};

// `half_width` to both sides of `center`, moved inward at the edges so that it keeps its width.
Range ContrastRange(int center, int half_width, int sad_len) {
  const int last = sad_len - 1;
  if (center + half_width >= sad_len) return {std::max(last - 2 * half_width, 0), last};
  if (half_width > center) return {0, std::min(2 * half_width, last)};
  return {std::max(center - half_width, 0), std::min(center + half_width, last)};
}

template <class Value>
unsigned short Confidence(const Value* sad, int16_t sad_len, int16_t min_index, int16_t half_width,
                          int16_t scale) {
  const int center = std::clamp<int>(min_index, 0, sad_len - 1);
  const Range range = ContrastRange(center, half_width, sad_len);
  if (range.low > range.high) return 0;
  float total = 0;
  for (int k = range.low; k <= range.high; ++k) total += static_cast<float>(sad[k]);
  if (total == 0) return 0;
  // The 64-bit product is defined modulo 2^64 for vectors of that range.
  const uint64_t count = static_cast<uint64_t>(range.high - range.low + 1);
  const int64_t atMinimum = static_cast<int64_t>(count * static_cast<uint64_t>(sad[center]));
  const float contrast = 1 - static_cast<float>(atMinimum) / total;
  const float value = contrast * kConfidenceUnit * static_cast<float>(scale) / kConfidenceDivisor;
  if (!(value > 0)) return 0;
  return value < kMaxConfidence ? pdlib::SaturateTo<uint16_t>(value) : kMaxConfidence;
}

}  // namespace

uint16_t norm_shift(uint16_t rows) {
  uint16_t shift = 0;
  while (shift < 16 && 1 << shift < rows) ++shift;
  return shift;
}

void pd_core_sad(const uint16_t* left, const uint16_t* right, int16_t rows, int16_t width,
                 int16_t stride, int* out, int16_t shift_offset, int16_t sad_len) {
  if (out == nullptr || sad_len < 1) return;
  if (rows < 1) {
    std::fill_n(out, sad_len, 0);
    return;
  }
  pdlib::Kernels().sad(left, right, rows, width, stride, out, shift_offset, sad_len);
}

void pd_core_sad_bias(int* sad, const unsigned short* bias, int16_t sad_len) {
  for (int k = 0; k < sad_len; ++k) {
    sad[k] = static_cast<int>(int64_t{bias[k]} * sad[k] >> 12);
  }
}

void pd_core_sad_temporal_filter(const int* fresh, int* state, float weight, int16_t sad_len) {
  const float memory = std::max(1 - weight, 0.0f);
  for (int k = 0; k < sad_len; ++k) {
    const int32_t kept = pdlib::ToInt32(static_cast<float>(state[k]) * memory);
    const int32_t added = pdlib::ToInt32(static_cast<float>(fresh[k]) * weight);
    state[k] = static_cast<int>(static_cast<uint32_t>(kept) + static_cast<uint32_t>(added));
  }
}

void pd_core_pd(const int* sad, int16_t sad_len, int16_t shift_offset, int16_t min_index,
                int16_t pd_unit, float* phase_diff) {
  StorePhase(sad, sad_len, -shift_offset, min_index, pd_unit, phase_diff);
}

void pd_core_pd_hw(const int* sad, int16_t sad_len, int16_t shift_offset, int16_t min_index,
                   int16_t pd_unit, float* phase_diff) {
  StorePhase(sad, sad_len, shift_offset, min_index, pd_unit, phase_diff);
}

void pd_core_conf(const int* sad, int16_t sad_len, int16_t min_index, int16_t half_width,
                  int16_t scale, int16_t min_mean_sad_level, unsigned short* confidence) {
  if (confidence == nullptr) return;
  *confidence = 0;
  if (sad == nullptr || sad_len < 1) return;
  if (min_mean_sad_level > 0 && !ReachesLevel(sad, sad_len, min_mean_sad_level)) return;
  *confidence = Confidence(sad, sad_len, min_index, half_width, scale);
}

void pd_core_conf(const long* sad, int16_t sad_len, int16_t min_index, int16_t half_width,
                  int16_t scale, unsigned short* confidence) {
  if (confidence == nullptr) return;
  *confidence = 0;
  if (sad == nullptr || sad_len < 1) return;
  *confidence = Confidence(sad, sad_len, min_index, half_width, scale);
}
