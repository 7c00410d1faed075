#include "NpyFile.h"

#include "Errors.h"
#include "ImageFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <string_view>

namespace vessa {

using QUOR::CImage;
using QUOR::CSize;
using QUOR::IImage;

namespace {

constexpr std::string_view kMagic = "\x93NUMPY";
constexpr std::size_t kAlignment = 64;         // of the array behind the header
constexpr std::uint32_t kMostHeader = 1 << 16; // a header of ours has some 100 bytes

/// The element types of a dtype without its byte order, the usual one first.
struct StDtype {
    std::string_view text;
    std::size_t bytes;
    ElementTypes types;
};

const std::vector<StDtype>& Dtypes() {
    static const std::vector<StDtype> dtypes{
        {"b1", 1, TypesOfBits()},         {"u1", 1, TypesOfBytes()},        {"u2", 2, {QUOR::IMAGE_GREY_16}},
        {"u4", 4, {QUOR::IMAGE_GREY_32}}, {"u8", 8, {QUOR::IMAGE_GREY_64}}, {"f4", 4, {QUOR::IMAGE_GREY_F}},
        {"f8", 8, {QUOR::IMAGE_GREY_D}},
    };
    return dtypes;
}

/// What the header tells of the array.
struct StArray {
    const StDtype* dtype = nullptr;
    bool swapped = false;
    std::vector<std::int64_t> shape;
};

/// Reads the header's text: a Python dictionary with the keys 'descr', 'fortran_order' and 'shape', as in
/// {'descr': '<u2', 'fortran_order': False, 'shape': (270, 360), }.
class CHeaderParser {
public:
    CHeaderParser(const CInputFile& file, std::string_view text) : m_file(file), m_rest(text) {}

    StArray Parse() {
        Expect('{');
        while (!Accept('}')) {
            ParseEntry();
            if (!Accept(',')) {
                Expect('}');
                break;
            }
        }
        SkipBlanks();
        if (!m_rest.empty() || !m_hasDtype || !m_hasOrder || !m_hasShape) {
            Fail();
        }
        return m_array;
    }

private:
    void ParseEntry() {
        const std::string_view key = Text();
        Expect(':');
        bool& seen = key == "descr" ? m_hasDtype : key == "fortran_order" ? m_hasOrder : m_hasShape;
        if (seen || (key != "descr" && key != "fortran_order" && key != "shape")) {
            Fail();
        }
        seen = true;
        if (key == "descr") {
            ParseDtype();
        } else if (key == "fortran_order") {
            ParseOrder();
        } else {
            ParseShape();
        }
    }

    void ParseDtype() {
        if (Accept('[')) {
            m_file.Fail("arrays of structures can't be read: an array of numbers is needed");
        }
        const std::string_view dtype = Text();
        const std::string_view kind = dtype.substr(std::min<std::size_t>(dtype.size(), 1));
        const auto& dtypes = Dtypes();
        const auto found =
            std::find_if(dtypes.begin(), dtypes.end(), [&](const StDtype& known) { return known.text == kind; });
        const bool big = dtype.starts_with('>');
        const bool ordered = big || dtype.starts_with('<');
        if (found == dtypes.end() || !(ordered || (dtype.starts_with('|') && found->bytes == 1))) {
            m_file.Fail("the dtype '" + std::string(dtype) +
                        "' can't be read: '|b1', '|u1', '<u2', '<u4', '<u8', '<f4' and '<f8' can, also with '>'");
        }
        m_array.dtype = &*found;
        m_array.swapped = found->bytes > 1 && big != (std::endian::native == std::endian::big);
    }

    void ParseOrder() {
        if (AcceptWord("True")) {
            m_file.Fail("arrays in Fortran order can't be read: C order is needed");
        }
        if (!AcceptWord("False")) {
            Fail();
        }
    }

    void ParseShape() {
        Expect('(');
        bool more = true;
        while (!Accept(')')) {
            if (!more) {
                Fail();
            }
            SkipBlanks();
            std::int64_t extent = 0;
            const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), extent);
            if (error != std::errc() || extent < 0) {
                Fail();
            }
            m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
            m_array.shape.push_back(extent);
            more = Accept(',');
        }
        if (m_array.shape.size() == 1 && !more) {
            Fail(); // a number in brackets, no tuple
        }
    }

