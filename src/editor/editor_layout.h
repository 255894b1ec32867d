// Control positions in twips, as the editor's layout is worked out (15 twips = 1 pixel at 96 dpi).
//
// Each placed control keeps its position in twips in the dynamic properties "Left", "Top", "Width" and
// "Height", so arithmetic on positions (the load-time layout of the fixed fields) is done in twips and
// only the result is converted to pixels.
#pragma once

class QWidget;

namespace editor {

inline constexpr int kTwipsPerPixel = 15;

int TwipsToPixels(int twips);

// Places `widget` at the given twips rectangle and records it.
void Place(QWidget* widget, int left, int top, int width, int height);

int Left(const QWidget* widget);
int Top(const QWidget* widget);
int Width(const QWidget* widget);
int Height(const QWidget* widget);
void SetTop(QWidget* widget, int top);
void SetHeight(QWidget* widget, int height);
void Move(QWidget* widget, int left, int top);

} // namespace editor
