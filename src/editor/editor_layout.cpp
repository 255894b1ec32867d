#include "editor/editor_layout.h"

#include "platform/twips.h"

#include <QVariant>
#include <QWidget>

namespace editor {

int TwipsToPixels(int twips) {
    return vb::Twips(twips);
}

void Place(QWidget* widget, int left, int top, int width, int height) {
    widget->setProperty("Left", left);
    widget->setProperty("Top", top);
    widget->setProperty("Width", width);
    widget->setProperty("Height", height);
    widget->setGeometry(TwipsToPixels(left), TwipsToPixels(top), TwipsToPixels(width), TwipsToPixels(height));
}

int Left(const QWidget* widget) {
    return widget->property("Left").toInt();
}
int Top(const QWidget* widget) {
    return widget->property("Top").toInt();
}
int Width(const QWidget* widget) {
    return widget->property("Width").toInt();
}
int Height(const QWidget* widget) {
    return widget->property("Height").toInt();
}

void SetTop(QWidget* widget, int top) {
    Place(widget, Left(widget), top, Width(widget), Height(widget));
}

void SetHeight(QWidget* widget, int height) {
    Place(widget, Left(widget), Top(widget), Width(widget), height);
}

void Move(QWidget* widget, int left, int top) {
    Place(widget, left, top, Width(widget), Height(widget));
}

} // namespace editor
