#pragma once

#include <string>
#include <string_view>

namespace vessa {

/// `text` with every byte that isn't printable ASCII written as \xNN: a message is one line on any terminal, whatever a
/// file holds.
std::string Printable(std::string_view text);

} // namespace vessa
