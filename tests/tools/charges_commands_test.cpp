// The commands around charge densities, run as a person runs them.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <numbers>

#include "tests/tools/grid_tool_test.h"

namespace {

using namespace QXTest;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

constexpr double kCoulomb = 332.063713;
const std::string kWater = std::string(QX_EXAMPLES) + "/water_potential.json";

/// The numbers of a file of comma-separated values, by rows, and its header.
struct Csv {
  std::string header;
  std::vector<Vector> rows;
};

Csv ReadCsv(const std::string& path) {
  std::istringstream in(ReadFile(path));
  Csv csv;
  std::getline(in, csv.header);
  for (std::string line; std::getline(in, line);) {
    std::replace(line.begin(), line.end(), ',', ' ');
    std::istringstream cells(line);
    csv.rows.emplace_back(std::istream_iterator<double>(cells), std::istream_iterator<double>());
  }
  return csv;
}

class ChargesCommands : public GridToolTest {
 protected:
  /// Narrow Gaussians, which are point charges from a distance.
  void WriteCharges(const std::string& name, const Vector& charges,
                    const std::vector<Vector3d>& places) {
    constexpr double kWidth = 3.0;
    Json centers, actives, coefficients;
    for (size_t i = 0; i < charges.size(); ++i) {
      centers.push_back({places[i].x(), places[i].y(), places[i].z()});
      actives.push_back(i);
      coefficients.push_back(charges[i] * std::pow(kWidth * kWidth / std::numbers::pi, 1.5));
    }
    const Json density = {{"format", "qxhermite charge density 1"},
                          {"title", name},
                          {"source", ""},
                          {"units",
                           {{"length", "angstrom"},
                            {"width", "1/angstrom"},
                            {"charge", "e"},
                            {"coefficients", "e/angstrom^3"},
                            {"dipole", "e angstrom"}}},
                          {"atoms", Json::array()},
                          {"degrees", {0}},
                          {"widths", {kWidth}},
                          {"centers", centers},
                          {"actives", actives},
                          {"coefficients", coefficients}};
    WriteFile(Path(name), density.dump());
  }
  int Fit(const std::vector<std::string>& more, const std::string& data = kWater) {
    std::vector<std::string> words = {"charges", "fit", data, "--out", "fitted.json"};
    words.insert(words.end(), more.begin(), more.end());
    return Run(words);
  }
};

TEST_F(ChargesCommands, NarrowChargesFollowCoulombsLaw) {
  const std::vector<Vector3d> places = {{0, 0, 0}, {1, 0.5, -2}};
  const Vector charges = {0.4, -0.7};
  WriteCharges("a.json", charges, places);
  WriteCharges("b.json", {0.5}, {{0, 0, 3}});
  WriteFile(Path("points.csv"), "x;y;z\r\n# far\n 4 0 1\n\n-3,2,2,comment\n0,0,0\n0,0.1,0\n");
  ASSERT_EQ(Run({"charges", "potential", "a.json", "--points", "points.csv", "--out", "v.csv"}), 0)
      << err_;
  const Csv csv = ReadCsv(Path("v.csv"));
  EXPECT_EQ(csv.header,
            "x [angstrom],y [angstrom],z [angstrom],V [kcal/mol/e],Ex [kcal/mol/e/angstrom],"
            "Ey [kcal/mol/e/angstrom],Ez [kcal/mol/e/angstrom]");
  ASSERT_EQ(csv.rows.size(), 4u);
  const auto potential = [&](const Vector3d& p) {
    double V = 0.0;
    for (size_t i = 0; i < charges.size(); ++i) V += kCoulomb * charges[i] / (p - places[i]).norm();
    return V;
  };
  for (size_t i = 0; i < 2; ++i) {
    ASSERT_EQ(csv.rows[i].size(), 7u);
    const Vector3d p(csv.rows[i].data());
    EXPECT_NEAR(csv.rows[i][3], potential(p), 1e-6);
    for (int axis = 0; axis < 3; ++axis) {
      const Vector3d h = 1e-4 * Vector3d::Unit(axis);
      EXPECT_NEAR(csv.rows[i][4 + axis], (potential(p - h) - potential(p + h)) / 2e-4, 1e-5);
    }
  }
  // At its centre a Gaussian has the potential 2 width/sqrt(pi) of its charge, and no field.
  const double own = kCoulomb * 0.4 * 2 * 3.0 / std::sqrt(std::numbers::pi);
  const double other = -kCoulomb * 0.7 / places[1].norm();
  EXPECT_NEAR(csv.rows[2][3], own + other, 1e-6);
  EXPECT_NEAR(csv.rows[2][4], -other / places[1].squaredNorm(), 1e-6);

  ASSERT_EQ(Run({"charges", "energy", "a.json", "b.json"}), 0) << err_;
  const auto energy = [&](double z) { return 0.5 * potential({0, 0, z}); };
  EXPECT_NEAR(std::stod(out_), energy(3), 1e-5);
  ASSERT_EQ(Run({"charges", "energy", "a.json", "b.json", "--scan", "z:-3:1:2", "--out", "s.csv"}),
            2);
  EXPECT_THAT(err_, HasSubstr("at 1 of 3 places a site comes too close"));
  EXPECT_THAT(err_, HasSubstr("at 1 of 3 places the molecules run into each other"));
  const Csv scan = ReadCsv(Path("s.csv"));
  EXPECT_EQ(scan.header, "shift [angstrom],energy [kcal/mol]");
  ASSERT_EQ(scan.rows.size(), 3u);
  EXPECT_EQ(scan.rows[0], Vector{-3.0});
  EXPECT_NEAR(scan.rows[2].at(1), energy(4), 1e-5);
  // About its middle a single charge does not move, and a pair does after half a turn.
  ASSERT_EQ(Run({"charges", "energy", "b.json", "a.json", "--scan", "rx:0:180:180"}), 0) << err_;
  const double turned =
      0.5 * kCoulomb * (0.4 / Vector3d(0, 0.5, 5).norm() - 0.7 / Vector3d(1, 0, 3).norm());
  EXPECT_NEAR(std::stod(out_.substr(out_.rfind(' '))), turned, 1e-5) << out_;
}

TEST_F(ChargesCommands, GridsHoldThePotentialAndTheAtoms) {
  ASSERT_EQ(Fit({"--actives", "20"}), 0) << err_;
  ASSERT_EQ(Run({"charges", "potential", "fitted.json", "--grid", "v.cube", "--spacing", "1.5"}), 0)
      << err_;
  QXScalarGrid grid = ReadGrid("v.cube");
  EXPECT_THAT(grid.GetTitle(), testing::StartsWith("potential [kcal/mol/e]: water"));
  EXPECT_EQ(grid.GetData<QXMol>(QXCore::kQXGridMoleculeTag).NumAtoms(), 3u);
  std::string points;
  ForElements(grid, [&](float, const Vector3d& p) {
    points +=
        std::to_string(p.x()) + "," + std::to_string(p.y()) + "," + std::to_string(p.z()) + "\n";
  });
  WriteFile(Path("points.csv"), points);
  ASSERT_EQ(
      Run({"charges", "potential", "fitted.json", "--points", "points.csv", "--out", "v.csv"}), 0);
  const Csv csv = ReadCsv(Path("v.csv"));
  ASSERT_EQ(csv.rows.size(), grid.GetSize());
  for (size_t i = 0; i < csv.rows.size(); ++i)
    ASSERT_NEAR(grid.GetValues()[i], csv.rows[i].at(3), 1e-4 * (1 + std::abs(csv.rows[i][3])));
  ASSERT_EQ(Run({"charges", "potential", "fitted.json", "--grid", "l.ccp4", "--like", "v.cube"}),
            0);
  EXPECT_TRUE(AllNear(Values(ReadGrid("l.ccp4")), Values(grid), 1e-4));
  // The density itself: functions of degree 1 make the dipole moment.
  ASSERT_EQ(Run({"grid", "fitted.json", "--out", "rho.ccp4", "--spacing", "0.3"}), 0) << err_;
  Vector3d dipole(0, 0, 0);
  QXScalarGrid rho = ReadGrid("rho.ccp4");
  ForElements(rho, [&](float value, const Vector3d& p) { dipole += 0.027 * value * p; });
  const Vector told = Json::parse(ReadFile(Path("fitted.json"))).at("dipole");
  EXPECT_TRUE(AllNear(Vector(dipole.begin(), dipole.end()), told, 1e-4));
}

// The errors that a fit tells are those of its potential and field at the points held out.
TEST_F(ChargesCommands, ErrorsAreThoseOfTheDensityWritten) {
  for (const std::vector<std::string>& more :
       {std::vector<std::string>{"--actives", "11"},
        {"--relaxed", "--target-error", "0.05"},
        {"--UseElectricField", "false", "--UseNeutralCharge", "false", "--npolymax", "1"}}) {
    ASSERT_EQ(Fit(more), 0) << err_;
    const std::string chosen = out_.substr(0, out_.find('*'));
    std::istringstream row(chosen.substr(chosen.rfind('\n')));
    const Vector told{std::istream_iterator<double>(row), {}};
    ASSERT_EQ(told.size(), 5u) << out_;
    EXPECT_EQ(Json::parse(ReadFile(Path("fitted.json"))).at("actives").size(), told[0]);
    const Json data = Json::parse(ReadFile(kWater));
    std::string points;
    const Vector xyz = data.at("points");
    for (size_t i = 0; i < xyz.size(); i += 3) {
      for (size_t axis = 0; axis < 3; ++axis) points += Json(xyz[i + axis]).dump() + " ";
      points += "\n";
    }
    WriteFile(Path("points.csv"), points);
    ASSERT_EQ(
        Run({"charges", "potential", "fitted.json", "--points", "points.csv", "--out", "v.csv"}),
        0);
    const Csv csv = ReadCsv(Path("v.csv"));
    double errors[4] = {}, squares[4] = {};
    const char* names[] = {"potential", "field_x", "field_y", "field_z"};
    for (size_t i = 0; i < csv.rows.size(); ++i) {
      for (size_t k = 0; k < 4; ++k) {
        const size_t column = 2 * data.at("holdout")[i].get<size_t>() + (k > 0);
        const double truth = data.at(names[k])[i];
        errors[column] += std::pow(csv.rows[i][3 + k] - truth, 2);
        squares[column] += truth * truth;
      }
    }
    for (size_t k = 0; k < 4; ++k) {
      EXPECT_NEAR(told[1 + k], std::sqrt(errors[k] / squares[k]), 1e-4) << out_;  // as printed
      EXPECT_LT(told[1 + k], 0.3);
    }
  }
}

TEST_F(ChargesCommands, HeldOutPointsAndWidthsAreNotFitted) {
  ASSERT_EQ(Fit({"--pruned", "--actives", "12"}), 0) << err_;
  const std::string density = ReadFile(Path("fitted.json"));
  const double width = Json::parse(density).at("widths").at(0);
  Json data = Json::parse(ReadFile(kWater));
  for (size_t i = 0; i < data.at("holdout").size(); ++i) {
    if (data["holdout"][i] == 0) continue;
    for (const char* name : {"potential", "field_x", "field_y", "field_z"}) data[name][i] = 100.0;
  }
  WriteFile(Path("data.json"), data.dump());
  ASSERT_EQ(Fit({"--pruned", "--actives", "12"}, "data.json"), 0) << err_;
  EXPECT_EQ(ReadFile(Path("fitted.json")), density);
  // The width found gives the least error of all tried, the last column but one before the star.
  const auto error = [&](double lambda) {
    EXPECT_EQ(Fit({"--pruned", "--actives", "12", "--lambda", std::to_string(lambda)}), 0);
    std::istringstream row(out_.substr(out_.rfind('\n', out_.find('*'))));
    const Vector cells{std::istream_iterator<double>(row), {}};
    return std::hypot(cells.at(1), cells.at(2));
  };
  const double least = error(width);
  for (const double other : {0.9, 1.162, 1.5, 1.937}) EXPECT_LE(least, error(other) + 1e-4);
}

TEST_F(ChargesCommands, RecordsWithTagsAreFittedLikeJson) {
  const Json data = Json::parse(ReadFile(kWater));
  SdRecord record{{"water", "", "", "  3  0  0  0  0  0  0  0  0  0999 V2000"}};
  for (const Json& atom : data.at("atoms")) {
    char line[80];
    std::snprintf(line, sizeof line, "%10.4f%10.4f%10.4f %-3s 0  0", atom.at("x").get<double>(),
                  atom.at("y").get<double>(), atom.at("z").get<double>(),
                  atom.at("element").get<std::string>().c_str());
    record.lines.push_back(line);
  }
  record.lines.push_back("M  END");
  const auto add = [&](const std::string& tag, const std::vector<const char*>& names) {
    record.lines.push_back("> <" + tag + ">");
    for (const char* name : names)
      for (const Json& value : data.at(name)) record.lines.push_back(value.dump());
    record.lines.push_back("");
  };
  add("grid", {"points"});
  add("potential", {"potential"});
  add("electric field", {"field_x", "field_y", "field_z"});
  add("holdout", {"holdout"});
  std::string text;
  for (const std::string& line : record.lines) text += line + "\n";
  WriteFile(Path("water.sdf"), text + "$$$$\n");
  ASSERT_EQ(Fit({"--actives", "12"}), 0) << err_;
  const Json fromJson = Json::parse(ReadFile(Path("fitted.json")));
  ASSERT_EQ(Fit({"--actives", "12"}, "water.sdf"), 0) << err_;
  const Json fromTags = Json::parse(ReadFile(Path("fitted.json")));
  EXPECT_EQ(fromJson.at("actives"), fromTags.at("actives"));
  // Places have four decimals in the record.
  EXPECT_TRUE(
      AllNear(fromJson.at("dipole").get<Vector>(), fromTags.at("dipole").get<Vector>(), 1e-3));
}

TEST_F(ChargesCommands, WhatCannotBeUsedIsRefusedWithAReason) {
  const std::pair<const char*, const char*> damages[] = {
      {R"({"format": "qxhermite electrostatic data 2"})", "field format: is not"},
      {R"({"units": {"potential": "hartree/e"}})", "field units.potential: is not \"kcal/mol/e\""},
      {R"({"units": null})", "field units: is missing"},
      {R"({"potential": [1, 2]})", "field potential: has 2 values, but 605 are expected"},
      {R"({"field_y": [1]})", "field field_y: has 1 values, but 605 are expected"},
      {R"({"points": [1, 2]})", "field points: has 2 values"},
      {R"({"points": [1, "x", 2]})", "field points[1]: \"x\" is not a number"},
      {R"({"holdout": [2]})", "field holdout: has 1 values"},
      {R"({"potential": null})", "has no potential: add it, or give -UsePotential false"},
      {R"({"atoms": [{"atomic_number": 8.5}]})", "field atoms[0].atomic_number: is not"},
      {R"({"atoms": []})", "has no atoms for sites: give --sites FILE"},
  };
  for (const auto& [patch, message] : damages) {
    Json damaged = Json::parse(ReadFile(kWater));
    damaged.merge_patch(Json::parse(patch));
    WriteFile(Path("data.json"), damaged.dump());
    EXPECT_EQ(Fit({}, "data.json"), 1) << patch;
    EXPECT_THAT(err_, HasSubstr(message)) << patch;
  }
  WriteCharges("a.json", {0.4}, {{0, 0, 0}});
  WriteFile(Path("bad.csv"), "x,y,z\n1,2,3\n1,two,3\n");
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"charges", "fit", kWater, "--out", "x.json", "--npolymax", "0"}, "all its functions carry"},
      {{"charges", "fit", kWater, "--out", "x.json", "--sites", "bad.csv"}, "bad.csv:3: 'two' is"},
      {{"charges", "fit", "data.json", "--out", "data.json"}, "is both read and written"},
      {{"charges", "fit", kWater, "--out", "x.json", "--memory", "1"}, "raise --memory"},
      {{"charges", "potential", "a.json"}, "give --points and --out, or --grid"},
      {{"charges", "potential", "data.json", "--grid", "v.cube"}, "data.json: field format: is"},
      {{"charges", "potential", "a.json", "--points", "a.json", "--out", "v.csv"}, "a.json:1: "},
      {{"charges", "energy", "a.json", "a.json"}, "a site lies too close to one of a.json"},
      {{"charges", "energy", "a.json", "a.json", "--scan", "w:0:1:1"}, "is not AXIS:FROM:TO:STEP"},
      {{"charges", "energy", "a.json", "a.json", "--out", "x.csv"},
       "is for the energies of --scan"},
      {{"charges"}, "A subcommand is required"},
      {{"charges", "weigh"}, "'charges weigh' is not a command"},
  };
  const auto before = Files();
  for (const auto& [words, message] : cases) {
    EXPECT_EQ(Run(words), 1) << message;
    EXPECT_THAT(err_, HasSubstr(message));
    EXPECT_EQ(Files(), before) << message;
  }
}

}  // namespace
