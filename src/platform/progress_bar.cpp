#include "platform/progress_bar.h"

#include "platform/errors.h"

#include <QProgressBar>
#include <cmath>
#include <limits>

namespace vb {

namespace {

// The bar holds whole numbers; a property beyond that range is as invalid as one outside Min..Max.
int Whole(double value) {
    if (!std::isfinite(value) || value < std::numeric_limits<int>::min() ||
        value > std::numeric_limits<int>::max())
        Raise(errInvalidPropertyValue);
    return static_cast<int>(value);
}

} // namespace

void SetProgressMin(QProgressBar* bar, double min) {
    const int whole = Whole(min);
    if (whole >= bar->maximum()) Raise(errInvalidPropertyValue);
    bar->setMinimum(whole);
}

void SetProgressMax(QProgressBar* bar, double max) {
    const int whole = Whole(max);
    if (whole <= bar->minimum()) Raise(errInvalidPropertyValue);
    bar->setMaximum(whole);
}

void SetProgressValue(QProgressBar* bar, double value) {
    const int whole = Whole(value);
    if (whole < bar->minimum() || whole > bar->maximum()) Raise(errInvalidPropertyValue);
    bar->setValue(whole);
}

} // namespace vb
