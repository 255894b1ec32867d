#include "support/device_command_run.h"

#include <QLineEdit>
#include <QPushButton>

namespace testing_support {

SeenBox UpdateBox(const QString& text) {
    return {"UPDATE", text, QMessageBox::Information, QMessageBox::Ok, true};
}

SeenBox FailureBox(const QString& text) {
    return {"ERROR", text, QMessageBox::Warning, QMessageBox::Ok, true};
}

SeenBox RunTimeErrorBox(const QString& description) {
    return {"ERROR", description, QMessageBox::NoIcon, QMessageBox::Ok, true};
}

DeviceCommandRun::DeviceCommandRun()
    : spy([this](QMessageBox* box) {
          atBoxes << ConsoleAtBox{box->text(), console->lngTicks, console->Timer1->Enabled(),
                                  console->MSComm1.PortOpen(), console->vntInBuffer};
      }) {}

QList<int> DeviceCommandRun::ticksAtBoxes() const {
    QList<int> ticks;
    for (const ConsoleAtBox& box : atBoxes)
        ticks << box.ticks;
    return ticks;
}

void DeviceCommandRun::enterValue(const QString& value) {
    answerer.handle([value](QWidget* dialog) {
        dialog->findChild<QLineEdit*>("txtResponse")->setText(value);
        dialog->findChild<QPushButton*>("cmdOK")->click();
    });
}

} // namespace testing_support
