// The examples in the comments of the headers, as they stand there, each with what it takes for
// granted. extract.py writes them to files, and tells when one is missing here.

#include <gmock/gmock.h>

#include "hermite/hermite.h"
#include "hermite/overlay/lane_search.h"
#include "hermite/overlay/overlay_search.h"
#include "hermite/overlay/reference_model.h"
#include "host/host.h"
#include "host/minimizer/bfgs_core.h"
#include "support/charges.h"
#include "support/check.h"
#include "support/files.h"
#include "support/grids.h"
#include "support/hermite.h"
#include "support/messages.h"
#include "support/molecules.h"

using namespace QXCore;
using namespace QXFieldKit;
using namespace QXHermiteMath;
using namespace QXMinimizer;
using namespace QXMolKit;
using namespace QXNumerics;
using namespace QXTest;
using testing::ElementsAre;

namespace {

const std::vector<double> kTwoCarbons = {-1.0, 0.0, 0.0, 1.0, 0.5, 0.0};

/// Two carbons on a grid.
QXScalarGrid CarbonGrid() {
  return OnGrid(QXMolToGaussians(Carbons(kTwoCarbons), 1.7), 24, 0.4f);
}

/// (x - 1)^2 + 2 (y + 2)^2.
class Bowl : public QXFunc2 {
 public:
  unsigned int NumVar() const override { return 2; }
  const double* GetFComponents(double const*) override { return nullptr; }
  double operator()(double const* p) override {
    return (p[0] - 1) * (p[0] - 1) + 2 * (p[1] + 2) * (p[1] + 2);
  }
  double operator()(double const* p, double* gradient) override {
    gradient[0] = 2 * (p[0] - 1);
    gradient[1] = 4 * (p[1] + 2);
    return (*this)(p);
  }
  bool operator()(double const* p, double* hessian, double* gradient) override {
    (*this)(p, gradient);
    hessian[0] = 2;
    hessian[1] = 0;
    hessian[2] = 4;
    return true;
  }
};

TEST(HeaderExamples, Expansions) {
  const QXMol mol = Carbons(kTwoCarbons);
  const std::vector<QXGaussian> gaussians = QXMolToGaussians(mol, 1.7);
  QXHermiteOptions options;
#include "hermite/expansion/hermite_1.inc"
  options = h.GetOptions();
#include "hermite/expansion/gaussian_to_hermite_1.inc"
  EXPECT_TRUE(AllNear(c, h.GetCoefficients(), 1e-12));
  EXPECT_NEAR(volumeOverlap, Overlap(c, c, options), 1e-9 * volumeOverlap);
#include "hermite/expansion/grid_evaluation_1.inc"
  EXPECT_EQ(grid.GetXDim(), 34u);
}

TEST(HeaderExamples, Overlaps) {
  const std::vector<QXGaussian> refGaussians = QXMolToGaussians(Carbons(kTwoCarbons), 1.7);
  const std::vector<QXGaussian> fitGaussians = QXMolToGaussians(Carbons({0.5, 0.0, 1.0}), 1.7);
  const QXHermiteOptions options = FixedWidths(8, 0.9, 0.9, 0.9);
  const double x[6] = {0.1, 0.2, 0.3, 0.4, 0.5, 0.6};
  double expansions = 0;
  {
#include "hermite/overlay/overlap_1.inc"
    expansions = value;
  }
  const std::vector<double> reference = Expanded(refGaussians, options).GetCoefficients();
  OverlapLanes lanes;
  lanes.SetRef(reference.data(), 8, options);
  ShapeLanes objective(lanes, {reference.data()});
  std::vector<OverlayPoint> points(1);
#include "hermite/overlay/reference_model_1.inc"
  EXPECT_EQ(model.size(), 21u);
#include "hermite/overlay/gaussian_overlap_1.inc"
  EXPECT_NEAR(value, expansions, 1e-2 * -value);  // overlaps are told with a minus
  const double* const start = x;
#include "hermite/overlay/polish_1.inc"
  EXPECT_GT(pose.overlap, -value);
  EXPECT_GT(tanimoto, 0.4);
}

TEST(HeaderExamples, Overlays) {
  const TemporaryFolder folder;
  const std::string title = folder / "fit";
  QXMol fit = Drug("diclofenac");
  fit.SetTitle(title);
  std::vector<QXGaussian> refGaussians = HeavyAtomsToGaussians(fit, 1.7);
  const std::vector<QXGaussian> fitGaussians = refGaussians;
  const QXHermiteOptions options = FixedWidths(5, 0.5, 0.5, 0.5);
  const QXHermite expansion = Expanded(refGaussians, options);
  {
    const QXHermite& reference = expansion;
#include "hermite/overlay/shape_overlay_1.inc"
    EXPECT_GT(tanimoto, 0.999);
    const auto Use = [](const QXShapePose& best) { EXPECT_GT(best.exactTanimoto, 0.999); };
#include "hermite/overlay/shape_screen_1.inc"
  }
  {
    QXMol reference = fit;
    reference.SetData("shape vector", expansion.GetCoefficients());
    reference.SetData("charge vector", expansion.GetCoefficients());
#include "hermite/overlay/shape_charge_overlay_1.inc"
    EXPECT_GT(combination, 0.5);
  }
  const QXScalarGrid reference = CarbonGrid();
  const QXScalarGrid& fitGrid = reference;
  {
    const QXScalarGrid& fit = fitGrid;
#include "hermite/overlay/hermite_shape_overlay_1.inc"
    EXPECT_GT(tanimoto, 0.999);
    EXPECT_GT(moved.GetSize(), 0u);
  }
}

TEST(HeaderExamples, AtomsOfGrids) {
  const TemporaryFolder folder;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder / "");
  const QXScalarGrid grid = CarbonGrid();
  const QXHermiteOptions options = FixedWidths(8, 0.9, 0.9, 0.9);
  const QXTrans trans;
  {
#include "hermite/gridatoms/grid_to_atoms_1.inc"
    EXPECT_LT(misfit, 0.05);
    EXPECT_TRUE(std::filesystem::exists("atoms.sdf"));
    const QXHermite reference = Expanded(QXMolToGaussians(Carbons(kTwoCarbons), 1.7), options);
#include "hermite/overlay/cos_angle_1.inc"
    EXPECT_TRUE(std::isfinite(value));
  }
  {
#include "hermite/gridatoms/multistart_grid_to_atoms_1.inc"
    EXPECT_GT(atoms.NumAtoms(), 0u);
  }
  {
    QXMol mol;
#include "hermite/gridatoms/grid_to_mol_1.inc"
    EXPECT_GT(tanimoto, 0.9);
  }
  {
    QXMol atoms, best;
#include "hermite/gridatoms/lasso_atoms_1.inc"
    EXPECT_GT(tanimoto, 0.9);
  }
#include "hermite/gridatoms/grid_to_multi_hermite_1.inc"
  EXPECT_GT(density.NumActives(), 0u);
  std::filesystem::current_path(before);
}

