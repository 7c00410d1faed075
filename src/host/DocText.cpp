#include "DocText.h"

#include "Html.h"
#include "MathMl.h"
#include "Text.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace vessa {

namespace {

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(OneLine(line));
    }
    return lines;
}

bool IsItem(const std::string& line, const std::vector<std::string>& terms) {
    const std::string first = line.substr(0, line.find_first_of(" :,"));
    return line.starts_with("- ") || line.starts_with("* ") ||
           std::find(terms.begin(), terms.end(), first) != terms.end();
}

/// Collects lines into paragraphs.
class CParagraphs {
public:
    explicit CParagraphs(const std::vector<std::string>& terms) : m_terms(terms) {}

    void Add(const std::string& line) {
        if (line.empty()) {
            Finish();
            return;
        }
        const bool isItem = IsItem(line, m_terms);
        const bool followsItems = m_hasItems && std::isupper(static_cast<unsigned char>(line.front())) != 0;
        if (!m_paragraph.empty()) {
            m_paragraph += isItem || followsItems ? Tag("br") : "";
            m_paragraph += '\n';
        }
        m_hasItems = m_hasItems || isItem;
        m_paragraph += LineHtml(CMarkup(line));
    }

    void Finish() {
        if (!m_paragraph.empty()) {
            m_html += Element("p", m_paragraph) + "\n";
        }
        m_paragraph.clear();
        m_hasItems = false;
    }

    const std::string& Html() const { return m_html; }

private:
    const std::vector<std::string>& m_terms;
    std::string m_html;
    std::string m_paragraph;
    bool m_hasItems = false;
};

} // namespace

std::string LineHtml(const CMarkup& text) {
    std::string html;
    for (const StMarkupPart& part : MarkupParts(OneLine(text.Source()))) {
        switch (part.sort) {
        case StMarkupPart::EnSort::Argument:
            html += Element("em", Escaped(part.text));
            break;
        case StMarkupPart::EnSort::Formula:
            html += MathMl(part.text);
            break;
        default:
            html += Escaped(part.text);
        }
    }
    return html;
}

std::string ParagraphsHtml(const CMarkup& text, const std::vector<std::string>& terms) {
    CParagraphs paragraphs(terms);
    for (const std::string& line : Lines(text.Source())) {
        paragraphs.Add(line);
    }
    paragraphs.Finish();
    return paragraphs.Html();
}

} // namespace vessa
