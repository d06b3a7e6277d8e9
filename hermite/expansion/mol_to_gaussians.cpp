#include "hermite/expansion/mol_to_gaussians.h"

#include <algorithm>
#include <memory>
#include <span>

namespace QXHermiteMath {

namespace {

constexpr double kShapeAmplitude = 2.7;
constexpr double kShapeConstant = 2.34422871067;
constexpr double kSqrtTwoPi = 2.5066282746310002;
constexpr double kInverseSqrtTwoPi = 0.3989422804014327;

}  // namespace

std::vector<QXGaussian> makeGaussians(std::vector<double> amplitudes, std::vector<double> widths,
                                      std::vector<double> coordinates) {
  std::vector<QXGaussian> gaussians;
  gaussians.reserve(amplitudes.size());
  for (size_t i = 0; i < amplitudes.size(); ++i) {
    float center[3] = {static_cast<float>(coordinates[3 * i]),
                       static_cast<float>(coordinates[3 * i + 1]),
                       static_cast<float>(coordinates[3 * i + 2])};
    gaussians.emplace_back(static_cast<float>(amplitudes[i]), static_cast<float>(widths[i]), center,
                           0u);
  }
  return gaussians;
}

std::vector<QXGaussian> makeShapeGaussians(const std::vector<double>& coordinates, double radius) {
  const unsigned int count = static_cast<unsigned int>(coordinates.size() / 3);
  const double width = kShapeConstant / (radius * radius);
  return makeGaussians(std::vector<double>(count, kShapeAmplitude),
                       std::vector<double>(count, width), coordinates);
}

std::vector<QXGaussian> QXMolToGaussians(QXMol mol, double radius) {
  std::vector<double> coordinates(3 * static_cast<size_t>(mol.NumAtoms()), 0.0);
  if (!coordinates.empty()) mol.GetCoords(coordinates.data());
  return makeShapeGaussians(coordinates, radius);
}

std::vector<QXGaussian> HeavyAtomsToGaussians(QXMolKit::QXMolBase const& mol, double radius) {
  constexpr float kOrigin[3] = {};
  const QXMolKit::QXConfBase* conformer = mol.GetActive();
  const std::span<const QXMolKit::QXAtom> atoms = mol.GetMolecule().Atoms();
  const auto isHeavy = [](QXMolKit::QXAtom const& atom) { return atom.GetAtomicNum() != 1; };
  const auto amplitude = static_cast<float>(kShapeAmplitude);
  const auto width = static_cast<float>(kShapeConstant / (radius * radius));
  std::vector<QXGaussian> gaussians;
  gaussians.reserve(static_cast<size_t>(std::ranges::count_if(atoms, isHeavy)));
  for (size_t i = 0; i < atoms.size(); ++i) {
    if (!isHeavy(atoms[i])) continue;
    const float* place = conformer ? &conformer->Coords()[3 * i] : kOrigin;
    gaussians.emplace_back(amplitude, width, place, 0u);
  }
  return gaussians;
}

std::vector<QXGaussian> makeElectrostaticGaussians(const std::vector<double>& coordinates,
                                                   const std::vector<double>& charges,
                                                   double sigma) {
  const unsigned int count = static_cast<unsigned int>(coordinates.size() / 3);
  const double width = 0.5 / (sigma * sigma);
  const double reciprocal = 1.0 / sigma;
  std::vector<double> amplitudes(count);
  for (unsigned int i = 0; i < count; ++i)
    amplitudes[i] = charges[i] * kInverseSqrtTwoPi * reciprocal;
  return makeGaussians(std::move(amplitudes), std::vector<double>(count, width), coordinates);
}

std::vector<QXGaussian> QXMolToElectroStaticGaussians(QXMol mol, double sigma) {
  const float width = static_cast<float>(0.5 / (sigma * sigma));
  const double s = sigma * kSqrtTwoPi;
  const double norm = 1.0 / (s * s * s);

  std::vector<QXGaussian> gaussians;
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXAtom>> atoms(mol.GetAtoms());
  if (!atoms) return gaussians;
  gaussians.reserve(mol.NumAtoms());
  for (; atoms->IsValid(); atoms->Next()) {
    float center[3];
    mol.GetCoords(atoms->Get(), center);
    const float amplitude = static_cast<float>(atoms->Get()->GetPartialCharge() * norm);
    gaussians.emplace_back(amplitude, width, center, 0u);
  }
  return gaussians;
}

}  // namespace QXHermiteMath
