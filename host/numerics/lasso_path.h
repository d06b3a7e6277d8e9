#pragma once

#include <Eigen/Core>
#include <vector>

#include "host/numerics/active_cholesky.h"
#include "host/numerics/gram_columns.h"
#include "host/numerics/lasso_design.h"

namespace QXNumerics {

/// The walk along a LASSO path, from knot to knot as the bound t falls.
///
/// At each point of the path the active columns A have correlations c_j = x_j^T r of size t with
/// the residual r = y - X b, of the signs s_j of their coefficients, and no other column has a
/// larger one. While t falls by g,
///
///     b_A += g d,  d = G_AA^-1 s_A        c -= g a,  a = G_:A d       (G = X^T X, a_A = s_A)
///
/// up to where another column's correlation reaches t, and it joins; or a coefficient reaches 0,
/// and its column leaves; or t is 0. Only the columns of G that belong to A are ever needed.
///
/// For s_j stands c_j/t as it is, which is 1 or -1 but for rounding and for what gives an order to
/// columns that would join at one point. So the active correlations go to 0 in proportion: what
/// there is of either is not carried along while t falls, it falls with it, and the path is that of
/// a problem with penalties t |s_j| that differ by as little.
class QXLassoPath {
 public:
  /// Neither argument is copied.
  QXLassoPath(const QXLassoDesign& design, const Eigen::VectorXd& target)
      : design_(design), target_(target), gram_(design) {}

  /// Walks to the end, or to where one more than maxActives distinct columns would have entered.
  void Walk(unsigned int maxActives);

  /// As of QXLasso.
  std::vector<std::vector<double>> coefficients;
  std::vector<unsigned int> actives;

 private:
  using Index = Eigen::Index;
  using Vector = Eigen::VectorXd;

  enum class State : char { Out, Active, InSpan, Barred };
  struct Column {
    State state = State::Out;
    double pull = 0;      ///< its correlation over the bound, while active
    Index entry = -1;     ///< its place in `actives`
    double penalty = 1;   ///< on its coefficient, over the bound: 1 but for ties
    double nextJoin = 0;  ///< the fall of the bound at which it would join, as of FindJoin
  };
  struct Event {
    enum { Join, Leave, End } kind;
    double fall;   ///< of the bound, from here
    Index column;  ///< its index in the design; of one that leaves, its place in active_
  };

  bool Start();
  void FindDirection();
  Event NextEvent();
  void FindJoin(Event& next);
  void FindLeave(Event& next) const;
  void Advance(double fall);
  bool Join(Index j);
  void Leave(Index k);
  void MakeGramColumn(Index j);
  void Record();

  Column& At(Index j) { return columns_[static_cast<size_t>(j)]; }
  const Column& At(Index j) const { return columns_[static_cast<size_t>(j)]; }
  Index ActiveIndex(Index k) const { return active_[static_cast<size_t>(k)]; }
  const Column& ActiveColumn(Index k) const { return At(ActiveIndex(k)); }
  double& Value(Index k) { return values_[static_cast<size_t>(ActiveColumn(k).entry)]; }
  double Value(Index k) const { return values_[static_cast<size_t>(ActiveColumn(k).entry)]; }
  Index NumActive() const { return static_cast<Index>(active_.size()); }

  const QXLassoDesign& design_;
  const Vector& target_;
  size_t maxActives_ = 0;
  std::vector<Column> columns_;
  std::vector<Index> active_;   ///< A
  std::vector<double> values_;  ///< b, in the order of `actives`
  QXGramColumns gram_;
  QXActiveCholesky cholesky_;  ///< of G_AA
  Vector correlations_;        ///< c
  Vector direction_;           ///< d
  Vector rates_;               ///< a
  double bound_ = 0;           ///< t
  double floor_ = 0;           ///< a bound below this is rounding
};

}  // namespace QXNumerics
