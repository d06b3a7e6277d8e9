#include "host/molkit/mol.h"

namespace QXMolKit {

QXMol::QXMol(unsigned int /*kind*/) : impl_(std::make_unique<QXMCMolBase>()) {}

QXMol::QXMol(const QXMolBase& mol, unsigned int /*kind*/)
    : impl_(std::make_unique<QXMCMolBase>(mol)) {}

QXMol::QXMol(const QXMCMolBase& mol) : impl_(std::make_unique<QXMCMolBase>(mol)) {}

QXMol::QXMol(const QXMol& other)
    : impl_(other.impl_ ? std::make_unique<QXMCMolBase>(*other.impl_) : nullptr) {}

QXMol& QXMol::operator=(const QXMol& other) {
  if (this != &other) *this = QXMol(other);
  return *this;
}

QXMol& QXMol::operator=(const QXMCMolBase& other) {
  Get() = other;
  return *this;
}

QXMol& QXMol::operator=(const QXMolBase& view) {
  Get() = view;
  return *this;
}

QXMCMolBase& QXMol::Get() {
  if (!impl_) impl_ = std::make_unique<QXMCMolBase>();
  return *impl_;
}

const QXMCMolBase& QXMol::Get() const {
  static const QXMCMolBase empty;  // shown by every molecule that was moved from
  return impl_ ? *impl_ : empty;
}

}  // namespace QXMolKit
