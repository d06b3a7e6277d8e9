#include "hermite/overlay/overlap.h"

#include <algorithm>
#include <cmath>

#include "hermite/frame/best_lambda.h"
#include "host/core/throw.h"

namespace QXHermiteMath {

namespace {

// Expands Gaussians for either role. Where widths are to be chosen, the axes share the narrowest
// proposal, which o then holds; its flag stays as it was.
QXHermite ExpandGaussians(std::vector<QXGaussian> const& gaussians, QXHermiteOptions& o) {
  QXHermite h;
  if (!o.GetUseOptimalLambdas()) {
    h.Setup(gaussians, o);
    return h;
  }
  std::vector<QXGaussian> copy = gaussians;
  if (o.GetUseCenterOfMass()) QXCenterGaussians(copy);
  const std::vector<double> lambda = QXApproxHermiteBestLambda(copy, o);
  const double smallest = std::min(std::min(lambda[0], lambda[1]), lambda[2]);
  SetLambdas(o, smallest, smallest, smallest);
  o.SetUseOptimalLambdas(false);
  h.Setup(gaussians, o);
  o.SetUseOptimalLambdas(true);
  return h;
}

bool InOneBasis(QXHermiteOptions const& a, QXHermiteOptions const& b) {
  return a.GetNPolyMax() == b.GetNPolyMax() && a.GetLambdaX() == b.GetLambdaX() &&
         a.GetLambdaY() == b.GetLambdaY() && a.GetLambdaZ() == b.GetLambdaZ();
}

// The sums of value and gradient over the basis: R and T hold four blocks each, the values and
// their derivatives by angles and by s. g is left unscaled.
double DotWithDerivatives(size_t basisSize, double const* R, double const* T, double* g) {
  const double *R1 = R + basisSize, *R2 = R1 + basisSize, *R3 = R2 + basisSize;
  const double *T1 = T + basisSize, *T2 = T1 + basisSize, *T3 = T2 + basisSize;
  double sum = 0.0;
  double g0 = 0.0, g1 = 0.0, g2 = 0.0, g3 = 0.0, g4 = 0.0, g5 = 0.0;
  for (size_t i = 0; i < basisSize; ++i) {
    sum += R[i] * T[i];
    g0 += T[i] * R1[i];
    g1 += T[i] * R2[i];
    g2 += T[i] * R3[i];
    g3 += T1[i] * R[i];
    g4 += T2[i] * R[i];
    g5 += T3[i] * R[i];
  }
  g[0] = g0, g[1] = g1, g[2] = g2, g[3] = g3, g[4] = g4, g[5] = g5;
  return sum;
}

}  // namespace

bool QXHermiteOverlap::SetupRef(std::vector<double> const& coefficients,
                                QXHermiteOptions const& options) {
  const unsigned int N = options.GetNPolyMax();
  refCoefficients = coefficients;
  refSelfOverlap = QXCalcHermiteSelfOverlap(coefficients, options);
  rotatedRef.resize(4 * coefficients.size());
  translatedFit.resize(4 * coefficients.size());
  rotation = QXHermiteRotation(N);
  // A fit that is held may be of a larger degree.
  const unsigned int larger = fitCoefficients.empty() ? N : std::max(N, fitOptions.GetNPolyMax());
  index = QXHermiteIndex(larger);
  translation = QXHermiteTranslation(larger);
  refOptions = options;
  laneHoldsFit = false;
  if (coefficients.size() == QXHermiteBasisSize(N)) {
    lane.SetRef(coefficients.data(), N, options);
    lane.MakeLanes(1);
    LoadLane();
  }
  return true;
}

bool QXHermiteOverlap::SetupRef(QXHermite const& hermite, QXHermiteOptions const& options) {
  SetupRef(hermite.GetCoefficients(), options);
  std::copy_n(hermite.GetCenter().begin(), 3, refCenter.begin());
  return true;
}

bool QXHermiteOverlap::SetupRef(std::vector<QXGaussian> const& gaussians,
                                QXHermiteOptions const& options) {
  QXHermiteOptions o = options;
  const QXHermite h = ExpandGaussians(gaussians, o);
  return SetupRef(h, o);
}

bool QXHermiteOverlap::Setup(std::vector<double> const& coefficients,
                             QXHermiteOptions const& options) {
  const unsigned int N = options.GetNPolyMax();
  if (N > refOptions.GetNPolyMax()) {
    translation = QXHermiteTranslation(N);
    index = QXHermiteIndex(N);
  }
  fitCoefficients = coefficients;
  fitSelfOverlap = QXCalcHermiteSelfOverlap(coefficients, options);
  fitOptions = options;
  LoadLane();
  return true;
}

bool QXHermiteOverlap::Setup(QXHermite const& hermite, QXHermiteOptions const& options) {
  Setup(hermite.GetCoefficients(), options);
  std::copy_n(hermite.GetCenter().begin(), 3, fitCenter.begin());
  return true;
}

bool QXHermiteOverlap::Setup(std::vector<QXGaussian> const& gaussians,
                             QXHermiteOptions const& options) {
  QXHermiteOptions o = options;
  const QXHermite h = ExpandGaussians(gaussians, o);
  return Setup(h, o);
}

// In one basis, motions need no projection, and the lane does the work of the operators.
void QXHermiteOverlap::LoadLane() {
  const size_t size = QXHermiteBasisSize(refOptions.GetNPolyMax());
  laneHoldsFit = InOneBasis(refOptions, fitOptions) && refCoefficients.size() == size &&
                 fitCoefficients.size() == size;
  if (laneHoldsFit) lane.SetFit(0, fitCoefficients.data());
}

bool QXHermiteOverlap::EvaluateInLane(double const* x, double const* t, double& value,
                                      double* gradient) {
  const double s[] = {refOptions.GetLambdaX() * t[0], refOptions.GetLambdaY() * t[1],
                      refOptions.GetLambdaZ() * t[2]};
  for (int k = 0; k < 3; ++k) {
    if (!(std::abs(x[k]) <= OverlapLanes::kLargestAngle)) return false;
    if (!(std::abs(s[k]) <= OverlapLanes::kLargestShift)) return false;
  }
  if (!laneHoldsFit) return false;
  const double variables[6] = {x[0], x[1], x[2], t[0], t[1], t[2]};
  lane.Evaluate(variables, &value, gradient);
  return true;
}

void QXHermiteOverlap::GetShift(double const* x, double* t) const {
  for (size_t k = 0; k < 3; ++k) t[k] = fitCenter[k] + x[3 + k] - refCenter[k];
}

double QXHermiteOverlap::operator()(double const* x) {
  double t[3];
  GetShift(x, t);
  double value;
  if (EvaluateInLane(x, t, value, nullptr)) return value;
  const unsigned int N = refOptions.GetNPolyMax();
  rotation.Rotate(x, N, refCoefficients, rotatedRef, index);
  translation.Translate(t, fitOptions, refOptions, fitCoefficients, translatedFit, index, true);
  double sum = 0.0;
  for (size_t i = 0; i < refCoefficients.size(); ++i) sum += rotatedRef[i] * translatedFit[i];
  return -sum / GetLambdaProduct(refOptions);
}

double QXHermiteOverlap::operator()(double const* x, double* gradient) {
  double t[3];
  GetShift(x, t);
  double value;
  if (EvaluateInLane(x, t, value, gradient)) return value;
  const unsigned int N = refOptions.GetNPolyMax();
  rotation.RotateWithDerivatives(x, N, refCoefficients, rotatedRef, index);
  translation.TranslateWithDerivatives(t, fitOptions, refOptions, fitCoefficients, translatedFit,
                                       index);
  const double sum =
      DotWithDerivatives(refCoefficients.size(), rotatedRef.data(), translatedFit.data(), gradient);
  const double inverse = 1.0 / GetLambdaProduct(refOptions);
  for (int k = 0; k < 3; ++k) gradient[k] *= -inverse;
  // The minus of the objective meets the minus of s = -lambda t.
  gradient[3] *= fitOptions.GetLambdaX() * inverse;
  gradient[4] *= fitOptions.GetLambdaY() * inverse;
  gradient[5] *= fitOptions.GetLambdaZ() * inverse;
  return inverse * (-sum);
}

double QXHermiteOverlap::GetOverlap() {
  const double x[6] = {};
  return -static_cast<double>(static_cast<float>((*this)(x)));
}

const double* QXHermiteOverlap::GetFComponents(double const*) {
  QXCore::QXThrow.Warning("This method has not been implemented yet.");
  return nullptr;
}

}  // namespace QXHermiteMath
