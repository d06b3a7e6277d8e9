#include "host/numerics/gram_columns.h"

#include <algorithm>

namespace QXNumerics {
namespace {

// Copies of as many columns of the design at a time: enough to be worth a pass.
constexpr Eigen::Index kCopies = 64;

}  // namespace

void QXGramColumns::Make(const std::vector<Eigen::Index>& wanted) {
  const auto end = static_cast<Eigen::Index>(wanted.size());
  for (Eigen::Index first = 0; first < end; first += kCopies) {
    const Eigen::Index count = std::min(kCopies, end - first);
    Eigen::MatrixXd vectors(design_.Rows(), count);
    for (Eigen::Index i = 0; i < count; ++i)
      design_.CopyColumn(wanted[static_cast<size_t>(first + i)], vectors.col(i).data());
    Eigen::MatrixXd& batch = batches_.emplace_back();
    design_.Correlate(vectors, batch);
    for (Eigen::Index i = 0; i < count; ++i)
      columns_[static_cast<size_t>(wanted[static_cast<size_t>(first + i)])] = batch.col(i).data();
  }
  count_ += wanted.size();
}

}  // namespace QXNumerics
