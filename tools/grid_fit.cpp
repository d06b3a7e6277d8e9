#include "tools/grid_fit.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <utility>

#include "hermite/overlay/hermite_shape_overlay.h"
#include "host/grid/grid_file.h"
#include "host/grid/skew_grid.h"
#include "tools/grid_density.h"

namespace QXTools {
std::optional<Hit> OverlayGridFile(const std::string& path, const OverlayArguments& arguments,
                                   const Reference& reference, Console& console, double& held) {
  std::optional<QXCore::QXScalarGrid> grid = ReadDensityGrid(path, console);
  if (!grid) return std::nullopt;
  CutPeaks(*grid, arguments.gridShare);
  const Frame frame = arguments.inPlace ? reference.frame : FindInertialFrame(*grid);
  const QXHermiteMath::QXHermiteOptions& options = reference.expansion.GetOptions();
  const QXHermiteMath::QXHermite expansion = ExpandInFrame(*grid, frame, options);
  held = expansion.GetSelfOverlap() / SelfOverlap(*grid);
  WarnOfCoarseGrid(path, held, console);

  QXHermiteMath::QXHermiteShapeOverlay overlay(arguments.tolerance, arguments.maxIterations,
                                               options.GetLambdaX(), options.GetNPolyMax(), false,
                                               0.5, 20.0);
  overlay.SetupRef(reference.expansion.GetCoefficients(), {});
  const auto best = overlay.FindBestStart(AtScaleOf(reference, expansion), true, false);
  if (!(best.tanimoto > 0.0)) {
    console.Say(fmt::format("{}: it does not overlap with the reference: {}", path,
                            arguments.inPlace ? "leave out --in-place" : "check the widths"));
    return std::nullopt;
  }
  Hit hit{best.tanimoto, path, 1, 1, QXMolKit::QXMol(1), WayIn(frame)};
  hit.motion.Append(best.GetTransform());
  hit.motion.Append(WayBack(reference.frame));
  hit.pose.SetTitle(std::filesystem::path(path).filename().string());
  return hit;
}

void MoveAtoms(const QXCore::QXScalarGrid& grid, const QXMolKit::QXTrans& motion,
               QXCore::QXScalarGrid& moved) {
  if (!grid.HasDataOfType<QXMolKit::QXMol>(QXCore::kQXGridMoleculeTag)) return;
  auto atoms = grid.GetData<QXMolKit::QXMol>(QXCore::kQXGridMoleculeTag);
  const std::unique_ptr<QXMolKit::QXIterator<QXMolKit::QXConfBase>> confs(atoms.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) motion.Transform(confs->Get());
  moved.SetData(QXCore::kQXGridMoleculeTag, std::move(atoms));
}

std::optional<QXCore::QXScalarGrid> WriteMovedGrid(const Hit& hit, const std::string& path,
                                                   const std::string& formatOf) {
  QXCore::QXScalarGrid grid;
  if (!QXCore::QXReadGrid(hit.file, grid)) return std::nullopt;
  QXCore::QXSkewGrid skew(grid);
  QXCore::QXTransform(skew, hit.motion);
  QXCore::QXScalarGrid moved;
  QXCore::QXMakeRegularGrid(moved, skew, grid.GetSpacing());
  MoveAtoms(grid, hit.motion, moved);
  if (!QXCore::QXWriteGrid(path, moved, QXCore::QXGetGridFormat(formatOf))) return std::nullopt;
  return moved;
}

std::string RankedName(const std::string& name, size_t rank) {
  if (rank == 1) return name;
  const std::filesystem::path path(name);
  const std::string ranked =
      fmt::format("{}-{}{}", path.stem().string(), rank, path.extension().string());
  return (path.parent_path() / ranked).string();
}

}  // namespace QXTools
