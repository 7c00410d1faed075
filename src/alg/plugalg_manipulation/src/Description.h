#pragma once

#include "Value/ValueMap.h"
#include "base/String.h"

#include <memory>

namespace QUOR::manipulation {

/// The hints for one parameter, as forms and documentation show it.
class CParameterHints {
public:
    CParameterHints(CValueMap& setup, const char* key) : m_setup(&setup), m_key(key) {}

    /// A boolean is shown as a toggle.
    CParameterHints& Toggle();
    /// The allowed texts, separated by a comma and a blank.
    CParameterHints& Values(const char* allowed);
    /// The condition, in postfix notation, under which the parameter is shown.
    CParameterHints& VisibleIf(const char* condition);
    /// The parameter's place in the form. Numbers need not be gapless.
    CParameterHints& Order(int number);

private:
    CParameterHints& Hint(const char* path, const char* text);

    CValueMap* m_setup;
    const char* m_key;
};

/// Writes the description of a node: its names at once, then parameters and ports in the order of the calls, and with
/// the text everything that follows from the text's sections.
class CDescription {
public:
    CDescription(CValueMap& setup, const char* name, const char* subType);

    /// A parameter with its default, whose kind is the parameter's.
    /// @{
    CParameterHints BoolParameter(const char* key, bool value);
    CParameterHints LongParameter(const char* key, Long value);
    CParameterHints DoubleParameter(const char* key, double value);
    CParameterHints StringParameter(const char* key, const CString& value);
    /// @}

    /// The next port, for an image or a map. Without a `label` the port takes that of its section in the text.
    /// @{
    void ImageInput(const char* label = nullptr);
    void MapInput();
    void ImageOutput();
    void MapOutput();
    /// @}

    /// The description text: comes last. Its sections are opened by the lines BRIEF, INPUT n, OUTPUT n, PARAMETER key,
    /// NOTE, KEYWORDS and SEE ALSO. A blank line ends a section's body; where a second one follows, the body keeps its
    /// last line end. Parameters take their `desc` from it, ports their `label`, inputs `optional` (true if the body
    /// begins with "Optional"), and the node its keywords. Sections for what is not declared stay text only.
    void Text(const char* text);

private:
    CParameterHints Parameter(const char* key, std::unique_ptr<CValue> value);
    void Port(const char* side, std::unique_ptr<CValue> value, const char* label);

    CValueMap& m_setup;
    const char* m_name;
};

} // namespace QUOR::manipulation
