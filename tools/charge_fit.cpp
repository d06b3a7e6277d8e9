#include "tools/charge_fit.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/charge_potential.h"

namespace QXTools {
namespace {

/// What FitCharges is given.
class ChargeFit {
 public:
  ChargeFit(const ElectrostaticData& data, const ElectrostaticSettings& settings,
            const std::vector<double>& sites, const std::string& place, Listener& listener)
      : data_(data), settings_(settings), sites_(sites), place_(place), listener_(listener) {}

  std::optional<ElectrostaticPath> Run(unsigned int memory) const {
    if (!HasData() || !HasMemory(memory)) return std::nullopt;
    const ElectrostaticSample fitted = TakePoints(data_, Places(false));
    const ElectrostaticSample heldOut = TakePoints(data_, Places(true));
    if (fitted.points.empty()) {
      listener_.Say(
          fmt::format("{}: has no points to fit: hold fewer out, or take a larger --lambda or "
                      "a lower --npolymax",
                      place_));
      return std::nullopt;
    }
    const ElectrostaticPath path(settings_, fitted, heldOut, sites_);
    if (path.Steps().empty()) {
      listener_.Say(
          fmt::format("{}: there is nothing to fit: check that its values differ", place_));
      return std::nullopt;
    }
    Judge(path);
    return path;
  }

 private:
  /// False, as below, when that cannot be, which the listener is told.
  bool HasData() const;
  bool HasMemory(unsigned int memory) const;
  /// Those to be fitted, or those held out: all but what lies too close to a site.
  std::vector<size_t> Places(bool heldOut) const;
  /// Tells what there is to say of the density chosen.
  void Judge(const ElectrostaticPath& path) const;

  const ElectrostaticData& data_;
  const ElectrostaticSettings& settings_;
  const std::vector<double>& sites_;
  const std::string& place_;
  Listener& listener_;
};

bool ChargeFit::HasData() const {
  const auto& regression = settings_.regression;
  if (regression.GetUsePotential() && data_.potential.empty()) {
    listener_.Say(fmt::format("{}: has no potential: add it, or give -UsePotential false", place_));
    return false;
  }
  if (regression.GetUseElectricField() && data_.field.empty()) {
    listener_.Say(
        fmt::format("{}: has no electric field: add it, or give -UseElectricField false", place_));
    return false;
  }
  if (std::abs(data_.totalCharge) > 0.5 && regression.GetUseNeutralCharge()) {
    listener_.Say(
        fmt::format("{}: its charge is {:g}, but a neutral density is fitted: give "
                    "-UseNeutralCharge false",
                    place_, data_.totalCharge));
  }
  return true;
}

bool ChargeFit::HasMemory(unsigned int memory) const {
  const size_t numSites = sites_.size() / 3;
  const double functions = static_cast<double>(QXHermiteMath::SizeOfBasis(settings_.degree)) *
                           static_cast<double>(numSites);
  // The matrix of potential and field, and a copy of it.
  const double bytes = 2.0 * 8.0 * 4.0 * static_cast<double>(data_.NumPoints()) * functions;
  if (bytes <= memory * 1048576.0) return true;
  listener_.Say(
      fmt::format("{}: {} functions at {} points need {:.0f} MiB: raise --memory, or "
                  "lower --npolymax",
                  place_, functions, data_.NumPoints(), std::ceil(bytes / 1048576.0)));
  return false;
}

std::vector<size_t> ChargeFit::Places(bool heldOut) const {
  const double width = settings_.width > 0.0 ? settings_.width : kLeastTriedWidth;
  const double least = LeastDistance(settings_.degree + 1, width * width);
  std::vector<size_t> places, close;
  for (size_t i = 0; i < data_.NumPoints(); ++i) {
    if (data_.heldOut[i] != heldOut) continue;
    bool isClose = false;
    for (size_t s = 0; s < sites_.size(); s += 3) {
      const double* const p = &data_.points[3 * i];
      isClose |= std::hypot(p[0] - sites_[s], p[1] - sites_[s + 1], p[2] - sites_[s + 2]) < least;
    }
    (isClose ? close : places).push_back(i);
  }
  if (!close.empty()) {
    listener_.Say(
        fmt::format("{}: {} point{} {}, the first of them number {}, closer than {:.2g} A to "
                    "a site: left out",
                    place_, close.size(), close.size() == 1 ? "" : "s",
                    heldOut ? "held out" : "to be fitted", close[0] + 1, least));
  }
  return places;
}

void ChargeFit::Judge(const ElectrostaticPath& path) const {
  constexpr double kMuchWorse = 2.0;
  const ElectrostaticStep& chosen = path.Chosen();
  if (settings_.actives > chosen.functions) {
    listener_.Say(fmt::format("{}: --actives {}: no step of the path has as many: {} are taken",
                              place_, settings_.actives, chosen.functions));
  }
  if (settings_.targetError > 0.0 && !path.ReachesTarget(chosen.fitted)) {
    listener_.Say(
        fmt::format("{}: --target-error {}: is not reached, all {} functions are taken: "
                    "raise --npolymax, or choose another --lambda",
                    place_, settings_.targetError, chosen.functions));
  }
  const double ratio = path.Total(chosen.heldOut) / path.Total(chosen.fitted);
  if (ratio > kMuchWorse) {
    listener_.Say(
        fmt::format("{}: errors at the points held out are {:.1f} times those at the points "
                    "fitted: take fewer functions with --actives, or give more points",
                    place_, ratio));
  }
}

}  // namespace

std::optional<ElectrostaticPath> FitCharges(const ElectrostaticData& data,
                                            const ElectrostaticSettings& settings,
                                            const std::vector<double>& sites, unsigned int memory,
                                            const std::string& place, Listener& listener) {
  return ChargeFit(data, settings, sites, place, listener).Run(memory);
}

std::string FittedTo(const ElectrostaticData& data, const ElectrostaticSettings& settings) {
  const bool potential = settings.regression.GetUsePotential();
  const bool field = settings.regression.GetUseElectricField();
  return fmt::format("{}{}{} at {} points", potential ? "potential" : "",
                     potential && field ? " and " : "", field ? "field" : "",
                     std::count(data.heldOut.begin(), data.heldOut.end(), false));
}

}  // namespace QXTools
