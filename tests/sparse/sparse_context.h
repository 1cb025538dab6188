// A context of the sparse flow in the states that the flow brings it to.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "sparse/pdlib_sparse_context.h"
#include "sparse/pdlib_sparse_utils_init.h"
#include "sparse/pdlib_sparse_utils_window.h"
#include "support/sparse_camera.h"

namespace test {

using Context = std::unique_ptr<pdaf_context_t>;

// As after Init; null when the set-up refuses the camera.
inline Context InitialisedContext(const SparseCamera& camera) {
  auto context = std::make_unique<pdaf_context_t>();
  if (set_pd_context_init_info(context.get(), camera.init, camera.tuning) != 0) return nullptr;
  context->calibration = camera.calibration;
  context->status = kContextInitialised;
  return context;
}

// As at the start of the first frame.
inline Context ConfiguredContext(const SparseCamera& camera) {
  Context context = InitialisedContext(camera);
  EXPECT_NE(context, nullptr);
  EXPECT_EQ(configure_pd_context_info(context.get(), camera.param), 0);
  return context;
}

}  // namespace test
