#include "hermite/overlay/overlay_results.h"

#include "support/hermite.h"
#include "support/molecules.h"

namespace QXHermiteMath {
namespace {

TEST(PostProcess, ReturnsTheBestPosesFirstMovedByTheTransform) {
  using Poses = std::vector<std::pair<double, QXMol>>;
  const auto atom = [](double x) { return Carbons({x, 0, 0}); };
  Poses poses = {{0.2, atom(2)},
                 {std::nan(""), atom(1)},  // without a score: last
                 {0.9, atom(9)},
                 {0.1, atom(0)},
                 {0.5, atom(5)}};
  poses[2].second.SetTitle("best");
  for (const auto& [score, pose] : poses) pose.GetActive()->SetData("tag", Vector{Coords(pose)[0]});
  const QXTrans trans = Shift({100, 0, 0});
  for (const auto& [nPoses, expected] :
       {std::pair(2u, Vector{109, 105}), {1u, {109}}, {7u, {109, 105, 102, 100, 101}}, {0u, {}}}) {
    Poses list = poses;
    QXMol result = atom(77);
    EXPECT_EQ(PostProcessOverlayData(list, nPoses, trans, result), 0.9);
    EXPECT_EQ(list[1].first, 0.1) << "sorted in place";
    const auto conformers = Conformers(result);
    ASSERT_EQ(conformers.size(), expected.size());
    for (size_t k = 0; k < expected.size(); ++k) {
      EXPECT_EQ(Coords(*conformers[k])[0], expected[k]);
      EXPECT_EQ(conformers[k]->GetData<Vector>("tag")[0], expected[k] - 100);
    }
    EXPECT_EQ(result.NumAtoms(), nPoses == 0 ? 0u : 1u);
    EXPECT_STREQ(result.GetTitle(), nPoses == 0 ? "" : "best");
  }
  Poses none;
  QXMol result = atom(77);
  EXPECT_EQ(PostProcessOverlayData(none, 3, trans, result), 0.0);
  EXPECT_EQ(result.NumAtoms(), 0u);
}

}  // namespace
}  // namespace QXHermiteMath
