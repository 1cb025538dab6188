// Threads that get and release modules while another one reloads and updates.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>

#include "tuning_fixture.h"

namespace test {
namespace {

// How long the threads run: enough for some hundred exchanges. PDLIB_THREAD_SECONDS sets another
// time, for runs by hand.
std::chrono::milliseconds Duration() {
  const char* seconds = std::getenv("PDLIB_THREAD_SECONDS");
  return std::chrono::milliseconds(seconds == nullptr ? 1500
                                                      : 1000 * std::strtol(seconds, nullptr, 10));
}

// Every record of a file holds the file's own number in two fields.
Bytes NumberedFile(int32_t number) {
  TuningFile file;
  file.modes = {{0, 0, 0, 0}};
  for (uint32_t i = 0; i < 8; ++i) {
    if (i != 0) file.modes.push_back({i, 5, static_cast<uint16_t>(i), 0});
    PdSource source(1);
    source.record().enableFocusMaps = source.record().enablePeripheralWindows = number;
    AddPd(file, source, i);
  }
  return file.build();
}

class Threads : public Tuning {
 protected:
  // Gets records over and over, and looks whether they are whole.
  void read(uint32_t seed) {
    char text[256];
    while (!stop_) {
      const TuningMode branch[] = {{0, 0}, {5, static_cast<uint16_t>(seed++ % 8)}};
      tessarinePDLibType* record = manager->GetModule_tessarinePDLib(branch, 2, nullptr);
      ASSERT_NE(record, nullptr);
      ASSERT_EQ(record->enableFocusMaps, record->enablePeripheralWindows);
      ASSERT_GT(record->extensionParamCount, 0u);
      ASSERT_NE(record->extensionParam[0].Name, nullptr);
      if (seed % 16 == 0) {
        manager->GetValue(branch, 2, "tessarinePDLib.skipControl", nullptr, text, sizeof(text));
        manager->GetActiveModes(text, sizeof(text));
      }
      record->Release();
      ++looks_;
    }
  }
  void run(const std::function<void(int32_t)>& exchange) {
    std::vector<std::jthread> readers;
    for (const uint32_t seed : {1u, 4u}) readers.emplace_back([this, seed] { read(seed); });
    const auto end = std::chrono::steady_clock::now() + Duration();
    int32_t number = 2;
    while (std::chrono::steady_clock::now() < end) exchange(number++);
    stop_ = true;
    readers.clear();
    EXPECT_GT(number, 10);
    EXPECT_GT(looks_, 10);
    EXPECT_GT(get({{0, 0}})->enableFocusMaps, 2);
  }

  std::atomic<bool> stop_ = false;
  std::atomic<int> looks_ = 0;
};

// The readers find the changed file as often as the third thread does.
TEST_F(Threads, ReloadsUnderClients) {
  ASSERT_TRUE(load(NumberedFile(1), true));
  run([this](int32_t number) {
    WriteFile(path(), NumberedFile(number));
    if (number % 3 != 0) {
      EXPECT_TRUE(manager->ReloadBinaryParameters(false));
    }
    if (number % 50 == 0) Orvo::Host::StartLogCapture();
  });
}

TEST_F(Threads, UpdatesUnderClients) {
  ASSERT_TRUE(load(NumberedFile(1), true));
  run([this](int32_t number) {
    const Bytes bytes = NumberedFile(number);
    EXPECT_TRUE(manager->UpdateBinaryParameters(bytes.data(), bytes.size()));
    EXPECT_TRUE(manager->SetValue("0.0", "tessarinePDLib", "skipControl.maxFrameRate", "30"));
  });
}

TEST(ParameterMutexTest, LetsManyReadAndOneWrite) {
  ParameterMutex mutex;
  std::atomic<int> writers = 0;
  int guarded = 0;
  std::vector<std::jthread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        const bool shared = i % 4 != 0;
        const ParameterLock lock(mutex, shared);
        const ParameterReadLock again(mutex);  // nests in either
        if (shared) {
          ASSERT_EQ(writers, 0);
        } else {
          ASSERT_EQ(++writers, 1);
          ++guarded;
          --writers;
        }
      }
    });
  }
  threads.clear();
  EXPECT_EQ(guarded, 4 * 500);
}

TEST(ParameterMutexTest, TheSoleReaderMayWrite) {
  ParameterMutex mutex;
  mutex.Lock(true);
  mutex.Lock(false);
  std::atomic<bool> other = false;
  std::thread reader([&] {
    const ParameterReadLock lock(mutex);
    other = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(other);  // waits for the writer
  mutex.Unlock(false);
  reader.join();  // but not for the reader that is left
  EXPECT_TRUE(other);
  mutex.Unlock(true);
  const ParameterWriteLock lock(mutex);
}

// A stream of readers that never leave the lock free doesn't keep a writer out for ever.
TEST(ParameterMutexTest, AWriterGetsInBetweenReaders) {
  ParameterMutex mutex;
  std::atomic<bool> stop = false;
  std::vector<std::jthread> readers;
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&] {
      while (!stop) {
        const ParameterReadLock lock(mutex);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
      }
    });
  }
  for (int i = 0; i < 20; ++i) const ParameterWriteLock lock(mutex);
  stop = true;
}

}  // namespace
}  // namespace test
