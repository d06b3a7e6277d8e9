#pragma once

#include <vector>

#include "python/src/arrays.h"

// The electric field is (n, 3) in Python. Fits want it in three blocks, all x, all y, all z.

namespace QXPython {

/// Blocks of a field at `count` points.
inline std::vector<double> FieldBlocks(const Array& field, py::ssize_t count) {
  const std::vector<double> triples = ToVector(field, {count, 3}, "field");
  const size_t rows = triples.size() / 3;
  std::vector<double> blocks(triples.size());
  for (size_t i = 0; i < triples.size(); ++i) blocks[i / 3 + rows * (i % 3)] = triples[i];
  return blocks;
}

/// x, y, z of each, as (n, 3).
inline py::array_t<double> Triples(std::vector<double> values) {
  const auto rows = static_cast<py::ssize_t>(values.size() / 3);
  return ToArray(std::move(values), {rows, 3});
}

}  // namespace QXPython
