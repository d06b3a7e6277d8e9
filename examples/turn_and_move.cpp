// One rigid motion, carried out on a molecule and on its coefficients.
//
//   turn_and_move FILE.sdf
//
// Six variables (alpha, beta, gamma, tx, ty, tz) take every point P to Q^T (P + t). The expansion
// of the moved molecule and the moved expansion are compared: they differ by what a shift pushes
// out of the basis, which is less at higher degrees.

#include <hermite/hermite.h>
#include <host/host.h>

#include <cstdio>

using namespace QXHermiteMath;
using namespace QXMolKit;

/// The expansion of the heavy atoms about the origin.
QXHermite Expand(const QXMol& mol, const QXHermiteOptions& options) {
  QXHermite hermite;
  hermite.Setup(QXMolToGaussians(mol, 1.7), options);
  return hermite;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: turn_and_move MOLECULE\n");
    return 2;
  }
  qxmolistream in(argv[1]);
  QXMol mol;
  if (!QXReadMolecule(in, mol)) return 1;  // the reason has been reported
  QXSuppressHydrogens(mol, false, false, true);
  std::vector<QXGaussian> gaussians = QXMolToGaussians(mol, 1.7);
  const std::vector<double> center = QXCenterGaussians(gaussians);
  QXTranslate(mol, std::vector<double>{-center[0], -center[1], -center[2]}.data());

  const std::vector<double> motion = {0.3, -0.7, 1.1, 0.5, -0.4, 0.2};  // radians, angstrom
  QXMol moved(mol);
  QXTrans trans = QXGetTransformFromHermiteParams(motion.data());
  trans.Transform(moved.GetActive());
  double rotation[9], translation[3];
  trans.Extract(rotation, translation, true);
  std::printf("P goes to M P + v\n");
  for (int row = 0; row < 3; ++row)
    std::printf("  M %8.5f %8.5f %8.5f   v %8.5f\n", rotation[3 * row], rotation[3 * row + 1],
                rotation[3 * row + 2], translation[row]);

  for (unsigned int degree : {5u, 10u, 15u, 20u}) {
    QXHermiteOptions options;
    options.SetNPolyMax(degree);
    QXHermite hermite = Expand(mol, options);
    options = hermite.GetOptions();
    options.SetUseOptimalLambdas(false);  // the widths found serve both
    QXHermiteRigidTransform(hermite, motion);
    const QXHermite again = Expand(moved, options);

    QXHermiteOverlap overlap;
    overlap.SetupRef(hermite.GetCoefficients(), options);
    overlap.Setup(again.GetCoefficients(), options);
    const double common = overlap.GetOverlap();
    std::printf("degree %2u  Tanimoto of moved expansion and expansion of the moved %.6f\n", degree,
                common / (overlap.GetRefSelfOverlap() + overlap.GetFitSelfOverlap() - common));
  }
}
