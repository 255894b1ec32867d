// The emulated tablet's record download side: the sample record files, the record stream after DC2 SI
// over a real pty, its faults, line-rate pacing, and the program's options for them.
#include "command_line.h"
#include "line_pacer.h"
#include "line_rate.h"
#include "protocol.h"
#include "sample_records.h"
#include "signature/strokes.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <set>
#include <termios.h>
#include <unistd.h>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

const std::string enq(1, '\x05');
const std::string dc2si = "\x12\x0F";

// The program's end of the line, with plain POSIX calls: raw, non-blocking, at the speed asked for.
class Line {
public:
    explicit Line(const std::string& path, speed_t speed = B115200) {
        fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (fd < 0) return;
        termios settings{};
        tcgetattr(fd, &settings);
        cfmakeraw(&settings);
        cfsetispeed(&settings, speed);
        cfsetospeed(&settings, speed);
        tcsetattr(fd, TCSANOW, &settings);
    }
    ~Line() {
        if (fd >= 0) ::close(fd);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    bool isOpen() const { return fd >= 0; }
    bool send(const std::string& bytes) {
        return ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }

    // Reads until `count` bytes have come or `limit` has passed; `arrivals`, when given, gets the time
    // each chunk was read and how many bytes had come by then.
    std::string readUntil(std::size_t count, std::chrono::milliseconds limit,
                          std::vector<std::pair<Clock::time_point, std::size_t>>* arrivals = nullptr) {
        std::string got;
        const auto end = Clock::now() + limit;
        char buffer[65536];
        while (got.size() < count) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            if (left.count() <= 0) break;
            pollfd line{fd, POLLIN, 0};
            if (poll(&line, 1, static_cast<int>(left.count())) <= 0) break;
            if (!(line.revents & POLLIN)) break; // hung up, nothing more to read
            const ssize_t n = ::read(fd, buffer, std::min(sizeof buffer, count - got.size()));
            if (n <= 0) break;
            got.append(buffer, static_cast<std::size_t>(n));
            if (arrivals) arrivals->emplace_back(Clock::now(), got.size());
        }
        return got;
    }
    // Everything that arrives within `span`.
    std::string readFor(std::chrono::milliseconds span) { return readUntil(SIZE_MAX, span); }

    // True when the line is hung up: poll reports POLLHUP and a write fails with EIO.
    bool isHungUp(std::chrono::milliseconds limit) {
        const auto end = Clock::now() + limit;
        while (Clock::now() < end) {
            pollfd line{fd, POLLIN, 0};
            if (poll(&line, 1, 10) > 0 && (line.revents & POLLHUP)) {
                char byte = 0x05;
                return ::write(fd, &byte, 1) < 0 && errno == EIO;
            }
        }
        return false;
    }

private:
    int fd = -1;
};

struct SampleRecord {
    std::string number, date;
    std::vector<std::string> fields;
    std::string signature;
};

struct SampleFile {
    std::string count, customer, title;
    std::vector<SampleRecord> records;
    std::string error; // what did not fit the layout; empty when all did
};

// Reads a record file by its layout, strictly: every record on its own CR LF line, 112 fields.
SampleFile readSample(const std::string& vlm) {
    SampleFile file;
    const auto headerEnd = vlm.find("\r\n");
    const std::string header = vlm.substr(0, headerEnd);
    const auto q1 = header.find('"'), q2 = header.find('"', q1 + 1);
    if (q1 != 3 || q2 == std::string::npos || header.find('"', q2 + 1) != std::string::npos) {
        file.error = "header: " + header;
        return file;
    }
    file.count = header.substr(0, 3);
    file.customer = header.substr(q1 + 1, q2 - q1 - 1);
    file.title = header.substr(q2 + 1);
    std::size_t at = headerEnd + 2;
    while (at < vlm.size()) {
        const auto end = vlm.find("\r\n", at);
        if (end == std::string::npos) {
            file.error = "record without CR LF at " + std::to_string(at);
            return file;
        }
        const std::string line = vlm.substr(at, end - at);
        SampleRecord record;
        if (line.size() < 17 || line[3] != '"' || line[16] != '"') {
            file.error = "record start: " + line.substr(0, 20);
            return file;
        }
        record.number = line.substr(0, 3);
        record.date = line.substr(4, 12);
        std::size_t from = 17;
        for (int k = 0; k < sim::kRecordFields; ++k) {
            const auto quote = line.find('"', from);
            if (quote == std::string::npos) {
                file.error = "record " + record.number + " has " + std::to_string(k) + " fields";
                return file;
            }
            record.fields.push_back(line.substr(from, quote - from));
            from = quote + 1;
        }
        record.signature = line.substr(from);
        file.records.push_back(std::move(record));
        at = end + 2;
    }
    return file;
}

