#pragma once

#include "Markup.h"

#include <string>
#include <vector>

/// The texts of descriptions as HTML: arguments emphasised, formulas as MathML.
namespace vessa {

/// The text as one line.
std::string LineHtml(const CMarkup& text);

/// The text in paragraphs, which blank lines part. Items of a list begin a line of their own, and so do lines that
/// begin with one of `terms`, the words that the text explains; what begins with a capital letter below these does,
/// too.
std::string ParagraphsHtml(const CMarkup& text, const std::vector<std::string>& terms);

} // namespace vessa
