#include "Completion.h"

#include "Text.h"

namespace vessa {

void CCompletion::Settle(std::size_t letters) {
    m_settled += m_word.substr(0, letters);
    m_word.erase(0, letters);
}

void CCompletion::Offer(const std::string& word, const std::string& text) {
    if (word.starts_with(m_word)) {
        m_text += m_settled + word + '\t' + OneLine(text) + '\n';
    }
}

void CCompletion::OfferFiles(const std::vector<std::string>& endings) { OfferNames("files", Join(endings, "|")); }

void CCompletion::OfferFiles() { OfferNames("files", "*"); }

void CCompletion::OfferFolders() { OfferNames("folders", "*"); }

void CCompletion::OfferNames(const std::string& kind, const std::string& endings) {
    m_text += '\t' + kind + '\t' + endings + '\t' + m_settled + '\n';
}

} // namespace vessa
