#include "tools/model_file.h"

#include "tools/multi_centre_json.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXMultiHermite;

constexpr const char* kFormat = "qxhermite model 1";
constexpr const char* kFunctions =
    "H_l(w x) H_m(w y) H_n(w z) exp(-w^2 (x^2 + y^2 + z^2)/2), w the width, x, y, z from the "
    "center of the site";

Json ToJson(const Model& model) {
  Json json = {{"format", kFormat},
               {"title", model.title},
               {"source", model.source},
               {"units", "angstrom"},
               {"functions", kFunctions}};
  AppendMultiCentre(model.expansion, json);
  return json;
}

Model FromJson(const Json& json) {
  RequireField(GetField<std::string>(json, "format") == kFormat, "format",
               fmt::format("is not \"{}\"", kFormat));
  RequireField(GetField<std::string>(json, "units") == "angstrom", "units", "is not angstrom");
  return {GetField<std::string>(json, "title"), GetField<std::string>(json, "source"),
          MultiCentreFromJson<QXMultiHermite>(json)};
}

}  // namespace

bool IsModelFile(const std::string& path) {
  return IsJsonOfFormat(path, "qxhermite model ");
}

bool WriteModel(const Model& model, const std::string& path) {
  return WriteJsonFile(ToJson(model), path);
}

std::optional<Model> ReadModel(const std::string& path, Listener& listener) {
  return ReadJsonFile(path, "write it anew with qxhermite fit-grid", listener, FromJson);
}

}  // namespace QXTools
