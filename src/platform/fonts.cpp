#include "platform/fonts.h"

#include <QFont>
#include <QStringList>

namespace vb {

void InstallFontSubstitutes() {
    const QStringList sans = {"Liberation Sans", "Arimo", "DejaVu Sans Condensed", "DejaVu Sans"};
    QFont::insertSubstitutions("MS Sans Serif", sans);
    QFont::insertSubstitutions("Arial", sans);
}

QFont DesignFont(double points, bool bold) {
    QFont font("MS Sans Serif");
    font.setStyleHint(QFont::SansSerif);
    font.setPointSizeF(points);
    font.setBold(bold);
    return font;
}

} // namespace vb
