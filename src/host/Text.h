#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Texts as they are shown on a terminal, and names as people mistype them.
namespace vessa {

/// The number of letters to insert, delete or replace to make one word of the other; upper and lower case are alike.
std::size_t EditDistance(std::string_view a, std::string_view b);

/// The known name that is nearest to `name`, the first of several; "" if none is known.
std::string Nearest(std::string_view name, const std::vector<std::string>& known);

/// The end of a message about an unknown name, as in ", the nearest one is 'Flip'"; "" if none is known, and for a name
/// so long that it can't be meant for one.
std::string NearestHint(std::string_view name, const std::vector<std::string>& known);

/// The words with `separator` between them.
std::string Join(const std::vector<std::string>& words, std::string_view separator);

/// The words of a list that is separated by commas, without the blanks around them.
std::vector<std::string> SplitList(std::string_view list);

/// The text as one line: every run of blanks and line ends is one blank.
std::string OneLine(std::string_view text);

/// How texts for people are shown.
struct StTextStyle {
    std::size_t width = 80; ///< letters in a line
    bool coloured = false;  ///< on a terminal that shows bold letters and colours
};

/// The text in lines of at most `width` letters, each with `indent` blanks before it and a line end behind. Paragraphs
/// are filled anew; a line that begins with a blank or as an item of a list begins a line here, too.
std::string Wrap(std::string_view text, std::size_t indent, std::size_t width);

/// What texts are, whatever the case of their letters.
/// @{
bool EqualsAnyCase(std::string_view a, std::string_view b);
bool EndsWithAnyCase(std::string_view text, std::string_view ending);
/// @}

} // namespace vessa
