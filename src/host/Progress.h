#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

namespace vessa {

/// A line on a terminal that tells how far a work of many parts has come: a bar, counts, the rate and the time left.
/// Where the stream is no terminal nothing is drawn. Used by one thread at a time.
class CProgress {
public:
    CProgress(std::ostream& stream, bool isTerminal, std::size_t width, std::size_t total);
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;
    ~CProgress() { Clear(); }

    void Draw(std::size_t done);
    /// Takes the line away, so that other text can be written.
    void Clear();

private:
    std::ostream& m_stream;
    bool m_isTerminal;
    std::size_t m_width;
    std::size_t m_total;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    bool m_isDrawn = false;
};

/// The line at a moment, of at most `width` letters, as in "[####      ] 4/10  2.0/s  0:03 left".
std::string ProgressLine(std::size_t done, std::size_t total, double seconds, std::size_t width);

} // namespace vessa
