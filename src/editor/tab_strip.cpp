#include "editor/tab_strip.h"

#include "editor/editor_layout.h"

#include <QStyleOptionTabWidgetFrame>
#include <QStylePainter>

namespace editor {

TabStrip::TabStrip(QWidget* parent) : QTabBar(parent) {
    setExpanding(false);
    setDrawBase(false);
    setUsesScrollButtons(false);
}

int TabStrip::TabRowHeight() const {
    // The row is as tall as a tab, whether or not tabs exist yet.
    return count() > 0 ? tabRect(0).height() : tabSizeHint(-1).height();
}

int TabStrip::ClientLeft() const {
    return Left(this) + kFramePixels * kTwipsPerPixel;
}

int TabStrip::ClientTop() const {
    return Top(this) + (TabRowHeight() + kFramePixels) * kTwipsPerPixel;
}

int TabStrip::ClientWidth() const {
    return Width(this) - 2 * kFramePixels * kTwipsPerPixel;
}

int TabStrip::ClientHeight() const {
    return Height(this) - (TabRowHeight() + 2 * kFramePixels) * kTwipsPerPixel;
}

void TabStrip::paintEvent(QPaintEvent* event) {
    {
        QStylePainter painter(this);
        QStyleOptionTabWidgetFrame frame;
        frame.initFrom(this);
        const int row = TabRowHeight();
        frame.rect = QRect(0, row - 1, width(), height() - row + 1);
        frame.lineWidth = kFramePixels;
        frame.shape = shape();
        frame.tabBarSize = QSize(count() > 0 ? tabRect(count() - 1).right() + 1 : 0, row);
        frame.tabBarRect = QRect(0, 0, frame.tabBarSize.width(), row);
        frame.selectedTabRect = currentIndex() >= 0 ? tabRect(currentIndex()) : QRect();
        painter.drawPrimitive(QStyle::PE_FrameTabWidget, frame);
    }
    QTabBar::paintEvent(event);
}

} // namespace editor
