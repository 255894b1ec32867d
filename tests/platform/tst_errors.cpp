// Numbered run-time errors: each number the program's handlers dispatch on, with its standard text.
#include "platform/errors.h"
#include "support/error_of.h"

#include <QtTest>

using testing_support::ErrorOf;

class ErrorsTest : public QObject {
    Q_OBJECT
private slots:
    void standardDescriptions_data();
    void standardDescriptions();
    void raiseCarriesNumberAndDescription();
    void raiseWithADescriptionOfItsOwn();
    void anUnknownNumberIsApplicationDefined();
};

void ErrorsTest::standardDescriptions_data() {
    QTest::addColumn<qint64>("number");
    QTest::addColumn<QString>("description");
    QTest::newRow("5") << qint64(5) << "Invalid procedure call or argument";
    QTest::newRow("6") << qint64(6) << "Overflow";
    QTest::newRow("9") << qint64(9) << "Subscript out of range";
    QTest::newRow("13") << qint64(13) << "Type mismatch";
    QTest::newRow("53") << qint64(53) << "File not found";
    QTest::newRow("62") << qint64(62) << "Input past end of file";
    QTest::newRow("380") << qint64(380) << "Invalid property value";
    QTest::newRow("8002") << qint64(8002) << "Invalid Port Number";
    QTest::newRow("8005") << qint64(8005) << "Port already open";
    QTest::newRow("32755") << qint64(32755) << "Cancel was selected.";
    QTest::newRow("0x80010108") << qint64(0x80010108)
                                << "The object invoked has disconnected from its clients.";
}

void ErrorsTest::standardDescriptions() {
    QFETCH(qint64, number);
    QFETCH(QString, description);
    QCOMPARE(QString::fromStdString(vb::DefaultDescription(number)), description);
    const vb::Error error(number);
    QCOMPARE(qint64(error.number), number);
    QCOMPARE(QString::fromStdString(error.description), description);
    QCOMPARE(QString(error.what()), description);
}

void ErrorsTest::raiseCarriesNumberAndDescription() {
    try {
        vb::Raise(vb::errTypeMismatch);
        QFAIL("Raise returned");
    } catch (const vb::Error& error) {
        QCOMPARE(error.number, std::int64_t(13));
        QCOMPARE(error.description, std::string("Type mismatch"));
    }
    // Positive even where a 32-bit signed number would be negative.
    QCOMPARE(ErrorOf([] { vb::Raise(vb::errObjectDisconnected); }), std::int64_t(2147549448));
}

void ErrorsTest::raiseWithADescriptionOfItsOwn() {
    try {
        vb::Raise(vb::errInvalidPortNumber, "Invalid Port Number: no permission to open /dev/ttyUSB0");
        QFAIL("Raise returned");
    } catch (const vb::Error& error) {
        QCOMPARE(error.number, std::int64_t(8002));
        QCOMPARE(error.description, std::string("Invalid Port Number: no permission to open /dev/ttyUSB0"));
    }
}

void ErrorsTest::anUnknownNumberIsApplicationDefined() {
    QCOMPARE(vb::DefaultDescription(1234), std::string("Application-defined or object-defined error"));
}

QTEST_GUILESS_MAIN(ErrorsTest)
#include "tst_errors.moc"
