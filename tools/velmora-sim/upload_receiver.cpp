#include "upload_receiver.h"

namespace sim {

namespace {

// Splits the decoding by place in the record: the named fields by position, then the numbered ones.
class RecordDecoder {
public:
    void take(char byte) {
        if (pendingCr) {
            pendingCr = false;
            if (byte == '\n') return endLine();
            line += '\r';
        }
        if (byte == '\r') {
            pendingCr = true;
        } else if (byte == EmptyNamedField && line.empty() && field < namedFieldCount) {
            ++field; // an empty named field: its place is kept, its text stays ""
        } else {
            line += byte;
        }
    }

    std::vector<UploadedRecord> records;

private:
    void endLine() {
        if (field >= namedFieldCount && line.empty()) {
            records.push_back(std::move(record));
            record.assign(uploadedFieldCount, std::string());
            field = 0;
            return;
        }
        if (field < uploadedFieldCount) record[std::size_t(field)] = std::move(line);
        ++field;
        line.clear();
    }

    UploadedRecord record = UploadedRecord(uploadedFieldCount);
    int field = 0; // where the next line goes; past 110 the lines are dropped
    std::string line;
    bool pendingCr = false;
};

} // namespace

std::vector<UploadedRecord> decodeUpload(std::string_view raw) {
    RecordDecoder decoder;
    for (const char byte : raw)
        decoder.take(byte);
    return std::move(decoder.records);
}

std::string recordDataFile(const std::vector<UploadedRecord>& records) {
    std::string file;
    for (const UploadedRecord& record : records) {
        for (const std::string& field : record)
            file += field + "\r\n";
        file += "\r\n";
    }
    return file;
}

void UploadReceiver::start() {
    active = true;
    raw.clear();
}

bool UploadReceiver::take(char byte) {
    if (byte != UploadEnd) {
        raw += byte;
        return false;
    }
    active = false;
    uploads.push_back(Upload{raw, decodeUpload(raw)});
    raw.clear();
    return true;
}

} // namespace sim