TEST(HeaderExamples, SeveralSites) {
#include "hermite/multihermite/multi_hermite_parameters_1.inc"
  EXPECT_EQ(params.NumBasis(), 20u);
  EXPECT_EQ(params.GetSite(10), 1u);
  const std::vector<double> sites = kTwoCarbons, candidates = kTwoCarbons;
  const std::vector<double> points = RandomPoints(200, 3.0, 1);
  std::vector<double> values;
  for (size_t i = 0; i < points.size(); i += 3) {
    values.push_back(std::exp(-0.8 * (points[i] + 1) * (points[i] + 1)));
  }
#include "hermite/multihermite/multi_hermite_1.inc"
  EXPECT_EQ(fitted.size(), values.size());
#include "hermite/gridatoms/lasso_gaussians_1.inc"
  EXPECT_FALSE(fit.GetActives().empty());
}

TEST(HeaderExamples, ChargeDensities) {
#include "hermite/charge/charge_density_1.inc"
  EXPECT_NEAR(density.EvaluatePotential({0, 0, 8})[0], 332.063713 * density.TotalCharge() / 8,
              1e-9);
  const std::vector<double> atoms = {0, 0, 0, 0, 0, 1.5};
  const QXMultiHermiteParameters params(2, 1.2, atoms);
  QXHermiteChargeDensity truth(params);
  truth.SetCoefficients({0.5, -0.2, 0.1}, {1, 3, 12});
  const std::vector<double> points = RandomPoints(300, 6.0, 2);
  std::vector<double> values = truth.EvaluatePotential(points);
  QXLassoChargeDensityOptions options;
  options.SetUseElectricField(false);
  const auto isTruth = [&](const QXHermiteChargeDensity& found) {
    return AllNear(found.EvaluatePotential(points), values, 0.1);
  };
  {
#include "hermite/charge/lasso_charge_density_1.inc"
    EXPECT_TRUE(isTruth(density));
  }
  {
#include "hermite/charge/relaxed_lasso_charge_density_1.inc"
    EXPECT_TRUE(isTruth(density));
  }
  {
#include "hermite/charge/pruned_lasso_charge_density_1.inc"
    EXPECT_TRUE(isTruth(density));
  }
  const QXHermiteChargeDensity &protein = truth, &ligand = truth;
  const std::vector<double> rotation = {1, 0, 0, 0, 1, 0, 0, 0, 1}, translation = {0, 4, 0};
#include "hermite/charge/interaction_1.inc"
  QXHermiteChargeDensity moved = truth;
  moved.Translate(translation);
  EXPECT_NEAR(energy, PlainEnergy(truth, moved), 1e-6);
}

