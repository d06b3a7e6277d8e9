#include "tools/coverage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "tools/text.h"

namespace QXTools {
namespace {

using QXCore::QXGaussian;

constexpr double kEnough = 0.5;
constexpr size_t kTitleWidth = 40;

}  // namespace

// By the product rule: integral of g_a g_b = A_a A_b (pi / s)^(3/2) exp(-(w_a w_b / s) d^2),
// s = w_a + w_b.
double ExactSelfOverlap(const std::vector<QXGaussian>& gaussians) {
  double sum = 0.0;
  for (size_t i = 0; i < gaussians.size(); ++i) {
    for (size_t k = 0; k <= i; ++k) {
      const QXGaussian &a = gaussians[i], &b = gaussians[k];
      const double x = a.GetX() - b.GetX(), y = a.GetY() - b.GetY(), z = a.GetZ() - b.GetZ();
      const double wa = a.GetWidth(), wb = b.GetWidth(), s = wa + wb;
      const double pair = a.GetAmplitude() * b.GetAmplitude() *
                          std::pow(std::numbers::pi / s, 1.5) *
                          std::exp(-wa * wb / s * (x * x + y * y + z * z));
      sum += k < i ? 2 * pair : pair;
    }
  }
  return sum;
}

double HeldShare(const QXHermiteMath::QXHermite& expansion,
                 const std::vector<QXGaussian>& gaussians) {
  return expansion.GetSelfOverlap() / ExactSelfOverlap(gaussians);
}

void PoorlyHeld::Note(const std::string& title, double share) {
  if (!(share < kEnough)) return;
  if (count_++ > 0 && share >= smallest_) return;
  smallest_ = std::max(share, 0.0);  // rounding errors may have either sign
  title_ = title;
}

std::string PoorlyHeld::Warning(const std::string& remedy, bool ofCharge) const {
  const std::string title = title_.empty() ? "a molecule without title" : title_;
  std::string text =
      fmt::format("the expansion holds only {} % of {}{}", static_cast<int>(100 * smallest_),
                  ofCharge ? "the charge of " : "", DisplayText(title, kTitleWidth));
  if (count_ > 1) {
    text += fmt::format(" and less than half of {} more", count_ - 1);
  }
  const std::string whose = count_ > 1 ? "their" : "its";
  const char* const fault = ofCharge     ? "scores may be far off"
                            : count_ > 1 ? "Shape Tanimotos are too high"
                                         : "Shape Tanimoto is too high";
  return fmt::format("{}: {} {}: {}", text, whose, fault, remedy);
}

}  // namespace QXTools
