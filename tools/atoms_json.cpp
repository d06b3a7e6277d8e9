#include "tools/atoms_json.h"

#include <cmath>
#include <vector>

#include "tools/inertial_frame.h"

namespace QXTools {

using QXMolKit::QXMol;

namespace {

constexpr double kFarthest = 1e6;  // angstrom from the origin, as of points
constexpr unsigned int kHeaviest = 118;

}  // namespace

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
    const auto number = list[i].find("atomic_number");
    RequireField(number != list[i].end() && number->is_number_unsigned() &&
                     number->get<uint64_t>() <= kHeaviest,
                 place + ".atomic_number", "is not the number of an element");
    mol.NewAtom(number->get<unsigned int>());
    for (const char* axis : {"x", "y", "z"}) {
      const std::string name = fmt::format("{}.{}", place, axis);
      const auto x = list[i].find(axis);
      RequireField(x != list[i].end() && x->is_number(), name, "is no number");
      places.push_back(x->get<double>());
      RequireField(std::abs(places.back()) <= kFarthest, name,
                   fmt::format("{} is not within {} A of the origin", places.back(), kFarthest));
    }
  }
  if (!places.empty()) mol.SetCoords(places.data());
  return mol;
}

}  // namespace QXTools
