#include "ValueFile.h"

#include "Errors.h"
#include "ImageFile.h"
#include "JsonValue.h"
#include "NpyFile.h"
#include "PngFile.h"
#include "Text.h"
#include "TiffFile.h"

#include <algorithm>
#include <array>
#include <new>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace vessa {

using QUOR::CImage;
using QUOR::CValue;
using QUOR::EnValType;
using QUOR::IImage;

namespace {

/// How the images of a format are read and written.
struct StImageFormat {
    std::unique_ptr<CImage> (*read)(const CInputFile& file, const StReadOptions& options);
    void (*check)(const std::string& file, const CImage& image);
    void (*write)(COutputFile& file, const CImage& image, const StWriteOptions& options);
};

constexpr StImageFormat kPng{&ReadPng, &CheckPng,
                             [](COutputFile& file, const CImage& image, const StWriteOptions& options) {
                                 WritePng(file, image, options.pngLevel);
                             }};
constexpr StImageFormat kTiff{
    &ReadTiff, &CheckTiff,
    [](COutputFile& file, const CImage& image, const StWriteOptions& /*options*/) { WriteTiff(file, image); }};
constexpr StImageFormat kNpy{
    &ReadNpy, &CheckNpy,
    [](COutputFile& file, const CImage& image, const StWriteOptions& /*options*/) { WriteNpy(file, image); }};

struct StFormat {
    EnFormat format;
    const char* name;
    const StImageFormat* images; ///< null for the format of maps
};

constexpr std::array<StFormat, 4> kFormats{{{EnFormat::Png, "png", &kPng},
                                            {EnFormat::Tiff, "tiff", &kTiff},
                                            {EnFormat::Npy, "npy", &kNpy},
                                            {EnFormat::Json, "json", nullptr}}};

constexpr std::array<std::pair<std::string_view, EnFormat>, 5> kEndings{{{".png", EnFormat::Png},
                                                                         {".tif", EnFormat::Tiff},
                                                                         {".tiff", EnFormat::Tiff},
                                                                         {".npy", EnFormat::Npy},
                                                                         {".json", EnFormat::Json}}};

/// What the images of a format begin with. TIFF has two byte orders, and a form for large files.
constexpr std::array<std::pair<std::string_view, EnFormat>, 6> kSignatures{
    {{"\x89PNG\r\n\x1a\n", EnFormat::Png},
     {std::string_view("II*\0", 4), EnFormat::Tiff},
     {std::string_view("MM\0*", 4), EnFormat::Tiff},
     {std::string_view("II+\0", 4), EnFormat::Tiff},
     {std::string_view("MM\0+", 4), EnFormat::Tiff},
     {"\x93NUMPY", EnFormat::Npy}}};

const StFormat& Entry(EnFormat format) {
    return *std::find_if(kFormats.begin(), kFormats.end(),
                         [=](const StFormat& entry) { return entry.format == format; });
}

EnFormat FormatOfEnding(const std::string& file) {
    const auto format = FormatOf(file);
    if (!format) {
        throw CFileError(UnknownFormat(file));
    }
    return *format;
}

/// The format of a file by its first bytes.
EnFormat FormatOfContent(const CInputFile& file) {
    std::array<char, 4096> buffer{};
    const std::string_view start(buffer.data(), file.Read(0, buffer.data(), buffer.size()));
    const auto* found = std::find_if(kSignatures.begin(), kSignatures.end(),
                                     [&](const auto& signature) { return start.starts_with(signature.first); });
    if (found != kSignatures.end()) {
        return found->second;
    }
    const std::size_t text = start.find_first_not_of(" \t\r\n");
    if (text != std::string_view::npos && start[text] == '{') {
        return EnFormat::Json;
    }
    file.Fail(std::string(start.empty() ? "it is empty" : "its first bytes tell no known format") +
              ": PNG, TIFF and npy are images, a JSON object is a map");
}

/// Runs `work` and turns the failures of the host library and of the memory into those of the file.
template <class Work> auto WithFileErrors(const std::string& file, const Work& work) {
    try {
        return work();
    } catch (const QUOR::CException& failure) {
        throw CFileError(file + ": " + failure.FormattedWhat());
    } catch (const QUOR::CImageMemoryLimit& failure) {
        throw CFileError(file + ": " + failure.what() + kRaiseMemoryLimit);
    } catch (const std::bad_alloc&) {
        throw CFileError(file + ": there is not enough memory");
    }
}

std::unique_ptr<CValue> ReadMap(const CInputFile& file, const StReadOptions& options) {
    if (options.type) {
        file.Fail(std::string("a map can't be read as ") + options.type->ToString());
    }
    if (file.Size() > QUOR::ImageMemoryLimit()) {
        file.Fail("it has " + std::to_string(file.Size()) + " bytes, more than the " +
                  std::to_string(QUOR::ImageMemoryLimit()) + " that images may take" + kRaiseMemoryLimit);
    }
    std::string text(static_cast<std::size_t>(file.Size()), '\0');
    file.ReadAll(0, text.data(), text.size());
    return MapFromJson(text, file.Name());
}

/// The name of a file in messages.
std::string Shown(const std::string& file, const char* stream) { return file == kStandardStream ? stream : file; }

/// The format that a file is written in.
EnFormat ChosenFormat(const std::string& file, bool isImage, const StWriteOptions& options) {
    if (file == kStandardStream) {
        return StandardOutputFormat(!isImage, options);
    }
    if (options.format) {
        throw CFileError(file + ": the name's ending tells the format: another one can be chosen for standard output "
                                "only");
    }
    return FormatOfEnding(file);
}

std::unique_ptr<COutputFile> StageMap(const std::string& file, const QUOR::CValueMap& map) {
    const std::string text = JsonFromMap(map, Shown(file, kStandardOutput), {.indent = 2}) + "\n";
    auto output = std::make_unique<COutputFile>(file);
    output->Append(text.data(), text.size());
    output->RequireWritten();
    return output;
}

std::unique_ptr<COutputFile> StageImage(const std::string& file, const StImageFormat& format, const CImage& image,
                                        const StWriteOptions& options) {
    if (file == kStandardStream && ::isatty(STDOUT_FILENO) != 0) {
        throw CFileError(std::string(kStandardOutput) + " is a terminal: an image needs a file or a pipe");
    }
    format.check(Shown(file, kStandardOutput), image);
    auto output = std::make_unique<COutputFile>(file);
    format.write(*output, image, options);
    output->RequireWritten();
    return output;
}

/// What a value is, for messages.
std::string Described(const CValue& value, const CImage* image) {
    if (image != nullptr) {
        return "an image";
    }
    return value.GenericType() == EnValType::Pointer ? "a pointer without an image"
                                                     : QUOR::KindName(value.GenericType());
}

std::unique_ptr<COutputFile> Stage(const std::string& file, const CValue& value, const StWriteOptions& options) {
    const bool isImage = value.GenericType() == EnValType::Pointer && value.ElementType() == typeid(CImage);
    const CImage* image = isImage ? QUOR::UnwrapPointer<CImage>(&value) : nullptr;
    const StFormat& format = Entry(ChosenFormat(file, image != nullptr, options));
    if (format.images != nullptr && image != nullptr) {
        return StageImage(file, *format.images, *image, options);
    }
    if (format.images == nullptr && value.GenericType() == EnValType::Map) {
        return StageMap(file, *value.Map());
    }
    throw CFileError(Shown(file, kStandardOutput) + ": " + Described(value, image) + " can't be written as " +
                     format.name + ": " + (format.images == nullptr ? "a map" : "an image") + " can");
}

} // namespace

