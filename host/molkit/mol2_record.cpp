#include "host/molkit/mol2_record.h"

#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "host/molkit/text.h"

namespace QXMolKit {
namespace {

using Lines = std::vector<std::string_view>;

/// The lines of each section, without blank ones and comments. Of MOLECULE all lines are kept, as
/// each has its meaning by its place.
std::map<std::string, Lines> SplitSections(const std::string& text) {
  constexpr std::string_view kMark = "@<TRIPOS>";
  std::map<std::string, Lines> sections;
  Lines* section = nullptr;
  bool keepsAll = false;
  for (const std::string_view line : SplitLines(text)) {
    if (line.starts_with(kMark)) {
      const std::string name(TrimEnd(line.substr(kMark.size())));
      section = &sections[name];
      keepsAll = name == "MOLECULE";
    } else if (section && (keepsAll || !(TrimEnd(line).empty() || line.starts_with('#')))) {
      section->push_back(line);
    }
  }
  return sections;
}

std::string Quote(std::string_view line) {
  return "\"" + std::string(TrimEnd(line)) + "\"";
}

/// The type of an atom with its element in the usual letters, "Du" for a dummy; empty when neither.
std::string CleanType(std::string_view type, bool (*isElement)(const std::string&)) {
  static const std::set<std::string_view> dummies = {"Du", "LP", "Any", "Hal", "Het", "Hev"};
  const size_t dot = std::min(type.find('.'), type.size());
  std::string element(type.substr(0, dot));
  if (dummies.contains(element)) return "Du";
  if (element.size() == 2 && element[1] >= 'A' && element[1] <= 'Z') {
    element[1] = static_cast<char>(element[1] - 'A' + 'a');
  }
  return isElement(element) ? element + std::string(type.substr(dot)) : std::string();
}

class Reader {
 public:
  Reader(bool (*isElement)(const std::string&), Mol2Record& record)
      : isElement_(isElement), record_(record) {}

  std::string Read(const std::string& text) {
    std::map<std::string, Lines> sections = SplitSections(text);
    if (!sections.contains("MOLECULE")) return "it has no line \"@<TRIPOS>MOLECULE\"";
    const Lines& head = sections["MOLECULE"];
    if (!head.empty()) record_.title = TrimEnd(head[0]);
    const auto counts = SplitWords(head.size() > 1 ? head[1] : "");
    const auto numAtoms = ParseNumber<size_t>(counts.empty() ? "" : counts[0]);
    const auto numBonds = ParseNumber<size_t>(counts.size() > 1 ? counts[1] : "0");
    if (!numAtoms || !numBonds) return "its counts line tells no numbers of atoms and bonds";
    const Lines& atoms = sections["ATOM"];
    const Lines& bonds = sections["BOND"];
    if (atoms.size() != *numAtoms || bonds.size() != *numBonds) {
      return "its counts line promises " + std::to_string(*numAtoms) + " atoms and " +
             std::to_string(*numBonds) + " bonds, " + std::to_string(atoms.size()) + " and " +
             std::to_string(bonds.size()) + " are there";
    }
    const bool hasCharges = head.size() < 4 || TrimEnd(head[3]) != "NO_CHARGES";
    record_.clean = "@<TRIPOS>MOLECULE\n-\n" + std::to_string(atoms.size()) + " " +
                    std::to_string(bonds.size()) + "\nSMALL\nNO_CHARGES\n\n@<TRIPOS>ATOM\n";
    for (const std::string_view line : atoms) {
      if (!ReadAtom(line, hasCharges)) return "its atom line " + Quote(line) + " is wrong";
    }
    record_.clean += "@<TRIPOS>BOND\n";
    for (const std::string_view line : bonds) {
      if (!ReadBond(line)) return "its bond line " + Quote(line) + " is wrong";
    }
    return {};
  }

 private:
  /// "id name x y z type [substructure-id substructure-name charge]"
  bool ReadAtom(std::string_view line, bool hasCharges) {
    const auto words = SplitWords(line);
    if (words.size() < 6) return false;
    const std::string number = std::to_string(ids_.size() + 1);
    if (!ids_.emplace(words[0], number).second) return false;
    const std::string type = CleanType(words[5], isElement_);
    if (type.empty()) return false;
    record_.clean += number + " " + std::string(words[1]);
    for (size_t i = 2; i < 5; ++i) {
      if (!ParseNumber<double>(words[i])) return false;
      record_.clean += " " + std::string(words[i]);
    }
    record_.clean += " " + type + " 1 LIG 0\n";
    if (!hasCharges || words.size() < 9) return true;
    const auto charge = ParseNumber<double>(words[8]);
    record_.charges.resize(ids_.size());
    if (charge) record_.charges.back() = *charge;
    return charge.has_value();
  }

  /// "id atom atom type"
  bool ReadBond(std::string_view line) {
    static const std::set<std::string_view> types = {"1", "2", "3", "am", "ar", "du", "un", "nc"};
    const auto words = SplitWords(line);
    if (words.size() < 4 || !types.contains(words[3])) return false;
    const auto begin = ids_.find(words[1]);
    const auto end = ids_.find(words[2]);
    if (begin == ids_.end() || end == ids_.end() || begin == end) return false;
    if (!pairs_.insert(std::minmax(begin->second, end->second)).second) return false;
    record_.clean += std::to_string(pairs_.size()) + " " + begin->second + " " + end->second + " " +
                     std::string(words[3]) + "\n";
    return true;
  }

  bool (*isElement_)(const std::string&);
  Mol2Record& record_;
  std::map<std::string_view, std::string> ids_;  ///< of the file to those of the clean record
  std::set<std::pair<std::string, std::string>> pairs_;
};

}  // namespace

std::string ReadMol2Record(const std::string& text, bool (*isElement)(const std::string&),
                           Mol2Record& record) {
  return Reader(isElement, record).Read(text);
}

}  // namespace QXMolKit
