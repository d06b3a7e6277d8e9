#include "tools/multi_centre_json.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "hermite/foundations/basis.h"

namespace QXTools {
namespace {

using QXHermiteMath::QXMultiHermiteBase;
using QXHermiteMath::QXMultiHermiteParameters;

constexpr const char* kOrder = "sites in order, in a site l + m + n rising, then l, then m";
// Far above what a fit can hold in memory.
constexpr unsigned int kLargestDegree = 100;
constexpr double kLeastWidth = 1e-6, kLargestWidth = 1e6;  // 1/angstrom
constexpr double kFarthest = 1e6;                          // angstrom
constexpr uint64_t kMostFunctions = 100'000'000;

using Centers = std::vector<std::array<double, 3>>;

/// A value in a message.
std::string Name(const Json& value) {
  return value.is_structured() ? value.type_name() : value.dump();
}

/// x, y and z of each site.
std::vector<double> ToCenters(const Json& list) {
  std::vector<double> centers;
  for (size_t site = 0; site < list.size(); ++site) {
    const std::string name = fmt::format("centers[{}]", site);
    RequireField(list[site].is_array() && list[site].size() == 3, name,
                 "is no list of three coordinates");
    const std::vector<double> center = ToNumbers(list[site], name);
    for (const double x : center) {
      RequireField(std::abs(x) <= kFarthest, name,
                   fmt::format("{} is not within {} A of the origin", x, kFarthest));
    }
    centers.insert(centers.end(), center.begin(), center.end());
  }
  return centers;
}

void RequireOneOrEach(size_t size, size_t sites, const std::string& name) {
  RequireField(
      size == 1 || size == sites, name,
      fmt::format("{} values for {} sites: give one for all, or one for each", size, sites));
}

QXMultiHermiteParameters LayoutFromJson(const Json& json) {
  const std::vector<unsigned int> degrees = ToCounts(GetList(json, "degrees"), "degrees");
  const std::vector<double> widths = ToNumbers(GetList(json, "widths"), "widths");
  const std::vector<double> centers = ToCenters(GetList(json, "centers"));
  const size_t sites = centers.size() / 3;
  RequireField(sites > 0, "centers", "is empty");
  RequireOneOrEach(degrees.size(), sites, "degrees");
  RequireOneOrEach(widths.size(), sites, "widths");
  for (const double width : widths) {
    RequireField(width > 0.0, "widths", fmt::format("{} is not positive", width));
    RequireField(width >= kLeastWidth && width <= kLargestWidth, "widths",
                 fmt::format("{} is out of range", width));
  }
  uint64_t functions = 0;
  for (size_t site = 0; site < sites; ++site) {
    const unsigned int degree = degrees[degrees.size() == 1 ? 0 : site];
    RequireField(degree <= kLargestDegree, "degrees",
                 fmt::format("{} is above {}", degree, kLargestDegree));
    functions += QXHermiteMath::QXHermiteBasisSize(degree);
  }
  RequireField(functions < kMostFunctions, "degrees",
               fmt::format("{} functions are too many", functions));
  return QXMultiHermiteParameters(degrees, widths, centers);
}

}  // namespace

const Json& GetList(const Json& json, const std::string& name) {
  const auto field = json.find(name);
  RequireField(field != json.end() && field->is_array(), name, "is no list");
  return *field;
}

std::vector<unsigned int> ToCounts(const Json& list, const std::string& name) {
  std::vector<unsigned int> counts;
  for (const Json& value : list) {
    RequireField(value.is_number_unsigned() && value.get<uint64_t>() < kMostFunctions,
                 fmt::format("{}[{}]", name, counts.size()),
                 fmt::format("{} is not a whole number in range", Name(value)));
    counts.push_back(value.get<unsigned int>());
  }
  return counts;
}

std::vector<double> ToNumbers(const Json& list, const std::string& name) {
  std::vector<double> numbers;
  for (const Json& value : list) {
    RequireField(value.is_number(), fmt::format("{}[{}]", name, numbers.size()),
                 fmt::format("{} is not a number", Name(value)));
    numbers.push_back(value.get<double>());
  }
  return numbers;
}

MultiCentreFields MultiCentreFieldsFromJson(const Json& json) {
  QXMultiHermiteParameters layout = LayoutFromJson(json);
  std::vector<unsigned int> actives = ToCounts(GetList(json, "actives"), "actives");
  std::vector<double> coefficients = ToNumbers(GetList(json, "coefficients"), "coefficients");
  RequireField(coefficients.size() == actives.size(), "coefficients",
               fmt::format("{} values for {} actives", coefficients.size(), actives.size()));
  RequireField(!actives.empty(), "actives", "is empty");
  for (size_t i = 0; i < actives.size(); ++i) {
    const std::string name = fmt::format("actives[{}]", i);
    RequireField(
        actives[i] < layout.NumBasis(), name,
        fmt::format("{} is not below {}, the number of functions", actives[i], layout.NumBasis()));
    RequireField(i == 0 || actives[i] > actives[i - 1], name,
                 fmt::format("{} does not rise above the one before", actives[i]));
  }
  return {std::move(layout), std::move(actives), std::move(coefficients)};
}

void AppendMultiCentre(const QXMultiHermiteBase& expansion, Json& json) {
  const QXMultiHermiteParameters layout = expansion.GetParams();
  const std::vector<unsigned int> actives = expansion.GetActives();
  std::vector<double> coefficients;
  for (const unsigned int active : actives) {
    coefficients.push_back(expansion.GetCoefficient(active));
  }
  Centers centers(layout.NumSites());
  for (unsigned int site = 0; site < layout.NumSites(); ++site) {
    std::copy_n(layout.GetCenter(site).begin(), 3, centers[site].begin());
  }
  json["order"] = kOrder;
  json["degrees"] = layout.GetNPolyMaxValues();
  json["widths"] = layout.GetLambdaValues();
  json["centers"] = centers;
  json["actives"] = actives;
  json["coefficients"] = coefficients;
}

}  // namespace QXTools
