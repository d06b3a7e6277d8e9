#include "tools/atoms_json.h"

#include <cmath>
#include <vector>

#include "tools/inertial_frame.h"

namespace QXTools {

using QXMolKit::QXMol;

constexpr double kFarthest = 1e5;  // angstrom from the origin, as for grids
constexpr unsigned int kHeaviest = 118;

Json AtomsToJson(const QXMol& mol) {
  const std::vector<double> places = Coordinates(mol);
  Json list = Json::array();
  for (unsigned int atom = 0; atom < mol.NumAtoms(); ++atom) {
    const double* const place = &places[size_t{3} * atom];
    list.push_back({{"atomic_number", mol.GetAtom(atom)->GetAtomicNum()},
                    {"x", place[0]},
                    {"y", place[1]},
                    {"z", place[2]}});
  }
  return list;
}

QXMol AtomsFromJson(const Json& list) {
  QXMol mol(1);
  std::vector<double> places;
  for (size_t i = 0; i < list.size(); ++i) {
    const std::string place = fmt::format("atoms[{}]", i);
    RequireField(list[i].is_object(), place, "is no object");
    const Json number = GetField<Json>(list[i], "atomic_number");
    RequireField(number.is_number_unsigned() && number.get<uint64_t>() <= kHeaviest,
                 place + ".atomic_number", "is not the number of an element");
    mol.NewAtom(number.get<unsigned int>());
    for (const char* axis : {"x", "y", "z"}) {
      const double x = GetField<double>(list[i], axis);
      RequireField(std::abs(x) <= kFarthest, fmt::format("{}.{}", place, axis),
                   fmt::format("{} is not within {} A of the origin", x, kFarthest));
      places.push_back(x);
    }
  }
  if (!places.empty()) mol.SetCoords(places.data());
  return mol;
}

}  // namespace QXTools
