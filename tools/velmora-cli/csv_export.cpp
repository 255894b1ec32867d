#include "csv_export.h"

#include "export_columns.h"
#include "export_text.h"
#include "file_command_run.h"
#include "viewer/vlm_file.h"

namespace cli {

namespace {

void AppendValue(std::string& row, std::string_view utf8) {
    if (!row.empty()) row += ',';
    if (utf8.find_first_of(",\"\r\n") == std::string_view::npos) {
        row += utf8;
        return;
    }
    row += '"';
    for (const char c : utf8) {
        if (c == '"') row += '"';
        row += c;
    }
    row += '"';
}

} // namespace

std::string RecordsAsCsv(const RecordFile& file) {
    std::string csv;
    std::string row;
    for (const std::string& name : ExportColumnNames())
        AppendValue(row, name);
    csv += row + "\r\n";
    for (const FileRecord& record : file.records) {
        row.clear();
        AppendValue(row, std::to_string(record.number));
        AppendValue(row, Latin1ToUtf8(viewer::GetDate(record.dateField)));
        AppendValue(row, std::to_string(record.signature.size()));
        for (const std::string& field : record.fields)
            AppendValue(row, Latin1ToUtf8(field));
        csv += row + "\r\n";
    }
    return csv;
}

int RunCsv(const QStringList& arguments) {
    return RunRecordExport(
        arguments, "csv",
        "Writes the records of a downloaded record file (.vlm) as comma-separated values (RFC 4180):\n"
        "a row naming the columns (number, date, signature_bytes, field_1 ... field_112), then one row\n"
        "per record. The date is MM/DD/YYYY hh:mm as the viewer shows it; the fields are as in the file,\n"
        "every byte kept, each byte above 0x7F as its Latin-1 character in UTF-8 (0xE9 gives \"é\").\n"
        "A value with a comma, a double quote, CR or LF is quoted and its quotes doubled; rows end with\n"
        "CR LF. A failure to write OUT ends with exit status 1.",
        RecordsAsCsv);
}

} // namespace cli
