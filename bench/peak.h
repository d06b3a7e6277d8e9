#pragma once

#include <benchmark/benchmark.h>

#include "host/core/simd.h"

// What one core of this machine can do at best, and the share of it that a benchmark reaches.
// Machines are shared and their load changes, so the best is measured beside every benchmark, in
// a few milliseconds of the thread's own time.

namespace QXBench {

using QXCore::QXSimdLevel;

enum class Precision { Double, Float };

/// Multiply-adds a second, in full registers of a level that the machine has: as many independent
/// ones as hide the latency. At the baseline each is a multiplication and an addition.
double MultiplyAddPeak(QXSimdLevel level, Precision precision = Precision::Double);

enum class Memory { SecondCache, Main };

/// Bytes a second that are read from 256 KiB again and again, or from 256 MiB in one go.
double ReadBandwidth(Memory memory);

/// Counters of a benchmark that does so many multiply-adds in an iteration: their rate `FMA`, and
/// `peak_%`, how much that is of the peak of the level, both over the thread's own time. To be
/// called behind the loop. The console writes "/s" behind the share as well: it is a rate of it.
void ReportMultiplyAdds(benchmark::State& state, double perIteration,
                        QXSimdLevel level = QXCore::QXGetSimdLevel(),
                        Precision precision = Precision::Double);

/// Counters of a benchmark that reads and writes so many bytes in an iteration: their rate `bytes`,
/// and `memory_%`, how much that is of what the core can read.
void ReportBytes(benchmark::State& state, double perIteration, Memory memory = Memory::Main);

}  // namespace QXBench
