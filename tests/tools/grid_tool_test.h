#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/grid/field_grid.h"
#include "host/grid/grid_file.h"
#include "host/molkit/molstream.h"
#include "support/grids.h"
#include "support/molecules.h"
#include "tests/tools/tool_test.h"

namespace QXTest {

inline const std::string kReference = std::string(QX_EXAMPLES) + "/reference.sdf";

/// Tests of commands that read and write grids.
class GridToolTest : public ToolTest {
 protected:
  void WriteAtoms(const std::string& name, const std::vector<std::array<double, 3>>& places) {
    WriteFile(Path(name), Carbons("", places).Text());
  }

  /// The density of all atoms of a molecule, on a grid around it, with the atoms.
  void WriteDensity(const std::string& name, const QXMol& mol, float spacing = 0.5f) {
    const std::vector<double> x = Coords(mol);
    const Eigen::Map<const Eigen::Matrix3Xd> places(x.data(), 3, mol.NumAtoms());
    const Vector3d low = places.rowwise().minCoeff(), high = places.rowwise().maxCoeff();
    const auto dim = (((high - low).array() + 6.0) / spacing).cast<unsigned int>().eval();
    QXScalarGrid grid = MakeGrid(dim[0], dim[1], dim[2], spacing, ((low + high) / 2).cast<float>());
    QXFieldKit::QXMakeMolecularGaussianGrid(grid, mol);
    grid.SetData(QXCore::kQXGridMoleculeTag, mol);
    ASSERT_TRUE(QXCore::QXWriteGrid(Path(name), grid));
  }

  QXMol ReadMol(const std::string& path) const {
    QXMol mol;
    QXMolKit::qxmolistream in(path);
    EXPECT_TRUE(QXMolKit::QXReadMolecule(in, mol)) << path;
    return mol;
  }
  QXMol HeavyReference() const { return ReadHeavy(kReference); }
  QXMol ReadHeavy(const std::string& path) const {
    QXMol mol = ReadMol(path);
    QXMolKit::QXSuppressHydrogens(mol, false, false, true);
    mol.CompactAtoms();
    return mol;
  }
  QXScalarGrid ReadGrid(const std::string& name) const {
    QXScalarGrid grid;
    EXPECT_TRUE(QXCore::QXReadGrid(Path(name), grid));
    return grid;
  }
};

}  // namespace QXTest
