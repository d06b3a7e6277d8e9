#pragma once

#include <optional>
#include <string>

#include "host/grid/scalar_grid.h"
#include "tools/listener.h"

namespace CLI {
class App;
}

namespace QXTools {

/// A density grid out of a file, and what is done to it before anything else.
struct GridPreparation {
  std::string file;
  double share = 1.0;  ///< see CutPeaks
  double blur = 0.0;   ///< standard deviation in angstrom, see Blur; 0: none
};

inline constexpr const char* kCorePeaksRemedy = "--cut 0.7 --blur 0.3 if it has core peaks";

void DeclareGridPreparation(CLI::App& app, GridPreparation& preparation);
std::string CheckGridPreparation(const GridPreparation& preparation);

/// Nothing when there is no density to be had, which the listener is told.
std::optional<QXCore::QXScalarGrid> ReadPreparedGrid(const GridPreparation& preparation,
                                                     Listener& listener);

}  // namespace QXTools
