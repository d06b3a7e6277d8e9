#include "hermite/overlay/shape_charge_overlay.h"

#include <memory>

#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/overlay_search.h"

namespace QXHermiteMath {

using ConfIterator = std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>>;

namespace {

/// A function plus a constant, which takes the offset out of the combination: a search ends by the
/// change relative to the value, and would end elsewhere with it.
class Raised : public QXMinimizer::QXFunc1 {
 public:
  Raised(QXMinimizer::QXFunc1& newFunction, double newConstant)
      : function(newFunction), constant(newConstant) {}

  unsigned int NumVar() const override { return function.NumVar(); }
  double operator()(double const* x) override { return function(x) + constant; }
  const double* GetFComponents(double const* x) override { return function.GetFComponents(x); }
  double operator()(double const* x, double* gradient) override {
    return function(x, gradient) + constant;
  }

 private:
  QXMinimizer::QXFunc1& function;
  double constant;
};

/// The combination of a list of fits with one reference, in lanes, without the offset.
class ShapeChargeLanes final : public LaneObjective {
 public:
  ShapeChargeLanes(QXShapeChargeComboTanimoto const& objective, double newWeight,
                   ShapeLanes newShape, ShapeLanes newCharge,
                   std::vector<std::pair<double, double>> newFitSelfOverlaps)
      : refShape(objective.GetRefShapeSelfOverlap()),
        refCharge(objective.GetRefChargeSelfOverlap()),
        weight(newWeight),
        shape(std::move(newShape)),
        charge(std::move(newCharge)),
        fitSelfOverlaps(std::move(newFitSelfOverlaps)),
        loaded(NumLanes()),
        chargeValues(NumLanes()),
        chargeGradients(size_t{6} * NumLanes()) {}

  unsigned int NumLanes() const override { return shape.NumLanes(); }
  void Load(unsigned int lane, size_t which) override {
    shape.Load(lane, which);
    charge.Load(lane, which);
    loaded[lane] = which;
  }
  void Evaluate(const double* x, double* values, double* gradients) override {
    const unsigned int lanes = NumLanes();
    shape.Evaluate(x, values, gradients);
    charge.Evaluate(x, chargeValues.data(), chargeGradients.data());
    for (unsigned int i = 0; i < lanes; ++i) {
      const auto [fitShape, fitCharge] = fitSelfOverlaps[loaded[i]];
      values[i] = CombineShapeAndCharge(values[i], refShape + fitShape, chargeValues[i],
                                        refCharge + fitCharge, weight, &chargeGradients[i],
                                        gradients + i, lanes);
    }
  }

