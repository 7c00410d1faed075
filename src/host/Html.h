#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

/// HTML from texts and elements. Texts are escaped once, where they become content or an attribute's value.
namespace vessa {

/// The text with what HTML takes for marks written as references.
std::string Escaped(std::string_view text);

/// Names and values of attributes, the values as plain texts.
using HtmlAttributes = std::initializer_list<std::pair<const char*, std::string>>;

/// `<name attributes>`, which is all of an element that has no content.
std::string Tag(const char* name, HtmlAttributes attributes = {});
/// An element around `content`, which is HTML.
std::string Element(const char* name, const std::string& content);
std::string Element(const char* name, HtmlAttributes attributes, const std::string& content);

/// The same with a line end behind it.
/// @{
std::string ElementLine(const char* name, const std::string& content);
std::string ElementLine(const char* name, HtmlAttributes attributes, const std::string& content);
/// @}
/// An element whose content, of whole lines, stands between the lines of its marks.
/// @{
std::string ElementBlock(const char* name, const std::string& content);
std::string ElementBlock(const char* name, HtmlAttributes attributes, const std::string& content);
/// @}

/// The text as a program's: `<code>`.
std::string Code(std::string_view text);

/// The link that leads from one file to another, both below one folder.
std::string LinkBetween(const std::filesystem::path& from, const std::filesystem::path& to);

/// The text as a name within a page: what no such name holds becomes '_'.
std::string Anchor(std::string text);

} // namespace vessa
