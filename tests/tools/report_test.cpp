// What reports hold, and the commands that make them. The page itself is tested in a browser.

#include "tools/report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "support/check.h"
#include "tests/tools/tool_test.h"
#include "tools/inertial_frame.h"
#include "tools/report_poses.h"

namespace {

using namespace QXTest;
using namespace QXTools;
using nlohmann::json;
using QXMolKit::QXMol;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string kData = QX_EXAMPLES;

QXMol Chain(const std::string& title, const std::vector<double>& places) {
  QXMol mol;
  mol.SetTitle(title);
  for (size_t i = 0; 3 * i < places.size(); ++i) mol.NewAtom(i == 0 ? 8 : 6);
  for (unsigned int i = 1; i < mol.NumAtoms(); ++i) {
    mol.NewBond(i - 1, i, QXMolKit::QXBondOrder::Double);
  }
  mol.SetCoords(places.data());
  return mol;
}

/// Whole numbers of 16 bits out of base64.
std::vector<int> Decode(const std::string& text) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bits;
  for (const char c : text) {
    for (int bit = 5; bit >= 0; --bit) bits += digits.find(c) >> bit & 1 ? '1' : '0';
  }
  std::vector<int> numbers;
  for (size_t i = 0; i + 16 <= bits.size(); i += 16) {
    const int low = std::stoi(bits.substr(i, 8), nullptr, 2);
    const int high = std::stoi(bits.substr(i + 8, 8), nullptr, 2);
    numbers.push_back(static_cast<std::int16_t>(low | high << 8));
  }
  return numbers;
}

TEST(Report, HoldsPlacesToHalfAStep) {
  Report report;
  report.reference = Chain("", {100.25, -3.0, 7.0, 101.5, -3.0, 7.125});
  for (const double reach : {1.0, 25.0, 90.0}) {
    report.poses = {Chain("", {101.0 - reach, 1.0, 2.0, 101.0, -2.0 + reach, 3.0625}),
                    Chain("", {1.0, 2.0, std::numeric_limits<double>::quiet_NaN()}), QXMol()};
    const json page = json::parse(ReportJson(report));
    EXPECT_EQ(page["structures"].size(), 1u);  // that of both
    EXPECT_EQ(page["structures"][0], json::parse(R"({"elements":[8,6],"bonds":[0,1,2]})"));
    EXPECT_TRUE(page["poses"][1].is_null() && page["poses"][2].is_null());
    const double quantum = page["quantum"];
    EXPECT_NEAR(quantum, reach < 30.0 ? 0.001 : reach / 32767.0, 0.001 * reach / 32767.0 + 1e-4);
    for (const auto& [mol, encoded] :
         {std::pair{&report.reference, page["reference"]}, {&report.poses[0], page["poses"][0]}}) {
      const std::vector<double> wanted = Coordinates(*mol);
      const std::vector<int> steps = Decode(encoded[1]);
      ASSERT_EQ(steps.size(), wanted.size());
      for (size_t i = 0; i < wanted.size(); ++i) {
        const double centre = page["centre"][i % 3];
        EXPECT_NEAR(centre + quantum * steps[i], wanted[i], 0.501 * quantum);
      }
    }
  }
}

TEST(Report, EndsNoScriptAndIsUtf8) {
  Report report;
  report.title = "</script><!-- \"quoted\" \x01 \xff \xc3\xa9";
  report.columns = {{.name = "<b>", .texts = {"</ScRiPt>\n", "\xed\xa0\x80"}},
                    {.name = "numbers", .decimals = 2, .numbers = {NAN, INFINITY}}};
  const std::string text = ReportJson(report);
  EXPECT_EQ(text.find('<'), std::string::npos);
  const json page = json::parse(text);
  EXPECT_EQ(page["title"], "</script><!-- \"quoted\" \x01 \xef\xbf\xbd \xc3\xa9");
  EXPECT_EQ(page["columns"][0]["texts"][0], "</ScRiPt>\n");
  EXPECT_EQ(page["columns"][1]["numbers"], json::parse("[null,null]"));
  EXPECT_EQ(page["rows"], 2);
}

