#include "NodeRun.h"

#include "Errors.h"
#include "ParameterValue.h"
#include "Text.h"
#include "ValueFile.h"

#include <algorithm>
#include <array>
#include <set>

using namespace QUOR;

namespace vessa {

namespace {

/// In the place of a file: the port stays empty.
constexpr const char* kNoFile = "none";

bool IsWord(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char letter) {
        return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_';
    });
}

IImage::CType TypeNamed(const std::string& name) {
    if (const auto type = TypeByName(name)) {
        return *type;
    }
    std::vector<std::string> names;
    for (const IImage::CType& type : AllTypes()) {
        names.emplace_back(type.ToString());
    }
    throw CUseError("unknown element type '" + name + "'" + NearestHint(name, names));
}

EnValType KindNamed(const std::string& word) {
    if (const auto kind = KindOf(word)) {
        return *kind;
    }
    throw CUseError("unknown kind '" + word + "': one of bool, long, double, string");
}

void Place(const std::string& key, std::unique_ptr<CValue> value, CValueMap& parameters) {
    parameters.SetEntry(CValue_Key(key), value.release());
}

std::string Count(std::size_t number, const char* noun) {
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

void CheckNumber(std::size_t given, std::size_t ports, const char* noun) {
    if (given > ports) {
        throw CUseError(Count(given, noun) + " given, but the node has " + std::to_string(ports));
    }
}

void CheckFormat(const std::string& file) {
    if (!file.empty() && !IsKnownFormat(file)) {
        throw CUseError(
            file + ": the name's ending tells no known format: .png, .tif, .tiff and .npy are images, .json is a map");
    }
}

/// Only one kind of file holds maps, and that kind holds nothing else.
void CheckKind(const StPort& port, const std::string& file) {
    if (port.isMap != EndsWith(file, ".json")) {
        throw CUseError(
            file + ": the output is " +
            (port.isMap ? "a map, which goes to a .json file" : "an image, which a .json file doesn't hold"));
    }
}

void CheckOutputs(const StNodeDescription& node, const std::vector<std::string>& outputs) {
    std::set<std::string> files;
    for (std::size_t index = 0; index < outputs.size(); ++index) {
        const std::string& file = outputs[index];
        CheckFormat(file);
        if (file.empty()) {
            continue;
        }
        CheckKind(node.outputs[index], file);
        if (!files.insert(file).second) {
            throw CUseError(file + ": two outputs can't go to one file");
        }
    }
    if (files.empty() && !node.outputs.empty()) {
        throw CUseError("no output is named: -o FILE tells where the result goes");
    }
}

/// The outputs that have files, in the order of the files.
std::vector<std::unique_ptr<CValue>> TakeOutputs(CPNode& node, const std::vector<std::string>& files) {
    std::vector<std::unique_ptr<CValue>> values(files.size());
    for (std::size_t index = 0; index < files.size(); ++index) {
        if (files[index].empty()) {
            continue;
        }
        values[index] = node.TakeStackOutput(static_cast<int>(index));
        if (values[index] == nullptr || !values[index]->IsValid()) {
            throw CWorkError("output " + std::to_string(index) + ": the node has left it empty, so that " +
                             files[index] + " is not written");
        }
    }
    return values;
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

StInputFile ParseInput(const std::string& text) {
    if (text == kNoFile) {
        return {};
    }
    const std::size_t at = text.rfind('@');
    if (at == std::string::npos || !IsWord(text.substr(at + 1))) {
        return {text, std::nullopt};
    }
    return {text.substr(0, at), TypeNamed(text.substr(at + 1))};
}

std::string ParseOutput(const std::string& text) { return text == kNoFile ? "" : text; }

void OfferInputs(CCompletion& completion) {
    OfferOutputs(completion);
    const std::size_t at = completion.Word().rfind('@');
    if (at != std::string::npos) {
        completion.Settle(at + 1);
        for (const IImage::CType& type : AllTypes()) {
            completion.Offer(type.ToString());
        }
    }
}

void OfferOutputs(CCompletion& completion) {
    completion.Offer(kNoFile, "no file");
    completion.OfferFiles(KnownEndings());
}

void CheckFiles(const StNodeDescription& node, const StNodeRun& run) {
    CheckNumber(run.inputs.size(), node.inputs.size(), "input");
    CheckNumber(run.outputs.size(), node.outputs.size(), "output");
    for (const StInputFile& input : run.inputs) {
        CheckFormat(input.file);
    }
    CheckOutputs(node, run.outputs);
}

void RunNode(CPNode& node, const StNodeRun& run) {
    node.Init(&run.parameters);
    node.NodeInit();
    std::vector<std::unique_ptr<CValue>> inputs;
    for (std::size_t index = 0; index < run.inputs.size(); ++index) {
        const StInputFile& input = run.inputs[index];
        inputs.push_back(input.file.empty() ? nullptr : ReadValue(input.file, {.type = input.type}));
        node.SetStackInput(static_cast<int>(index), inputs.back().get());
    }
    node.Run();
    const auto outputs = TakeOutputs(node, run.outputs);
    node.ClearStack(); // the inputs end with this function
    inputs.clear();    // before memory is needed for writing
    for (std::size_t index = 0; index < outputs.size(); ++index) {
        if (outputs[index] != nullptr) {
            WriteValue(run.outputs[index], *outputs[index]);
        }
    }
}

} // namespace vessa
