#include "base/Exception.h"

#include "Value/ValueScalar.h"
#include "Value/ValueVector.h"

#include <optional>

namespace QUOR {

namespace {

std::string TextOf(const char* text) { return text == nullptr ? std::string() : std::string(text); }

/// The text in slot `index` of a state, or null where the slot is empty.
const std::string* StateText(const CValueVector& state, int index) {
    const CValue* entry = state.Entry(index, false);
    if (entry == nullptr) {
        return nullptr;
    }
    return &entry->String().Text();
}

} // namespace

struct CException::StData {
    /// The texts of a location, which the record refers to.
    struct StPlace {
        StPlace(std::string stampText, std::string fileText, std::string functionText, int line, const IObject* object)
            : stamp(std::move(stampText)), file(std::move(fileText)), function(std::move(functionText)),
              record(stamp.c_str(), file.c_str(), function.c_str(), line, object) {}
        StPlace(const StPlace&) = delete;
        StPlace& operator=(const StPlace&) = delete;

        std::string stamp;
        std::string file;
        std::string function;
        StExLocation record;
    };

    StData(std::string tag, std::string message, std::optional<std::string> more)
        : where(std::move(tag)), what(std::move(message)), detail(std::move(more)), formatted(where + ": " + what) {}

    std::string where;
    std::string what;
    std::optional<std::string> detail;
    std::string formatted;
    std::optional<StPlace> place;
};

CException::CException(const char* where, const char* what, const char* detail)
    : m_data(std::make_shared<StData>(TextOf(where), TextOf(what), // NOLINT(bugprone-throw-keyword-missing)
                                      detail == nullptr ? std::nullopt : std::optional<std::string>(detail))) {}

CException::CException(const StExLocation& location, const char* what) {
    auto data = std::make_shared<StData>(TextOf(location.function), TextOf(what), std::nullopt);
    data->place.emplace(TextOf(location.buildStamp), TextOf(location.file), TextOf(location.function), location.line,
                        location.object);
    m_data = std::move(data);
}

CException::~CException() = default;

const char* CException::Where() const { return m_data->where.c_str(); }

const char* CException::What() const { return m_data->what.c_str(); }

const char* CException::Detail() const { return m_data->detail ? m_data->detail->c_str() : nullptr; }

const StExLocation* CException::Location() const { return m_data->place ? &m_data->place->record : nullptr; }

const char* CException::FormattedWhat() const { return m_data->formatted.c_str(); }

CValueVector* CException::Vectorize() const {
    auto state = std::make_unique<CValueVector>();
    const auto put = [&](const char* text) {
        state->PushBack(text == nullptr ? nullptr : new CValueString(CString(text)));
    };
    put(Where());
    put(What());
    put(Detail());
    if (const StExLocation* location = Location()) {
        put(location->buildStamp);
        put(location->file);
        put(location->function);
        state->PushBack(new CValueLong(location->line));
    }
    return state.release();
}

void CException::Devectorize(const CValueVector* state) {
    if (state == nullptr || (state->Size() != 3 && state->Size() != 7)) {
        throw CException("CException::Devectorize", "the state must be a vector of 3 or 7 entries", nullptr);
    }
    if (state->Size() == 7 && !state->HasEntry(6, EnValType::Long)) {
        throw CException("CException::Devectorize", "entry 6 of the state, the line, must be a long", nullptr);
    }
    const auto text = [&](int index) {
        const std::string* entry = StateText(*state, index);
        return entry == nullptr ? std::string() : *entry;
    };
    const std::string* detail = StateText(*state, 2);
    auto data = std::make_shared<StData>(text(0), text(1),
                                         detail == nullptr ? std::nullopt : std::optional<std::string>(*detail));
    if (state->Size() == 7) {
        data->place.emplace(text(3), text(4), text(5), state->EntryLong(6), nullptr);
    }
    m_data = std::move(data);
}

} // namespace QUOR
