// The command `qxhermite overlay`, run as a person runs it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <iterator>
#include <numeric>
#include <random>
#include <sstream>
#include <thread>

#include "host/molkit/molstream.h"
#include "support/check.h"
#include "tests/tools/tool_test.h"

namespace {

namespace fs = std::filesystem;
using namespace QXTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kExamples = QX_EXAMPLES;
constexpr const char* kScoreTag = "Shape Tanimoto";
constexpr const char* kExactTag = "Exact Shape Tanimoto";

class OverlayCommand : public ToolTest {
 protected:
  pid_t Start(std::vector<std::string> words, const std::string& first = ":",
              const std::string& last = ">out.txt 2>err.txt") {
    words.insert(words.begin(), "overlay");
    return ToolTest::Start(words, first, last);
  }
  int Run(const std::vector<std::string>& words) { return Finish(Start(words)); }

  /// Overlays fit.sdf on ref.sdf into hits.sdf.
  int Overlay(const std::vector<SdRecord>& fits, std::vector<std::string> more = {}) {
    WriteFile(Path("ref.sdf"), Text({reference_}));
    WriteFile(Path("fit.sdf"), Text(fits));
    more.insert(more.begin(), {"--ref", "ref.sdf", "--fit", "fit.sdf", "--out", "hits.sdf"});
    return Run(more);
  }
  std::vector<SdRecord> Hits() const { return ReadSd(Path("hits.sdf")); }

