#include "bench/peak.h"

#include <time.h>

#include <algorithm>
#include <vector>

#include "host/core/large_pages.h"

namespace QXBench {

namespace {

constexpr int kRuns = 3;  ///< of which the best counts

/// Seconds that this thread has run: what other threads take away does not count.
double ThreadSeconds() {
  timespec time;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The best rate of several runs of `work`, which does `amount` of something.
template <class Work>
double BestRate(double amount, Work&& work) {
  double best = 0.0;
  for (int run = 0; run < kRuns; ++run) {
    const double start = ThreadSeconds();
    work();
    best = std::max(best, amount / (ThreadSeconds() - start));
  }
  return best;
}

/// x <- a x + b for packs that do not depend on each other. With the two constants they fill the 16
/// registers of the lower levels, and 14 are more than latency times units of any.
template <class Number>
struct MultiplyAddKernel {
  static constexpr size_t kChains = 14;
  static constexpr size_t kTurns = 50000;

  double* count;  ///< of multiply-adds

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    constexpr int kPack = Lanes * sizeof(float) / sizeof(Number);  // of one register
    using Numbers = typename QXCore::QXPack<Number, kPack>::Type;
    Numbers a = Numbers{} + Number(0.5), b = Numbers{} + Number(0.25), x[kChains];
    for (Numbers& chain : x) {
      chain = b;
      asm volatile("" : "+x"(chain));  // the compiler is not to know that they are the same
    }
    for (size_t turn = 0; turn < kTurns; ++turn) {
#pragma GCC unroll 14
      for (Numbers& chain : x) chain = chain * a + b;
    }
    for (Numbers& chain : x) asm volatile("" : : "x"(chain));
    *count = static_cast<double>(kPack * kChains * kTurns);
  }
};

/// Reads packs in as many independent sums as keep the loads coming.
struct ReadKernel {
  static constexpr size_t kChains = 8;

  const double* values;
  size_t size;  ///< a multiple of kChains packs

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    using Doubles = typename QXCore::QXPack<double, Lanes / 2>::Type;
    const Doubles* packs = reinterpret_cast<const Doubles*>(values);
    Doubles sum[kChains] = {};
    for (size_t i = 0; i < size / (Lanes / 2); i += kChains) {
#pragma GCC unroll 8
      for (size_t k = 0; k < kChains; ++k) sum[k] += packs[i + k];
    }
    for (Doubles& chain : sum) asm volatile("" : : "x"(chain));
  }
};

template <class Number>
double Peak(QXSimdLevel level) {
  double count = 0.0;
  const MultiplyAddKernel<Number> kernel{&count};
  QXCore::QXRunKernel(level, kernel);  // counts, and wakes the units
  return BestRate(count, [&] { QXCore::QXRunKernel(level, kernel); });
}

/// The memory that is read, of `bytes`.
std::vector<double> MakeMemory(size_t bytes) {
  std::vector<double> values;
  values.reserve(bytes / sizeof(double));
  QXCore::QXUseLargePages(values.data(), bytes);
  values.resize(bytes / sizeof(double), 1.0);
  return values;
}

double Bandwidth(std::vector<double> const& values, size_t times) {
  const ReadKernel kernel{values.data(), values.size()};
  const size_t bytes = times * values.size() * sizeof(double);
  return BestRate(static_cast<double>(bytes), [&] {
    for (size_t i = 0; i < times; ++i) QXCore::QXRunKernel(QXCore::QXGetSimdLevel(), kernel);
  });
}

/// The rate of something done so often an iteration, and its share in percent of the best rate.
void Report(benchmark::State& state, const char* name, const char* share, double perIteration,
            double best) {
  using benchmark::Counter;
  state.counters[name] = Counter(perIteration, Counter::kIsIterationInvariantRate);
  state.counters[share] = Counter(100.0 * perIteration / best, Counter::kIsIterationInvariantRate);
}

}  // namespace

double MultiplyAddPeak(QXSimdLevel level, Precision precision) {
  return precision == Precision::Double ? Peak<double>(level) : Peak<float>(level);
}

double ReadBandwidth(Memory memory) {
  constexpr size_t kKiB = 1024;
  if (memory == Memory::SecondCache) return Bandwidth(MakeMemory(256 * kKiB), 200);
  static const std::vector<double> values = MakeMemory(256 * kKiB * kKiB);
  return Bandwidth(values, 1);
}

void ReportMultiplyAdds(benchmark::State& state, double perIteration, QXSimdLevel level,
                        Precision precision) {
  Report(state, "FMA", "peak_%", perIteration, MultiplyAddPeak(level, precision));
}

void ReportBytes(benchmark::State& state, double perIteration, Memory memory) {
  Report(state, "bytes", "memory_%", perIteration, ReadBandwidth(memory));
}

}  // namespace QXBench
