#pragma once

#include <string>
#include <utility>
#include <vector>

#include "hermite/foundations/options.h"
#include "hermite/overlay/tanimoto.h"
#include "host/molkit/mol.h"
#include "host/molkit/trans.h"

namespace QXHermiteMath {

using QXMolKit::QXMol;
using QXMolKit::QXTrans;

/// Lays every conformer of a fit molecule over a reference molecule by shape and charge at once:
/// the shape density of the heavy atoms, as QXShapeOverlay has it, and the charge density of all
/// atoms, QXMolToElectroStaticGaussians. The starts are those of QXShapeOverlay; what is maximised
/// from each, and is the score, is the combination
///
///   T_shape + w (T_charge + c)
///
/// of the two Tanimotos. A molecule on itself has 1 + w (1 + c). c raises every score by w c, and
/// changes poses no more than rounding does.
///
/// Both densities are expanded about the origin of one frame, to which the caller brings the
/// molecules, so hand over options with -UseCenterOfMass false, or with true only for molecules
/// that are centred. As for QXShapeOverlay, both options must have -UseOptimalLambdas false, or
/// every fit would be expanded at widths of its own.
///
/// Coefficients are taken from a molecule that has both kept under the two tags, each finite and of
/// the size of its basis; with only one both are made anew. The tags are read and never written.
/// No file is written. One thread at a time.
///
/// Example:
///   QXShapeChargeOverlay overlay(1e-6, 100, 0.5, 0.0, options, options, 1.0, reference, QXTrans(),
///                                "shape vector", "charge vector");
///   QXMol poses(1);
///   double combination = overlay.FindBestOverlay(fit, 5, poses);
class QXShapeChargeOverlay {
 public:
  /// tolerance and iterationLimit go to QXBFGSOpt; weight and offset are w and c; sigma, in
  /// angstrom, is the width of the charge of an atom. The coefficients of ref are looked up on the
  /// molecule, not on its conformer. trans moves the poses at the end.
  QXShapeChargeOverlay(double newTolerance, unsigned int newIterationLimit, double weight,
                       double offset, QXHermiteOptions newShapeOptions,
                       QXHermiteOptions newChargeOptions, double sigma, QXMol& ref,
                       QXTrans const& newTrans, std::string newShapeTag, std::string newChargeTag);

  /// Overlays all conformers of fit, looking coefficients up on each. result: at most nPoses poses
  /// as conformers, best first, each with the texts of FindLocalMinimum. Returns the best
  /// combination, 0 without a conformer.
  double FindBestOverlay(QXMol const& fit, unsigned int nPoses, QXMol& result);

  /// One minimisation, from the coefficients of start. Returns the combination. Every conformer of
  /// pose gets the SD texts "Shape Tanimoto", "Charge Tanimoto" and "Shape + Charge Tanimoto
  /// Combo", and loses coefficients of the start that stood under the tags. Where the denominator
  /// of T_charge is exactly 0, as without any charge, the combination takes it for 0, but the text
  /// tells the division: a NaN or an infinity. An exhausted iteration limit is a result like any
  /// other.
  double FindLocalMinimum(QXMol const& start, std::vector<double> const& shapeCoefficients,
                          std::vector<double> const& chargeCoefficients, QXMol& pose);

 private:
  std::pair<std::vector<double>, std::vector<double>> GetCoefficients(
      QXMolKit::QXConfBase const& conformer) const;
  double Finish(QXMol const& start, std::vector<double> const& shapeCoefficients,
                std::vector<double> const& chargeCoefficients, std::vector<double> const& p,
                QXMol& pose);

  double chargeWeight;
  double chargeOffset;
  double chargeSigma;
  double tolerance;
  unsigned int iterationLimit;
  QXHermiteOptions shapeOptions;
  QXHermiteOptions chargeOptions;
  QXMol refMol;
  QXTrans trans;
  std::string shapeTag;
  std::string chargeTag;
  QXShapeChargeComboTanimoto objective;
  OverlapLanes shapeLanes;  // of the references of the objective
  OverlapLanes chargeLanes;
};

}  // namespace QXHermiteMath
