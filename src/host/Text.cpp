#include "Text.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace vessa {

namespace {

char LowerCase(char letter) { return static_cast<char>(std::tolower(static_cast<unsigned char>(letter))); }

bool IsBlank(char letter) { return std::isspace(static_cast<unsigned char>(letter)) != 0; }

/// Takes the first line off the text.
std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

/// True for a line that must not be joined to the one before it.
bool BeginsItem(std::string_view line) {
    return IsBlank(line.front()) || line.starts_with("- ") || line.starts_with("* ");
}

void AppendFilled(std::string& out, const std::string& paragraph, std::size_t indent, std::size_t width) {
    const std::string margin(indent, ' ');
    std::string line;
    std::string_view rest = paragraph;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        const std::string_view word = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (!line.empty() && indent + line.size() + 1 + word.size() > width) {
            out.append(margin).append(line).append("\n");
            line.clear();
        }
        line.append(line.empty() ? "" : " ").append(word);
    }
    out.append(margin).append(line).append("\n");
}

} // namespace

std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1); // row[j]: the distance of the start of `a` from the first j letters
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (LowerCase(a[i]) == LowerCase(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row[b.size()];
}

std::string Nearest(std::string_view name, const std::vector<std::string>& known) {
    const auto nearest = std::min_element(known.begin(), known.end(), [&](const auto& a, const auto& b) {
        return EditDistance(name, a) < EditDistance(name, b);
    });
    return nearest == known.end() ? "" : *nearest;
}

std::string NearestHint(std::string_view name, const std::vector<std::string>& known) {
    constexpr std::size_t most = 256; // no slip makes a name longer, and the time grows with its length
    return known.empty() || name.size() > most ? "" : ", the nearest one is '" + Nearest(name, known) + "'";
}

std::string Join(const std::vector<std::string>& words, std::string_view separator) {
    std::string joined;
    for (const std::string& word : words) {
        joined.append(&word == &words.front() ? "" : separator).append(word);
    }
    return joined;
}

std::vector<std::string> SplitList(std::string_view list) {
    std::vector<std::string> words;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        words.push_back(OneLine(list.substr(0, end)));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return words;
}

std::string OneLine(std::string_view text) {
    std::string line;
    bool gap = false;
    for (const char letter : text) {
        if (IsBlank(letter)) {
            gap = !line.empty();
        } else {
            line.append(gap ? " " : "").push_back(letter);
            gap = false;
        }
    }
    return line;
}

std::string Wrap(std::string_view text, std::size_t indent, std::size_t width) {
    std::string out;
    std::string paragraph;
    const auto finish = [&] {
        if (!paragraph.empty()) {
            AppendFilled(out, paragraph, indent, width);
            paragraph.clear();
        }
    };
    while (!text.empty()) {
        const std::string_view line = TakeLine(text);
        const std::string words = OneLine(line);
        if (words.empty() || BeginsItem(line)) {
            finish();
        }
        if (words.empty() && !out.empty() && !out.ends_with("\n\n")) {
            out.push_back('\n');
        }
        paragraph.append(paragraph.empty() || words.empty() ? "" : " ").append(words);
    }
    finish();
    while (out.ends_with("\n\n")) {
        out.pop_back();
    }
    return out;
}

bool EqualsAnyCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char letter, char other) { return LowerCase(letter) == LowerCase(other); });
}

bool EndsWithAnyCase(std::string_view text, std::string_view ending) {
    return text.size() >= ending.size() && EqualsAnyCase(text.substr(text.size() - ending.size()), ending);
}

} // namespace vessa
