#pragma once

#include <functional>
#include <vector>

#include "tools/electrostatic_fit.h"

namespace QXTools {

/// What a fit to electrostatic data is to give.
struct ElectrostaticSettings {
  unsigned int degree = 2;
  double width = 0.0;        ///< in 1/angstrom; 0: the best of several
  unsigned int actives = 0;  ///< functions to take; 0: by the target error, or all
  double targetError = 0.0;  ///< 0: none
  FitMethod method = FitMethod::Lasso;
  QXHermiteMath::QXLassoChargeDensityOptions regression;
  /// Told, unless it is empty, how many fits are done, and of how many. The search ends with what
  /// it throws.
  std::function<void(unsigned int, unsigned int)> progress;
};

/// The least width that is tried where none is given.
inline constexpr double kLeastTriedWidth = 0.9;

/// A density along the path.
struct ElectrostaticStep {
  unsigned int functions;  ///< so many are active
  QXHermiteMath::QXHermiteChargeDensity density;
  RelativeErrors fitted, heldOut;
};

/// The densities along the path of one fit, at some numbers of functions. Points held out are only
/// judged.
class ElectrostaticPath {
 public:
  /// sites: x, y, z of each.
  ElectrostaticPath(const ElectrostaticSettings& settings, const ElectrostaticSample& fitted,
                    const ElectrostaticSample& heldOut, const std::vector<double>& sites);

  /// By rising number; none where there is nothing to fit. With a number of functions given the
  /// last has so many; the first that reaches the target is among them.
  const std::vector<ElectrostaticStep>& Steps() const { return steps_; }
  /// The first step that reaches the target, or else the last. There must be one.
  const ElectrostaticStep& Chosen() const;
  bool ReachesTarget(const RelativeErrors& errors) const;
  /// Of potential and field, where they are fitted and not all zeros.
  double Total(const RelativeErrors& errors) const;

 private:
  std::vector<double> Counted(const RelativeErrors& errors) const;
  ElectrostaticFit Fit(double width) const;
  bool Reaches(const ElectrostaticFit& fit, unsigned int functions) const;
  double BestWidth() const;
  void TellProgress(unsigned int fitsDone) const;
  std::vector<unsigned int> Numbers(const ElectrostaticFit& fit) const;

  const ElectrostaticSettings settings_;
  const ElectrostaticSample fitted_;
  const std::vector<double> sites_;
  std::vector<ElectrostaticStep> steps_;
};

}  // namespace QXTools
