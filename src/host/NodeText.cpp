#include "NodeText.h"

#include "ParameterValue.h"
#include "Text.h"

using namespace QUOR;

namespace vessa {

namespace {

constexpr std::size_t kIndent = 2;
constexpr std::size_t kTextIndent = 6;

constexpr const char* kBold = "\033[1m";
constexpr const char* kCyan = "\033[36m";
constexpr const char* kPlain = "\033[0m";

/// The text as the terminal shows it after the control sequence `look`, from its first letter to its last one.
std::string Shown(const std::string& text, const char* look, const StTextStyle& style) {
    const std::size_t first = text.find_first_not_of(" \n");
    if (!style.coloured || first == std::string::npos) {
        return text;
    }
    const std::size_t end = text.find_last_not_of(" \n") + 1;
    return text.substr(0, first) + look + text.substr(first, end - first) + kPlain + text.substr(end);
}

/// A heading and the text below it; nothing for an empty text.
std::string Block(const std::string& heading, const std::string& text, const StTextStyle& style) {
    return text.empty() ? "" : Shown("\n" + heading + ":\n", kBold, style) + text;
}

/// The name of a thing that is told of in the lines below it.
std::string NameLine(const std::string& name, const StTextStyle& style) {
    return Shown(Wrap(name, kIndent, style.width), kCyan, style);
}

std::string TextLines(const CMarkup& text, std::size_t indent, const StTextStyle& style) {
    return Wrap(text.Plain(), indent, style.width);
}

std::string ParameterFacts(const StParameter& parameter) {
    std::string facts = std::string(KindWord(parameter.Kind())) + ", default " + FormatValue(*parameter.standard);
    if (!parameter.allowed.empty()) {
        facts += ", one of " + Join(parameter.allowed, ", ");
    }
    return facts;
}

std::string PortsText(const std::vector<StPort>& ports, const StTextStyle& style) {
    std::string text;
    for (std::size_t number = 0; number < ports.size(); ++number) {
        const StPort& port = ports[number];
        const std::string kind = (port.isMap ? "map" : "image") + std::string(port.optional ? ", optional" : "");
        text += NameLine(std::to_string(number) + " " + kind, style) + TextLines(port.label, kTextIndent, style);
    }
    return text;
}

std::string ParametersText(const StNodeDescription& node, const StTextStyle& style) {
    std::string text;
    for (const StParameter& parameter : node.parameters) {
        text += NameLine(OptionForm(parameter), style) + Wrap(ParameterFacts(parameter), kTextIndent, style.width) +
                TextLines(parameter.text, kTextIndent, style);
    }
    return text;
}

/// Texts about keys that aren't declared: a node that reads such a key takes it by `--set`.
std::string FurtherKeysText(const StNodeDescription& node, const StTextStyle& style) {
    std::string text;
    for (const StFurtherKey& key : node.furtherKeys) {
        text += NameLine(key.key, style) + TextLines(key.text, kTextIndent, style);
    }
    return text;
}

/// The node's name and what it is for.
std::string TitleText(const StNodeDescription& node, const StTextStyle& style) {
    std::string title = Wrap(node.name + ": " + node.brief.Line(), 0, style.width);
    return Shown(title.substr(0, node.name.size()), kBold, style) + title.substr(node.name.size());
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

} // namespace

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

std::string PageFile(const StNodeDescription& node) { return CStringTools::UnwrapEnvVars(node.page.c_str()); }

std::string HelpText(const StNodeDescription& node, const std::string& options, const std::string& example,
                     const StTextStyle& style) {
    return TitleText(node, style) + "\n" + UsageLine(node) + Block("Inputs", PortsText(node.inputs, style), style) +
           Block("Outputs", PortsText(node.outputs, style), style) +
           Block("Parameters", ParametersText(node, style), style) + options +
           Block("Example", "  " + example + "\n", style);
}

std::string DescriptionText(const StNodeDescription& node, const std::string& module, const StTextStyle& style) {
    std::string notes;
    for (const CMarkup& note : node.notes) {
        notes += TextLines(note, kIndent, style);
    }
    const auto block = [&](const char* heading, const std::string& text) { return Block(heading, text, style); };
    return TitleText(node, style) + Wrap("module " + module + ", " + node.type + "/" + node.subType, 0, style.width) +
           block("Description", TextLines(node.text, kIndent, style)) + block("Inputs", PortsText(node.inputs, style)) +
           block("Outputs", PortsText(node.outputs, style)) + block("Parameters", ParametersText(node, style)) +
           block("Not declared, but in the text", FurtherKeysText(node, style)) + block("Notes", notes) +
           block("Keywords", Wrap(Join(node.keywords, ", "), kIndent, style.width)) +
           block("See also", TextLines(node.seeAlso, kIndent, style)) +
           block("Page", Wrap(PageFile(node), kIndent, style.width));
}

} // namespace vessa
