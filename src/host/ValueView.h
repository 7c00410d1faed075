#pragma once

#include "vessa.h"

#include <memory>
#include <string>
#include <vector>

namespace vessa {

/// What people see of a value: a picture, numbers or a text, and words about them.
struct StValueView {
    std::string facts;                           ///< what the value is, as in "360x270, IMAGE_GREY_8"
    std::string reading;                         ///< how the picture shows it, as in "0 (black) to 8.5 (white)"
    std::unique_ptr<QUOR::CImage> picture;       ///< grey or RGB of 8 bits; null without an element
    std::vector<std::vector<std::string>> table; ///< the first rows of a table or line, where the value is one
    std::string json;                            ///< of a map
};

/// The view of an image or a map. Binary images become black and white. Wider elements are scaled to black and white
/// by their range, or get a colour for each value where they are labels. The slices of a volume stand side by side,
/// lines become strips, and what is small is enlarged.
StValueView ViewOf(const QUOR::CValue& value);

} // namespace vessa