std::string threeDigits(std::size_t number) {
    return QStringLiteral("%1").arg(number, 3, 10, QLatin1Char('0')).toStdString();
}

bool allDigits(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The date field MMDDYYYYHHMM as YYYYMMDDHHMM, which sorts as time does.
std::string sortableDate(const std::string& field) {
    return field.substr(4, 4) + field.substr(0, 4) + field.substr(8, 4);
}

} // namespace

class TestVelmoraSimRecords : public QObject {
    Q_OBJECT

private slots:
    void sampleFollowsTheRecordLayout_data();
    void sampleFollowsTheRecordLayout();
    void everyTenthRecordHasNoSignature();
    void sampleIsTheSameForASeedAndDiffersBetweenSeeds();
    void sampleOfMostRecordsHasARealisticSize();
    void signaturesUseTheFullByteRangeButNeverCrLfOrQuote();
    void signaturesDecodeToHandwriting();
    void sampleContentIsVariedAndBelievable();

    void protocolAsksForTheStreamOnDc2FollowedBySi();
    void lineFrameReadsDataParityStop();
    void pacerKeepsAnAbsoluteScheduleAndSavesNoTime();

    void dc2SiStreamsTheRecordsUnchanged();
    void defaultRecordsAreTheSampleOf25();
    void enqIsEchoedBeforeDuringAndAfterAStream();
    void dc2FollowedByAnotherByteStreamsNothing();
    void streamStopAfterCutsTheStreamAndKeepsAnswering();
    void streamHangUpAfterHangsUpAfterTheBytesAreRead();
    void pacedStreamLeavesAtTheLineRate_data();
    void pacedStreamLeavesAtTheLineRate();
    void unpacedMegabyteGoesThroughFast();

    void commandLineReadsRecordOptions();
    void programWritesASampleFile();
    void programRefusesASampleOutOfRange_data();
    void programRefusesASampleOutOfRange();
    void programRefusesAFileItCannotWrite();
    void programStreamsTheRecordsFileCutAsAsked();
    void programRefusesARecordsFileItCannotRead();
    void programHelpListsTheRecordOptions();
};

void TestVelmoraSimRecords::sampleFollowsTheRecordLayout_data() {
    QTest::addColumn<int>("records");
    QTest::newRow("1") << 1;
    QTest::newRow("25") << 25;
    QTest::newRow("999") << 999;
}

void TestVelmoraSimRecords::sampleFollowsTheRecordLayout() {
    QFETCH(int, records);
    const std::string vlm = sim::SampleVlm(records);
    const SampleFile file = readSample(vlm);
    QVERIFY2(file.error.empty(), file.error.c_str());
    QCOMPARE(file.count, threeDigits(static_cast<std::size_t>(records)));
    QVERIFY(!file.customer.empty());
    QVERIFY(!file.title.empty());
    // A reader takes at most as many title characters as the position of the second quote.
    QVERIFY(file.title.size() <= 3 + 1 + file.customer.size() + 1);
    QCOMPARE(file.records.size(), static_cast<std::size_t>(records));
    for (std::size_t i = 0; i < file.records.size(); ++i) {
        const SampleRecord& record = file.records[i];
        QCOMPARE(record.number, threeDigits(i + 1));
        QVERIFY2(allDigits(record.date), record.date.c_str());
        const int month = std::stoi(record.date.substr(0, 2)), day = std::stoi(record.date.substr(2, 2));
        const int hour = std::stoi(record.date.substr(8, 2)), minute = std::stoi(record.date.substr(10, 2));
        QVERIFY(month >= 1 && month <= 12 && day >= 1 && day <= 31 && hour < 24 && minute < 60);
        for (const std::string& field : record.fields)
            QVERIFY(field.find_first_of("\r\n") == std::string::npos);
        QVERIFY(record.signature.find('\r') == std::string::npos);
    }
}

