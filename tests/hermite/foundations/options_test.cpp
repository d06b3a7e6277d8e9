#include "hermite/foundations/options.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(Options, StandInOneOrderWithTextsDefaultsAndLegalValues) {
  struct Row {
    const char *option, *brief, *value, *legal;
  };
  // -UseCenterOfMass declares no legal values, the other two booleans do: on purpose.
  const Row rows[] = {
      {"-NPolyMax", "Resolution Parameter.", "5", "0 to 100"},
      {"-LambdaX", "Exponential X Width Coefficient.", "1", ""},
      {"-LambdaY", "Exponential Y Width Coefficient.", "1", ""},
      {"-LambdaZ", "Exponential Z Width Coefficient.", "1", ""},
      {"-UseCenterOfMass", "When True will use center of mass as origin of expansion.", "false",
       ""},
      {"-UseSingleLambda", "When True all Lambdas will be equal to each other.", "true",
       "true or false"},
      {"-UseOptimalLambdas",
       "When True the Optimal Lambdas will be found, otherwise user needs to specify.", "true",
       "true or false"},
  };
  const QXHermiteOptions options;
  EXPECT_EQ(options.GetName(), "Hermite Options");
  ASSERT_EQ(options.NumParameters(), std::size(rows));
  for (size_t place = 0; place < std::size(rows); ++place) {
    const QXCore::QXParameter& parameter = *options.GetParameter(place);
    EXPECT_EQ(parameter.GetOption(), rows[place].option);
    EXPECT_EQ(parameter.GetBrief(), rows[place].brief);
    EXPECT_EQ(parameter.GetText(), rows[place].value);
    EXPECT_EQ(parameter.GetLegalText(), rows[place].legal);
  }
}

TEST(Options, CopiesAreOfTheSameClassAndIllegalValuesAreRefused) {
  QXHermiteOptions source;
  source.SetNPolyMax(9);
  const std::unique_ptr<QXOptions> copy(source.CreateCopy());
  auto* options = dynamic_cast<QXHermiteOptions*>(copy.get());
  ASSERT_NE(options, nullptr);
  const Messages messages;
  options->SetNPolyMax(101);
  EXPECT_EQ(options->GetNPolyMax(), 9u);
  EXPECT_EQ(messages.all.size(), 1u);
  options->SetNPolyMax(100);
  EXPECT_EQ(options->GetNPolyMax(), 100u);
  EXPECT_EQ(source.GetNPolyMax(), 9u);
}

}  // namespace
}  // namespace QXHermiteMath
