// Plots of data that leave an axis little to show.
#include "plot.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(PlotTest, EndsWhateverTheRange) {
  using Points = simcam::Plot::Points;
  for (const Points& points :
       {Points{}, Points{{0, 0}}, Points{{0, 192}, {1, 192}},
        Points{{0, 192}, {1, std::nextafter(192.0, 193.0)}}, Points{{0, -1e-300}, {1, 1e-300}}}) {
    simcam::Plot plot("", "", "");
    plot.AddLine("", "#000", points);
    EXPECT_LT(plot.Svg().size(), 20000u);
  }
}

}  // namespace
