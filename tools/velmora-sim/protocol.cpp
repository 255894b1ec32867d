#include "protocol.h"

namespace sim {

std::string Protocol::answer(std::string_view received, const Faults& faults) {
    const std::string enqAnswer = faults.replyText.value_or(std::string(1, ENQ));
    std::string out;
    for (const char byte : received) {
        if (byte == ENQ) out += enqAnswer;
    }
    return out;
}

} // namespace sim
