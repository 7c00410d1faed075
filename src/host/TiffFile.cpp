#include "TiffFile.h"

#include "Errors.h"
#include "ImageFile.h"
#include "JsonValue.h"
#include "Printable.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <string_view>
#include <tiffio.h>

namespace vessa {

using QUOR::CImage;
using QUOR::CSize;
using QUOR::IImage;

namespace {

constexpr std::uint64_t kStripBytes = 1 << 18;
constexpr std::uint64_t kAlignment = 64;

/// What libtiff's functions are given: the file, the place in it, and room for the first message of a failure.
template <class File> struct StStream {
    File& file;
    std::uint64_t position = 0;
    bool decoding = false; ///< a warning means damaged pixels then
    std::array<char, 256> message{};
};

/// What a call of libtiff gives. Without memory it goes on without what a page tells, or calls the data damaged, or
/// stumbles over a list of fields that it couldn't lengthen. So there must be some room before, and no allocation may
/// have left its mark after.
template <class Call> auto WithMemory(const Call& call) {
    constexpr std::size_t room = 1 << 16;
    // NOLINTBEGIN(cppcoreguidelines-no-malloc): it is libtiff's allocator that is asked
    void* volatile block = std::malloc(room); // or else the compiler would see that nobody uses it
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    std::free(block);
    // NOLINTEND(cppcoreguidelines-no-malloc)
    errno = 0;
    auto result = call();
    if (errno == ENOMEM) {
        throw std::bad_alloc();
    }
    return result;
}

/// Leaves an earlier mark of a failed allocation as it is.
class CKeptErrno {
public:
    CKeptErrno() = default;
    CKeptErrno(const CKeptErrno&) = delete;
    CKeptErrno& operator=(const CKeptErrno&) = delete;
    ~CKeptErrno() { errno = m_number; }

private:
    int m_number = errno;
};

template <class Stream> int OnError(TIFF* /*tiff*/, void* user, const char* module, const char* format, va_list args) {
    const CKeptErrno kept;
    auto& message = static_cast<Stream*>(user)->message;
    if (message.front() == '\0') {
        const int prefix = std::snprintf(message.data(), message.size(), "%.60s: ", module == nullptr ? "" : module);
        const auto used = static_cast<std::size_t>(std::max(prefix, 0));
        std::vsnprintf(message.data() + used, message.size() - used, format, args);
        std::replace(message.begin(), message.end(), '\n', ' ');
    }
    return 1; // handled: nothing is printed
}

/// Codecs warn of damaged data and go on with invented pixels; the one harmless warning is that of an old LZW form.
template <class Stream> int OnWarning(TIFF* tiff, void* user, const char* module, const char* format, va_list args) {
    const bool harmless = std::string_view(format).starts_with("Old-style LZW codes");
    return static_cast<Stream*>(user)->decoding && !harmless ? OnError<Stream>(tiff, user, module, format, args) : 1;
}

template <class Stream> tmsize_t OnRead(thandle_t handle, void* data, tmsize_t count) {
    const CKeptErrno kept;
    auto& stream = *static_cast<Stream*>(handle);
    const std::size_t read = stream.file.Read(stream.position, data, static_cast<std::size_t>(count));
    stream.position += read;
    return static_cast<tmsize_t>(read);
}

tmsize_t OnWrite(thandle_t handle, void* data, tmsize_t count) {
    const CKeptErrno kept;
    auto& stream = *static_cast<StStream<COutputFile>*>(handle);
    if (!stream.file.Write(stream.position, data, static_cast<std::size_t>(count))) {
        return 0;
    }
    stream.position += static_cast<std::uint64_t>(count);
    return count;
}

tmsize_t OnNoWrite(thandle_t /*handle*/, void* /*data*/, tmsize_t /*count*/) { return 0; }

/// The place behind the last byte. What is appended to a file begins at a multiple of 64 bytes, as images do in memory:
/// the system copies it twice as fast then.
std::uint64_t End(const CInputFile& file) { return file.Size(); }
std::uint64_t End(const COutputFile& file) { return (file.Size() + kAlignment - 1) / kAlignment * kAlignment; }

template <class Stream> toff_t OnSeek(thandle_t handle, toff_t offset, int whence) {
    auto& stream = *static_cast<Stream*>(handle);
    const std::uint64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? stream.position : End(stream.file);
    return stream.position = base + offset; // relative offsets below 0 wrap as they should
}

template <class Stream> toff_t OnSize(thandle_t handle) { return static_cast<Stream*>(handle)->file.Size(); }

int OnClose(thandle_t /*handle*/) { return 0; }

struct StCloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, StCloseTiff>;

/// `mostAtOnce` limits the memory that libtiff takes for a table or a strip; 0 is no limit.
template <class Stream>
TiffHandle Open(Stream& stream, const char* mode, TIFFReadWriteProc write, std::uint64_t mostAtOnce) {
    struct StFree {
        void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
    };
    const std::unique_ptr<TIFFOpenOptions, StFree> options(TIFFOpenOptionsAlloc());
    if (!options) {
        throw std::bad_alloc();
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &OnError<Stream>, &stream);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &OnWarning<Stream>, &stream);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(mostAtOnce));
    return WithMemory([&] {
        return TiffHandle(TIFFClientOpenExt("TIFF", mode, &stream, &OnRead<Stream>, write, &OnSeek<Stream>, &OnClose,
                                            &OnSize<Stream>, nullptr, nullptr, options.get()));
    });
}

