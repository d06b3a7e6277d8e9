#include "hermite/gridatoms/grid_to_atoms.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "hermite/gridatoms/places.h"
#include "hermite/gridatoms/thinning.h"
#include "host/core/throw.h"
#include "host/grid/grid_file.h"
#include "host/minimizer/bfgs.h"
#include "host/molkit/molstream.h"

namespace QXHermiteMath {

using QXCore::QXThrow;

namespace {

// The distance of starting atoms, about that of second neighbours.
constexpr double kStartDistance = 2.5;
constexpr double kMostAtoms = 200.0;
// The self overlap of one atom of radius 1.7, and the reciprocal of that radius.
constexpr double kAtomSelfOverlap = 19.64;
constexpr double kInverseStandardRadius = 0.5882352941176471;
constexpr double kOutputRadius = 1.7;

double Maximum(QXScalarGrid const& grid) {
  double maximum = 0.0;
  float const* values = grid.GetValues();
  for (unsigned int i = 0; i < grid.GetSize(); ++i)
    maximum = std::max(maximum, static_cast<double>(values[i]));
  return maximum;
}

// How many atoms of this radius the self overlap holds. One of no use, NaN too, gives 1.
uint32_t EstimateAtoms(double selfOverlap, double radius) {
  const double u = radius * kInverseStandardRadius;
  const double estimate = selfOverlap / (u * u * u * kAtomSelfOverlap);
  return static_cast<uint32_t>(std::min(std::max(0.0, estimate), kMostAtoms - 1.0)) + 1;
}

}  // namespace

QXGridToAtoms::QXGridToAtoms(double newRadius, double newMinDistance, double valueFraction,
                             QXHermiteOptions const& newOptions, QXScalarGrid const& newGrid,
                             QXTrans const& newTrans)
    : radius(newRadius),
      minDistance(newMinDistance),
      options(newOptions),
      objective(options),
      trans(newTrans),
      grid(newGrid),
      random(false) {
  const double maximum = Maximum(grid);
  QXThrow.Debug("Maximum Grid Value found = %s", std::to_string(maximum).c_str());
  valueThreshold = maximum * valueFraction;
  QXHermite h;
  h.Setup(grid, options);
  objective.SetupRef(h);
  QXThrow.Debug("Grid self overlap= %s", std::to_string(h.GetSelfOverlap()).c_str());
  maxAtoms = EstimateAtoms(h.GetSelfOverlap(), radius);
}

void QXGridToAtoms::SampleStartingPoint(QXMol& mol) {
  std::vector<double> points;
  UniformlySampleGrid(grid, points, kStartDistance, valueThreshold, maxAtoms);
  SetCarbons(mol, points);
}

double QXGridToAtoms::FindLocalMinimum(QXMolKit::QXMolBase& mol) {
  objective.Setup(QXMol(mol, 1), radius);
  std::vector<double> start(objective.NumVar()), result(objective.NumVar());
  mol.GetCoords(start.data());
  QXMinimizer::QXBFGSOpt optimizer;
  optimizer.SetTolerance(1e-10);
  optimizer(objective, start.data(), result.data());
  const double value = objective(result.data());
  mol.SetCoords(result.data());
  CleanUpResults(mol, grid, minDistance, valueThreshold);
  return value;
}

void QXGridToAtoms::OutputAtomsMol(std::string fileName, QXMol const& mol) {
  QXMol moved(mol);
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>> confs(moved.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) trans.Transform(confs->Get());
  QXMolKit::qxmolostream out(fileName);
  QXMolKit::QXWriteMolecule(out, moved);
  out.close();
}

void QXGridToAtoms::OutputAtomsGrid(std::string fileName, QXMol const& mol, float spacing) {
  QXScalarGrid density;
  objective.Setup(mol, kOutputRadius);
  objective.CreateGrid(density, spacing, trans);
  QXCore::QXWriteGrid(fileName, density);
}

}  // namespace QXHermiteMath