void TestVelmoraSimRecords::everyTenthRecordHasNoSignature() {
    const SampleFile file = readSample(sim::SampleVlm(45, 9));
    QVERIFY2(file.error.empty(), file.error.c_str());
    for (std::size_t i = 0; i < file.records.size(); ++i)
        QVERIFY2(file.records[i].signature.empty() == ((i + 1) % 10 == 0), file.records[i].number.c_str());
    // and the line of such a record ends at once after its 112th quote
    const std::string vlm = sim::SampleVlm(45, 9);
    const auto tenth = vlm.find("\r\n010\"");
    QVERIFY(tenth != std::string::npos);
    QCOMPARE(vlm.substr(vlm.find("\r\n", tenth + 2) - 1, 3), std::string("\"\r\n"));
}

void TestVelmoraSimRecords::sampleIsTheSameForASeedAndDiffersBetweenSeeds() {
    QCOMPARE(sim::SampleVlm(30, 4), sim::SampleVlm(30, 4));
    QVERIFY(sim::SampleVlm(30, 4) != sim::SampleVlm(30, 5));
    QCOMPARE(sim::SampleVlm(30), sim::SampleVlm(30, 1));
    // A longer file of the same seed begins with the same records.
    const SampleFile shorter = readSample(sim::SampleVlm(30, 4)), longer = readSample(sim::SampleVlm(31, 4));
    QVERIFY(shorter.error.empty() && longer.error.empty());
    QCOMPARE(longer.records[29].fields, shorter.records[29].fields);
    QCOMPARE(longer.records[29].signature, shorter.records[29].signature);
}

