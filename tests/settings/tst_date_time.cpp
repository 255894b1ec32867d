// "Set &Date/Time": the date and time text from five clock readings, and the command against an emulated
// tablet found by the search.
#include "platform/clock.h"
#include "settings/date_time_text.h"
#include "support/device_command_run.h"
#include "support/program.h"

#include <QPushButton>
#include <QTest>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

QDateTime At(int year, int month, int day, int hour, int minute, int second = 0, int ms = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second, ms));
}

// A clock that always reads `moment`.
void StopClockAt(const QDateTime& moment) {
    vb::SetClock([moment] { return moment; });
}

} // namespace

class DateTimeTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void textFromTheClock_data();
    void textFromTheClock();
    void fourDigitYearsKeepTheirLastTwo_data();
    void fourDigitYearsKeepTheirLastTwo();
    void eachFieldIsAReadingOfItsOwnInOrder();
    void stampAtTheTurnOfTheYearMixesTwoMoments();
    void setsTheTabletsClock();
    void clockIsReadOnlyAfterTheCommandBytesEcho();
    void textEchoInPiecesIsGatheredByAllPolls();
    void silentTabletGivesTheConnectionMessageAt500();
};

void DateTimeTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void DateTimeTest::cleanup() {
    vb::SetClock({});
}

void DateTimeTest::textFromTheClock_data() {
    QTest::addColumn<QDateTime>("moment");
    QTest::addColumn<QString>("text");
    QTest::newRow("morning") << At(2012, 2, 15, 9, 5) << "2/15/12/9:5";
    QTest::newRow("evening") << At(2026, 11, 3, 18, 15) << "11/3/26/18:15";
    QTest::newRow("midnight") << At(2026, 11, 3, 0, 0) << "11/3/26/0:0";
    QTest::newRow("seconds are not sent") << At(2026, 6, 7, 8, 9, 59, 999) << "6/7/26/8:9";
    QTest::newRow("longest") << At(1999, 12, 31, 23, 59) << "12/31/99/23:59";
}

void DateTimeTest::textFromTheClock() {
    QFETCH(QDateTime, moment);
    QFETCH(QString, text);
    StopClockAt(moment);
    const std::string stamp = settings::DateTimeText();
    QCOMPARE(QString::fromStdString(stamp), text);
    QVERIFY(stamp.size() <= 14);
}

void DateTimeTest::fourDigitYearsKeepTheirLastTwo_data() {
    QTest::addColumn<int>("year");
    QTest::addColumn<QString>("text");
    QTest::newRow("2012") << 2012 << "12";
    QTest::newRow("2005") << 2005 << "05";
    QTest::newRow("2000") << 2000 << "00";
    QTest::newRow("three digits") << 999 << "999";
    QTest::newRow("five digits") << 10000 << "10000";
}

void DateTimeTest::fourDigitYearsKeepTheirLastTwo() {
    QFETCH(int, year);
    QFETCH(QString, text);
    QCOMPARE(QString::fromStdString(settings::YearText(year)), text);
}

void DateTimeTest::eachFieldIsAReadingOfItsOwnInOrder() {
    // Reading k of the clock shows k in every field (year 201k): each field shows the number of the
    // reading it came from.
    int reading = 0;
    vb::SetClock([&reading] {
        ++reading;
        return At(2010 + reading, reading, reading, reading, reading);
    });
    QCOMPARE(QString::fromStdString(settings::DateTimeText()), QString("2/3/11/4:5"));
    QCOMPARE(reading, 5);
}

void DateTimeTest::stampAtTheTurnOfTheYearMixesTwoMoments() {
    // The year is read at 23:59:59.9 on 31 December, the other fields a moment later.
    int reading = 0;
    vb::SetClock(
        [&reading] { return ++reading == 1 ? At(2026, 12, 31, 23, 59, 59, 900) : At(2027, 1, 1, 0, 0); });
    QCOMPARE(QString::fromStdString(settings::DateTimeText()), QString("1/1/26/0:0"));
}

void DateTimeTest::setsTheTabletsClock() {
    DeviceCommandRun session;
    QVERIFY(session.found);
    StopClockAt(At(2026, 11, 3, 18, 15));
    session.answerer.pressInBox(QMessageBox::Ok);
    session.console->cmdDateTime->click();
    QCOMPARE(session.answerer.boxes, QList<SeenBox>{UpdateBox("Time/Date successfully updated")});
    QCOMPARE(session.tablet->received(), std::string("\x05\x14"
                                                     "11/3/26/18:15\r"));
    QCOMPARE(session.tablet->state().clock, std::string("11/3/26/18:15"));
    QVERIFY(!session.console->MSComm1.PortOpen());
    QVERIFY(session.answerer.unexpected.isEmpty());
}

void DateTimeTest::clockIsReadOnlyAfterTheCommandBytesEcho() {
    DeviceCommandRun session;
    QVERIFY(session.found);
    QStringList seenByTheTablet;
    sim::Tablet* tablet = session.tablet.get();
    vb::SetClock([&seenByTheTablet, tablet] {
        seenByTheTablet << QString::fromLatin1(QByteArray::fromStdString(tablet->received()).toHex());
        return At(2026, 1, 2, 3, 4);
    });
    session.answerer.pressInBox(QMessageBox::Ok);
    session.console->cmdDateTime->click();
    QCOMPARE(seenByTheTablet, QStringList(5, "0514"));
    QCOMPARE(session.tablet->received(), std::string("\x05\x14"
                                                     "1/2/26/3:4\r"));
}

void DateTimeTest::textEchoInPiecesIsGatheredByAllPolls() {
    DeviceCommandRun session;
    QVERIFY(session.found);
    StopClockAt(At(2026, 11, 3, 18, 15));
    session.tablet->setFaults({.splitGap = 300ms, .splitOnly = "\r"});
    session.answerer.pressInBox(QMessageBox::Ok);
    session.console->cmdDateTime->click();
    QCOMPARE(session.answerer.boxes, QList<SeenBox>{UpdateBox("Time/Date successfully updated")});
}

void DateTimeTest::silentTabletGivesTheConnectionMessageAt500() {
    DeviceCommandRun session;
    QVERIFY(session.found);
    session.tablet->setFaults({.noEcho = "\x14"});
    session.answerer.pressInBox(QMessageBox::Ok);
    session.console->cmdDateTime->click();
    QCOMPARE(session.answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(session.ticksAtBoxes(), QList<int>{500});
    QCOMPARE(session.tablet->received(), std::string("\x05\x14"));
    QVERIFY(!session.console->MSComm1.PortOpen());
}

VELMORA_PROGRAM_TEST_MAIN(DateTimeTest)
#include "tst_date_time.moc"
