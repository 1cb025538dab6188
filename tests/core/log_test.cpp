#include <gtest/gtest.h>

#include <string>

#include "base/pdlib_log.h"
#include "fake_flow.h"
#include "orvo/osutils.h"

using test::LogCapture;

namespace {

std::string Prefix(const char* level, const char* tag, int line) {
  return std::string(level) + " " + std::to_string(Orvo::OsUtils::GetProcessID()) + " " +
         std::to_string(Orvo::OsUtils::GetThreadID()) + " " + tag +
         " log_test.cpp:" + std::to_string(line) + " TestBody() ";
}

TEST(Log, PrefixNamesLevelProcessTagPlaceAndFunction) {
  const LogCapture log(2);
  const int line = __LINE__;
  PDLIB_ERROR("a %d", 1);
  PDLIB_INFO("b");
  PDLIB_VERBOSE("c");
  PDLIB_ENTRY_ERROR("d");
  PDLIB_ENTRY_INFO("e");
  PDLIB_LOG_LINE(Orvo::Log::kLevelWarning, pdlib::LogTag::kStats, "100%%");
  const struct {
    std::string text;
    uint32_t level;
  } expected[] = {
      {Prefix("[ERROR]", "[STATS_AF]", line + 1) + "a 1", 1},
      {Prefix("[ INFO]", "[STATS_AF]", line + 2) + "b", 4},
      {Prefix("[ VERB]", "[STATS_AF]", line + 3) + "c", 5},
      {Prefix("[ERROR]", "[VEK    ]", line + 4) + "d", 1},
      {Prefix("[ INFO]", "[VEK    ]", line + 5) + "e", 4},
      {Prefix("[ WARN]", "[STATS_AF]", line + 6) + "100%", 2},
  };
  const auto lines = Orvo::Host::CapturedLog();
  ASSERT_EQ(lines.size(), 6u);
  for (size_t i = 0; i < lines.size(); ++i) {
    EXPECT_EQ(lines[i].text, expected[i].text);
    EXPECT_EQ(lines[i].group, Orvo::Log::kGroupStatsAF);
    EXPECT_EQ(lines[i].level, expected[i].level);
  }
}

TEST(Log, SwitchGatesInfoAndVerbose) {
  const size_t expected[] = {1, 3, 4, 4};
  for (int32_t level = 0; level < 4; ++level) {
    const LogCapture log(level);
    PDLIB_ERROR("error");
    PDLIB_INFO("info");
    PDLIB_ENTRY_INFO("entry");
    PDLIB_VERBOSE("verbose");
    EXPECT_EQ(log.texts().size(), expected[level]) << level;
  }
}

TEST(Log, FilterWordsHoldBackAllButErrors) {
  const LogCapture log(2);
  const uint32_t words[] = {g_logInfo, g_logInfoUpdated};
  const auto count = [&](uint32_t first, uint32_t second) {
    Orvo::Host::StartLogCapture();
    g_logInfo = first;
    g_logInfoUpdated = second;
    PDLIB_ERROR("error");
    PDLIB_INFO("info");
    PDLIB_VERBOSE("verbose");
    return Orvo::Host::CapturedLog().size();
  };
  constexpr uint32_t kBit = 1u << Orvo::Log::kGroupStatsAF;
  EXPECT_EQ(count(0, 0), 1u);
  EXPECT_EQ(count(~kBit, ~kBit), 1u);
  EXPECT_EQ(count(kBit, 0), 3u);
  EXPECT_EQ(count(0, kBit), 3u);
  g_logInfo = words[0];
  g_logInfoUpdated = words[1];
}

TEST(Log, LongLineIsCutInsideItsBuffer) {
  const LogCapture log;
  const std::string text(5000, 'x');
  PDLIB_ERROR("%s", text.c_str());
  const auto lines = Orvo::Host::CapturedLog();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_LT(lines[0].text.size(), 2000u);
  EXPECT_EQ(lines[0].text.back(), 'x');

  const std::string file(5000, 'f');
  pdlib::WriteLog({1, pdlib::LogTag::kStats, file.c_str(), 1, "f"}, "%s", text.c_str());
  EXPECT_LT(Orvo::Host::CapturedLog().back().text.size(), 2000u);
}

}  // namespace
