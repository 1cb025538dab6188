// A camera module as its description file tells it: sensor, buffer, calibration, lens and tuning.
//
// The names and rules are those of the PD library's records. Two kinds of sensor are told apart:
//
// Sparse: PD pixels stand in a block that repeats over the image. A pixel of native type 0 belongs
// to the left view, type 1 to the right one. The buffer's pattern calls the two the other way
// round: the native type 0 pixel of rank n lies where the n-th type 1 pixel of the buffer's pattern
// stands.
//
// Dual: every site of the image has a sample of each view, `dual` is there, and a block of the
// native pattern is one site.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lens.h"

namespace simcam {

struct PatternPixel {
  int x = 0;  // pixels from the block's left edge
  int y = 0;
  int type = 0;
};

// A block that repeats over the image or the buffer.
struct Pattern {
  int width = 0;
  int height = 0;
  int offsetX = 0;  // of the first block
  int offsetY = 0;
  std::vector<PatternPixel> pixels;
};

// How the PD pixels lie in memory. With an overlap, two processors deliver the image's two halves,
// line beside line.
struct BufferLayout {
  Pattern first;
  Pattern second;
  int firstWidth = 0;   // pixels
  int firstStride = 0;  // bytes
  int secondWidth = 0;
  int secondStride = 0;
  int height = 0;        // lines
  int overlap = 0;       // pixels seen by both processors; 0: there is only one
  int secondImageX = 0;  // image column at which the second processor starts

  int Stride() const { return firstStride + secondStride; }
  size_t Bytes() const { return static_cast<size_t>(Stride()) * static_cast<size_t>(height); }
};

enum class Orientation { kDefault = 0, kMirror = 1, kFlip = 2, kMirrorAndFlip = 3 };

// By how much the views of a dual-PD module stand apart besides the true phase difference; the
// calibration's offset map tells the library. Pixels, u and v from -1 to 1 across and down the
// frame.
struct ViewOffset {
  double middle = 0;
  double right = 0;   // what u = 1 adds
  double bottom = 0;  // what v = 1 adds

