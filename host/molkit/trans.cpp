#include "host/molkit/trans.h"

#include <algorithm>

namespace QXMolKit {
namespace {

constexpr double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr double kZero[3] = {0, 0, 0};

void Map(const double* m, const double* t, float* coords, size_t numValues) {
  for (size_t i = 0; i + 2 < numValues; i += 3) {
    const double x = coords[i], y = coords[i + 1], z = coords[i + 2];
    for (size_t k = 0; k < 3; ++k) {
      coords[i + k] = static_cast<float>(m[3 * k] * x + m[3 * k + 1] * y + m[3 * k + 2] * z + t[k]);
    }
  }
}

void MapConformers(QXMCMolBase& mol, const double* m, const double* t) {
  const std::unique_ptr<QXIterator<QXConfBase>> confs(mol.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    Map(m, t, confs->Get()->Coords().data(), confs->Get()->Coords().size());
  }
}

}  // namespace

void QXTransBase::ApplyToCoords(float* coords, size_t numValues) const {
  double m[9];
  double t[3];
  GetMatrixAndVector(m, t);
  Map(m, t, coords, numValues);
}

QXRotMatrix::QXRotMatrix(const double* m) {
  std::copy_n(m, 9, m_);
}

void QXRotMatrix::GetMatrixAndVector(double* m, double* t) const {
  std::copy_n(m_, 9, m);
  std::copy_n(kZero, 3, t);
}

QXTranslation::QXTranslation(const double* t) {
  std::copy_n(t, 3, t_);
}

void QXTranslation::GetMatrixAndVector(double* m, double* t) const {
  std::copy_n(kIdentity, 9, m);
  std::copy_n(t_, 3, t);
}

QXTrans::QXTrans(const QXTrans& other) {
  Append(other);
}

QXTrans& QXTrans::operator=(const QXTrans& other) {
  QXTrans copy(other);
  transforms_.swap(copy.transforms_);
  return *this;
}

void QXTrans::Append(const QXTransBase& t) {
  transforms_.emplace_back(t.CreateCopy());
}

void QXTrans::Append(const QXTrans& more) {
  const size_t count = more.transforms_.size();
  for (size_t i = 0; i < count; ++i) Append(*more.transforms_[i]);
}

QXIterator<QXTransBase>* QXTrans::GetTransforms() const {
  return QXMakeIterator<QXTransBase>(transforms_.begin(), transforms_.end());
}

void QXTrans::Transform(QXConfBase* conf) const {
  for (const auto& element : transforms_) {
    element->ApplyToCoords(conf->Coords().data(), conf->Coords().size());
  }
}

void QXTrans::Fold(double* r, double* t) const {
  for (const auto& element : transforms_) {
    double m[9];
    double v[3];
    element->GetMatrixAndVector(m, v);
    double newR[9];
    double newT[3];
    for (int row = 0; row < 3; ++row) {
      const double* mRow = m + 3 * row;
      for (int column = 0; column < 3; ++column) {
        newR[3 * row + column] =
            mRow[0] * r[column] + mRow[1] * r[3 + column] + mRow[2] * r[6 + column];
      }
      newT[row] = mRow[0] * t[0] + mRow[1] * t[1] + mRow[2] * t[2] + v[row];
    }
    std::copy_n(newR, 9, r);
    std::copy_n(newT, 3, t);
  }
}

void QXRotate(QXMCMolBase& mol, const double* m) {
  MapConformers(mol, m, kZero);
}

void QXTranslate(QXMCMolBase& mol, const double* t) {
  MapConformers(mol, kIdentity, t);
}

}  // namespace QXMolKit
