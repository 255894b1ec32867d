#include "list_command.h"

#include "command_line_run.h"
#include "exit_status.h"
#include "export_text.h"
#include "file_command_run.h"
#include "platform/vb_text.h"
#include "viewer/vlm_file.h"

#include <QCommandLineParser>
#include <QTextStream>
#include <algorithm>

namespace cli {

namespace {

// A record's name: its first field, which holds the "Name" of the record data the tablet was loaded
// with, trimmed as the viewer's record-data box shows it.
QString NameOf(const FileRecord& record) {
    return record.fields.empty() ? QString() : ShownText(vb::Trim(record.fields.front()));
}

} // namespace

QString RecordListing(const RecordFile& file) {
    QString text;
    QTextStream out(&text);
    out << "Customer name: " << ShownText(file.customerName) << "  Title: " << ShownText(file.title)
        << "  Records: " << file.headerCount << '\n';
    qsizetype nameWidth = 4;
    for (const FileRecord& record : file.records)
        nameWidth = std::max(nameWidth, NameOf(record).size());
    out << QStringLiteral("Number").rightJustified(6) << "  " << QStringLiteral("Date").leftJustified(16)
        << "  " << QStringLiteral("Name").leftJustified(nameWidth) << "  Fields  Signature bytes\n";
    for (const FileRecord& record : file.records) {
        out << QString::number(record.number).rightJustified(6) << "  "
            << ShownText(viewer::GetDate(record.dateField)).leftJustified(16) << "  "
            << NameOf(record).leftJustified(nameWidth) << "  "
            << QString::number(record.fields.size()).rightJustified(6) << "  "
            << QString::number(record.signature.size()).rightJustified(15) << '\n';
    }
    return text;
}

int RunList(const QStringList& arguments) {
    return RunReportingFailure("list", [&] {
        QCommandLineParser parser;
        parser.setApplicationDescription(
            "Lists the records of a downloaded record file (.vlm): a header line with the customer\n"
            "name, the title and the record count, then one line per record with its number, date and\n"
            "time (MM/DD/YYYY hh:mm), name (its first field), field count and signature size in bytes." +
            RecordFileHelp());
        parser.addPositionalArgument("FILE", "The downloaded record file.");
        ParseCommandLine(parser, arguments, 1, 1);
        const RecordFile file = LoadRecordFile(parser.positionalArguments().front());
        WriteOutput({}, RecordListing(file).toStdString());
        return int(kSuccess);
    });
}

} // namespace cli
