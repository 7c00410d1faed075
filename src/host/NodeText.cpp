#include "NodeText.h"

#include "ParameterValue.h"
#include "Text.h"

#include <nlohmann/json.hpp>

using namespace QUOR;
using nlohmann::ordered_json;

namespace vessa {

namespace {

constexpr std::size_t kIndent = 2;
constexpr std::size_t kTextIndent = 6;

/// A heading and the text below it; nothing for an empty text.
std::string Block(const std::string& heading, const std::string& text) {
    return text.empty() ? "" : "\n" + heading + ":\n" + text;
}

/// What is typed to give the parameter another value than its default: "--key", "--key=false" or "--key VALUE", or an
/// assignment where the key is no option.
std::string OptionForm(const StParameter& parameter) {
    if (!HasOption(parameter)) {
        return "--set " + parameter.key + "=VALUE";
    }
    const std::string option = "--" + parameter.key;
    if (parameter.Kind() == EnValType::Bool) {
        return option + (parameter.standard->Bool() ? "=false" : "");
    }
    return option + (parameter.Kind() == EnValType::String ? " TEXT" : " NUMBER");
}

std::string ParameterFacts(const StParameter& parameter) {
    std::string facts = std::string(KindWord(parameter.Kind())) + ", default " + FormatValue(*parameter.standard);
    if (!parameter.allowed.empty()) {
        facts += ", one of " + Join(parameter.allowed, ", ");
    }
    return facts;
}

std::string PortsText(const std::vector<StPort>& ports, std::size_t width) {
    std::string text;
    for (std::size_t number = 0; number < ports.size(); ++number) {
        const StPort& port = ports[number];
        text +=
            Wrap(std::to_string(number) + "  " + (port.isMap ? "map" : "image") + (port.optional ? ", optional" : ""),
                 kIndent, width);
        text += Wrap(port.label, kTextIndent, width);
    }
    return text;
}

std::string ParametersText(const StNodeDescription& node, std::size_t width) {
    std::string text;
    for (const StParameter& parameter : node.parameters) {
        text += Wrap(OptionForm(parameter), kIndent, width);
        text += Wrap(ParameterFacts(parameter), kTextIndent, width);
        text += Wrap(parameter.text, kTextIndent, width);
    }
    return text;
}

/// Texts about keys that aren't declared: a node that reads such a key takes it by `--set`.
std::string FurtherKeysText(const StNodeDescription& node, std::size_t width) {
    std::string text;
    for (const StFurtherKey& key : node.furtherKeys) {
        text += Wrap(key.key, kIndent, width) + Wrap(key.text, kTextIndent, width);
    }
    return text;
}

std::string UsageLine(const StNodeDescription& node) {
    std::string line = "Usage: vessa run " + node.name;
    for (const StPort& port : node.inputs) {
        line += port.optional ? " [-i FILE]" : " -i FILE";
    }
    for (const StPort& port : node.outputs) {
        line += &port == &node.outputs.front() ? " -o FILE" : " [-o FILE]";
    }
    return line + (node.parameters.empty() ? "" : " [--KEY VALUE]...") + " [--set KEY=VALUE]...\n";
}

ordered_json PortsJson(const std::vector<StPort>& ports, bool inputs) {
    ordered_json list = ordered_json::array();
    for (const StPort& port : ports) {
        ordered_json entry{{"kind", port.isMap ? "map" : "image"}, {"label", OneLine(port.label)}};
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
        return value.Double();
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
    entry["text"] = OneLine(parameter.text);
    return entry;
}

std::string PageFile(const StNodeDescription& node) { return CStringTools::UnwrapEnvVars(node.page.c_str()); }

} // namespace

std::string HelpText(const StNodeDescription& node, const std::string& options, const std::string& example,
                     std::size_t width) {
    return Wrap(node.name + ": " + node.brief, 0, width) + "\n" + UsageLine(node) +
           Block("Inputs", PortsText(node.inputs, width)) + Block("Outputs", PortsText(node.outputs, width)) +
           Block("Parameters", ParametersText(node, width)) + options + Block("Example", "  " + example + "\n");
}

std::string DescriptionText(const StNodeDescription& node, const std::string& module, std::size_t width) {
    std::string notes;
    for (const std::string& note : node.notes) {
        notes += Wrap(note, kIndent, width);
    }
    return Wrap(node.name + ": " + node.brief, 0, width) +
           Wrap("module " + module + ", " + node.type + "/" + node.subType, 0, width) +
           Block("Description", Wrap(node.text, kIndent, width)) + Block("Inputs", PortsText(node.inputs, width)) +
           Block("Outputs", PortsText(node.outputs, width)) + Block("Parameters", ParametersText(node, width)) +
           Block("Not declared, but in the text", FurtherKeysText(node, width)) + Block("Notes", notes) +
           Block("Keywords", Wrap(Join(node.keywords, ", "), kIndent, width)) +
           Block("See also", Wrap(node.seeAlso, kIndent, width)) + Block("Page", Wrap(PageFile(node), kIndent, width));
}

ordered_json DescriptionJson(const StNodeDescription& node, const std::string& module) {
    ordered_json parameters = ordered_json::array();
    for (const StParameter& parameter : node.parameters) {
        parameters.push_back(ParameterJson(parameter));
    }
    ordered_json furtherKeys = ordered_json::array();
    for (const StFurtherKey& key : node.furtherKeys) {
        furtherKeys.push_back({{"key", key.key}, {"text", OneLine(key.text)}});
    }
    std::vector<std::string> notes;
    for (const std::string& note : node.notes) {
        notes.push_back(OneLine(note));
    }
    return {{"name", node.name},
            {"module", module},
            {"type", node.type},
            {"subType", node.subType},
            {"brief", node.brief},
            {"text", OneLine(node.text)},
            {"inputs", PortsJson(node.inputs, true)},
            {"outputs", PortsJson(node.outputs, false)},
            {"parameters", std::move(parameters)},
            {"furtherKeys", std::move(furtherKeys)},
            {"notes", notes},
            {"keywords", node.keywords},
            {"seeAlso", OneLine(node.seeAlso)},
            {"page", PageFile(node)}};
}

} // namespace vessa
