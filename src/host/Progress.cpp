#include "Progress.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace vessa {

namespace {

/// Writes "0:03", and with hours "1:00:03".
void WriteDuration(std::ostream& out, double seconds) {
    constexpr double longest = 359999; // 99:59:59
    const int whole = static_cast<int>(std::ceil(std::min(seconds, longest)));
    const auto twoDigits = [&](int number) { out << (number < 10 ? ":0" : ":") << number; };
    const int hours = whole / 3600;
    if (hours > 0) {
        out << hours;
        twoDigits(whole / 60 % 60);
    } else {
        out << whole / 60;
    }
    twoDigits(whole % 60);
}

} // namespace

std::string ProgressLine(std::size_t done, std::size_t total, double seconds, std::size_t width) {
    std::ostringstream figures;
    figures.exceptions(std::ios::badbit); // raises what it would swallow: that there is no memory
    figures << " " << done << "/" << total;
    if (done > 0 && seconds > 0) {
        const double rate = static_cast<double>(done) / seconds;
        figures << "  " << std::fixed << std::setprecision(1) << rate << "/s  ";
        WriteDuration(figures, static_cast<double>(total - done) / rate);
        figures << " left";
    }
    constexpr std::size_t longestBar = 40;
    const std::size_t taken = figures.str().size() + 2;
    const std::size_t length = std::min(width > taken ? width - taken : 0, longestBar);
    const std::size_t filled = total == 0 ? length : length * done / total;
    std::string line = "[";
    line.append(filled, '#').append(length - filled, ' ').append("]").append(figures.str());
    return line.substr(0, width);
}

CProgress::CProgress(std::ostream& stream, bool isTerminal, std::size_t width, std::size_t total)
    : m_stream(stream), m_isTerminal(isTerminal), m_width(width), m_total(total) {}

void CProgress::Draw(std::size_t done) {
    if (m_isTerminal) {
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - m_start;
        m_stream << "\r\x1b[K" << ProgressLine(done, m_total, seconds.count(), m_width - 1) << std::flush;
        m_isDrawn = true;
    }
}

void CProgress::Clear() {
    if (m_isDrawn) {
        m_stream << "\r\x1b[K" << std::flush;
        m_isDrawn = false;
    }
}

} // namespace vessa
