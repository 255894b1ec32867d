#include "echoed_stages.h"

namespace cli {

void SendEchoedStages(TabletLine& line, const std::vector<EchoedStage>& stages,
                      std::chrono::milliseconds timeout) {
    for (const EchoedStage& stage : stages) {
        try {
            line.send(stage.payload);
        } catch (const LineFailure&) {
            throw LineFailure(kFailure, line.name() + ": the line hung up while sending " + stage.what);
        }
        if (line.waitFor(stage.payload, timeout * stage.patience)) continue;
        if (line.hungUp())
            throw LineFailure(kFailure, line.name() + ": the line hung up before the echo of " + stage.what);
        throw LineFailure(kNoAnswer, line.name() + ": no echo of " + stage.what);
    }
}

} // namespace cli
