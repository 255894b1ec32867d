// What a test of a device command needs: a console with the tablet found by the search, answers for the
// boxes the command shows, and what the console was doing when each box came up.
#pragma once

#include "support/found_tablet.h"
#include "support/modal_answerer.h"
#include "support/shown_box_spy.h"

#include <QList>
#include <QString>
#include <string>

namespace testing_support {

// The message every stage shows when the tablet's echo does not come.
inline const QString kConnectionFailure = "Cannot make connection. Be sure com port is correct,\r\n"
                                          "the tablet is connected, and tablet is in download mode.";

// The boxes a device command ends with: "UPDATE" (information, OK, system-modal) on success, "ERROR"
// (exclamation, OK, system-modal) when an echo does not come, "ERROR" (no icon, OK, system-modal) with a
// run-time error's description.
SeenBox UpdateBox(const QString& text);
SeenBox FailureBox(const QString& text = kConnectionFailure);
SeenBox RunTimeErrorBox(const QString& description);

// The console's state at the moment a box was shown.
struct ConsoleAtBox {
    QString text;
    int ticks = -1;
    bool timerEnabled = false;
    bool portOpen = false;
    std::string buffered; // what the receive notification had gathered
};

class DeviceCommandRun : public FoundTablet {
public:
    DeviceCommandRun();

    QList<int> ticksAtBoxes() const;
    // Answers the next value entry dialog with `value` and OK.
    void enterValue(const QString& value);

    ModalAnswerer answerer;
    QList<ConsoleAtBox> atBoxes;

private:
    ShownBoxSpy spy;
};

} // namespace testing_support
