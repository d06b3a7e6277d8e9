// From an electron density on a grid to atoms, and to a model of few functions.
//
//   map_to_atoms MAP.ccp4 ATOMS.sdf
//
// Prints how well both stand for the density, and writes the atoms.

#include <hermite/hermite.h>
#include <host/host.h>

#include <cmath>
#include <cstdio>

using namespace QXHermiteMath;

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: map_to_atoms MAP ATOMS\n");
    return 2;
  }
  QXCore::QXScalarGrid grid;
  if (!QXCore::QXReadGrid(argv[1], grid)) return 1;  // the reason has been reported

  // Atoms of radius 1.3, at least 0.8 apart, on values above a fifth of the largest; the cosine of
  // the densities tells how many.
  QXMolKit::QXMol atoms(1);
  const double cosine = QXGridToMol(grid, atoms, 1.3, 0.8, 0.2, 100, 0);
  std::printf("%u atoms, cosine %.3f\n", atoms.NumAtoms(), cosine);
  QXMolKit::qxmolostream out(argv[2]);
  if (!QXMolKit::QXWriteMolecule(out, atoms)) return 1;

  // Functions of degree 3 and width 1.8/angstrom about sites 1 angstrom apart, half of them at
  // most.
  QXGridToMultiHermite fitter;
  QXMultiHermite model = fitter.FitMultiHermite(grid, 3, 1.8, 1.0, 0.1, 100, 0.5);

  std::vector<double> points;  // x, y, z of each element
  for (unsigned int k = 0; k < grid.GetZDim(); ++k)
    for (unsigned int j = 0; j < grid.GetYDim(); ++j)
      for (unsigned int i = 0; i < grid.GetXDim(); ++i)
        for (float x :
             {QXCore::QXElementCoord(i, grid.GetXDim(), grid.GetSpacing(), grid.GetXMid()),
              QXCore::QXElementCoord(j, grid.GetYDim(), grid.GetSpacing(), grid.GetYMid()),
              QXCore::QXElementCoord(k, grid.GetZDim(), grid.GetSpacing(), grid.GetZMid())})
          points.push_back(x);
  const std::vector<double> values = model.Evaluate(points);
  double errors = 0, squares = 0;
  for (size_t i = 0; i < values.size(); ++i) {
    errors += std::pow(grid.GetValues()[i] - values[i], 2);
    squares += std::pow(grid.GetValues()[i], 2);
  }
  std::printf("%u functions about %u sites, relative RMS %.3f\n", model.NumActives(),
              model.GetParams().NumSites(), std::sqrt(errors / squares));

  const std::vector<double> quarterTurn = {0, -1, 0, 1, 0, 0, 0, 0, 1};  // about z, row-major
  model.Rotate(quarterTurn);                                             // exact
}
