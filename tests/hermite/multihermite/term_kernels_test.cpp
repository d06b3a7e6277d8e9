#include "hermite/multihermite/term_kernels.h"

#include <random>

#include "support/grids.h"
#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

// What the values are, see the tests of the expansions.
TEST(TermKernels, HaveTheSameBitsAtEveryLevel) {
  constexpr unsigned int kRow = 32, kDim = 19;
  std::mt19937 random(4);
  std::normal_distribution<double> normal;
  Vector rows(9 * kRow);
  for (double& x : rows) x = normal(random);
  std::vector<HermiteTerm> terms;
  for (size_t i = 0; i < 20; ++i)
    terms.push_back({normal(random), &rows[i % 3 * kRow], &rows[(3 + i % 5 % 3) * kRow],
                     &rows[(6 + i % 7 % 3) * kRow]});
  const auto results = [&](QXSimdLevel level) {
    Vector sums(kRow), columns(terms.size() * kDim);
    SumTerms(terms, kRow, sums.data(), level);
    WriteColumns(terms, kDim, columns.data(), kDim, level);
    QXScalarGrid grid = MakeGrid(kDim, 5, 3, 1.0f);
    AddTerms(terms, grid, level);
    return std::tuple(sums, columns, Values(grid));
  };
  for (QXSimdLevel level : SimdLevels())
    EXPECT_EQ(results(level), results(QXSimdLevel::Baseline)) << static_cast<int>(level);
}

}  // namespace
}  // namespace QXHermiteMath
