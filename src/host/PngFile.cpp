#include "PngFile.h"

#include "Errors.h"
#include "ImageFile.h"
#include "Printable.h"

#include <array>
#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <png.h>

namespace vessa {

using QUOR::CImage;
using QUOR::CSize;
using QUOR::IImage;

namespace {

constexpr std::uint64_t kMostCompression = 1032; // of the deflate method
constexpr std::size_t kSignature = 8;
constexpr png_uint_32 kMostExtent = 0x7fffffff; // of the format

/// What libpng's functions are given: the file, and room for the message of a failure.
template <class File> struct StStream {
    File& file;
    std::uint64_t position = 0;
    bool lacksMemory = false; ///< an allocation has failed
    std::array<char, 256> message{};
};

/// The failure jumps back to `Guarded`, over C frames only.
template <class Stream> [[noreturn]] void OnError(png_structp png, png_const_charp text) {
    auto& message = static_cast<Stream*>(png_get_error_ptr(png))->message;
    std::snprintf(message.data(), message.size(), "%s", text);
    png_longjmp(png, 1);
}

template <class Stream> png_voidp OnAllocate(png_structp png, png_alloc_size_t size) {
    void* block = std::malloc(size);
    if (block == nullptr) {
        static_cast<Stream*>(png_get_mem_ptr(png))->lacksMemory = true;
    }
    return block;
}

void OnFree(png_structp /*png*/, png_voidp block) { std::free(block); }

void OnWarning(png_structp /*png*/, png_const_charp /*text*/) {}

void OnRead(png_structp png, png_bytep data, std::size_t count) {
    auto& stream = *static_cast<StStream<const CInputFile>*>(png_get_io_ptr(png));
    if (stream.file.Read(stream.position, data, count) != count) {
        png_error(png, "it ends early");
    }
    stream.position += count;
}

void OnWrite(png_structp png, png_bytep data, std::size_t count) {
    auto& stream = *static_cast<StStream<COutputFile>*>(png_get_io_ptr(png));
    if (!stream.file.Append(data, count)) {
        png_error(png, "the data can't be written");
    }
}

void OnFlush(png_structp /*png*/) {}

/// Runs calls of libpng; false if one of them failed, `std::bad_alloc` if that was for want of memory. A failure jumps
/// out of `work`, so that no object with a destructor may live in it.
template <class Stream, class Work> bool Guarded(png_structp png, const Stream& stream, const Work& work) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        if (stream.lacksMemory) {
            throw std::bad_alloc();
        }
        return false;
    }
    work();
    return true;
}

/// The objects of libpng for reading one file.
class CPngReader {
public:
    explicit CPngReader(const CInputFile& file) : m_stream{file} {
        using Stream = decltype(m_stream);
        m_png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &m_stream, &OnError<Stream>, &OnWarning, &m_stream,
                                         &OnAllocate<Stream>, &OnFree);
        m_info = m_png == nullptr ? nullptr : png_create_info_struct(m_png);
        if (m_info == nullptr) {
            png_destroy_read_struct(&m_png, nullptr, nullptr);
            throw std::bad_alloc();
        }
        png_set_read_fn(m_png, &m_stream, &OnRead);
    }
    CPngReader(const CPngReader&) = delete;
    CPngReader& operator=(const CPngReader&) = delete;
    ~CPngReader() { png_destroy_read_struct(&m_png, &m_info, nullptr); }

    /// `work` gets the objects of libpng, see `Guarded`.
    template <class Work> void Do(const Work& work) {
        if (!Guarded(m_png, m_stream, [&] { work(m_png, m_info); })) {
            m_stream.file.Fail("the PNG data are damaged: " + Printable(m_stream.message.data()));
        }
    }

private:
    StStream<const CInputFile> m_stream;
    png_structp m_png;
    png_infop m_info = nullptr;
};

/// The objects of libpng for writing one file.
class CPngWriter {
public:
    explicit CPngWriter(COutputFile& file) : m_stream{file} {
        using Stream = decltype(m_stream);
        m_png = png_create_write_struct_2(PNG_LIBPNG_VER_STRING, &m_stream, &OnError<Stream>, &OnWarning, &m_stream,
                                          &OnAllocate<Stream>, &OnFree);
        m_info = m_png == nullptr ? nullptr : png_create_info_struct(m_png);
        if (m_info == nullptr) {
            png_destroy_write_struct(&m_png, nullptr);
            throw std::bad_alloc();
        }
        png_set_write_fn(m_png, &m_stream, &OnWrite, &OnFlush);
    }
    CPngWriter(const CPngWriter&) = delete;
    CPngWriter& operator=(const CPngWriter&) = delete;
    ~CPngWriter() { png_destroy_write_struct(&m_png, &m_info); }

