#pragma once

#include "DocCatalogue.h"

#include <filesystem>
#include <string>

/// What the pages of the documentation have in common.
namespace vessa {

/// Files of the documentation: those that all pages share, and the page that leads to the others.
/// @{
constexpr const char* kDocStyle = "assets/style.css";
constexpr const char* kDocSearch = "assets/search.js";
constexpr const char* kDocTop = "index.html";
/// @}

struct StDocFrame {
    std::filesystem::path page;
    std::string title;
    std::string brief;
    const StDocModule* module; ///< the one that the page belongs to; null for the top page
    bool isIndex;              ///< it lists nodes, and searches among them
};

/// The whole page around `content`.
std::string FramedPage(const StDocFrame& frame, const std::string& content);

/// A link in the page `from`.
std::string Link(const std::filesystem::path& from, const std::filesystem::path& to, const std::string& content);

/// A heading and what stands below it; nothing without content.
std::string Section(const std::string& title, const std::string& content);

/// What may be wider than the page, and is moved by hand and by keys then.
std::string Scrolled(const std::string& label, const std::string& content);

} // namespace vessa
