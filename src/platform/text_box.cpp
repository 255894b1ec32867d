#include "platform/text_box.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <algorithm>
#include <memory>

namespace vb {

namespace {

// The line edit's own limit stays at its widest, so that nothing the program sets is ever cut.
constexpr int kUnlimited = 32767;

bool IsTypedText(const QKeyEvent* event) {
    if (event->modifiers() & (Qt::ControlModifier | Qt::MetaModifier)) return false;
    const QString typed = event->text();
    return !typed.isEmpty() && typed.at(0).unicode() >= 0x20 && typed.at(0).unicode() != 0x7f;
}

} // namespace

TextBox::TextBox(QWidget* parent) : QLineEdit(parent) {
    QLineEdit::setMaxLength(kUnlimited);
}

int TextBox::Room() const {
    return std::max(0, limit - int(text().size() - selectedText().size()));
}

void TextBox::InsertLimited(const QString& text) {
    if (isReadOnly()) return;
    const QString fitting = text.left(Room());
    if (!fitting.isEmpty() || hasSelectedText()) insert(fitting);
}

void TextBox::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Paste)) {
        InsertLimited(QGuiApplication::clipboard()->text());
        event->accept();
        return;
    }
    if (IsTypedText(event) && int(event->text().size()) > Room()) {
        event->accept(); // the box is full: the key is refused
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void TextBox::inputMethodEvent(QInputMethodEvent* event) {
    const QString committed = event->commitString();
    const int room = Room();
    if (committed.size() <= room) {
        QLineEdit::inputMethodEvent(event);
        return;
    }
    QInputMethodEvent cut(event->preeditString(), event->attributes());
    cut.setCommitString(committed.left(room), event->replacementStart(), event->replacementLength());
    QLineEdit::inputMethodEvent(&cut);
    event->setAccepted(cut.isAccepted());
}

void TextBox::mouseReleaseEvent(QMouseEvent* event) {
    // The middle button pastes the selection clipboard where there is one.
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (event->button() == Qt::MiddleButton && clipboard->supportsSelection()) {
        InsertLimited(clipboard->text(QClipboard::Selection));
        event->accept();
        return;
    }
    QLineEdit::mouseReleaseEvent(event);
}

void TextBox::dropEvent(QDropEvent* event) {
    const QMimeData* dropped = event->mimeData();
    if (!dropped || !dropped->hasText() || dropped->text().size() <= Room()) {
        QLineEdit::dropEvent(event);
        return;
    }
    QMimeData cutData;
    cutData.setText(dropped->text().left(Room()));
    QDropEvent cut(event->position(), event->possibleActions(), &cutData, event->buttons(),
                   event->modifiers());
    cut.setDropAction(event->dropAction());
    QLineEdit::dropEvent(&cut);
    event->setDropAction(cut.dropAction());
    event->setAccepted(cut.isAccepted());
}

void TextBox::contextMenuEvent(QContextMenuEvent* event) {
    std::unique_ptr<QMenu> menu(createStandardContextMenu());
    // The menu's Paste goes through the limit too.
    if (auto* paste = menu->findChild<QAction*>(QStringLiteral("edit-paste"))) {
        paste->disconnect(this);
        connect(paste, &QAction::triggered, this,
                [this] { InsertLimited(QGuiApplication::clipboard()->text()); });
    }
    menu->exec(event->globalPos());
}

} // namespace vb
