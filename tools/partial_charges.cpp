#include "tools/partial_charges.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/molkit/charges.h"
#include "host/molkit/mcmolbase.h"
#include "tools/text.h"

namespace QXTools {
namespace {

using QXMolKit::QXAtom;
using QXMolKit::QXMolBase;

constexpr double kLeastCharge = 1e-6;
constexpr size_t kTitleWidth = 40;

}  // namespace

std::vector<double> GetPartialCharges(const QXMolBase& mol) {
  std::vector<double> charges;
  for (const QXAtom& atom : mol.GetMolecule().Atoms()) charges.push_back(atom.GetPartialCharge());
  return charges;
}

void SetPartialCharges(const std::vector<double>& charges, QXMolBase& mol) {
  for (QXAtom& atom : mol.GetMolecule().Atoms()) atom.SetPartialCharge(charges[atom.GetIdx()]);
}

bool ComputeCharges(QXMolBase& mol, const std::string& where, Console& console) {
  console.SetSource(where);
  const bool done = QXMolKit::QXAssignGasteigerCharges(mol);
  console.SetSource({});
  return done;
}

std::string WhyUncharged(const QXMolBase& mol, bool computed) {
  const auto isNone = [](double charge) { return std::fabs(charge) < kLeastCharge; };
  if (!std::ranges::all_of(GetPartialCharges(mol), isNone)) return {};
  const std::string title = DisplayText(mol.GetTitle(), kTitleWidth);
  return fmt::format("{} has no partial charges{}",
                     title.empty() ? "the molecule" : fmt::format("\"{}\"", title),
                     computed ? ", all computed ones are zero: give a file with charges"
                              : ": give --charges gasteiger, or a file with charges");
}

}  // namespace QXTools
