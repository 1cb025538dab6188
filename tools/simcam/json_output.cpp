#include "json_output.h"

#include "text.h"

namespace simcam {
namespace {

OrderedJson ToJson(const FocusFrame& frame) {
  OrderedJson json;
  json["index"] = frame.index;
  json["lens_position"] = frame.lensPosition;
  json["true_phase_px"] = frame.truePhasePx;
  json["phase_px"] = static_cast<double>(frame.roi.phaseDiff);
  json["defocus"] = frame.roi.defocus;
  json["confidence"] = frame.roi.confidence;
  json["processing_result"] = frame.processingResult;
  json["processed"] = frame.isProcessed;
  json["peripheral_valid"] = frame.isPeripheralValid;
  json["action"] = ActionName(frame.action);
  return json;
}

OrderedJson ToJson(const SweepPoint& point) {
  OrderedJson json;
  json["true_phase_px"] = point.truePhasePx;
  json["phase_px"] = static_cast<double>(point.measured.phaseDiff);
  json["confidence"] = point.measured.confidence;
  json["defocus"] = point.measured.defocus;
  json["true_defocus"] = point.trueDefocus;
  json["window"] = point.window;
  return json;
}

OrderedJson ToJson(const ErrorScores& scores) {
  OrderedJson json;
  json["points"] = scores.points;
  json["bias_px"] = scores.bias;
  json["mean_abs_px"] = scores.meanAbs;
  json["rms_px"] = scores.rms;
  json["worst_px"] = scores.worst;
  json["slope"] = scores.slope;
  json["confident_share"] = scores.confidentShare;
  return json;
}

template <class Value>
OrderedJson OrNull(const std::optional<Value>& value) {
  return value ? OrderedJson(*value) : OrderedJson(nullptr);
}

OrderedJson ToJson(const LearnPass& pass, int filterSize) {
  OrderedJson json;
  json["started_from_file"] = pass.found.has_value();
  json["sequences"] = OrderedJson::array();
  for (const LearnSequence& sequence : pass.sequences)
    json["sequences"].push_back({{"target", sequence.isFar ? "far" : "near"},
                                 {"frames_to_focus", OrNull(sequence.scores.framesToFocus)},
                                 {"overshoot_steps", sequence.scores.overshootSteps},
                                 {"k_used", OrNull(sequence.kUsed)},
                                 {"frames", sequence.frames}});
  json.update(simcam::ToJson(*pass.stored, filterSize));
  json["propagated"] = pass.isPropagated;
  json["blob_bytes"] = pass.blobBytes;
  return json;
}

void AddSettings(OrderedJson& json, const SensorDescription& sensor,
                 const CameraSettings& settings) {
  json["sensor"] = sensor.name;
  json["scene"] = settings.scene;
  json["seed"] = settings.seed;
  json["sample_step_px"] = sensor.SampleStepPx();
  json["noise_variance"] = settings.noise.variancePerCode;
  json["read_noise"] = settings.noise.readNoise;
  json["shading"] = settings.shading;
  json["blur_per_px"] = settings.optics.blurPerPx;
  json["windows"] = {settings.columns, settings.rows};
  json["calls_per_frame"] = settings.callsPerFrame;
}

}  // namespace

OrderedJson ToJson(const FocusResult& result) {
  OrderedJson json;
  AddSettings(json, result.sensor, result.camera);
  const FocusScores& scores = result.scores;
  json["frames_to_focus"] =
      scores.framesToFocus ? OrderedJson(*scores.framesToFocus) : OrderedJson(nullptr);
  json["final_true_phase_px"] = scores.finalTruePhasePx;
  json["overshoot_steps"] = scores.overshootSteps;
  json["held_from"] = scores.heldFrom ? OrderedJson(*scores.heldFrom) : OrderedJson(nullptr);
  json["within_1_step"] = scores.within1Step;
  json["within_2_steps"] = scores.within2Steps;
  json["within_4_steps"] = scores.within4Steps;
  json["focus_position"] = result.focusCode;
  json["frames"] = OrderedJson::array();
  for (const FocusFrame& frame : result.frames) json["frames"].push_back(ToJson(frame));
  return json;
}

OrderedJson ToJson(const SweepResult& result) {
  OrderedJson json;
  AddSettings(json, result.sensor, result.camera);
  const ErrorScores& scores = result.scores;
  json["bias_px"] = scores.bias;
  json["mean_abs_px"] = scores.meanAbs;
  json["rms_px"] = scores.rms;
  json["worst_px"] = scores.worst;
  json["slope"] = scores.slope;
  json["confident_share"] = scores.confidentShare;
  json["failed_frames"] = result.failedFrames;
  json["confident"] = ToJson(result.confidentScores);
  json["roi"] = ToJson(result.roiScores);
  json["by_window"] = OrderedJson::array();
  for (const ErrorScores& window : result.windows) json["by_window"].push_back(ToJson(window));
  json["points"] = OrderedJson::array();
  for (const SweepPoint& point : result.points) json["points"].push_back(ToJson(point));
  json["roi_points"] = OrderedJson::array();
  for (const SweepPoint& point : result.roiPoints) json["roi_points"].push_back(ToJson(point));
  return json;
}

OrderedJson ToJson(const AdaptiveFile& file, int filterSize) {
  OrderedJson json;
  json["near_median"] = Medians(file.near, filterSize);
  json["far_median"] = Medians(file.far, filterSize);
  json["near_history"] = file.near;
  json["far_history"] = file.far;
  return json;
}

OrderedJson ToJson(const LearnResult& result) {
  OrderedJson json;
  AddSettings(json, result.sensor, result.camera);
  const int filterSize = result.sensor.tuning.adaptive.filterSize;
  json["calibrated_k"] = result.calibratedK;
  json["true_k"] = result.trueK;
  if (!result.settings.kMap.empty()) {
    json["true_k_map"] = OrderedJson::array();
    for (double factor : result.settings.kMap)
      json["true_k_map"].push_back(factor * result.calibratedK);
  }
  json.update(ToJson(result.first, filterSize));
  json["reopened_same"] = result.isReopenedSame;
  json["second_run"] = ToJson(result.second, filterSize);
  return json;
}

std::string FocusCsv(const FocusResult& result) {
  std::string csv =
      "index,lens_position,true_phase_px,phase_px,defocus,confidence,processing_result,action\n";
  for (const FocusFrame& frame : result.frames)
    csv += std::to_string(frame.index) + "," + Fixed(frame.lensPosition, 3) + "," +
           Fixed(frame.truePhasePx, 4) + "," + Fixed(static_cast<double>(frame.roi.phaseDiff), 4) +
           "," + std::to_string(frame.roi.defocus) + "," + std::to_string(frame.roi.confidence) +
           "," + std::to_string(frame.processingResult) + "," + ActionName(frame.action) + "\n";
  return csv;
}

std::string SweepCsv(const SweepResult& result) {
  std::string csv = "true_phase_px,window,phase_px,error_px,confidence,defocus,true_defocus\n";
  for (const SweepPoint& point : result.points) {
    const double measured = static_cast<double>(point.measured.phaseDiff);
    csv += Fixed(point.truePhasePx, 4) + "," + std::to_string(point.window) + "," +
           Fixed(measured, 4) + "," + Fixed(measured - point.truePhasePx, 4) + "," +
           std::to_string(point.measured.confidence) + "," +
           std::to_string(point.measured.defocus) + "," + Fixed(point.trueDefocus, 2) + "\n";
  }
  return csv;
}

}  // namespace simcam
