#include "tools/charge_density_file.h"

#include "tools/atoms_json.h"
#include "tools/multi_centre_json.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXHermiteChargeDensity;

constexpr const char* kFormat = "qxhermite charge density 1";
constexpr const char* kFunctions =
    "H_l(w x) H_m(w y) H_n(w z) exp(-w^2 (x^2 + y^2 + z^2)), w the width, x, y, z from the center "
    "of the site";

Json Units() {
  return {{"length", "angstrom"},
          {"width", "1/angstrom"},
          {"charge", "e"},
          {"coefficients", "e/angstrom^3"},
          {"dipole", "e angstrom"}};
}

Json ToJson(const ChargeDensity& density) {
  Json json = {{"format", kFormat}, {"title", density.title},  {"source", density.source},
               {"units", Units()},  {"functions", kFunctions}, {"atoms", AtomsToJson(density.mol)}};
  AppendMultiCentre(density.density, json);
  json["charge"] = density.density.TotalCharge();
  json["dipole"] = density.density.DipoleMoment();
  return json;
}

ChargeDensity FromJson(const Json& json) {
  RequireField(GetField<std::string>(json, "format") == kFormat, "format",
               fmt::format("is not \"{}\"", kFormat));
  RequireUnits(json, Units());
  return {GetField<std::string>(json, "title"), GetField<std::string>(json, "source"),
          AtomsFromJson(GetList(json, "atoms")), MultiCentreFromJson<QXHermiteChargeDensity>(json)};
}

}  // namespace

bool IsChargeDensityFile(const std::string& path) {
  return IsJsonOfFormat(path, "qxhermite charge density ");
}

bool WriteChargeDensity(const ChargeDensity& density, const std::string& path) {
  return WriteJsonFile(ToJson(density), path);
}

std::optional<ChargeDensity> ReadChargeDensity(const std::string& path, Listener& listener) {
  return ReadJsonFile(path, "write it anew with qxhermite charges fit", listener, FromJson);
}

}  // namespace QXTools
