#include "NodeParameters.h"

#include "Errors.h"
#include "ParameterValue.h"

using namespace QUOR;

namespace vessa {

namespace {

EnValType KindNamed(const std::string& word) {
    if (const auto kind = KindOf(word)) {
        return *kind;
    }
    throw CUseError("unknown kind '" + word + "': one of bool, long, double, string");
}

void Place(const std::string& key, std::unique_ptr<CValue> value, CValueMap& parameters) {
    parameters.SetEntry(CValue_Key(key), std::move(value));
}

} // namespace

void PlaceDefaults(const StNodeDescription& node, CValueMap& parameters) {
    for (const StParameter& parameter : node.parameters) {
        Place(parameter.key, std::unique_ptr<CValue>(parameter.standard->Clone(EnTfOwnership::Copy)), parameters);
    }
}

void PlaceParameter(const StParameter& parameter, const std::string& text, CValueMap& parameters) {
    Place(parameter.key, ParseValue(parameter, text), parameters);
}

void PlaceParameter(const StParameter& parameter, const CValue& value, CValueMap& parameters) {
    const EnValType kind = value.GenericType();
    if (kind == EnValType::Long && parameter.Kind() == EnValType::Double) {
        Place(parameter.key, std::make_unique<CValueDouble>(value.Long()), parameters);
    } else if (kind == EnValType::String && parameter.Kind() == EnValType::String) {
        PlaceParameter(parameter, value.String().Text(), parameters);
    } else if (kind == parameter.Kind()) {
        Place(parameter.key, std::unique_ptr<CValue>(value.Clone(EnTfOwnership::Copy)), parameters);
    } else {
        throw CUseError(std::string("a ") + KindWord(kind) + ", but the parameter is a " + KindWord(parameter.Kind()));
    }
}

std::string PlaceAssignment(const StNodeDescription& node, const std::string& assignment, CValueMap& parameters) {
    const std::size_t equals = assignment.find('=');
    const std::string left = assignment.substr(0, equals);
    const std::size_t colon = left.rfind(':');
    const std::string key = left.substr(0, colon);
    if (equals == std::string::npos || key.empty()) {
        throw CUseError("'" + assignment + "' is not of the form KEY=VALUE or KEY:KIND=VALUE");
    }
    const std::string text = assignment.substr(equals + 1);
    if (colon != std::string::npos) {
        Place(key, ParseValue(KindNamed(left.substr(colon + 1)), text), parameters);
    } else if (const StParameter* parameter = FindParameter(node, key)) {
        PlaceParameter(*parameter, text, parameters);
    } else {
        Place(key, GuessValue(text), parameters);
    }
    return key;
}

} // namespace vessa
