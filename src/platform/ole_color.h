// Colours as the program states them: Windows colour values 0x00BBGGRR (0x0000FF is red, 0xFF0000 blue).
// The value last set is kept on the widget as the "BackColor" / "ForeColor" property.
#pragma once

#include <QColor>
#include <cstdint>

class QWidget;

namespace vb {

inline constexpr std::uint32_t vbRed = 0x0000FF;
inline constexpr std::uint32_t vbGreen = 0x00FF00;
inline constexpr std::uint32_t vbBlue = 0xFF0000;
inline constexpr std::uint32_t kDarkBlue = 0xC00000;

QColor FromOleColor(std::uint32_t bgr);
void SetBackColor(QWidget* widget, std::uint32_t bgr);
void SetForeColor(QWidget* widget, std::uint32_t bgr);

} // namespace vb
