#pragma once

#include <string>

#include "host/molkit/molbase.h"

namespace QXMolKit {

/// Sets the partial charges from the SD text of a record. Returns what is wrong with that text, and
/// leaves the charges alone then; an empty text when all is well or the record tells no charges.
std::string QXReadChargeText(const QXSDText& text, QXMolBase& mol);

/// Makes the SD text of a record tell the partial charges of the atoms, unless all are 0.
void QXWriteChargeText(const QXMolBase& mol, QXSDText& text);

}  // namespace QXMolKit
