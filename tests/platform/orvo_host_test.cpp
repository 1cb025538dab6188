// The stand-in of the utility layer: what the library relies on, and what tests rely on.
#include "host/orvo_host.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "orvo/log.h"
#include "orvo/memory.h"
#include "orvo/mutex.h"
#include "orvo/osutils.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
namespace Host = Orvo::Host;
namespace Log = Orvo::Log;
namespace OsUtils = Orvo::OsUtils;

class LogTest : public testing::Test {
 protected:
  void SetUp() override { Host::StartLogCapture(); }
  void TearDown() override {
    Host::StopLogCapture();
    Host::SetConsoleLevel(Log::kLevelError);
    g_logInfo = ~0u;
    g_logInfoUpdated = 0;
  }
};

TEST_F(LogTest, CapturesFormattedLinesInOrder) {
  const std::string longText(10000, 'x');
  Log::LogSystem(Log::kGroupStatsAF, Log::kLevelError, "%d windows, %.2f", 9, 0.5);
  Log::LogSystem(3, Log::kLevelVerbose, "%s!", longText.c_str());

  EXPECT_EQ(Host::CapturedLog().size(), 2u);
  const std::vector<Host::LogLine> lines = Host::StopLogCapture();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].group, Log::kGroupStatsAF);
  EXPECT_EQ(lines[0].level, Log::kLevelError);
  EXPECT_EQ(lines[0].text, "9 windows, 0.50");
  EXPECT_EQ(lines[1].text, longText + "!");
  EXPECT_TRUE(Host::CapturedLog().empty());
}

TEST_F(LogTest, FilterWordsHoldBackAllButErrors) {
  struct Case {
    uint32_t word, updated, group, level;
    bool passes;
  };
  const uint32_t bit5 = 1u << 5;
  for (const Case& c : std::vector<Case>{
           {bit5, 0, 5, Log::kLevelInfo, true},
           {0, bit5, 5, Log::kLevelVerbose, true},
           {~bit5, 0, 5, Log::kLevelInfo, false},
           {~bit5, 0, 5, Log::kLevelWarning, false},
           {~bit5, 0, 5, Log::kLevelDebug, false},
           {0, 0, 5, Log::kLevelError, true},
           {~0u, ~0u, 32, Log::kLevelInfo, false},  // a group that no bit stands for
       }) {
    g_logInfo = c.word;
    g_logInfoUpdated = c.updated;
    Host::StartLogCapture();
    Log::LogSystem(c.group, c.level, "line");
    EXPECT_EQ(Host::StopLogCapture().size(), c.passes ? 1u : 0u)
        << "words " << c.word << ' ' << c.updated << " level " << c.level;
  }
}

TEST_F(LogTest, ConsoleShowsLinesUpToItsLevel) {
  Host::StopLogCapture();
  const uint32_t levels[] = {Log::kLevelError, Log::kLevelInfo, Log::kLevelVerbose,
                             Log::kLevelDebug};
  std::string expected;
  for (const uint32_t consoleLevel : levels) {
    Host::SetConsoleLevel(consoleLevel);
    testing::internal::CaptureStderr();
    for (const uint32_t level : levels) Log::LogSystem(5, level, "level %u", level);
    expected += "level " + std::to_string(consoleLevel) + "\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
  }
}

TEST_F(LogTest, LinesOfManyThreadsStayWhole) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 200; ++i) Log::LogSystem(5, Log::kLevelInfo, "thread %d", t);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::map<std::string, int> counts;
  for (const Host::LogLine& line : Host::StopLogCapture()) ++counts[line.text];
  EXPECT_EQ(counts.size(), 4u);
  for (const auto& [text, count] : counts) EXPECT_EQ(count, 200) << text;
}

TEST(FileName, IsWhatStandsBehindTheLastSlash) {
  EXPECT_STREQ(Log::GetFileName("/a/b/c.cpp"), "c.cpp");
  EXPECT_STREQ(Log::GetFileName("c.cpp"), "c.cpp");
  EXPECT_STREQ(Log::GetFileName("a/"), "");
}

class FileTest : public testing::Test {
 protected:
  FileTest() { Host::SetRootFolder((folder_ / "root").string()); }
  ~FileTest() override { Host::SetRootFolder(""); }

  static void Write(const std::string& path, const std::string& text) {
    FILE* file = OsUtils::FOpen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr) << path;
    EXPECT_EQ(OsUtils::FWrite(text.data(), 1, text.size() - 1, file), text.size() - 1);
    EXPECT_EQ(OsUtils::FPrintF(file, "%c", text.back()), 1);
    EXPECT_EQ(OsUtils::FClose(file), 0);
  }

  const test::TempFolder temporary_;
  const fs::path folder_ = temporary_.path();
};

TEST_F(FileTest, AbsolutePathsStayBelowTheRootFolder) {
  for (const auto& [path, below] :
       {std::pair{"/data/vendor/camera/a.bin", "data/vendor/camera/a.bin"},
        {"/../../outside.bin", "outside.bin"},
        {"/x/../../y/./b.bin", "y/b.bin"}}) {
    Write(path, "abc");
    EXPECT_EQ(fs::file_size(folder_ / "root" / below), 3u) << path;
  }
  EXPECT_FALSE(fs::exists(folder_ / "outside.bin"));
  EXPECT_EQ(OsUtils::FOpen("/missing/file", "rb"), nullptr);
  EXPECT_FALSE(fs::exists(folder_ / "root/missing"));  // only writing makes folders
}

