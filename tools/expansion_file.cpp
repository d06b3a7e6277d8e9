#include "tools/expansion_file.h"

#include <algorithm>
#include <cctype>

#include "hermite/foundations/basis.h"
#include "tools/json_file.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXHermiteOptions;

constexpr const char* kFormat = "qxhermite expansion 1";
constexpr const char* kOrder = "l + m + n rising, then l, then m";

/// The name of an option in the file: without its dash.
std::string NameOf(const QXCore::QXParameter& parameter) {
  return parameter.GetOption().substr(1);
}

Json OptionsToJson(const QXHermiteOptions& options) {
  Json json;
  for (size_t place = 0; place < options.NumParameters(); ++place) {
    const QXCore::QXParameter& parameter = *options.GetParameter(place);
    json[NameOf(parameter)] = Json::parse(parameter.GetText());
  }
  return json;
}

void Require(bool condition, const char* problem) {
  if (!condition) throw std::runtime_error(problem);
}

QXHermiteOptions OptionsFromJson(const Json& json) {
  QXHermiteOptions options;
  for (size_t place = 0; place < options.NumParameters(); ++place) {
    QXCore::QXParameter& parameter = *options.GetParameter(place);
    if (!parameter.SetFromText(json.at(NameOf(parameter)).dump())) {
      throw std::runtime_error(NameOf(parameter) + " has an illegal value");
    }
  }
  const double x = options.GetLambdaX(), y = options.GetLambdaY(), z = options.GetLambdaZ();
  Require(x > 0.0 && y > 0.0 && z > 0.0, "a width is not a positive number");
  return options;
}

Density FromJson(const Json& json) {
  Require(json.is_object() && json.value("format", "") == kFormat,
          "not an expansion of this tool (a model is for qxhermite grid)");
  Density density;
  density.title = json.at("title");
  density.source = json.at("source");
  Require(json.at("center").size() == 3, "the center has not three coordinates");
  density.centre = json.at("center");
  density.width = json.at("width");
  density.exactSelfOverlap = json.at("exactSelfOverlap");
  const QXHermiteOptions options = OptionsFromJson(json.at("options"));
  const std::vector<double> coefficients = json.at("coefficients");
  const size_t wanted = QXHermiteMath::QXHermiteBasisSize(options.GetNPolyMax());
  if (coefficients.size() != wanted) {
    throw std::runtime_error(fmt::format("{} coefficients, but degree {} has {}",
                                         coefficients.size(), options.GetNPolyMax(), wanted));
  }
  Require(density.width >= 0.0 && density.exactSelfOverlap > 0.0,
          "a width or a self overlap is not positive");
  density.expansion.Setup(coefficients, options);
  return density;
}

}  // namespace

bool IsExpansionFile(const std::string& path) {
  constexpr std::string_view kEnd = ".json";
  return path.size() >= kEnd.size() &&
         std::equal(kEnd.rbegin(), kEnd.rend(), path.rbegin(), [](char a, char b) {
           return a == std::tolower(static_cast<unsigned char>(b));
         });
}

bool WriteExpansion(const Density& density, const std::string& path) {
  const Json json = {{"format", kFormat},
                     {"title", density.title},
                     {"source", density.source},
                     {"units", "angstrom"},
                     {"options", OptionsToJson(density.expansion.GetOptions())},
                     {"center", density.centre},
                     {"width", density.width},
                     {"selfOverlap", density.expansion.GetSelfOverlap()},
                     {"exactSelfOverlap", density.exactSelfOverlap},
                     {"order", kOrder},
                     {"coefficients", density.expansion.GetCoefficients()}};
  return WriteJsonFile(json, path);
}

std::optional<Density> ReadExpansion(const std::string& path, Console& console) {
  return ReadJsonFile(path, "write it anew with qxhermite expand", console, FromJson);
}

}  // namespace QXTools
