#pragma once

#include "hermite/overlay/hermite_shape_overlay.h"

namespace QXHermiteMath {

/// Finds the places of a grid onto which single atoms are pulled: drops a carbon at a random place
/// where the grid is not empty, overlays it on the grid by shape (QXHermiteShapeOverlay, one start)
/// and collects the distinct ends. One atom for each basin that the starts reach.
///
/// Atom and grid are expanded about the origin, so that the basis must reach over the grid:
/// functions of degree N and width lambda end about sqrt(2 N + 1)/lambda from it. An atom that
/// starts beyond is cut off, and its end lies off the peak of the grid.
///
/// Example:
///   QXMultistartGridToAtoms search(options, grid, QXTrans());
///   QXMol atoms;
///   search.Sample(100, atoms);
class QXMultistartGridToAtoms {
 public:
  /// Copies all three. Degree and the width of all axes are -NPolyMax and -LambdaX of newOptions;
  /// no width is searched. newTrans moves the atoms found.
  QXMultistartGridToAtoms(QXHermiteOptions const& newOptions, QXScalarGrid const& newGrid,
                          QXTrans const& newTrans);

  /// Replaces mol by one carbon for each distinct end, in the order in which they were found: an
  /// end closer than 0.2 angstrom to one before it is dropped. Starts are drawn until the nearest
  /// element has a value of at least 0.0001 in size, of either sign: on a grid with elements but
  /// without such a one that may go on for ever, so look before you call. Equal calls give equal
  /// results. Always true.
  bool Sample(unsigned int numStarts, QXMol& mol);

 private:
  QXHermiteOptions options;
  QXHermiteShapeOverlay overlay;
  QXTrans trans;
  QXScalarGrid grid;
};

}  // namespace QXHermiteMath
