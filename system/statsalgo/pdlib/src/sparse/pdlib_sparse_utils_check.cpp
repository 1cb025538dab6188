#include "sparse/pdlib_sparse_utils_check.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/pdlib_log.h"
#include "orvo/osutils.h"
#include "sparse/pdlib_sparse_utils_parse.h"

namespace {

constexpr char kDumpFolder[] = "/var/cache/camera";
constexpr size_t kDumpPathSize = 50;

// What each criterion bounds, all relative.
enum Criterion {
  kMeanDeviation = 0,   // a position's mean from the mean of its kind
  kNoise = 1,           // a position's standard deviation to its mean
  kNoiseDeviation = 2,  // a position's standard deviation from the mean of its kind
  kOtherKind = 3,       // a position's mean from the mean of the other kind
};

struct PositionStatistics {
  double mean;
  double deviation;
};

struct KindStatistics {
  PositionStatistics positions[kMaxPairs];
  double mean;       // over all positions
  double deviation;  // mean of the positions' standard deviations
};

struct RoiSamples {
  uint32_t columns;  // blocks
  uint32_t rows;
  int pairs;

  size_t blocks() const { return static_cast<size_t>(columns) * rows; }
};

// For the life of this object every PD pixel is a sample of its own and every row of blocks is
// parsed.
class PixelwiseParsing {
 public:
  explicit PixelwiseParsing(pdaf_context_t* context)
      : context_(context),
        ratio_(context->subsampleRatio),
        samples_(context->unique_num_L_pixel),
        mergeFactor_(context->parsingMergeFactor) {
    std::copy_n(context->leftLast, kMaxPairs, leftLast_);
    std::copy_n(context->rightLast, kMaxPairs, rightLast_);
    std::fill_n(context->leftLast, kMaxPairs, uint8_t{1});
    std::fill_n(context->rightLast, kMaxPairs, uint8_t{1});
    context->subsampleRatio = 1.0F;
    context->unique_num_L_pixel = static_cast<uint16_t>(context->pairCount);
    context->parsingMergeFactor = 1;
  }
  ~PixelwiseParsing() {
    std::copy_n(leftLast_, kMaxPairs, context_->leftLast);
    std::copy_n(rightLast_, kMaxPairs, context_->rightLast);
    context_->subsampleRatio = ratio_;
    context_->unique_num_L_pixel = samples_;
    context_->parsingMergeFactor = mergeFactor_;
  }
  PixelwiseParsing(const PixelwiseParsing&) = delete;
  PixelwiseParsing& operator=(const PixelwiseParsing&) = delete;

