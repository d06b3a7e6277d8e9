// Times QXLasso on a design in a file of raw doubles, for bench/lasso_sklearn.py.
//
// Usage: lasso_path FILE ROWS COLUMNS MAXACTIVES REPEATS   (MAXACTIVES 0: to the end of the path)
//
// FILE: the columns of X one after another, then y. Writes the seconds of each fit, a line each,
// then a line with a column and its last coefficient for each active.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "host/numerics/lasso.h"

namespace {

bool Read(std::ifstream& file, double* values, Eigen::Index count) {
  const auto bytes = static_cast<std::streamsize>(sizeof(double)) * count;
  return static_cast<bool>(file.read(reinterpret_cast<char*>(values), bytes));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    std::fprintf(stderr, "usage: lasso_path FILE ROWS COLUMNS MAXACTIVES REPEATS\n");
    return 2;
  }
  Eigen::MatrixXd X(std::atol(argv[2]), std::atol(argv[3]));
  Eigen::VectorXd y(X.rows());
  std::ifstream file(argv[1], std::ios::binary);
  if (!Read(file, X.data(), X.size()) || !Read(file, y.data(), y.size())) {
    std::fprintf(stderr, "lasso_path: %s: too short or missing\n", argv[1]);
    return 1;
  }
  const auto limit = static_cast<unsigned int>(std::atol(argv[4]));
  QXNumerics::QXLasso lasso;
  for (long repeat = std::atol(argv[5]); repeat > 0; --repeat) {
    const auto start = std::chrono::steady_clock::now();
    lasso.Fit(X, y, limit ? limit : QXNumerics::QXLasso::kNoLimit);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    std::printf("%.6f\n", time.count());
  }
  const std::vector<unsigned int> actives = lasso.GetActives();
  for (size_t i = 0; i < actives.size(); ++i)
    std::printf("%u %.17g\n", actives[i], lasso.GetCoefficients().back()[i]);
  return 0;
}
