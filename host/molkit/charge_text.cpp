#include "host/molkit/charge_text.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include "host/molkit/mcmolbase.h"
#include "host/molkit/text.h"

namespace QXMolKit {
namespace {

constexpr const char* kTags[] = {"atom.dprop.PartialCharge", "PartialCharges"};

std::string Quote(std::string_view word) {
  return "\"" + std::string(word.substr(0, 20)) + (word.size() > 20 ? "...\"" : "\"");
}

/// The numbers of a text, or what is wrong with it.
std::string ParseCharges(std::string_view text, size_t numAtoms, std::vector<double>& charges) {
  const std::vector<std::string_view> words = SplitWords(text);
  if (words.size() != numAtoms) {
    return "has " + std::to_string(words.size()) + " values for " + std::to_string(numAtoms) +
           " atoms";
  }
  charges.clear();
  for (const std::string_view word : words) {
    const std::optional<double> value = ParseNumber<double>(word);
    if (!value) return "holds " + Quote(word) + ", which is no number";
    charges.push_back(*value);
  }
  return {};
}

}  // namespace

std::string QXReadChargeText(const QXSDText& text, QXMolBase& mol) {
  for (const char* tag : kTags) {
    const size_t place = text.Find(tag);
    if (place == QXSDText::npos) continue;
    std::vector<double> charges;
    const std::string wrong = ParseCharges(text.Value(place), mol.NumAtoms(), charges);
    if (!wrong.empty()) return std::string(tag) + " " + wrong;
    for (QXAtom& atom : mol.GetMolecule().Atoms()) atom.SetPartialCharge(charges[atom.GetIdx()]);
    return {};
  }
  return {};
}

void QXWriteChargeText(const QXMolBase& mol, QXSDText& text) {
  const auto atoms = mol.GetMolecule().Atoms();
  if (std::ranges::all_of(atoms, [](const QXAtom& a) { return a.GetPartialCharge() == 0; })) return;

  const bool hasFirst = text.Find(kTags[0]) != QXSDText::npos;
  const size_t place = text.Find(hasFirst ? kTags[0] : kTags[1]);  // the one that a reader takes
  std::vector<double> told;
  if (place != QXSDText::npos && ParseCharges(text.Value(place), atoms.size(), told).empty()) {
    const auto isTold = [&told](const QXAtom& a) {
      return told[a.GetIdx()] == a.GetPartialCharge();
    };
    if (std::ranges::all_of(atoms, isTold)) return;
  }
  text.Delete(kTags[0]);
  std::string charges;
  for (const QXAtom& atom : atoms) {
    char number[32];  // the shortest text that reads back as a double has at most 24 characters
    const auto end = std::to_chars(number, number + sizeof number, atom.GetPartialCharge()).ptr;
    charges.append(charges.empty() ? "" : " ").append(number, end);
  }
  text.Set(kTags[1], charges);
}

}  // namespace QXMolKit
