#include "JsonValue.h"

#include "Errors.h"
#include "Printable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <vector>

namespace vessa {

using nlohmann::json;
using QUOR::CValue;
using QUOR::CValue_Key;
using QUOR::CValueMap;
using QUOR::EnValType;

namespace {

constexpr const char* kDouble = "$double";
constexpr std::string_view kIndex = "$int:";
constexpr const char* kSchema = "$schema"; // by which editors find the schema of a file
constexpr std::size_t kMostShown = 500;    // bytes of a text or a path in a message
constexpr std::size_t kBytesOfValue = 160; // a value, its key and its place in the map
constexpr const char* kTooDeep = "maps and vectors are nested deeper than 64 levels";

static_assert(kMostLevels == 64, "the message names the limit");

const char* WordOf(double number) { return std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf"; }

/// Writes values as JSON and knows the path of the value at hand. The parser's library writes the scalars only: a tree
/// of its values takes memory while it is destroyed, and ends the process if there is none.
class CJsonWriter {
public:
    CJsonWriter(const std::string& where, const StJsonForm& form) : m_where(where), m_form(form) {}

    void Map(const CValueMap& map) {
        RequireNoMeta(map);
        std::map<std::string, std::pair<CValue_Key, const CValue*>> entries; // in the order of their names in the text
        for (const auto& [key, value] : map) {
            entries.emplace(JsonFromKey(key), std::pair(key, value));
        }
        Enter();
        Block('{', '}', entries, [this](const auto& entry) {
            const auto& [key, value] = entry.second;
            m_path.push_back(key.IsIndex() ? std::to_string(key.Index()) : key.Text());
            Name(entry.first);
            Value(*value);
            m_path.pop_back();
        });
    }

    std::string TakeText() { return std::move(m_text); }

private:
    void Vector(const QUOR::CValueVector& vector) {
        RequireNoMeta(vector);
        std::vector<const CValue*> entries;
        for (unsigned index = 0; index < vector.Size(); ++index) {
            entries.push_back(vector.Entry(static_cast<long long>(index), false));
        }
        Enter();
        Block('[', ']', entries, [this, index = 0](const CValue* value) mutable {
            m_path.push_back(std::to_string(index++));
            if (value == nullptr) {
                Scalar(nullptr);
            } else {
                Value(*value);
            }
            m_path.pop_back();
        });
    }

    void Value(const CValue& value) {
        switch (value.GenericType()) {
        case EnValType::Map:
            return Map(*value.Map());
        case EnValType::Vector:
            return Vector(*value.Vector());
        case EnValType::Pointer:
            Fail("is a pointer: JSON holds booleans, numbers, texts, maps and vectors");
        default:
            RequireNoMeta(value);
            return Plain(value);
        }
    }

    void Plain(const CValue& value) {
        switch (value.GenericType()) {
        case EnValType::Bool:
            return Scalar(value.Bool());
        case EnValType::Long:
            return Scalar(value.Long());
        case EnValType::Double:
            return Number(value.Double());
        default:
            return Text(value.String().Text(), "is a text that isn't UTF-8");
        }
    }

    void Number(double number) {
        if (std::isfinite(number)) {
            return Scalar(number);
        }
        Enter(); // its form is a level of its own
        Block('{', '}', std::array{WordOf(number)}, [this](const char* word) {
            Name(kDouble);
            Scalar(word);
        });
    }

    void Name(const std::string& name) {
        Text(name, "has a key that isn't UTF-8");
        m_text += m_form.indent < 0 ? ":" : ": ";
    }

    void Text(const std::string& text, const char* failure) {
        try {
            Scalar(text);
        } catch (const json::type_error&) {
            Fail(failure);
        }
    }

    void Scalar(const json& value) { m_text += value.dump(-1, ' ', m_form.ascii); }

    /// The entries of a map or a vector, each as `write` writes it.
    template <class Entries, class Write> void Block(char open, char close, const Entries& entries, Write write) {
        m_text += open;
        for (const char* comma = ""; const auto& entry : entries) {
            m_text += comma;
            comma = ",";
            BreakLine();
            write(entry);
        }
        --m_levels;
        if (!entries.empty()) {
            BreakLine();
        }
        m_text += close;
    }

    void BreakLine() {
        if (m_form.indent >= 0) {
            m_text += '\n';
            m_text.append(m_levels * static_cast<std::size_t>(m_form.indent), ' ');
        }
    }

    void Enter() {
        if (m_levels == kMostLevels) {
            throw CFileError(m_where + ": " + kTooDeep);
        }
        ++m_levels;
    }

    void RequireNoMeta(const CValue& value) {
        if (!value.Meta().IsEmpty()) {
            Fail("has side information (Meta), which JSON can't hold");
        }
    }

    [[noreturn]] void Fail(const std::string& what) const {
        std::string path;
        for (const std::string& part : m_path) {
            path += (path.empty() ? "" : "/") + part;
        }
        throw CFileError(m_where + ": " + (m_path.empty() ? "the map " : "the entry " + Printable(path) + " ") + what);
    }

    const std::string& m_where;
    const StJsonForm& m_form;
    std::string m_text;
    std::vector<std::string> m_path;
    std::size_t m_levels = 0;
};

/// Builds values from the parser's events. No tree of JSON is made in between, so that the memory that a text takes is
/// bounded by the values it tells of.
class CJsonReader : public json::json_sax_t {
public:
    CJsonReader(std::string_view text, const std::string& where) : m_text(text), m_where(where) {}

    std::unique_ptr<CValueMap> TakeResult() { return std::move(m_result); }

    bool null() override {
        if (!m_levels.empty() && m_levels.back().isMap) {
            Fail("is null, which stands for an empty slot of a vector only");
        }
        return Add(nullptr);
    }
    bool boolean(bool value) override { return Add(std::make_unique<QUOR::CValueBool>(value)); }
    bool number_integer(std::int64_t value) override {
        if (value < std::numeric_limits<QUOR::Long>::min() || value > std::numeric_limits<QUOR::Long>::max()) {
            FailOfRange(std::to_string(value));
        }
        return Add(std::make_unique<QUOR::CValueLong>(static_cast<QUOR::Long>(value)));
    }
    bool number_unsigned(std::uint64_t value) override {
        if (value > static_cast<std::uint64_t>(std::numeric_limits<QUOR::Long>::max())) {
            FailOfRange(std::to_string(value));
        }
        return Add(std::make_unique<QUOR::CValueLong>(static_cast<QUOR::Long>(value)));
    }
    bool number_float(double value, const std::string& literal) override {
        if (literal.find_first_of(".eE") == std::string::npos) {
            FailOfRange(literal); // an integer that the parser found too long for 64 bits
        }
        return Add(std::make_unique<QUOR::CValueDouble>(value));
    }
    bool string(std::string& text) override {
        if (!m_levels.empty() && m_levels.back().isDouble) {
            return SetDouble(text);
        }
        CountBytes(text.size());
        return Add(std::make_unique<QUOR::CValueString>(text.data(), text.size()));
    }
    bool binary(json::binary_t& /*data*/) override { return false; } // no part of the text form

    bool start_object(std::size_t /*count*/) override { return Enter(std::make_unique<CValueMap>(), true); }
    bool start_array(std::size_t /*count*/) override { return Enter(std::make_unique<QUOR::CValueVector>(), false); }
    bool end_object() override { return Leave(); }
    bool end_array() override { return Leave(); }

    bool key(std::string& text) override {
        StLevel& level = m_levels.back();
        if (level.isDouble) {
            FailOfDouble();
        }
        CountBytes(text.size());
        level.name = text;
        if (text == kDouble) {
            level.isDouble = true;
            return true;
        }
        level.key = Key(text);
        if (level.container->HasEntry(level.key)) {
            Fail("stands twice in its map");
        }
        return true;
    }

    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::detail::exception& failure) override {
        const std::string_view before = m_text.substr(0, std::max<std::size_t>(position, 1) - 1);
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1; // npos + 1 is 0
        std::string_view reason = failure.what();
        reason.remove_prefix(std::min(reason.find("] ") + 2, reason.size())); // the parser's own number of the failure
        const std::size_t place = reason.find(": ");
        if (reason.starts_with("parse error at line") && place != std::string_view::npos) {
            reason.remove_prefix(place + 2);
        }
        throw CFileError(m_where + ": no valid JSON in line " + std::to_string(line) + ", column " +
                         std::to_string(column) + ": " + Printable(Shortened(reason, kMostShown)));
    }

private:
    struct StLevel {
        std::unique_ptr<QUOR::CValueContainerBase> container;
        bool isMap;
        std::string name;      ///< of the entry at hand, as it stands in the text
        CValue_Key key;        ///< the same as the map's key
        bool isDouble = false; ///< the map is none but the form of a number
        std::unique_ptr<CValue> number;
    };

    CValue_Key Key(const std::string& text) {
        if (text.find('/') != std::string::npos) {
            Fail("has a key with '/', which would be a path through maps");
        }
        if (!text.starts_with('$') || text == kSchema) {
            return CValue_Key(text);
        }
        if (text.starts_with("$$")) {
            return CValue_Key(text.substr(1));
        }
        const char* first = text.data() + kIndex.size();
        const char* last = text.data() + text.size();
        long long index = 0;
        if (!text.starts_with(kIndex) || std::from_chars(first, last, index).ptr != last ||
            text != std::string(kIndex) + std::to_string(index)) {
            Fail("has an unknown form: \"$double\", \"$int:N\", \"$schema\" and keys with \"$$\" are known");
        }
        return index;
    }

    bool SetDouble(const std::string& text) {
        constexpr double inf = std::numeric_limits<double>::infinity();
        StLevel& level = m_levels.back();
        if (level.number || (text != "nan" && text != "inf" && text != "-inf")) {
            FailOfDouble();
        }
        const double number = text == "nan" ? std::numeric_limits<double>::quiet_NaN() : text == "inf" ? inf : -inf;
        level.number = std::make_unique<QUOR::CValueDouble>(number);
        return true;
    }

    bool Enter(std::unique_ptr<QUOR::CValueContainerBase> container, bool isMap) {
        if (m_levels.empty() && !isMap) {
            FailOfTop();
        }
        if (!m_levels.empty() && m_levels.back().isDouble) {
            FailOfDouble();
        }
        if (m_levels.size() == kMostLevels) {
            throw CFileError(m_where + ": " + kTooDeep);
        }
        m_levels.push_back({std::move(container), isMap, {}, {}, false, nullptr});
        return true;
    }

    bool Leave() {
        StLevel level = std::move(m_levels.back());
        m_levels.pop_back();
        if (level.isDouble && !level.container->Map()->IsEmpty()) {
            FailOfDouble();
        }
        if (!m_levels.empty()) {
            return Add(level.isDouble ? std::move(level.number) : std::move(level.container));
        }
        if (level.isDouble) {
            FailOfTop();
        }
        m_result.reset(level.container.release()->Map());
        return true;
    }

    bool Add(std::unique_ptr<CValue> value) {
        CountBytes(kBytesOfValue);
        if (m_levels.empty()) {
            FailOfTop();
        }
        StLevel& level = m_levels.back();
        if (level.isDouble) {
            FailOfDouble();
        }
        if (level.isMap) {
            level.container->SetEntry(level.key, value.release());
        } else {
            level.container->Vector()->PushBack(value.release());
        }
        return true;
    }

    [[noreturn]] void FailOfTop() const { throw CFileError(m_where + ": the JSON is no object: a map is needed"); }
    [[noreturn]] void FailOfDouble() const {
        Fail("is no number: \"$double\" stands alone, with \"nan\", \"inf\" or \"-inf\"");
    }
    [[noreturn]] void FailOfRange(const std::string& number) const {
        Fail("is the integer " + number + ", which doesn't fit 32 bits: a floating number has a '.' or an exponent");
    }
    [[noreturn]] void Fail(const std::string& what) const {
        std::string path;
        for (const StLevel& level : m_levels) {
            path += path.empty() ? "" : "/";
            path += level.isMap ? level.name : std::to_string(level.container->Size());
        }
        throw CFileError(m_where + ": the entry " + Printable(Shortened(path, kMostShown)) + " " + what);
    }

    /// Counts a value against the memory that images may take: a text of a few bytes can stand for one of hundreds.
    void CountBytes(std::size_t bytes) {
        const std::size_t most = QUOR::ImageMemoryLimit();
        m_bytes += bytes;
        if (m_bytes > most) {
            throw CFileError(m_where + ": its values take more than the " + std::to_string(most) +
                             " bytes that images may take" + kRaiseMemoryLimit);
        }
    }

    std::string_view m_text;
    const std::string& m_where;
    std::vector<StLevel> m_levels;
    std::size_t m_bytes = 0; ///< of the values so far, as nearly as it matters
    std::unique_ptr<CValueMap> m_result;
};

} // namespace

json JsonFromNumber(double number) {
    if (std::isfinite(number)) {
        return number;
    }
    return json{{kDouble, WordOf(number)}};
}

std::string JsonFromKey(const CValue_Key& key) {
    if (key.IsIndex()) {
        return std::string(kIndex) + std::to_string(key.Index());
    }
    return key.Text().starts_with('$') && key.Text() != kSchema ? '$' + key.Text() : key.Text();
}

std::string JsonFromMap(const CValueMap& map, const std::string& where, const StJsonForm& form) {
    CJsonWriter writer(where, form);
    writer.Map(map);
    return writer.TakeText();
}

std::unique_ptr<CValueMap> MapFromJson(std::string_view text, const std::string& where) {
    CJsonReader reader(text, where);
    json::sax_parse(text, &reader);
    return reader.TakeResult();
}

} // namespace vessa
