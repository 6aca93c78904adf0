#include "progress_bar.h"

#include <qel/foundation/base/write_whole.h>
#include <qel/platform/console.h>

#include <algorithm>
#include <cmath>

namespace qelhosts {

namespace {

using qel::platform::StandardStream;

constexpr int kLongestBar = 40;
constexpr int kShortestBar = 4;

void write(const std::string& text) {
    qel::writeToStandardStream(StandardStream::Error, text);
}

} // namespace

std::string formatProgress(const std::string& state, double progress, int width) {
    const double share = std::isfinite(progress) ? std::clamp(progress, 0.0, 1.0) : 0.0;
    const int percent = static_cast<int>(share * 100);
    std::string tail = "] " + std::to_string(percent) + " % " + state;
    const int bar = std::clamp(width - static_cast<int>(tail.size()) - 2, kShortestBar, kLongestBar);
    const auto filled = static_cast<std::size_t>(share * bar);
    return "[" + std::string(filled, '#') + std::string(static_cast<std::size_t>(bar) - filled, '.') + tail;
}

void ProgressBar::show(const std::string& state, double progress) {
    if (!qel::platform::isTerminal(StandardStream::Error)) {
        if (state != m_state) write(state + "\n");
        m_state = state;
        return;
    }
    std::string line = formatProgress(state, progress, qel::platform::terminalWidth(StandardStream::Error));
    if (line == m_shown) return;
    const std::size_t rest = m_shown.size() > line.size() ? m_shown.size() - line.size() : 0;
    write("\r" + line + std::string(rest, ' '));
    m_shown = std::move(line);
}

void ProgressBar::clear() {
    if (!m_shown.empty()) write("\r" + std::string(m_shown.size(), ' ') + "\r");
    m_shown.clear();
}

void ProgressBar::end() {
    if (!m_shown.empty()) write("\n");
    m_shown.clear();
}

} // namespace qelhosts
