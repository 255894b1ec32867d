#include "platform/signature_display.h"

#include "viewer/signature_drawing.h"

#include <QPainter>

namespace vb {

namespace {

constexpr int kFitMode = 5;

} // namespace

SignatureDisplay::SignatureDisplay(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void SignatureDisplay::setDisplayActive(bool value) {
    active = value;
    update();
}

void SignatureDisplay::setDisplayMode(int value) {
    mode = value;
    update();
}

void SignatureDisplay::ClearSignature() {
    bytes.clear();
    strokes.clear();
    decoded = true;
    update();
}

void SignatureDisplay::AppendSignatureByte(short code) {
    bytes.append(static_cast<char>(code & 0xFF));
    decoded = false;
    update();
}

const std::vector<signature::Stroke>& SignatureDisplay::Strokes() const {
    if (!decoded) {
        strokes = signature::Decode(std::string_view(bytes.constData(), std::size_t(bytes.size())));
        decoded = true;
    }
    return strokes;
}

void SignatureDisplay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    painter.setPen(QColor(0x80, 0x80, 0x80));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    if (!active) return;
    const QRectF area = QRectF(rect()).adjusted(viewer::kSignatureMarginPx, viewer::kSignatureMarginPx,
                                                -viewer::kSignatureMarginPx, -viewer::kSignatureMarginPx);
    viewer::DrawStrokes(painter, Strokes(), area, mode == kFitMode);
}

} // namespace vb
