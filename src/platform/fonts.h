// The fonts the windows were designed with ("MS Sans Serif", "Arial") are not on a Linux machine; they
// are mapped to metric-compatible ones (Liberation Sans, from Debian's fonts-liberation2) so that captions
// fit the places designed for them.
#pragma once

class QFont;

namespace vb {

void InstallFontSubstitutes();

// The windows' design font, "MS Sans Serif" at `points` (8.25 for controls, 9.75 bold for headings).
QFont DesignFont(double points = 8.25, bool bold = false);

} // namespace vb