void TestVelmoraSimRecords::sampleOfMostRecordsHasARealisticSize() {
    const std::size_t size = sim::SampleVlm(999).size();
    QVERIFY2(size >= 300'000 && size <= 2'000'000, std::to_string(size).c_str());
    QVERIFY(sim::SampleVlm(1).size() < 3000);
    // Out-of-range counts are clamped, never a broken count.
    QCOMPARE(sim::SampleVlm(0).substr(0, 4), std::string("001\""));
    QCOMPARE(sim::SampleVlm(1000).substr(0, 4), std::string("999\""));
}

void TestVelmoraSimRecords::signaturesUseTheFullByteRangeButNeverCrLfOrQuote() {
    const SampleFile file = readSample(sim::SampleVlm(60, 2));
    QVERIFY(file.error.empty());
    for (const SampleRecord& record : file.records) {
        if (record.signature.empty()) continue;
        const std::string& bytes = record.signature;
        QVERIFY2(bytes.find('\0') != std::string::npos, record.number.c_str());
        QVERIFY(std::any_of(bytes.begin(), bytes.end(),
                            [](char c) { return static_cast<unsigned char>(c) >= 0x80; }));
        QVERIFY(bytes.find_first_of(std::string("\r\n\"")) == std::string::npos);
    }
}

void TestVelmoraSimRecords::signaturesDecodeToHandwriting() {
    const SampleFile file = readSample(sim::SampleVlm(120, 3));
    QVERIFY(file.error.empty());
    std::set<std::string> seen;
    int signatures = 0;
    for (const SampleRecord& record : file.records) {
        if (record.signature.empty()) continue;
        ++signatures;
        QVERIFY2(seen.insert(record.signature).second, record.number.c_str()); // no two alike
        const std::vector<signature::Stroke> strokes = signature::Decode(record.signature);
        QVERIFY2(strokes.size() >= 2 && strokes.size() <= 8, record.number.c_str());
        std::size_t points = 0;
        int minX = signature::kGridSize, maxX = -1, minY = signature::kGridSize, maxY = -1;
        for (const signature::Stroke& stroke : strokes) {
            points += stroke.size();
            for (std::size_t k = 0; k < stroke.size(); ++k) {
                const signature::Point& point = stroke[k];
                QVERIFY(point.x >= 0 && point.x < signature::kGridSize);
                QVERIFY(point.y >= 0 && point.y < signature::kGridSize);
                minX = std::min(minX, point.x), maxX = std::max(maxX, point.x);
                minY = std::min(minY, point.y), maxY = std::max(maxY, point.y);
                // A pen moves smoothly: no jump longer than one move token in the strokes.
                if (k > 0) {
                    QVERIFY(std::abs(point.x - stroke[k - 1].x) <= 63);
                    QVERIFY(std::abs(point.y - stroke[k - 1].y) <= 63);
                }
            }
        }
        QVERIFY2(points >= 150 && points <= 600, (record.number + ": " + std::to_string(points)).c_str());
        // Wider than high, as a name written on a line is, and of a size one can see.
        QVERIFY2(maxX - minX >= 1500 && maxY - minY >= 300 && maxX - minX > maxY - minY,
                 record.number.c_str());
        // The strokes round-trip through the encoder: the bytes are the encoding of what they draw.
        QCOMPARE(signature::Encode(strokes), record.signature);
    }
    QCOMPARE(signatures, 108);
}

void TestVelmoraSimRecords::sampleContentIsVariedAndBelievable() {
    const SampleFile file = readSample(sim::SampleVlm(200, 6));
    QVERIFY(file.error.empty());
    std::set<std::string> names;
    int emptyFields = 0, eightBitFields = 0, zipPlus4 = 0, phones = 0, amounts = 0;
    for (std::size_t i = 0; i < file.records.size(); ++i) {
        const SampleRecord& record = file.records[i];
        names.insert(record.fields[0]);
        if (i > 0) QVERIFY(sortableDate(record.date) > sortableDate(file.records[i - 1].date));
        for (const std::string& field : record.fields) {
            if (field.empty()) ++emptyFields;
            if (std::any_of(field.begin(), field.end(),
                            [](char c) { return static_cast<unsigned char>(c) >= 0x80; }))
                ++eightBitFields;
        }
        const std::string& zip = record.fields[5];
        QVERIFY2(zip.size() == 5 || zip.size() == 10, zip.c_str());
        if (zip.size() == 10 && zip[5] == '-') ++zipPlus4;
        if (record.fields[9].size() == 14 && record.fields[9][0] == '(') ++phones;
        if (!record.fields[10].empty() && record.fields[10][0] == '$') ++amounts;
    }
    QVERIFY(names.size() > 100);
    QVERIFY(emptyFields > 200 * 50);
    QVERIFY(eightBitFields >= 20);
    QVERIFY(zipPlus4 >= 20 && zipPlus4 < 200);
    QVERIFY(phones >= 100);
    QCOMPARE(amounts, 200);
    // Times move on through the day and the route goes on over several days.
    QVERIFY(file.records.front().date.substr(0, 8) != file.records.back().date.substr(0, 8));
    // Windows-1252 letters of the kinds the tablet's users type: é, ü, ’.
    std::string all;
    for (const SampleRecord& record : file.records)
        for (const std::string& field : record.fields)
            all += field;
    for (const char letter : {'\xE9', '\xFC', '\x92'})
        QVERIFY(all.find(letter) != std::string::npos);
}

void TestVelmoraSimRecords::protocolAsksForTheStreamOnDc2FollowedBySi() {
    sim::Protocol protocol;
    const sim::Faults faults;
    QCOMPARE(protocol.take('\x12', faults), std::string());
    QVERIFY(!protocol.streamRequested());
    QCOMPARE(protocol.take('\x0F', faults), std::string());
    QVERIFY(protocol.streamRequested());
    QCOMPARE(protocol.take('\x05', faults), enq);
    QVERIFY(!protocol.streamRequested());
    // SI alone, DC2 then another byte then SI: no request; the other byte is answered as ever.
    QCOMPARE(protocol.take('\x0F', faults), std::string());
    QVERIFY(!protocol.streamRequested());
    QCOMPARE(protocol.take('\x12', faults), std::string());
    QCOMPARE(protocol.take('\x05', faults), enq);
    QCOMPARE(protocol.take('\x0F', faults), std::string());
    QVERIFY(!protocol.streamRequested());
    // DC2 DC2 SI: the second DC2 is the one SI follows.
    protocol.take('\x12', faults);
    protocol.take('\x12', faults);
    protocol.take('\x0F', faults);
    QVERIFY(protocol.streamRequested());
    // DC2 abandons a value being taken, and then asks for the stream.
    QCOMPARE(protocol.answer(std::string("\x03"
                                         "AB\x12",
                                         4),
                             faults),
             std::string("\x03"));
    protocol.take('\x0F', faults);
    QVERIFY(protocol.streamRequested());
    QCOMPARE(protocol.state().companyName, std::string());
}

void TestVelmoraSimRecords::lineFrameReadsDataParityStop() {
    QCOMPARE(sim::LineFrame{}.bitsPerByte(), 11);
    QCOMPARE(sim::parseLineFrame("8O1")->bitsPerByte(), 11);
    QCOMPARE(sim::parseLineFrame("8n1")->bitsPerByte(), 10);
    QCOMPARE(sim::parseLineFrame("7E2")->bitsPerByte(), 11);
    QCOMPARE(sim::parseLineFrame("5N1")->bitsPerByte(), 7);
    QVERIFY(!sim::parseLineFrame("9O1"));
    QVERIFY(!sim::parseLineFrame("8X1"));
    QVERIFY(!sim::parseLineFrame("8O3"));
    QVERIFY(!sim::parseLineFrame("8O"));
    QVERIFY(!sim::parseLineFrame("8O11"));
}

void TestVelmoraSimRecords::pacerKeepsAnAbsoluteScheduleAndSavesNoTime() {
    sim::LinePacer pacer;
    const auto byteTime = std::chrono::nanoseconds(100'000); // 0.1 ms
    const auto start = sim::LinePacer::Clock::time_point(10s);
    QCOMPARE(pacer.allowance(start, start, byteTime), std::size_t(1));
    pacer.sent(1, false, byteTime);
    QCOMPARE(pacer.allowance(start + 50us, start, byteTime), std::size_t(0));
    // A wake 1 ms late sends the ten bytes due meanwhile: the schedule does not drift.
    QCOMPARE(pacer.allowance(start + 1050us, start, byteTime), std::size_t(10));
    pacer.sent(10, false, byteTime);
    QVERIFY(pacer.nextByteAt(start) == start + 1100us);
    // Idle for a second: output due later starts a fresh schedule, with no time saved up.
    const auto later = start + 2s;
    QCOMPARE(pacer.allowance(later + 30us, later, byteTime), std::size_t(1));
    pacer.sent(1, false, byteTime);
    // The line refused bytes: when it takes them again, the schedule starts from then.
    QCOMPARE(pacer.allowance(later + 200us, later, byteTime), std::size_t(2));
    pacer.sent(0, true, byteTime);
    QCOMPARE(pacer.allowance(later + 900ms, later, byteTime), std::size_t(1));
}

void TestVelmoraSimRecords::dc2SiStreamsTheRecordsUnchanged() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    const std::string vlm = sim::SampleVlm(40, 3);
    tablet.setRecords(vlm);
    Line line(tablet.linkPath());
    QVERIFY(line.isOpen());
    QVERIFY(line.send(dc2si));
    QCOMPARE(line.readUntil(vlm.size(), 5s), vlm);
    QCOMPARE(line.readFor(200ms), std::string()); // no echo of DC2 or SI, nothing more
    QVERIFY(tablet.waitForStreamed(vlm.size(), 2s));
    QCOMPARE(tablet.streamed(), vlm);
    QCOMPARE(tablet.received(), dc2si);
    QVERIFY(!tablet.waitForStreamed(vlm.size() + 1, 50ms));

    // Asked again, it streams again; streamed() keeps both.
    QVERIFY(line.send(dc2si));
    QCOMPARE(line.readUntil(vlm.size(), 5s), vlm);
    QVERIFY(tablet.waitForStreamed(2 * vlm.size(), 2s));
    QCOMPARE(tablet.streamed(), vlm + vlm);
}

void TestVelmoraSimRecords::defaultRecordsAreTheSampleOf25() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Line line(tablet.linkPath());
    QVERIFY(line.send(dc2si));
    const std::string expected = sim::SampleVlm(25);
    QCOMPARE(line.readUntil(expected.size(), 3s), expected);
    QCOMPARE(line.readFor(100ms), std::string());
}

