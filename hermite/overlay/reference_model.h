#pragma once

#include <vector>

#include "host/minimizer/func.h"

namespace QXHermiteMath {

/// What the search for an overlay can know of curvature before it begins, as QXBFGSOpt::SetModel
/// takes it: the inverse Hessian, at the identity, of an objective of the six rigid variables that
/// has its reference in both roles, divided by the value there. Fits differ from their reference,
/// but to turn or shift them costs overlap in much the same proportions.
///
/// Directions that cost next to nothing, such as turns of a linear molecule about its axis, count
/// as if they cost a hundredth of the dearest. From central differences of the gradient, so it
/// takes 13 evaluations: once for a reference.
///
/// Example:
///   QXHermiteOverlap self;
///   self.SetupRef(reference, options);
///   self.Setup(reference, options);
///   const std::vector<double> model = GetReferenceModel(self);
///   FindOptima(objective, {.model = model.data()}, points);
std::vector<double> GetReferenceModel(QXMinimizer::QXFunc1& self);

}  // namespace QXHermiteMath
