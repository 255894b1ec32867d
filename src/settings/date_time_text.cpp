#include "settings/date_time_text.h"

#include "platform/clock.h"

namespace settings {

std::string YearText(int year) {
    const std::string text = std::to_string(year);
    return text.size() == 4 ? text.substr(2) : text;
}

std::string DateTimeText() {
    const std::string year = YearText(vb::Now().date().year());
    const std::string month = std::to_string(vb::Now().date().month());
    const std::string day = std::to_string(vb::Now().date().day());
    const std::string hour = std::to_string(vb::Now().time().hour());
    const std::string minute = std::to_string(vb::Now().time().minute());
    return month + "/" + day + "/" + year + "/" + hour + ":" + minute;
}

} // namespace settings
