// Records that cross between the camera stack, the plug-in, the core and the flows.
//
// Plain data in native byte order; nothing here owns memory. The order of the members is a contract
// with the camera stack. Enumerations have a fixed width, so that a value outside the list is data
// and not a fault.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "tuningmode.h"

class TuningSetManager;
namespace afpdlibelements {
struct tessarinePDLibType;
}

struct PDLibVersion {
  uint32_t majorVersion;
  uint32_t minorVersion;
  uint32_t tinyVersion;
};

// ---- Enumerations
// -----------------------------------------------------------------------------------------

enum PDFlowType : uint32_t {
  kFlowDPD = 0,
  kFlowSparseHorizontal = 1,
  kFlowSparseVertical = 2,
  kFlowSparseHV = 3,
  kFlowHardwareDPD = 4,
  kFlowSparseHardware = 5,
  kFlowHardwareLCR = 6,
  kFlowFullDiagonal = 7,
};

// Sub-flows of the flow that fuses two axes.
enum PDLibHVFlowType : uint32_t {
  kHVFlowSparseHorizontal = 0,
  kHVFlowSparseVertical = 1,
  kHVFlowDPDHorizontal = 2,
  kHVFlowDPDVertical = 3,
  kHVFlowFullDiagonal = 4,
  kHVFlowHardwareDPD = 5,
  kHVFlowSparseHardware = 6,
};

// Kind of PD sensor. Only the two dual-PD types select a dense flow.
enum PDAFType : uint32_t {
  kSensorUnknown = 0,
  kSensorSparse1 = 1,
  kSensorSparse2 = 2,
  kSensorSparseInFrame = 3,  // the PD pixels stay inside the delivered frame
  kSensorDualPD1 = 4,
  kSensorDualPD2 = 5,
};

enum PDHWConfigSensorType : uint32_t {
  kHwSoftwareFlow = 0,
  kHwSparsePD = 1,
  kHwDualPD = 2,
  kHwSparsePDWithLcr = 3,
};

// What a PD pixel sees: 0 and 1 the two horizontal polarities, 2 and 3 the two vertical ones, 4 to
// 7 pixels that serve both axes. Values up to 11 exist; the flows read 0 to 7.
enum PDAFPixelShieldInformation : uint32_t {
  kShieldHorizontal0 = 0,
  kShieldHorizontal1 = 1,
  kShieldVertical2 = 2,
  kShieldVertical3 = 3,
  kShieldBoth4 = 4,
  kShieldBoth5 = 5,
  kShieldBoth6 = 6,
  kShieldBoth7 = 7,
};

enum PDAFOrientation : uint32_t {
  kOrientationDefault = 0,
  kOrientationMirror = 1,
  kOrientationFlip = 2,
  kOrientationMirrorAndFlip = 3,
};

// Layout of a PD buffer. Value 2 has two bytes a pixel, 0, 1, 3 and 4 are addressed byte by byte.
enum PDAFBufferDataFormat : uint32_t {
  kBufferFormat0 = 0,
  kBufferFormat1 = 1,
  kBufferUnpacked16 = 2,
  kBufferFormat3 = 3,
  kBufferFormat4 = 4,
};

enum PDLibRoiType : uint32_t {
  kRoiDefault = 0,   // the centre ROI: it alone has a sum window and the peripheral clearing
  kRoiLearning = 2,  // the other type from which Adaptive DCC learns
};

// Order of left and right in a dual-PD buffer.
enum PDAFPixelOrderType : uint32_t {};
// Numbered by the camera stack's sensor records; carried through.
enum SensorPDStatsFormat : uint32_t {};
enum PDBayerPattern : uint32_t {};

// ---- Sensor and buffer
// ------------------------------------------------------------------------------------

inline constexpr int kMaxPatternPixels = 256;
inline constexpr int kMaxLcrLines = 64;

