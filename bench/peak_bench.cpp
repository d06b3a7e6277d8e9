// What the other benchmarks are measured against: the multiply-adds of one core at each level of
// instructions, and the bytes that it reads.

#include "bench/peak.h"

namespace {

using namespace QXBench;

void ReportRate(benchmark::State& state, const char* name, double rate) {
  state.counters[name] = benchmark::Counter(rate, benchmark::Counter::kAvgIterations);
}

void MultiplyAdds(benchmark::State& state) {
  const auto level = static_cast<QXSimdLevel>(state.range(0));
  if (level > QXCore::QXGetSimdLevel()) {
    state.SkipWithError("this machine has no such instructions");
    return;
  }
  double rate = 0.0;
  for (auto _ : state) rate += MultiplyAddPeak(level, static_cast<Precision>(state.range(1)));
  ReportRate(state, "FMA/s", rate);
}
BENCHMARK(MultiplyAdds)
    ->ArgsProduct({{0, 1, 2}, {0, 1}})
    ->ArgNames({"level", "float"})
    ->Unit(benchmark::kMillisecond);

void Reading(benchmark::State& state) {
  double rate = 0.0;
  for (auto _ : state) rate += ReadBandwidth(static_cast<Memory>(state.range(0)));
  ReportRate(state, "bytes/s", rate);
}
BENCHMARK(Reading)->Arg(0)->Arg(1)->ArgName("main")->Unit(benchmark::kMillisecond);

}  // namespace
