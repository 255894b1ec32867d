#include "json_export.h"

#include "file_command_run.h"
#include "viewer/vlm_file.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace cli {

namespace {

QString Latin1(std::string_view bytes) {
    return QString::fromLatin1(bytes.data(), qsizetype(bytes.size()));
}

QJsonObject RecordObject(const FileRecord& record) {
    QJsonArray fields;
    for (const std::string& field : record.fields)
        fields.append(Latin1(field));
    return QJsonObject{{"number", qint64(record.number)},
                       {"date", Latin1(viewer::GetDate(record.dateField))},
                       {"signature_bytes", qint64(record.signature.size())},
                       {"fields", fields}};
}

} // namespace

std::string RecordsAsJson(const RecordFile& file) {
    QJsonArray records;
    for (const FileRecord& record : file.records)
        records.append(RecordObject(record));
    const QJsonObject document{{"customer_name", Latin1(file.customerName)},
                               {"title", Latin1(file.title)},
                               {"record_count", qint64(file.headerCount)},
                               {"records", records}};
    return QJsonDocument(document).toJson(QJsonDocument::Indented).toStdString();
}

int RunJson(const QStringList& arguments) {
    return RunRecordExport(
        arguments, "json",
        "Writes the records of a downloaded record file (.vlm) as one JSON document:\n"
        "{\"customer_name\", \"title\", \"record_count\" (the header's), \"records\": [{\"number\",\n"
        "\"date\" (MM/DD/YYYY hh:mm as the viewer shows it), \"signature_bytes\",\n"
        "\"fields\": [the 112 fields]}]}.\n"
        "Fields are as in the file, every byte kept, each byte above 0x7F as its Latin-1 character in\n"
        "UTF-8 (0xE9 gives \"é\"); control characters are escaped. A failure to write OUT ends with\n"
        "exit status 1.",
        RecordsAsJson);
}

} // namespace cli
