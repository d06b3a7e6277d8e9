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

/// The coordinates of a molecule of a page.
std::vector<double> PlacesOf(const json& encoded) {
  if (encoded[1].is_array()) return encoded[1];
  std::vector<double> places;
  for (const int step : Decode(encoded[1])) {
    const double middle = encoded[2 + places.size() % 3];
    places.push_back(middle + 0.001 * step);
  }
  return places;
}

TEST(Report, HoldsPlacesToHalfAStepHoweverFarOthersAre) {
  Report report;
  report.reference = Chain("", {100.25, -3.0, 7.0, 101.5, -3.0, 7.12549});
  const QXMol near = Chain("", {101.00049, 1.0, 2.0, 101.0, -2.0, 3.0625});
  for (const double reach : {1.0, 65.533, 65.535, 9999.0, 9e5}) {
    const QXMol far = Chain("", {101.0 - reach, 1.0, 2.0, 101.0, -2.00049, 3.0625});
    report.poses = {far, near, Chain("", {1.0, 2.0, std::numeric_limits<double>::quiet_NaN()}),
                    QXMol(), Chain("", {1e300, 0.0, 0.0})};
    const json page = json::parse(ReportJson(report));
    EXPECT_EQ(page["structures"].size(), 1u);  // that of all
    EXPECT_EQ(page["structures"][0], json::parse(R"({"elements":[8,6],"bonds":[0,1,2]})"));
    for (const size_t lost : {2u, 3u, 4u}) EXPECT_TRUE(page["poses"][lost].is_null());
    EXPECT_TRUE(page["poses"][1][1].is_string());  // 16 bits a coordinate
    EXPECT_EQ(page["poses"][0][1].is_string(), reach < 65.534);
    const std::pair<const QXMol*, json> shown[] = {{&report.reference, page["reference"]},
                                                   {&far, page["poses"][0]},
                                                   {&near, page["poses"][1]}};
    for (const auto& [mol, encoded] : shown) {
      const std::vector<double> wanted = Coordinates(*mol), places = PlacesOf(encoded);
      ASSERT_EQ(places.size(), wanted.size());
      for (size_t i = 0; i < wanted.size(); ++i) EXPECT_NEAR(places[i], wanted[i], 0.000501);
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
  set(0, "Small", "1e-7");
  set(0, "Smaller", "0.0000001");
  set(1, "Smaller", "0.0000002");
  set(0, "Long", "0.12345678");
  set(0, "Id", " 123456789012345678 ");
  set(0, "Code", "0042");
  for (size_t row = 0; row < 3; ++row) {
    set(row, kShapeText, std::to_string(0.9 - 0.1 * static_cast<double>(row)));
    set(row, kExactText, row == 1 ? "0.1" : "0.5");
    set(row, kChargeText, row == 1 ? "nan" : "-0.5");
    for (int i = 0; i < 40; ++i) set(row, "x" + std::to_string(i), "1");
  }
  const Report report = ReportOfPoses(poses);
  std::vector<std::string> names;
  for (const ReportColumn& column : report.columns) names.push_back(column.name);
  ASSERT_EQ(names.size(), 41u);
  names.resize(10);
  EXPECT_THAT(names, ElementsAre("Title", kExactText, kShapeText, kChargeText, "logP", "Small",
                                 "Smaller", "Long", "Id", "Code"));
  EXPECT_EQ(json::parse(ReportJson(report))["settings"].back(),
            json({"Columns left out", "9: the first 40 of 49 tags that are numbers are shown"}));
  EXPECT_EQ(report.score, 2u);  // by which they fall
  EXPECT_THAT(report.columns[0].texts, ElementsAre("a", "b", "c"));
  EXPECT_TRUE(std::isnan(report.columns[3].numbers[1]));
  EXPECT_EQ(report.columns[3].numbers[2], -0.5);
  EXPECT_EQ(report.columns[4].numbers[0], 1.25);
  EXPECT_TRUE(std::isnan(report.columns[4].numbers[2]));
  EXPECT_EQ(report.columns[4].decimals, 2);
  EXPECT_EQ(report.columns[5].decimals, std::nullopt);
  EXPECT_EQ(report.columns[6].decimals, std::nullopt);
  EXPECT_EQ(report.columns[7].decimals, 6);
  EXPECT_THAT(report.columns[8].texts, ElementsAre("123456789012345678", "", ""));
  EXPECT_THAT(report.columns[9].texts, ElementsAre("0042", "", ""));
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
