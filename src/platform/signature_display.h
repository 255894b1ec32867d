// Ondrate1, the viewer's signature display: our own widget in place of the closed signature control.
//
// The viewer drives it with five operations only, always in this order: DisplayActive = true,
// ClearSignature(), AppendSignatureByte(code) once per signature byte in file order, DisplayMode = 5. The
// bytes are kept exactly as appended (SignatureData) and drawn as the pen strokes they decode to
// (signature/strokes.h); bytes that do not decode are skipped, so any byte sequence is accepted.
//
// DisplayMode 5 fits the strokes' bounding box into the control, keeping the aspect ratio, centred, with
// antialiased round-capped lines. Any other mode draws the whole 4096 x 4096 grid of the tablet's pad
// fitted the same way. While DisplayActive is false only the empty pad is drawn.
#pragma once

#include "signature/strokes.h"

#include <QByteArray>
#include <QWidget>
#include <vector>

namespace vb {

class SignatureDisplay : public QWidget {
    Q_OBJECT
    Q_PROPERTY(bool DisplayActive READ DisplayActive WRITE setDisplayActive)
    Q_PROPERTY(int SignatureSize READ SignatureSize)
    Q_PROPERTY(int DisplayMode READ DisplayMode WRITE setDisplayMode)
    Q_PROPERTY(QByteArray SignatureData READ SignatureData)
public:
    explicit SignatureDisplay(QWidget* parent = nullptr);

    bool DisplayActive() const { return active; }
    void setDisplayActive(bool value);
    // 0 when the control holds no signature, else the number of bytes appended since the last clear.
    int SignatureSize() const { return int(bytes.size()); }
    int DisplayMode() const { return mode; }
    void setDisplayMode(int value);
    // The bytes appended since the last ClearSignature, in order.
    QByteArray SignatureData() const { return bytes; }

    Q_INVOKABLE void ClearSignature();
    // Appends one byte (its low 8 bits: the viewer passes character codes 0-255).
    Q_INVOKABLE void AppendSignatureByte(short code);

    // The strokes the held bytes decode to (decoded once per change of the bytes).
    const std::vector<signature::Stroke>& Strokes() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool active = false;
    int mode = 0;
    QByteArray bytes;
    mutable std::vector<signature::Stroke> strokes;
    mutable bool decoded = true;
};

} // namespace vb
