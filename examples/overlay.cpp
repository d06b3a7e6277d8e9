// Ranks the molecules of a file by how well their shapes can be laid over a reference.

#include <hermite/hermite.h>
#include <host/host.h>

#include <algorithm>
#include <cstdio>

using namespace QXHermiteMath;
using namespace QXMolKit;

/// The expansion of the heavy atoms, in their inertial frame.
QXHermite Expand(QXMol mol, const QXHermiteOptions& options) {
  QXSuppressHydrogens(mol, false, false, true);
  std::vector<QXGaussian> gaussians = QXMolToGaussians(mol, 1.7);
  QXCenterGaussians(gaussians);
  std::vector<double> center, rotation, eigenvalues;
  std::vector<std::vector<double>> tensor;
  QXOrientByHermiteMomentsOfInertia(gaussians, options.GetNPolyMax(), options.GetLambdaX(), center,
                                    rotation, tensor, eigenvalues);
  QXHermite hermite;
  hermite.Setup(gaussians, options);
  return hermite;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: overlay REFERENCE LIBRARY\n");
    return 2;
  }
  qxmolistream references(argv[1]), fits(argv[2]);
  QXMol mol;
  if (!QXReadMolecule(references, mol)) return 1;

  QXHermiteOptions options;  // degree 5, the best single width of the reference
  options = Expand(mol, options).GetOptions();
  options.SetUseOptimalLambdas(false);  // from here on that width for all
  const QXHermite reference = Expand(mol, options);
  QXHermiteOverlap overlap;
  overlap.SetupRef(reference.GetCoefficients(), options);
  QXMinimizer::QXBFGSOpt minimizer;
  minimizer.SetTolerance(1e-6);

  while (QXReadMolecule(fits, mol)) {
    const QXHermite fit = Expand(mol, options);
    std::vector<std::vector<double>> starts;  // inertial frames agree up to half turns
    fit.ComputeInertialHermiteVectors(starts);
    starts.push_back(fit.GetCoefficients());
    double best = 0.0;
    for (const std::vector<double>& start : starts) {
      overlap.Setup(start, options);
      const double identity[6] = {};
      double motion[6];
      minimizer(overlap, identity, motion);
      const double common = -overlap(motion);
      best = std::max(
          best, common / (overlap.GetRefSelfOverlap() + overlap.GetFitSelfOverlap() - common));
    }
    std::printf("%-20s %.3f\n", mol.GetTitle(), best);
  }
}
