// A module whose calibration is off, and how the library makes up for it: focus sequences on near
// and far targets in turn, through one opening of the camera and then through another one.
//
// K is in the library's units: defocus per pixel of phase difference.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "adaptive_file.h"
#include "autofocus.h"
#include "camera.h"
#include "lens.h"
#include "scores.h"

namespace simcam {

struct LearnSettings {
  double kError = 1;           // true K over calibrated K
  std::vector<double> kMap;    // the same per region, row by row; empty: kError everywhere
  int sequences = 12;          // for each opening of the camera
  double startPhasePx = 22;    // true phase difference at which a sequence starts
  int dwellFrames = 6;         // in which the stack looks at a new target before it drives
  int framesPerSequence = 60;  // at most; a sequence ends once the lens was held for long
};

// The factor of a region.
double KFactor(const LearnSettings& settings, int region);
double MeanKFactor(const LearnSettings& settings);

// Reads a map of K factors: a JSON array of 6 rows of 8 numbers. Throws InputError.
std::vector<double> ParseKMap(const std::string& json, const std::string& file);
std::vector<double> LoadKMap(const std::string& path);

struct LearnSequence {
  bool isFar = false;        // the lens goes to higher codes
  std::optional<int> kUsed;  // by which the library told the first defocus of the whole ROI
  double trueK = 0;          // there
  FocusScores scores;        // from the frame on whose result the stack first drove
  int frames = 0;            // all of the sequence
};

// One opening of the camera.
struct LearnPass {
  std::optional<AdaptiveFile> found;   // the file as it was when the camera was opened
  std::optional<AdaptiveFile> stored;  // and once it was closed
  size_t blobBytes = 0;                // of the file then
  bool isPropagated = false;           // the first measurement was spread over the whole image
  std::vector<LearnSequence> sequences;
};

struct LearnResult {
  SensorDescription sensor;
  CameraSettings camera;
  LearnSettings settings;
  int calibratedK = 0;
  double trueK = 0;            // mean over the regions of the map
  std::vector<bool> measured;  // per region: a window's middle lies in it
  LearnPass first;
  bool isReopenedSame = false;  // opened and closed at once, the file stayed as it was
  LearnPass second;
};

// Tells before each frame how far a run is: the sequence and the number of them. What it throws
// ends the run.
using LearnProgress = std::function<void(int sequence, int sequences)>;

// `folder` is the one that the library's files go to.
LearnResult RunLearning(const PdLibrary& library, const DataFolder& folder,
                        const SensorDescription& sensor, const CameraSettings& camera,
                        const LearnSettings& settings, const LearnProgress& progress);

// Means over the sequences that start with learnt values: the later half of the first pass and all
// of the second one.
struct LearntScores {
  double framesToFocus = 0;  // a sequence that didn't get there counts all its frames
  double overshootSteps = 0;
  double worstKError = 0;  // share of the true K
};
LearntScores ScoreLearnt(const LearnResult& result);

}  // namespace simcam