struct PDLibPixelCoordinate {
  uint32_t x;  // pixels from the block's left edge
  uint32_t y;  // pixels from the block's top edge
  PDAFPixelShieldInformation type;
};

struct PDLibBlockDimension {
  uint32_t width;
  uint32_t height;
};

// The repeating PD block of a sensor or of a buffer.
struct PDLibBlockPattern {
  int32_t pixelCount;  // valid entries, both polarities together
  PDLibPixelCoordinate pixelCoordinate[kMaxPatternPixels];
  uint32_t horizontalPDOffset;  // x of the first block in the image
  uint32_t verticalPDOffset;    // y of the first block in the image
  PDLibBlockDimension blockDimension;
};

// The lines of a block that LCR reads.
struct PDLibLcrBlockPattern {
  int32_t lineCount;
  uint32_t linePosition[kMaxLcrLines];
  uint32_t horizontalPDOffset;
  uint32_t verticalPDOffset;
  PDLibBlockDimension blockDimension;
};

struct PDLibCropRegion {
  int32_t x;
  int32_t y;
  uint32_t width;
  uint32_t height;
};

// What the sensor delivers. docs/integration.md says which fields each kind of sensor needs.
struct PDLibSensorNativeInfo {
  PDLibBlockPattern blockPattern;  // sensor coordinates
  uint32_t horizontalBlockCount;   // blocks across the PD area
  uint32_t verticalBlockCount;     // blocks down the PD area
  PDLibCropRegion cropRegion;
  uint32_t originalImageWidth;  // image before the crop, pixels
  uint32_t originalImageHeight;
  uint32_t currentImageWidth;  // image of the current mode, pixels
  uint32_t currentImageHeight;
  PDAFOrientation orientation;
  PDAFBufferDataFormat bufferFormat;
  float horizontalDownscaleFactor;
  float verticalDownscaleFactor;
  float PDOffsetCorrection;  // pixels, added to every phase difference; honoured inside (-10, 10)
  float lcrPDOffset;         // the same for LCR results
  PDLibLcrBlockPattern lcrBlockPattern;
  PDBayerPattern bayerPattern;
};

struct PDLibLcrBufferData {
  PDLibLcrBlockPattern isp1BlockPattern;
  PDLibLcrBlockPattern isp2BlockPattern;
  uint32_t isp1BufferWidth;
  uint32_t isp1BufferStride;
  uint32_t isp2BufferWidth;
  uint32_t isp2BufferStride;
  uint32_t ispBufferHeight;
  uint32_t imageOverlap;
  uint32_t isp2ImageOffset;
  PDAFBufferDataFormat bufferFormat;
};

// How PD pixels lie in the delivered buffer. A frame may come from two image processors side by
// side.
struct PDLibDataBufferInfo {
  PDLibBlockPattern isp1BlockPattern;
  PDLibBlockPattern isp2BlockPattern;
  uint32_t isp1BufferWidth;   // pixels
  uint32_t isp1BufferStride;  // bytes
  uint32_t isp2BufferWidth;   // pixels
  uint32_t isp2BufferStride;  // bytes
  uint32_t ispBufferHeight;   // lines
  uint32_t imageOverlap;      // 0: one processor; else the overlap of the two halves, pixels
  uint32_t isp2ImageOffset;   // x where the second processor's image starts
  PDAFBufferDataFormat bufferFormat;
  PDAFType sensorType;
  PDLibLcrBufferData lcrBufferData;
};

struct PDLibCameraInfo {
  uint32_t algoRole;
  uint32_t cameraId;
};

// ---- Calibration
// ------------------------------------------------------------------------------------------

inline constexpr int kGainMapEntries = 475;
inline constexpr int kDccMapEntries = 200;

struct PDLibDccParam {
  uint16_t VersionNum;
  uint16_t Q_factor;  // fractional bits of the DCC; 0 means 10
  uint16_t MapWidth;
  uint16_t MapHeight;
};

