// The commands around multi-centre models, run as a person runs them.

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <filesystem>

#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "hermite/hermite.h"
#include "tests/tools/grid_tool_test.h"

namespace {

using namespace QXTest;
using testing::HasSubstr;
using testing::IsEmpty;
using Json = nlohmann::json;

class ModelCommands : public GridToolTest {
 protected:
  void SetUp() override { WriteDensity("map.ccp4", HeavyReference()); }
  int Fit(const std::vector<std::string>& more) {
    std::vector<std::string> words = {"fit-grid",   "map.ccp4", "--out",    "model.json",
                                      "--npolymax", "2",        "--lambda", "1.3"};
    words.insert(words.end(), more.begin(), more.end());
    return Run(words);
  }
};

double Norm(const Vector& values) {
  return Eigen::VectorXd::Map(values.data(), Eigen::Index(values.size())).norm();
}

TEST_F(ModelCommands, ModelAndResidualAddUpToTheGrid) {
  ASSERT_EQ(Fit({"--write-grid", "residual.cube"}), 0) << err_;
  const std::string summary = out_;
  ASSERT_EQ(Run({"grid", "model.json", "--out", "model.ccp4", "--like", "map.ccp4"}), 0) << err_;
  const Vector map = Values(ReadGrid("map.ccp4")), model = Values(ReadGrid("model.ccp4"));
  Vector rest;
  for (size_t i = 0; i < map.size(); ++i) rest.push_back(map[i] - model[i]);
  const double largest = *std::max_element(map.begin(), map.end());
  EXPECT_TRUE(AllNear(Values(ReadGrid("residual.cube")), rest, 1e-5 * largest));  // as printed
  EXPECT_LT(Norm(rest), 0.25 * Norm(map));
  char text[80];
  std::snprintf(text, sizeof text, "%.4f on the whole grid\n", Norm(rest) / Norm(map));
  EXPECT_THAT(summary, HasSubstr(text));

  EXPECT_EQ(Run({"grid", "model.json", "--out", "cube.ccp4", "--spacing", "0.01"}), 1);
  EXPECT_THAT(err_, HasSubstr("needs more than 300 elements"));
  // The cube stands where the molecule does.
  ASSERT_EQ(Run({"grid", "model.json", "--out", "cube.ccp4", "--spacing", "0.25"}), 0) << err_;
  QXScalarGrid grid = ReadGrid("map.ccp4"), cube = ReadGrid("cube.ccp4");
  ForElements(grid, [&, i = size_t{0}](float, const Vector3d& p) mutable {
    const float x[] = {float(p[0]), float(p[1]), float(p[2])};
    const double value = QXCore::QXLinearInterpolate(cube, x[0], x[1], x[2], 0.0f);
    const double bound = model[i] > 0.3 * largest ? 0.05 * largest : HUGE_VAL;
    ASSERT_NEAR(value, model[i++], bound);
  });
}

// The same model as by the library, from the same arguments.
TEST_F(ModelCommands, OptionsReachTheFit) {
  ASSERT_EQ(Fit({"--max-sites", "7", "--site-spacing", "1.2", "--value-fraction", "0.8",
                 "--active-fraction", "0.3"}),
            0)
      << err_;
  const auto expected = QXHermiteMath::QXGridToMultiHermite().FitMultiHermite(
      ReadGrid("map.ccp4"), 2, 1.3, 1.2, 0.8, 7, 0.3);
  const Json model = Json::parse(ReadFile(Path("model.json")));
  EXPECT_EQ(model.at("actives"), Json(expected.GetActives()));
  Vector centers, coefficients;
  for (const Json& center : model.at("centers"))
    for (const Json& x : center) centers.push_back(x);
  EXPECT_EQ(centers, expected.GetParams().GetCenterValues());
  for (const unsigned int index : expected.GetActives())
    coefficients.push_back(expected.GetCoefficient(index));
  EXPECT_EQ(model.at("coefficients"), Json(coefficients));
  ASSERT_EQ(Fit({"--max-sites", "3", "--sample-spacing", "0.75"}), 0) << err_;
  EXPECT_THAT(out_, HasSubstr("0.75 A apart"));
}

TEST_F(ModelCommands, WhatCannotBeUsedIsRefusedWithAReason) {
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"--npolymax", "1"}, "degree 1 gives no more functions"},
      {{"--npolymax", "21"}, "--npolymax: is at most 20"},
      {{"--value-fraction", "1"}, "a fraction is below 1"},
      {{"--active-fraction", "1.1"}, "a share is at most 1"},
      {{"--active-fraction", "1e-9"}, "no function takes part: raise --active-fraction"},
      {{"--write-grid", "./map.ccp4"}, "is both read and written"},
      {{"--write-grid", "x.json"}, "x.json: not the name of a grid"},
      {{"--write-grid", "absent/x.ccp4"}, "absent/x.ccp4: cannot be written"},
      {{"--lambda", "0.01"}, "map.ccp4: the model is no better than none, and is not written"},
      {{"--lambda", "1e-300"}, "map.ccp4: 660 of 660 columns of a LASSO fit are not finite"},
  };
  for (const auto& [words, message] : cases) {
    std::vector<std::string> all = {"fit-grid", "map.ccp4", "--out", "x.json"};
    all.insert(all.end(), words.begin(), words.end());
    EXPECT_EQ(Run(all), 1) << message;
    EXPECT_THAT(err_, HasSubstr(message));
    EXPECT_THAT(Files(), testing::ElementsAre("map.ccp4")) << message;
  }
}

