#pragma once

#include <string>
#include <vector>

#include "host/molkit/molbase.h"
#include "tools/console.h"

namespace QXTools {

/// The partial charges of all atoms, in atom order.
std::vector<double> GetPartialCharges(const QXMolKit::QXMolBase& mol);
void SetPartialCharges(const std::vector<double>& charges, QXMolKit::QXMolBase& mol);

/// Sets the partial charges to those of Gasteiger and Marsili. False when that cannot be done,
/// which the console is told as about `where`.
bool ComputeCharges(QXMolKit::QXMolBase& mol, const std::string& where, Console& console);

/// Why a molecule has no charge density; empty when it has one. Files do not tell a charge of zero
/// from none, so a molecule is without charges when all are below a millionth of an elementary
/// charge. computed: they come from ComputeCharges.
std::string WhyUncharged(const QXMolKit::QXMolBase& mol, bool computed);

}  // namespace QXTools
