#include "host/core/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/messages.h"

namespace {

using namespace QXCore;

class Sample : public QXOptions {
 public:
  Sample() : QXOptions("Sample", 4, 0) {
    auto degree = std::make_unique<QXUIntParameter>("-Degree", 5u);
    degree->AddLegalRange("100", "0");
    SetParameter(0, std::move(degree));
    SetParameter(1, std::make_unique<QXDoubleParameter>("-Width", 1.0));
    auto flag = std::make_unique<QXBoolParameter>("-Flag", true);
    flag->AddLegalRange("true", "false");
    SetParameter(2, std::move(flag));
  }
  QXOptions* CreateCopy() const override { return new Sample(*this); }
};

template <typename T>
T Get(const QXOptions& options, size_t place, bool getDefault = false) {
  T value{};
  EXPECT_TRUE(options.GetParameter(place)->GetValue(value, getDefault));
  return value;
}

TEST(Options, CopiesAreDeep) {
  Sample source;
  source.GetParameter(0)->SetValue(7u);
  const std::unique_ptr<QXOptions> created(source.CreateCopy());
  EXPECT_NE(dynamic_cast<Sample*>(created.get()), nullptr);
  Sample assigned;
  assigned = source;
  assigned.GetParameter(0)->SetValue(9u);
  created->GetParameter(1)->SetValue(2.5);
  EXPECT_EQ(Get<unsigned int>(source, 0), 7u);
  EXPECT_EQ(Get<double>(source, 1), 1.0);
  EXPECT_EQ(Get<unsigned int>(*created, 0), 7u);
  EXPECT_EQ(Get<unsigned int>(assigned, 0), 9u);
  EXPECT_EQ(Get<unsigned int>(assigned, 0, true), 5u);
  EXPECT_FALSE(created->GetParameter(0)->SetFromText("101"));
}

TEST(Options, IllegalValuesAreRefusedWithAWarning) {
  const QXTest::Messages messages;
  Sample options;
  EXPECT_FALSE(options.GetParameter(0)->SetValue(101u));
  EXPECT_TRUE(options.GetParameter(0)->SetValue(100u));
  double wrongType = 3;
  EXPECT_FALSE(options.GetParameter(0)->GetValue(wrongType, false));
  EXPECT_FALSE(options.GetParameter(1)->SetValue(true));
  QXDoubleParameter share("-Share", 0.5);
  share.AddLegalRange("1", "0.25");
  EXPECT_FALSE(share.SetValue(std::nan("")));
  share.AddLegalRange("0", "1");
  std::vector<std::string> reports;
  for (const auto& [level, text] : messages.all) reports.push_back(text);
  EXPECT_THAT(
      reports,
      testing::ElementsAre(
          "The option -Degree does not take 101, its legal values are 0 to 100: it keeps 5.",
          testing::HasSubstr("-Degree has another type"),
          testing::HasSubstr("-Width has another type"),
          "The option -Share does not take nan, its legal values are 0.25 to 1: it keeps 0.5.",
          "The option -Share cannot have legal values from \"1\" to \"0\"."));
  EXPECT_EQ(Get<unsigned int>(options, 0), 100u);
  EXPECT_EQ(wrongType, 3);
}

TEST(Options, ValidateFindsValuesThatAreNotLegal) {
  Sample options;
  EXPECT_EQ(options.GetParameter(2)->GetLegalText(), "true or false");
  EXPECT_EQ(options.GetParameter(1)->GetLegalText(), "");
  EXPECT_EQ(options.GetParameter(3), nullptr);  // a place left empty
  EXPECT_EQ(options.GetParameter(4), nullptr);
  EXPECT_TRUE(options.Validate());
  options.GetParameter(1)->SetValue(std::numeric_limits<double>::infinity());
  EXPECT_FALSE(options.Validate());
  options.GetParameter(1)->SetValue(-1.0);
  EXPECT_TRUE(options.Validate());
  options.GetParameter(1)->AddLegalRange("2", "0");
  EXPECT_FALSE(options.Validate());
}

TEST(Options, TextsAreReadWholeAndStrictly) {
  Sample options;
  for (const char* bad : {"", " 5", "5 ", "+5", "-1", "5.0", "0x5", "4294967296", "101", "five"})
    EXPECT_FALSE(options.GetParameter(0)->SetFromText(bad)) << bad;
  for (const char* bad : {"", "1,5", "1.5A", "nan", "inf", "-infinity", "1e999", "--1", "1 "})
    EXPECT_FALSE(options.GetParameter(1)->SetFromText(bad)) << bad;
  for (const char* bad : {"", "True", "1", "yes", "true "})
    EXPECT_FALSE(options.GetParameter(2)->SetFromText(bad)) << bad;
  EXPECT_EQ(Get<unsigned int>(options, 0), 5u);
  EXPECT_EQ(Get<double>(options, 1), 1.0);
  EXPECT_TRUE(Get<bool>(options, 2));

  EXPECT_TRUE(options.GetParameter(0)->SetFromText("42"));
  EXPECT_TRUE(options.GetParameter(2)->SetFromText("false"));
  EXPECT_EQ(options.GetParameter(0)->GetText(), "42");
  EXPECT_EQ(options.GetParameter(2)->GetText(), "false");
  for (const double value : {0.1, -1.0 / 3, 1e-300, 5e-324, 1.7976931348623157e308}) {
    options.GetParameter(1)->SetValue(value);
    EXPECT_TRUE(options.GetParameter(1)->SetFromText(options.GetParameter(1)->GetText()));
    EXPECT_EQ(Get<double>(options, 1), value);
  }
}

}  // namespace
