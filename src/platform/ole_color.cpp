#include "platform/ole_color.h"

#include <QWidget>

namespace vb {

QColor FromOleColor(std::uint32_t bgr) {
    return QColor(int(bgr & 0xFF), int((bgr >> 8) & 0xFF), int((bgr >> 16) & 0xFF));
}

void SetBackColor(QWidget* widget, std::uint32_t bgr) {
    QPalette palette = widget->palette();
    palette.setColor(QPalette::Window, FromOleColor(bgr));
    widget->setPalette(palette);
    widget->setAutoFillBackground(true);
    widget->setProperty("BackColor", uint(bgr));
}

void SetForeColor(QWidget* widget, std::uint32_t bgr) {
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, FromOleColor(bgr));
    widget->setPalette(palette);
    widget->setProperty("ForeColor", uint(bgr));
}

} // namespace vb