  double At(double u, double v) const { return middle + right * u + bottom * v; }
};

// The two samples of a site are the left and the right view, or the upper and the lower one.
enum class ViewAxis { kHorizontal, kVertical };

// Numbered as the library's buffer formats are.
enum class SamplePacking {
  kBytes = 0,     // 8 bits, a byte each
  kPacked10 = 1,  // 10 bits, four samples in five bytes: high bits first, the low two of all last
  kWords = 2,     // a 16-bit word each
};

// What a dual-PD sensor has that a sparse one has not. The samples of a line follow one another
// site by site; sites cover the image without a rest.
struct DualLayout {
  ViewAxis axis = ViewAxis::kHorizontal;
  SamplePacking packing = SamplePacking::kWords;
  bool isRightFirst = false;  // the right view's sample comes first in the buffer
  int exposureRatio = 1;  // above 1, HDR: sites of odd columns are exposed this many times shorter
  std::optional<ViewOffset> offset;
  // Share of the light's noise that the two samples of a site have in common with opposite signs:
  // what one of them doesn't get of the light went to the other.
  double splitNoise = 0;
};

struct CalibrationLayout {
  // Sparse sensors. Bits 2 to 7: the maps stand under their own names; bit 10: coefficients in Q6.
  int version = 4;
  int gainMapWidth = 17;
  int gainMapHeight = 13;
  int dccMapWidth = 8;
  int dccMapHeight = 6;
  int qFactor = 10;  // fractional bits of the coefficients; for sparse sensors 0 means 10
};

// When the library measures its own conversion coefficient, and how far it follows.
struct AdaptiveChoices {
  bool isOn = false;
  int timeoutFrames = 60;
  int filterSize = 5;  // entries of a history in the median
  int startFrames = 3;
  int endFrames = 3;
  int minimumTravel = 60;  // actuator codes
  int startConfidence = 100;
  int endConfidence = 100;
  double startPhasePx = 4;      // at least
  double endPhasePx = 1.5;      // at most
  double upperTolerance = 1.3;  // times the calibrated coefficient
  double lowerTolerance = 0.7;
};

struct TuningChoices {
  int searchFrom = -44;  // pixels
  int searchTo = 44;
  int boxFilterLength = 4;             // samples: 0, 2 or 4
  int antiAliasFilterThreshold = 100;  // 1/1024 of the neighbours' mean
  // How many of the lines are worked on. 2: a share by the area covered, one line of eight of a
  // dual-PD sensor; 3: of a dual-PD sensor, one of four.
  int processingMode = 2;
  int verticalBinning = 1;  // rows (columns of vertical views): 1 (off), 2, 4, 8, 16
  bool bandPass = false;    // the filter along rows instead of plain smoothing
  bool optimizedParsing = false;
  double biasVectorStrength = 0;
  int confIntegralWidth = 24;  // pixels
  double minimumConfidenceLevel = 140;
  double rangeControl = 0.1;  // dual PD: a shift is plausible up to this share above the best one
  double defocusConfidenceThreshold = 100;
  double staticWeight = 0.5;
  double dynamicWeight = 1;
  bool gridOverlap = true;
  // Sparse sensors: windows that overlap in a grid that isn't square are the sums of their own
  // cells. The library's own default sums those of other windows.
  bool overlapSumByColumns = true;
  bool peripheralWindows = true;
  int staticFrameCount = 8;
  int maxFrameRate = 30;
  AdaptiveChoices adaptive;
};

struct SensorDescription {
  std::string name;
  std::string about;
  int imageWidth = 0;
  int imageHeight = 0;
  Orientation orientation = Orientation::kDefault;
  int sensorType = 2;
  int pixelDepth = 10;
  int blackLevel = 64;
  int whiteLevel = 800;  // code of white in the scene, where the lens doesn't shade
  int blocksAcross = 0;
  int blocksDown = 0;
  double pdOffsetCorrection = 0;
  Pattern native;  // of a dual-PD sensor: one site, no pixels listed
  BufferLayout buffer;
  std::optional<DualLayout> dual;
  CalibrationLayout calibration;
  LensDescription lens;
  TuningChoices tuning;
  int tuningMode = 0;  // sub-mode of Sensor in tuning files; 0: none of its own

  bool IsMirrored() const {
    return orientation == Orientation::kMirror || orientation == Orientation::kMirrorAndFlip;
  }
  bool IsFlipped() const {
    return orientation == Orientation::kFlip || orientation == Orientation::kMirrorAndFlip;
  }
  bool IsInFrame() const { return sensorType == 3; }
  bool IsDual() const { return dual.has_value(); }
  bool IsHdr() const { return dual && dual->exposureRatio > 1; }
  bool HasVerticalViews() const { return dual && dual->axis == ViewAxis::kVertical; }
  bool HasTwoProcessors() const { return buffer.overlap != 0; }
  int MaxCode() const { return (1 << pixelDepth) - 1; }
  // Sample columns of a block.
  int ColumnsPerBlock() const;
  // The distance of two samples along which the views are compared.
  int SampleStepPx() const;
  // Which maps of the calibration belong to which view, and how its coefficients are stored.
  bool AreMapsNamedStraight() const;
  int FractionBits() const;
  // First column of blocks that the second processor delivers.
  int SecondFirstBlock() const {
    return (buffer.overlap + buffer.secondImageX - native.offsetX) / native.width;
  }
};

struct EmbeddedSensor {
  const char* name;
  const char* json;
};

// The descriptions that come with the program.
const std::vector<EmbeddedSensor>& EmbeddedSensors();
std::vector<std::string> SensorNames();

// Reads a description; `file` is only named in errors. Throws InputError with file, field and what
// was expected.
SensorDescription ParseSensor(const std::string& json, const std::string& file);

// An embedded description by name, or a file by path (ends in .json or holds a '/').
SensorDescription LoadSensor(const std::string& nameOrPath);

}  // namespace simcam
