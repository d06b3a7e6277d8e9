#include "hermite/foundations/options.h"

#include <memory>

namespace QXHermiteMath {

QXHermiteOptions::QXHermiteOptions() : QXOptions(GetOriginal()) {}

const QXHermiteOptions& QXHermiteOptions::GetOriginal() {
  static const QXHermiteOptions original{Original()};
  return original;
}

QXHermiteOptions::QXHermiteOptions(Original) : QXOptions("Hermite Options", kNumParameters, 0) {
  auto degree = std::make_unique<QXUIntParameter>("-NPolyMax", 5u);
  degree->SetBrief("Resolution Parameter.");
  degree->AddLegalRange("100", "0");
  SetParameter(kNPolyMax, std::move(degree));

  const auto addLambda = [this](Place place, const char* option, const char* brief) {
    auto lambda = std::make_unique<QXDoubleParameter>(option, 1.0);
    lambda->SetBrief(brief);
    SetParameter(place, std::move(lambda));
  };
  addLambda(kLambdaX, "-LambdaX", "Exponential X Width Coefficient.");
  addLambda(kLambdaY, "-LambdaY", "Exponential Y Width Coefficient.");
  addLambda(kLambdaZ, "-LambdaZ", "Exponential Z Width Coefficient.");

  // This boolean declares no legal values, the next two do: required as it stands.
  auto center = std::make_unique<QXBoolParameter>("-UseCenterOfMass", false);
  center->SetBrief("When True will use center of mass as origin of expansion.");
  SetParameter(kUseCenterOfMass, std::move(center));

  auto single = std::make_unique<QXBoolParameter>("-UseSingleLambda", true);
  single->SetBrief("When True all Lambdas will be equal to each other.");
  single->AddLegalRange("true", "false");
  SetParameter(kUseSingleLambda, std::move(single));

  auto optimal = std::make_unique<QXBoolParameter>("-UseOptimalLambdas", true);
  optimal->SetBrief(
      "When True the Optimal Lambdas will be found, otherwise user needs to specify.");
  optimal->AddLegalRange("true", "false");
  SetParameter(kUseOptimalLambdas, std::move(optimal));
}

QXOptions* QXHermiteOptions::CreateCopy() const {
  return new QXHermiteOptions(*this);
}

}  // namespace QXHermiteMath
