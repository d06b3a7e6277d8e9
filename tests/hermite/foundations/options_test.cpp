#include "hermite/foundations/options.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/messages.h"

namespace QXHermiteMath {
namespace {

TEST(Options, StandInOneOrderAndAreReadAndWrittenEachInItsPlace) {
  struct Row {
    const char *option, *brief, *value, *legal, *changed;
  };
  // -UseCenterOfMass declares no legal values, the other two booleans do: on purpose.
  const Row rows[] = {
      {"-NPolyMax", "Resolution Parameter.", "5", "0 to 100", "7"},
      {"-LambdaX", "Exponential X Width Coefficient.", "1", "", "1.5"},
      {"-LambdaY", "Exponential Y Width Coefficient.", "1", "", "2.5"},
      {"-LambdaZ", "Exponential Z Width Coefficient.", "1", "", "3.5"},
      {"-UseCenterOfMass", "When True will use center of mass as origin of expansion.", "false", "",
       "true"},
      {"-UseSingleLambda", "When True all Lambdas will be equal to each other.", "true",
       "true or false", "false"},
      {"-UseOptimalLambdas",
       "When True the Optimal Lambdas will be found, otherwise user needs to specify.", "true",
       "true or false", "true"},
  };
  QXHermiteOptions options;
  EXPECT_EQ(options.GetName(), "Hermite Options");
  ASSERT_EQ(options.NumParameters(), std::size(rows));
  for (size_t place = 0; place < std::size(rows); ++place) {
    const QXCore::QXParameter& parameter = *options.GetParameter(place);
    EXPECT_EQ(parameter.GetOption(), rows[place].option);
    EXPECT_EQ(parameter.GetBrief(), rows[place].brief);
    EXPECT_EQ(parameter.GetText(), rows[place].value);
    EXPECT_EQ(parameter.GetLegalText(), rows[place].legal);
  }
  options.SetNPolyMax(options.GetNPolyMax() + 2);
  SetLambdas(options, options.GetLambdaX() + 0.5, options.GetLambdaY() + 1.5,
             options.GetLambdaZ() + 2.5);
  options.SetUseCenterOfMass(!options.GetUseCenterOfMass());
  options.SetUseSingleLambda(!options.GetUseSingleLambda());
  for (size_t place = 0; place < std::size(rows); ++place)
    EXPECT_EQ(options.GetParameter(place)->GetText(), rows[place].changed);
  options.SetUseOptimalLambdas(!options.GetUseOptimalLambdas());
  EXPECT_FALSE(options.GetUseOptimalLambdas());
}

TEST(Options, CopiesAreDeepAndOfTheSameClass) {
  QXHermiteOptions source, assigned;
  source.SetNPolyMax(9);
  const std::unique_ptr<QXOptions> copy(source.CreateCopy());
  auto* options = dynamic_cast<QXHermiteOptions*>(copy.get());
  ASSERT_NE(options, nullptr);
  assigned = source;
  EXPECT_EQ(options->GetNPolyMax(), 9u);
  options->SetNPolyMax(3);
  assigned.SetLambdaY(4.0);
  EXPECT_EQ(source.GetNPolyMax(), 9u);
  EXPECT_EQ(source.GetLambdaY(), 1.0);

  const QXTest::Messages messages;
  source.SetNPolyMax(101);
  EXPECT_EQ(source.GetNPolyMax(), 9u) << "an illegal value is refused";
  EXPECT_EQ(messages.all.size(), 1u);
}

}  // namespace
}  // namespace QXHermiteMath