    template <class Work> void Do(const Work& work) {
        if (!Guarded(m_png, m_stream, [&] { work(m_png, m_info); })) {
            m_stream.file.Fail(Printable(m_stream.message.data()));
        }
    }

private:
    StStream<COutputFile> m_stream;
    png_structp m_png;
    png_infop m_info = nullptr;
};

struct StHeader {
    png_uint_32 width;
    png_uint_32 height;
    int depth;
    int colour;
    int interlacing;
    bool transparent;
    std::size_t rowBytes;
};

StHeader ReadHeader(CPngReader& reader) {
    StHeader header{};
    reader.Do([&](png_structp png, png_infop info) {
        png_set_user_limits(png, kMostExtent, kMostExtent);                    // the image limits the bytes
        png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1); // texts, profiles, ...: nothing of ours
        png_read_info(png, info);
        png_get_IHDR(png, info, &header.width, &header.height, &header.depth, &header.colour, &header.interlacing,
                     nullptr, nullptr);
        header.transparent = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
        header.rowBytes = png_get_rowbytes(png, info);
    });
    return header;
}

/// The pixels in words, as in "8-bit grey with alpha".
std::string Pixels(const StHeader& header) {
    const std::string depth = std::to_string(header.depth) + "-bit ";
    switch (header.colour) {
    case PNG_COLOR_TYPE_PALETTE:
        return depth + "palette colours";
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        return depth + "grey with alpha";
    case PNG_COLOR_TYPE_RGB_ALPHA:
        return depth + "RGB with alpha";
    default:
        return depth + (header.colour == PNG_COLOR_TYPE_RGB ? "RGB" : "grey") +
               (header.transparent ? " with a transparent colour" : "");
    }
}

/// Empty for pixels that no element type holds as they are.
ElementTypes PossibleTypes(const StHeader& header) {
    if (header.transparent) {
        return {};
    }
    if (header.colour == PNG_COLOR_TYPE_RGB && header.depth == 8) {
        return {QUOR::IMAGE_RGB_8};
    }
    if (header.colour != PNG_COLOR_TYPE_GRAY) {
        return {};
    }
    switch (header.depth) {
    case 1:
        return TypesOfBits();
    case 8:
        return TypesOfBytes();
    case 16:
        return {QUOR::IMAGE_GREY_16};
    default:
        return {};
    }
}

void SetSampleForm(png_structp png) {
    png_set_packing(png); // bits come and go as bytes
    if constexpr (std::endian::native == std::endian::little) {
        png_set_swap(png);
    }
}

/// Reads grey rows right into the image.
void ReadGrey(CPngReader& reader, CImage& image) {
    const auto height = static_cast<std::size_t>(image.Size().y);
    const std::size_t rowBytes = static_cast<std::size_t>(image.Size().x) * image.Type().pixelBytes;
    auto* data = static_cast<unsigned char*>(image.Buffer().Data());
    reader.Do([=](png_structp png, png_infop info) {
        SetSampleForm(png);
        const int passes = png_set_interlace_handling(png);
        png_read_update_info(png, info);
        for (int pass = 0; pass < passes; ++pass) {
            for (std::size_t y = 0; y < height; ++y) {
                png_read_row(png, data + y * rowBytes, nullptr);
            }
        }
        png_read_end(png, nullptr);
    });
}

/// Reads RGB rows and parts them into planes; an interlaced picture needs all of its rows at once.
void ReadRgb(CPngReader& reader, CImage& image, bool interlaced) {
    const auto width = static_cast<std::size_t>(image.Size().x);
    const auto height = static_cast<std::size_t>(image.Size().y);
    const std::size_t plane = image.Size().Elements();
    QUOR::CBuffer pixels(3 * width * (interlaced ? height : 1));
    const std::size_t step = interlaced ? 3 * width : 0;
    auto* red = static_cast<unsigned char*>(image.Buffer().Data());
    reader.Do([=, rows = static_cast<unsigned char*>(pixels.Data())](png_structp png, png_infop info) {
        const int passes = png_set_interlace_handling(png);
        png_read_update_info(png, info);
        for (int pass = 1; pass <= passes; ++pass) {
            for (std::size_t y = 0; y < height; ++y) {
                png_read_row(png, rows + y * step, nullptr);
                if (pass == passes) {
                    SplitRgb(rows + y * step, red + y * width, plane, width);
                }
            }
        }
        png_read_end(png, nullptr);
    });
}

