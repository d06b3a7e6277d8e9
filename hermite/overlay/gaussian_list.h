#pragma once

#include <vector>

#include "host/core/gaussian.h"

namespace QXHermiteMath {

using QXCore::QXGaussian;

/// Gaussians as sums over pairs need them (gaussian_overlap_kernel.h): in double precision, brought
/// into runs of equal width. Widths that are no numbers have runs of their own.
struct GaussianList {
  /// What the inner loop needs of one, at the place middle + u.
  struct Moments {
    double square;  ///< u.u
    double u[3];
    double A;  ///< the amplitude
    double Au[3];
    double Auu[6];  ///< A u u^T, the lower triangle by rows
  };

  /// Takes the Gaussians over in place of those before, whose storage it uses again.
  void Fill(std::vector<QXGaussian> const& gaussians);
  size_t Size() const { return moments.size(); }
  /// The places in a row of one number for each, padded to suit the packs of every level.
  size_t Stride() const;

  std::vector<double> widths;  ///< one of each run
  std::vector<size_t> runEnds;
  std::vector<double> places;  ///< x of all, y of all, z of all: rows padded with zeros
  double middle[3] = {};       ///< the mean place
  std::vector<Moments> moments;

 private:
  std::vector<size_t> runOf;  // of each as it was given
};

}  // namespace QXHermiteMath