    /// A text in quotes of either kind; none of the known texts has an escape in it.
    std::string_view Text() {
        SkipBlanks();
        const char quote = m_rest.empty() ? '\0' : m_rest.front();
        const std::size_t end = m_rest.find(quote, 1);
        if ((quote != '\'' && quote != '"') || end == std::string_view::npos) {
            Fail();
        }
        const std::string_view text = m_rest.substr(1, end - 1);
        const auto plain = [](char c) { return c >= ' ' && c <= '~' && c != '\\'; };
        if (!std::all_of(text.begin(), text.end(), plain)) {
            Fail();
        }
        m_rest.remove_prefix(end + 1);
        return text;
    }

    void SkipBlanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(" \t\r\n"), m_rest.size())); }

    bool AcceptWord(std::string_view word) {
        SkipBlanks();
        if (!m_rest.starts_with(word)) {
            return false;
        }
        m_rest.remove_prefix(word.size());
        return true;
    }

    bool Accept(char symbol) { return AcceptWord(std::string_view(&symbol, 1)); }

    void Expect(char symbol) {
        if (!Accept(symbol)) {
            Fail();
        }
    }

    [[noreturn]] void Fail() const {
        m_file.Fail("the npy header is damaged: a dictionary with 'descr', 'fortran_order' and 'shape' is needed");
    }

    const CInputFile& m_file;
    std::string_view m_rest;
    StArray m_array;
    bool m_hasDtype = false;
    bool m_hasOrder = false;
    bool m_hasShape = false;
};

/// The header's text; `offset` becomes the array's place in the file.
std::string ReadHeader(const CInputFile& file, std::uint64_t& offset) {
    std::array<unsigned char, 12> start{};
    const std::size_t count = file.Read(0, start.data(), start.size());
    if (count < kMagic.size() || std::memcmp(start.data(), kMagic.data(), kMagic.size()) != 0) {
        file.Fail("this is no npy file: it doesn't begin with the npy signature");
    }
    const unsigned major = start[6];
    const unsigned minor = start[7];
    if (count >= 8 && (major < 1 || major > 3 || minor != 0)) {
        file.Fail("npy version " + std::to_string(major) + "." + std::to_string(minor) +
                  " can't be read: 1.0, 2.0 and 3.0 can");
    }
    offset = major == 1 ? 10 : 12;
    std::uint32_t length = start[8] | static_cast<std::uint32_t>(start[9]) << 8U;
    if (major > 1) {
        length |= static_cast<std::uint32_t>(start[10]) << 16U | static_cast<std::uint32_t>(start[11]) << 24U;
    }
    if (count < offset || length > kMostHeader || offset + length > file.Size()) {
        file.Fail("the npy header is damaged: it is cut off or its length is wrong");
    }
    std::string text(length, '\0');
    file.ReadAll(offset, text.data(), text.size());
    offset += length;
    return text;
}

/// "(270, 360)"
std::string ShapeText(const std::vector<std::int64_t>& shape) {
    std::string text = "(";
    for (std::size_t i = 0; i < shape.size(); ++i) {
        text += (i == 0 ? "" : ", ") + std::to_string(shape[i]);
    }
    return text + (shape.size() == 1 ? ",)" : ")");
}

/// The types that an array can be read as. One of four dimensions has no usual type: it is a volume of `IMAGE_RGB_8`
/// only if the caller says so.
ElementTypes PossibleTypes(const StArray& array) {
    const std::size_t dimensions = array.shape.size();
    const bool threePlanes = array.dtype->text == "u1" && dimensions > 2 && array.shape.front() == 3;
    ElementTypes types;
    if (dimensions == 2 || dimensions == 3) {
        types = array.dtype->types;
    }
    if (threePlanes && dimensions <= 4) {
        types.push_back(QUOR::IMAGE_RGB_8);
    }
    return types;
}

IImage::CType TypeOf(const CInputFile& file, const StArray& array, const StReadOptions& options) {
    const ElementTypes possible = PossibleTypes(array);
    const std::string text = "an array of shape " + ShapeText(array.shape);
    if (possible.empty()) {
        file.Fail(text + " is no image: (rows, columns) and (slices, rows, columns) are");
    }
    if (array.shape.size() == 4 && !options.type) {
        file.Fail(text + " can be read as IMAGE_RGB_8 only, when that type is asked for");
    }
    return ChosenType(file, text + " and dtype '" + std::string(array.dtype->text) + "'", possible, options);
}

