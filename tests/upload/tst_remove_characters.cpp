// RemoveCharacters keeps letters, digits, ".", space, CR and LF, and removes runs of anything else whole.
#include "upload/remove_characters.h"

#include <QTest>

class RemoveCharactersTest : public QObject {
    Q_OBJECT
private slots:
    void keepsWhatItAllows();
    void removesRunsWhole();
    void removesEverythingElse();
    void emptyStaysEmpty();
};

void RemoveCharactersTest::keepsWhatItAllows() {
    const std::string allowed = "abcxyzABCXYZ0129. \r\n";
    QCOMPARE(upload::RemoveCharacters(allowed), allowed);
}

void RemoveCharactersTest::removesRunsWhole() {
    QCOMPARE(upload::RemoveCharacters("a,,,b--c!"), std::string("abc"));
    QCOMPARE(upload::RemoveCharacters("###start"), std::string("start"));
    QCOMPARE(upload::RemoveCharacters("end???"), std::string("end"));
}

void RemoveCharactersTest::removesEverythingElse() {
    std::string removed;
    for (int byte = 0; byte < 256; ++byte) {
        const char c = char(byte);
        const bool kept = std::isalnum(byte) && byte < 128;
        if (!kept && c != '.' && c != ' ' && c != '\r' && c != '\n') removed += c;
    }
    QCOMPARE(upload::RemoveCharacters(removed), std::string());
    QCOMPARE(upload::RemoveCharacters("x" + removed + "y"), std::string("xy"));
}

void RemoveCharactersTest::emptyStaysEmpty() {
    QCOMPARE(upload::RemoveCharacters(""), std::string());
}

QTEST_APPLESS_MAIN(RemoveCharactersTest)
#include "tst_remove_characters.moc"
