#include "host/numerics/lasso_path.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/core/throw.h"

namespace QXNumerics {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kSmallest = std::numeric_limits<double>::min();
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

// A column is taken to lie in the span of the active ones when its part outside is shorter than the
// root of this times its length. The square of that part is what n subtractions, one for each
// active column, leave of an element of the Gram matrix, with about sqrt(n) kEpsilon of noise. What
// the walk misses by it: correlations above the bound by up to the root of this times the lengths
// of column and residual.
constexpr double kSpan = 1e-13;

// Correlations are dot products with a residual that is a difference of larger vectors: rounded to
// a few kEpsilon of the product of lengths. The walk ends a safe way above.
constexpr double kFloor = 256 * kEpsilon;

// In designs of small whole numbers, or with copies, several columns come to the bound at one
// point, and which of them are to enter there depends on all: in a wrong order one stays behind
// with its correlation above the bound, or they take turns for ever. So the penalty of column j is
// t (1 + kTie sqrt(j + 1)). That takes events at one point apart by more than rounding, and the
// path is that of a problem next to the one given, which has one order. Roots, as hardly any sum of
// them with small whole factors is 0, and rising, so that of equal columns the first one enters.
constexpr double kTie = 1e-13;

// A correlation that falls with the bound but for the differences of penalties ties with it to the
// end: it is not on its way to the bound.
constexpr double kGain = 100 * kTie;

}  // namespace

void QXLassoPath::Walk(unsigned int maxActives) {
  maxActives_ = maxActives;
  if (maxActives == 0 || !Start()) return;
  // As a rule a column leaves a few times at most, but there are paths of n columns with 3^n knots.
  // Between two that leave, no column joins twice.
  const size_t most = std::min<size_t>(
      {static_cast<size_t>(design_.Rows()), static_cast<size_t>(design_.Cols()), maxActives_});
  size_t leavesToCome = 1000 + 100 * most;
  for (;;) {
    const Event next = NextEvent();
    Advance(next.fall);
    if (bound_ <= floor_) break;
    if (next.kind == Event::Join) {
      if (!Join(next.column)) break;
    } else if (leavesToCome-- > 0) {
      Leave(next.column);
    } else {
      QXCore::QXThrow.Warning("The LASSO path of %zu columns was cut off: too many steps.",
                              actives.size());
      break;
    }
  }
  Record();
}

// False: there is nothing to fit.
bool QXLassoPath::Start() {
  if (!target_.allFinite()) {
    QXCore::QXThrow.Warning("The target of a LASSO fit is not finite: nothing is fitted.");
    return false;
  }
  Eigen::MatrixXd products;
  design_.Correlate(target_, products);
  correlations_ = products;
  rates_.setZero(design_.Cols());
  columns_.assign(static_cast<size_t>(design_.Cols()), Column());
  size_t barred = 0;
  for (Index j = 0; j < design_.Cols(); ++j) {
    At(j).penalty = 1 + kTie * std::sqrt(static_cast<double>(j + 1));
    if (std::isfinite(correlations_[j])) {
      bound_ = std::max(bound_, std::fabs(correlations_[j]));
    } else {
      At(j).state = State::Barred;
      ++barred;
    }
  }
  if (barred > 0)
    QXCore::QXThrow.Warning(
        "%zu of %zu columns of a LASSO fit are not finite or too large: they are left out.", barred,
        columns_.size());
  return bound_ > 0;
}

void QXLassoPath::FindDirection() {
  Vector pulls(NumActive());
  for (Index k = 0; k < NumActive(); ++k) pulls[k] = ActiveColumn(k).pull;
  direction_ = cholesky_.Solve(pulls);
  rates_.setZero();
  for (Index k = 0; k < NumActive(); ++k) rates_ += direction_[k] * gram_[ActiveIndex(k)];
  for (Index k = 0; k < NumActive(); ++k) rates_[ActiveIndex(k)] = pulls[k];
}

QXLassoPath::Event QXLassoPath::NextEvent() {
  Event next{Event::End, bound_, 0};
  FindJoin(next);
  FindLeave(next);
  return next;
}