struct PDLibOffsetMap {
  uint16_t isAvailable;
  uint16_t reserved[2];
  uint16_t width;
  uint16_t height;
  float map[kDccMapEntries];  // pixels, row by row, the size of the DCC table
};

// Calibration of one sensor module; read-only, the caller's. All maps row by row.
struct _pdaf_cal_param_t {
  int32_t isAvailable;
  uint16_t VersionNum;  // low 8 bits the version; bit 10: DCC in Q6; bits 2 to 7: left and right as
                        // named
  uint16_t MapWidth;    // size of the gain maps
  uint16_t MapHeight;
  uint16_t Left_GainMap[kGainMapEntries];  // 1024 is a gain of 1.0, in all five maps
  uint16_t Right_GainMap[kGainMapEntries];
  uint16_t Center_GainMap[kGainMapEntries];
  int16_t DCC_map[kDccMapEntries];  // usually 8 by 6
  PDLibDccParam DCC_param;
  uint16_t Up_GainMap[kGainMapEntries];
  uint16_t Down_GainMap[kGainMapEntries];
  PDLibOffsetMap PD_OffsetMap;
  int16_t DCC_map_vertical[kDccMapEntries];
};

// ---- Session and frame
// ------------------------------------------------------------------------------------

// One per camera session; flows copy what they keep.
struct PDLibInitParam {
  PDLibSensorNativeInfo nativePatternInfo;
  uint32_t blackLevel;  // codes of the data's pixel depth
  uint32_t pixelDepth;  // bits; outside 1 to 16 means 10
  uint32_t isHdrModeEnabled;
  uint32_t PDPixelOverflowThreshold;
  int16_t macroDac;  // actuator codes at the ends of travel
  int16_t infinityDac;
  float actuatorSensitivity;  // microns per defocus unit
  PDAFPixelOrderType pixelOrderType;
  const _pdaf_cal_param_t* calibration;  // the caller's
  uint32_t defocusBitShift;
  int32_t defocusConfidenceThreshold;  // carried; the flows use the tuning value of this name
  SensorPDStatsFormat sensorPDStatsFormat;
  PDLibDataBufferInfo bufferDataInfo;
  PDLibCameraInfo cameraInfo;
  // Copied into the process-wide switches by PDLibInit.
  uint32_t enableProfiling;
  uint32_t testMode;
  uint32_t logLevel;
  uint32_t dumpFlags;
  uint32_t disableLCR;
  uint32_t profileFlags;  // bit 5: on; bit 24: one camera only; bits 25-28: its id; bit 31 set: no
                          // timing
  // What the hardware of this target can do.
  uint32_t DualPDHWEnable;
  uint32_t SparsePDHWEnable;
  uint32_t LCRHWEnable;
  const afpdlibelements::tessarinePDLibType*
      tuningData;  // the caller's; null: looked up by the plug-in
};

// What the plug-in receives at initialisation: the init record, then where to look the tuning up.
struct PDLibCreateParams {
  PDLibInitParam initParam;
  TuningSetManager* tuningManager;
  const TuningMode* tuningModes;
  uint32_t tuningModeCount;
};

struct PDLibWindow {
  float startX;  // fractions of the image, 0 to 1
  float startY;
  float endX;
  float endY;
};

struct PDLibWindowConfig {
  PDLibRoiType roiType;
  PDLibWindow window;
  uint32_t horizontalWindowCount;
  uint32_t verticalWindowCount;
};

// One per call of PDLibPhaseDetection; read only.
struct PDLibParam {
  const uint8_t* PDBuffer;  // filled up to the lines that the call states
  int32_t PDBufferFd;
  int64_t PDBufferSize;      // bytes
  const uint8_t* lcrBuffer;  // null: LCR is skipped
  PDLibWindowConfig windowConfig;
  int32_t offsetLensPosition;
  float gain;  // sensor gain
  float fps;
  float integrationTime;
  int32_t lensPosition;  // actuator codes; the sparse context keeps the low 16 bits
  PDLibCameraInfo cameraInfo;
  const void* hwSadBuffer;   // hardware flows only
  uint64_t stackWord1;       // the camera stack's own
  uint32_t hwSadBufferSize;  // bytes
  uint64_t stackWord2;       // the camera stack's own
  const void* hwRawBuffer;   // hardware flows only
};

