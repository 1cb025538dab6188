// Time per stage of one camera, summed up over frames and written to the log.
//
// The plug-in owns one block per camera and points `m_profile` to that of the camera whose frame
// comes next. Without a block, or with a disabled one, everything here does nothing. One frame is
// measured by one thread.
#pragma once

#include <cstdint>

inline constexpr uint32_t kMaxProfileModules = 30;

// profileFlags
inline constexpr uint32_t kProfileFlagOn = 1u << 5;
inline constexpr uint32_t kProfileFlagOneCamera = 1u << 24;  // only the camera of bits 25 to 28
inline constexpr uint32_t kProfileCameraShift = 25;
inline constexpr uint32_t kProfileAnyCamera = 15;  // an id that every camera passes
inline constexpr uint32_t kProfileFlagNoTiming = 1u << 31;

struct PDLibProfileModule {
  const char* name;  // a literal
  uint32_t enabled;
  uint64_t time;  // microseconds since the last summary
};

struct PDLibProfile {
  const char* name;  // a literal
  PDLibProfileModule modules[kMaxProfileModules];
  uint32_t moduleCount;
  uint32_t enabled;
  uint32_t frameCount;  // frames opened so far
  uint32_t interval;    // frames from one summary to the next; not 0
  uint32_t isDue;       // the frame in progress is measured and ends in a summary
  uint32_t flags;       // profileFlags of the init record
  uint32_t cameraId;
};

// The block of the camera that this thread processed last; null without one. One per thread, so
// that cameras on different threads never write into each other's block.
extern constinit thread_local PDLibProfile* m_profile;

namespace pdlib {

// Names of the modules.
inline constexpr char kProfileInit[] = "PDLIBProfileInit";
inline constexpr char kProfilePhaseDetect[] = "PDLIBProfilePhaseDetect";
inline constexpr char kProfileLrCenterWindow[] = "PDLIBProfileLrCenterWindow";
inline constexpr char kProfileLcrCenterWindow[] = "PDLIBProfileLcrCenterWindow";
inline constexpr char kProfilePeripheralWindow[] = "PDLIBProfilePeripheralWindow";
inline constexpr char kProfileEndToEnd[] = "PDLIBEndToEnd";

// Whether there is a block and it is enabled.
bool ProfileRunning();

// Appends a module; a full block stays as it is.
void AddProfileModule(PDLibProfile& profile, const char* name, bool enabled);
// Lists the enabled modules in the log, at error level so that the lines pass every filter.
void LogProfileModules(const PDLibProfile& profile);

// Adds the time of its own life to a module, on whatever way the block is left.
class ProfileScope {
 public:
  explicit ProfileScope(const char* module);
  ~ProfileScope();
  ProfileScope(const ProfileScope&) = delete;
  ProfileScope& operator=(const ProfileScope&) = delete;

 private:
  PDLibProfileModule* module_ = nullptr;  // null: not measured
  uint64_t start_ = 0;                    // microseconds
};

// Brackets one frame: counts it, decides whether it is measured, adds the time of its own life to a
// module and ends with the summary when one is due.
class ProfileFrame {
 public:
  explicit ProfileFrame(const char* module);
  ~ProfileFrame();
  ProfileFrame(const ProfileFrame&) = delete;
  ProfileFrame& operator=(const ProfileFrame&) = delete;

 private:
  PDLibProfile* profile_;  // null: not running
  PDLibProfileModule* module_ = nullptr;
  uint64_t start_ = 0;
};

}  // namespace pdlib
