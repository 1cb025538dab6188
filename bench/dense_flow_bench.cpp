// A whole frame of the dual-PD flow, and each of its stages on the same frame.
#include <memory>

#include "bench.h"
#include "dense/dpd_software_flow.h"
#include "dense/dpd_software_flow_frame.h"
#include "dense/dpd_software_flow_grid.h"
#include "dense/dpd_software_flow_init.h"
#include "dense/pdlib_dpd_utils.h"

namespace pdlib_bench {
namespace {

// 2016 x 1512 sites of 10 bits in 16-bit words; 5 by 5 overlapping windows over the centre 40 % by
// 40 %; every eighth line, four lines binned. The right view is six sites ahead of the left one.
struct DualCamera {
  // `range` in full-resolution pixels to both sides, `columns` windows in both directions.
  explicit DualCamera(float roiWidth = 0.4f, float roiHeight = 0.4f, int range = 32,
                      int columns = 5) {
    constexpr uint32_t kWidth = 2016;
    constexpr uint32_t kHeight = 1512;
    constexpr int kShift = 6;
    PDLibSensorNativeInfo& native = init.nativePatternInfo;
    native.currentImageWidth = native.originalImageWidth = 2 * kWidth;
    native.currentImageHeight = native.originalImageHeight = 2 * kHeight;
    native.horizontalDownscaleFactor = native.verticalDownscaleFactor = 2;
    init.bufferDataInfo.isp1BufferWidth = 2 * kWidth;
    init.bufferDataInfo.isp1BufferStride = 4 * kWidth;
    init.bufferDataInfo.ispBufferHeight = kHeight;
    init.bufferDataInfo.bufferFormat = kBufferUnpacked16;
    init.bufferDataInfo.sensorType = kSensorDualPD1;
    init.pixelDepth = 10;
    init.calibration = &calibration;
    calibration.MapWidth = 17;
    calibration.MapHeight = 13;
    std::fill(std::begin(calibration.Left_GainMap), std::end(calibration.Left_GainMap),
              uint16_t{1024});
    std::fill(std::begin(calibration.Right_GainMap), std::end(calibration.Right_GainMap),
              uint16_t{1024});

    tuning.correlation.searchRange = {-range, range};
    tuning.correlation.defocusConfidenceThreshold = 100;
    tuning.correlation.PDRangeControl = 0.1f;
    for (auto& set : tuning.preProcess.filterTrigger.filterSet) set.verticalMode = 4;
    tuning.postProcess.temporalFilterDynamicWeight = 1;
    tuning.postProcess.enableGridOverlap = 1;
    tuning.postProcess.confIntegralWidth = 32;

    const std::vector<uint16_t> texture = RandomSamples(kWidth + kShift, 10);
    frame.resize(size_t{2} * kWidth * kHeight);
    for (uint32_t y = 0; y < kHeight; ++y) {
      uint16_t* line = frame.data() + size_t{2} * kWidth * y;
      for (uint32_t x = 0; x < kWidth; ++x) {
        line[2 * x] = texture[x + kShift];
        line[2 * x + 1] = texture[x];
      }
    }
    const float left = 0.5f - roiWidth / 2;
    const float top = 0.5f - roiHeight / 2;
    param.windowConfig = {kRoiDefault,
                          {left, top, left + roiWidth, top + roiHeight},
                          static_cast<uint32_t>(columns),
                          static_cast<uint32_t>(columns)};
    param.PDBuffer = reinterpret_cast<const uint8_t*>(frame.data());
    param.PDBufferSize = static_cast<int64_t>(frame.size() * sizeof(uint16_t));
    param.fps = 30;
    param.gain = 1;
  }
  uint32_t ImageHeight() const { return init.nativePatternInfo.currentImageHeight; }

  _pdaf_cal_param_t calibration{};
  afpdlibelements::tessarinePDLibType tuning{};
  PDLibInitParam init{};
  PDLibParam param{};
  std::vector<uint16_t> frame;
};

class Frames {
 public:
  explicit Frames(float roiHeight = 0.4f, int columns = 5)
      : camera_(0.4f, roiHeight, 32, columns), flow_(DPDFlow::Axis::kHorizontal) {
    flow_.Init(&camera_.init, &camera_.tuning);
  }
  bool Run() {
    return flow_.Process(&camera_.param, camera_.ImageHeight(), &output_) == kPDStatusOk &&
           output_.processingResult == kResultStarted;
  }

