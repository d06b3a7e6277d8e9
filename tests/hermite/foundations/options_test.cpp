#include "hermite/foundations/options.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(Options, StandInOneOrderWithTextsDefaultsAndLegalValues) {
  // -UseCenterOfMass declares no legal values, the other two booleans do: on purpose.
  const char* const rows[][4] = {
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
    const std::string texts[] = {parameter.GetOption(), parameter.GetBrief(), parameter.GetText(),
                                 parameter.GetLegalText()};
    for (size_t k = 0; k < 4; ++k) EXPECT_EQ(texts[k], rows[place][k]);
  }
  const std::unique_ptr<QXOptions> copy(options.CreateCopy());
  EXPECT_NE(dynamic_cast<QXHermiteOptions*>(copy.get()), nullptr);
}

}  // namespace
}  // namespace QXHermiteMath
