// The multi-line entry box of the "Memo" field: a text box with a vertical scroll bar whose typed text
// is limited to a maximum length, like the single-line boxes.
//
// Its text is seen as the program sees a multi-line box's text: single bytes, each line break a CR LF
// pair (so a break counts two characters against the limit). A CR or LF on its own is not a break but a
// character of the text, shown as its control picture and handed back unchanged, so a record read from a
// file keeps every byte when it is stored again. Text put in by the program is not limited; only typing
// and pasting are.
#pragma once

#include <QPlainTextEdit>
#include <string>

namespace editor {

class MemoBox : public QPlainTextEdit {
    Q_OBJECT
    Q_PROPERTY(int maxLength READ maxLength WRITE setMaxLength)
public:
    explicit MemoBox(QWidget* parent = nullptr);

    int maxLength() const { return limit; }
    void setMaxLength(int length) { limit = length; }

    std::string Text() const;
    void SetText(const std::string& text);
    // Length of Text() (line breaks count two).
    int TextLength() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void insertFromMimeData(const QMimeData* source) override;

private:
    QString RawText() const;
    // Characters that may still be inserted in place of the current selection.
    int Room() const;

    int limit = 32767;
};

} // namespace editor