// Of the columns outside, the one whose correlation is the first to meet its penalty, from inside,
// which the rates tell: so the copy of an active column is none, nor is one that has just left.
// Rounding may have carried a correlation across, and so may active columns in whose span its
// column was: then it meets it here.
void QXLassoPath::FindJoin(Event& next) {
  for (Index j = 0; j < design_.Cols(); ++j) {
    Column& column = At(j);
    if (column.state != State::Out) continue;
    column.nextJoin = kInfinity;
    for (const double sign : {1.0, -1.0}) {
      const double gain = column.penalty - sign * rates_[j];
      if (!(gain > kGain)) continue;
      const double fall = std::max(0.0, column.penalty * bound_ - sign * correlations_[j]) / gain;
      column.nextJoin = std::min(column.nextJoin, fall);
      if (fall < next.fall) next = {Event::Join, fall, j};
    }
  }
}

// Of the active columns, the one whose coefficient is the first to fall to 0.
void QXLassoPath::FindLeave(Event& next) const {
  for (Index k = 0; k < NumActive(); ++k) {
    const double sign = std::copysign(1.0, ActiveColumn(k).pull);
    if (!(sign * direction_[k] < 0)) continue;
    const double fall = std::max(0.0, sign * Value(k)) / (-sign * direction_[k]);
    if (fall < next.fall) next = {Event::Leave, fall, k};
  }
}

void QXLassoPath::Advance(double fall) {
  for (Index k = 0; k < NumActive(); ++k) Value(k) += fall * direction_[k];
  correlations_ -= fall * rates_;
  bound_ -= fall;
}

// False: the column does not enter, as it would be one too many.
bool QXLassoPath::Join(Index j) {
  Vector column(design_.Rows()), products(NumActive());
  design_.CopyColumn(j, column.data());
  for (Index k = 0; k < NumActive(); ++k) products[k] = gram_[ActiveIndex(k)][j];
  const double square = column.squaredNorm();
  if (!(cholesky_.Prepare(products, square) > std::max(kSpan * square, kSmallest))) {
    At(j).state = State::InSpan;
    return true;
  }
  if (At(j).entry < 0) {
    if (actives.size() == maxActives_) return false;
    Record();
    At(j).entry = static_cast<Index>(actives.size());
    actives.push_back(static_cast<unsigned int>(j));
    values_.push_back(0);
  }
  MakeGramColumn(j);
  cholesky_.Append();
  active_.push_back(j);
  At(j).state = State::Active;
  At(j).pull = correlations_[j] / bound_;
  floor_ = std::max(floor_, kFloor * std::sqrt(square) * target_.stableNorm());
  FindDirection();
  return true;
}

void QXLassoPath::Leave(Index k) {
  Value(k) = 0;
  At(ActiveIndex(k)).state = State::Out;
  cholesky_.Remove(k);
  active_.erase(active_.begin() + k);
  for (Column& other : columns_)
    if (other.state == State::InSpan) other.state = State::Out;
  FindDirection();
}

// Column j of G and with it, as long as they are no more than about twice those that have entered,
// the columns that would be the next to join as things stand: most of them do before long.
void QXLassoPath::MakeGramColumn(Index j) {
  if (gram_.Has(j)) return;
  std::vector<Index> others;
  for (Index i = 0; i < design_.Cols(); ++i)
    if (i != j && At(i).state == State::Out && !gram_.Has(i)) others.push_back(i);
  const size_t most = 2 * actives.size() + 6;
  const size_t room = most - std::min(most, gram_.Count() + 1);
  const size_t count = std::min({others.size(), room, maxActives_ - actives.size()});
  const auto end = others.begin() + static_cast<Index>(count);
  std::partial_sort(others.begin(), end, others.end(),
                    [this](Index a, Index b) { return At(a).nextJoin < At(b).nextJoin; });
  others.erase(end, others.end());
  others.push_back(j);
  gram_.Make(others);
}

void QXLassoPath::Record() {
  if (!actives.empty()) coefficients.push_back(values_);
}

}  // namespace QXNumerics
