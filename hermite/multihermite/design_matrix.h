#pragma once

#include <Eigen/Core>
#include <vector>

// How the columns of a sparse regression are scaled, and its coefficients scaled back.

namespace QXHermiteMath {

/// Subtracts from each column its mean and divides it by the Euclidean norm of what is left;
/// returns these norms. A constant column is not spared: 0/0 makes it NaN.
Eigen::VectorXd NormalizeDesignMatrix(Eigen::MatrixXd& matrix);

/// Turns the coefficients of normalised columns into those of the columns as they were:
/// coefficients[i] is divided by norms[actives[i]]. Always true.
bool NormalizeFitCoefficients(std::vector<double>& coefficients,
                              std::vector<unsigned int> const& actives,
                              Eigen::VectorXd const& norms);

}  // namespace QXHermiteMath