/// How a page's pixels are kept. Pages of one image agree in it, but may be compressed and arranged differently.
struct StPixels {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;
    std::uint16_t samples = 1;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t photometric = 0;
};

std::string PhotometricName(std::uint16_t photometric) {
    switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
        return "grey in which 0 is white";
    case PHOTOMETRIC_MINISBLACK:
        return "grey";
    case PHOTOMETRIC_RGB:
        return "RGB";
    case PHOTOMETRIC_PALETTE:
        return "palette colours";
    case PHOTOMETRIC_SEPARATED:
        return "CMYK";
    case PHOTOMETRIC_YCBCR:
        return "YCbCr";
    default:
        return "the photometric kind " + std::to_string(photometric);
    }
}

/// The pixels in words, as in "16-bit signed grey".
std::string Described(const StPixels& pixels) {
    std::string text = std::to_string(pixels.bits) + "-bit ";
    switch (pixels.format) {
    case SAMPLEFORMAT_UINT:
        break;
    case SAMPLEFORMAT_INT:
        text += "signed ";
        break;
    case SAMPLEFORMAT_IEEEFP:
        text += "float ";
        break;
    case SAMPLEFORMAT_COMPLEXINT:
    case SAMPLEFORMAT_COMPLEXIEEEFP:
        text += "complex ";
        break;
    default:
        text += "untyped ";
        break;
    }
    text += PhotometricName(pixels.photometric);
    const int usual = pixels.photometric == PHOTOMETRIC_RGB ? 3 : 1;
    return pixels.samples == usual ? text : text + " of " + std::to_string(pixels.samples) + " samples";
}

/// Empty for pixels that no element type holds as they are.
ElementTypes PossibleTypes(const StPixels& pixels) {
    const bool integer = pixels.format == SAMPLEFORMAT_UINT;
    if (pixels.photometric == PHOTOMETRIC_RGB && pixels.samples == 3 && pixels.bits == 8 && integer) {
        return {QUOR::IMAGE_RGB_8};
    }
    if (pixels.photometric != PHOTOMETRIC_MINISBLACK || pixels.samples != 1 ||
        (!integer && pixels.format != SAMPLEFORMAT_IEEEFP)) {
        return {};
    }
    switch (pixels.bits) {
    case 1:
        return integer ? TypesOfBits() : ElementTypes();
    case 8:
        return integer ? TypesOfBytes() : ElementTypes();
    case 16:
        return integer ? ElementTypes{QUOR::IMAGE_GREY_16} : ElementTypes();
    case 32:
        return {integer ? QUOR::IMAGE_GREY_32 : QUOR::IMAGE_GREY_F};
    case 64:
        return {integer ? QUOR::IMAGE_GREY_64 : QUOR::IMAGE_GREY_D};
    default:
        return {};
    }
}

