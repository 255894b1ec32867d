#include "editor/memo_box.h"

#include "platform/vb_text.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextCursor>

namespace editor {

namespace {

// Length of a piece of box text where every line break stands for CR LF.
int ClassicLength(const QString& text) {
    return int(text.size() + text.count(QChar::ParagraphSeparator) + text.count(QChar::LineSeparator) +
               text.count('\n'));
}

// A CR or LF that is not part of a CR LF pair is text, not a line break: the box shows it as its
// control picture and hands it back as the byte it was.
constexpr char16_t kLoneLf = u'\u2424';
constexpr char16_t kLoneCr = u'\u240D';

} // namespace

MemoBox::MemoBox(QWidget* parent) : QPlainTextEdit(parent) {
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    // Tab moves to the next box, as in the other entry boxes.
    setTabChangesFocus(true);
}

// The box's raw text: toPlainText() would turn a no-break space into a plain space. Lines are separated
// by paragraph separators in it.
QString MemoBox::RawText() const {
    return document()->toRawText();
}

std::string MemoBox::Text() const {
    const QString shown = RawText();
    std::string text;
    text.reserve(std::size_t(shown.size()));
    for (QChar character : shown) {
        if (character == QChar::ParagraphSeparator || character == QChar::LineSeparator || character == '\n')
            text += "\r\n";
        else if (character == kLoneLf)
            text += '\n';
        else if (character == kLoneCr)
            text += '\r';
        else
            text += vb::FromQString(QString(character));
    }
    return text;
}

void MemoBox::SetText(const std::string& text) {
    QString shown;
    shown.reserve(qsizetype(text.size()));
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            shown += '\n';
            ++i;
        } else if (text[i] == '\n') {
            shown += QChar(kLoneLf);
        } else if (text[i] == '\r') {
            shown += QChar(kLoneCr);
        } else {
            shown += vb::ToQString(text.substr(i, 1));
        }
    }
    setPlainText(shown);
}

int MemoBox::TextLength() const {
    return ClassicLength(RawText());
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
