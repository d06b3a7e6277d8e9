#include "host/numerics/erf_kernel.h"

#include "host/numerics/exp_kernel.h"
#include "support/grids.h"

namespace QXNumerics {
namespace {

using namespace QXTest;

struct ErfKernel {
  double* values;
  size_t size;  // a multiple of the lanes of any level
  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    using Doubles = typename QXCore::QXPack<double, Lanes / 2>::Type;
    for (size_t i = 0; i < size; i += Lanes / 2) {
      const Doubles x = reinterpret_cast<Doubles&>(values[i]);
      Doubles exponential = -x * x;
      QXExp(exponential, exponential);
      QXErf(x, exponential, reinterpret_cast<Doubles&>(values[i]));
    }
  }
};

Vector Erf(Vector x, QXCore::QXSimdLevel level) {
  const size_t size = x.size();
  x.resize((size + 7) / 8 * 8);
  QXCore::QXRunKernel(level, ErfKernel{x.data(), x.size()});
  x.resize(size);
  return x;
}

TEST(ErfKernel, AgreesWithTheStandardLibraryOverTheWholeRange) {
  Vector x;
  for (double at = -6.5; at <= 6.5; at += 1.0 / 8192) x.push_back(at);
  for (double at = 1; at > 1e-300; at *= 0.37) x.insert(x.end(), {at, -at});
  for (double at : {0.75, 6.0})
    for (double side : {-kEpsilon, kEpsilon}) x.insert(x.end(), {at + side, -at - side});
  Vector expected;
  for (double at : x)
    expected.push_back(static_cast<double>(std::erf(static_cast<long double>(at))));
  for (QXCore::QXSimdLevel level : SimdLevels()) {
    Vector ratios = Erf(x, level);
    for (size_t i = 0; i < x.size(); ++i) ratios[i] = x[i] == 0 ? 1 : ratios[i] / expected[i];
    EXPECT_TRUE(AllNear(ratios, Vector(x.size(), 1.0), 2.5 * kEpsilon)) << static_cast<int>(level);
  }
}

TEST(ErfKernel, IsOneFarAwayAndKeepsZerosAndNaN) {
  const Vector x = {0.0, -0.0, 30.0, -1e200, HUGE_VAL, -HUGE_VAL};
  for (QXCore::QXSimdLevel level : SimdLevels()) {
    EXPECT_EQ(Erf(x, level), (Vector{0, 0, 1, -1, 1, -1}));
    EXPECT_TRUE(std::signbit(Erf(x, level)[1]));
    EXPECT_TRUE(std::isnan(Erf({std::nan("")}, level)[0]));
  }
}

}  // namespace
}  // namespace QXNumerics