 private:
  pdaf_context_t* context_;
  float ratio_;
  uint16_t samples_;
  uint32_t mergeFactor_;
  uint8_t leftLast_[kMaxPairs];
  uint8_t rightLast_[kMaxPairs];
};

RoiSamples parse_roi(pdaf_context_t* context) {
  const pd_grid_arg_t& first = context->centerGrid[0];
  const pd_grid_arg_t& last = context->centerGrid[context->gridColumns() * context->gridRows() - 1];
  const PixelwiseParsing pixelwise(context);
  const auto parse =
      context->optimizedParsing ? pd_core_parse_pd_pixel_optimized : pd_core_parse_pd_pixel;
  context->isPeripheralMode = false;
  context->skipLcr = true;
  parse(context, context->leftSamples.data(), context->rightSamples.data(), first.start_x,
        last.end_x, first.start_y, last.end_y);
  return {last.end_x - first.start_x, last.end_y - first.start_y, context->pairCount};
}

PositionStatistics position_statistics(const uint16_t* samples, const RoiSamples& roi,
                                       int position) {
  double sum = 0.0;
  double squares = 0.0;
  for (size_t block = 0; block < roi.blocks(); ++block) {
    const double value =
        samples[block * static_cast<size_t>(roi.pairs) + static_cast<size_t>(position)];
    sum += value;
    squares += value * value;
  }
  const double count = static_cast<double>(roi.blocks());
  const double mean = sum / count;
  return {mean, std::sqrt(std::fmax(squares / count - mean * mean, 0.0))};
}

KindStatistics kind_statistics(const uint16_t* samples, const RoiSamples& roi) {
  KindStatistics kind = {};
  for (int i = 0; i < roi.pairs; ++i) {
    kind.positions[i] = position_statistics(samples, roi, i);
    kind.mean += kind.positions[i].mean / roi.pairs;
    kind.deviation += kind.positions[i].deviation / roi.pairs;
  }
  return kind;
}

double relative_distance(double value, double reference) {
  if (value == reference) return 0.0;
  return std::fabs(value - reference) / std::fabs(reference);
}

bool judge_position(const char* kindName, int index, const PositionStatistics& position,
                    const KindStatistics& kind, const KindStatistics& other,
                    const float* criteria) {
  const double meanDeviation = relative_distance(position.mean, kind.mean);
  const double noise = position.deviation == 0.0 ? 0.0 : position.deviation / position.mean;
  const double noiseDeviation = relative_distance(position.deviation, kind.deviation);
  const double otherKind = relative_distance(position.mean, other.mean);
  // Written so that a position without any signal, whose ratios are undefined, fails.
  const bool pass = position.mean > 0.0 &&
                    meanDeviation <= static_cast<double>(criteria[kMeanDeviation]) &&
                    noise <= static_cast<double>(criteria[kNoise]) &&
                    noiseDeviation <= static_cast<double>(criteria[kNoiseDeviation]) &&
                    otherKind <= static_cast<double>(criteria[kOtherKind]);
  PDLIB_INFO(
      "%s %3d  mean %9.2f (off %6.3f)  std %8.2f (off %6.3f)  std/mean %6.3f  against other %6.3f  "
      "%s\n",
      kindName, index, position.mean, meanDeviation, position.deviation, noiseDeviation, noise,
      otherKind, pass ? "pass" : "FAIL");
  return pass;
}

bool judge_kind(const char* name, const KindStatistics& kind, const KindStatistics& other,
                int pairs, const float* criteria) {
  bool pass = true;
  for (int i = 0; i < pairs; ++i) {
    pass &= judge_position(name, i, kind.positions[i], kind, other, criteria);
  }
  return pass;
}

void dump_samples(const uint16_t* samples, const RoiSamples& roi) {
  const int width = static_cast<int>(roi.columns) * roi.pairs;
  const int height = static_cast<int>(roi.rows);
  char path[kDumpPathSize];
  std::snprintf(path, sizeof(path), "%s/roi_dump_%dx%d_right.raw", kDumpFolder, width, height);
  FILE* file = Orvo::OsUtils::FOpen(path, "wb");
  if (file == nullptr) {
    PDLIB_ERROR("could not create file_fd %s", path);
    return;
  }
  const size_t count = roi.blocks() * static_cast<size_t>(roi.pairs);
  if (Orvo::OsUtils::FWrite(samples, sizeof(uint16_t), count, file) != count) {
    PDLIB_ERROR("could not write all of %s", path);
  }
  Orvo::OsUtils::FClose(file);
}

}  // namespace

void check_data(pdaf_context_t* context, const PDLibParam*) {
  const RoiSamples roi = parse_roi(context);
  const KindStatistics left = kind_statistics(context->leftSamples.data(), roi);
  const KindStatistics right = kind_statistics(context->rightSamples.data(), roi);
  PDLIB_INFO("Test mode, statistics of PD-pattern pixels on a flat image.\n");
  const bool leftPass = judge_kind("left ", left, right, roi.pairs, context->testCriteria);
  const bool rightPass = judge_kind("right", right, left, roi.pairs, context->testCriteria);
  dump_samples(context->rightSamples.data(), roi);
  if (leftPass && rightPass) {
    PDLIB_INFO("PD stats test pass.\n");
  } else {
    PDLIB_INFO("PD stats test failure.\n");
    PDLIB_ERROR("PD stats test failure");
  }
}
