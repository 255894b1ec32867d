// The columns of the csv and json exports: what each record carries besides its fields, and the fields'
// names. The tablet sets what its 112 fields mean, so they are named by position: field_1 ... field_112.
#pragma once

#include <string>
#include <vector>

namespace cli {

// "number", "date", "signature_bytes", "field_1" ... "field_112".
const std::vector<std::string>& ExportColumnNames();

} // namespace cli