  SdRecord reference_ = ReadSd(kExamples + "/reference.sdf").at(0);
};

std::vector<SdRecord> Drugs(const std::vector<std::string>& titles) {
  std::vector<SdRecord> chosen;
  for (const SdRecord& record : ReadSd(kExamples + "/drugs.sdf")) {
    if (std::count(titles.begin(), titles.end(), record.Title()) > 0) chosen.push_back(record);
  }
  return chosen;
}

double Score(const SdRecord& hit) {
  return std::stod(hit.Data(kScoreTag));
}

TEST_F(OverlayCommand, ResultDoesNotDependOnTheFramesOfTheInput) {
  // The drugs of the examples have three distinct moments each.
  const std::vector<SdRecord> drugs = Drugs({"naproxen", "diclofenac", "etoricoxib", "morphine"});
  ASSERT_EQ(Overlay(drugs, {"--no-group"}), 0) << err_;
  const std::vector<SdRecord> before = Hits();
  ASSERT_EQ(before.size(), drugs.size());

  std::mt19937 random(2);
  std::vector<SdRecord> moved;
  for (const SdRecord& drug : drugs) moved.push_back(drug.Moved(RandomMotion(random)));
  const Motion motion = RandomMotion(random);
  reference_ = reference_.Moved(motion);
  ASSERT_EQ(Overlay(moved, {"--no-group"}), 0) << err_;
  const std::vector<SdRecord> after = Hits();
  ASSERT_EQ(after.size(), before.size());

  // The poses have moved with the reference.
  for (size_t i = 0; i < before.size(); ++i) {
    EXPECT_EQ(after[i].Title(), before[i].Title());
    EXPECT_NEAR(Score(after[i]), Score(before[i]), 1e-3);
    EXPECT_LT(LargestDistance(after[i], before[i].Moved(motion)), 0.05) << before[i].Title();
  }
}

TEST_F(OverlayCommand, InPlaceStartsFromTheFramesAsGiven) {
  const double slight = 0.05;  // radians, and about as many angstrom
  const SdRecord near = reference_.Moved(MakeMotion({1, slight / 2, 0, 0}, {0.3, -0.2, 0.1}));
  const SdRecord far = reference_.Moved(MakeMotion({1, 0, 0, 0}, {40, 0, 0})).Titled("far");
  ASSERT_EQ(Overlay({near, far}, {"--in-place", "--npolymax", "12"}), 0) << err_;
  std::vector<SdRecord> hits = Hits();
  ASSERT_EQ(hits.size(), 2u);
  // An expansion about another place than the molecule's own centre is a little worse.
  EXPECT_GT(Score(hits[0]), 0.99);
  EXPECT_LT(LargestDistance(hits[0], reference_), LargestDistance(near, reference_) / 4);
  EXPECT_EQ(hits[1].Title(), "far");
  EXPECT_LT(Score(hits[1]), 0.01);  // out of reach of any minimisation

  ASSERT_EQ(Overlay({far}), 0) << err_;
  EXPECT_GT(Score(Hits().at(0)), 0.999);
}

TEST_F(OverlayCommand, TitlesNeverDecideWhereFilesGo) {
  const std::vector<std::string> titles = {"../../escaped", "/absolute/path", "..", "",
                                           std::string(10000, 'x')};
  std::vector<SdRecord> fits;
  for (const std::string& title : titles) fits.push_back(reference_.Titled(title));
  ASSERT_EQ(Overlay(fits, {"--records", "kept/here"}), 0) << err_;
  EXPECT_THAT(Files(), ElementsAre("fit.sdf", "hits.sdf", "kept/here/000001_.._.._escaped.qxb",
                                   "kept/here/000002__absolute_path.qxb", "kept/here/000003_...qxb",
                                   "kept/here/000004_.qxb",
                                   "kept/here/000005_" + std::string(60, 'x') + ".qxb", "ref.sdf"));
  std::vector<std::string> written;
  for (const SdRecord& hit : Hits()) written.push_back(hit.Title());
  EXPECT_THAT(written, testing::UnorderedElementsAreArray(titles));
}

TEST_F(OverlayCommand, RecordsReplaceRegularFilesOnly) {
  fs::create_directories(Path("kept/000001_directory.qxb"));
  WriteFile(Path("kept/000002_file.qxb"), "of an earlier run");
  WriteFile(Path("aim"), "not to be touched");
  fs::create_symlink("../aim", Path("kept/000003_link.qxb"));
  std::vector<SdRecord> fits;
  for (const char* title : {"directory", "file", "link"}) fits.push_back(reference_.Titled(title));
  EXPECT_EQ(Overlay(fits, {"--records", "kept"}), 2);
  EXPECT_EQ(err_,
            "kept/000001_directory.qxb: not a regular file: remove it\n"
            "kept/000003_link.qxb: not a regular file: remove it\n"
            "2 .qxb records not kept\n");
  EXPECT_EQ(ReadFile(Path("aim")), "not to be touched");
  QXMolKit::qxmolistream record(Path("kept/000002_file.qxb"));
  size_t count = 0;
  for (QXMolKit::QXMol mol; QXMolKit::QXReadMolecule(record, mol); ++count)
    EXPECT_EQ(QXMolKit::QXHasSDData(mol, kScoreTag), count % 2 == 1);
  EXPECT_EQ(count, 8u);  // four starts and four poses
  EXPECT_THAT(Files("tmp"), IsEmpty());
  EXPECT_EQ(Hits().size(), 3u);
  EXPECT_THAT(Files("kept"), ElementsAre("kept/000002_file.qxb", "kept/000003_link.qxb"));
}

TEST_F(OverlayCommand, FailuresToWriteAreToldAboutTheFilesThatWereAskedFor) {
  // SIGXFSZ is ignored, so that writing beyond the limit fails as on a full disk.
  const std::string limit = "trap '' XFSZ && ulimit -f 4";  // 4 blocks of 512 bytes
  WriteFile(Path("ref.sdf"), reference_.Text());
  WriteFile(Path("fit.sdf"), reference_.Text());
  const std::vector<std::string> words = {"--ref", "ref.sdf", "--fit", "fit.sdf", "--out"};
  const auto run = [&](std::vector<std::string> more) {
    more.insert(more.begin(), words.begin(), words.end());
    return Finish(Start(more, limit));
  };
  ASSERT_GT(fs::file_size(Path("ref.sdf")), 2048u);
  const std::string reason = ": writing failed (File too large): make room on the disk and write ";
  EXPECT_EQ(run({"hits.sdf"}), 1);
  EXPECT_EQ(err_, "hits.sdf" + reason + "the file again\n");
  EXPECT_EQ(run({"hits.sdf", "--records", "kept"}), 1);
  EXPECT_THAT(err_, testing::StartsWith("kept/000001_celecoxib.qxb" + reason));
  EXPECT_THAT(Files(), ElementsAre("fit.sdf", "ref.sdf"));

  WriteFile(Path("ref.sdf"), Carbons("a", {{0, 0, 0}}).Text());
  WriteFile(Path("fit.sdf"), Carbons("a", {{0, 0, 0}}).Text());
  // The records that nobody asked for do not fit, and nobody hears of it.
  EXPECT_EQ(run({"hits.sdf", "--npolymax", "20"}), 0);
  EXPECT_THAT(err_, IsEmpty());
  EXPECT_EQ(run({"again.sdf", "--npolymax", "20", "--records", "kept"}), 2);
  EXPECT_THAT(err_, testing::EndsWith("1 .qxb record not kept\n"));
  EXPECT_THAT(Files(), ElementsAre("again.sdf", "fit.sdf", "hits.sdf", "ref.sdf"));
}

TEST_F(OverlayCommand, MoleculesThatTheExpansionMissesAreReported) {
  // At degree 0 the basis is the one Gaussian of the reference, width w. Two of them at a distance
  // d about it overlap with it by exp(-w d^2 / 8) each, so that of their self overlap 2 + 2 exp(-w
  // d^2 / 2) it holds the share 1 / cosh(w d^2 / 4), with w = 2.34422871067 / 1.7^2: 0.744 for d =
  // 2, 0.314 for d = 3, 0.0126 for d = 5.
  reference_ = Carbons("atom", {{0, 0, 0}});
  const auto pair = [](const std::string& title, double d) {
    return Carbons(title, {{0, 0, 0}, {d, 0, 0}});
  };
  const std::vector<std::string> coarse = {"--npolymax", "0"};
  EXPECT_EQ(Overlay({pair("two", 2)}, coarse), 0);
  EXPECT_THAT(err_, IsEmpty());
  EXPECT_EQ(Overlay({pair("two", 2), pair("three", 3)}, coarse), 0);
  EXPECT_EQ(
      err_,
      "the expansion holds only 31 % of three: its Shape Tanimoto is too high: raise --NPolyMax\n");
  EXPECT_EQ(Overlay({pair("three", 3), pair("five", 5)}, coarse), 0);
  EXPECT_EQ(err_,
            "the expansion holds only 1 % of five and less than half of 1 more: their "
            "Shape Tanimotos are too high: raise --NPolyMax\n");
  EXPECT_EQ(Overlay({pair("three", 3), pair("five", 5)}, {"--npolymax", "20"}), 0);
  EXPECT_THAT(err_, IsEmpty());
}

TEST_F(OverlayCommand, PosesOfAnEarlierRunAreOverlaidAfresh) {
  const std::vector<SdRecord> drugs = Drugs({"naproxen"});
  ASSERT_EQ(Overlay(drugs, {"--records", "kept"}), 0) << err_;
  const double score = Score(Hits().at(0));
  // Conformers in a record carry coefficients, of another frame and, with another degree now, of
  // another length.
  ASSERT_EQ(Run({"--ref", "ref.sdf", "--fit", "kept/000001_naproxen.qxb", "--out", "again.sdf",
                 "--npolymax", "6"}),
            0)
      << err_;
  EXPECT_NEAR(Score(ReadSd(Path("again.sdf")).at(0)), score, 0.05);
}

TEST_F(OverlayCommand, ConsecutiveRecordsOfOneStructureAreConformers) {
  const std::vector<SdRecord> drugs = Drugs({"carbamazepine", "celecoxib"});
  ASSERT_EQ(drugs.size(), 6u);
  std::vector<SdRecord> fits = drugs;
  fits.push_back(drugs[0]);                          // comes back, but not right after
  fits.push_back(drugs[2].Titled("carbamazepine"));  // the same title on another structure
  ASSERT_EQ(Overlay(fits), 0) << err_;
  EXPECT_EQ(Hits().size(), 4u);
  ASSERT_EQ(Overlay(fits, {"--no-group"}), 0) << err_;
  EXPECT_EQ(Hits().size(), 8u);
  ASSERT_EQ(Overlay(drugs, {"--poses", "3"}), 0) << err_;
  EXPECT_EQ(Hits().size(), 6u);
}

TEST_F(OverlayCommand, TableAndCsvRankTheHits) {
  const std::vector<SdRecord> fits = {
      Carbons("one, \"two\"\x1b[31m", {{0, 0, 0}, {1.5, 0, 0}, {2, 1.4, 0.3}}), reference_};
  ASSERT_EQ(Overlay(fits, {"--csv", "hits.csv"}), 0) << err_;
  const std::vector<SdRecord> hits = Hits();
  ASSERT_EQ(hits.size(), 2u);
  const auto scores = [&](const char* tag) { return hits[0].Data(tag) + " " + hits[1].Data(tag); };
  const std::string second = hits[1].Data(kScoreTag), exact = hits[1].Data(kExactTag);
  EXPECT_EQ(scores(kScoreTag) + scores(kExactTag), "1.000000 " + second + "1.000000 " + exact);
  EXPECT_EQ(out_,
            "Rank  Title            Conformer     Exact  Tanimoto\n"
            "   1  celecoxib                1  1.000000  1.000000\n"
            "   2  one, \"two\"?[31m          1  " +
                exact + "  " + second + "\n");
  EXPECT_EQ(ReadFile(Path("hits.csv")),
            "rank,title,file,record,conformer,tanimoto,exact_tanimoto\n"
            "1,celecoxib,fit.sdf,2,1,1.000000,1.000000\n"
            "2,\"one, \"\"two\"\"\x1b[31m\",fit.sdf,1,1," +
                second + "," + exact + "\n");
  ASSERT_EQ(Overlay(fits, {"--top", "1"}), 0);
  EXPECT_EQ(std::count(out_.begin(), out_.end(), '\n'), 2);
  ASSERT_EQ(Overlay(fits, {"--quiet"}), 0);
  EXPECT_THAT(out_ + err_, IsEmpty());
}

TEST_F(OverlayCommand, BrokenRecordsAndFilesAreSkippedAndCounted) {
  SdRecord hydrogens = Carbons("hydrogens", {{0, 0, 0}, {0.7, 0, 0}});
  for (size_t i = 4; i < 6; ++i) hydrogens.lines[i][31] = 'H';
  const std::vector<SdRecord> fits = {reference_.Titled("first"),
                                      hydrogens,
                                      Carbons("nan", {{NAN, 0, 0}, {1.5, 0, 0}}),
                                      Carbons("nothing", {}),
                                      Carbons("heap", {{1, 2, 3}, {1, 2, 3}}),
                                      Carbons("drawing", {{0, 0, 0}, {1.5, 0, 0}, {0, 1.5, 0}}),
                                      reference_.Titled("last")};
  WriteFile(Path("other.sdf"), reference_.Titled("other").Text());
  WriteFile(Path("empty.sdf"), "");
  ASSERT_EQ(Overlay(fits, {"--fit", "missing.sdf", "empty.sdf", "other.sdf"}), 2);
  std::vector<std::string> titles;
  for (const SdRecord& hit : Hits()) titles.push_back(hit.Title());
  EXPECT_THAT(titles, testing::UnorderedElementsAre("first", "drawing", "last", "other"));
  EXPECT_THAT(
      err_,
      HasSubstr("fit.sdf:2: no heavy atoms: give a molecule with other atoms than hydrogen\n"));
  EXPECT_THAT(
      err_,
      HasSubstr("fit.sdf:4: no heavy atoms: give a molecule with other atoms than hydrogen\n"));
  EXPECT_THAT(err_, HasSubstr("fit.sdf:5: no coordinates: give a structure in three dimensions\n"));
  EXPECT_THAT(err_, HasSubstr("fit.sdf:6: all z are zero, it looks like a drawing, whose wedge "
                              "bonds mean nothing once it is turned in space: make 3-D "
                              "coordinates, unless the molecule is flat\n"));
  EXPECT_THAT(err_, HasSubstr("empty.sdf: holds no molecule: check the file\n"));
  EXPECT_THAT(err_, HasSubstr("missing.sdf: cannot be opened for reading (No such file or "
                              "directory): check the name and the permissions\n"));
  EXPECT_THAT(err_, testing::EndsWith("4 records skipped\n2 files skipped\n"));

  ASSERT_EQ(Overlay({hydrogens}), 1);
  EXPECT_EQ(err_,
            "fit.sdf:1: no heavy atoms: give a molecule with other atoms than hydrogen\n"
            "1 record skipped\n"
            "nothing could be overlaid: nothing was written\n");
}

TEST_F(OverlayCommand, EveryReferenceEndsInAResultOrAClearMessage) {
  struct Case {
    std::vector<std::array<double, 3>> places;
    int status;
    std::string message;
  };
  std::vector<std::array<double, 3>> line, plane, cloud;
  std::mt19937 random(3);
  std::uniform_real_distribution<double> uniform(-12, 12);
  for (int i = 0; i < 6; ++i) line.push_back({1.4 * i, 0.7 * i, 0.3 * i});
  for (int i = 0; i < 6; ++i) plane.push_back({1.4 * std::cos(i), 1.4 * std::sin(i), 2.0});
  for (int i = 0; i < 500; ++i)
    cloud.push_back({uniform(random), uniform(random), uniform(random)});
  const std::string unusable = "the reference could not be used: nothing was written\n";
  const Case cases[] = {
      {{},
       1,
       "ref.sdf:1: no heavy atoms: give a molecule with other atoms than hydrogen\n" + unusable},
      {{{NAN, 0, 0}}, 1, "ref.sdf:1: \"reference\" cannot be read, .*\n" + unusable},
      {{{5, 6, 7}}, 0, ""},
      {line, 0, ""},
      {plane, 0, ""},
      {{{0, 0, 0}, {1, 0, 0}, {0, 2, 0}},
       0,
       "ref.sdf:1: all z are zero, it looks like a drawing: make 3-D coordinates, unless the "
       "molecule is flat\n"},
      {cloud, 0, "the expansion holds only [0-9]+ % of atom .*: raise --NPolyMax\n"},
  };
  for (const Case& one : cases) {
    reference_ = Carbons("reference", one.places);
    // The reference itself, turned, must be found again even where axes are arbitrary.
    std::vector<SdRecord> fits = {Carbons("atom", {{1, 1, 1}})};
    if (!one.places.empty()) fits.push_back(reference_.Moved(RandomMotion(random)));
    EXPECT_EQ(Overlay(fits), one.status) << one.places.size() << " atoms: " << err_;
    EXPECT_THAT(err_, testing::MatchesRegex(one.message));
    if (one.status == 0) {
      EXPECT_GT(Score(Hits().at(0)), 0.999) << one.places.size() << " atoms";
    }
  }
  WriteFile(Path("ref.sdf"), "\n");
  EXPECT_EQ(Run({"--ref", "ref.sdf", "--fit", "fit.sdf", "--out", "hits.sdf"}), 1);
  EXPECT_EQ(err_, "ref.sdf: holds no molecule: check the file\n" + unusable);
}

TEST_F(OverlayCommand, MovedCopyComesBackOntoTheChosenReferenceAsItWas) {
  const std::vector<SdRecord> drugs = Drugs({"naproxen", "morphine"});
  WriteFile(Path("refs.sdf"), Text(drugs));
  std::mt19937 random(1);
  WriteFile(Path("fit.sdf"), drugs[1].Moved(RandomMotion(random)).Text());
  const auto run = [&](const std::string& record) {
    return Run(
        {"--ref", "refs.sdf", "--ref-record", record, "--fit", "fit.sdf", "--out", "hits.sdf"});
  };
  ASSERT_EQ(run("2"), 0) << err_;
  const SdRecord hit = Hits().at(0);
  EXPECT_LT(LargestDistance(hit, drugs[1]), 0.02);
  EXPECT_EQ(hit.Title(), drugs[1].Title());
  EXPECT_EQ(hit.Bonds(), drugs[1].Bonds());
  EXPECT_EQ(hit.Data("PartialCharges"), drugs[1].Data("PartialCharges"));
  EXPECT_THAT(err_, IsEmpty());
  EXPECT_EQ(run("9"), 1);
  EXPECT_EQ(err_,
            "refs.sdf:9: no such record, the file holds 5: choose another --ref-record\n"
            "the reference could not be used: nothing was written\n");
}

TEST_F(OverlayCommand, ExpansionOptionsReachTheExpansion) {
  const std::vector<SdRecord> fits = Drugs({"naproxen"});
  ASSERT_EQ(Overlay(fits), 0);
  const double plain = Score(Hits().at(0));
  // A width far too small sees two shapeless blobs, in any spelling of the options.
  ASSERT_EQ(Overlay(fits, {"-LambdaX", "0.05", "--useoptimallambdas=false"}), 0) << err_;
  EXPECT_GT(Score(Hits().at(0)), plain + 0.01);
  ASSERT_EQ(Overlay(fits, {"--UseSingleLambda", "false"}), 0);
  EXPECT_EQ(err_,
            "ref.sdf:1: its three widths differ, so that turning a density is only "
            "approximate: leave --UseSingleLambda true unless you need them\n");
}

// What a pose tells under the three tags of an overlay that weighs charge.
std::vector<double> Scores(const SdRecord& hit) {
  std::vector<double> scores;
  for (const char* tag : {"Shape + Charge Tanimoto Combo", kScoreTag, "Charge Tanimoto"}) {
    scores.push_back(std::stod(hit.Data(tag)));
  }
  return scores;
}

std::vector<double> EndCharges(const QXMolKit::QXMCMolBase& mol) {
  return {mol.Atoms().front().GetPartialCharge(), mol.Atoms().back().GetPartialCharge()};
}

// What a search finds in more starts, or by polishing, is ranked by the atoms themselves.
TEST_F(OverlayCommand, SearchesHarderOnDemandAndRanksByTheExactScore) {
  const std::vector<SdRecord> drugs = Drugs({"ketoprofen", "warfarin", "sertraline"});
  const auto exactScores = [&](std::vector<std::string> more) {
    EXPECT_EQ(Overlay(drugs, std::move(more)), 0) << err_;
    std::vector<double> scores;
    for (const SdRecord& hit : Hits()) scores.push_back(std::stod(hit.Data(kExactTag)));
    return scores;
  };
  const auto sum = [](const std::vector<double>& v) {
    return std::accumulate(v.begin(), v.end(), 0.0);
  };
  const auto plain = exactScores({"--polish", "0"}), polished = exactScores({});
  EXPECT_TRUE(std::is_sorted(polished.rbegin(), polished.rend()));
  EXPECT_GT(sum(polished), sum(plain) + 0.01);
  EXPECT_GE(sum(exactScores({"--starts", "24", "--polish", "8"})), sum(polished) - 1e-6);
  EXPECT_NEAR(sum(exactScores({"--npolymax", "8", "--coarse", "4"})),
              sum(exactScores({"--npolymax", "8"})), 0.02);
}

TEST_F(OverlayCommand, ChargeTellsApartTheEndsOfARod) {
  // By shape a rod fits both ways. One of the fits is the reference after a half turn; of the
  // other, a record of the same structure and so a conformer, the charges are the other way round.
  const SdRecord rod = Carbons("rod", {{0, 0, 0}, {1.5, 0, 0}, {3, 0, 0}, {4.5, 0, 0}, {6, 0, 0}});
  const std::string ownCharges = "-0.5 0 0 0 0.4";
  reference_ = rod.WithData({{"PartialCharges", "0.5 0 0 0 -0.5"}});
  ASSERT_EQ(Overlay({rod.WithData({{"PartialCharges", ownCharges}}),
                     reference_.Moved(MakeMotion({0, 0, 1, 0}, {3, 4, 5}))},
                    {"--charge-weight", "2", "--charge-offset", "-0.25", "--poses", "8", "--csv",
                     "hits.csv", "--records", "kept"}),
            0)
      << err_;
  const std::vector<SdRecord> hits = Hits();
  ASSERT_EQ(hits.size(), 8u);
  EXPECT_LT(LargestDistance(hits[0], reference_), 0.01);
  EXPECT_THAT(out_, testing::StartsWith(
                        "Rank  Title  Conformer      Combo     Shape     Charge     Exact\n"
                        "   1  rod            2   2.500000  1.000000   1.000000  1.000000\n"));
  EXPECT_THAT(
      ReadFile(Path("hits.csv")),
      testing::StartsWith("rank,title,file,record,conformer,combo,shape_tanimoto,charge_tanimoto,"
                          "exact_tanimoto\n"
                          "1,rod,fit.sdf,2,2,2.500000,1.000000,1.000000,1.000000\n"));
  const auto other = std::ranges::find_if(
      hits, [&](const SdRecord& hit) { return hit.Data("PartialCharges") == ownCharges; });
  ASSERT_NE(other, hits.end());
  EXPECT_NEAR(other->Place(4)[0], 0.0, 0.5) << "a charge of 0.4 on one of 0.5";
  const std::vector<double> scores = Scores(*other);
  EXPECT_NEAR(scores[0], scores[1] + 2 * (scores[2] - 0.25), 2e-6);
  QXMolKit::qxmolistream record(Path("kept/000001_rod.qxb"));
  size_t kept = 0;
  for (QXMolKit::QXMol mol; QXMolKit::QXReadMolecule(record, mol); ++kept) {
    EXPECT_EQ(QXMolKit::QXGetSDData(mol, "Charge Tanimoto"), hits.at(kept).Data("Charge Tanimoto"));
    const bool own = hits.at(kept).Data("PartialCharges") == ownCharges;
    EXPECT_THAT(EndCharges(mol), own ? ElementsAre(-0.5, 0.4) : ElementsAre(0.5, -0.5)) << kept;
  }
  EXPECT_EQ(kept, 8u);

  // By shape alone: the starts and poses of the first conformer, then those of the second.
  ASSERT_EQ(Run({"--ref", "ref.sdf", "--fit", "fit.sdf", "--out", "hits.sdf", "--records", "kept"}),
            0);
  QXMolKit::qxmolistream again(Path("kept/000001_rod.qxb"));
  kept = 0;
  for (QXMolKit::QXMol mol; QXMolKit::QXReadMolecule(again, mol); ++kept)
    EXPECT_EQ(EndCharges(mol)[1], kept < 8 ? 0.4 : -0.5) << kept;
  EXPECT_EQ(kept, 16u);
}

std::vector<double> Charges(const SdRecord& hit) {
  std::istringstream text(hit.Data("PartialCharges"));
  return {std::istream_iterator<double>(text), {}};
}

TEST_F(OverlayCommand, ChargesComeFromTheFilesOrAreComputed) {
  const std::vector<SdRecord> drugs = Drugs({"naproxen", "morphine"});
  std::vector<SdRecord> bare;
  for (const SdRecord& drug : drugs) bare.push_back(drug.WithData({}));
  const std::vector<std::string> weighed = {"--charge-weight", "1", "--npolymax", "7"};
  std::vector<std::string> computed = weighed, centred = weighed;
  computed.insert(computed.end(), {"--charges", "gasteiger"});
  centred.insert(centred.end(), {"-UseCenterOfMass", "true"});
  ASSERT_EQ(Overlay(drugs, weighed), 0) << err_;
  const std::vector<SdRecord> told = Hits();
  ASSERT_EQ(told.size(), 2u);
  // The charges of the examples are Gasteiger's, rounded to four digits behind the point, some 1e-3
  // of the larger ones. Shape and charge have one centre in any case.
  for (const auto& [fits, words, tolerance] :
       {std::tuple(bare, computed, 1e-3), std::tuple(drugs, centred, 1e-5)}) {
    ASSERT_EQ(Overlay(fits, words), 0) << err_;
    for (size_t i = 0; i < 2; ++i) {
      const SdRecord hit = Hits().at(i);
      EXPECT_TRUE(AllNear(Scores(hit), Scores(told[i]), tolerance)) << told[i].Title();
      EXPECT_TRUE(AllNear(Charges(hit), Charges(Drugs({hit.Title()})[0]), 5.1e-5)) << hit.Title();
    }
  }

  SdRecord pentavalent = bare[0].Titled("pentavalent");
  for (size_t bond = 0; bond < pentavalent.NumBonds(); ++bond) {
    pentavalent.lines[4 + pentavalent.NumAtoms() + bond].replace(6, 3, "  2");
  }
  EXPECT_EQ(Overlay({drugs[0], bare[0].Titled("bare")}, weighed), 2);
  EXPECT_EQ(err_,
            "fit.sdf:2: \"bare\" has no partial charges: give --charges gasteiger, or a file with "
            "charges\n1 record skipped\n");
  const std::vector<SdRecord> impossible = {drugs[0], pentavalent, pentavalent,
                                            Carbons("methane", {{0, 0, 0}})};
  EXPECT_EQ(Overlay(impossible, computed), 2);
  EXPECT_THAT(err_,
              testing::MatchesRegex(
                  "fit.sdf:2-3: \"pentavalent\": Gasteiger charges are impossible .*: give "
                  "charges in the file\n"
                  "fit.sdf:4: \"methane\" has no partial charges, all computed ones are zero: "
                  "give a file with charges\n3 records skipped\n"));
  reference_ = bare[0];
  EXPECT_EQ(Overlay(drugs, weighed), 1);
  EXPECT_EQ(err_,
            "ref.sdf:1: \"" + reference_.Title() +
                "\" has no partial charges: give --charges gasteiger, or a file with charges\n"
                "the reference could not be used: nothing was written\n");
}

TEST_F(OverlayCommand, WrongUsageIsExplained) {
  const std::string help = "\nRun qxhermite overlay --help for the options.\n";
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"--npolymax", "101"}, "--NPolyMax: '101' is not 0 to 100"},
      {{"-LambdaY", "wide"}, "--LambdaY: 'wide' is not a number"},
      {{"-LambdaZ", "-1"}, "--LambdaZ: '-1' is not a positive number"},
      {{"--UseSingleLambda", "maybe"}, "--UseSingleLambda: 'maybe' is not true or false"},
      {{"--UseCenterOfMass", "maybe"}, "--UseCenterOfMass: 'maybe' is not true or false"},
      {{"--csv", ""}, "--csv: '' is not a name"},
      {{"--records", ""}, "--records: '' is not a name"},
      {{"--fit", ""}, "--fit: '' is not a name"},
      {{"--records", "kept", "--csv", "./kept/hits.qxb"},
       "./kept/hits.qxb: could be overwritten by one of --records: give another folder"},
      {{"--tolerance", "0"}, "--tolerance: '0' is not a positive number"},
      {{"--tolerance", "nan"}, "--tolerance: 'nan' is not a positive number"},
      {{"--poses", "0"}, "--poses: '0' is not a whole number of at least 1"},
      {{"--poses", "2x"}, "--poses: '2x' is not a whole number of at least 1"},
      {{"--in-place", "-UseCenterOfMass", "true"},
       "--in-place and --UseCenterOfMass true exclude each other: leave one out"},
      {{"--csv", "./ref.sdf"}, "./ref.sdf: is both read and written: give another name"},
      {{"--records", "."}, "fit.sdf: lies in the folder of --records: give another folder"},
      {{"--csv", "./hits.sdf"}, "./hits.sdf: is written twice: give --csv another name"},
      {{"--charge-weight", "0"}, "--charge-weight: '0' is not a positive number"},
      {{"--charge-weight", "1", "--charge-offset", "inf"},
       "--charge-offset: 'inf' is not a finite number"},
      {{"--charge-weight", "1", "--charge-offset", "-101"},
       "--charge-offset: an offset is -100 to 100"},
      {{"--charge-weight", "1", "--charge-sigma", "1e5"},
       "--charge-sigma: a width is at most 100 angstrom"},
      {{"--charge-weight", "2e6"}, "--charge-weight: a weight is at most 1000000"},
      {{"--charge-weight", "1", "--charges", "best"}, "--charges: best not in {file,gasteiger}"},
      {{"--charge-sigma", "1.5"},
       "--charge-sigma: is for overlays that weigh charge: give --charge-weight too"},
      {{"--starts", "5"}, "--starts: '5' is not 4 or 24"},
      {{"--starts", "24", "--UseSingleLambda", "false"},
       "--starts 24: axes are exchanged, which needs one width: leave --UseSingleLambda true"},
      {{"--coarse", "5"}, "--coarse: must be below --NPolyMax, 5: leave it out"},
      {{"--charge-weight", "1", "--polish", "1"},
       "--polish: is for overlays of molecules by shape: leave it out"},
      {{"--nonsense"}, "The following argument was not expected: --nonsense"},
  };
  for (const auto& [words, message] : cases) {
    EXPECT_EQ(Overlay({reference_}, words), 1);
    EXPECT_EQ(err_, "qxhermite: " + message + help);
  }
  EXPECT_EQ(Run({"--ref", "map.ccp4", "--fit", "fit.sdf", "--out", "x.sdf", "--charges", "file"}),
            1);
  EXPECT_EQ(err_, "qxhermite: --charges: is for molecules: leave it out" + help);
  EXPECT_EQ(Run({"--ref", "ref.sdf", "--fit", "fit.sdf", "--out", "hits.mol2"}), 1);
  EXPECT_EQ(err_,
            "qxhermite: hits.mol2: poses cannot be written in this format: name it .sdf, "
            ".pdb or .qxb" +
                help);
  EXPECT_EQ(Run({"--ref", "ref.sdf", "--fit", "fit.sdf", "--out", "absent/hits.sdf"}), 1);
  EXPECT_EQ(err_,
            "absent/hits.sdf: cannot be written (No such file or directory): choose another "
            "place\n");
  const std::vector<std::string> toStream = {"--ref", "ref.sdf", "--fit", "fit.sdf",
                                             "--out", "x.sdf",   "--csv", "/dev/stdout"};
  EXPECT_EQ(Run(toStream), 1);
  EXPECT_EQ(err_, "/dev/stdout: is a standard stream: give the name of a file\n");
  EXPECT_EQ(Finish(Start(toStream, ":", ">/dev/null 2>err.txt")), 1);
  EXPECT_EQ(Finish(Start({}, "set -- \"$1\" frobnicate")), 1);
  EXPECT_EQ(err_,
            "qxhermite: 'frobnicate' is not a command: choose one of overlay, expand, grid, "
            "atoms, fit-grid, charges fit, charges potential, charges energy, report\nRun "
            "qxhermite --help "
            "for the options.\n");
  EXPECT_EQ(Run({"--help"}), 0);
  EXPECT_THAT(out_, testing::AllOf(HasSubstr("Examples:"), HasSubstr("Resolution Parameter."),
                                   HasSubstr("--UseOptimalLambdas")));
  EXPECT_THAT(Files(), ElementsAre("fit.sdf", "ref.sdf"));
}