 private:
  double refShape, refCharge, weight;
  ShapeLanes shape, charge;
  std::vector<std::pair<double, double>> fitSelfOverlaps;
  std::vector<size_t> loaded;
  std::vector<double> chargeValues, chargeGradients;
};

}  // namespace

QXShapeChargeOverlay::QXShapeChargeOverlay(double newTolerance, unsigned int newIterationLimit,
                                           double weight, double offset,
                                           QXHermiteOptions newShapeOptions,
                                           QXHermiteOptions newChargeOptions, double sigma,
                                           QXMol& ref, QXTrans const& newTrans,
                                           std::string newShapeTag, std::string newChargeTag)
    : chargeWeight(weight),
      chargeOffset(offset),
      chargeSigma(sigma),
      tolerance(newTolerance),
      iterationLimit(newIterationLimit),
      shapeOptions(std::move(newShapeOptions)),
      chargeOptions(std::move(newChargeOptions)),
      refMol(ref),
      trans(newTrans),
      shapeTag(std::move(newShapeTag)),
      chargeTag(std::move(newChargeTag)),
      objective(weight, offset) {
  const QXMolKit::QXMCMolBase& mol = refMol;
  const auto* shape = FindKeptCoefficients(mol, shapeTag.c_str(), shapeOptions);
  const auto* charge = FindKeptCoefficients(mol, chargeTag.c_str(), chargeOptions);
  if (shape && charge) {
    objective.SetupRef(*shape, shapeOptions, *charge, chargeOptions);
  } else {
    objective.SetupRef(GetHeavyAtomGaussians(mol), shapeOptions,
                       QXMolToElectroStaticGaussians(refMol, chargeSigma), chargeOptions);
  }
  const auto setRef = [](OverlapLanes& lanes, QXHermiteOverlap const& overlap) {
    QXHermiteOptions const& options = overlap.GetRefOptions();
    lanes.SetRef(overlap.GetRefCoefficients().data(), options.GetNPolyMax(), options);
  };
  setRef(shapeLanes, objective.GetShapeOverlap());
  setRef(chargeLanes, objective.GetChargeOverlap());
}

double QXShapeChargeOverlay::FindBestOverlay(QXMol const& fit, unsigned int nPoses, QXMol& result) {
  std::vector<QXMol> starts;
  std::vector<std::vector<double>> shapes, charges;
  const ConfIterator confs(fit.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    const QXMolKit::QXConfBase& conformer = *confs->Get();
    const auto [shape, charge] = GetCoefficients(conformer);
    for (auto& start : GetStartCoefficients(shape, shapeOptions, false))
      shapes.push_back(std::move(start));
    for (auto& start : GetStartCoefficients(charge, chargeOptions, false))
      charges.push_back(std::move(start));
    for (size_t k = 0; starts.size() < shapes.size(); ++k) starts.push_back(GetStart(conformer, k));
  }
  std::vector<std::pair<double, double>> selfOverlaps;
  for (size_t i = 0; i < starts.size(); ++i) {
    selfOverlaps.emplace_back(
        QXCalcHermiteSelfOverlap(shapes[i], objective.GetShapeOverlap().GetRefOptions()),
        QXCalcHermiteSelfOverlap(charges[i], objective.GetChargeOverlap().GetRefOptions()));
  }
  ShapeChargeLanes lanes(objective, chargeWeight, ShapeLanes(shapeLanes, PointersTo(shapes)),
                         ShapeLanes(chargeLanes, PointersTo(charges)), std::move(selfOverlaps));
  std::vector<OverlayPoint> points(starts.size());
  FindOptima(lanes, {tolerance, iterationLimit}, points);

  std::vector<std::pair<double, QXMol>> results;
  for (size_t i = 0; i < starts.size(); ++i) {
    QXMol pose(1);
    const double score =
        Finish(starts[i], shapes[i], charges[i], {points[i].x.begin(), points[i].x.end()}, pose);
    results.emplace_back(score, std::move(pose));
  }
  return PostProcessOverlayData(results, nPoses, trans, result);
}

std::pair<std::vector<double>, std::vector<double>> QXShapeChargeOverlay::GetCoefficients(
    QXMolKit::QXConfBase const& conformer) const {
  const auto* shape = FindKeptCoefficients(conformer, shapeTag.c_str(), shapeOptions);
  const auto* charge = FindKeptCoefficients(conformer, chargeTag.c_str(), chargeOptions);
  if (shape && charge) return {*shape, *charge};
  QXHermite h;
  h.Setup(QXMolToElectroStaticGaussians(QXMol(conformer, 1), chargeSigma), chargeOptions);
  return {ExpandHeavyAtoms(conformer, shapeOptions).GetCoefficients(), h.GetCoefficients()};
}

double QXShapeChargeOverlay::FindLocalMinimum(QXMol const& start,
                                              std::vector<double> const& shapeCoefficients,
                                              std::vector<double> const& chargeCoefficients,
                                              QXMol& pose) {
  objective.Setup(shapeCoefficients, chargeCoefficients);
  Raised withoutOffset(objective, chargeWeight * chargeOffset);
  return Finish(start, shapeCoefficients, chargeCoefficients,
                FindOptimum(withoutOffset, tolerance, iterationLimit), pose);
}

double QXShapeChargeOverlay::Finish(QXMol const& start,
                                    std::vector<double> const& shapeCoefficients,
                                    std::vector<double> const& chargeCoefficients,
                                    std::vector<double> const& p, QXMol& pose) {
  objective.Setup(shapeCoefficients, chargeCoefficients);
  const double score = -objective(p.data());
  double shapeTanimoto = 0.0, chargeTanimoto = 0.0;  // these without the guard of the score
  objective.ComputeShapeChargeTanimotos(p.data(), shapeTanimoto, chargeTanimoto);
  pose = FindPose(start, p);
  // Kept coefficients of the start would not fit the pose, nor its conformers.
  pose.DeleteData(shapeTag.c_str());
  pose.DeleteData(chargeTag.c_str());
  const ConfIterator confs(pose.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    QXMolKit::QXConfBase& conformer = *confs->Get();
    QXMolKit::QXSetSDData(conformer, "Shape Tanimoto", std::to_string(shapeTanimoto));
    QXMolKit::QXSetSDData(conformer, "Charge Tanimoto", std::to_string(chargeTanimoto));
    QXMolKit::QXSetSDData(conformer, "Shape + Charge Tanimoto Combo", std::to_string(score));
    conformer.DeleteData(shapeTag.c_str());
    conformer.DeleteData(chargeTag.c_str());
  }
  return score;
}

}  // namespace QXHermiteMath
