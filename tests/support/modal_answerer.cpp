#include "support/modal_answerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QTest>

namespace testing_support {

char* toString(const SeenBox& box) {
    const QString shown = QString("\"%1\" / \"%2\", icon %3, buttons 0x%4%5")
                              .arg(box.title, box.text)
                              .arg(int(box.icon))
                              .arg(int(box.buttons), 0, 16)
                              .arg(box.systemModal ? ", system-modal" : "");
    return qstrdup(shown.toUtf8().constData());
}

SeenBox Describe(QMessageBox* box) {
    SeenBox seen;
    seen.title = box->windowTitle();
    seen.text = box->text();
    seen.icon = box->icon();
    seen.buttons = box->standardButtons();
    seen.systemModal = box->property("systemModal").toBool();
    return seen;
}

void ChooseInDialog(QFileDialog* dialog, const QString& path) {
    dialog->selectFile(path);
    if (auto* name = dialog->findChild<QLineEdit*>("fileNameEdit")) name->setText(path);
    static_cast<QDialog*>(dialog)->accept();
}

namespace {

// Sends a modal window away unanswered. A Yes/No box refuses to be closed, so dialogs are rejected.
void Dismiss(QWidget* modal) {
    if (auto* dialog = qobject_cast<QDialog*>(modal))
        dialog->reject();
    else
        modal->close();
}

} // namespace

ModalAnswerer::ModalAnswerer() {
    timer.setInterval(10);
    connect(&timer, &QTimer::timeout, this, &ModalAnswerer::poll);
    timer.start();
}

void ModalAnswerer::pressInBox(QMessageBox::StandardButton button) {
    handle([this, button](QWidget* widget) {
        auto* box = qobject_cast<QMessageBox*>(widget);
        if (!box) {
            unexpected << widget->windowTitle();
            Dismiss(widget);
            return;
        }
        boxes << Describe(box);
        QAbstractButton* pressed = box->button(button);
        if (pressed)
            pressed->click();
        else {
            unexpected << box->windowTitle() + " (no such button)";
            Dismiss(box);
        }
    });
}

void ModalAnswerer::chooseFile(const QString& path) {
    handle([this, path](QWidget* widget) {
        auto* dialog = qobject_cast<QFileDialog*>(widget);
        if (!dialog) {
            unexpected << widget->windowTitle();
            Dismiss(widget);
            return;
        }
        fileDialogs << dialog->windowTitle();
        ChooseInDialog(dialog, path);
    });
}

void ModalAnswerer::cancelFileDialog() {
    handle([this](QWidget* widget) {
        fileDialogs << widget->windowTitle();
        Dismiss(widget);
    });
}

void ModalAnswerer::handle(std::function<void(QWidget*)> answer) {
    answers.push(std::move(answer));
}

void ModalAnswerer::poll() {
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal || modal == lastHandled || !modal->isVisible()) return;
    lastHandled = modal;
    if (answers.empty()) {
        unexpected << modal->windowTitle();
        Dismiss(modal);
        return;
    }
    auto answer = std::move(answers.front());
    answers.pop();
    answer(modal);
}

bool ModalAnswerer::waitUntilAnswered(int timeoutMs) {
    QElapsedTimer clock;
    clock.start();
    while (!answers.empty() && clock.elapsed() < timeoutMs)
        QTest::qWait(10);
    return answers.empty();
}

} // namespace testing_support
