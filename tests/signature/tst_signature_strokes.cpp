// The signature stroke format: what the encoder writes, what the decoder makes of any bytes, and how the
// signature display holds and draws them.
#include "platform/signature_display.h"
#include "signature/strokes.h"

#include <QApplication>
#include <QImage>
#include <QTest>
#include <random>

using signature::Point;
using signature::Stroke;

class SignatureStrokesTest : public QObject {
    Q_OBJECT
private slots:
    void strokesWithShortMovesComeBackExactly();
    void longMovesAreSplitAndEndOnTheTarget();
    void pointsOffTheGridAreClamped();
    void encodedBytesNeverHoldCrLfOrQuote();
    void encodedSignaturesUseZeroAndHighBytes();
    void absolutePointCutShortIsSkipped();
    void moveWithThePenUpStartsWhereThePenIs();
    void moveCutShortAtTheEndIsDropped();
    void bytesThatStartNoTokenAreSkipped();
    void anyBytesDecodeWithinBounds();
    void displayHoldsTheBytesInOrder();
    void displayDrawsFittedInkOnlyWhenActive();
    void fitModeKeepsTheAspectRatio();
};

namespace {

std::string Bytes(std::initializer_list<int> codes) {
    std::string out;
    for (int code : codes)
        out += static_cast<char>(code);
    return out;
}

// Ink pixels of the display rendered at its size: their bounding box, or an empty rect.
QRect InkBox(vb::SignatureDisplay& display) {
    const QImage image = display.grab().toImage();
    QRect box;
    for (int y = 1; y < image.height() - 1; ++y)
        for (int x = 1; x < image.width() - 1; ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.blue() > c.red() + 40) box = box.united(QRect(x, y, 1, 1));
        }
    return box;
}

void Append(vb::SignatureDisplay& display, const std::string& bytes) {
    for (unsigned char byte : bytes)
        QVERIFY(QMetaObject::invokeMethod(&display, "AppendSignatureByte", Q_ARG(short, short(byte))));
}

} // namespace

void SignatureStrokesTest::strokesWithShortMovesComeBackExactly() {
    const std::vector<Stroke> strokes = {
        {{100, 200}, {130, 180}, {193, 243}, {150, 190}}, {{4095, 4095}}, {{0, 0}, {63, 63}, {0, 0}}};
    QCOMPARE(signature::Decode(signature::Encode(strokes)), strokes);
}

void SignatureStrokesTest::longMovesAreSplitAndEndOnTheTarget() {
    const std::vector<Stroke> decoded = signature::Decode(signature::Encode({{{0, 2000}, {4095, 0}}}));
    QCOMPARE(decoded.size(), std::size_t(1));
    const Stroke& stroke = decoded.front();
    QCOMPARE(stroke.front(), (Point{0, 2000}));
    QCOMPARE(stroke.back(), (Point{4095, 0}));
    QCOMPARE(stroke.size(), std::size_t(1 + (4095 + 62) / 63));
    for (std::size_t k = 1; k < stroke.size(); ++k) {
        QVERIFY(std::abs(stroke[k].x - stroke[k - 1].x) <= 63);
        QVERIFY(std::abs(stroke[k].y - stroke[k - 1].y) <= 63);
        // Every point stays on the straight line from start to end (within rounding).
        const double onLine = 2000.0 - 2000.0 * stroke[k].x / 4095.0;
        QVERIFY2(std::abs(stroke[k].y - onLine) <= 1.0, qPrintable(QString::number(k)));
    }
}

void SignatureStrokesTest::pointsOffTheGridAreClamped() {
    const auto decoded = signature::Decode(signature::Encode({{{-50, 5000}, {5000, -7}}}));
    QCOMPARE(decoded.front().front(), (Point{0, 4095}));
    QCOMPARE(decoded.front().back(), (Point{4095, 0}));
}

void SignatureStrokesTest::encodedBytesNeverHoldCrLfOrQuote() {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::vector<Stroke> strokes(1 + random() % 4);
        for (Stroke& stroke : strokes)
            for (unsigned k = random() % 50; k > 0; --k)
                stroke.push_back({int(random() % 5000) - 400, int(random() % 5000) - 400});
        const std::string bytes = signature::Encode(strokes);
        QVERIFY(bytes.find('\r') == std::string::npos);
        QVERIFY(bytes.find('\n') == std::string::npos);
        QVERIFY(bytes.find('"') == std::string::npos);
    }
}

void SignatureStrokesTest::encodedSignaturesUseZeroAndHighBytes() {
    const std::string bytes = signature::Encode({{{10, 10}, {20, 30}, {5, 2}}});
    QCOMPARE(bytes.front(), signature::kPenDown);
    QCOMPARE(bytes.back(), signature::kPenUp);
    QCOMPARE(bytes, Bytes({0x01, 0x40, 0x4A, 0x40, 0x4A, 0x80 | (10 + 64), 20 + 128, 0x80 | (-15 + 64),
                           -28 + 128, 0x00}));
}

