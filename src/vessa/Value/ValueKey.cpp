#include "Value/ValueKey.h"

namespace QUOR {

std::string CValue_Key::ToString() const {
    switch (m_kind) {
    case EnKind::Index:
        return std::to_string(m_index);
    case EnKind::Text:
        return "'" + m_text + "'";
    case EnKind::None:
        break;
    }
    return "(no key)";
}

} // namespace QUOR
