// A camera module as its description file tells it: sensor, buffer, calibration, lens and tuning.
//
// The names and rules are those of the PD library's records. A pixel of native type 0 belongs to
// the left view, type 1 to the right one. The buffer's pattern calls the two the other way round:
// the native type 0 pixel of rank n lies where the n-th type 1 pixel of the buffer's pattern
// stands.
#pragma once

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

struct CalibrationLayout {
  int version = 4;  // bits 2 to 7: the maps stand under their own names; bit 10: coefficients in Q6
  int gainMapWidth = 17;
  int gainMapHeight = 13;
  int dccMapWidth = 8;
  int dccMapHeight = 6;
  int qFactor = 10;  // fractional bits of the coefficients; 0 means 10

  bool AreMapsNamedStraight() const { return (version & 0xfc) != 0; }
  int FractionBits() const { return version & 0x400 ? 6 : (qFactor == 0 ? 10 : qFactor); }
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
  int verticalBinning = 1;             // rows: 1 (off), 2, 4, 8, 16
  bool bandPass = false;               // the filter along rows instead of plain smoothing
  bool optimizedParsing = false;
  double biasVectorStrength = 0;
  int confIntegralWidth = 24;  // pixels
  double minimumConfidenceLevel = 140;
  double defocusConfidenceThreshold = 100;
  double staticWeight = 0.5;
  double dynamicWeight = 1;
  bool gridOverlap = true;
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
  Pattern native;
  BufferLayout buffer;
  CalibrationLayout calibration;
  LensDescription lens;
  TuningChoices tuning;

  bool IsMirrored() const {
    return orientation == Orientation::kMirror || orientation == Orientation::kMirrorAndFlip;
  }
  bool IsFlipped() const {
    return orientation == Orientation::kFlip || orientation == Orientation::kMirrorAndFlip;
  }
  bool IsInFrame() const { return sensorType == 3; }
  bool HasTwoProcessors() const { return buffer.overlap != 0; }
  int MaxCode() const { return (1 << pixelDepth) - 1; }
  // Sample columns of a block and the distance of two samples that measurements are made in.
  int ColumnsPerBlock() const;
  int SampleStepPx() const { return native.width / ColumnsPerBlock(); }
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

// Reads a description; `file` is only named in errors. Throws InputError with file, field and what
// was expected.
SensorDescription ParseSensor(const std::string& json, const std::string& file);

// An embedded description by name, or a file by path (ends in .json or holds a '/').
SensorDescription LoadSensor(const std::string& nameOrPath);

}  // namespace simcam
