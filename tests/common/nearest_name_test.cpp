#include "common/nearest_name.h"

#include <gtest/gtest.h>

namespace {

TEST(NearestName, IsWhatWasMeantOrNothing) {
  const std::vector<std::string> commands = {"focus", "sweep", "learn", "match", "adaptive"};
  const std::vector<std::string> names = {"Default|Sensor.1",
                                          "Default|Sensor.12",
                                          "tessarinePDLib",
                                          "boxFilterLength",
                                          "Name",
                                          "modes"};
  struct Case {
    const std::vector<std::string>& names;
    const char* word;
    const char* nearest;
  };
  const Case cases[] = {
      {commands, "focus", "focus"},
      {commands, "FOCUS", "focus"},
      {commands, "fcous", "focus"},
      {commands, "focsu", "focus"},
      {commands, "foc", "focus"},
      {commands, "foo", "focus"},
      {commands, "sweeep", "sweep"},
      {commands, "lern", "learn"},
      {commands, "adapt", "adaptive"},
      {commands, "zebra", ""},
      {commands, "x", ""},
      {commands, "", ""},
      {names, "PDLib", "tessarinePDLib"},
      {names, "default|sensor.1", "Default|Sensor.1"},
      {names, "name", "Name"},
      {names, "boxFilterLenght", "boxFilterLength"},
      {names, "mode", "modes"},
      {names, "saturation", ""},
      {names, "Default|Sensor.13", "Default|Sensor.1"},
  };
  for (const Case& c : cases) EXPECT_EQ(tool::NearestName(c.word, c.names), c.nearest) << c.word;
  EXPECT_EQ(tool::DidYouMean("foc", commands), "; did you mean 'focus'?");
  EXPECT_EQ(tool::DidYouMean("zebra", commands), "");
}

}  // namespace