void TestVelmoraSimRecords::enqIsEchoedBeforeDuringAndAfterAStream() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    std::string vlm = sim::SampleVlm(999, 5); // far more than the pty holds
    tablet.setRecords(vlm);
    Line line(tablet.linkPath());

    QVERIFY(line.send(enq));
    QCOMPARE(line.readUntil(1, 2s), enq);

    // Not read, the stream stops when the pty is full, so the ENQs arrive while it is under way.
    QVERIFY(line.send(dc2si));
    QVERIFY(tablet.waitForStreamed(1000, 2s));
    QVERIFY(line.send(enq));
    QVERIFY(line.send(enq));
    QVERIFY(tablet.waitForReceived(5, 2s));
    QVERIFY(tablet.streamed().size() < vlm.size());
    // Their echoes come after the whole stream, one each.
    QCOMPARE(line.readUntil(vlm.size() + 2, 10s), vlm + enq + enq);
    QCOMPARE(line.readFor(100ms), std::string());

    QVERIFY(line.send(enq));
    QCOMPARE(line.readUntil(1, 2s), enq);
    QCOMPARE(line.readFor(100ms), std::string());
}

void TestVelmoraSimRecords::dc2FollowedByAnotherByteStreamsNothing() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Line line(tablet.linkPath());
    QVERIFY(line.send(std::string("\x12"
                                  "A\x0F",
                                  3)));
    QVERIFY(line.send(std::string("\x12\x05\x0F", 3)));
    QVERIFY(line.send(std::string("\x0F\x12", 2)));
    QCOMPARE(line.readUntil(1, 2s), enq); // the ENQ after DC2 is echoed as ever
    QVERIFY(tablet.waitForReceived(8, 2s));
    QCOMPARE(line.readFor(300ms), std::string());
    QCOMPARE(tablet.streamed(), std::string());
}

