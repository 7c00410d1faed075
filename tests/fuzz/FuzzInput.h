#pragma once

// What the fuzzing harnesses share: values taken from the bytes of an input, one after the other.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace vessa::fuzz {

/// This process's own file with that ending, for what is read by name.
inline std::string OwnFile(const std::string& ending) {
    return (std::filesystem::temp_directory_path() / ("fuzz-" + std::to_string(::getpid()) + ending)).string();
}

/// The bytes of an input. Behind their end all are 0, so that every input means something.
class CFuzzInput {
public:
    CFuzzInput(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    template <class T> T Take() {
        T value{};
        const auto count = std::min(sizeof(T), static_cast<std::size_t>(m_end - m_next));
        if (count > 0) {
            std::memcpy(&value, m_next, count);
            m_next += count;
        }
        return value;
    }

    bool Flip() { return (Take<std::uint8_t>() & 1U) != 0; }
    /// A number from 0 to `count` - 1.
    std::size_t Below(std::size_t count) { return count == 0 ? 0 : Take<std::uint8_t>() % count; }
    template <class T> const T& OneOf(const std::vector<T>& values) { return values[Below(values.size())]; }

    std::string Text() {
        std::string text(Below(16), '\0');
        std::generate(text.begin(), text.end(), [this] { return Take<char>(); });
        return text;
    }

    /// Fills a block as far as the bytes reach, and goes round with them if they are fewer.
    void Fill(void* block, std::size_t size) {
        auto* bytes = static_cast<std::uint8_t*>(block);
        const std::size_t count = std::min(size, static_cast<std::size_t>(m_end - m_next));
        for (std::size_t index = 0; index < size; ++index) {
            bytes[index] = count == 0 ? 0 : m_next[index % count];
        }
        m_next += count;
    }

private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

} // namespace vessa::fuzz
