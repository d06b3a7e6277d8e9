#pragma once

#include <array>
#include <optional>
#include <string>

#include "hermite/expansion/hermite.h"
#include "host/molkit/mol.h"
#include "tools/listener.h"

namespace CLI {
class App;
}

namespace QXTools {

/// Which density a command is to take, and how to expand it.
struct DensityArguments {
  DensityArguments();

  std::string file;                           ///< a molecule, a grid, or an expansion (.json)
  unsigned int record = 1;                    ///< of a molecule file
  bool hydrogens = false;                     ///< whether the hydrogens of a molecule count
  QXHermiteMath::QXHermiteOptions expansion;  ///< with -UseCenterOfMass, other than elsewhere
};

/// A density out of a file, expanded about its centre.
struct Density {
  std::string title;
  std::string source;                  ///< "molecule of 26 heavy atoms", for people
  QXHermiteMath::QXHermite expansion;  ///< its options hold the widths as given ones
  std::array<double, 3> centre{};  ///< the origin of the expansion, in the coordinates of the file
  double width = 0.0;              ///< of the cube about the centre that holds the density
  double exactSelfOverlap = 0.0;   ///< of the density itself
  std::optional<QXMolKit::QXMol> mol;  ///< its atoms, where the file has some
};

void DeclareDensityArguments(CLI::App& app, DensityArguments& arguments);
std::string CheckDensityArguments(const DensityArguments& arguments);

/// Reads and expands. Nothing when that cannot be done, which the listener is told.
std::optional<Density> LoadDensity(const DensityArguments& arguments, Listener& listener);

}  // namespace QXTools