 private:
  DualCamera camera_;
  DPDFlow flow_;
  PDLibOutputData output_{};
};

// The context that the flow has at the start of a frame, and its stages for all rows of cells.
class Stages {
 public:
  explicit Stages(float roiWidth = 0.4f, int range = 32, int columns = 5)
      : camera_(roiWidth, 0.4f, range, columns) {
    InitDPDContext(&context_, camera_.init, &camera_.tuning);
    SetDPDContextParamInfo(&context_, camera_.param);
    context_.pdBuffer = camera_.param.PDBuffer;
    context_.temporalWeight = 1;
    Fill();
    Filter();
    Sad();
  }
  void Fill() {
    ForEachLine([](dpd_line_arg_t* line) { dpd_core_line_preprocess(line); });
  }
  void Filter() {
    ForEachLine([](dpd_line_arg_t* line) {
      dpd_line_IIR_optimized(line->p_left_line, line->p_right_line, line->p_left_filtered,
                             line->p_right_filtered, line->p_filter->a, line->p_filter->b,
                             line->request.end_x - line->request.start_x);
    });
  }
  void Sad() {
    uint32_t row = 0;
    ForEachLine([&](dpd_line_arg_t* line) { DPDCoreLineSAD(&context_, line, row); }, &row);
  }
  // 25 windows and the whole ROI; the additions of overlapping cells are not among it.
  void Result() {
    for (uint32_t window = 0; window < 26; ++window)
      ComputePDAndConfidence(&context_, context_.output.defocusInfo, window);
  }

 private:
  template <class Work>
  void ForEachLine(Work work, uint32_t* first = nullptr) {
    for (uint32_t row = 0; row < context_.rows; ++row) {
      const uint32_t begin = row * context_.columns;
      const uint32_t end = begin + context_.columns;
      if (first != nullptr) *first = begin;
      dpd_line_arg_t line = DPDPrepareLineArg(&context_, begin, end);
      const int interval = context_.sadRequest.vertical_interval;
      const int endY = context_.pCenterCorrelationGrids[end - 1].end_y;
      for (int y = line.request.start_y; y + line.request.bin_lines < endY; y += interval) {
        line.request.start_y = static_cast<uint16_t>(y);
        work(&line);
      }
    }
  }

  DualCamera camera_;
  dpd_context_t context_{};
};

}  // namespace

void RegisterDenseFlow() {
  const auto frames = std::make_shared<Frames>();
  const auto stages = std::make_shared<Stages>();
  RegisterFlow({"DPDFlow",
                [=] { return frames->Run(); },
                {{"fill", [=] { stages->Fill(); },
                  "it reads four lines of two samples a site for each line that it makes"},
                 {"filter", [=] { stages->Filter(); },
                  "each sample waits for the one before it, and two lines are all there is to run "
                  "side by side"},
                 {"sad", [=] { stages->Sad(); }, "it takes 33 differences for each sample"},
                 {"result", [=] { stages->Result(); }, "it works on 26 curves of 33 sums"}}});
  // The height of the ROI in percent of the image decides how many lines are processed; one window,
  // so that the work per cell stays the same.
  RegisterGrowth("DPDFlow/frame/percent_of_lines", {10, 20, 40, 80}, [](int percent) {
    const auto grown = std::make_shared<Frames>(static_cast<float>(percent) / 100, 1);
    return [=] { grown->Run(); };
  });
  // A search range of that many full-resolution pixels to both sides, as many shifts, on a window
  // so wide that the samples which all shifts share hardly shrink.
  RegisterGrowth("DPDFlow/sad/shifts", {16, 32, 64, 120}, [](int range) {
    const auto grown = std::make_shared<Stages>(0.8f, range, 1);
    return [=] { grown->Sad(); };
  });
}

}  // namespace pdlib_bench
