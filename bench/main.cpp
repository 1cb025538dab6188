// Runs the benchmarks, then prints how much faster each form is than the scalar one of this run.
#include <cstdio>
#include <utility>

#include "bench.h"
#include "kernels/kernel_table.h"

namespace pdlib_bench {

void RegisterForms(const std::string& subject, const std::string& sizes, int64_t items,
                   std::function<void()> run) {
  for (auto form = pdlib::AvailableKernels(); *form != nullptr; ++form) {
    const char* formName = (*form)->name;
    const std::string name = subject + "/" + formName + (sizes.empty() ? "" : "/" + sizes);
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
      pdlib::SelectKernels(formName);
      for (auto unused : state) {
        run();
        benchmark::ClobberMemory();
      }
      state.SetItemsProcessed(state.iterations() * items);
      pdlib::SelectKernels("best");
    });
  }
}

std::vector<uint16_t> RandomSamples(size_t count, int bits) {
  std::vector<uint16_t> samples(count);
  uint64_t state = 1;
  for (uint16_t& sample : samples) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    sample = static_cast<uint16_t>(state >> (64 - bits));
  }
  return samples;
}

namespace {

// The console's lines, and from them the ratios.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      // The median where there are repetitions, else the only run.
      if (run.error_occurred || (run.repetitions > 1 && run.aggregate_name != "median")) continue;
      Record(run);
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-62s %12s %8s\n", "form against scalar, in this run", "ns", "ratio");
    for (const auto& [subject, forms] : times_) PrintRatios(subject, forms);
    PrintFlowStages(timesByName_);
    PrintTuningRatios(timesByName_);
    PrintLinkRatios(timesByName_);
  }

 private:
  using Times = std::vector<std::pair<std::string, double>>;  // by form, in the order of the run

  void Record(const Run& run) {
    const std::string name = run.run_name.function_name;
    const size_t formAt = name.find('/') + 1;
    if (formAt == 0) return;
    const size_t formEnd = std::min(name.find('/', formAt), name.size());
    const std::string rest = name.substr(formEnd);
    // The time of the work: of this thread, or by the clock where other threads do it.
    const double time =
        run.run_name.time_type.empty() ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime();
    const double nanoseconds = time / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
    timesByName_[name] = nanoseconds;
    times_[{name.substr(0, formAt - 1), rest}].emplace_back(name.substr(formAt, formEnd - formAt),
                                                            nanoseconds);
  }

  static void PrintRatios(const std::pair<std::string, std::string>& subject, const Times& forms) {
    double scalar = 0;
    for (const auto& [form, time] : forms) {
      if (form == "scalar") scalar = time;
    }
    if (scalar == 0) return;
    for (const auto& [form, time] : forms) {
      const std::string name = subject.first + "/" + form + subject.second;
      std::printf("%-62s %12.1f %8.2f\n", name.c_str(), time, scalar / time);
    }
  }

  std::map<std::pair<std::string, std::string>, Times> times_;
  std::map<std::string, double> timesByName_;
};

}  // namespace
}  // namespace pdlib_bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  pdlib_bench::RegisterSad();
  pdlib_bench::RegisterFilters();
  pdlib_bench::RegisterParsers();
  pdlib_bench::RegisterDenseLines();
  pdlib_bench::RegisterSparseFlow();
  pdlib_bench::RegisterDenseFlow();
  pdlib_bench::RegisterAdaptive();
  pdlib_bench::RegisterTuning();
  pdlib_bench::RegisterLink();
  // What --benchmark_format asks for. Another form than lines for a reader has no room for ratios.
  benchmark::BenchmarkReporter* const wanted = benchmark::CreateDefaultDisplayReporter();
  pdlib_bench::RatioReporter ratios;
  const bool isForReaders = dynamic_cast<benchmark::ConsoleReporter*>(wanted) != nullptr;
  benchmark::RunSpecifiedBenchmarks(isForReaders ? &ratios : wanted);
  benchmark::Shutdown();
}
