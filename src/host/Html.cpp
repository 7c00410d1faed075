#include "Html.h"

#include <algorithm>
#include <cctype>

namespace vessa {

namespace {

bool IsPlain(char letter) {
    return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '-' || letter == '_';
}

/// The path as a link takes it: every byte that has a meaning in links as %NN.
std::string PercentEncoded(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    for (const char letter : path) {
        if (IsPlain(letter) || letter == '.' || letter == '/') {
            encoded += letter;
        } else {
            const auto byte = static_cast<unsigned char>(letter);
            encoded.append({'%', digits[byte / 16], digits[byte % 16]});
        }
    }
    return encoded;
}

} // namespace

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += letter;
        }
    }
    return escaped;
}

std::string Tag(const char* name, HtmlAttributes attributes) {
    std::string tag = std::string("<") + name;
    for (const auto& [key, value] : attributes) {
        tag.append(" ").append(key).append("=\"").append(Escaped(value)).append("\"");
    }
    return tag + ">";
}

std::string Element(const char* name, const std::string& content) { return Element(name, {}, content); }

std::string Element(const char* name, HtmlAttributes attributes, const std::string& content) {
    return Tag(name, attributes) + content + "</" + name + ">";
}

std::string ElementLine(const char* name, const std::string& content) { return ElementLine(name, {}, content); }

std::string ElementLine(const char* name, HtmlAttributes attributes, const std::string& content) {
    return Element(name, attributes, content) + "\n";
}

std::string ElementBlock(const char* name, const std::string& content) { return ElementBlock(name, {}, content); }

std::string ElementBlock(const char* name, HtmlAttributes attributes, const std::string& content) {
    return Tag(name, attributes) + "\n" + content + "</" + name + ">\n";
}

std::string Code(std::string_view text) { return Element("code", Escaped(text)); }

std::string LinkBetween(const std::filesystem::path& from, const std::filesystem::path& to) {
    return PercentEncoded(to.lexically_relative(from.parent_path()).generic_string());
}

std::string Anchor(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char letter) { return !IsPlain(letter); }, '_');
    return text;
}

} // namespace vessa
