// Answers the modal windows a test provokes: message boxes, file dialogs and any other modal form.
//
// Answers are queued before the action; a 10 ms timer looks for QApplication::activeModalWidget() and
// gives it the next answer, recording what it saw. A modal window that appears with no answer queued is
// recorded as unexpected and rejected, so a test fails instead of hanging.
#pragma once

#include <QFileDialog>
#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <functional>
#include <queue>

namespace testing_support {

struct SeenBox {
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    bool systemModal = false;

    bool operator==(const SeenBox&) const = default;
};

// How QCOMPARE shows a box that differs: title, text, icon, buttons and modality.
char* toString(const SeenBox& box);

class ModalAnswerer : public QObject {
    Q_OBJECT
public:
    ModalAnswerer();

    // The next message box is answered by pressing `button`.
    void pressInBox(QMessageBox::StandardButton button);
    // The next file dialog selects `path` and is accepted.
    void chooseFile(const QString& path);
    // The next file dialog is cancelled.
    void cancelFileDialog();
    // The next modal window of any kind is handed to `answer`.
    void handle(std::function<void(QWidget*)> answer);

    QList<SeenBox> boxes;    // every message box answered, in order
    QStringList fileDialogs; // window titles of the file dialogs answered
    QStringList unexpected;  // titles of modal windows that had no answer queued
    int pending() const { return int(answers.size()); }

    // Processes events until every queued answer is used or `timeoutMs` passes; true when all were used.
    bool waitUntilAnswered(int timeoutMs = 5000);

private:
    void poll();

    QTimer timer;
    std::queue<std::function<void(QWidget*)>> answers;
    QPointer<QWidget> lastHandled;
};

SeenBox Describe(QMessageBox* box);

// Chooses `path` in a file dialog as a user typing it into the name box would, and accepts. selectFile()
// alone leaves the name box as it was whenever the box has the focus, and accept() reads the box, so a
// dialog answered with selectFile() alone stays open when the window system has focused the box.
void ChooseInDialog(QFileDialog* dialog, const QString& path);

} // namespace testing_support
