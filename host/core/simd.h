#pragma once

#include <cstddef>

// Kernels compiled for several instruction sets in one binary, chosen at run time.
//
// A kernel is a plain struct of arguments with one source for all levels, a call operator that is a
// template of the number of lanes. It is written on packs, which the compiler keeps in as many
// registers as they need:
//
//     struct ScaleKernel {
//       float* values;
//       size_t size;  // a multiple of the lanes
//       template <int Lanes>
//       [[gnu::always_inline]] void operator()() const {
//         using Floats = typename QXCore::QXPack<float, Lanes>::Type;
//         for (size_t i = 0; i < size; i += Lanes) *(Floats*)(values + i) *= 2.0f;
//       }
//     };
//     QXCore::QXRunKernel(QXCore::QXGetSimdLevel(), ScaleKernel{values, size});
//
// - What the operator calls must be always_inline as well, to be compiled for the level.
// - What is carried from one turn of a loop to the next should fit a register, as `Lanes` floats or
//   half as many doubles do; larger packs are well in between.
// - Packs are not passed or returned by value: how is a matter of the instruction set.
// - From AVX2 on there is a fused multiply-add, which rounds once. A source whose results must be
//   the same at every level is compiled with -ffp-contract=off.

namespace QXCore {

/// An instruction set of x86-64: what every machine has, AVX2 with FMA, AVX-512 (F, DQ, VL).
enum class QXSimdLevel { Baseline, AVX2, AVX512 };

/// The highest level that this machine runs.
QXSimdLevel QXGetSimdLevel();

/// The lanes of the highest level of any machine: rows of this many numbers suit all kernels.
inline constexpr size_t kMostLanes = 16;

/// `Lanes` numbers of type T that are computed with side by side. They need no more alignment than
/// one of them, and may alias an array.
template <typename T, int Lanes>
struct QXPack {
  typedef T Type __attribute__((vector_size(Lanes * sizeof(T)), aligned(alignof(T)), may_alias));
};

/// The same for arguments of templates, which carry no attributes: in memory it needs the alignment
/// of a register.
template <typename T, int Lanes>
struct QXAlignedPack {
  typedef T Type __attribute__((vector_size(Lanes * sizeof(T))));
};

namespace Simd {

template <typename Kernel>
[[gnu::noinline]] void RunBaseline(const Kernel& kernel) {
  kernel.template operator()<4>();
}

template <typename Kernel>
[[gnu::noinline, gnu::target("avx2,fma")]] void RunAVX2(const Kernel& kernel) {
  kernel.template operator()<8>();
}

template <typename Kernel>
[[gnu::noinline, gnu::target("avx2,fma,avx512f,avx512dq,avx512vl")]] void RunAVX512(
    const Kernel& kernel) {
  kernel.template operator()<16>();
}

}  // namespace Simd

/// Runs the kernel with the lanes of a level: as many floats as fill a register, 4, 8 or 16. The
/// machine must have the level.
template <typename Kernel>
void QXRunKernel(QXSimdLevel level, const Kernel& kernel) {
  switch (level) {
    case QXSimdLevel::Baseline:
      return Simd::RunBaseline(kernel);
    case QXSimdLevel::AVX2:
      return Simd::RunAVX2(kernel);
    case QXSimdLevel::AVX512:
      return Simd::RunAVX512(kernel);
  }
}

}  // namespace QXCore
