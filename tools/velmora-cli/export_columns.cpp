#include "export_columns.h"

#include "viewer/vlm_file.h"

namespace cli {

const std::vector<std::string>& ExportColumnNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all{"number", "date", "signature_bytes"};
        for (int k = 1; k <= viewer::kFieldQuotes; ++k)
            all.push_back("field_" + std::to_string(k));
        return all;
    }();
    return names;
}

} // namespace cli
