#include "platform/window_buttons.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTextEdit>

namespace vb {

namespace {

constexpr const char* kDefaultButton = "velmoraDefaultButton";
constexpr const char* kCancelButton = "velmoraCancelButton";

QAbstractButton* WindowButton(QWidget* focus, const char* role) {
    if (!focus) return nullptr;
    const QVariant named = focus->window()->property(role);
    auto* button = qobject_cast<QAbstractButton*>(named.value<QObject*>());
    return (button && button->isEnabled() && button->isVisible()) ? button : nullptr;
}

bool IsMultiLineBox(QWidget* widget) {
    return qobject_cast<QPlainTextEdit*>(widget) || qobject_cast<QTextEdit*>(widget);
}

class KeyFilter : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) return false;
        auto* focus = qobject_cast<QWidget*>(watched);
        // Each key press reaches the filter once for every widget it is offered to; act on the first,
        // the widget with the focus.
        if (!focus || focus != QApplication::focusWidget()) return false;
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool plain = (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
        if (!plain) return false;
        QAbstractButton* target = nullptr;
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            if (auto* button = qobject_cast<QAbstractButton*>(focus))
                target = button->isEnabled() ? button : nullptr;
            else if (!IsMultiLineBox(focus))
                target = WindowButton(focus, kDefaultButton);
        } else if (key->key() == Qt::Key_Escape) {
            target = WindowButton(focus, kCancelButton);
        }
        if (!target) return false;
        target->click();
        return true;
    }
};

void SetWindowButton(QWidget* window, const char* role, QAbstractButton* button) {
    InstallEnterOnButtons();
    window->setProperty(role, QVariant::fromValue<QObject*>(button));
}

} // namespace

void InstallEnterOnButtons() {
    static QPointer<KeyFilter> filter;
    if (filter || !qApp) return;
    filter = new KeyFilter(qApp);
    qApp->installEventFilter(filter);
}

void SetDefaultButton(QWidget* window, QAbstractButton* button) {
    SetWindowButton(window, kDefaultButton, button);
}

void SetCancelButton(QWidget* window, QAbstractButton* button) {
    SetWindowButton(window, kCancelButton, button);
}

} // namespace vb
