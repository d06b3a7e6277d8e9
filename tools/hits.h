#pragma once

#include <string>
#include <vector>

#include "host/molkit/mol.h"
#include "host/molkit/trans.h"

namespace QXTools {

inline constexpr const char* kShapeText = "Shape Tanimoto";
inline constexpr const char* kExactText = "Exact Shape Tanimoto";
inline constexpr const char* kChargeText = "Charge Tanimoto";
inline constexpr const char* kComboText = "Shape + Charge Tanimoto Combo";

/// One pose, or one moved grid, that an overlay run keeps.
struct Hit {
  double score;  ///< by which it is ranked
  std::string file;
  unsigned int record;         ///< in that file, from 1
  unsigned int conformer;      ///< within its molecule, from 1
  QXMolKit::QXMol pose;        ///< in the coordinates of the reference; of a grid, only the title
  QXMolKit::QXTrans motion{};  ///< of a grid: from its place in the file onto the reference
};

/// Best first; equal scores stay in the order of reading.
void SortHits(std::vector<Hit>& hits);

/// Writes all poses, in order, to `path`, in the format that the name `formatOf` calls for.
/// False when the file cannot be written, which the stream reports.
bool WritePoses(const std::vector<Hit>& hits, const std::string& path, const std::string& formatOf);

/// What hits are ranked by: the Tanimoto of the expansions, the exact one, or the combination of
/// shape and charge. Where the poses tell it, the exact one is shown in each case.
enum class Ranking { ByTanimoto, ByExactTanimoto, ByCombo };

/// Writes the columns rank, title, file, record, conformer and tanimoto, or, where charge is
/// weighed, combo, shape_tanimoto and charge_tanimoto; and exact_tanimoto where there is one.
bool WriteCsv(const std::vector<Hit>& hits, const std::string& path, Ranking ranking);

/// The ranking for people, with the same scores. top: rows at most, 0 for all.
std::string HitsTable(const std::vector<Hit>& hits, size_t top, Ranking ranking);

}  // namespace QXTools
