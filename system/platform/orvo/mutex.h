// Mutex of the camera stack's utility layer.
#pragma once

namespace Orvo {

class Mutex {
 public:
  // A named, unlocked mutex that lives as long as the process; null when none can be had.
  static Mutex* Create(const char* name);

  void Lock();
  void Unlock();

 protected:
  Mutex() = default;
  ~Mutex() = default;
};

}  // namespace Orvo
