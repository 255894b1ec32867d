// A single-line text box whose maximum length limits only what the user enters, as a classic text box's
// does: typed keys, pasted text (keyboard, context menu, middle button), dropped text and text committed
// by an input method are cut to the room left, while text the program puts in with setText is kept whole,
// however long it is. A box already holding more than its maximum takes no more characters but may be
// shortened.
//
// maxLength() / setMaxLength() hide the line edit's own (which would cut the program's text); the property
// "maxLength" is this box's limit.
#pragma once

#include <QLineEdit>

namespace vb {

class TextBox : public QLineEdit {
    Q_OBJECT
    Q_PROPERTY(int maxLength READ maxLength WRITE setMaxLength)
public:
    explicit TextBox(QWidget* parent = nullptr);

    int maxLength() const { return limit; }
    void setMaxLength(int length) { limit = length; }

    // Inserts the text at the cursor in place of the selection, as much of it as fits.
    void InsertLimited(const QString& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    // Characters that may still be entered in place of the current selection (never below 0).
    int Room() const;

    int limit = 32767;
};

} // namespace vb
