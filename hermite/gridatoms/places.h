#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "host/molkit/molbase.h"

// Places of pseudo-atoms: x, y and z of each in one list, in angstrom.

namespace QXHermiteMath {

/// Replaces the contents of mol, a molecule and not a conformer of one, by a carbon at each place.
void SetCarbons(QXMolKit::QXMolBase& mol, std::vector<double> const& places);

/// Whether any of the places is closer to a point, three coordinates, than a distance.
bool IsNear(std::vector<double> const& places, double const* point, double distance);

/// Places that are asked one after the other whether they are near to one before, by the rule of
/// IsNear and at a cost that does not grow with their number, as long as few are near to each
/// other. They stand in cells a little larger than the distance: what is near is in the same cell
/// or in one of the 26 about it.
class PlaceCells {
 public:
  explicit PlaceCells(double distance);

  bool IsNear(double const* point) const;
  void Add(double const* point);
  /// In the order in which they were added.
  std::vector<double> const& GetPlaces() const { return places_; }

 private:
  int64_t CellAlong(double coordinate) const;

  double distance_;
  double cellsPerLength_;
  std::vector<double> places_;
  std::unordered_map<int64_t, std::vector<double>> cells_;
};

}  // namespace QXHermiteMath
