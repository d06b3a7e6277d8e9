#pragma once

#include <vector>

#include "hermite/multihermite/multi_hermite_base.h"
#include "tools/json_file.h"

// What the files of all multi-centre expansions have in common: sites, degrees, widths and active
// functions.

namespace QXTools {

/// What MultiCentreFromJson reads.
struct MultiCentreFields {
  QXHermiteMath::QXMultiHermiteParameters layout;
  std::vector<unsigned int> actives;
  std::vector<double> coefficients;
};

/// Appends the fields of an expansion, such that it can be read again to the last bit.
void AppendMultiCentre(const QXHermiteMath::QXMultiHermiteBase& expansion, Json& json);

/// Throws std::runtime_error, which names the field, when the fields do not fit together.
MultiCentreFields MultiCentreFieldsFromJson(const Json& json);

template <typename Expansion>
Expansion MultiCentreFromJson(const Json& json) {
  const MultiCentreFields fields = MultiCentreFieldsFromJson(json);
  Expansion expansion(fields.layout);
  expansion.SetCoefficients(fields.coefficients, fields.actives);
  return expansion;
}

/// The list under a name. Throws as above, as do the others.
const Json& GetList(const Json& json, const std::string& name);
/// The numbers of a list.
std::vector<double> ToNumbers(const Json& list, const std::string& name);
/// The whole numbers of a list. Negative ones, which would wrap, and fractions are refused.
std::vector<unsigned int> ToCounts(const Json& list, const std::string& name);

}  // namespace QXTools
