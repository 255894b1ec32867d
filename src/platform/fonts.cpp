#include "platform/fonts.h"

#include <QFont>
#include <QStringList>

namespace vb {

void InstallFontSubstitutes() {
    const QStringList sans = {"Liberation Sans", "Arimo", "DejaVu Sans Condensed", "DejaVu Sans"};
    QFont::insertSubstitutions("MS Sans Serif", sans);
    QFont::insertSubstitutions("Arial", sans);
}

} // namespace vb
