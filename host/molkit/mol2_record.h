#pragma once

#include <string>
#include <vector>

namespace QXMolKit {

/// One molecule of a MOL2 file.
struct Mol2Record {
  std::string title;
  /// The record written anew: atoms and bonds numbered from 1 in the order of the file, every
  /// number checked, types that stand for no element (dummies "Du", lone pairs "LP", "Any" and the
  /// like) given as "Du".
  std::string clean;
  std::vector<double> charges;  ///< one an atom; empty when the file has none
};

/// Reads a record. Returns what is wrong with it; the title is set all the same.
std::string ReadMol2Record(const std::string& text, bool (*isElement)(const std::string& symbol),
                           Mol2Record& record);

}  // namespace QXMolKit
