#pragma once

// What the tests of the library share.

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <memory>

#include "hermite/hermite.h"
#include "hermite/internal.h"
#include "support/density.h"
#include "support/messages.h"

namespace QXTest {

using Eigen::Vector3d;
using Matrix = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

/// Rx(angles[0]) Ry(angles[1]) Rz(angles[2]), right-handed.
inline Matrix EulerMatrix(const Vector& angles) {
  using Eigen::AngleAxisd;
  return (AngleAxisd(angles[0], Vector3d::UnitX()) * AngleAxisd(angles[1], Vector3d::UnitY()) *
          AngleAxisd(angles[2], Vector3d::UnitZ()))
      .toRotationMatrix();
}

inline QXHermiteMath::QXHermite Expanded(const Gaussians& gaussians,
                                         const QXHermiteOptions& options) {
  QXHermiteMath::QXHermite h;
  EXPECT_TRUE(h.Setup(gaussians, options));
  EXPECT_EQ(h.GetCoefficients().size(), h.NumCoefficients());
  return h;
}

inline QXMolKit::QXTrans Shift(const Vector& by) {
  QXMolKit::QXTrans trans;
  trans.Append(QXMolKit::QXTranslation(by.data()));
  return trans;
}

/// The value of an expansion at a point relative to its centre.
inline double Value(const QXHermiteMath::QXHermite& h, const Vector3d& r) {
  return Evaluate(h.GetCoefficients(), h.GetOptions(), r[0], r[1], r[2]);
}

inline Vector Widths(const QXHermiteMath::QXHermite& h) {
  const QXHermiteOptions& o = h.GetOptions();
  return {o.GetLambdaX(), o.GetLambdaY(), o.GetLambdaZ()};
}

/// A set of options has this name and, in this order, parameters with these options, descriptions,
/// defaults and legal values.
template <class Options>
void ExpectOptions(const char* name, const std::vector<std::array<std::string, 4>>& rows) {
  const Options options;
  EXPECT_EQ(options.GetName(), name);
  ASSERT_EQ(options.NumParameters(), rows.size());
  for (size_t place = 0; place < rows.size(); ++place) {
    const QXCore::QXParameter& parameter = *options.GetParameter(place);
    EXPECT_EQ(parameter.GetOption(), rows[place][0]);
    EXPECT_EQ(parameter.GetBrief(), rows[place][1]);
    EXPECT_EQ(parameter.GetText(), rows[place][2]);
    EXPECT_EQ(parameter.GetLegalText(), rows[place][3]);
  }
  const std::unique_ptr<QXCore::QXOptions> copy(options.CreateCopy());
  EXPECT_NE(dynamic_cast<Options*>(copy.get()), nullptr);
}

/// The four blocks of a vector of values and their three derivatives.
inline std::vector<Vector> Blocks(const Vector& all) {
  std::vector<Vector> blocks;
  const auto size = static_cast<long>(all.size() / 4);
  for (auto at = all.begin(); at != all.end(); at += size) blocks.emplace_back(at, at + size);
  return blocks;
}

/// Both forms of an objective give one value, to `rounding`, and its gradient is that of the value.
inline testing::AssertionResult GradientAgrees(QXMinimizer::QXFunc1& f, const Vector& x,
                                               double rounding) {
  Vector gradient(x.size());
  auto same = AllNear({f(x.data(), gradient.data())}, {f(x.data())}, rounding);
  if (!same) return same << ", the value";
  std::vector<Vector> columns;
  for (double g : gradient) columns.push_back({g});
  return DerivativesAgree(
      columns, [&](const Vector& at) { return Vector{f(at.data())}; }, x);
}

/// The same for the gradients of two forms, to `rounding`, and the Hessian, for three variables.
inline testing::AssertionResult HessianAgrees(QXMinimizer::QXFunc2& f, const Vector& x,
                                              double rounding) {
  const auto gradientAt = [&](const Vector& at) {
    Vector gradient(3);
    f(at.data(), gradient.data());
    return gradient;
  };
  Vector gradient(3), h(6);  // xx, yx, yy, zx, zy, zz
  if (!f(x.data(), h.data(), gradient.data())) return testing::AssertionFailure();
  auto same = AllNear(gradient, gradientAt(x), rounding);
  if (!same) return same << ", the gradient";
  const Vector columns[] = {{h[0], h[1], h[3]}, {h[1], h[2], h[4]}, {h[3], h[4], h[5]}};
  return DerivativesAgree(columns, gradientAt, x);
}

}  // namespace QXTest

namespace QXHermiteMath {
using namespace QXTest;
}