TEST_F(ModelCommands, SamplesAreThinnedToTheMemoryAllowed) {
  ASSERT_EQ(Fit({"--memory", "2", "--max-sites", "10"}), 0) << err_;
  // 10 sites of 10 functions: no more than 2^21/800 samples.
  unsigned int samples = 0;
  ASSERT_EQ(std::sscanf(out_.c_str() + out_.find("Samples"), "Samples %u", &samples), 1) << out_;
  EXPECT_THAT(samples, testing::AllOf(testing::Gt(1500u), testing::Lt(2700u)));
  EXPECT_THAT(err_, HasSubstr("to take 2 MiB: raise --memory"));
  EXPECT_EQ(Fit({"--memory", "2", "--sample-spacing", "0.8"}), 1);
  EXPECT_THAT(err_, HasSubstr("--sample-spacing 0.8: needs more than 2 MiB: give at least"));
  // Between its elements a grid tells nothing.
  ASSERT_EQ(Fit({"--sample-spacing", "0.1", "--max-sites", "3"}), 0) << err_;
  EXPECT_THAT(out_, HasSubstr(", 0.5 A apart\n"));
  Run({"fit-grid", "map.ccp4", "--out", "x.json", "--npolymax", "6", "--memory", "2"});
  EXPECT_THAT(err_, HasSubstr("there are fewer samples than functions"));
  ASSERT_EQ(Run({"fit-grid", "map.ccp4", "--out", "x.json", "--lambda", "9"}), 0);
  EXPECT_THAT(err_, HasSubstr("the model leaves much of it: choose another --lambda"));
}

TEST_F(ModelCommands, InputsAreNeverWrittenTo) {
  std::filesystem::create_symlink("map.ccp4", Path("link.json"));
  std::filesystem::create_symlink("map.ccp4", Path("link.sdf"));
  WriteFile(Path("model.json"), "of an earlier run");
  std::filesystem::create_symlink("model.json", Path("link.cube"));
  const std::string map = ReadFile(Path("map.ccp4"));
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"fit-grid", "map.ccp4", "--out", "link.json"},
        {"fit-grid", "map.ccp4", "--out", "model.json", "--write-grid", "link.cube"},
        {"atoms", "map.ccp4", "--out", "link.sdf"},
        {"grid", kReference, "--out", "map.ccp4", "--like", "map.ccp4"}}) {
    EXPECT_EQ(Run(words), 1);
    EXPECT_THAT(err_, testing::AnyOf(HasSubstr("is both read and written"),
                                     HasSubstr("is to be written twice")));
  }
  EXPECT_TRUE(ReadFile(Path("map.ccp4")) == map);
}

