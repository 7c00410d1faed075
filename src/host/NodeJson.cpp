#include "NodeJson.h"

#include "JsonValue.h"
#include "NodeText.h"

#include <nlohmann/json.hpp>

using namespace QUOR;
using nlohmann::ordered_json;

namespace vessa {

namespace {

ordered_json PortsJson(const std::vector<StPort>& ports, bool inputs) {
    ordered_json list = ordered_json::array();
    for (const StPort& port : ports) {
        ordered_json entry{{"kind", port.isMap ? "map" : "image"}, {"label", port.label.Line()}};
        if (inputs) {
            entry["optional"] = port.optional;
        }
        list.push_back(std::move(entry));
    }
    return list;
}

ordered_json ValueJson(const CValue& value) {
    switch (value.GenericType()) {
    case EnValType::Bool:
        return value.Bool();
    case EnValType::Long:
        return value.Long();
    case EnValType::Double:
        return JsonFromNumber(value.Double());
    case EnValType::String:
        return value.String().Text();
    default:
        return nullptr;
    }
}

ordered_json ParameterJson(const StParameter& parameter) {
    ordered_json entry{
        {"key", parameter.key}, {"kind", KindWord(parameter.Kind())}, {"default", ValueJson(*parameter.standard)}};
    if (!parameter.allowed.empty()) {
        entry["allowed"] = parameter.allowed;
    }
    if (parameter.order) {
        entry["order"] = *parameter.order;
    }
    if (!parameter.visibleIf.empty()) {
        entry["visibleIf"] = parameter.visibleIf;
    }
    entry["text"] = parameter.text.Line();
    return entry;
}

ordered_json WholeJson(const CValue& value);

ordered_json MapJson(const CValueMap& map) {
    ordered_json object = ordered_json::object();
    for (const auto& [key, value] : map) {
        object[JsonFromKey(key)] = WholeJson(*value);
    }
    return object;
}

ordered_json VectorJson(const CValueVector& vector) {
    ordered_json array = ordered_json::array();
    for (unsigned index = 0; index < vector.Size(); ++index) {
        const CValue* value = vector.Entry(static_cast<long long>(index), false);
        array.push_back(value == nullptr ? ordered_json() : WholeJson(*value));
    }
    return array;
}

ordered_json DataJson(const CValue& value) {
    switch (value.GenericType()) {
    case EnValType::Map:
        return MapJson(*value.Map());
    case EnValType::Vector:
        return VectorJson(*value.Vector());
    case EnValType::Pointer:
        return {{"$pointer", nullptr}};
    default:
        return ValueJson(value);
    }
}

/// The value as maps are written to files, and more than those may hold: pointers, which point to nothing in a
/// description, and side information beside the value.
ordered_json WholeJson(const CValue& value) {
    if (value.Meta().IsEmpty()) {
        return DataJson(value);
    }
    return {{"$value", DataJson(value)}, {"$meta", MapJson(value.Meta())}};
}

} // namespace

ordered_json DescriptionJson(const StNodeDescription& node, const std::string& module) {
    ordered_json parameters = ordered_json::array();
    for (const StParameter& parameter : node.parameters) {
        parameters.push_back(ParameterJson(parameter));
    }
    ordered_json furtherKeys = ordered_json::array();
    for (const StFurtherKey& key : node.furtherKeys) {
        furtherKeys.push_back({{"key", key.key}, {"text", key.text.Line()}});
    }
    std::vector<std::string> notes;
    for (const CMarkup& note : node.notes) {
        notes.push_back(note.Line());
    }
    return {{"name", node.name},
            {"module", module},
            {"type", node.type},
            {"subType", node.subType},
            {"brief", node.brief.Line()},
            {"text", node.text.Line()},
            {"inputs", PortsJson(node.inputs, true)},
            {"outputs", PortsJson(node.outputs, false)},
            {"parameters", std::move(parameters)},
            {"furtherKeys", std::move(furtherKeys)},
            {"notes", notes},
            {"keywords", node.keywords},
            {"seeAlso", node.seeAlso.Line()},
            {"page", PageFile(node)},
            {"map", MapJson(*node.map)}};
}

} // namespace vessa