// What the plug-in receives each frame.
struct PDLibInputs {
  PDLibParam param;
  // Lines of the image whose PD pixels are already in PDBuffer: compared with the ROI and with
  // `currentImageHeight`, which closes the frame, and not with the lines of the buffer.
  uint32_t linesWritten;
};

// ---- Results
// ----------------------------------------------------------------------------------------------

inline constexpr uint32_t kMaxWindows = 200;
inline constexpr uint32_t kPeripheralWindows = 8;
inline constexpr uint32_t kMaxDepthCells = 400;

struct PDLibDefocusInfo {
  int32_t defocus;      // phase difference times DCC, defocus units; the lens moves by it, toward
                        // rising actuator codes where it is positive
  uint32_t confidence;  // 0 to 1023; the dense matcher reaches 1024, an LCR result adds 1023
  float phaseDiff;      // full-resolution pixels, sign corrected for mirroring
  int16_t rangeLow;     // defocus at the edges of the plausible range; dense flows only
  int16_t rangeHigh;
};

// The coarse map of the whole frame. Cell (r, c) stands at c + r * horizontalCellCount.
struct PDLibDepthMap {
  float depthPhaseDiff[kMaxDepthCells];
  uint32_t depthConfidence[kMaxDepthCells];
  int16_t depthRangeLow[kMaxDepthCells];
  int16_t depthRangeHigh[kMaxDepthCells];
  int32_t depthDefocus[kMaxDepthCells];
  uint32_t horizontalCellCount;
  uint32_t verticalCellCount;
  uint32_t cellWidth;  // PD sites
  uint32_t cellHeight;
  uint32_t mapStartX;
  uint32_t mapStartY;
};
static_assert(sizeof(PDLibDepthMap) == 6424);

// processingResult
inline constexpr uint32_t kResultNone = 0;           // not processed yet
inline constexpr uint32_t kResultStarted = 1;        // valid once the ROI is complete
inline constexpr uint32_t kResultLowConfidence = 2;  // no window above the threshold

// The caller's; the flow overwrites it. Entry horizontalWindowCount * verticalWindowCount of
// `defocusInfo` is the sum window where there is one.
struct PDLibOutputData {
  PDLibDefocusInfo defocusInfo[kMaxWindows];
  uint16_t isPeripheralValid;
  PDLibDefocusInfo peripheralInfo[kPeripheralWindows];
  uint32_t processingResult;
  uint32_t horizontalWindowCount;
  uint32_t verticalWindowCount;
  PDLibDepthMap depthMap;  // flows that make no map leave it as it is
};

struct PDSwInfo {
  uint32_t lcrEnabled;
};

// Size of the learnt-coefficient blob and of its file.
inline constexpr int kAdaptiveDataSize = 960;

static_assert(sizeof(PDLibPixelCoordinate) == 12 && sizeof(PDLibBlockPattern) == 4 + 256 * 12 + 16);
static_assert(sizeof(PDLibLcrBlockPattern) == 4 + 64 * 4 + 16);
static_assert(offsetof(PDLibOutputData, isPeripheralValid) == 200 * sizeof(PDLibDefocusInfo));
static_assert(offsetof(PDLibOutputData, depthMap) == 3344 &&
              sizeof(PDLibOutputData) == 3344 + 6424);
static_assert(offsetof(PDLibParam, PDBufferSize) == 16 && offsetof(PDLibParam, windowConfig) == 32);
static_assert(std::is_trivially_copyable_v<PDLibCreateParams> &&
              std::is_trivially_copyable_v<PDLibInputs>);
