#include "host/numerics/exp_kernel.h"

#include "support/grids.h"

namespace QXNumerics {
namespace {

using namespace QXTest;

enum Function { kExp, kExp2 };

struct ExpKernel {
  Function function;
  double* values;
  size_t size;  // a multiple of the lanes of any level
  template <int Lanes>
  [[gnu::always_inline]] void operator()() const {
    using Doubles = typename QXCore::QXPack<double, Lanes / 2>::Type;
    for (size_t i = 0; i < size; i += Lanes / 2) {
      Doubles pack = reinterpret_cast<Doubles&>(values[i]);
      function == kExp ? QXExp(pack, pack) : QXExp2OfNegative(pack, pack);
      reinterpret_cast<Doubles&>(values[i]) = pack;
    }
  }
};

Vector Computed(Function function, Vector x, QXCore::QXSimdLevel level) {
  const size_t size = x.size();
  x.resize((size + 7) / 8 * 8);
  QXCore::QXRunKernel(level, ExpKernel{function, x.data(), x.size()});
  x.resize(size);
  return x;
}

TEST(ExpKernel, AgreesWithTheStandardLibraryOverTheWholeRange) {
  Vector x;
  for (double at = -708; at <= 709; at += 0.00977) x.push_back(at);
  for (double at = 1; at > 1e-300; at *= 0.37) x.insert(x.end(), {at, -at});
  // Where n changes, and r is largest.
  for (int n = -1021; n <= 1022; ++n)
    for (double side : {-1e-13, 0.0, 1e-13}) x.push_back((n + 0.5) * std::log(2.0) * (1 + side));
  x.insert(x.end(), {-708.0, 709.0});

  Vector negative;  // as far as x goes in powers of 2, below 0
  for (double at : x)
    if (at <= 0) negative.push_back(at / 708 * 1020);

  // 2.9e-16 of the polynomial, and the rounding of its last three sums.
  const double bound = 7e-16;
  for (QXCore::QXSimdLevel level : SimdLevels()) {
    Vector exps = Computed(kExp, x, level), powers = Computed(kExp2, negative, level);
    for (size_t i = 0; i < x.size(); ++i) exps[i] /= std::exp(x[i]);
    for (size_t i = 0; i < negative.size(); ++i) powers[i] /= std::exp2(negative[i]);
    EXPECT_TRUE(AllNear(exps, Vector(x.size(), 1.0), bound)) << static_cast<int>(level);
    EXPECT_TRUE(AllNear(powers, Vector(negative.size(), 1.0), bound)) << static_cast<int>(level);
  }
}

TEST(ExpKernel, HasItsLimitsBeyondAndKeepsNaN) {
  const double infinity = HUGE_VAL;
  const Vector x = {0.0, -0.0, -708.001, -1e9, -infinity, 709.001, 1e300, infinity};
  for (QXCore::QXSimdLevel level : SimdLevels()) {
    EXPECT_EQ(Computed(kExp, x, level), (Vector{1, 1, 0, 0, 0, infinity, infinity, infinity}));
    EXPECT_EQ(Computed(kExp2, {0.0, -1020.001, -1e300, -infinity}, level), (Vector{1, 0, 0, 0}));
    for (Function function : {kExp, kExp2})
      EXPECT_TRUE(std::isnan(Computed(function, {std::nan("")}, level)[0]));
  }
}

}  // namespace
}  // namespace QXNumerics
