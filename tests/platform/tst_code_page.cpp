// The one conversion between the program's bytes and window text: Windows-1252 both ways, every byte
// round-tripping, "?" for a character the code page lacks; and file names shown as the file system
// encodes them.
#include "platform/vb_text.h"

#include <QFile>
#include <QTest>
#include <array>
#include <string>

namespace {

// The code page's characters for 0x80-0x9F, written out on their own (the rest of the bytes are the
// characters of the same number).
constexpr std::array<char16_t, 32> kExpectedHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t ExpectedCharacter(int byte) {
    return byte >= 0x80 && byte <= 0x9F ? kExpectedHigh[byte - 0x80] : char16_t(byte);
}

std::string AllBytes() {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += char(byte);
    return all;
}

} // namespace

class tst_code_page : public QObject {
    Q_OBJECT

private slots:
    void everyByteBecomesItsWindows1252Character() {
        const QString text = vb::ToQString(AllBytes());
        QCOMPARE(text.size(), qsizetype(256));
        for (int byte = 0; byte < 256; ++byte)
            QVERIFY2(text.at(byte).unicode() == ExpectedCharacter(byte),
                     qPrintable(QString("byte %1 gave U+%2").arg(byte).arg(text.at(byte).unicode(), 4, 16)));
    }

    void everyCharacterOfTheCodePageBecomesItsByte() {
        QString text;
        for (int byte = 0; byte < 256; ++byte)
            text += QChar(ExpectedCharacter(byte));
        const std::string bytes = vb::FromQString(text);
        QCOMPARE(bytes.size(), std::size_t(256));
        for (int byte = 0; byte < 256; ++byte)
            QVERIFY2(static_cast<unsigned char>(bytes[byte]) == byte,
                     qPrintable(QString("byte %1").arg(byte)));
    }

    void everyByteRoundTrips() { QCOMPARE(vb::FromQString(vb::ToQString(AllBytes())), AllBytes()); }

    void namedCharacters_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("euro") << QString::fromUtf8("€") << QByteArray("\x80");
        QTest::newRow("curly single quotes") << QString::fromUtf8("‘’") << QByteArray("\x91\x92");
        QTest::newRow("curly double quotes") << QString::fromUtf8("“”") << QByteArray("\x93\x94");
        QTest::newRow("en and em dash") << QString::fromUtf8("–—") << QByteArray("\x96\x97");
        QTest::newRow("ellipsis, trade mark") << QString::fromUtf8("…™") << QByteArray("\x85\x99");
        QTest::newRow("S, Z and Y with marks")
            << QString::fromUtf8("ŠŽŸšž") << QByteArray("\x8A\x8E\x9F\x9A\x9E");
        QTest::newRow("Latin-1 letters and no-break space")
            << QString::fromUtf8("üé") + QChar(0xA0) + QString::fromUtf8("ÿ")
            << QByteArray("\xFC\xE9\xA0\xFF");
        QTest::newRow("the five undefined bytes")
            << QString(QChar(0x81)) + QChar(0x8D) + QChar(0x8F) + QChar(0x90) + QChar(0x9D)
            << QByteArray("\x81\x8D\x8F\x90\x9D");
        QTest::newRow("a name as typed") << QString::fromUtf8("O’Brien – €5")
                                         << QByteArray("O\x92"
                                                       "Brien \x96 \x80"
                                                       "5");
    }
    void namedCharacters() {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QCOMPARE(vb::FromQString(text), bytes.toStdString());
        QCOMPARE(vb::ToQString(bytes.toStdString()), text);
    }

    void charactersOutsideTheCodePageBecomeQuestionMarks_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        // U+0080 and U+009F have no byte: 0x80 is the euro sign, 0x9F is Y with diaeresis.
        QTest::newRow("C1 controls the code page replaced")
            << QString("a") + QChar(0x80) + QChar(0x9F) + "b" << QByteArray("a??b");
        QTest::newRow("Latin Extended-A") << QString::fromUtf8("Ā ő") << QByteArray("? ?");
        QTest::newRow("Greek and CJK") << QString::fromUtf8("Ω中") << QByteArray("??");
        QTest::newRow("a character beyond 16 bits is one")
            << QString::fromUtf8("x\U0001F600y") << QByteArray("x?y");
        QTest::newRow("empty") << QString() << QByteArray();
    }
    void charactersOutsideTheCodePageBecomeQuestionMarks() {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QCOMPARE(vb::FromQString(text), bytes.toStdString());
    }

    void fileNamesAreDecodedAsTheFileSystemEncodesThem() {
        const QString name = QString::fromUtf8("/tmp/Mü€.txt");
        const std::string bytes = QFile::encodeName(name).toStdString();
        QCOMPARE(vb::FileNameText(bytes), name);
        // The code page would show the same bytes as other characters.
        QVERIFY(vb::ToQString(bytes) != name);
    }
};

QTEST_APPLESS_MAIN(tst_code_page)
#include "tst_code_page.moc"
