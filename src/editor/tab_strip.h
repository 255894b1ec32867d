// The tab strip of the editor's field pages: a row of tabs over a framed client area. The pages are not
// children of the strip; they are placed over its client area and shown or hidden by the window's tab
// click handler, so the strip only draws the tabs and the frame around the pages.
#pragma once

#include <QTabBar>

namespace editor {

class TabStrip : public QTabBar {
    Q_OBJECT
public:
    explicit TabStrip(QWidget* parent = nullptr);

    // The client area (below the tabs, inside the frame) in twips, relative to the strip's parent.
    int ClientLeft() const;
    int ClientTop() const;
    int ClientWidth() const;
    int ClientHeight() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int TabRowHeight() const; // pixels
    static constexpr int kFramePixels = 2;
};

} // namespace editor
