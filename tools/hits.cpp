#include "tools/hits.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>

#include "host/molkit/molstream.h"
#include "tools/text.h"

namespace QXTools {
namespace {

constexpr size_t kTitleWidth = 40;

using Cells = std::vector<std::string>;

Cells Joined(Cells first, const Cells& last) {
  first.insert(first.end(), last.begin(), last.end());
  return first;
}

/// The score, and what it is made of where charge is weighed.
Cells Scores(const Hit& hit, bool withCharge) {
  Cells cells = {fmt::format("{:.6f}", hit.score)};
  if (!withCharge) return cells;
  for (const char* tag : {kShapeText, kChargeText}) {
    cells.push_back(QXMolKit::QXGetSDData(hit.pose, tag));
  }
  return cells;
}

}  // namespace

void SortHits(std::vector<Hit>& hits) {
  std::stable_sort(hits.begin(), hits.end(),
                   [](const Hit& a, const Hit& b) { return a.score > b.score; });
}

bool WritePoses(const std::vector<Hit>& hits, const std::string& path,
                const std::string& formatOf) {
  QXMolKit::qxmolostream out(path, QXMolKit::QXGetMolFormat(formatOf));
  for (const Hit& hit : hits) {
    QXMolKit::QXMol pose(hit.pose);
    if (!QXMolKit::QXWriteMolecule(out, pose)) return false;
  }
  return out.close();
}

bool WriteCsv(const std::vector<Hit>& hits, const std::string& path, bool withCharge) {
  std::ofstream out(path, std::ios::binary);
  const Cells scores =
      withCharge ? Cells{"combo", "shape_tanimoto", "charge_tanimoto"} : Cells{"tanimoto"};
  out << CsvLine(Joined({"rank", "title", "file", "record", "conformer"}, scores));
  for (size_t i = 0; i < hits.size(); ++i) {
    const Hit& hit = hits[i];
    out << CsvLine(Joined({std::to_string(i + 1), hit.pose.GetTitle(), hit.file,
                           std::to_string(hit.record), std::to_string(hit.conformer)},
                          Scores(hit, withCharge)));
  }
  out.close();
  return !out.fail();
}

std::string HitsTable(const std::vector<Hit>& hits, size_t top, bool withCharge) {
  std::vector<Cells> rows;
  const size_t count = top > 0 ? std::min(top, hits.size()) : hits.size();
  for (size_t i = 0; i < count; ++i) {
    const Hit& hit = hits[i];
    rows.push_back(Joined({std::to_string(i + 1), DisplayText(hit.pose.GetTitle(), kTitleWidth),
                           std::to_string(hit.conformer)},
                          Scores(hit, withCharge)));
  }
  const Cells scores = withCharge ? Cells{"Combo", "Shape", "Charge"} : Cells{"Tanimoto"};
  return FormatTable(Joined({"Rank", "Title", "Conformer"}, scores), rows, {0, 2, 3, 4, 5});
}

}  // namespace QXTools
