// Tuning data: checksum, loading, looking up.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>

#include "bench.h"
#include "parametercrc.h"
#include "support/pd_tuning.h"
#include "tuningsetmanager.h"

namespace pdlib_bench {
namespace {

constexpr uint32_t kModes = 200;
constexpr size_t kRawBytes = 600;  // of a module without a record

// The modes of a complete file, all of them below the root.
TuningMode ModeOf(uint32_t id) {
  return {2 + id % 5, static_cast<uint16_t>(id)};
}

// A complete file: every module in every mode.
test::Bytes CompleteFile() {
  test::TuningFile file;
  file.modes = {{0, 0, 0, 0}};
  for (uint32_t i = 1; i < kModes; ++i)
    file.modes.push_back({i, static_cast<uint16_t>(ModeOf(i).mode), ModeOf(i).subMode, 0});
  const test::PdSource pd(1);
  const test::Bytes raw(kRawBytes, 1);
  for (uint32_t mode = 0; mode < kModes; ++mode) {
    const auto addRaw = [&](const char* name) {
      char type[ModuleData::kMaxType + 1];
      ModuleData::GetType(type, name);
      file.modules.push_back({type, {1, 0, 0}, mode, raw});
    };
#define ADD_RAW(name) addRaw(#name);
#define ADD_TYPED(name, root) test::AddPd(file, pd, mode);
    TUNING_SET_MODULES(ADD_RAW, ADD_TYPED)
  }
  return file.build();
}

// A chain of six modes among `count` children of the root.
test::Bytes ChainFile(uint32_t count) {
  test::TuningFile file;
  file.modes = {{0, 0, 0, 0}};
  for (uint32_t i = 1; i < count; ++i) {
    const bool chain = i < 6;
    const auto mode = static_cast<uint16_t>(chain ? 1 + i : 7 + i / 60000);
    file.modes.push_back({i, mode, static_cast<uint16_t>(i), chain ? i - 1 : 0});
  }
  const test::PdSource pd(1);
  for (const uint32_t mode : {0u, 3u, 5u}) test::AddPd(file, pd, mode);
  return file.build();
}

void RegisterChecksum() {
  auto data = std::make_shared<std::vector<uint8_t>>(1 << 20);
  for (size_t i = 0; i < data->size(); ++i) (*data)[i] = static_cast<uint8_t>(i * 31 >> 3);
  for (auto form = parametercrc::AvailableForms(); *form != nullptr; ++form) {
    const parametercrc::Form& f = **form;
    const bool definition = form == parametercrc::AvailableForms();
    const std::string name = std::string("crc32/") + (definition ? "scalar" : f.name);
    benchmark::RegisterBenchmark((name + "/bytes:1048576").c_str(), [=](benchmark::State& state) {
      for (auto unused : state) benchmark::DoNotOptimize(f.update(~0u, data->data(), data->size()));
      state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(data->size()));
    });
  }
}

// A file that goes away at the end.
struct File {
  File() { test::WriteFile(path, CompleteFile()); }
  ~File() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
  }
  const std::string path = (std::filesystem::temp_directory_path() /
                            ("pdlib-bench-" + std::to_string(getpid()) + ".bin"))
                               .string();
};

void RegisterLoading() {
  benchmark::RegisterBenchmark("tuning_load/read_and_checksum", [](benchmark::State& state) {
    const File file;
    for (auto unused : state) {
      ParameterBinaryFile reader(file.path.c_str(), nullptr, false);
      uint8_t* bytes = reader.Read(0, reader.GetLength());
      benchmark::DoNotOptimize(
          ParameterBinaryFile::ValidateCRC(bytes, reader.GetLength(), nullptr));
      OrvoFree(bytes);
    }
  })->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("tuning_load/buffer", [](benchmark::State& state) {
    const test::Bytes bytes = CompleteFile();
    for (auto unused : state) {
      state.PauseTiming();
      auto manager = std::make_unique<TuningSetManager>();
      state.ResumeTiming();
      if (!manager->LoadBinaryParameters(bytes.data(), bytes.size()))
        state.SkipWithError("the file doesn't load");
      state.PauseTiming();
      manager.reset();
      state.ResumeTiming();
    }
  })->Unit(benchmark::kMillisecond);
}

