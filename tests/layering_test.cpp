// The dependencies of the library point one way. The include lines tell.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

struct Include {
  std::string file;      ///< from the repository root: hermite/frame/moments.h
  std::string included;  ///< with its brackets or quotes: "host/core/gaussian.h", <vector>
};

void PrintTo(const Include& include, std::ostream* out) {
  *out << include.file << " includes " << include.included;
}

const std::vector<Include>& Includes() {
  static const std::vector<Include> all = [] {
    std::vector<Include> found;
    const std::filesystem::path root(QX_SOURCE_ROOT);
    const std::regex pattern(R"(\s*#\s*include\s*(["<][^">]*[">]).*)");
    for (const char* folder : {"host", "hermite"}) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".h" && extension != ".cpp") continue;
        std::ifstream file(entry.path());
        std::smatch match;
        for (std::string line; std::getline(file, line);) {
          if (!std::regex_match(line, match, pattern)) continue;
          found.push_back({entry.path().lexically_relative(root).generic_string(), match[1]});
        }
      }
    }
    return found;
  }();
  return all;
}

/// The include lines of files that match `file` and include what matches `included`.
std::vector<Include> Find(const std::string& file, const std::string& included) {
  const std::regex filePattern(file);
  const std::regex includedPattern(included);
  std::vector<Include> found;
  for (const Include& include : Includes()) {
    if (std::regex_search(include.file, filePattern) &&
        std::regex_search(include.included, includedPattern))
      found.push_back(include);
  }
  return found;
}

TEST(Layering, NothingIncludesWhatStandsAboveIt) {
  ASSERT_GT(Find("^hermite/.*/", "^\"host/").size(), 10u) << "include lines are not found";
  const std::pair<const char*, const char*> forbidden[] = {
      {"", "^\"(tools|tests|bench|examples)/"},
      {"", R"(^"(\.|[^/]*"$))"},  // paths start at the root
      {"^host/", "^\"hermite/"},
      {"^host/core/", "^\"host/(grid|minimizer|molkit|numerics)/"},
      {"^host/(minimizer|molkit|numerics)/", "^\"host/grid/"},
      {"^hermite/.*/", R"(^"hermite/[^/]*\.h"$)"},  // the umbrella headers are for callers
      {"^hermite/foundations/",
       "^\"hermite/(expansion|frame|multihermite|overlay|gridatoms|charge)/"},
      {"^hermite/(expansion|frame)/", "^\"hermite/(multihermite|overlay|gridatoms|charge)/"},
      {"^hermite/(multihermite|overlay)/", "^\"hermite/(gridatoms|charge)/"},
      {"^hermite/gridatoms/", "^\"hermite/charge/"},
      {"^hermite/charge/", "^\"hermite/(gridatoms|overlay)/"},
      {"^hermite/multihermite/", "^\"hermite/overlay/"},
      {"^hermite/overlay/", "^\"hermite/multihermite/"},
      // The expansion object finds its widths and its frame by what stands in frame/, which is
      // built on the engine of expansion/: its sources may look up, its headers may not.
      {R"(^hermite/expansion/.*\.h$)", "^\"hermite/frame/"},
  };
  for (const auto& [file, included] : forbidden) {
    EXPECT_THAT(Find(file, included), testing::IsEmpty());
  }
}

TEST(Layering, HeadersNameNoThirdPartyCodeButEigen) {
  // A standard header has neither a slash nor an ending.
  EXPECT_THAT(Find(R"(\.h$)", R"(^<(?!Eigen/)[^>]*[/.])"), testing::IsEmpty());
}

TEST(Layering, EachFormatLibraryIsNamedInOneSourceFile) {
  for (const char* library :
       {"^<(rdkit/)?(GraphMol|RDGeneral|Geometry|DataStructs)/", "^<msgpack", "^<gemmi/"}) {
    std::set<std::string> users;
    for (const Include& include : Find("", library)) users.insert(include.file);
    EXPECT_THAT(users, testing::SizeIs(1)) << library;
  }
}

}  // namespace
