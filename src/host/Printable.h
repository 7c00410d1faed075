#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vessa {

/// `text` with every byte that isn't printable ASCII written as \xNN: a message is one line on any terminal, whatever a
/// file holds.
std::string Printable(std::string_view text);

/// `text` as one line that does nothing to a terminal: letters of all languages stay, control characters and line ends
/// become blanks, and bytes that are no UTF-8 are written as \xNN.
std::string PrintableLine(std::string_view text);

/// `text`, or its beginning and its end with " ... " between them if it has more than `most` bytes.
std::string Shortened(std::string_view text, std::size_t most);

} // namespace vessa