TEST_F(ModelCommands, AnInterruptEndsAFitAtOnceAndTidiesUp) {
  const pid_t child =
      Start({"fit-grid", "map.ccp4", "--out", "model.json", "--npolymax", "10", "--memory", "200"});
  const auto begun = [&] { return Files().size() > 1; };
  for (int i = 0; i < 3000 && !begun(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  // The fit takes many seconds.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const auto before = std::chrono::steady_clock::now();
  ::kill(child, SIGINT);
  EXPECT_EQ(Finish(child), -SIGINT);
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
  EXPECT_THAT(err_, testing::EndsWith("interrupted: nothing was written\n"));
  EXPECT_THAT(Files(), testing::ElementsAre("map.ccp4"));
}

TEST_F(ModelCommands, DamagedModelsAreRefusedByTheNameOfTheField) {
  ASSERT_EQ(Fit({"--max-sites", "5"}), 0) << err_;
  const Json model = Json::parse(ReadFile(Path("model.json")));
  ASSERT_EQ(model.at("centers").size(), 5u);
  const std::pair<const char*, const char*> cases[] = {
      {R"({"format": "qxhermite model 2"})", "field format: is not \"qxhermite model 1\""},
      {R"({"format": "qxhermite"})", "field format: is not \"qxhermite expansion 1\""},
      {R"({"title": [[[[[[[[[[[[[[[[[[[[]]]]]]]]]]]]]]]]]]]]})", "lists are nested too deep"},
      {R"({"units": "bohr"})", "field units: is not angstrom"},
      {R"({"title": null})", "field title: is missing"},
      {R"({"degrees": [2, 2]})", "field degrees: 2 values for 5 sites"},
      {R"({"degrees": [-1]})", "field degrees[0]: -1 is not a whole number"},
      {R"({"degrees": [2, 2, 2, 2, 101]})", "field degrees: 101 is above 100"},
      {R"({"widths": [1, 1]})", "field widths: 2 values for 5 sites"},
      {R"({"actives": [4294967296], "coefficients": [1]})", "field actives[0]: 4294967296 is not"},
      {R"({"actives": [0], "coefficients": [1e300]})", "its values are not finite"},
      {R"({"widths": [0.0]})", "field widths: 0 is not positive"},
      {R"({"widths": ["wide"]})", "field widths[0]: \"wide\" is not a number"},
      {R"({"centers": [[0, 0]]})", "field centers[0]: is no list of three"},
      {R"({"centers": {}})", "field centers: is no list"},
      {R"({"centers": []})", "field centers: is empty"},
      {R"({"actives": [], "coefficients": []})", "field actives: is empty"},
      {R"({"actives": [0, 50], "coefficients": [1, 2]})", "field actives[1]: 50 is not below 50"},
      {R"({"actives": [7, 7], "coefficients": [1, 2]})", "field actives[1]: 7 does not rise"},
      {R"({"actives": [7]})", "field coefficients: "},
  };
  for (const auto& [patch, message] : cases) {
    Json damaged = model;
    damaged.merge_patch(Json::parse(patch));
    WriteFile(Path("model.json"), damaged.dump());
    EXPECT_EQ(Run({"grid", "model.json", "--out", "out.ccp4"}), 1) << patch;
    EXPECT_THAT(err_, HasSubstr(message)) << patch;
    EXPECT_THAT(Files(), testing::Not(testing::Contains("out.ccp4"))) << patch;
  }
}

TEST_F(ModelCommands, LassoFindsTheAtomsOfADensity) {
  const QXMol molecule = HeavyReference();
  ASSERT_EQ(
      Run({"atoms", "map.ccp4", "--out", "atoms.sdf", "--method", "Lasso", "--radius", "1.7"}), 0)
      << err_;
  EXPECT_THAT(err_, IsEmpty());
  const QXMol found = ReadMol(Path("atoms.sdf"));
  EXPECT_LT(Farthest(Coords(molecule), Coords(found)), 0.8);
  EXPECT_THAT(out_, HasSubstr("cosine of the densities on the grid"));
  ASSERT_EQ(Run({"atoms", "map.ccp4", "--out", "few.sdf", "--method", "lasso", "--max-atoms", "4",
                 "--metric", "tanimoto"}),
            0)
      << err_;
  EXPECT_LE(ReadMol(Path("few.sdf")).NumAtoms(), 4u);
  char text[80];
  std::snprintf(
      text, sizeof text, "Cosine     %.6f, of",
      Cosine(ReadGrid("map.ccp4"), QXHermiteMath::QXMolToGaussians(ReadMol(Path("few.sdf")), 1.3)));
  EXPECT_THAT(out_.substr(0, out_.find("Cosine") + 17), HasSubstr(std::string(text).substr(0, 15)));
  ASSERT_EQ(Run({"atoms", "map.ccp4", "--out", "high.sdf", "--method", "lasso", "--value-fraction",
                 "0.95"}),
            0)
      << err_;
  EXPECT_LT(ReadMol(Path("high.sdf")).NumAtoms(), 8u);
  for (const char* idle : {"--starts", "--npolymax", "--threshold"}) {
    EXPECT_EQ(Run({"atoms", "map.ccp4", "--out", "x.sdf", "--method", "lasso", idle, "1"}), 1);
    EXPECT_THAT(err_, HasSubstr("is not for --method lasso: leave it out")) << idle;
  }
  EXPECT_EQ(Run({"atoms", "map.ccp4", "--out", "x.sdf", "--max-atoms", "3"}), 1);
  EXPECT_EQ(Run({"atoms", "map.ccp4", "--out", "x.sdf", "--method", "lasso", "--metric", "2"}), 1);
  // The cosine knows of no scale.
  for (const float scale : {1e-30f, 1e30f}) {
    QXScalarGrid map = ReadGrid("map.ccp4");
    ForElements(map, [&](float& value, const Vector3d&) { value *= scale; });
    ASSERT_TRUE(QXCore::QXWriteGrid(Path("scaled.ccp4"), map));
    ASSERT_EQ(Run({"atoms", "scaled.ccp4", "--out", "scaled.sdf", "--method", "lasso",
                   "--value-fraction", "0.95"}),
              0)
        << err_;
    EXPECT_TRUE(
        AllNear(Coords(ReadMol(Path("scaled.sdf"))), Coords(ReadMol(Path("high.sdf"))), 1e-4));
  }
}

}  // namespace
