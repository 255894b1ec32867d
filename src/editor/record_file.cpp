#include "editor/record_file.h"

#include "platform/errors.h"
#include "platform/file_system.h"

namespace editor {

namespace {

struct FieldInfo {
    const char* caption;
    int maxLength;
};

// The twelve fixed fields; the numbered fields after them are all alike.
constexpr FieldInfo kFixedFields[kFirstNumberedField] = {
    {"Name", 33}, {"Address1", 33}, {"Address2", 33}, {"City", 33},   {"State", 2},   {"ZIP+4", 9},
    {"Note", 30}, {"Memo", 200},    {"Info 1", 32},   {"Info 2", 32}, {"Info 3", 32}, {"Info 4", 30},
};
constexpr int kNumberedFieldMaxLength = 33;

// A field index outside 0..110 is a control array subscript out of range.
void RequireField(int field) {
    if (field < 0 || field >= kFieldCount) vb::Raise(vb::errSubscriptOutOfRange);
}

// Removes leading and trailing spaces (0x20) only; tabs and other bytes are text.
std::string TrimSpaces(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    const auto last = text.find_last_not_of(' ');
    return text.substr(first, last - first + 1);
}

} // namespace

std::string FieldCaption(int field) {
    RequireField(field);
    if (field < kFirstNumberedField) return kFixedFields[field].caption;
    return std::to_string(field - kFirstNumberedField + 1);
}

int FieldMaxLength(int field) {
    RequireField(field);
    if (field < kFirstNumberedField) return kFixedFields[field].maxLength;
    return kNumberedFieldMaxLength;
}

void RecordTable::ClearRecords() {
    for (auto& field : records) {
        field.fill(std::string());
    }
}

// The file's structure is carried by line counts alone: 111 field lines, then a separator line whose
// content is never looked at. The reader keeps its known quirks, because Open File's error handling is built
// on them:
//  - a trailing record of fewer than 111 lines is stored at column r but not counted (so an EOT byte
//    appended after the last record is read as field 0 of an uncounted record and does no harm);
//  - a file ending where a separator is expected fails with error 62 from the discarding read, and then
//    RecordCount and CurrentRecord keep their old values;
//  - a 101st record is loaded (RecordCount 101, refused later by the writer), and a line beyond it raises
//    error 9 because record slot 101 does not exist.
// The table is cleared first, so whatever was read before an error stays in it.
void ReadRecordFile(RecordTable& table) {
    table.ClearRecords();
    vb::SequentialInput input(table.FilePathName);
    int field = 0;
    int record = 0;
    while (!input.Eof()) {
        if (record >= kRecordSlots) vb::Raise(vb::errSubscriptOutOfRange);
        table.records[field][record] = input.LineInput();
        ++field;
        if (field == kFieldCount) {
            input.LineInput(); // the separator line, dropped unread
            ++record;
            field = 0;
        }
    }
    input.Close();
    table.RecordCount = static_cast<short>(record);
    table.CurrentRecord = 1;
}

// The file is deleted and created anew, as the program always did it. The file system sets the deleted
// file aside and puts it back when the rewrite fails, so a failure part-way (a full disk) leaves the
// records on disk whole; the caller's error handling decides what to tell. Deleting needs the file to exist
// (a missing file raises 53 and nothing is written): Commit makes sure it does before it gets here.
bool WriteRecordFile(RecordTable& table) {
    if (table.RecordCount > kMaxRecords) return false;

    vb::DeleteFile(table.FilePathName);
    vb::CreateTextFile(table.FilePathName, true);
    vb::SequentialOutput output(table.FilePathName, vb::SequentialOutput::Output);
    for (int record = 0; record < table.RecordCount; ++record) {
        for (int field = 0; field < kFieldCount; ++field) {
            std::string& entry = table.records[field][record];
            // The hidden Note and Info 4 fields get a blank that stays in the table; trimming still writes
            // them as empty lines.
            if ((field == kNoteField || field == kInfo4Field) && entry.empty()) entry.assign(1, ' ');
            output.PrintLine(TrimSpaces(entry));
        }
        output.PrintLine(""); // every record, the last one included, ends with an empty line
    }
    output.Close();
    table.RecordEdited = false;
    return true;
}

// Binary output at the file's length + 1; like binary open, it creates the file when it is missing.
void AppendEndMarkerToFile(const RecordTable& table) {
    if (table.FilePathName.empty() || !table.AppendEndMarker) return;
    vb::AppendBytes(table.FilePathName, std::string(1, '\x04'));
}

} // namespace editor