void TestVelmoraSimRecords::streamStopAfterCutsTheStreamAndKeepsAnswering() {
    testing_support::PortsFolder ports;
    sim::Faults faults;
    faults.streamStopAfter = 1000;
    sim::Tablet tablet(ports.path(), 3, faults);
    const std::string vlm = sim::SampleVlm(10, 8);
    tablet.setRecords(vlm);
    Line line(tablet.linkPath());
    QVERIFY(line.send(dc2si));
    QCOMPARE(line.readUntil(1000, 3s), vlm.substr(0, 1000));
    QCOMPARE(line.readFor(300ms), std::string());
    QCOMPARE(tablet.streamed(), vlm.substr(0, 1000));
    QVERIFY(line.send(enq)); // the line is up and the tablet answers
    QCOMPARE(line.readUntil(1, 2s), enq);
    QCOMPARE(line.readFor(100ms), std::string());
}

void TestVelmoraSimRecords::streamHangUpAfterHangsUpAfterTheBytesAreRead() {
    testing_support::PortsFolder ports;
    sim::Faults faults;
    faults.streamHangUpAfter = 1500;
    sim::Tablet tablet(ports.path(), 3, faults);
    const std::string vlm = sim::SampleVlm(10, 8);
    tablet.setRecords(vlm);
    Line line(tablet.linkPath());
    QVERIFY(line.send(dc2si));
    QVERIFY(tablet.waitForStreamed(1500, 3s));
    // Left unread for a moment, the bytes before the cut are still there to read.
    QTest::qWait(100);
    QCOMPARE(line.readUntil(1500, 3s), vlm.substr(0, 1500));
    QVERIFY(line.isHungUp(3s));
    QCOMPARE(tablet.streamed(), vlm.substr(0, 1500));
}

void TestVelmoraSimRecords::pacedStreamLeavesAtTheLineRate_data() {
    QTest::addColumn<int>("speed");
    QTest::addColumn<QString>("frame");
    QTest::addColumn<double>("bytesPerSecond");
    QTest::newRow("115200 8O1") << int(B115200) << QStringLiteral("8O1") << 115200.0 / 11;
    QTest::newRow("230400 8N1") << int(B230400) << QStringLiteral("8N1") << 230400.0 / 10;
}

