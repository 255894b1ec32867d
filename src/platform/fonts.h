// The fonts the windows were designed with ("MS Sans Serif", "Arial") are not on a Linux machine; they
// are mapped to metric-compatible ones (Liberation Sans, from Debian's fonts-liberation2) so that captions
// fit the places designed for them.
#pragma once

namespace vb {
void InstallFontSubstitutes();
}