void AskForModes(TuningSetManager& manager, uint32_t count) {
  for (uint32_t id = 1; id <= count; ++id) {
    const TuningMode branch[] = {{0, 0}, ModeOf(id)};
    manager.GetModule_tessarinePDLib(branch, 2, nullptr)->Release();
  }
}

// Bytes that the process has from the heap.
double HeapBytes() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

// What stays in memory once so many modes have been asked for in turn; a bound of 0 is none. The
// root, which is always there, isn't counted.
void MeasureResidentModes(benchmark::State& state, uint32_t bound, uint32_t asked) {
  const File file;
  TuningSetManager manager;
  manager.SetMaximumModes(bound);
  if (!manager.LoadBinaryParameters(file.path.c_str())) {
    state.SkipWithError("the file doesn't load");
    return;
  }
  const double before = HeapBytes();
  for (auto unused : state) AskForModes(manager, asked);
  uint32_t resident = 0;
  for (uint32_t id = 1; id < kModes; ++id) resident += manager.GetModeEntry(id)->IsLoaded() ? 1 : 0;
  state.counters["modes"] = resident;
  state.counters["bytes"] = HeapBytes() - before;
}

void RegisterFileMode() {
  for (const uint32_t asked : {20u, 50u, 100u}) {
    for (const uint32_t bound : {17u, 0u}) {
      const std::string name = "tuning_file_mode/" +
                               (bound == 0 ? "unbounded" : "bound_" + std::to_string(bound)) +
                               "/asked:" + std::to_string(asked);
      benchmark::RegisterBenchmark(
          name.c_str(), [=](benchmark::State& state) { MeasureResidentModes(state, bound, asked); })
          ->Unit(benchmark::kMillisecond)
          ->Iterations(1);
    }
  }
}

void RegisterLookUp() {
  benchmark::RegisterBenchmark("get_module/one_hash_look_up", [](benchmark::State& state) {
    static constexpr const char* kNames[] = {
#define NAME(name) #name,
#define TYPED_NAME(name, root) #name,
        TUNING_SET_MODULES(NAME, TYPED_NAME)};
    ParameterMap<ParameterName, int> map;
    for (const char* name : kNames) map.Insert(name, 1);
    const char* name = "tessarinePDLib";
    for (auto unused : state) {
      benchmark::DoNotOptimize(name);
      benchmark::DoNotOptimize(map.Find(name));
    }
  });
  for (const uint32_t count : {10u, 100u, 1000u, 10000u}) {
    const std::string name = "get_module/modes:" + std::to_string(count);
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
      const test::Bytes bytes = ChainFile(count);
      TuningSetManager manager;
      manager.LoadBinaryParameters(bytes.data(), bytes.size());
      const TuningMode branch[] = {{0, 0}, {2, 1}, {3, 2}, {4, 3}, {5, 4}, {6, 5}};
      for (auto unused : state)
        benchmark::DoNotOptimize(manager.GetModule_tessarinePDLib(branch, 6, nullptr));
    });
  }
}

}  // namespace

void RegisterTuning() {
  RegisterChecksum();
  RegisterLoading();
  RegisterFileMode();
  RegisterLookUp();
}

void PrintTuningRatios(const std::map<std::string, double>& times) {
  const auto print = [&](const std::string& name, const std::string& base) {
    const auto time = times.find(name);
    const auto baseTime = times.find(base);
    if (time == times.end() || baseTime == times.end()) return;
    std::printf("%-62s %12.1f %8.2f times %s\n", name.c_str(), time->second,
                time->second / baseTime->second, base.c_str());
  };
  print("tuning_load/buffer", "tuning_load/read_and_checksum");
  for (const char* modes : {"10", "100", "1000", "10000"})
    print(std::string("get_module/modes:") + modes, "get_module/one_hash_look_up");
}

}  // namespace pdlib_bench