/// How much smaller the data can get; 2^32 stands for no known limit.
std::uint64_t MostCompression(std::uint16_t compression) {
    switch (compression) {
    case COMPRESSION_NONE:
        return 1;
    case COMPRESSION_PACKBITS:
        return 64;
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
        return 1032;
    case COMPRESSION_LZW:
        return 4096;
    default:
        return std::uint64_t{1} << 32;
    }
}

/// The pixels of an image of which one page is read at a time.
struct StTarget {
    unsigned char* data; ///< the page's first element
    std::size_t plane;   ///< bytes from a channel to the next
    std::size_t rowBytes;
};

/// A rectangle of a page that the file keeps in one piece: some whole rows, or a tile.
struct StBlock {
    std::uint32_t column;
    std::uint32_t row;
    std::uint32_t width; ///< cut at the page's end
    std::uint32_t height;
    std::size_t stride; ///< bytes of a row of the decoded block
};

/// The eight elements of each byte.
constexpr auto kElementsOfByte = [] {
    std::array<std::array<unsigned char, 8>, 256> elements{};
    for (std::size_t byte = 0; byte < elements.size(); ++byte) {
        for (std::size_t i = 0; i < 8; ++i) {
            elements[byte][i] = static_cast<unsigned char>(byte >> (7 - i) & 1U);
        }
    }
    return elements;
}();

void UnpackBits(const unsigned char* packed, unsigned char* elements, std::size_t count) {
    const std::size_t whole = count / 8;
    for (std::size_t i = 0; i < whole; ++i) {
        std::memcpy(elements + 8 * i, kElementsOfByte[packed[i]].data(), 8);
    }
    if (count % 8 != 0) {
        std::memcpy(elements + 8 * whole, kElementsOfByte[packed[whole]].data(), count % 8);
    }
}

void PackBits(const unsigned char* elements, unsigned char* packed, std::size_t count) {
    const auto pack = [](const unsigned char* first, std::size_t bits) {
        unsigned byte = 0;
        for (std::size_t i = 0; i < bits; ++i) {
            byte |= static_cast<unsigned>(first[i]) << (7 - i);
        }
        return static_cast<unsigned char>(byte);
    };
    const std::size_t whole = count / 8;
    for (std::size_t i = 0; i < whole; ++i) {
        packed[i] = pack(elements + 8 * i, 8);
    }
    if (count % 8 != 0) {
        packed[whole] = pack(elements + 8 * whole, count % 8);
    }
}

class CTiffReader {
public:
    explicit CTiffReader(const CInputFile& file)
        // Legal tables take a few times their bytes in the file, decoders some room of their own.
        : m_stream{file}, m_tiff(Open(m_stream, "rmc", &OnNoWrite, 4 * file.Size() + (std::uint64_t{1} << 26))) {
        if (!m_tiff) {
            Fail();
        }
        RequireWholeDirectory();
    }

    /// Goes to the next page; false behind the last one.
    bool NextPage() {
        if (TIFFLastDirectory(m_tiff.get()) != 0) {
            return false;
        }
        if (WithMemory([this] { return TIFFReadDirectory(m_tiff.get()); }) == 0) {
            Fail(); // also for a chain of pages that bites its tail
        }
        ++m_page;
        RequireWholeDirectory();
        return true;
    }

    void FirstPage() {
        if (WithMemory([this] { return TIFFSetDirectory(m_tiff.get(), 0); }) == 0) {
            Fail();
        }
        m_page = 1;
    }

    /// The number of the page at hand, from 1.
    std::size_t Page() const { return m_page; }

    /// The page's pixels; raises a `CFileError` for a page that can't be read, whatever its size.
    StPixels Pixels();

    std::string Description() {
        const char* text = nullptr;
        return TIFFGetField(m_tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &text) != 0 && text != nullptr ? text : "";
    }

    /// Decodes the page.
    void Read(const StPixels& pixels, const StTarget& target);

    /// Fails with what libtiff has reported.
    [[noreturn]] void Fail() const {
        const std::string reason = Printable(m_stream.message.data());
        FailOnPage("the TIFF data are damaged: " + (reason.empty() ? "the page can't be read" : reason));
    }

