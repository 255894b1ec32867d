#include "settings/text_settings.h"

#include "app/globals.h"
#include "console/console_window.h"
#include "platform/msgbox.h"
#include "settings/input_form.h"

void frmQuillmaxSerial::cmdCustomerName_Click() {
    SetTextSetting(settings::kCompanyName);
}

void frmQuillmaxSerial::cmdTitle_Click() {
    SetTextSetting(settings::kMainMenuTitle);
}

void frmQuillmaxSerial::cmdPassword_Click() {
    SetTextSetting(settings::kPassword);
}

void frmQuillmaxSerial::SetTextSetting(const settings::TextSetting& setting) {
    TrapDeviceCommandErrors([&] {
        strInputItem = setting.item;
        strInputValue.clear();
        ShowInputForm();
        // An empty value means the user gave up: nothing is sent and the port is not touched.
        if (strInputValue.empty()) {
            vb::MsgBox(setting.cancelText, vb::vbOKOnly + vb::vbExclamation, "Event Canceled");
            strInputItem.clear();
            return;
        }
        const std::string value = strInputValue;
        strInputValue.clear();
        strInputItem.clear();

        ExchangeStages({{console::Handshake(setting.handshakeTicks),
                         console::CommandByte(setting.commandByte, setting.commandPolls),
                         console::ValueStage([value] { return value; }, setting.valuePolls)},
                        setting.successText});
    });
}
