// The progress bar's Min, Max and Value as the classic control takes them: a value outside Min..Max, or a
// Max not above Min (or a Min not below Max), is refused with error 380 (invalid property value) and the
// bar keeps what it had. The handlers that set them decide what that error means to them.
#pragma once

class QProgressBar;

namespace vb {

void SetProgressMin(QProgressBar* bar, double min);
void SetProgressMax(QProgressBar* bar, double max);
void SetProgressValue(QProgressBar* bar, double value);

} // namespace vb
