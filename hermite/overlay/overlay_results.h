#pragma once

#include <utility>
#include <vector>

#include "host/molkit/mol.h"
#include "host/molkit/trans.h"

// From what a minimisation found to molecules.

namespace QXHermiteMath {

using QXMolKit::QXMCMolBase;
using QXMolKit::QXMol;
using QXMolKit::QXTrans;

/// A copy of mol, all conformers moved by the six variables p: P' = Q^T (P + t), with Q in single
/// precision (generateRotationMatrix). Centres of expansions play no part.
QXMol FindPose(QXMCMolBase const& mol, std::vector<double> const& p);

/// Sorts poses (score, molecule of one conformer) by rising score, in place, and fills result with
/// the best nPoses of them as conformers, best first, each moved by trans. The best pose gives
/// result its atoms, title and data. Returns the best score. Without poses result becomes empty and
/// the score is 0. Duplicates stay; the order of equal scores is unspecified, and NaN ranks lowest.
/// Data on the poses is not moved by trans.
double PostProcessOverlayData(std::vector<std::pair<double, QXMol>>& poses, unsigned int nPoses,
                              QXTrans const& trans, QXMCMolBase& result);

}  // namespace QXHermiteMath
