#include "ImageFile.h"

#include "Errors.h"
#include "Printable.h"

#include <algorithm>
#include <limits>

namespace vessa {

using QUOR::CImage;
using QUOR::CSize;
using QUOR::IImage;

ElementTypes TypesOfBits() { return {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG, QUOR::IMAGE_GREY_8}; }

ElementTypes TypesOfBytes() { return {QUOR::IMAGE_GREY_8, QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG}; }

std::string Listed(const ElementTypes& types) {
    std::string list;
    for (std::size_t i = 0; i < types.size(); ++i) {
        const bool last = i + 1 == types.size();
        list += i == 0 ? "" : last ? " or " : ", ";
        list += types[i].ToString();
    }
    return list;
}

std::string Extents(const CSize& size) {
    const std::string plane = std::to_string(size.x) + "x" + std::to_string(size.y);
    return size.dim == 2 ? plane : plane + "x" + std::to_string(size.z);
}

IImage::CType ChosenType(const CInputFile& file, const std::string& pixels, const ElementTypes& possible,
                         const StReadOptions& options) {
    if (!options.type) {
        return possible.front();
    }
    if (std::find(possible.begin(), possible.end(), *options.type) == possible.end()) {
        file.Fail(pixels + " can be read as " + Listed(possible) + ", not as " + options.type->ToString());
    }
    return *options.type;
}

std::uint64_t LimitedProduct(std::initializer_list<std::uint64_t> factors) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    if (std::find(factors.begin(), factors.end(), 0) != factors.end()) {
        return 0;
    }
    std::uint64_t product = 1;
    for (const std::uint64_t factor : factors) {
        product = product > most / factor ? most : product * factor;
    }
    return product;
}

void RequirePlausible(const CInputFile& file, const CSize& size, const std::string& pixels, std::uint64_t packed,
                      std::uint64_t ratio) {
    if (packed / ratio > file.Size()) {
        file.Fail("it claims " + Extents(size) + " pixels of " + pixels + ", which a file of " +
                  std::to_string(file.Size()) + " bytes can't hold");
    }
}

void RequireType(const std::string& file, const CImage& image, const std::string& format,
                 const ElementTypes& possible) {
    if (std::find(possible.begin(), possible.end(), image.Type()) == possible.end()) {
        throw CFileError(file + ": " + format + " can't hold " + image.Type().ToString() + ": it holds " +
                         Listed(possible));
    }
}

void RequireNoAttributes(const std::string& file, const CImage& image, const std::string& format) {
    if (!image.Attributes().IsEmpty()) {
        throw CFileError(file + ": " + format + " can't hold the image's attributes (the first one is " +
                         Printable(image.Attributes().Keys().front().ToString()) + "): TIFF can");
    }
}

void RequirePixels(const std::string& file, const CImage& image, const std::string& format) {
    const CSize& size = image.Size();
    if (size.x == 0 || size.y == 0 || size.z == 0) {
        throw CFileError(file + ": " + format + " can't hold an image without pixels (" + Extents(size) + "): npy can");
    }
}

bool IsBinary(const IImage::CType& type) { return type == QUOR::IMAGE_BINARY_FG || type == QUOR::IMAGE_BINARY_BG; }

std::optional<std::size_t> FirstNonBit(const CImage& image) {
    constexpr std::size_t block = 4096; // a loop without an exit runs at the speed of the memory
    const auto* elements = static_cast<const unsigned char*>(image.Buffer().Data());
    const std::size_t count = image.Buffer().Size();
    for (std::size_t first = 0; first < count; first += block) {
        const auto* begin = elements + first;
        const auto* end = begin + std::min(block, count - first);
        unsigned char all = 0;
        std::for_each(begin, end, [&](unsigned char element) { all = static_cast<unsigned char>(all | element); });
        if (all > 1) {
            const auto* found = std::find_if(begin, end, [](unsigned char element) { return element > 1; });
            return static_cast<std::size_t>(found - elements);
        }
    }
    return std::nullopt;
}

void InterleaveRgb(const unsigned char* red, std::size_t plane, unsigned char* pixels, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        pixels[3 * x] = red[x];
        pixels[3 * x + 1] = red[plane + x];
        pixels[3 * x + 2] = red[2 * plane + x];
    }
}

void SplitRgb(const unsigned char* pixels, unsigned char* red, std::size_t plane, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        red[x] = pixels[3 * x];
        red[plane + x] = pixels[3 * x + 1];
        red[2 * plane + x] = pixels[3 * x + 2];
    }
}

} // namespace vessa
