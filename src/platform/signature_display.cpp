#include "platform/signature_display.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <limits>

namespace vb {

namespace {

constexpr int kFitMode = 5;
constexpr int kMarginPx = 6;
const QColor kInk(0x10, 0x20, 0x60);

struct Bounds {
    int left = std::numeric_limits<int>::max();
    int top = std::numeric_limits<int>::max();
    int right = std::numeric_limits<int>::min();
    int bottom = std::numeric_limits<int>::min();
    bool empty() const { return left > right; }
};

Bounds BoundsOf(const std::vector<signature::Stroke>& strokes) {
    Bounds b;
    for (const signature::Stroke& stroke : strokes)
        for (const signature::Point& p : stroke) {
            b.left = std::min(b.left, p.x);
            b.right = std::max(b.right, p.x);
            b.top = std::min(b.top, p.y);
            b.bottom = std::max(b.bottom, p.y);
        }
    return b;
}

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
    const std::vector<signature::Stroke>& drawn = Strokes();
    Bounds box = BoundsOf(drawn);
    if (box.empty()) return;
    if (mode != kFitMode) box = Bounds{0, 0, signature::kGridSize - 1, signature::kGridSize - 1};

    // Fit the box into the control keeping its aspect ratio; a box of one point or one line still has a
    // size, so a dot or a straight stroke is drawn at a sensible scale.
    const QRectF area = QRectF(rect()).adjusted(kMarginPx, kMarginPx, -kMarginPx, -kMarginPx);
    const double width = std::max(box.right - box.left, 1);
    const double height = std::max(box.bottom - box.top, 1);
    const double scale = std::min(area.width() / width, area.height() / height);
    const double offsetX = area.left() + (area.width() - width * scale) / 2;
    const double offsetY = area.top() + (area.height() - height * scale) / 2;
    auto place = [&](const signature::Point& p) {
        return QPointF(offsetX + (p.x - box.left) * scale, offsetY + (p.y - box.top) * scale);
    };

    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(kInk, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    for (const signature::Stroke& stroke : drawn) {
        if (stroke.size() == 1) {
            painter.drawPoint(place(stroke.front()));
            continue;
        }
        QPainterPath path(place(stroke.front()));
        for (std::size_t k = 1; k < stroke.size(); ++k)
            path.lineTo(place(stroke[k]));
        painter.drawPath(path);
    }
}

} // namespace vb