constexpr int kHardestCompression = 9;
constexpr std::size_t kChunk = std::size_t{1} << 18;

} // namespace

std::unique_ptr<CImage> ReadPng(const CInputFile& file, const StReadOptions& options) {
    std::array<unsigned char, kSignature> signature{};
    if (file.Read(0, signature.data(), kSignature) != kSignature || png_sig_cmp(signature.data(), 0, kSignature) != 0) {
        file.Fail("this is no PNG file: it doesn't begin with the PNG signature");
    }
    CPngReader reader(file);
    const StHeader header = ReadHeader(reader);
    const std::string pixels = Pixels(header);
    const ElementTypes possible = PossibleTypes(header);
    if (possible.empty()) {
        file.Fail(pixels + " can't be read: 1-, 8- and 16-bit grey and 8-bit RGB can");
    }
    const IImage::CType type = ChosenType(file, pixels, possible, options);
    const CSize size(header.width, header.height);
    RequirePlausible(file, size, pixels, LimitedProduct({header.rowBytes, header.height}), kMostCompression);
    auto image = std::make_unique<CImage>(type, size, CSize(0, 0, 0));
    if (type == QUOR::IMAGE_RGB_8) {
        ReadRgb(reader, *image, header.interlacing != PNG_INTERLACE_NONE);
    } else {
        ReadGrey(reader, *image);
    }
    return image;
}

void CheckPng(const std::string& file, const CImage& image) {
    const CSize& size = image.Size();
    RequireType(
        file, image, "PNG",
        {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG, QUOR::IMAGE_GREY_8, QUOR::IMAGE_GREY_16, QUOR::IMAGE_RGB_8});
    RequireNoAttributes(file, image, "PNG");
    RequirePixels(file, image, "PNG");
    if (size.z != 1) {
        throw CFileError(file + ": PNG can't hold the " + std::to_string(size.z) +
                         " slices of the image: TIFF and npy can");
    }
    if (size.x > kMostExtent || size.y > kMostExtent) {
        throw CFileError(file + ": PNG can't hold " + Extents(size) +
                         " elements: at most 2147483647 in each direction");
    }
    if (const auto place = IsBinary(image.Type()) ? FirstNonBit(image) : std::nullopt) {
        const auto width = static_cast<std::size_t>(size.x);
        const unsigned value = static_cast<const unsigned char*>(image.Buffer().Data())[*place];
        throw CFileError(file + ": element (" + std::to_string(*place % width) + ", " + std::to_string(*place / width) +
                         ") of the " + image.Type().ToString() + " image is " + std::to_string(value) +
                         ": PNG holds 0 and 1 only, TIFF holds any value");
    }
}

void WritePng(COutputFile& file, const CImage& image, int level) {
    if (level < 0 || level > kHardestCompression) {
        throw CFileError(file.Name() + ": the compression level of PNG is 0 to 9, not " + std::to_string(level));
    }
    const bool rgb = image.Type() == QUOR::IMAGE_RGB_8;
    const auto width = static_cast<std::size_t>(image.Size().x);
    const auto height = static_cast<std::size_t>(image.Size().y);
    const int depth = IsBinary(image.Type()) ? 1 : 8 * image.Type().channelBytes;
    const std::size_t plane = image.Size().Elements();
    const std::size_t rowBytes = width * image.Type().channelBytes;
    const auto* data = static_cast<const unsigned char*>(image.Buffer().Data());
    std::vector<unsigned char> pixels(rgb ? 3 * width : 0);
    CPngWriter writer(file);
    writer.Do([=, row = pixels.data()](png_structp png, png_infop info) {
        png_set_user_limits(png, kMostExtent, kMostExtent);
        png_set_compression_level(png, level);
        png_set_compression_buffer_size(png, kChunk);
        png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), depth,
                     rgb ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        SetSampleForm(png);
        if (depth >= 8) { // one filter for all rows takes half the time of the best one for each, and loses nothing
            png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
        }
        for (std::size_t y = 0; y < height; ++y) {
            if (rgb) {
                InterleaveRgb(data + y * width, plane, row, width);
            }
            png_write_row(png, rgb ? row : data + y * rowBytes);
        }
        png_write_end(png, nullptr);
    });
}

} // namespace vessa
