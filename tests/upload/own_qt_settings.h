// File dialogs remember the folder they last showed in the user's Qt settings (~/.config/QtProject.conf)
// and open there the next time. A folder left there by another program or test, such as /proc, whose
// files never end when read, makes the next dialog hang while it looks at them. The upload tests give Qt
// a settings folder of their own, made before the application.
#pragma once

#include <QTemporaryDir>

namespace upload_testing {

class OwnQtSettings {
public:
    OwnQtSettings() { qputenv("XDG_CONFIG_HOME", dir.path().toLocal8Bit()); }

private:
    QTemporaryDir dir;
};

} // namespace upload_testing
