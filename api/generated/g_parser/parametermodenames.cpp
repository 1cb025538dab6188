// The names of modes and sub-modes.
#include <array>
#include <cstddef>

#include "parametermodeentry.h"

namespace {

constexpr std::array kModes{"Default",  "Sensor", "Usecase", "Feature1",
                            "Feature2", "Scene",  "Effect"};

constexpr std::array kUsecases{"Preview",  "Snapshot",          "Video",    "ZSL",
                               "Liveshot", "SnapshotReprocess", "IDEALRAW", "IdealRawReprocess"};
constexpr std::array kFeatures1{
    "None",           "ISPHDR",      "ADRC",           "inSensorHDR3Exp",
    "MFHDRPreFusion", "MFHDRFusion", "MFHDRPostFusion"};
constexpr std::array kFeatures2{"None",
                                "OISCapture",
                                "HLG",
                                "HDR10",
                                "MFNRBlend",
                                "MFNRPostFilter",
                                "AIDenoiserMFNRBlend",
                                "AIDenoiserMFNRPostFilter",
                                "ZLLMFNRBlend",
                                "ZLLMFNRPostFilter",
                                "ZLLPostFusion"};
constexpr std::array kScenes{
    "None",          "Landscape", "Snow",      "Beach",   "Sunset",       "Night",     "Portrait",
    "BackLight",     "Sports",    "AntiShake", "Flowers", "CandleLight",  "Fireworks", "Party",
    "NightPortrait", "Theater",   "Action",    "AR",      "FacePriority", "Barcode",   "BestShot"};
constexpr std::array kEffects{"None", "Mono",   "Sepia",  "Negative", "Solarize",   "Posterize",
                              "Aqua", "Emboss", "Sketch", "Neon",     "Blackboard", "Whiteboard"};

template <size_t Count>
const char* NameIn(const std::array<const char*, Count>& names, uint32_t number) {
  return number < Count ? names[number] : nullptr;
}

}  // namespace

const char* ModeEntry::GetModeName(uint32_t mode) {
  return NameIn(kModes, mode);
}

const char* ModeEntry::GetSubModeName(uint32_t mode, uint32_t subMode) {
  switch (mode) {
    case 2: return NameIn(kUsecases, subMode);
    case 3: return NameIn(kFeatures1, subMode);
    case 4: return NameIn(kFeatures2, subMode);
    case 5: return NameIn(kScenes, subMode);
    case 6: return NameIn(kEffects, subMode);
    default: return nullptr;
  }
}