void TestVelmoraSimRecords::pacedStreamLeavesAtTheLineRate() {
    QFETCH(int, speed);
    QFETCH(QString, frame);
    QFETCH(double, bytesPerSecond);
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    const std::string vlm = sim::SampleVlm(25, 11).substr(0, 20000);
    tablet.setRecords(vlm);
    tablet.setLineFrame(*sim::parseLineFrame(frame.toStdString()));
    tablet.setLineRatePacing(true);
    Line line(tablet.linkPath(), static_cast<speed_t>(speed));

    std::vector<std::pair<Clock::time_point, std::size_t>> arrivals;
    const auto asked = Clock::now();
    QVERIFY(line.send(dc2si));
    QCOMPARE(line.readUntil(vlm.size(), 10s, &arrivals), vlm);
    // From the first chunk read to the last, the bytes after the first came at the line rate.
    const double seconds =
        std::chrono::duration<double>(arrivals.back().first - arrivals.front().first).count();
    const double rate = static_cast<double>(vlm.size() - arrivals.front().second) / seconds;
    QVERIFY2(std::abs(rate - bytesPerSecond) <= 0.05 * bytesPerSecond,
             qPrintable(QStringLiteral("%1 bytes/s").arg(rate)));
    // And never ahead of it: at no point had more arrived than the line could have carried.
    for (const auto& [when, count] : arrivals) {
        const double carried = std::chrono::duration<double>(when - asked).count() * bytesPerSecond;
        QVERIFY2(static_cast<double>(count) <= carried + 0.01 * bytesPerSecond + 1,
                 qPrintable(QStringLiteral("%1 bytes after %2 s").arg(count).arg(carried / bytesPerSecond)));
    }
}

void TestVelmoraSimRecords::unpacedMegabyteGoesThroughFast() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    std::string megabyte(1 << 20, '\0');
    for (std::size_t i = 0; i < megabyte.size(); ++i)
        megabyte[i] = static_cast<char>((i * 7 + i / 256) & 0xFF);
    tablet.setRecords(megabyte);
    Line line(tablet.linkPath());
    const auto start = Clock::now();
    QVERIFY(line.send(dc2si));
    QVERIFY(line.readUntil(megabyte.size(), 5s) == megabyte);
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    QVERIFY2(took < 1000ms, qPrintable(QStringLiteral("%1 ms").arg(took.count())));
    QVERIFY(tablet.waitForStreamed(megabyte.size(), 2s));
}

void TestVelmoraSimRecords::commandLineReadsRecordOptions() {
    const char* const arguments[] = {"velmora-sim",
                                     "--ports",
                                     "/tmp/p",
                                     "--records",
                                     "/tmp/r.vlm",
                                     "--line-rate",
                                     "--frame",
                                     "7e2",
                                     "--stream-stop-after",
                                     "1200",
                                     "--stream-hang-up-after=800"};
    const sim::ParsedCommandLine parsed = sim::parseCommandLine(std::size(arguments), arguments, nullptr);
    QCOMPARE(int(parsed.action), int(sim::ParsedCommandLine::Action::Run));
    QCOMPARE(*parsed.options.records, std::string("/tmp/r.vlm"));
    QVERIFY(parsed.options.lineRate);
    QVERIFY(parsed.options.frame == (sim::LineFrame{7, 'E', 2}));
    QCOMPARE(*parsed.options.faults.streamStopAfter, std::size_t(1200));
    QCOMPARE(*parsed.options.faults.streamHangUpAfter, std::size_t(800));

    const char* const plain[] = {"velmora-sim", "--ports", "/tmp/p"};
    const sim::ParsedCommandLine defaults = sim::parseCommandLine(std::size(plain), plain, nullptr);
    QVERIFY(!defaults.options.records && !defaults.options.lineRate);
    QVERIFY(defaults.options.frame == sim::LineFrame{});
    QVERIFY(!defaults.options.faults.streamStopAfter && !defaults.options.faults.streamHangUpAfter);

    const char* const sample[] = {"velmora-sim", "--sample-vlm", "12", "/tmp/s.vlm"};
    const sim::ParsedCommandLine written = sim::parseCommandLine(std::size(sample), sample, nullptr);
    QCOMPARE(int(written.action), int(sim::ParsedCommandLine::Action::SampleVlm));
    QCOMPARE(written.options.sampleRecords, 12);
    QCOMPARE(written.options.sampleFile, std::string("/tmp/s.vlm"));

    const char* const badFrame[] = {"velmora-sim", "--ports", "/tmp/p", "--frame", "8O"};
    QCOMPARE(int(sim::parseCommandLine(std::size(badFrame), badFrame, nullptr).action),
             int(sim::ParsedCommandLine::Action::Error));
    const char* const badCount[] = {"velmora-sim", "--ports", "/tmp/p", "--stream-stop-after", "-1"};
    QCOMPARE(int(sim::parseCommandLine(std::size(badCount), badCount, nullptr).action),
             int(sim::ParsedCommandLine::Action::Error));
}