TEST_F(OverlayCommand, ClosedStreamsDoNotKeepFilesFromBeingFinished) {
  std::vector<SdRecord> fits = {Carbons("nothing", {})};  // for a message on stderr
  // The table is longer than any buffer of the stream.
  for (int i = 0; i < 100; ++i) {
    fits.push_back(Carbons(std::string(40, 'x') + std::to_string(i), {{0, 0, 0}}));
  }
  reference_ = Carbons("atom", {{0, 0, 0}});
  WriteFile(Path("ref.sdf"), reference_.Text());
  WriteFile(Path("fit.sdf"), Text(fits));
  const std::vector<std::string> words = {"--ref", "ref.sdf",  "--fit",      "fit.sdf",
                                          "--out", "hits.sdf", "--npolymax", "0"};
  // Nobody reads from the pipe; or there are no streams at all.
  for (const char* streams : {">&4 2>&4 4>&-", ">&- 2>&- 4>&-"}) {
    EXPECT_EQ(Finish(Start(words, "mkfifo pipe && exec 3<>pipe 4>pipe && exec 3>&-", streams)), 2)
        << streams;
    EXPECT_EQ(Hits().size(), 100u) << streams;
    fs::remove(Path("pipe"));
    EXPECT_THAT(Files(), ElementsAre("fit.sdf", "hits.sdf", "ref.sdf"));
    fs::remove(Path("hits.sdf"));
  }
}

