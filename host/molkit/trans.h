#pragma once

#include <cstddef>
#include <deque>
#include <memory>

#include "host/molkit/iterator.h"
#include "host/molkit/mcmolbase.h"

namespace QXMolKit {

/// One rigid transform p -> M p + t. Matrices are nine numbers, row-major: m[3 row + column].
class QXTransBase {
 public:
  /// Transforms `numValues` coordinates (three a point) in place, computing in double precision and
  /// narrowing once.
  virtual void ApplyToCoords(float* coords, size_t numValues) const;
  /// A new copy; the caller owns it.
  virtual QXTransBase* CreateCopy() const = 0;
  /// Writes nine doubles to m and three to t.
  virtual void GetMatrixAndVector(double* m, double* t) const = 0;
  virtual ~QXTransBase() = default;
};

/// p -> m p.
class QXRotMatrix : public QXTransBase {
 public:
  /// Nine values, row-major.
  explicit QXRotMatrix(const double* m);
  QXTransBase* CreateCopy() const override { return new QXRotMatrix(*this); }
  void GetMatrixAndVector(double* m, double* t) const override;

 private:
  double m_[9];
};

/// p -> p + t.
class QXTranslation : public QXTransBase {
 public:
  /// Three values.
  explicit QXTranslation(const double* t);
  QXTransBase* CreateCopy() const override { return new QXTranslation(*this); }
  void GetMatrixAndVector(double* m, double* t) const override;

 private:
  double t_[3];
};

/// A list of rigid transforms; the first is applied first.
///
///     QXTrans trans;
///     trans.Append(QXTranslation(shift));
///     trans.Append(QXRotMatrix(m));      // a point p goes to m (p + shift)
class QXTrans {
 public:
  QXTrans() = default;
  QXTrans(const QXTrans& other);
  QXTrans(QXTrans&&) noexcept = default;
  QXTrans& operator=(const QXTrans& other);
  QXTrans& operator=(QXTrans&&) noexcept = default;
  ~QXTrans() = default;

  /// Back to no transforms.
  void Clear() { transforms_.clear(); }
  /// Appends a copy of `t`.
  void Append(const QXTransBase& t);
  /// Appends copies of all elements of `more`, which may be this list.
  void Append(const QXTrans& more);
  /// The elements in the order of application; null when there are none.
  QXIterator<QXTransBase>* GetTransforms() const;
  /// Moves one conformer: each element in turn is applied to its single-precision coordinates.
  void Transform(QXConfBase* conf) const;

  /// Folds the list into one map p -> R p + T: nine values of `rotation`, row-major, and three of
  /// `translation`. With `reset` the fold starts from the identity and zero, else from what the
  /// arrays hold. Computed in double precision.
  template <typename A, typename B>
  void Extract(A* rotation, B* translation, bool reset) const {
    double r[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    double t[3] = {0, 0, 0};
    if (!reset) {
      for (int i = 0; i < 9; ++i) r[i] = static_cast<double>(rotation[i]);
      for (int i = 0; i < 3; ++i) t[i] = static_cast<double>(translation[i]);
    }
    Fold(r, t);
    for (int i = 0; i < 9; ++i) rotation[i] = static_cast<A>(r[i]);
    for (int i = 0; i < 3; ++i) translation[i] = static_cast<B>(t[i]);
  }

 private:
  void Fold(double* r, double* t) const;

  std::deque<std::unique_ptr<QXTransBase>> transforms_;
};

/// Every point p of all conformers goes to m p; nine doubles, row-major. Computed in double
/// precision and narrowed once.
void QXRotate(QXMCMolBase& mol, const double* m);

/// Every point p of all conformers goes to p + t; three doubles.
void QXTranslate(QXMCMolBase& mol, const double* t);

}  // namespace QXMolKit