void TestVelmoraSimRecords::programWritesASampleFile() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("route.vlm"));
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--sample-vlm"), QStringLiteral("7"), path});
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY(std::string(bytes.constData(), static_cast<std::size_t>(bytes.size())) == sim::SampleVlm(7));
    QVERIFY(process.readAllStandardError().isEmpty());
}

void TestVelmoraSimRecords::programRefusesASampleOutOfRange_data() {
    QTest::addColumn<QString>("count");
    QTest::newRow("0") << QStringLiteral("0");
    QTest::newRow("1000") << QStringLiteral("1000");
    QTest::newRow("not a number") << QStringLiteral("ten");
}

void TestVelmoraSimRecords::programRefusesASampleOutOfRange() {
    QFETCH(QString, count);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("route.vlm"));
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM), {QStringLiteral("--sample-vlm"), count, path});
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 2);
    const QByteArray error = process.readAllStandardError();
    QCOMPARE(error.count('\n'), 1);
    QVERIFY2(error.contains("1 to 999"), error.constData());
    QVERIFY(!QFile::exists(path));
}

void TestVelmoraSimRecords::programRefusesAFileItCannotWrite() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("no-such-folder/route.vlm"));
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--sample-vlm"), QStringLiteral("3"), path});
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 2);
    const QByteArray error = process.readAllStandardError();
    QCOMPARE(error.count('\n'), 1);
    QVERIFY2(error.contains(path.toLocal8Bit()), error.constData());
}

void TestVelmoraSimRecords::programStreamsTheRecordsFileCutAsAsked() {
    QTemporaryDir dir;
    const std::string vlm = sim::SampleVlm(5, 21);
    const QString recordsPath = dir.filePath(QStringLiteral("records.vlm"));
    {
        QFile file(recordsPath);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(vlm.data(), static_cast<qint64>(vlm.size()));
    }
    const QString portsPath = dir.filePath(QStringLiteral("ports"));
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--ports"), portsPath, QStringLiteral("--records"), recordsPath,
                   QStringLiteral("--stream-stop-after"), QStringLiteral("3000"),
                   QStringLiteral("--line-rate")});
    QVERIFY(process.waitForStarted(5000));
    QVERIFY(QTest::qWaitFor([&] { return process.canReadLine(); }, 5000)); // "COM3 -> /dev/pts/N"
    Line line((portsPath + QStringLiteral("/COM3")).toStdString());
    QVERIFY(line.isOpen());
    const auto start = Clock::now();
    QVERIFY(line.send(dc2si));
    QCOMPARE(line.readUntil(3000, 5s), vlm.substr(0, 3000));
    // Paced: 3000 bytes at 10472 bytes a second take about 0.29 s.
    QVERIFY(Clock::now() - start >= 250ms);
    QCOMPARE(line.readFor(200ms), std::string());
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
}

void TestVelmoraSimRecords::programRefusesARecordsFileItCannotRead() {
    QTemporaryDir dir;
    const QString portsPath = dir.filePath(QStringLiteral("ports"));
    for (const QString& records : {dir.filePath(QStringLiteral("missing.vlm")), dir.path()}) {
        QProcess process;
        process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                      {QStringLiteral("--ports"), portsPath, QStringLiteral("--records"), records});
        QVERIFY(process.waitForFinished(5000));
        QCOMPARE(process.exitCode(), 1);
        const QByteArray error = process.readAllStandardError();
        QVERIFY2(error.contains("cannot read the records file " + records.toLocal8Bit()), error.constData());
        QVERIFY(!QFile::exists(portsPath + QStringLiteral("/COM3")));
    }
}

void TestVelmoraSimRecords::programHelpListsTheRecordOptions() {
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM), {QStringLiteral("--help")});
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
    const QByteArray help = process.readAllStandardOutput();
    for (const char* option :
         {"--records FILE", "--sample-vlm N FILE", "--line-rate", "--frame", "--stream-stop-after N",
          "--stream-hang-up-after N", "12 0F (DC2 SI)", "--hang-up-on HEX", "--state FILE|-"})
        QVERIFY2(help.contains(option), option);
}

QTEST_GUILESS_MAIN(TestVelmoraSimRecords)
#include "tst_velmora_sim_records.moc"
