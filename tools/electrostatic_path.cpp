#include "tools/electrostatic_path.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace QXTools {

using QXHermiteMath::QXHermiteChargeDensity;

namespace {

/// Widths that are tried: wider functions make the field worse; narrower ones do not reach the
/// points, so that all are alike.
constexpr double kLargestTriedWidth = 2.2;
constexpr unsigned int kTriedWidths = 8;

/// Numbers of functions up to a largest one: all small ones, then ever further apart.
std::vector<unsigned int> NumbersUpTo(unsigned int most) {
  std::vector<unsigned int> numbers;
  for (unsigned int n = 1; n < most; n = std::max(n + 1, n * 5 / 4)) numbers.push_back(n);
  if (most > 0) numbers.push_back(most);
  return numbers;
}

}  // namespace

ElectrostaticPath::ElectrostaticPath(const ElectrostaticSettings& settings,
                                     const ElectrostaticSample& fitted,
                                     const ElectrostaticSample& heldOut,
                                     const std::vector<double>& sites)
    : settings_(settings), fitted_(fitted), sites_(sites) {
  const ElectrostaticFit fit = Fit(settings.width > 0.0 ? settings.width : BestWidth());
  for (const unsigned int entered : Numbers(fit)) {
    const QXHermiteChargeDensity density = fit.density(entered);
    const unsigned int actives = density.NumActives();
    if (actives == 0) continue;
    // Where functions have left, a later step is the better one with as many or fewer.
    while (!steps_.empty() && steps_.back().functions >= actives) steps_.pop_back();
    steps_.push_back({actives, density, ErrorsOf(density, fitted), ErrorsOf(density, heldOut)});
  }
  TellProgress(settings.width > 0.0 ? 1 : kTriedWidths + 1);
}

void ElectrostaticPath::TellProgress(unsigned int fitsDone) const {
  if (settings_.progress)
    settings_.progress(fitsDone, settings_.width > 0.0 ? 1 : kTriedWidths + 1);
}

const ElectrostaticStep& ElectrostaticPath::Chosen() const {
  for (const ElectrostaticStep& step : steps_) {
    if (settings_.targetError > 0.0 && ReachesTarget(step.fitted)) return step;
  }
  return steps_.back();
}

std::vector<double> ElectrostaticPath::Counted(const RelativeErrors& errors) const {
  std::vector<double> counted;
  if (settings_.regression.GetUsePotential()) counted.push_back(errors.potential);
  if (settings_.regression.GetUseElectricField()) counted.push_back(errors.field);
  std::erase_if(counted, [](double error) { return std::isnan(error); });
  return counted;
}

bool ElectrostaticPath::ReachesTarget(const RelativeErrors& errors) const {
  const std::vector<double> counted = Counted(errors);
  return std::all_of(counted.begin(), counted.end(),
                     [this](double error) { return error <= settings_.targetError; });
}

double ElectrostaticPath::Total(const RelativeErrors& errors) const {
  double total = 0.0;
  for (const double error : Counted(errors)) total = std::hypot(total, error);
  return total;
}

ElectrostaticFit ElectrostaticPath::Fit(double width) const {
  return FitSample(
      fitted_, QXHermiteMath::QXMultiHermiteParameters(settings_.degree, width, sites_),
      settings_.regression, settings_.method, settings_.actives > 0 ? settings_.actives : ~0u);
}

bool ElectrostaticPath::Reaches(const ElectrostaticFit& fit, unsigned int functions) const {
  return settings_.targetError > 0.0 && ReachesTarget(ErrorsOf(fit.density(functions), fitted_));
}

double ElectrostaticPath::BestWidth() const {
  // By the functions that it takes to reach the target, then by the error.
  std::pair<unsigned int, double> best;
  double bestWidth = 0.0;
  for (unsigned int i = 0; i < kTriedWidths; ++i) {
    const double width = kLeastTriedWidth * std::pow(kLargestTriedWidth / kLeastTriedWidth,
                                                     double(i) / (kTriedWidths - 1));
    TellProgress(i);
    const ElectrostaticFit fit = Fit(width);
    if (fit.maxFunctions == 0) continue;
    const std::vector<unsigned int> numbers = NumbersUpTo(fit.maxFunctions);
    const auto first = settings_.targetError > 0.0
                           ? std::find_if(numbers.begin(), numbers.end(),
                                          [&](unsigned int n) { return Reaches(fit, n); })
                           : numbers.end();
    const unsigned int functions = first != numbers.end() ? *first : fit.maxFunctions;
    const std::pair quality{first != numbers.end() ? functions : ~0u,
                            Total(ErrorsOf(fit.density(functions), fitted_))};
    if (bestWidth > 0.0 && quality >= best) continue;
    best = quality;
    bestWidth = width;
  }
  TellProgress(kTriedWidths);
  return bestWidth > 0.0 ? bestWidth : kLeastTriedWidth;
}

std::vector<unsigned int> ElectrostaticPath::Numbers(const ElectrostaticFit& fit) const {
  std::vector<unsigned int> numbers = NumbersUpTo(fit.maxFunctions);
  const auto reaches = [&](unsigned int n) { return Reaches(fit, n); };
  const auto found = std::find_if(numbers.begin(), numbers.end(), reaches);
  if (found == numbers.begin() || found == numbers.end()) return numbers;
  unsigned int first = *(found - 1) + 1;
  while (first < *found && !reaches(first)) ++first;
  if (first < *found) numbers.insert(found, first);
  return numbers;
}

}  // namespace QXTools
