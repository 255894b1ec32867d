// Record tables for the upload round trips, written as record data files by the editor's own writer.
#pragma once

#include "editor/record_file.h"
#include "upload_receiver.h"

#include <QFile>
#include <memory>
#include <string>
#include <vector>

namespace upload_testing {

// `count` records as an operator fills them in: some named fields left empty (Note and Info 4 always,
// others by turns), a varying number of numbered fields filled from 1 on, 8-bit letters here and there.
inline std::unique_ptr<editor::RecordTable> FilledTable(int count) {
    auto table = std::make_unique<editor::RecordTable>();
    for (int r = 1; r <= count; ++r) {
        const std::string n = std::to_string(r);
        const std::vector<std::string> named = {"Customer " + n,
                                                r % 3 ? n + " Main Street" : "",
                                                r % 4 ? "Suite " + n : "",
                                                "Caf\xe9 City",
                                                "WI",
                                                "53" + n,
                                                "",
                                                "Memo of record " + n,
                                                "Invoice " + n,
                                                r % 2 ? "Amount 1" + n + ".50" : "",
                                                "Ref " + n,
                                                ""};
        for (int f = 0; f < editor::kFirstNumberedField; ++f)
            table->At(f, r) = named[std::size_t(f)];
        const int numbered = (r * 7) % 100; // 0 to 99 numbered fields
        for (int k = 1; k <= numbered; ++k)
            table->At(editor::kFirstNumberedField + k - 1, r) = "Item " + std::to_string(k) + " of " + n;
    }
    table->RecordCount = short(count);
    return table;
}

// Writes the table to `path` with the editor's writer.
inline void WriteTable(editor::RecordTable& table, const QString& path) {
    QFile(path).open(QIODevice::WriteOnly); // the writer replaces an existing file
    table.FilePathName = path.toStdString();
    editor::WriteRecordFile(table);
}

// The records of the table as the tablet keeps them: 111 fields each, as the file holds them (trimmed).
inline std::vector<sim::UploadedRecord> RecordsOf(const editor::RecordTable& table) {
    std::vector<sim::UploadedRecord> records;
    for (int r = 1; r <= table.RecordCount; ++r) {
        sim::UploadedRecord record;
        for (int f = 0; f < editor::kFieldCount; ++f) {
            std::string field = table.records[std::size_t(f)][std::size_t(r - 1)];
            field.erase(0, field.find_first_not_of(' '));
            field.erase(field.find_last_not_of(' ') + 1);
            record.push_back(field);
        }
        records.push_back(record);
    }
    return records;
}

} // namespace upload_testing
