// The batch of focus runs of `pdcam focus --runs` and `--check`.
#pragma once

#include "focus_batch.h"
#include "options.h"

namespace pdcam {

struct BatchOptions {
  int runs = 0;  // seeds; 0: no batch
  bool areBothDirections = false;
  bool isCheck = false;

  void AddTo(CLI::App& command);
  bool IsWanted() const { return runs > 0 || isCheck; }
};

// Runs with seeds from that of `settings` on, each starting a little elsewhere. With --check, all
// sensors unless one is named, 20 seeds unless told otherwise and both directions; kCheckFailed
// when for some sensor and direction fewer than 19 of 20 end in focus.
int RunBatch(const BatchOptions& options, const CameraOptions& camera,
             const simcam::CameraSettings& settings, const simcam::FocusSettings& focus,
             const OutputOptions& output);

}  // namespace pdcam
