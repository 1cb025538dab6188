// What the benchmarks share. Each subject is a source of its own with a function that registers its
// benchmarks; main.cpp calls them all.
//
// Names are "<subject>/<form>[/<size>:<number>...]". Benchmarks that differ in the form alone are
// set against each other in the table of ratios that ends a run: the base is the form "scalar".
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace pdlib_bench {

// Registers a benchmark for each form that this processor has. While one runs, its form's kernel
// table is in force. `run` does the whole work once; `items` is what one such run gets through.
// `sizes` is "" or as "rows:32/width:800".
void RegisterForms(const std::string& subject, const std::string& sizes, int64_t items,
                   std::function<void()> run);

// Samples of `bits` bits, the same in every run.
std::vector<uint16_t> RandomSamples(size_t count, int bits);

void RegisterSad();
void RegisterFilters();
void RegisterParsers();
void RegisterDenseLines();
void RegisterAdaptive();
void RegisterSparseFlow();
void RegisterDenseFlow();
void RegisterTuning();
void RegisterLink();

// A step of a frame by itself. `cost` tells why it may take the most.
struct FlowStage {
  const char* name;
  std::function<void()> run;
  const char* cost;
};

// A flow: a whole frame, whether it went well, and its stages.
struct FlowBench {
  std::string name;
  std::function<bool()> frame;
  std::vector<FlowStage> stages;
};

// Registers the frame and each stage in scalar and in best forms; a frame that allocates fails.
void RegisterFlow(FlowBench flow);

// Work whose time is told against its size. `make` sets the work up.
void RegisterGrowth(const std::string& name, std::vector<int> sizes,
                    std::function<std::function<void()>(int size)> make);

// What each stage takes of a frame, and how times grow, from the times by name in nanoseconds, for
// the flows that were among the benchmarks of the run.
void PrintFlowStages(const std::map<std::string, double>& times);
// Loading against reading, looking up against one hash look-up.
void PrintTuningRatios(const std::map<std::string, double>& times);
// The live link's requests a second against those of a bare server.
void PrintLinkRatios(const std::map<std::string, double>& times);

}  // namespace pdlib_bench
