// How much of a shape density a truncated expansion holds.
//
//   convergence FILE.sdf
//
// For the first conformer of each molecule, hydrogens left out, the density of shape Gaussians is
// expanded about the mean of its atoms at rising degree, with the best single width of each. The
// self overlap of the expansion rises to that of the density, which is a sum over pairs of atoms:
//
//   integral of g_a g_b = A^2 (pi / 2w)^(3/2) exp(-w d^2 / 2),  for equal amplitudes and widths.

#include <hermite/hermite.h>
#include <host/host.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using QXHermiteMath::QXGaussian;

namespace {

constexpr double kAtomRadius = 1.7;  // angstrom

double PairwiseSelfOverlap(const std::vector<QXGaussian>& gaussians) {
  double sum = 0.0;
  for (const QXGaussian& a : gaussians) {
    for (const QXGaussian& b : gaussians) {
      const double x = a.GetX() - b.GetX(), y = a.GetY() - b.GetY(), z = a.GetZ() - b.GetZ();
      const double w = a.GetWidth();
      sum += a.GetAmplitude() * b.GetAmplitude() * std::pow(M_PI / (2 * w), 1.5) *
             std::exp(-w * (x * x + y * y + z * z) / 2);
    }
  }
  return sum;
}

void PrintTable(QXMolKit::QXMol mol) {
  QXMolKit::QXSuppressHydrogens(mol, false, false, true);
  mol.CompactAtoms();
  const auto gaussians = QXHermiteMath::QXMolToGaussians(mol, kAtomRadius);
  const double exact = PairwiseSelfOverlap(gaussians);
  std::printf("%s: %u heavy atoms, self overlap %.4f\n", mol.GetTitle(), mol.NumAtoms(), exact);
  std::printf("  degree  coefficients   lambda  self overlap    missing\n");
  for (unsigned int degree : {0u, 2u, 4u, 5u, 7u, 10u, 14u, 20u, 30u}) {
    QXHermiteMath::QXHermiteOptions options;
    options.SetNPolyMax(degree);
    options.SetUseCenterOfMass(true);
    QXHermiteMath::QXHermite h;
    h.Setup(gaussians, options);
    std::printf("  %6u  %12lu  %7.4f  %12.4f  %8.5f %%\n", degree, h.NumCoefficients(),
                h.GetOptions().GetLambdaX(), h.GetSelfOverlap(),
                100 * (1 - h.GetSelfOverlap() / exact));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: convergence FILE.sdf\n");
    return 2;
  }
  QXMolKit::qxmolistream in(argv[1]);
  if (!in) return 1;  // the reason has been reported
  std::string last;
  for (QXMolKit::QXMol mol; QXMolKit::QXReadMolecule(in, mol);) {
    if (mol.NumAtoms() > 0 && last != mol.GetTitle()) PrintTable(mol);
    last = mol.GetTitle();
  }
  return 0;
}
