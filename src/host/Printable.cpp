#include "Printable.h"

#include <algorithm>

namespace vessa {

namespace {

void AppendEscaped(std::string& line, char letter) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(letter);
    line += {'\\', 'x', digits[byte / 16], digits[byte % 16]};
}

bool IsBetween(char letter, unsigned first, unsigned last) {
    const auto byte = static_cast<unsigned char>(letter);
    return byte >= first && byte <= last;
}

/// The number of bytes of a UTF-8 character that begins with this one; 0 if none does.
std::size_t BytesOfCharacter(char first) {
    if (IsBetween(first, 0x00, 0x7f)) {
        return 1;
    }
    if (IsBetween(first, 0xc2, 0xdf)) {
        return 2;
    }
    return IsBetween(first, 0xe0, 0xef) ? 3 : IsBetween(first, 0xf0, 0xf4) ? 4 : 0;
}

/// True if the second byte makes none of the forms that UTF-8 leaves out: those that are longer than they need to be,
/// halves of UTF-16 pairs, and what lies beyond the last character.
bool IsShortestForm(char first, char second) {
    switch (static_cast<unsigned char>(first)) {
    case 0xe0:
        return IsBetween(second, 0xa0, 0xbf);
    case 0xed:
        return IsBetween(second, 0x80, 0x9f);
    case 0xf0:
        return IsBetween(second, 0x90, 0xbf);
    case 0xf4:
        return IsBetween(second, 0x80, 0x8f);
    default:
        return IsBetween(second, 0x80, 0xbf);
    }
}

/// The UTF-8 character that the text begins with; empty if there is none.
std::string_view FirstCharacter(std::string_view text) {
    const std::size_t bytes = BytesOfCharacter(text.front());
    const std::string_view character = text.substr(0, bytes);
    const bool isWhole =
        bytes > 0 && character.size() == bytes && (bytes == 1 || IsShortestForm(text[0], text[1])) &&
        std::all_of(character.begin() + 1, character.end(), [](char letter) { return IsBetween(letter, 0x80, 0xbf); });
    return isWhole ? character : std::string_view();
}

/// True for the control characters of ASCII and for those that ISO 8859 adds, U+0080 to U+009F.
bool IsControl(std::string_view character) {
    return character.size() == 1 ? IsBetween(character[0], 0x00, 0x1f) || character[0] == '\x7f'
                                 : character[0] == '\xc2' && IsBetween(character[1], 0x80, 0x9f);
}

} // namespace

std::string Printable(std::string_view text) {
    std::string printable;
    for (const char letter : text) {
        if (IsBetween(letter, ' ', '~')) {
            printable += letter;
        } else {
            AppendEscaped(printable, letter);
        }
    }
    return printable;
}

std::string PrintableLine(std::string_view text) {
    std::string line;
    while (!text.empty()) {
        const std::string_view character = FirstCharacter(text);
        if (character.empty()) {
            AppendEscaped(line, text.front());
        } else if (IsControl(character)) {
            line += ' ';
        } else {
            line += character;
        }
        text.remove_prefix(std::max<std::size_t>(character.size(), 1));
    }
    return line;
}

std::string Shortened(std::string_view text, std::size_t most) {
    constexpr std::string_view gap = " ... ";
    if (text.size() <= most) {
        return std::string(text);
    }
    const std::size_t half = (most - gap.size()) / 2;
    return std::string(text.substr(0, half)).append(gap).append(text.substr(text.size() - half));
}

} // namespace vessa