TEST_F(FileTest, RelativePathsAndNoRootOpenAsTheyStand) {
  fs::create_directories(folder_ / "root");
  const fs::path relative = fs::relative(folder_ / "beside.txt");
  Write(relative.string(), "abc");
  EXPECT_TRUE(fs::exists(folder_ / "beside.txt"));
  Host::SetRootFolder("");
  FILE* file = OsUtils::FOpen((folder_ / "beside.txt").c_str(), "rb");
  ASSERT_NE(file, nullptr);
  OsUtils::FClose(file);
}

TEST_F(FileTest, ReadingNeverPassesTheBuffer) {
  Write("/ten", "0123456789");
  FILE* file = OsUtils::FOpen("/ten", "rb");
  ASSERT_NE(file, nullptr);
  char buffer[9] = "########";
  EXPECT_EQ(OsUtils::FRead(buffer, 7, 2, 100, file), 3u);  // three whole pairs fit into 7 bytes
  EXPECT_STREQ(buffer, "012345##");
  EXPECT_EQ(OsUtils::FRead(buffer, 8, 1, 8, file), 4u);  // to the end of the file
  EXPECT_STREQ(buffer, "678945##");
  OsUtils::FClose(file);
}

TEST(Strings, CopyAndAppendStayInBounds) {
  char text[8];
  std::memset(text, '#', sizeof text);
  EXPECT_EQ(OsUtils::StrLCpy(text, "abcdef", 4), 6u);
  EXPECT_EQ(std::memcmp(text, "abc\0####", 8), 0);
  EXPECT_EQ(OsUtils::StrLCat(text, "xyz", 6), 6u);
  EXPECT_EQ(std::memcmp(text, "abcxy\0##", 8), 0);
  EXPECT_EQ(OsUtils::StrLCat(text, "q", 3), 4u);  // already longer than the bound: left alone
  EXPECT_EQ(std::memcmp(text, "abcxy\0##", 8), 0);
  EXPECT_EQ(OsUtils::StrLCpy(text, "abc", 0), 3u);
  EXPECT_STREQ(text, "abcxy");
}

TEST(Strings, CompareIgnoresAsciiCaseOnly) {
  EXPECT_EQ(OsUtils::StrNICmp("HVSelection", "hvSELECTION", 99), 0);
  EXPECT_EQ(OsUtils::StrNICmp("abcX", "ABCY", 3), 0);
  EXPECT_LT(OsUtils::StrNICmp("abc", "ABD", 3), 0);
  EXPECT_GT(OsUtils::StrNICmp("abcd", "ABC", 9), 0);
  EXPECT_NE(OsUtils::StrNICmp("[", "{", 1), 0);
}

TEST(Clock, FollowsTheSystemUnlessSet) {
  Host::SetClock(1000, 5);
  EXPECT_EQ(OsUtils::GetTime(), 1000u);
  EXPECT_EQ(OsUtils::GetTime(), 1005u);
  Host::UseSystemClock();
  const uint64_t year2020 = 1577836800ull * 1000000000ull;
  const uint64_t first = OsUtils::GetTime();
  EXPECT_GT(first, year2020);
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  EXPECT_GE(OsUtils::GetTime() - first, 2000000u);
}

TEST(Mutex, KeepsThreadsApartUnlessItFailsOnDemand) {
  Host::FailMutexCreation(true);
  EXPECT_EQ(Orvo::Mutex::Create("test"), nullptr);
  Host::FailMutexCreation(false);
  Orvo::Mutex* mutex = Orvo::Mutex::Create("test");
  ASSERT_NE(mutex, nullptr);
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < 20000; ++i) {
      mutex->Lock();
      ++counter;
      mutex->Unlock();
    }
  };
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(counter, 40000);
}

TEST(Memory, IsZeroFilledAndCounted) {
  const Host::AllocationCounters before = Host::Allocations();
  auto* bytes = static_cast<unsigned char*>(OrvoCalloc(1000));
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(bytes) % alignof(std::max_align_t), 0u);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(bytes[i], 0);
  void* empty = OrvoCalloc(0);
  EXPECT_NE(empty, nullptr);
  EXPECT_EQ(Host::Allocations().live, before.live + 2);

  OrvoFree(bytes);
  OrvoFree(empty);
  OrvoFree(nullptr);
  const Host::AllocationCounters after = Host::Allocations();
  EXPECT_EQ(after.allocations, before.allocations + 2);
  EXPECT_EQ(after.releases, before.releases + 2);
  EXPECT_EQ(after.live, before.live);
}

// Which of five allocations succeed, as a string of '1' and '0'.
std::string FiveAllocations() {
  std::string outcome;
  for (int i = 0; i < 5; ++i) {
    void* memory = OrvoCalloc(16);
    outcome += memory != nullptr ? '1' : '0';
    OrvoFree(memory);
  }
  return outcome;
}

TEST(Memory, FailsOnDemand) {
  const uint64_t failures = Host::Allocations().failures;
  Host::FailAllocation(0);
  EXPECT_EQ(FiveAllocations(), "01111");
  Host::FailAllocation(2);
  EXPECT_EQ(FiveAllocations(), "11011");
  Host::FailAllocation(2, true);
  EXPECT_EQ(FiveAllocations(), "11000");
  EXPECT_EQ(FiveAllocations(), "00000");
  Host::NeverFailAllocation();
  EXPECT_EQ(FiveAllocations(), "11111");
  EXPECT_EQ(Host::Allocations().failures, failures + 10);
}

}  // namespace
