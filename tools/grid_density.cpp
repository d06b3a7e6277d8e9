#include "tools/grid_density.h"

#include <fmt/format.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

#include "hermite/frame/best_lambda.h"
#include "host/grid/grid_file.h"
#include "host/grid/grid_gaussian.h"
#include "tools/turns.h"

namespace QXTools {
namespace {

using QXCore::QXScalarGrid;

constexpr float kLeastShare = 0.1f;

float Largest(const QXScalarGrid& grid) {
  return *std::max_element(grid.GetValues(), grid.GetValues() + grid.GetSize());
}

double Product(const QXScalarGrid& a, const QXScalarGrid& b) {
  double sum = 0.0;
  for (unsigned int i = 0; i < a.GetSize(); ++i) {
    sum += static_cast<double>(a.GetValues()[i]) * b.GetValues()[i];
  }
  return sum;
}

}  // namespace

bool IsGridFile(const std::string& path) {
  return QXCore::QXGetGridFormat(path) != QXCore::QXGridFormat::Unknown;
}

std::string CheckGridName(const std::string& path) {
  if (IsGridFile(path)) return {};
  return fmt::format("{}: not the name of a grid: take .ccp4, .map, .mrc, .cube or .cub", path);
}

std::optional<QXScalarGrid> ReadDensityGrid(const std::string& path, Listener& listener) {
  QXScalarGrid grid;
  if (!QXCore::QXReadGrid(path, grid)) return std::nullopt;
  if (QXCore::QXCountNonFinite(grid) > 0) {
    listener.Say(
        fmt::format("{}: not used, not all of its values are finite: mend the file", path));
    return std::nullopt;
  }
  if (!(Largest(grid) > 0.0f)) {
    listener.Say(fmt::format("{}: no value is positive: give a density", path));
    return std::nullopt;
  }
  return grid;
}

double SelfOverlap(const QXScalarGrid& grid) {
  const double spacing = grid.GetSpacing();
  return Product(grid, grid) * spacing * spacing * spacing;
}

QXHermiteMath::QXHermiteOptions WithWidths(QXHermiteMath::QXHermiteOptions options,
                                           const QXScalarGrid& grid,
                                           const std::array<double, 3>& centre) {
  if (options.GetUseOptimalLambdas()) {
    auto widths = QXHermiteMath::QXApproxHermiteBestLambda(
        grid, options, std::vector<double>(centre.begin(), centre.end()));
    // h_N(lambda x) has wavelengths down to 2 pi / (lambda sqrt(2 N + 1)), of which two elements
    // make one.
    const double most =
        std::numbers::pi / (grid.GetSpacing() * std::sqrt(2.0 * options.GetNPolyMax() + 1.0));
    for (double& width : widths) width = std::min(width, most);
    SetLambdas(options, widths[0], widths[1], widths[2]);
  }
  options.SetUseOptimalLambdas(false);
  return options;
}

void WarnOfCoarseGrid(const std::string& path, double held, Listener& listener) {
  constexpr double kRounding = 1.02;
  if (!(held > kRounding)) return;
  listener.Say(fmt::format(
      "{}: its elements are too far apart for this expansion, which means nothing: lower "
      "--NPolyMax or the widths, or give a finer grid",
      path));
}

void WarnOfPoorExpansion(const std::string& path, double held, Listener& listener) {
  WarnOfCoarseGrid(path, held, listener);
  if (held < 0.5) {
    listener.Say(
        fmt::format("{}: the expansion holds only {} % of it: raise --NPolyMax, or lower --cut "
                    "if it has sharp peaks",
                    path, static_cast<int>(100 * held)));
  }
}

void CutPeaks(QXScalarGrid& grid, double share) {
  float* const values = grid.GetValues();
  std::vector<float> sorted(values, values + grid.GetSize());
  std::sort(sorted.begin(), sorted.end());
  const auto add = [](double sum, float value) { return sum + std::max(value, 0.0f); };
  const double wanted = share * std::accumulate(sorted.begin(), sorted.end(), 0.0, add);
  double sum = 0.0;
  float cut = sorted.back();
  for (const float value : sorted) {
    sum = add(sum, value);
    if (sum < wanted) continue;
    cut = value;
    break;
  }
  std::transform(values, values + grid.GetSize(), values,
                 [cut](float value) { return std::min(value, cut); });
}

void Blur(QXScalarGrid& grid, double sigma) {
  constexpr double kReach = 4.0;
  const double spacing = grid.GetSpacing();
  const unsigned int longest = std::max({grid.GetXDim(), grid.GetYDim(), grid.GetZDim()});
  const auto reach = static_cast<int>(std::min<double>(kReach * sigma / spacing, longest));
  std::vector<double> weights;
  for (int step = -reach; step <= reach; ++step) {
    const double distance = step * spacing / sigma;
    weights.push_back(std::exp(-0.5 * distance * distance));
  }
  const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
  for (double& weight : weights) weight /= sum;

  const size_t dim[] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  const size_t stride[] = {1, dim[0], dim[0] * dim[1]};
  for (size_t axis = 0; axis < 3; ++axis) {
    const std::vector<float> from(grid.GetValues(), grid.GetValues() + grid.GetSize());
    for (size_t i = 0; i < from.size(); ++i) {
      const auto place = static_cast<int>(i / stride[axis] % dim[axis]);
      const int first = std::max(-reach, -place);
      const int last = std::min(reach, static_cast<int>(dim[axis]) - 1 - place);
      double value = 0.0;
      for (int step = first; step <= last; ++step) {
        value += weights[step + reach] * from[i + step * static_cast<ptrdiff_t>(stride[axis])];
      }
      grid.GetValues()[i] = static_cast<float>(value);
    }
  }
}

Frame FindInertialFrame(const QXScalarGrid& grid) {
  const float least = kLeastShare * Largest(grid);
  double total = 0.0;
  Eigen::Vector3d first = Eigen::Vector3d::Zero();
  Eigen::Matrix3d second = Eigen::Matrix3d::Zero();
  // About the middle of the grid, so that no digits are lost far from the origin.
  const Eigen::Vector3d middle(grid.GetXMid(), grid.GetYMid(), grid.GetZMid());
  QXCore::QXForEachElement(grid, [&](float value, double x, double y, double z) {
    if (value < least) return;
    const Eigen::Vector3d p = Eigen::Vector3d(x, y, z) - middle;
    total += value;
    first += value * p;
    second += value * p * p.transpose();
  });
  const Eigen::Vector3d centre = first / total;
  const Eigen::Matrix3d moments = second / total - centre * centre.transpose();
  // Eigenvalues rise: the long axis is the last.
  Eigen::Matrix3d axes =
      Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(moments).eigenvectors().rowwise().reverse();
  if (axes.determinant() < 0.0) axes.col(2) = -axes.col(2);
  Frame frame;
  for (size_t row = 0; row < 3; ++row) {
    frame.centre[row] = (centre + middle)[static_cast<int>(row)];
    for (size_t column = 0; column < 3; ++column) {
      frame.rotation[3 * row + column] = axes(static_cast<int>(column), static_cast<int>(row));
    }
  }
  return frame;
}

void MoveToOrigin(const Frame& frame, QXScalarGrid& grid) {
  grid.SetMid(static_cast<float>(grid.GetXMid() - frame.centre[0]),
              static_cast<float>(grid.GetYMid() - frame.centre[1]),
              static_cast<float>(grid.GetZMid() - frame.centre[2]));
}

QXHermiteMath::QXHermite ExpandInFrame(QXScalarGrid grid, const Frame& frame,
                                       QXHermiteMath::QXHermiteOptions options) {
  MoveToOrigin(frame, grid);
  options.SetUseCenterOfMass(false);
  QXHermiteMath::QXHermite expansion;
  expansion.Setup(grid, options);
  const std::vector<double> rotation(frame.rotation.begin(), frame.rotation.end());
  InSafeTurns(rotation, [&](const std::vector<double>& turn) { expansion.RotateHermites(turn); });
  return expansion;
}

QXScalarGrid OnGrid(const std::vector<QXCore::QXGaussian>& gaussians, const QXScalarGrid& like) {
  QXScalarGrid grid(like);
  grid.Realloc();
  for (const QXCore::QXGaussian& g : gaussians) {
    const double centre[] = {g.GetX(), g.GetY(), g.GetZ()};
    QXCore::QXAddGaussian(grid, g.GetAmplitude(), g.GetWidth(), centre);
  }
  return grid;
}

double Cosine(const QXScalarGrid& a, const QXScalarGrid& b) {
  return Product(a, b) / std::sqrt(Product(a, a) * Product(b, b));
}

}  // namespace QXTools
