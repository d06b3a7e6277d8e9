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

/// A score: its column in a table and in a CSV file, and where a pose tells it.
struct Score {
  const char* heading;
  const char* column;
  const char* tag;
};
constexpr Score kTanimoto = {"Tanimoto", "tanimoto", kShapeText};
constexpr Score kExact = {"Exact", "exact_tanimoto", kExactText};
constexpr Score kCombo = {"Combo", "combo", kComboText};
constexpr Score kShape = {"Shape", "shape_tanimoto", kShapeText};
constexpr Score kCharge = {"Charge", "charge_tanimoto", kChargeText};

bool HasExact(const std::vector<Hit>& hits) {
  return !hits.empty() && !QXMolKit::QXGetSDData(hits.front().pose, kExactText).empty();
}

std::vector<Score> ScoresOf(const std::vector<Hit>& hits, Ranking ranking) {
  std::vector<Score> scores = {kTanimoto};
  if (ranking == Ranking::ByCombo) scores = {kCombo, kShape, kCharge};
  if (HasExact(hits)) scores.push_back(kExact);
  return scores;
}

Cells CellsOf(const Hit& hit, const std::vector<Score>& scores) {
  Cells cells;
  for (const Score& score : scores) {
    const bool ofGrid = hit.pose.NumAtoms() == 0;  // which has no data
    cells.push_back(ofGrid ? fmt::format("{:.6f}", hit.score)
                           : QXMolKit::QXGetSDData(hit.pose, score.tag));
  }
  return cells;
}

template <class Name>
Cells NamesOf(const std::vector<Score>& scores, Name Score::*name) {
  Cells names;
  for (const Score& score : scores) names.push_back(score.*name);
  return names;
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

bool WriteCsv(const std::vector<Hit>& hits, const std::string& path, Ranking ranking) {
  const std::vector<Score> scores = ScoresOf(hits, ranking);
  std::ofstream out(path, std::ios::binary);
  out << CsvLine(
      Joined({"rank", "title", "file", "record", "conformer"}, NamesOf(scores, &Score::column)));
  for (size_t i = 0; i < hits.size(); ++i) {
    const Hit& hit = hits[i];
    out << CsvLine(Joined({std::to_string(i + 1), hit.pose.GetTitle(), hit.file,
                           std::to_string(hit.record), std::to_string(hit.conformer)},
                          CellsOf(hit, scores)));
  }
  out.close();
  return !out.fail();
}

std::string HitsTable(const std::vector<Hit>& hits, size_t top, Ranking ranking) {
  std::vector<Score> scores = ScoresOf(hits, ranking);
  if (ranking == Ranking::ByExactTanimoto) std::reverse(scores.begin(), scores.end());
  std::vector<Cells> rows;
  const size_t count = top > 0 ? std::min(top, hits.size()) : hits.size();
  for (size_t i = 0; i < count; ++i) {
    const Hit& hit = hits[i];
    rows.push_back(Joined({std::to_string(i + 1), DisplayText(hit.pose.GetTitle(), kTitleWidth),
                           std::to_string(hit.conformer)},
                          CellsOf(hit, scores)));
  }
  return FormatTable(Joined({"Rank", "Title", "Conformer"}, NamesOf(scores, &Score::heading)), rows,
                     {0, 2, 3, 4, 5, 6});
}

}  // namespace QXTools
