#pragma once

#include <vector>

#include "hermite/expansion/hermite.h"
#include "host/molkit/trans.h"

// The language of rigid motion: six variables p = (alpha, beta, gamma, tx, ty, tz), angles in
// radians about x, y, z and shifts in angstrom, which a minimiser may change freely.
//
// Q = Rx(alpha) Ry(beta) Rz(gamma), right-handed: the z rotation acts first. A point P of the moved
// object goes to P' = Q^T (P + t): translate first, then the transposed matrix. For an overlap
// turns the reference by Q and shifts the fit by t, and that equals the overlap of the unmoved
// reference with the fit so moved.
//
// Rotation matrices are nine doubles, row-major.

namespace QXHermiteMath {

/// Q in single precision throughout, through quaternions, widened at the end: about seven digits,
/// on purpose. Poses are made with it.
std::vector<double> generateRotationMatrix(double alpha, double beta, double gamma);

/// Q^T by generateRotationMatrix, of the angles p[0 .. 2]: the matrix that turns a pose.
std::vector<double> PoseRotation(double const* p);

/// Q in double precision.
std::vector<double> RotFromEulerXYZ(double alpha, double beta, double gamma);

/// The angles (alpha, beta, gamma) of a matrix; beta in [-pi/2, pi/2]. |m[2]| above 1 by rounding
/// gives a NaN; a singular matrix gives what atan2 makes of it.
std::vector<double> EulerXYZ(std::vector<double> const& m);

/// Turns count quaternion poses, seven doubles each (q0 scalar, q1, q2, q3, x, y, z), which move P
/// to m(q) P + (x, y, z), into the six variables of the same motion, six doubles each.
void QXAdaptHermiteVar(unsigned int count, double const* in, double* out);

/// The motion P' = Q^T (P + t) as a host transform: first a translation, then a rotation.
QXMolKit::QXTrans QXGetTransformFromHermiteParams(double const* p);

/// Applies the motion to an expansion: it then describes the density of the object moved to
/// Q^T (P + t), in the frame of the expansion. p holds six doubles. Always true. The rotation goes
/// through the single-precision matrix and EulerXYZ: where rounding takes an element of it above 1
/// (turns by a right angle to within some 1e-4, of which a few per cent) the coefficients are NaN.
bool QXHermiteRigidTransform(QXHermite& hermite, std::vector<double> const& p);

}  // namespace QXHermiteMath
