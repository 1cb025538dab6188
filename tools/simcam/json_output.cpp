#include "json_output.h"

namespace simcam {
namespace {

template <class Value>
OrderedJson OrNull(const std::optional<Value>& value) {
  return value ? OrderedJson(*value) : OrderedJson(nullptr);
}

// What was measured in a window.
void AddMeasured(OrderedJson& json, const PDLibDefocusInfo& measured) {
  json["phase_px"] = static_cast<double>(measured.phaseDiff);
  json["defocus"] = measured.defocus;
  json["confidence"] = measured.confidence;
}

void AddMatched(OrderedJson& json, const MatchSettings& settings,
                const PDLibDefocusInfo& measured) {
  AddMeasured(json, measured);
  json["at_edge"] = IsAtEdge(settings, measured);
  json["range_low"] = measured.rangeLow;
  json["range_high"] = measured.rangeHigh;
}

void AddScores(OrderedJson& json, const ErrorScores& scores) {
  json["bias_px"] = scores.bias;
  json["mean_abs_px"] = scores.meanAbs;
  json["rms_px"] = scores.rms;
  json["worst_px"] = scores.worst;
  json["slope"] = scores.slope;
  json["confident_share"] = scores.confidentShare;
}

OrderedJson ToJson(const PDLibDefocusInfo& measured) {
  OrderedJson json;
  AddMeasured(json, measured);
  return json;
}

template <class Item>
OrderedJson ListOf(const std::vector<Item>& items);

OrderedJson ToJson(const FocusFrame& frame) {
  OrderedJson json;
  json["index"] = frame.index;
  json["lens_position"] = frame.lensPosition;
  json["true_phase_px"] = frame.truePhasePx;
  AddMeasured(json, frame.roi);
  json["processing_result"] = frame.processingResult;
  json["processed"] = frame.isProcessed;
  json["peripheral_valid"] = frame.isPeripheralValid;
  json["windows"] = ListOf(frame.windows);
  if (frame.isPeripheralValid) json["peripheral"] = ListOf(frame.peripheral);
  json["action"] = ActionName(frame.action);
  if (frame.isTuningNew) json["new_tuning"] = true;
  return json;
}

OrderedJson ToJson(const SweepPoint& point) {
  OrderedJson json;
  json["true_phase_px"] = point.truePhasePx;
  AddMeasured(json, point.measured);
  json["true_defocus"] = point.trueDefocus;
  json["window"] = point.window;
  return json;
}

OrderedJson ToJson(const ErrorScores& scores) {
  OrderedJson json;
  json["points"] = scores.points;
  AddScores(json, scores);
  return json;
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

template <class Item>
OrderedJson ListOf(const std::vector<Item>& items) {
  OrderedJson list = OrderedJson::array();
  for (const Item& item : items) list.push_back(ToJson(item));
  return list;
}

void AddSettings(OrderedJson& json, const SensorDescription& sensor,
                 const CameraSettings& settings) {
  json["sensor"] = sensor.name;
  if (settings.tuning != nullptr)
    json["tuning"] = {{"file", settings.tuning->File().Path()}, {"mode", settings.tuning->Name()}};
  json["scene"] = settings.scene;
  json["seed"] = settings.seed;
  json["sample_step_px"] = sensor.SampleStepPx();
  json["noise_variance"] = settings.noise.variancePerCode;
  json["read_noise"] = settings.noise.readNoise;
  if (sensor.IsDual()) json["split_noise"] = settings.noise.split.value_or(sensor.dual->splitNoise);
  json["shading"] = settings.shading;
  json["blur_per_px"] = settings.optics.blurPerPx;
  json["windows"] = {settings.columns, settings.rows};
  json["calls_per_frame"] = settings.callsPerFrame;
  json["dcc_error"] = settings.dccError;
}

}  // namespace

OrderedJson ToJson(const FocusResult& result) {
  OrderedJson json;
  AddSettings(json, result.sensor, result.camera);
  const FocusScores& scores = result.scores;
  json["frames_to_focus"] = OrNull(scores.framesToFocus);
  json["final_true_phase_px"] = scores.finalTruePhasePx;
  json["overshoot_steps"] = scores.overshootSteps;
  json["held_from"] = OrNull(scores.heldFrom);
  json["within_1_step"] = scores.within1Step;
  json["within_2_steps"] = scores.within2Steps;
  json["within_4_steps"] = scores.within4Steps;
  json["focus_position"] = result.focusCode;
  json["frames"] = ListOf(result.frames);
  return json;
}

OrderedJson ToJson(const BatchResult& result) {
  OrderedJson json = {{"runs", OrderedJson::array()}, {"sensors", OrderedJson::array()}};
  for (const BatchGroup& group : result.groups) {
    for (const FocusResult& run : group.runs) {
      OrderedJson entry = ToJson(run);
      entry.erase("frames");
      entry["start_phase_px"] = run.settings.startPhasePx;
      json["runs"].push_back(std::move(entry));
    }
    json["sensors"].push_back({{"sensor", group.Sensor()},
                               {"direction", group.direction},
                               {"runs", group.runs.size()},
                               {"in_focus", group.InFocus()},
                               {"allowed_steps", group.AllowedPx()},
                               {"worst_final_px", group.WorstPx()},
                               {"mean_frames_to_focus", group.FramesToFocus()},
                               {"passed", group.IsPassed()}});
  }
  json["passed"] = result.IsPassed();
  return json;
}

OrderedJson ToJson(const SweepResult& result) {
  OrderedJson json;
  AddSettings(json, result.sensor, result.camera);
  AddScores(json, result.scores);
  json["failed_frames"] = result.failedFrames;
  json["confident"] = ToJson(result.confidentScores);
  json["roi"] = ToJson(result.roiScores);
  json["by_window"] = ListOf(result.windows);
  json["points"] = ListOf(result.points);
  json["roi_points"] = ListOf(result.roiPoints);
  return json;
}

OrderedJson ToJson(const MatchResult& result) {
  const MatchSettings& settings = result.settings;
  OrderedJson json;
  json["left"] = result.leftPath;
  json["right"] = result.rightPath;
  json["image"] = {result.left.width, result.left.height};
  json["roi"] = {settings.roi.startX, settings.roi.startY, settings.roi.endX, settings.roi.endY};
  json["grid"] = {settings.columns, settings.rows};
  json["search_range"] = {settings.searchFrom, settings.searchTo};
  json["windows"] = OrderedJson::array();
  for (const MatchWindow& window : result.windows) {
    OrderedJson entry = {{"row", window.row}, {"column", window.column}};
    entry["middle_px"] = {window.x, window.y};
    AddMatched(entry, settings, window.measured);
    json["windows"].push_back(std::move(entry));
  }
  json["whole"] = OrderedJson::object();
  AddMatched(json["whole"], settings, result.whole);
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

}  // namespace simcam
