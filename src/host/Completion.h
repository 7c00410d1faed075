#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vessa {

/// What may stand in the place of a word that is being typed, as the scripts in completions/ read it: a line for each
/// offer, a word and a text about it with a tab between them. A line that begins with a tab offers files:
///
///     <TAB>files<TAB>png|tif<TAB>PREFIX       those with these endings, or all of them for an asterisk
///     <TAB>folders<TAB>*<TAB>PREFIX
///
/// whose names follow the PREFIX in the word.
class CCompletion {
public:
    /// `word` is what is typed so far.
    explicit CCompletion(std::string word) : m_word(std::move(word)) {}

    /// What is typed, without what is settled.
    const std::string& Word() const { return m_word; }
    /// Takes the first letters of the word as settled: what is offered follows them.
    void Settle(std::size_t letters);

    /// Offers a word if it begins with what is typed.
    void Offer(const std::string& word, const std::string& text = "");
    void OfferFiles(const std::vector<std::string>& endings);
    void OfferFiles();
    void OfferFolders();

    /// All offers.
    const std::string& Text() const { return m_text; }

private:
    void OfferNames(const std::string& kind, const std::string& endings);

    std::string m_settled;
    std::string m_word;
    std::string m_text;
};

} // namespace vessa
