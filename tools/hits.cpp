#include "tools/hits.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>

#include "host/molkit/molstream.h"
#include "tools/text.h"

namespace QXTools {
namespace {

constexpr size_t kTitleWidth = 40;

std::string ScoreText(double score) {
  return fmt::format("{:.6f}", score);
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

bool WriteCsv(const std::vector<Hit>& hits, const std::string& path) {
  std::ofstream out(path, std::ios::binary);
  out << CsvLine({"rank", "title", "file", "record", "conformer", "tanimoto"});
  for (size_t i = 0; i < hits.size(); ++i) {
    const Hit& hit = hits[i];
    out << CsvLine({std::to_string(i + 1), hit.pose.GetTitle(), hit.file,
                    std::to_string(hit.record), std::to_string(hit.conformer),
                    ScoreText(hit.score)});
  }
  out.close();
  return !out.fail();
}

std::string HitsTable(const std::vector<Hit>& hits, size_t top) {
  std::vector<std::vector<std::string>> rows;
  const size_t count = top > 0 ? std::min(top, hits.size()) : hits.size();
  for (size_t i = 0; i < count; ++i) {
    const Hit& hit = hits[i];
    rows.push_back({std::to_string(i + 1), DisplayText(hit.pose.GetTitle(), kTitleWidth),
                    std::to_string(hit.conformer), ScoreText(hit.score)});
  }
  return FormatTable({"Rank", "Title", "Conformer", "Tanimoto"}, rows, {0, 2, 3});
}

}  // namespace QXTools