    /// Names the page unless it is the first one.
    [[noreturn]] void FailOnPage(const std::string& what) const {
        m_stream.file.Fail(m_page == 1 ? what : "page " + std::to_string(m_page) + ": " + what);
    }

private:
    std::uint16_t Field(std::uint32_t tag) {
        std::uint16_t value = 0;
        TIFFGetFieldDefaulted(m_tiff.get(), tag, &value);
        return value;
    }
    std::uint32_t LongField(std::uint32_t tag) {
        std::uint32_t value = 0;
        TIFFGetFieldDefaulted(m_tiff.get(), tag, &value);
        return value;
    }

    void RequireWholeDirectory() const;
    void RequirePlainLayout();
    void RequirePlausible(const StPixels& pixels);
    void RequireRoomForTiles(const StBlock& tile, std::uint64_t bytes);
    StBlock BlockSize(const StPixels& pixels);
    void ReadBlock(const StPixels& pixels, const StBlock& block, std::uint16_t channel, const StTarget& target);
    void Decode(const StBlock& block, std::uint16_t channel, unsigned char* data, std::uint64_t bytes);

    StStream<const CInputFile> m_stream;
    TiffHandle m_tiff;
    std::size_t m_page = 1;
    std::uint64_t m_packedBytes = 0; ///< the least that the pages' pixels, up to this page, can take in the file
    std::uint64_t m_tileBytes = 0;   ///< what comes out of all their tiles
    QUOR::CBuffer m_block;           ///< a decoded block that doesn't lie as the image does
};

StPixels CTiffReader::Pixels() {
    StPixels pixels;
    pixels.width = LongField(TIFFTAG_IMAGEWIDTH);
    pixels.height = LongField(TIFFTAG_IMAGELENGTH);
    pixels.bits = Field(TIFFTAG_BITSPERSAMPLE);
    pixels.samples = Field(TIFFTAG_SAMPLESPERPIXEL);
    pixels.format = Field(TIFFTAG_SAMPLEFORMAT);
    if (TIFFGetField(m_tiff.get(), TIFFTAG_PHOTOMETRIC, &pixels.photometric) == 0) {
        FailOnPage("the TIFF data are damaged: no photometric kind is told");
    }
    if (PossibleTypes(pixels).empty()) {
        FailOnPage(Described(pixels) +
                   " can't be read: 1-, 8-, 16-, 32- and 64-bit grey, 32- and 64-bit float grey and "
                   "8-bit RGB can");
    }
    RequirePlainLayout();
    RequirePlausible(pixels);
    return pixels;
}

/// libtiff takes a directory that is cut off in front of the place of the next one for the last one, and the pages
/// behind it would be missing in silence.
void CTiffReader::RequireWholeDirectory() const {
    const bool big = TIFFIsBigTIFF(m_tiff.get()) != 0;
    const bool swapped = TIFFIsByteSwapped(m_tiff.get()) != 0;
    const std::uint64_t start = TIFFCurrentDirOffset(m_tiff.get());
    std::uint64_t entries = 0;
    if (big) {
        m_stream.file.ReadAll(start, &entries, sizeof entries);
        if (swapped) {
            TIFFSwabLong8(&entries);
        }
    } else {
        std::uint16_t count = 0;
        m_stream.file.ReadAll(start, &count, sizeof count);
        if (swapped) {
            TIFFSwabShort(&count);
        }
        entries = count;
    }
    const std::uint64_t bytes = big ? 8 + 20 * entries + 8 : 2 + 12 * entries + 4;
    if (bytes > m_stream.file.Size() - start) {
        FailOnPage("the TIFF data are damaged: the directory is cut off");
    }
}

void CTiffReader::RequirePlainLayout() {
    const std::uint16_t orientation = Field(TIFFTAG_ORIENTATION);
    if (orientation != ORIENTATION_TOPLEFT) {
        FailOnPage("the orientation " + std::to_string(orientation) +
                   " can't be read: pages must begin at the top left (1)");
    }
    const std::uint16_t compression = Field(TIFFTAG_COMPRESSION);
    if (TIFFIsCODECConfigured(compression) == 0) {
        FailOnPage("the compression " + std::to_string(compression) + " can't be read: libtiff doesn't know it here");
    }
    if (LongField(TIFFTAG_IMAGEDEPTH) != 1 || (TIFFIsTiled(m_tiff.get()) != 0 && LongField(TIFFTAG_TILEDEPTH) != 1)) {
        FailOnPage("a page with a depth of its own can't be read: slices must be pages");
    }
}

