#include "protocol.h"

namespace sim {

namespace {

bool isControl(char byte) {
    return static_cast<unsigned char>(byte) < 0x20;
}

} // namespace

std::string* Protocol::settingOf(char command) {
    switch (command) {
    case CompanyNameCommand:
        return &settings.companyName;
    case MenuTitleCommand:
        return &settings.menuTitle;
    case PasswordCommand:
        return &settings.password;
    case ClockCommand:
        return &settings.clock;
    default:
        return nullptr;
    }
}

std::string Protocol::take(char byte, const Faults& faults) {
    streamAsked = false;
    if (upload.receiving()) {
        upload.take(byte); // data, up to the NUL that ends the upload
        return {};
    }
    if (takingValueFor) {
        if (byte == CR) {
            std::string echo = value + CR;
            *settingOf(*takingValueFor) = std::move(value);
            ++changes;
            takingValueFor.reset();
            value.clear();
            return echo;
        }
        if (!isControl(byte)) {
            value += byte;
            return {};
        }
        takingValueFor.reset(); // abandoned: the control byte starts afresh
        value.clear();
    }
    return takeFresh(byte, faults);
}

std::string Protocol::takeFresh(char byte, const Faults& faults) {
    // Only the byte right after DC2 can complete the request; anything else drops it.
    const bool completesRequest = afterDc2 && byte == SI;
    afterDc2 = byte == DC2;
    if (completesRequest) {
        streamAsked = true;
        return {};
    }
    if (byte == UploadStart) {
        upload.start();
        return {};
    }
    if (byte == ENQ) return faults.replyText.value_or(std::string(1, ENQ));
    if (byte == EOT) {
        ++settings.resets;
        ++changes;
        return std::string(1, EOT);
    }
    if (settingOf(byte)) {
        takingValueFor = byte;
        return std::string(1, byte);
    }
    return {};
}

std::string Protocol::answer(std::string_view received, const Faults& faults) {
    std::string out;
    for (const char byte : received)
        out += take(byte, faults);
    return out;
}

} // namespace sim