CSize SizeOf(const StArray& array, const IImage::CType& type) {
    std::vector<std::int64_t> extents(array.shape.rbegin(), array.shape.rend());
    if (type == QUOR::IMAGE_RGB_8) {
        extents.pop_back();
    }
    return extents.size() == 2 ? CSize(extents[0], extents[1]) : CSize(extents[0], extents[1], extents[2]);
}

void SwapBytes(unsigned char* data, std::size_t bytes, std::size_t width) {
    for (unsigned char* element = data; element != data + bytes; element += width) {
        std::reverse(element, element + width);
    }
}

/// The dtype without byte order that an image is written as.
std::string_view DtypeOf(const CImage& image) {
    if (image.Type() == QUOR::IMAGE_RGB_8 || (IsBinary(image.Type()) && FirstNonBit(image))) {
        return "u1";
    }
    const auto& dtypes = Dtypes();
    const auto found = std::find_if(dtypes.begin(), dtypes.end(), [&](const StDtype& dtype) {
        return dtype.types.front() == image.Type() || (dtype.text == "b1" && IsBinary(image.Type()));
    });
    return found->text;
}

std::string HeaderOf(const CImage& image) {
    const CSize& size = image.Size();
    std::vector<std::int64_t> shape{size.y, size.x};
    if (size.dim != 2) {
        shape.insert(shape.begin(), size.z);
    }
    if (image.Type() == QUOR::IMAGE_RGB_8) {
        shape.insert(shape.begin(), 3);
    }
    const char order = image.Type().channelBytes == 1 ? '|' : std::endian::native == std::endian::little ? '<' : '>';
    std::string text = std::string("{'descr': '") + order + std::string(DtypeOf(image)) +
                       "', 'fortran_order': False, 'shape': " + ShapeText(shape) + ", }";
    constexpr std::size_t prefix = 10; // signature, version and length
    const std::size_t used = prefix + text.size() + 1;
    text.append((kAlignment - used % kAlignment) % kAlignment, ' ');
    text += '\n';
    std::string header(kMagic);
    header += {'\1', '\0', static_cast<char>(text.size() & 0xffU), static_cast<char>(text.size() >> 8U)};
    return header + text;
}

} // namespace

std::unique_ptr<CImage> ReadNpy(const CInputFile& file, const StReadOptions& options) {
    std::uint64_t offset = 0;
    const std::string header = ReadHeader(file, offset);
    const StArray array = CHeaderParser(file, header).Parse();
    const IImage::CType type = TypeOf(file, array, options);
    std::uint64_t bytes = array.dtype->bytes;
    for (const std::int64_t extent : array.shape) {
        bytes = LimitedProduct({bytes, static_cast<std::uint64_t>(extent)});
    }
    if (bytes != file.Size() - offset) {
        file.Fail("an array of shape " + ShapeText(array.shape) + " and dtype '" + std::string(array.dtype->text) +
                  "' doesn't take the " + std::to_string(file.Size() - offset) + " bytes behind the header");
    }
    auto image = std::make_unique<CImage>(type, SizeOf(array, type), CSize(0, 0, 0));
    auto* data = static_cast<unsigned char*>(image->Buffer().Data());
    file.ReadAll(offset, data, image->Buffer().Size());
    if (array.swapped) {
        SwapBytes(data, image->Buffer().Size(), array.dtype->bytes);
    }
    return image;
}

void CheckNpy(const std::string& file, const CImage& image) {
    RequireType(file, image, "npy", AllTypes());
    RequireNoAttributes(file, image, "npy");
    if (image.Size().dim == 2 && image.Size().z != 1) {
        throw CFileError(file + ": npy can't hold an image that counts as 2-dimensional and has " +
                         std::to_string(image.Size().z) + " slices: TIFF can");
    }
}

void WriteNpy(COutputFile& file, const CImage& image) {
    const std::string header = HeaderOf(image);
    file.Append(header.data(), header.size());
    file.Append(image.Buffer().Data(), image.Buffer().Size());
}

} // namespace vessa
