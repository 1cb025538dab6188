// Learnt coefficients as their file has them.
#include "adaptive_file.h"

#include <gtest/gtest.h>

namespace {

TEST(AdaptiveFileTest, TakesTheLowerMiddleOfAnEvenCount) {
  const simcam::AdaptiveHistory history = {40, 10, 30, 20, 50};
  struct Case {
    int filterSize, median;
  };
  for (const Case& c :
       {Case{1, 40}, Case{2, 10}, Case{3, 30}, Case{4, 20}, Case{5, 30}, Case{0, 40}, Case{9, 30}})
    EXPECT_EQ(simcam::Median(history, c.filterSize), c.median) << c.filterSize;
}

}  // namespace
