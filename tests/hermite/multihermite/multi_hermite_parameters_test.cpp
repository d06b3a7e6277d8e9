#include "hermite/multihermite/multi_hermite_parameters.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(MultiHermiteParameters, LaysTheSitesOutOneAfterTheOther) {
  const Vector two = {0, 0, 0, 1, 2, 3};
  const struct {
    QXMultiHermiteParameters params;
    unsigned int numSites, numBasis, largest;
    UInts starts;
  } cases[] = {
      {QXMultiHermiteParameters(2, 0.8, two), 2, 20, 2, {0, 10}},
      {QXMultiHermiteParameters(2, Vector{0.8, 0.9}, two), 2, 20, 2, {0, 10}},
      {QXMultiHermiteParameters(UInts{1, 3}, 0.8, two), 2, 24, 3, {0, 4}},
      {QXMultiHermiteParameters(UInts{3, 0}, Vector{0.8, 0.9}, two), 2, 21, 3, {0, 20}},
      {QXMultiHermiteParameters(2, 0.8, Vector{}), 0, 0, 2, {}},
      {QXMultiHermiteParameters(UInts{}, 0.8, two), 2, 0, 0, {}},
      {QXMultiHermiteParameters(), 0, 0, 0, {}},
      // Degrees are counted as they are given, whatever the number of sites.
      {QXMultiHermiteParameters(UInts{1, 1, 2}, 0.8, two), 2, 18, 2, {0, 4, 8}},
  };
  for (const auto& c : cases) {
    const QXMultiHermiteParameters& p = c.params;
    EXPECT_EQ((UInts{p.NumSites(), p.NumBasis(), p.SizeOfMultiBasis(), p.GetLargestNPolyMax(),
                     p.LargestNPolyMax()}),
              (UInts{c.numSites, c.numBasis, c.numBasis, c.largest, c.largest}));
    EXPECT_EQ(p.StartIndices(), c.starts);
    for (unsigned int index = 0; index < 30; ++index) {
      const auto behind = std::find_if(c.starts.begin(), c.starts.end(),
                                       [&](unsigned int start) { return start > index; });
      EXPECT_EQ(p.GetSite(index), static_cast<unsigned int>(behind - c.starts.begin()) - 1);
    }
    for (unsigned int site = 0; site < c.starts.size(); ++site) {
      unsigned int index = c.starts[site];
      ForShellOrder(p.GetNPolyMax(site), [&](unsigned int l, unsigned int m, unsigned int n) {
        EXPECT_EQ(p.GetLmn(site, index++), (std::array<unsigned int, 3>{l, m, n}));
      });
    }
  }
}

TEST(MultiHermiteParameters, KeepsOneEntryForAllSites) {
  const Vector two = {0, 0, 0, 1, 2, 3};
  const QXMultiHermiteParameters common(2, 0.8, two), own(UInts{1, 3}, Vector{0.8, 0.9}, two);
  EXPECT_EQ(common.GetNPolyMaxValues(), UInts{2});
  EXPECT_EQ(common.GetLambdaValues(), Vector{0.8});
  EXPECT_EQ((Vector{common.GetLambda(1), own.GetLambda(1)}), (Vector{0.8, 0.9}));
  EXPECT_EQ((UInts{common.GetNPolyMax(1), own.GetNPolyMax(1)}), (UInts{2, 3}));
}

TEST(MultiHermiteParameters, MovesTheSitesAboutTheOrigin) {
  QXMultiHermiteParameters p(0, 1.0, {1, 0, 0, 4, 5, 6});
  EXPECT_TRUE(p.RotateSites({0, -1, 0, 1, 0, 0, 0, 0, 1}));
  EXPECT_EQ(p.GetCenterValues(), (Vector{0, 1, 0, -5, 4, 6}));
  EXPECT_TRUE(p.TranslateSites({1, 2, 3}));
  EXPECT_EQ(p.GetCenter(1), (Vector{-4, 6, 9}));
}

}  // namespace
}  // namespace QXHermiteMath