void SignatureStrokesTest::absolutePointCutShortIsSkipped() {
    // 0x01 followed by three digit bytes and a move: the 0x01 is skipped alone; the digit bytes start no
    // token, and the move draws from 0,0.
    const auto decoded = signature::Decode(Bytes({0x01, 0x41, 0x42, 0x43, 0x80 | 70, 128 + 3}));
    QCOMPARE(decoded, (std::vector<Stroke>{{{0, 0}, {6, 3}}}));
    // A pen down whose fourth digit byte is not a digit byte.
    QCOMPARE(signature::Decode(Bytes({0x01, 0x40, 0x41, 0x40, 0x0D})), std::vector<Stroke>{});
}

void SignatureStrokesTest::moveWithThePenUpStartsWhereThePenIs() {
    const auto decoded = signature::Decode(Bytes({0x01, 0x40, 0x45, 0x40, 0x46, 0x00, 0x80 | 65, 129}));
    QCOMPARE(decoded, (std::vector<Stroke>{{{5, 6}}, {{5, 6}, {6, 7}}}));
}

void SignatureStrokesTest::moveCutShortAtTheEndIsDropped() {
    const auto decoded = signature::Decode(Bytes({0x01, 0x40, 0x45, 0x40, 0x46, 0x80 | 65}));
    QCOMPARE(decoded, (std::vector<Stroke>{{{5, 6}}}));
}

void SignatureStrokesTest::bytesThatStartNoTokenAreSkipped() {
    const auto decoded =
        signature::Decode(Bytes({0x0D, 0x22, 0x3F, 0x7F, 0x01, 0x40, 0x41, 0x40, 0x42, 0x0A}));
    QCOMPARE(decoded, (std::vector<Stroke>{{{1, 2}}}));
}

void SignatureStrokesTest::anyBytesDecodeWithinBounds() {
    std::mt19937 random(11);
    std::string bytes(200000, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(0x80 | (random() & 1 ? 0x7F : 0x00)); // the largest moves, over and over
    std::size_t points = 0;
    for (const Stroke& stroke : signature::Decode(bytes))
        for (const Point& p : stroke) {
            ++points;
            QVERIFY(std::abs(p.x) <= (1 << 20) && std::abs(p.y) <= (1 << 20));
        }
    QCOMPARE(points, std::size_t(100000 + 1));
    for (int code = 0; code < 256; ++code)
        signature::Decode(std::string(3, static_cast<char>(code)));
}

void SignatureStrokesTest::displayHoldsTheBytesInOrder() {
    vb::SignatureDisplay display;
    QCOMPARE(display.property("SignatureSize").toInt(), 0);
    std::string all;
    for (int code = 0; code < 256; ++code)
        all += static_cast<char>(code);
    Append(display, all);
    QCOMPARE(display.property("SignatureSize").toInt(), 256);
    QCOMPARE(display.property("SignatureData").toByteArray(), QByteArray(all.data(), 256));
    QVERIFY(QMetaObject::invokeMethod(&display, "ClearSignature"));
    QCOMPARE(display.property("SignatureSize").toInt(), 0);
    QCOMPARE(display.property("SignatureData").toByteArray(), QByteArray());
    QVERIFY(display.setProperty("DisplayMode", 5));
    QCOMPARE(display.property("DisplayMode").toInt(), 5);
    QVERIFY(display.setProperty("DisplayActive", true));
    QCOMPARE(display.property("DisplayActive").toBool(), true);
}

void SignatureStrokesTest::displayDrawsFittedInkOnlyWhenActive() {
    vb::SignatureDisplay display;
    display.resize(300, 120);
    Append(display, signature::Encode({{{1000, 1000}, {1040, 1010}, {1080, 1000}}}));
    display.setProperty("DisplayMode", 5);
    QVERIFY(InkBox(display).isEmpty());
    display.setProperty("DisplayActive", true);
    const QRect ink = InkBox(display);
    // Fitted: a stroke 80 grid units wide fills the width between the margins.
    QVERIFY2(ink.width() > 270, qPrintable(QString::number(ink.width())));
    display.setProperty("DisplayMode", 0); // the whole grid: the same stroke is a speck
    QVERIFY(InkBox(display).width() < 20);
}

void SignatureStrokesTest::fitModeKeepsTheAspectRatio() {
    vb::SignatureDisplay display;
    display.resize(200, 200);
    display.setProperty("DisplayActive", true);
    display.setProperty("DisplayMode", 5);
    // A 4 : 1 box drawn as its outline.
    Append(display, signature::Encode({{{0, 0}, {400, 0}, {400, 100}, {0, 100}, {0, 0}}}));
    const QRect ink = InkBox(display);
    QVERIFY(ink.width() > 180);
    QVERIFY2(std::abs(ink.height() - ink.width() / 4) <= 4,
             qPrintable(QString("%1 x %2").arg(ink.width()).arg(ink.height())));
    QVERIFY(std::abs(ink.center().y() - 100) <= 2); // centred
}

QTEST_MAIN(SignatureStrokesTest)
#include "tst_signature_strokes.moc"
