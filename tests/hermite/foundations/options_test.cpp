#include "hermite/foundations/options.h"

#include "support/hermite.h"

namespace QXHermiteMath {
namespace {

TEST(Options, StandInOneOrderWithTextsDefaultsAndLegalValues) {
  // -UseCenterOfMass declares no legal values, the other two booleans do: on purpose.
  ExpectOptions<QXHermiteOptions>(
      "Hermite Options",
      {{"-NPolyMax", "Resolution Parameter.", "5", "0 to 100"},
       {"-LambdaX", "Exponential X Width Coefficient.", "1", ""},
       {"-LambdaY", "Exponential Y Width Coefficient.", "1", ""},
       {"-LambdaZ", "Exponential Z Width Coefficient.", "1", ""},
       {"-UseCenterOfMass", "When True will use center of mass as origin of expansion.", "false",
        ""},
       {"-UseSingleLambda", "When True all Lambdas will be equal to each other.", "true",
        "true or false"},
       {"-UseOptimalLambdas",
        "When True the Optimal Lambdas will be found, otherwise user needs to specify.", "true",
        "true or false"}});
}

}  // namespace
}  // namespace QXHermiteMath
