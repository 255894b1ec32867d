#include "answer_shaping.h"

namespace sim {

std::chrono::milliseconds answerDelay(char cause, const Faults& faults) {
    const auto extra = faults.echoDelay.find(cause);
    return faults.replyDelay +
           (extra == faults.echoDelay.end() ? std::chrono::milliseconds(0) : extra->second);
}

std::vector<AnswerPiece> shapeAnswer(char cause, const std::string& answer, const Faults& faults) {
    if (answer.empty() || faults.silent || faults.noEcho.find(cause) != std::string::npos) return {};

    std::string wrapped = faults.wrapBefore + answer + faults.wrapAfter;
    const auto due = answerDelay(cause, faults);
    const bool split = faults.splitGap > std::chrono::milliseconds(0) &&
                       (faults.splitOnly.empty() || faults.splitOnly.find(cause) != std::string::npos);
    if (!split) return {{due, std::move(wrapped)}};

    // The first piece must not complete the answer, so that a reader who stops at the first piece
    // misses it: half of it, or a stand-in byte when there is no half to give.
    std::string first = wrapped.size() >= 2 ? wrapped.substr(0, wrapped.size() / 2) : std::string("?");
    std::string second = wrapped.size() >= 2 ? wrapped.substr(wrapped.size() / 2) : std::move(wrapped);
    return {{due, std::move(first)}, {due + faults.splitGap, std::move(second)}};
}

} // namespace sim
