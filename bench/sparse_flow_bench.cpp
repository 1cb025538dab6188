// A whole frame of the sparse horizontal flow, and each of its stages on the same frame.
#include <memory>

#include "bench.h"
#include "kernels/pd_core_filters.h"
#include "sparse/pdlib_sparse_utils_init.h"
#include "sparse/pdlib_sparse_utils_parse.h"
#include "sparse/pdlib_sparse_utils_window.h"
#include "sparse/pdlib_sparse_wrapper.h"
#include "sparse/sparse_horizontal_flow.h"
#include "support/sparse_camera.h"

namespace pdlib_bench {
namespace {

constexpr uint32_t kImageHeight = 3000;

// 4000 by 3000 pixels in blocks of 16 by 16 with 8 pairs over 4 columns, a centre ROI of 30 % by
// 30 % in 3 by 3 overlapping windows, all of its rows of blocks, 25 shifts.
struct Camera : test::SparseCamera {
  Camera() : SparseCamera(4000 / 16, kImageHeight / 16) {
    init.nativePatternInfo.currentImageHeight = kImageHeight;
    init.nativePatternInfo.originalImageHeight = kImageHeight;
    init.bufferDataInfo.ispBufferHeight = kImageHeight;
    setRoi(0.35f, 0.35f, 0.65f, 0.65f);
    tuning.postProcess.biasVectorStrength = 0.1f;
    exposeShifted(12);
  }
};

// The flow on one frame again and again. The lens moves from frame to frame, so that skip control
// never skips one.
class Frames {
 public:
  Frames() { flow_.Init(&camera_.init, &camera_.tuning); }
  bool Run() {
    camera_.param.lensPosition ^= 1;
    return flow_.Process(&camera_.param, kImageHeight, &output_) == kPDStatusOk;
  }

 private:
  Camera camera_;
  SparseHorizontalFlow flow_;
  PDLibOutputData output_{};
};

// The context that the flow has at the start of a frame, and its stages for all rows of windows.
class Stages {
 public:
  Stages() {
    set_pd_context_init_info(&context_, camera_.init, camera_.tuning);
    context_.calibration = camera_.calibration;
    context_.status = kContextInitialised;
    configure_pd_context_info(&context_, camera_.param);
    context_.temporalWeight = 1.0f;
    context_.subsampleRatio = 1.0f;
    Parse();
  }

  void Parse() {
    for (uint32_t row = 0; row < context_.gridRows(); ++row) {
      const pd_grid_arg_t& from = Cell(row, 0);
      const pd_grid_arg_t& to = Cell(row, context_.gridColumns() - 1);
      pd_core_parse_pd_pixel(&context_, Left(), Right(), from.start_x, to.end_x, from.start_y,
                             to.end_y);
    }
  }
  // A gain of 1 keeps the samples as they are from run to run.
  void Gain() {
    Filter([](uint16_t* samples, int rows, int cols) { pd_core_gain(samples, rows, cols, 256, 8); },
           1);
  }
  void Bpc() {
    const int threshold = context_.bpcThreshold;
    Filter(
        [=](uint16_t* samples, int rows, int cols) { pd_core_bpc(samples, rows, cols, threshold); },
        2);
  }
  void Box() { Filter(pd_core_box1x2, 2); }
  void Sad() {
    for (uint32_t row = 0; row < context_.gridRows(); ++row) {
      const auto first = static_cast<uint16_t>(row * context_.gridColumns());
      calculate_sad_vector(&context_, first, static_cast<uint16_t>(first + context_.gridColumns()));
    }
  }
  // Nine windows and their sum; the additions of overlapping cells are not among it.
  void Result() {
    for (uint16_t window = 0; window < 10; ++window) {
      calculate_pd_and_conf(&context_, context_.output.defocusInfo, window);
    }
  }

 private:
  pd_grid_arg_t& Cell(uint32_t row, uint32_t column) {
    return context_.centerGrid[row * context_.gridColumns() + column];
  }
  uint16_t* Left() { return context_.leftSamples.data(); }
  uint16_t* Right() { return context_.rightSamples.data(); }

  template <class Kernel>
  void Filter(Kernel kernel, int channels) {
    for (uint32_t row = 0; row < context_.gridRows(); ++row) {
      const pd_grid_arg_t& from = Cell(row, 0);
      const pd_grid_arg_t& to = Cell(row, context_.gridColumns() - 1);
      const int rows = static_cast<int>(from.end_y - from.start_y);
      const int cols = static_cast<int>((to.end_x - from.start_x) * context_.unique_num_L_pixel);
      kernel(Right(), rows, cols);
      if (channels == 2) kernel(Left(), rows, cols);
    }
  }

  Camera camera_;
  pdaf_context_t context_{};
};

}  // namespace

void RegisterSparseFlow() {
  const auto frames = std::make_shared<Frames>();
  const auto stages = std::make_shared<Stages>();
  RegisterFlow(
      {"SparseHorizontalFlow",
       [=] { return frames->Run(); },
       {{"parse", [=] { stages->Parse(); },
         "pixels and gains stand scattered over the lines of a block and are loaded one by one, "
         "two "
         "pixels for each sample; the arithmetic behind the loads is a small part"},
        {"gain", [=] { stages->Gain(); }, "it multiplies each sample of the darker channel"},
        {"bpc", [=] { stages->Bpc(); }, "it bounds each sample by its neighbours"},
        {"box", [=] { stages->Box(); }, "it averages each sample with its neighbour"},
        {"sad", [=] { stages->Sad(); },
         "it takes 25 differences for each sample, all other stages a few steps"},
        {"result", [=] { stages->Result(); }, "it works on ten vectors of 25 sums"}}});
}

}  // namespace pdlib_bench
