#pragma once

#include <optional>
#include <string>

#include "hermite/multihermite/multi_hermite.h"
#include "host/grid/scalar_grid.h"
#include "tools/listener.h"

// Multi-centre expansions in files, as JSON.

namespace QXTools {

/// A density as a sum of functions about several sites, in the coordinates of its source.
struct Model {
  std::string title;
  std::string source;  ///< what it was fitted to, for people
  QXHermiteMath::QXMultiHermite expansion;
};

/// True when a file holds JSON that calls itself a model. No problem is told.
bool IsModelFile(const std::string& path);

/// Writes sites, degrees, widths and active functions, such that ReadModel gives the same model
/// again, to the last bit. False when the file cannot be written.
bool WriteModel(const Model& model, const std::string& path);

/// Reads what WriteModel wrote. Nothing when that cannot be done, which the listener is told.
std::optional<Model> ReadModel(const std::string& path, Listener& listener);

}  // namespace QXTools
