// Takes the place of rdkit_formats.cpp in builds without RDKit.

#include "host/core/throw.h"
#include "host/molkit/charges.h"
#include "host/molkit/formats.h"

namespace QXMolKit {

bool HasTextFormats() {
  return false;
}

std::unique_ptr<FormatReader> MakeTextReader(std::istream&, QXMolFormat) {
  return nullptr;
}

std::unique_ptr<FormatWriter> MakeTextWriter(QXMolFormat) {
  return nullptr;
}

bool QXAssignGasteigerCharges(QXMolBase& mol) {
  QXCore::QXThrow.Error(
      "%s: this build has no Gasteiger charges: build with QXHERMITE_WITH_RDKIT=ON",
      mol.GetTitle());
  return false;
}

}  // namespace QXMolKit
