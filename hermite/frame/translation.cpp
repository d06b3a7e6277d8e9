#include "hermite/frame/translation.h"

#include "hermite/frame/translation_kernel.h"

namespace QXHermiteMath {

// What the options of both sides say, read once a call: r = lambda_src/lambda_tgt and
// s = -lambda_src t of each axis.
struct QXHermiteTranslation::Bases {
  Bases(double const* t, QXHermiteOptions const& source, QXHermiteOptions const& target)
      : N1(source.GetNPolyMax()), N2(target.GetNPolyMax()) {
    const double from[3] = {source.GetLambdaX(), source.GetLambdaY(), source.GetLambdaZ()};
    const double to[3] = {target.GetLambdaX(), target.GetLambdaY(), target.GetLambdaZ()};
    for (int a = 0; a < 3; ++a) {
      r[a] = from[a] / to[a];
      s[a] = -from[a] * t[a];
    }
  }
  unsigned int N1, N2;
  double r[3], s[3];
};

QXHermiteTranslation::QXHermiteTranslation(unsigned int N) {
  // Row 1 of T is always written, so the matrices are those of degree 1 at least.
  const unsigned int a = N >= 2 ? N : 1;
  // One index runs to N, the other two sum up to N at most.
  const size_t packed = static_cast<size_t>(N + 1) * ((N + 2) * (N + 1) / 2);
  translationMatrix.resize(HermiteTranslationMatrixSize(a, a));
  translationMatrixDerivative.resize(HermiteTranslationMatrixDerivativeSize(a, a));
  for (std::vector<double>* stage :
       {&stageY, &stageZ, &stageYDerivativeY, &stageZDerivativeZ, &stageYDerivativeZ})
    stage->resize(packed);
  columns.resize(translationMatrixDerivative.size());
  work.resize(a + 1);
  swapped.resize(static_cast<size_t>(a + 2) * (2 * a + 3));
}

bool QXHermiteTranslation::BuildTranslationMatrix(double r, double s, unsigned int N1,
                                                  unsigned int N2) {
  kernel::BuildTranslationMatrix(r, s, N1, N2, translationMatrix.data());
  if (r > 1.0)
    kernel::BuildTranslationMatrixSwapped(r, s, N1, N2, translationMatrix.data(), swapped.data());
  return true;
}

bool QXHermiteTranslation::BuildTranslationMatrixDerivative(unsigned int N1, unsigned int N2) {
  kernel::BuildTranslationMatrixDerivative(N1, N2, translationMatrix.data(),
                                           translationMatrixDerivative.data());
  return true;
}

bool QXHermiteTranslation::Translate(double const* t, QXHermiteOptions const& source,
                                     QXHermiteOptions const& target, std::vector<double> const& in,
                                     std::vector<double>& out, QXHermiteIndex const&,
                                     bool leaveUnscaled) {
  const Bases b(t, source, target);
  const unsigned int W = b.N1 + b.N2 + 2;
  const double* T = translationMatrix.data();

  BuildTranslationMatrix(b.r[2], b.s[2], b.N1, b.N2);
  kernel::Transpose(b.N1, b.N2, W, T, columns.data());
  kernel::TranslateZ(b.N1, b.N2, columns.data(), in.data(), stageZ.data(), work.data());

  BuildTranslationMatrix(b.r[1], b.s[1], b.N1, b.N2);
  kernel::TranslateY(b.N1, b.N2, W, T, stageZ.data(), stageY.data());

  BuildTranslationMatrix(b.r[0], b.s[0], b.N1, b.N2);
  kernel::TranslateX(b.N1, b.N2, W, T, stageY.data(), out.data(), work.data());
  if (!leaveUnscaled) ScaleCoeffsByK(b.N2, out);
  return true;
}

bool QXHermiteTranslation::TranslateWithDerivatives(double const* t, QXHermiteOptions const& source,
                                                    QXHermiteOptions const& target,
                                                    std::vector<double> const& in,
                                                    std::vector<double>& out,
                                                    QXHermiteIndex const&) {
  const Bases b(t, source, target);
  const unsigned int W = b.N1 + b.N2 + 2;
  const unsigned int dW = b.N1 + 1;
  const size_t basisSize = QXHermiteBasisSize(b.N2);
  const double* T = translationMatrix.data();
  const double* dT = translationMatrixDerivative.data();
  const auto build = [&](int axis) {
    BuildTranslationMatrix(b.r[axis], b.s[axis], b.N1, b.N2);
    BuildTranslationMatrixDerivative(b.N1, b.N2);
  };

  build(2);
  kernel::Transpose(b.N1, b.N2, W, T, columns.data());
  kernel::TranslateZ(b.N1, b.N2, columns.data(), in.data(), stageZ.data(), work.data());
  kernel::Transpose(b.N1, b.N2, dW, dT, columns.data());
  kernel::TranslateZ(b.N1, b.N2, columns.data(), in.data(), stageZDerivativeZ.data(), work.data());

  build(1);
  kernel::TranslateY(b.N1, b.N2, W, T, stageZ.data(), stageY.data());
  kernel::TranslateY(b.N1, b.N2, dW, dT, stageZ.data(), stageYDerivativeY.data());
  kernel::TranslateY(b.N1, b.N2, W, T, stageZDerivativeZ.data(), stageYDerivativeZ.data());

  build(0);
  const auto project = [&](unsigned int rowLength, const double* matrix,
                           const std::vector<double>& Y, size_t block) {
    kernel::TranslateX(b.N1, b.N2, rowLength, matrix, Y.data(), out.data() + block * basisSize,
                       work.data());
  };
  project(W, T, stageY, 0);
  project(dW, dT, stageY, 1);
  project(W, T, stageYDerivativeY, 2);
  project(W, T, stageYDerivativeZ, 3);
  return true;
}

}  // namespace QXHermiteMath
