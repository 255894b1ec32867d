#include "platform/handler.h"

#include "platform/msgbox.h"

namespace vb {

void ReportUntrappedError(const Error& error) {
    MsgBox("Run-time error '" + std::to_string(error.number) + "':\r\n\r\n" + error.description, vbCritical,
           kApplicationTitle);
}

} // namespace vb
