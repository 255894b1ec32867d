// Calls `atShow` with each message box at the moment it is shown, before its own event loop runs, so a
// test sees the program's state as it was when the box was decided on (a tick count goes on rising while
// the box waits for its answer).
#pragma once

#include <QApplication>
#include <QEvent>
#include <QMessageBox>
#include <functional>

namespace testing_support {

class ShownBoxSpy : public QObject {
public:
    explicit ShownBoxSpy(std::function<void(QMessageBox*)> atShow) : atShow(std::move(atShow)) {
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show)
            if (auto* box = qobject_cast<QMessageBox*>(watched)) atShow(box);
        return false;
    }

private:
    std::function<void(QMessageBox*)> atShow;
};

} // namespace testing_support
