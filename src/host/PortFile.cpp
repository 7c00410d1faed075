#include "PortFile.h"

#include "Errors.h"
#include "Text.h"

#include <algorithm>
#include <cctype>

using QUOR::IImage;

namespace vessa {

namespace {

/// In the place of a file: the port stays empty.
constexpr const char* kNoFile = "none";

bool IsWord(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char letter) {
        return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_';
    });
}

/// The format that a value of a kind is written in.
EnFormat OutputFormat(const std::string& file, bool isMap, const StWriteOptions& options) {
    return file == kStandardStream ? StandardOutputFormat(isMap, options) : *FormatOf(file);
}

} // namespace

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

void CheckInputFile(const std::string& file) {
    if (!file.empty() && file != kStandardStream && !FormatOf(file)) {
        throw CUseError(UnknownFormat(file));
    }
}

void CheckOutputFile(const std::string& file, bool isMap, const StWriteOptions& options) {
    CheckInputFile(file);
    if (!file.empty() && isMap != (OutputFormat(file, isMap, options) == EnFormat::Json)) {
        throw CUseError((file == kStandardStream ? kStandardOutput : file) + ": the output is " +
                        (isMap ? "a map, which goes to a .json file" : "an image, which a .json file doesn't hold"));
    }
}

} // namespace vessa
