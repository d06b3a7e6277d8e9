#pragma once

#include <string>
#include <utility>
#include <vector>

#include "hermite/foundations/options.h"

namespace CLI {
class App;
}

namespace QXTools {

/// What `qxhermite overlay` was asked to do.
struct OverlayArguments {
  std::string reference;
  std::vector<std::string> fits;
  std::string output;
  std::string recordsFolder;  ///< empty: the records are not kept
  std::string csv;            ///< empty: no such file
  std::string report;         ///< empty: no such file
  /// The options by name, as they were given or else by default.
  std::vector<std::pair<std::string, std::string>> settings;
  QXHermiteMath::QXHermiteOptions expansion;
  double gridShare = 0.5;     ///< see CutPeaks
  double chargeWeight = 0.0;  ///< 0: charge takes no part
  double chargeOffset = 0.0;
  double chargeSigma = 1.5;
  std::string charges = "file";  ///< or "gasteiger"
  std::string chargeOption;      ///< an option about charges that was given; empty: none
  double tolerance = 1e-8;
  unsigned int maxIterations = 200;
  unsigned int poses = 1;
  unsigned int starts = 4;        ///< or 24
  unsigned int coarseDegree = 0;  ///< 0: no coarse search
  unsigned int polish = 4;
  std::string searchOption;  ///< an option about the search by shape that was given; empty: none
  unsigned int referenceRecord = 1;
  unsigned int top = 0;  ///< rows of the table, 0: all
  bool group = true;
  bool inPlace = false;
  bool quiet = false;

  bool ComputesCharges() const { return charges == "gasteiger"; }
};

/// True when a grid takes part.
bool HasGrid(const OverlayArguments& arguments);

/// Declares the options of the command on `app`, with their help, to be parsed into `arguments`.
/// Every parameter of QXHermiteOptions becomes an option of its own name.
void DeclareOverlayArguments(CLI::App& app, OverlayArguments& arguments);

/// What is wrong with a combination of arguments, or an empty text.
std::string CheckOverlayArguments(const OverlayArguments& arguments);

}  // namespace QXTools
