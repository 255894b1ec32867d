// The single-line text box: its maximum limits what the user types, pastes or commits through an input
// method, never the text the program puts in.
#include "platform/text_box.h"

#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>
#include <QTest>
#include <memory>

class tst_text_box : public QObject {
    Q_OBJECT

    std::unique_ptr<vb::TextBox> box;

    void TypeAtEnd(const QString& text) {
        box->end(false);
        QTest::keyClicks(box.get(), text);
    }

private slots:
    void init() {
        box = std::make_unique<vb::TextBox>();
        box->setMaxLength(9);
        box->show();
        QVERIFY(QTest::qWaitForWindowExposed(box.get()));
    }
    void cleanup() { box.reset(); }

    void theMaximumIsTheBoxProperty() {
        QCOMPARE(box->maxLength(), 9);
        QCOMPARE(box->property("maxLength").toInt(), 9);
    }

    void textSetByTheProgramIsKeptWhole() {
        box->setText("12345-6789");
        QCOMPARE(box->text(), QString("12345-6789"));
        box->setMaxLength(2);
        QCOMPARE(box->text(), QString("12345-6789"));
    }

    void typingStopsAtTheMaximum() {
        TypeAtEnd("123456789AB");
        QCOMPARE(box->text(), QString("123456789"));
    }

    void aBoxHoldingMoreTakesNoMoreKeysButCanBeShortened() {
        box->setText("12345-6789");
        TypeAtEnd("0");
        QCOMPARE(box->text(), QString("12345-6789"));
        QTest::keyClick(box.get(), Qt::Key_Backspace);
        QCOMPARE(box->text(), QString("12345-678"));
        TypeAtEnd("x");
        QCOMPARE(box->text(), QString("12345-678"));
    }

    void typingOverASelectionUsesItsRoom() {
        TypeAtEnd("123456789");
        box->setSelection(0, 3);
        QTest::keyClicks(box.get(), "ab");
        QCOMPARE(box->text(), QString("ab456789"));
    }

    void pasteFromTheKeyboardIsCutToTheRoomLeft() {
        QApplication::clipboard()->setText("ABCDEFGHIJKL");
        TypeAtEnd("123");
        QTest::keySequence(box.get(), QKeySequence::Paste);
        QCOMPARE(box->text(), QString("123ABCDEF"));
    }

    void inputMethodCommitIsCutToTheRoomLeft() {
        TypeAtEnd("1234567");
        QInputMethodEvent composed;
        composed.setCommitString(QString::fromUtf8("éüß"));
        QApplication::sendEvent(box.get(), &composed);
        QCOMPARE(box->text(), QString::fromUtf8("1234567éü"));
    }

    void inputMethodCommitWithinTheRoomIsTakenWhole() {
        QInputMethodEvent composed;
        composed.setCommitString(QString::fromUtf8("é"));
        QApplication::sendEvent(box.get(), &composed);
        QCOMPARE(box->text(), QString::fromUtf8("é"));
    }
};

QTEST_MAIN(tst_text_box)
#include "tst_text_box.moc"