const std::vector<IImage::CType>& AllTypes() {
    static const std::vector<IImage::CType> types{QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG, QUOR::IMAGE_GREY_8,
                                                  QUOR::IMAGE_GREY_16,   QUOR::IMAGE_GREY_32,   QUOR::IMAGE_GREY_64,
                                                  QUOR::IMAGE_GREY_F,    QUOR::IMAGE_GREY_D,    QUOR::IMAGE_RGB_8};
    return types;
}

std::optional<IImage::CType> TypeByName(const std::string& name) {
    const auto& types = AllTypes();
    const auto found =
        std::find_if(types.begin(), types.end(), [&](const IImage::CType& type) { return name == type.ToString(); });
    return found == types.end() ? std::nullopt : std::optional(*found);
}

std::optional<EnFormat> FormatByName(const std::string& name) {
    const auto* found =
        std::find_if(kFormats.begin(), kFormats.end(), [&](const StFormat& entry) { return name == entry.name; });
    return found == kFormats.end() ? std::nullopt : std::optional(found->format);
}

EnFormat StandardOutputFormat(bool isMap, const StWriteOptions& options) {
    return options.format.value_or(isMap ? EnFormat::Json : EnFormat::Tiff);
}

const std::vector<std::string>& FormatNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const StFormat& entry : kFormats) {
            all.emplace_back(entry.name);
        }
        return all;
    }();
    return names;
}

std::vector<std::string> KnownEndings() {
    std::vector<std::string> endings;
    for (const auto& [ending, format] : kEndings) {
        endings.emplace_back(ending.substr(1));
    }
    return endings;
}

std::string UnknownFormat(const std::string& file) {
    return file + ": the name's ending tells no known format: .png, .tif, .tiff and .npy are images, .json is a map";
}

std::optional<EnFormat> FormatOf(const std::string& file) {
    const auto* found = std::find_if(kEndings.begin(), kEndings.end(),
                                     [&](const auto& ending) { return EndsWithAnyCase(file, ending.first); });
    return found == kEndings.end() ? std::nullopt : std::optional(found->second);
}

std::unique_ptr<CValue> ReadValue(const std::string& file, const StReadOptions& options) {
    return WithFileErrors(Shown(file, kStandardInput), [&] {
        if (file != kStandardStream) {
            static_cast<void>(FormatOfEnding(file)); // refused before the file is looked for
        }
        return ReadValue(CInputFile(file), options);
    });
}

std::unique_ptr<CValue> ReadValue(const CInputFile& file, const StReadOptions& options) {
    return WithFileErrors(file.Name(), [&]() -> std::unique_ptr<CValue> {
        const auto told = FormatOf(file.Name());
        const StFormat& format = Entry(told ? *told : FormatOfContent(file));
        if (format.images == nullptr) {
            return ReadMap(file, options);
        }
        auto image = format.images->read(file, options);
        auto value = std::make_unique<QUOR::CValueOwnedPointer<CImage>>(image.get());
        static_cast<void>(image.release()); // the value owns it
        return value;
    });
}

std::unique_ptr<COutputFile> StageValue(const std::string& file, const CValue& value, const StWriteOptions& options) {
    return WithFileErrors(Shown(file, kStandardOutput), [&] { return Stage(file, value, options); });
}

void WriteValue(const std::string& file, const CValue& value, const StWriteOptions& options) {
    StageValue(file, value, options)->Commit();
}

} // namespace vessa