TEST_F(OverlayCommand, InterruptedRunLeavesNothingBehind) {
  std::vector<SdRecord> fits;
  for (int i = 0; i < 2000; ++i) fits.push_back(reference_.Titled(std::to_string(i)));
  WriteFile(Path("ref.sdf"), reference_.Text());
  WriteFile(Path("fit.sdf"), Text(fits));
  WriteFile(Path("hits.sdf"), "of an earlier run\n");
  const std::vector<std::string> words = {"--ref", "ref.sdf",  "--fit",      "fit.sdf",
                                          "--out", "hits.sdf", "--npolymax", "20"};
  for (const int number : {SIGINT, SIGQUIT}) {
    const pid_t child = Start(words, "trap '' HUP && ulimit -c 0");
    // A file for the poses shows that it has begun; 2000 overlays take far longer than the wait.
    for (int i = 0; i < 3000 && Files().size() == 3; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ::kill(child, SIGHUP);  // ignored as it was found
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ::kill(child, number);
    EXPECT_EQ(Finish(child), -number);
    EXPECT_EQ(err_, "interrupted: nothing was written\n");
    EXPECT_THAT(Files(), ElementsAre("fit.sdf", "hits.sdf", "ref.sdf"));
    EXPECT_EQ(ReadFile(Path("hits.sdf")), "of an earlier run\n");
  }
}

}  // namespace
