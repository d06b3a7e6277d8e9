#include "tools/text.h"

#include <gtest/gtest.h>

#include "tools/progress.h"

namespace QXTools {
namespace {

TEST(Text, TableAlignsByCharactersNotBytes) {
  EXPECT_EQ(FormatTable({"Rank", "Title", "Score"}, {{"1", "é", "0.5"}, {"10", "abcdef", "12.5"}},
                        {0, 2}),
            "Rank  Title   Score\n"
            "   1  é         0.5\n"
            "  10  abcdef   12.5\n");
}

TEST(Text, CsvQuotesWhatWouldBreakALine) {
  EXPECT_EQ(CsvLine({"", "plain", "a,b", "say \"x\"", "two\nlines"}),
            ",plain,\"a,b\",\"say \"\"x\"\"\",\"two\nlines\"\n");
}

TEST(Text, DisplayedTextIsHarmlessAndShort) {
  EXPECT_EQ(DisplayText("a\x1b[31m\tb\x7f"), "a?[31m?b?");
  // Bytes of Latin-1, a sequence cut short, one longer than needed, a surrogate, a C1 control.
  EXPECT_EQ(DisplayText("\xe9t\xe9 \xe2\x82"), "?t? ??");
  EXPECT_EQ(DisplayText("\xc0\xaf \xed\xa0\x80 \xc2\x9b"), "?? ??? ??");
  EXPECT_EQ(DisplayText("Ω 漢 \xf0\x9f\x98\x80"), "Ω 漢 \xf0\x9f\x98\x80");
  EXPECT_EQ(DisplayText("éééééé", 5), "éé...");
  EXPECT_EQ(DisplayText("ééééé", 5), "ééééé");
}

TEST(Text, FileNamePartCannotLeaveItsFolder) {
  EXPECT_EQ(FileNamePart("../a b/\xc3\xa9"), ".._a_b___");
  EXPECT_EQ(FileNamePart(std::string(10000, 'x')).size(), 60u);
}

TEST(Progress, LineTellsShareRateAndTimeLeft) {
  EXPECT_EQ(ProgressLine(25, 100, 5.0),
            "[=======                       ]  25% 25/100 records, 5.0/s, 00:00:15 left");
  EXPECT_EQ(ProgressLine(0, 0, 0.0), "[                              ]   0% 0/0 records");
  // The number to come is an estimate that may prove too small.
  EXPECT_EQ(ProgressLine(4, 3, 2.0),
            "[==============================] 100% 4/4 records, 2.0/s, 00:00:00 left");
}

}  // namespace
}  // namespace QXTools
