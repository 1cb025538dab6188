// Whole frames of a flow and their stages.
#include <cmath>
#include <cstdio>
#include <utility>

#include "bench.h"
#include "host/orvo_host.h"
#include "kernels/kernel_table.h"

namespace pdlib_bench {
namespace {

constexpr const char* kForms[] = {"scalar", "best"};

std::vector<FlowBench>& Flows() {
  static std::vector<FlowBench> flows;
  return flows;
}

struct Growth {
  std::string name;
  std::vector<int> sizes;
};

std::vector<Growth>& Growths() {
  static std::vector<Growth> growths;
  return growths;
}

std::string SizeName(const std::string& name, int size) {
  return name + ":" + std::to_string(size);
}

// The slope of the line through the logarithms of size and time that fits them best.
double Exponent(const std::vector<std::pair<double, double>>& points) {
  double x = 0;
  double y = 0;
  double xx = 0;
  double xy = 0;
  for (const auto& [size, time] : points) {
    x += std::log(size);
    y += std::log(time);
    xx += std::log(size) * std::log(size);
    xy += std::log(size) * std::log(time);
  }
  const double n = static_cast<double>(points.size());
  return (n * xy - x * y) / (n * xx - x * x);
}

void PrintGrowth(const Growth& growth, const std::map<std::string, double>& times) {
  std::vector<std::pair<double, double>> points;
  for (int size : growth.sizes) {
    const auto found = times.find(SizeName(growth.name, size));
    if (found != times.end()) points.emplace_back(size, found->second);
  }
  if (points.size() < 2) return;
  std::printf("\n%s: time grows with the power of %.2f over", growth.name.c_str(),
              Exponent(points));
  for (const auto& [size, time] : points) std::printf(" %.0f", size);
  std::printf("\n");
}

std::string FrameName(const FlowBench& flow, const char* form) {
  return flow.name + "/" + form;
}

std::string StageName(const FlowBench& flow, const char* form, const FlowStage& stage) {
  return FrameName(flow, form) + "/stage:" + stage.name;
}

void MeasureFrame(benchmark::State& state, const char* form, const FlowBench& flow) {
  pdlib::SelectKernels(form);
  bool healthy = flow.frame();
  const uint64_t allocations = Orvo::Host::Allocations().allocations;
  for (auto unused : state) healthy = flow.frame() && healthy;
  if (!healthy) state.SkipWithError("the flow failed");
  if (Orvo::Host::Allocations().allocations != allocations)
    state.SkipWithError("a frame allocated");
  pdlib::SelectKernels("best");
}

void MeasureStage(benchmark::State& state, const char* form, const FlowStage& stage) {
  pdlib::SelectKernels(form);
  for (auto unused : state) {
    stage.run();
    benchmark::ClobberMemory();
  }
  pdlib::SelectKernels("best");
}

void PrintStages(const FlowBench& flow, const char* form,
                 const std::map<std::string, double>& times) {
  const auto time = [&times](const std::string& name) {
    const auto found = times.find(name);
    return found == times.end() ? 0.0 : found->second;
  };
  const double frame = time(FrameName(flow, form));
  if (frame == 0) return;
  std::printf("\n%s/%s, %.1f us a frame, of which\n", flow.name.c_str(), form, frame / 1000);
  const FlowStage* largest = nullptr;
  double largestPart = 0;
  double rest = frame;
  for (const FlowStage& stage : flow.stages) {
    const double part = time(StageName(flow, form, stage));
    std::printf("  %-8s %10.1f us %6.1f %%\n", stage.name, part / 1000, 100 * part / frame);
    rest -= part;
    if (part <= largestPart) continue;
    largest = &stage;
    largestPart = part;
  }
  std::printf("  %-8s %10.1f us %6.1f %%\n", "rest", rest / 1000, 100 * rest / frame);
  if (largest != nullptr && largestPart / frame > 0.4)
    std::printf("%s takes the most: %s.\n", largest->name, largest->cost);
}

}  // namespace

void RegisterFlow(FlowBench flow) {
  for (const char* form : kForms) {
    benchmark::RegisterBenchmark(FrameName(flow, form).c_str(), MeasureFrame, form, flow);
    for (const FlowStage& stage : flow.stages)
      benchmark::RegisterBenchmark(StageName(flow, form, stage).c_str(), MeasureStage, form, stage);
  }
  Flows().push_back(std::move(flow));
}

void RegisterGrowth(const std::string& name, std::vector<int> sizes,
                    std::function<std::function<void()>(int size)> make) {
  for (int size : sizes) {
    benchmark::RegisterBenchmark(SizeName(name, size).c_str(), [=](benchmark::State& state) {
      const std::function<void()> run = make(size);
      for (auto unused : state) {
        run();
        benchmark::ClobberMemory();
      }
    });
  }
  Growths().push_back({name, std::move(sizes)});
}

void PrintFlowStages(const std::map<std::string, double>& times) {
  for (const FlowBench& flow : Flows()) {
    for (const char* form : kForms) PrintStages(flow, form, times);
  }
  for (const Growth& growth : Growths()) PrintGrowth(growth, times);
}

}  // namespace pdlib_bench
