#include "hermite/overlay/overlap_lanes.h"

#include <algorithm>

#include "hermite/foundations/basis.h"
#include "hermite/overlay/overlap_kernel.h"

namespace QXHermiteMath {

namespace {

using QXCore::QXSimdLevel;

constexpr size_t kMostDoubles = QXCore::kMostLanes / 2;

unsigned int LanesOf(QXSimdLevel level) {
  return level == QXSimdLevel::AVX512 ? 8 : level == QXSimdLevel::AVX2 ? 4 : 2;
}

// One evaluation, of as many doubles side by side as fill a register, or of one.
struct OverlapKernel {
  const CoefficientRows* rows;
  const double *lambda, *weights, *reference;
  double* work;
  const double* x;
  double *values, *gradients;
  bool oneLane;

  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    if (oneLane)
      Evaluate<double>();
    else
      Evaluate<typename QXCore::QXAlignedPack<double, Lanes / 2>::Type>();
  }

 private:
  template <class Scalar>
  [[gnu::always_inline]] void Evaluate() const {
    Scalar* const fit = reinterpret_cast<Scalar*>(work);
    Scalar* const V = fit + rows->Size();
    Scalar* const W = V + rows->Size();
    kernel::EvaluateOverlap<Scalar>(
        {rows, lambda, weights, reference, fit, reinterpret_cast<const Scalar*>(x), V, W,
         reinterpret_cast<Scalar*>(values), reinterpret_cast<Scalar*>(gradients)});
  }
};

}  // namespace

void OverlapLanes::SetRef(const double* coefficients, unsigned int degree,
                          QXHermiteOptions const& options) {
  if (rows.ShellOrder().empty() || degree != rows.Degree()) rows = CoefficientRows(degree);
  lanes = 0;
  lambda[0] = options.GetLambdaX();
  lambda[1] = options.GetLambdaY();
  lambda[2] = options.GetLambdaZ();
  const std::vector<double> K = computeKs(degree);
  weights.assign(rows.Size(), 0.0);
  reference.assign(rows.Size(), 0.0);
  ForEachLmn(degree, [&](unsigned int i, unsigned int l, unsigned int m, unsigned int n) {
    weights[rows.Place(l, m, n)] = K[l] * K[m] * K[n];
    reference[rows.Place(l, m, n)] = coefficients[i];
  });
}

void OverlapLanes::MakeLanes(size_t fits) {
  // Where half of the lanes would idle, the level below has as many.
  const bool few = most == QXSimdLevel::AVX512 && fits <= LanesOf(QXSimdLevel::AVX2);
  level = few && fits > 1 ? QXSimdLevel::AVX2 : most;
  lanes = fits <= 1 ? 1 : LanesOf(level);
  work.assign((3 * rows.Size() * lanes + 7) / 8, CacheLine{});
}

void OverlapLanes::SetFit(unsigned int lane, const double* coefficients) {
  double* const fit = Work() + lane;
  for (unsigned int place : rows.ShellOrder()) fit[place * lanes] = *coefficients++;
}

void OverlapLanes::Evaluate(const double* x, double* values, double* gradients) {
  alignas(64) double alignedX[6 * kMostDoubles], alignedValues[kMostDoubles],
      alignedGradients[6 * kMostDoubles];
  std::copy_n(x, 6 * lanes, alignedX);
  QXCore::QXRunKernel(
      level, OverlapKernel{&rows, lambda, weights.data(), reference.data(), Work(), alignedX,
                           alignedValues, gradients ? alignedGradients : nullptr, lanes == 1});
  std::copy_n(alignedValues, lanes, values);
  if (gradients) std::copy_n(alignedGradients, 6 * lanes, gradients);
}

}  // namespace QXHermiteMath
