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

QXHermiteOptions OptionsFromJson(const Json& json) {
  QXHermiteOptions options;
  for (size_t place = 0; place < options.NumParameters(); ++place) {
    QXCore::QXParameter& parameter = *options.GetParameter(place);
    const std::string name = NameOf(parameter);
    const Json value = GetField<Json>(json, name);
    RequireField(value.is_primitive() && parameter.SetFromText(value.dump()), name,
                 "has an illegal value");
  }
  for (const double width : {options.GetLambdaX(), options.GetLambdaY(), options.GetLambdaZ()}) {
    RequireField(width > 0.0, "options", "a width is not a positive number");
  }
  return options;
}

Density FromJson(const Json& json) {
  RequireField(GetField<std::string>(json, "format") == kFormat, "format",
               fmt::format("is not \"{}\" (models are for qxhermite grid)", kFormat));
  Density density;
  density.title = GetField<std::string>(json, "title");
  density.source = GetField<std::string>(json, "source");
  const auto center = GetField<std::vector<double>>(json, "center");
  RequireField(center.size() == 3, "center", "has not three coordinates");
  std::copy_n(center.begin(), 3, density.centre.begin());
  density.width = GetField<double>(json, "width");
  RequireField(density.width >= 0.0, "width", "is negative");
  density.exactSelfOverlap = GetField<double>(json, "exactSelfOverlap");
  RequireField(density.exactSelfOverlap > 0.0, "exactSelfOverlap", "is not positive");
  const QXHermiteOptions options = OptionsFromJson(GetField<Json>(json, "options"));
  const auto coefficients = GetField<std::vector<double>>(json, "coefficients");
  const size_t wanted = QXHermiteMath::QXHermiteBasisSize(options.GetNPolyMax());
  RequireField(coefficients.size() == wanted, "coefficients",
               fmt::format("{} values, but degree {} has {}", coefficients.size(),
                           options.GetNPolyMax(), wanted));
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

std::optional<Density> ReadExpansion(const std::string& path, Listener& listener) {
  return ReadJsonFile(path, "write it anew with qxhermite expand, or fit-grid for a model",
                      listener, FromJson);
}

}  // namespace QXTools
