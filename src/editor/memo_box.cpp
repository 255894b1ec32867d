#include "editor/memo_box.h"

#include "platform/vb_text.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextCursor>

namespace editor {

namespace {

// Length of a piece of box text where every line break stands for CR LF.
int ClassicLength(const QString& text) {
    return int(text.size() + text.count(QChar::ParagraphSeparator) + text.count('\n'));
}

} // namespace

MemoBox::MemoBox(QWidget* parent) : QPlainTextEdit(parent) {
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    // Tab moves to the next box, as in the other entry boxes.
    setTabChangesFocus(true);
}

std::string MemoBox::Text() const {
    QString text = toPlainText();
    text.replace('\n', QStringLiteral("\r\n"));
    return vb::FromQString(text);
}

void MemoBox::SetText(const std::string& text) {
    QString shown = vb::ToQString(text);
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    setPlainText(shown);
}

int MemoBox::TextLength() const {
    return ClassicLength(toPlainText());
}

int MemoBox::Room() const {
    const QString selected = textCursor().selectedText();
    return limit - (TextLength() - ClassicLength(selected));
}

void MemoBox::keyPressEvent(QKeyEvent* event) {
    const QString typed = event->text();
    const bool lineBreak = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool printable = !typed.isEmpty() && typed.at(0).unicode() >= 0x20 && typed.at(0).unicode() != 0x7f;
    if (lineBreak || printable) {
        const int needed = lineBreak ? 2 : int(typed.size());
        if (needed > Room()) {
            event->accept(); // the box is full: the key is refused
            return;
        }
    }
    QPlainTextEdit::keyPressEvent(event);
}

void MemoBox::insertFromMimeData(const QMimeData* source) {
    if (!source || !source->hasText()) return;
    QString text = source->text();
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    // Paste as much as fits, a line break counting two characters.
    int room = Room();
    qsizetype take = 0;
    while (take < text.size()) {
        const int cost = text.at(take) == '\n' ? 2 : 1;
        if (cost > room) break;
        room -= cost;
        ++take;
    }
    if (take > 0) textCursor().insertText(text.left(take));
}

} // namespace editor
