#include "ValueFile.h"

#include "ImageFile.h"
#include "JsonValue.h"
#include "NpyFile.h"
#include "PngFile.h"
#include "TiffFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <new>
#include <string_view>

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
    void (*write)(COutputFile& file, const CImage& image);
};

constexpr StImageFormat kPng{&ReadPng, &CheckPng, &WritePng};
constexpr StImageFormat kTiff{&ReadTiff, &CheckTiff,
                              [](COutputFile& file, const CImage& image) { WriteTiff(file, image); }};
constexpr StImageFormat kNpy{&ReadNpy, &CheckNpy, &WriteNpy};

struct StEnding {
    std::string_view text;
    const StImageFormat* images; ///< null for the format of maps
};

constexpr std::array<StEnding, 5> kEndings{
    {{".png", &kPng}, {".tif", &kTiff}, {".tiff", &kTiff}, {".npy", &kNpy}, {".json", nullptr}}};

/// The entry for a file name's ending in letters of either case, null for an unknown one.
const StEnding* FindEnding(std::string file) {
    std::transform(file.begin(), file.end(), file.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const auto* found = std::find_if(kEndings.begin(), kEndings.end(),
                                     [&](const StEnding& ending) { return file.ends_with(ending.text); });
    return found == kEndings.end() ? nullptr : found;
}

const StEnding& EndingOf(const std::string& file) {
    const StEnding* ending = FindEnding(file);
    if (ending == nullptr) {
        throw CFileError(file + ": the name's ending tells no known format: .png, .tif, .tiff and .npy are images, "
                                ".json is a map");
    }
    return *ending;
}

/// Runs `work` and turns the failures of the host library and of the memory into those of the file.
template <class Work> auto WithFileErrors(const std::string& file, const Work& work) {
    try {
        return work();
    } catch (const QUOR::CException& failure) {
        throw CFileError(file + ": " + failure.FormattedWhat());
    } catch (const std::bad_alloc&) {
        throw CFileError(file + ": there is not enough memory");
    }
}

std::unique_ptr<CValue> ReadMap(const CInputFile& file, const StReadOptions& options) {
    if (options.type) {
        file.Fail(std::string("a map can't be read as ") + options.type->ToString());
    }
    if (file.Size() > options.mostBytes) {
        file.Fail("it has " + std::to_string(file.Size()) + " bytes: at most " + std::to_string(options.mostBytes) +
                  " are allowed");
    }
    std::string text(static_cast<std::size_t>(file.Size()), '\0');
    file.ReadAll(0, text.data(), text.size());
    return MapFromJson(text, file.Name());
}

void WriteMap(const std::string& name, const QUOR::CValueMap& map) {
    const std::string text = JsonFromMap(map, name).dump(2) + "\n";
    COutputFile file(name);
    file.Append(text.data(), text.size());
    file.Commit();
}

void WriteImage(const std::string& name, const StImageFormat& format, const CImage& image) {
    format.check(name, image);
    COutputFile file(name);
    format.write(file, image);
    file.Commit();
}

/// What a value is, for messages.
std::string Described(const CValue& value, const CImage* image) {
    if (image != nullptr) {
        return "an image";
    }
    return value.GenericType() == EnValType::Pointer ? "a pointer without an image"
                                                     : QUOR::KindName(value.GenericType());
}

void Write(const std::string& file, const CValue& value) {
    const StEnding& ending = EndingOf(file);
    const bool isImage = value.GenericType() == EnValType::Pointer && value.ElementType() == typeid(CImage);
    const CImage* image = isImage ? QUOR::UnwrapPointer<CImage>(&value) : nullptr;
    if (ending.images != nullptr && image != nullptr) {
        WriteImage(file, *ending.images, *image);
    } else if (ending.images == nullptr && value.GenericType() == EnValType::Map) {
        WriteMap(file, *value.Map());
    } else {
        throw CFileError(file + ": " + Described(value, image) + " can't be written to a " + std::string(ending.text) +
                         " file: " + (ending.images == nullptr ? "a map" : "an image") + " can");
    }
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

std::vector<std::string> KnownEndings() {
    std::vector<std::string> endings;
    for (const StEnding& ending : kEndings) {
        endings.emplace_back(ending.text.substr(1));
    }
    return endings;
}

bool IsKnownFormat(const std::string& file) { return FindEnding(file) != nullptr; }

std::unique_ptr<CValue> ReadValue(const std::string& file, const StReadOptions& options) {
    return WithFileErrors(file, [&]() -> std::unique_ptr<CValue> {
        const StEnding& ending = EndingOf(file);
        const CInputFile input(file);
        if (ending.images == nullptr) {
            return ReadMap(input, options);
        }
        auto image = ending.images->read(input, options);
        auto value = std::make_unique<QUOR::CValueOwnedPointer<CImage>>(image.get());
        static_cast<void>(image.release()); // the value owns it
        return value;
    });
}

void WriteValue(const std::string& file, const CValue& value) {
    WithFileErrors(file, [&] { Write(file, value); });
}

} // namespace vessa