TEST(HeaderExamples, Host) {
  QXMol molecule;
#include "host/core/base_1.inc"
  EXPECT_EQ(points.size(), 3u);
  Messages messages;
  const std::string title = "water";
#include "host/core/throw_1.inc"
  EXPECT_THAT(messages.all,
              ElementsAre(Messages::Message{QXErrorLevel::Warning, "water has no charges"}));
#include "host/grid/scalar_grid_1.inc"
  EXPECT_THAT(QXElementCoords(grid, 0), ElementsAre(0.5f, 1.0f, 1.5f));
  double moment = 0;
#include "host/grid/scalar_grid_2.inc"
  EXPECT_EQ(moment, 2.0);
#include "host/grid/field_grid_1.inc"
  EXPECT_GE(handle, 1);
  const double m[] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  QXScalarGrid moved;
#include "host/grid/skew_grid_1.inc"
  EXPECT_NEAR(moved.GetYMid(), 1.0, 1e-6);
  const double shift[] = {1, 0, 0};
#include "host/molkit/trans_1.inc"
  double rotation[9], translation[3];
  trans.Extract(rotation, translation, true);
  EXPECT_THAT(translation, ElementsAre(0, 1, 0));
}

TEST(HeaderExamples, MoleculesAndFiles) {
#include "host/molkit/mol_1.inc"
  size_t used = 0;
  {
    const auto Use = [&](const QXAtom*) { ++used; };
#include "host/molkit/iterator_1.inc"
  }
  EXPECT_EQ(used, mol.NumAtoms());
  const TemporaryFolder folder;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder / "");
  mol.SetTitle("C");
  {
    qxmolostream out("ligands.sdf");
    QXWriteMolecule(out, mol);
  }
  {
    const auto Use = [&](const QXMol& read) { used += read.NumAtoms(); };
#include "host/molkit/molstream_1.inc"
  }
  EXPECT_EQ(used, 2u);
  std::filesystem::current_path(before);
}

TEST(HeaderExamples, Minimizers) {
  Bowl f;
  const double start[] = {3, 3};
  double result[2];
#include "host/minimizer/bfgs_1.inc"
  EXPECT_NEAR(result[0], 1, 1e-2);
  double x[] = {3, 3};
#include "host/minimizer/newton_1.inc"
  EXPECT_NEAR(x[1], -2, 1e-6);
  QXBFGSCore core;
  const unsigned int n = 2, iterLimit = 50;
  const double tolerance = 1e-10;
  double value;
#include "host/minimizer/bfgs_core_1.inc"
  EXPECT_NEAR(core.BestPoint()[0], 1, 1e-4);
  Eigen::MatrixXd X = Eigen::MatrixXd::Identity(3, 3);
  const Eigen::VectorXd y = Eigen::Vector3d(1, -5, 2);
  const size_t i = 0;
#include "host/numerics/lasso_1.inc"
  EXPECT_EQ(lasso.GetActives()[0], 1u);
}

}  // namespace
