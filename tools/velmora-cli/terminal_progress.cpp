#include "terminal_progress.h"

#include <cstdio>
#include <unistd.h>

namespace cli {

namespace {
constexpr auto kRedrawEvery = std::chrono::milliseconds(100);
} // namespace

TerminalProgress::TerminalProgress() : TerminalProgress(isatty(STDERR_FILENO) == 1) {}

TerminalProgress::TerminalProgress(bool shown) : on(shown) {}

TerminalProgress::~TerminalProgress() {
    finish();
}

void TerminalProgress::update(const std::string& text) {
    if (!on) return;
    const std::lock_guard hold(drawing);
    const auto now = std::chrono::steady_clock::now();
    if (drawn && now - lastDrawn < kRedrawEvery) return;
    lastDrawn = now;
    draw(text);
}

void TerminalProgress::finish(const std::string& text) {
    if (!on) return;
    const std::lock_guard hold(drawing);
    draw(text);
    std::fputc('\n', stderr);
    drawn = false;
}

void TerminalProgress::finish() {
    if (!on) return;
    const std::lock_guard hold(drawing);
    if (drawn) std::fputc('\n', stderr);
    drawn = false;
}

void TerminalProgress::draw(const std::string& text) {
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    std::fflush(stderr);
    drawn = true;
}

std::string ProgressFigures(std::size_t bytes, int recordsDone, int recordCount) {
    std::string text = std::to_string(bytes) + " bytes, " + std::to_string(recordsDone);
    if (recordCount >= 0) text += " of " + std::to_string(recordCount);
    return text + (recordCount == 1 || (recordCount < 0 && recordsDone == 1) ? " record" : " records");
}

} // namespace cli
