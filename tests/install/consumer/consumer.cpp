#include <dlfcn.h>
#include <host/orvo_host.h>
#include <orvopdlibinterface.h>

#include <cstdio>

namespace {

int Fail(const char* what) {
  std::fprintf(stderr, "consumer: %s\n", what);
  return 1;
}

}  // namespace

int main() {
  void* plugin = dlopen(PDLIB_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  if (plugin == nullptr) return Fail(dlerror());
  auto* entry = reinterpret_cast<decltype(&VekPDLibraryEntry)>(dlsym(plugin, "VekPDLibraryEntry"));
  if (entry == nullptr) return Fail("no entry");

  PDLibCallbacks callbacks{};
  callbacks.size = sizeof callbacks;
  entry(&callbacks);
  if (callbacks.pfnCreate == nullptr) return Fail("no callbacks");

  const uint32_t actualOpen = 1;
  PDLibCameraInfo camera{};
  const PDLibListEntry entries[] = {
      {kCreateOverrideCameraOpen, &actualOpen, sizeof actualOpen},
      {kCreateCameraInfo, &camera, sizeof camera},
  };
  const PDLibParamList create{entries, 2};
  VekPDLib* lib = nullptr;
  if (callbacks.pfnCreate(&lib, &create) != kPDLibSuccess || lib == nullptr) {
    return Fail("no camera");
  }

  const uint32_t actualClose = 1;
  const PDLibListEntry closing[] = {
      {kDestroyOverrideCameraClose, &actualClose, sizeof actualClose},
      {kDestroyCameraInfo, &camera, sizeof camera},
  };
  const PDLibParamList destroy{closing, 2};
  if (lib->pfnDestroy(lib, &destroy) != kPDLibSuccess) return Fail("the camera does not close");
  if (Orvo::Host::Allocations().live != 0) return Fail("memory is left");
  return 0;
}
