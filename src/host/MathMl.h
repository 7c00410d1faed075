#pragma once

#include <string>
#include <string_view>

namespace vessa {

/// A formula in TeX as an element of MathML: letters, numbers, operators, indices, exponents, groups, `\frac`, `\sqrt`,
/// Greek letters and the usual relations. A command that isn't among these stands as its name.
std::string MathMl(std::string_view tex);

} // namespace vessa
