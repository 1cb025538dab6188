#include "base/pdlib_profile.h"

#include <cstring>

#include "base/pdlib_log.h"
#include "orvo/osutils.h"

constinit thread_local PDLibProfile* m_profile = nullptr;

namespace pdlib {
namespace {

PDLibProfile* RunningProfile() {
  PDLibProfile* profile = m_profile;
  return profile != nullptr && profile->enabled != 0 ? profile : nullptr;
}

bool IsCameraAllowed(const PDLibProfile& profile) {
  if ((profile.flags & kProfileFlagOneCamera) == 0) return true;
  const uint32_t wanted = (profile.flags >> kProfileCameraShift) & kProfileAnyCamera;
  return wanted == kProfileAnyCamera || wanted == profile.cameraId;
}

bool IsTimed(const PDLibProfile& profile) {
  return profile.isDue != 0 && (profile.flags & kProfileFlagNoTiming) == 0;
}

PDLibProfileModule* FindEnabledModule(PDLibProfile& profile, const char* name) {
  for (uint32_t i = 0; i < profile.moduleCount; ++i) {
    PDLibProfileModule& module = profile.modules[i];
    if (module.enabled != 0 && std::strcmp(module.name, name) == 0) return &module;
  }
  return nullptr;
}

uint64_t Microseconds() {
  return Orvo::OsUtils::GetTime() / 1000;
}

// The system clock may be set back in between: that counts as no time.
uint64_t MicrosecondsSince(uint64_t start) {
  const uint64_t now = Microseconds();
  return now > start ? now - start : 0;
}

// At error level, so that the lines pass every filter.
void LogSummary(PDLibProfile& profile) {
  PDLIB_ERROR("===== CID:%d Profile %s Summary(ms) Start, Frame:%05d ======",
              static_cast<int>(profile.cameraId), profile.name,
              static_cast<int>(profile.frameCount));
  for (uint32_t i = 0; i < profile.moduleCount; ++i) {
    PDLibProfileModule& module = profile.modules[i];
    if (module.enabled != 0) {
      PDLIB_ERROR("CID:%d Profile Module: %s = %0.3f", static_cast<int>(profile.cameraId),
                  module.name, static_cast<double>(module.time) / 1000.0);
    }
    module.time = 0;
  }
  PDLIB_ERROR("========== CID:%d Profile Profiling Summary End =============",
              static_cast<int>(profile.cameraId));
}

}  // namespace

bool ProfileRunning() {
  return RunningProfile() != nullptr;
}

void AddProfileModule(PDLibProfile& profile, const char* name, bool enabled) {
  if (profile.moduleCount >= kMaxProfileModules) return;
  profile.modules[profile.moduleCount++] = {name, enabled ? 1u : 0u, 0};
}

void LogProfileModules(const PDLibProfile& profile) {
  PDLIB_ERROR("CID:%d Profile %s module enabled:", static_cast<int>(profile.cameraId),
              profile.name);
  for (uint32_t i = 0; i < profile.moduleCount; ++i) {
    const PDLibProfileModule& module = profile.modules[i];
    if (module.enabled == 0) continue;
    PDLIB_ERROR("CID:%d Profile Module %s Sub:%s", static_cast<int>(profile.cameraId), profile.name,
                module.name);
  }
}

ProfileScope::ProfileScope(const char* module) {
  PDLibProfile* profile = RunningProfile();
  if (profile == nullptr || !IsTimed(*profile)) return;
  module_ = FindEnabledModule(*profile, module);
  if (module_ != nullptr) start_ = Microseconds();
}

ProfileScope::~ProfileScope() {
  if (module_ != nullptr) module_->time += MicrosecondsSince(start_);
}

ProfileFrame::ProfileFrame(const char* module) : profile_(RunningProfile()) {
  if (profile_ == nullptr) return;
  if (!IsCameraAllowed(*profile_)) {
    profile_->enabled = 0;
    profile_ = nullptr;
    return;
  }
  profile_->isDue = profile_->frameCount++ % profile_->interval == 0 ? 1 : 0;
  if (!IsTimed(*profile_)) return;
  module_ = FindEnabledModule(*profile_, module);
  if (module_ != nullptr) start_ = Microseconds();
}

ProfileFrame::~ProfileFrame() {
  if (profile_ == nullptr) return;
  if (module_ != nullptr) module_->time += MicrosecondsSince(start_);
  if (profile_->isDue != 0) LogSummary(*profile_);
  profile_->isDue = 0;
}

}  // namespace pdlib
