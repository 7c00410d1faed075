#include "Printable.h"

namespace vessa {

std::string Printable(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string printable;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte >= ' ' && byte <= '~') {
            printable += letter;
        } else {
            printable += {'\\', 'x', digits[byte / 16], digits[byte % 16]};
        }
    }
    return printable;
}

} // namespace vessa
