#pragma once

#include <cmath>
#include <utility>
#include <vector>

#include "hermite/expansion/hermite.h"
#include "hermite/overlay/lane_search.h"
#include "hermite/overlay/overlap.h"
#include "host/molkit/mol.h"

// What the overlays of molecules share: how a molecule becomes coefficients, the four starts of a
// fit, and the search from one of them.

namespace QXHermiteMath {

/// The shape density of one conformer: its heavy atoms, each of radius kOverlayAtomRadius.
std::vector<QXGaussian> GetHeavyAtomGaussians(QXMolKit::QXMolBase const& mol);

/// The expansion of that density.
QXHermite ExpandHeavyAtoms(QXMolKit::QXMolBase const& mol, QXHermiteOptions const& options);

/// The coefficients kept under `tag`, or null where there are none that are finite and of the size
/// of the basis.
const std::vector<double>* FindKeptCoefficients(QXCore::QXBase const& mol, const char* tag,
                                                QXHermiteOptions const& options);

/// The coefficients of a conformer: those kept under `tag`, else those of ExpandHeavyAtoms.
std::vector<double> GetConformerCoefficients(QXMolKit::QXConfBase const& conformer, const char* tag,
                                             QXHermiteOptions const& options);

/// The coefficients of a fit at each start: as it stands and, unless singleStart, after the half
/// turns about x, y and z. Start k of the fit itself is GetStart.
std::vector<std::vector<double>> GetStartCoefficients(std::vector<double> const& coefficients,
                                                      QXHermiteOptions const& options,
                                                      bool singleStart);

/// Every start of every conformer: the molecule, hydrogens included, and its coefficients.
struct OverlayStarts {
  std::vector<QXMolKit::QXMol> molecules;
  std::vector<std::vector<double>> coefficients;
};
/// Those of a fit by shape, in the order of its conformers.
OverlayStarts GetStarts(QXMolKit::QXMCMolBase const& fit, const char* tag,
                        QXHermiteOptions const& options, bool singleStart);

/// A molecule of the conformer, hydrogens included, at start k.
QXMolKit::QXMol GetStart(QXMolKit::QXConfBase const& conformer, size_t k);

/// The matrix of start k, nine doubles: rot_X, rot_Y, rot_Z for 1, 2, 3, and null for 0.
const double* GetStartRotation(size_t k);

/// The six variables of the optimum of `objective` that is found from the identity: FindOptima for
/// one objective alone.
std::vector<double> FindOptimum(QXMinimizer::QXFunc1& objective, double tolerance,
                                unsigned int iterationLimit);

/// Shape overlaps of a list of fits with one reference, in lanes. Objective number i is that of the
/// coefficients fits[i], which must stay.
class ShapeLanes final : public LaneObjective {
 public:
  /// `lanes` must have its reference.
  ShapeLanes(OverlapLanes& newLanes, std::vector<const double*> newFits)
      : lanes(newLanes), fits(std::move(newFits)) {
    lanes.MakeLanes(fits.size());
  }
  unsigned int NumLanes() const override { return lanes.NumLanes(); }
  void Load(unsigned int lane, size_t which) override { lanes.SetFit(lane, fits[which]); }
  void Evaluate(const double* x, double* values, double* gradients) override {
    lanes.Evaluate(x, values, gradients);
  }

 private:
  OverlapLanes& lanes;
  std::vector<const double*> fits;
};

/// A higher score; one that is no number is the lowest.
inline bool IsBetter(double a, double b) {
  return a > b || (std::isnan(b) && !std::isnan(a));
}

/// The places of the `count` highest scores, or of all; scores that are no numbers are the lowest.
std::vector<size_t> FindBest(std::vector<double> const& scores, size_t count);

/// Pointers to the coefficients of each.
std::vector<const double*> PointersTo(std::vector<std::vector<double>> const& vectors);

/// The expansion of these coefficients, moved by the six variables p.
QXHermite MoveExpansion(std::vector<double> const& coefficients, QXHermiteOptions const& options,
                        std::vector<double> const& p);

}  // namespace QXHermiteMath