TEST(Report, ReducedFieldsKeepTheirPlaces) {
  // The mean of a linear function over a block is its value in the middle of the block.
  const auto linear = [](double x, double y, double z) { return 2.0 * x - y + 0.5 * z + 3.0; };
  for (const auto& dims : {std::array{40u, 30u, 20u}, std::array{130u, 65u, 1u}}) {
    Report report;
    QXCore::QXScalarGrid& grid = report.fields.emplace_back().grid;
    grid.SetDim(dims[0], dims[1], dims[2]);
    grid.SetSpacing(0.25f);
    grid.SetMid(5.0f, -2.0f, 1.0f);
    QXCore::QXForEachElement(grid, [&](float& value, double x, double y, double z) {
      value = static_cast<float>(linear(x, y, z));
    });
    const json page = json::parse(ReportJson(report));
    const json& field = page["fields"][0];
    const std::array<int, 3> size = field["size"];
    const std::array<double, 3> origin = field["origin"];
    const double spacing = field["spacing"], scale = field["scale"];
    EXPECT_LE(size[0], 64);
    const std::vector<int> steps = Decode(field["values"]);
    ASSERT_EQ(steps.size(), static_cast<size_t>(size[0] * size[1] * size[2]));
    // Along z, where the grid is one element thick, there is nothing to reduce.
    const double z0 = dims[2] == 1 ? 1.0 : origin[2];
    for (int k = 0, at = 0; k < size[2]; ++k) {
      for (int j = 0; j < size[1]; ++j) {
        for (int i = 0; i < size[0]; ++i, ++at) {
          const double wanted =
              linear(origin[0] + i * spacing, origin[1] + j * spacing, z0 + k * spacing);
          ASSERT_NEAR(scale * steps[at], wanted, scale) << i << " " << j << " " << k;
        }
      }
    }
  }
}

TEST(Report, NumbersAmongTheSDDataBecomeColumns) {
  std::vector<QXMol> poses = {Chain("a", {0, 0, 0}), Chain("b", {1, 0, 0}), Chain("c", {2, 0, 0})};
  const auto set = [&](size_t row, const std::string& tag, const std::string& value) {
    QXMolKit::QXSetSDData(*poses[row].GetActive(), tag, value);
  };
  set(0, "logP", " 1.25 ");
  set(0, "Name", "x");
  set(1, "Mixed", "3");
  set(2, "Mixed", "3 of 4");
  set(2, "Small", "1e-7");
  for (size_t row = 0; row < 3; ++row) {
    set(row, kShapeText, std::to_string(0.9 - 0.1 * static_cast<double>(row)));
    set(row, kExactText, row == 1 ? "0.1" : "0.5");
  }
  const Report report = ReportOfPoses(poses);
  std::vector<std::string> names;
  for (const ReportColumn& column : report.columns) names.push_back(column.name);
  EXPECT_THAT(names, ElementsAre("Title", kExactText, kShapeText, "logP", "Small"));
  EXPECT_EQ(report.score, 2u);  // by which they fall
  EXPECT_THAT(report.columns[0].texts, ElementsAre("a", "b", "c"));
  EXPECT_EQ(report.columns[3].numbers[0], 1.25);
  EXPECT_TRUE(std::isnan(report.columns[3].numbers[2]));
  EXPECT_EQ(report.columns[3].decimals, 2);
  EXPECT_EQ(report.columns[4].decimals, std::nullopt);
}

using ReportCommand = ToolTest;

TEST_F(ReportCommand, MistakesAreToldAndNothingIsWritten) {
  WriteFile(Path("empty.sdf"), "");
  const std::string ref = kData + "/reference.sdf", map = kData + "/benzene.ccp4";
  const std::string charges = kData + "/water_potential.json";
  const std::pair<std::vector<std::string>, std::string> mistakes[] = {
      {{"report", "empty.sdf", "--out", "page.html"},
       "empty.sdf: holds no molecule: check the file"},
      {{"report", ref, "--out", "page.txt"}, "page.txt: not the name of a page: name it .html"},
      {{"report", ref, "--ref-record", "2", "--out", "a.html"},
       "--ref-record: there is no molecule file as reference: leave it out"},
      {{"report", ref, "--ref", ref, "--ref-record", "2", "--out", "a.html"}, "--ref-record"},
      {{"report", ref, "--density", ref, "--out", "a.html"}, "not the name of a grid"},
      {{"overlay", "--ref", ref, "--fit", ref, "--out", "a.sdf", "--report", "a.sdf"},
       "a.sdf: not the name of a page: name it .html"},
      {{"overlay", "--ref", ref, "--fit", ref, "--out", "a.sdf", "--report", "no/a.html"},
       "no/a.html: cannot be written"},
      {{"atoms", map, "--out", "a.sdf", "--report", map}, "is both read and written"},
      {{"charges", "fit", charges, "--out", "a.json", "--report", "a.json"},
       "a.json: not the name of a page: name it .html"},
  };
  for (const auto& [words, message] : mistakes) {
    EXPECT_EQ(Run(words), 1) << message;
    EXPECT_THAT(err_, HasSubstr(message));
  }
  EXPECT_THAT(Files(), ElementsAre("empty.sdf"));
}

}  // namespace