void CTiffReader::RequirePlausible(const StPixels& pixels) {
    const StBlock block = BlockSize(pixels);
    if (block.width == 0 || block.height == 0) {
        FailOnPage("the TIFF data are damaged: a page, strip or tile has an extent of 0");
    }
    // Tiles are whole in the file, even where they reach past the page's end, and can be far larger than the page.
    const bool tiled = TIFFIsTiled(m_tiff.get()) != 0;
    const std::uint64_t across = (std::uint64_t{pixels.width} + block.width - 1) / block.width;
    const std::uint64_t down = (std::uint64_t{pixels.height} + block.height - 1) / block.height;
    const std::uint64_t rows = tiled ? down * block.height : pixels.height;
    const std::uint64_t planes = Field(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE ? pixels.samples : 1;
    const std::uint64_t bytes = LimitedProduct({across, block.stride, rows, planes});
    const CSize size(static_cast<std::int64_t>(across * block.width), static_cast<std::int64_t>(rows));
    const std::uint64_t most = MostCompression(Field(TIFFTAG_COMPRESSION));
    vessa::RequirePlausible(m_stream.file, size, Described(pixels), bytes, most);
    m_packedBytes += bytes / most; // no more than the file's size each time
    if (m_packedBytes > m_stream.file.Size()) {
        FailOnPage("up to this page, more pixels are claimed than a file of " + std::to_string(m_stream.file.Size()) +
                   " bytes can hold");
    }
    if (tiled) {
        RequireRoomForTiles(block, bytes);
    }
}

/// The image limits what comes out of strips. Tiles can be larger than the page, and shared by any number of pages.
void CTiffReader::RequireRoomForTiles(const StBlock& tile, std::uint64_t bytes) {
    const std::uint64_t most = QUOR::ImageMemoryLimit();
    if (bytes > most - std::min(most, m_tileBytes)) {
        FailOnPage("its tiles of " + Extents(CSize(tile.width, tile.height)) + " have " + std::to_string(bytes) +
                   " bytes, with those of the pages before it more than the " + std::to_string(most) +
                   " that images may take" + kRaiseMemoryLimit);
    }
    m_tileBytes += bytes;
}

/// The size of the page's blocks, of which the last ones may be smaller.
StBlock CTiffReader::BlockSize(const StPixels& pixels) {
    StBlock block{};
    if (TIFFIsTiled(m_tiff.get()) != 0) {
        block.width = LongField(TIFFTAG_TILEWIDTH);
        block.height = LongField(TIFFTAG_TILELENGTH);
    } else {
        block.width = pixels.width;
        block.height = std::min(LongField(TIFFTAG_ROWSPERSTRIP), pixels.height);
    }
    const std::uint16_t samples = Field(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE ? 1 : pixels.samples;
    block.stride = static_cast<std::size_t>((std::uint64_t{block.width} * pixels.bits * samples + 7) / 8);
    return block;
}

void CTiffReader::Read(const StPixels& pixels, const StTarget& target) {
    const StBlock whole = BlockSize(pixels);
    const bool planes = Field(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    const std::uint16_t channels = planes ? pixels.samples : std::uint16_t{1};
    for (std::uint16_t channel = 0; channel < channels; ++channel) {
        for (std::uint64_t row = 0; row < pixels.height; row += whole.height) {
            for (std::uint64_t column = 0; column < pixels.width; column += whole.width) {
                StBlock block = whole;
                block.column = static_cast<std::uint32_t>(column);
                block.row = static_cast<std::uint32_t>(row);
                block.width = std::min(whole.width, pixels.width - block.column);
                block.height = std::min(whole.height, pixels.height - block.row);
                ReadBlock(pixels, block, channel, target);
            }
        }
    }
}

void CTiffReader::ReadBlock(const StPixels& pixels, const StBlock& block, std::uint16_t channel,
                            const StTarget& target) {
    const bool tiled = TIFFIsTiled(m_tiff.get()) != 0;
    const bool together = pixels.samples == 3 && Field(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG;
    const std::size_t elementBytes = pixels.bits / 8; // 0 for bits
    unsigned char* first = target.data + channel * target.plane + block.row * target.rowBytes +
                           block.column * std::max<std::size_t>(elementBytes, 1);
    if (!tiled && !together && pixels.bits >= 8) {
        Decode(block, channel, first, std::uint64_t{block.stride} * block.height);
        return;
    }
    const std::uint32_t rows = tiled ? LongField(TIFFTAG_TILELENGTH) : block.height;
    if (m_block.Size() != block.stride * rows) {
        m_block = QUOR::CBuffer(block.stride * rows);
    }
    auto* pixelRows = static_cast<unsigned char*>(m_block.Data());
    Decode(block, channel, pixelRows, m_block.Size());
    for (std::size_t y = 0; y < block.height; ++y) {
        const unsigned char* source = pixelRows + y * block.stride;
        unsigned char* row = first + y * target.rowBytes;
        if (together) {
            SplitRgb(source, row, target.plane, block.width);
        } else if (pixels.bits == 1) {
            UnpackBits(source, row, block.width);
        } else {
            std::memcpy(row, source, block.width * elementBytes);
        }
    }
}

void CTiffReader::Decode(const StBlock& block, std::uint16_t channel, unsigned char* data, std::uint64_t bytes) {
    const auto wanted = static_cast<tmsize_t>(bytes);
    tmsize_t done = 0;
    m_stream.decoding = true;
    if (TIFFIsTiled(m_tiff.get()) != 0) {
        const std::uint32_t tile = TIFFComputeTile(m_tiff.get(), block.column, block.row, 0, channel);
        done = WithMemory([=, this] { return TIFFReadEncodedTile(m_tiff.get(), tile, data, wanted); });
    } else {
        const std::uint32_t strip = TIFFComputeStrip(m_tiff.get(), block.row, channel);
        done = WithMemory([=, this] { return TIFFReadEncodedStrip(m_tiff.get(), strip, data, wanted); });
    }
    m_stream.decoding = false;
    if (done != wanted || m_stream.message.front() != '\0') {
        Fail();
    }
}

/// What a description of ours tells of the image.
struct StDescription {
    IImage::CType type;
    int dimensions;
    std::unique_ptr<QUOR::CValueMap> map; ///< the whole of it
};

/// True for a description that `WriteTiff` has left: a JSON object with the key "vessa". All others are texts of
/// other programs. Nothing is kept of what is parsed, so that no text can take much memory.
bool IsOurs(const std::string& description) {
    using nlohmann::json;
    bool hasKey = false;
    const auto note = [&](int depth, json::parse_event_t event, const json& value) {
        hasKey = hasKey ||
                 (depth == 1 && event == json::parse_event_t::key && value.get_ref<const std::string&>() == "vessa");
        return false;
    };
    return !json::parse(description, note, false).is_discarded() && hasKey;
}

/// The description of the first page, nothing for one of another program; `possible` are the types of the pixels.
std::optional<StDescription> ReadDescription(const CInputFile& file, const std::string& text, const std::string& pixels,
                                             const ElementTypes& possible) {
    if (!IsOurs(text)) {
        return std::nullopt;
    }
    auto map = MapFromJson(text, file.Name() + ": the description");
    const std::string name = map->EntryString("vessa/type", "").Text();
    const auto type = TypeByName(name);
    if (!type || std::find(possible.begin(), possible.end(), *type) == possible.end()) {
        file.Fail("the description tells of the type \"" + Printable(name) + "\": " + pixels + " can be " +
                  Listed(possible));
    }
    const int dimensions = map->EntryLong("vessa/dimensions", 0);
    if (dimensions != 2 && dimensions != 3) {
        file.Fail("the description tells of " + std::to_string(dimensions) + " dimensions: 2 and 3 are possible");
    }
    if (!map->HasEntry("vessa/attributes", QUOR::EnValType::Map)) {
        file.Fail("the description tells of no map of attributes");
    }
    return StDescription{*type, dimensions, std::move(map)};
}

/// Counts the pages and requires that all are of one size and kind.
std::int64_t CountPages(CTiffReader& reader, const CInputFile& file, const StPixels& first) {
    while (reader.NextPage()) {
        const StPixels pixels = reader.Pixels();
        const std::string page = "page " + std::to_string(reader.Page());
        const CSize size(pixels.width, pixels.height);
        const CSize firstSize(first.width, first.height);
        if (!(size == firstSize)) {
            file.Fail(page + " is " + Extents(size) + ", page 1 is " + Extents(firstSize) +
                      ": all pages must have one size");
        }
        if (Described(pixels) != Described(first)) {
            file.Fail(page + " is " + Described(pixels) + ", page 1 is " + Described(first) +
                      ": all pages must be of one kind");
        }
    }
    return static_cast<std::int64_t>(reader.Page());
}

CSize SizeOf(const StPixels& pixels, std::int64_t pages, int dimensions) {
    CSize size(pixels.width, pixels.height, pages);
    size.SetDim(dimensions);
    return size;
}

/// The description as JSON of ASCII characters only, the one set that every reader of TIFF files knows.
std::string DescriptionOf(const CImage& image, const std::string& file) {
    QUOR::CValueMap map;
    map.SetEntry("vessa/type", std::make_unique<QUOR::CValueString>(QUOR::CString(image.Type().ToString())));
    map.SetEntry("vessa/dimensions", std::make_unique<QUOR::CValueLong>(image.Size().dim == 2 ? 2 : 3));
    map.SetEntry("vessa/attributes",
                 std::unique_ptr<QUOR::CValue>(image.Attributes().Clone(QUOR::EnTfOwnership::Link)));
    return JsonFromMap(map, file + ": the attributes", {.ascii = true});
}

/// Writes the pages of an image: its description, its pixels in strips, its slices.
class CTiffWriter {
public:
    CTiffWriter(COutputFile& file, const CImage& image, const std::string& description, bool big)
        : m_stream{file}, m_image(image), m_description(description),
          m_packed(IsBinary(image.Type()) && !FirstNonBit(image)),
          m_tiff(Open(m_stream, big ? "w8" : "w", &OnWrite, 0)) {
        Require(m_tiff != nullptr);
    }

    void WritePage(std::int64_t slice) {
        SetFields(slice == 0);
        const auto height = static_cast<std::size_t>(m_image.Size().y);
        const std::size_t stripRows = StripRows();
        std::uint32_t strip = 0;
        for (std::size_t channel = 0; channel < m_image.Type().channels; ++channel) {
            const std::size_t plane = channel * static_cast<std::size_t>(m_image.Size().z);
            const std::size_t firstRow = (plane + static_cast<std::size_t>(slice)) * height;
            for (std::size_t row = 0; row < height; row += stripRows) {
                WriteStrip(strip++, firstRow + row, std::min(stripRows, height - row));
            }
        }
        Require(WithMemory([this] { return TIFFWriteDirectory(m_tiff.get()); }) != 0);
    }

private:
    std::size_t Width() const { return static_cast<std::size_t>(m_image.Size().x); }
    std::size_t RowBytes() const { return m_packed ? (Width() + 7) / 8 : Width() * m_image.Type().channelBytes; }
    std::size_t StripRows() const {
        const auto height = static_cast<std::uint64_t>(m_image.Size().y);
        return static_cast<std::size_t>(std::clamp(kStripBytes / RowBytes(), std::uint64_t{1}, height));
    }

    template <class Value> void Set(std::uint32_t tag, Value value) {
        Require(WithMemory([=, this] { return TIFFSetField(m_tiff.get(), tag, value); }) != 0);
    }

    void SetFields(bool first) {
        const IImage::CType& type = m_image.Type();
        const bool real = type == QUOR::IMAGE_GREY_F || type == QUOR::IMAGE_GREY_D;
        const bool rgb = type == QUOR::IMAGE_RGB_8;
        Set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(m_image.Size().x));
        Set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(m_image.Size().y));
        Set(TIFFTAG_BITSPERSAMPLE, m_packed ? 1 : 8 * type.channelBytes);
        Set(TIFFTAG_SAMPLESPERPIXEL, int{type.channels});
        Set(TIFFTAG_SAMPLEFORMAT, real ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
        Set(TIFFTAG_PHOTOMETRIC, rgb ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
        Set(TIFFTAG_PLANARCONFIG, rgb ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        Set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        Set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(StripRows()));
        if (first) {
            Set(TIFFTAG_IMAGEDESCRIPTION, m_description.c_str());
        }
    }

    /// `row` counts from the image's first row through all slices and channels.
    void WriteStrip(std::uint32_t strip, std::size_t row, std::size_t rows) {
        // libtiff takes raw strips without a copy; it doesn't write to them.
        auto* source = const_cast<unsigned char*>(static_cast<const unsigned char*>(m_image.Buffer().Data()));
        if (m_packed) {
            m_bits.resize(rows * RowBytes());
            for (std::size_t y = 0; y < rows; ++y) {
                PackBits(source + (row + y) * Width(), m_bits.data() + y * RowBytes(), Width());
            }
            source = m_bits.data();
        } else {
            source += row * RowBytes();
        }
        const auto bytes = static_cast<tmsize_t>(rows * RowBytes());
        Require(WithMemory([=, this] { return TIFFWriteRawStrip(m_tiff.get(), strip, source, bytes); }) == bytes);
    }

    void Require(bool done) const {
        if (!done) {
            m_stream.file.Fail(Printable(m_stream.message.data()));
        }
    }

    StStream<COutputFile> m_stream;
    const CImage& m_image;
    const std::string& m_description;
    bool m_packed; ///< elements are written as bits
    std::vector<unsigned char> m_bits;
    TiffHandle m_tiff;
};

/// No less than the file of an image can have: pixels, description, and what each page and strip needs besides.
std::uint64_t MostFileBytes(const CImage& image, const std::string& description) {
    constexpr std::uint64_t pageBytes = 512;
    constexpr std::uint64_t stripBytes = 16 + kAlignment; // its place and size, and the gap in front
    const std::uint64_t bytes = image.Buffer().Size();
    const std::uint64_t pages = static_cast<std::uint64_t>(image.Size().z) * image.Type().channels;
    const std::uint64_t rows = pages * static_cast<std::uint64_t>(image.Size().y);
    const std::uint64_t strips = std::min(rows, pages + 2 * bytes / kStripBytes);
    return bytes + description.size() + pages * pageBytes + strips * stripBytes;
}

} // namespace

std::unique_ptr<CImage> ReadTiff(const CInputFile& file, const StReadOptions& options) {
    CTiffReader reader(file);
    const StPixels pixels = reader.Pixels();
    const ElementTypes possible = PossibleTypes(pixels);
    auto description = ReadDescription(file, reader.Description(), Described(pixels), possible);
    const std::int64_t pages = CountPages(reader, file, pixels);

    const IImage::CType usual = description ? description->type : possible.front();
    const IImage::CType type = options.type ? ChosenType(file, Described(pixels), possible, options) : usual;
    const int dimensions = description ? description->dimensions : pages == 1 ? 2 : 3;
    auto image = std::make_unique<CImage>(type, SizeOf(pixels, pages, dimensions), CSize(0, 0, 0));

    const std::size_t rowBytes = static_cast<std::size_t>(image->Size().x) * type.channelBytes;
    StTarget target{static_cast<unsigned char*>(image->Buffer().Data()), image->Size().Elements(), rowBytes};
    reader.FirstPage();
    do {
        reader.Read(pixels, target);
        target.data += rowBytes * pixels.height;
    } while (reader.NextPage());
    if (description) {
        image->Attributes().Move(*description->map->Entry("vessa/attributes", true));
    }
    return image;
}

void CheckTiff(const std::string& file, const CImage& image) {
    constexpr std::int64_t most = std::numeric_limits<std::uint32_t>::max();
    RequireType(file, image, "TIFF", AllTypes());
    RequirePixels(file, image, "TIFF");
    if (image.Size().x > most || image.Size().y > most) {
        throw CFileError(file + ": TIFF can't hold " + Extents(image.Size()) +
                         " elements: at most 4294967295 in a row or column");
    }
    DescriptionOf(image, file); // raises for attributes that can't be held
}

void WriteTiff(COutputFile& file, const CImage& image, std::uint64_t mostClassicBytes) {
    const std::string description = DescriptionOf(image, file.Name());
    CTiffWriter writer(file, image, description, MostFileBytes(image, description) > mostClassicBytes);
    for (std::int64_t slice = 0; slice < image.Size().z; ++slice) {
        writer.WritePage(slice);
    }
}

} // namespace vessa
