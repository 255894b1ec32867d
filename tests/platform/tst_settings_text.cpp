// The serial settings text's parity letter: every byte is tried in its place, and only the five parity
// letters (either case) make a valid text; every other byte, the NUL byte among them, is refused with
// error 380, and a port's settings are then left as they were.
#include "platform/errors.h"
#include "platform/mscomm.h"
#include "support/error_of.h"

#include <QTest>
#include <string>

using testing_support::ErrorOf;

class SettingsTextTest : public QObject {
    Q_OBJECT
private slots:
    void onlyTheFiveParityLettersAreAccepted();
    void nulParityByteIsRefusedAndSettingsKept();
};

namespace {

std::string WithParity(char parity) {
    std::string text = "9600,?,8,2";
    text[5] = parity;
    return text;
}

} // namespace

void SettingsTextTest::onlyTheFiveParityLettersAreAccepted() {
    const std::string letters = "NOEMSnoems";
    for (int code = 0; code < 256; ++code) {
        const char parity = char(code);
        const bool letter = letters.find(parity) != std::string::npos;
        const std::string text = WithParity(parity);
        vb::LineSettings line;
        const std::int64_t error = ErrorOf([&] { line = vb::ParseSettings(text); });
        const std::int64_t expected = letter ? 0 : std::int64_t(vb::errInvalidPropertyValue);
        QVERIFY2(error == expected, qPrintable(QString::number(code)));
        if (letter) QCOMPARE(QChar(line.parity), QChar(parity).toUpper());
    }
}

void SettingsTextTest::nulParityByteIsRefusedAndSettingsKept() {
    const std::string nulParity("9600,\0,8,2", 10);
    QCOMPARE(ErrorOf([&] { vb::ParseSettings(nulParity); }), vb::errInvalidPropertyValue);
    vb::MSComm port;
    port.setSettings("115200,O,8,1");
    QCOMPARE(ErrorOf([&] { port.setSettings(nulParity); }), vb::errInvalidPropertyValue);
    QCOMPARE(port.Settings(), std::string("115200,O,8,1"));
}

QTEST_GUILESS_MAIN(SettingsTextTest)
#include "tst_settings_text.moc"
