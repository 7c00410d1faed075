// Packs the rays of a volume, its lines along z, that a plane marks: out(0, k, z) = in(x, y, z), where (x, y) is the
// k-th marked position in storage order. Elements of 1, 2, 4 and 8 bytes are moved as patterns of bits, whatever they
// hold; a mark is any element of the plane but 0.

#include "PSelectRays.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Output.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) SelectRays";
constexpr const char* kWrongType = "first input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, "
                                   "IMAGE_GREY_32, nor IMAGE_BINARY_FG.";

constexpr const char* kText = R"(BRIEF
Extract image rays marked by label image.

A ray is an one-dimensional image subsection in Z-direction, similar to rows and columns.
The rays at the non-zero pixels of the label image are extracted from the input image.
The output image contains these rays arranged in the Y-direction,
that is, the output image has the same depth as the first input image,
the height corresponds to the number of non-zeros in the label image, and width is 1.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

INPUT 1
Label image of type IMAGE_GREY_F or IMAGE_GREY_8.

OUTPUT 0
Output image of the same type as the input image, but of smaller size.

NOTE
result image is zero-sized if not rays are marked by the label image

KEYWORDS
ray, extract, select, delete
)";

// The codes of element kinds that the node tests.
constexpr std::uint16_t kBinary = 2;
constexpr std::uint16_t kGrey8 = 5;
constexpr std::uint16_t kGrey16 = 6;
constexpr std::uint16_t kGrey32 = 7;
constexpr std::uint16_t kFloat = 8;

bool IsKind(const IImage::CType& type, std::initializer_list<std::uint16_t> kinds) {
    return std::find(kinds.begin(), kinds.end(), type.kind) != kinds.end();
}

/// The bytes of one element with all its channels.
std::uint32_t ElementBytes(const IImage::CType& type) {
    return type.channels == 1 ? type.pixelBytes : std::uint32_t{type.channels} * type.channelBytes;
}

bool IsWidth(std::uint32_t bytes) { return bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8; }

/// Marks are listed piece by piece, so that a list stays in the nearest cache while every slice is read through it.
constexpr std::int64_t kPiece = 2048;
/// So many rays side by side are moved at once.
constexpr std::int64_t kGroup = 16;

using PositionList = std::array<std::uint16_t, kPiece>;

/// Every position of a piece, in order.
constexpr PositionList kInOrder = [] {
    PositionList positions{};
    std::iota(positions.begin(), positions.end(), std::uint16_t{0});
    return positions;
}();

/// The marked positions of a piece.
struct StMarks {
    PositionList positions;
    std::int64_t count;
};

template <class M> VESSA_VECTOR_VARIANTS std::int64_t CountMarks(const M* mask, std::int64_t positions) {
    std::int64_t count = 0;
    for (std::int64_t begin = 0; begin < positions; begin += kPiece) {
        const std::int64_t end = std::min(begin + kPiece, positions);
        std::uint16_t inPiece = 0; // narrow, so that many are counted at once
        for (std::int64_t i = begin; i < end; ++i) {
            inPiece = static_cast<std::uint16_t>(inPiece + (mask[i] != M{0} ? 1 : 0));
        }
        count += inPiece;
    }
    return count;
}

/// Writes 1 for a mark and 0 for any other position.
template <class M> VESSA_VECTOR_VARIANTS void FindMarks(const M* mask, std::int64_t positions, std::uint8_t* isMark) {
    for (std::int64_t i = 0; i < positions; ++i) {
        isMark[i] = mask[i] != M{0} ? 1 : 0;
    }
}

/// Lists the marks among so many positions, a piece at the most. Marks come in runs: eight positions of one kind are
/// passed over or listed as a whole.
template <class M> void ListMarks(const M* mask, std::int64_t positions, StMarks& marks) {
    constexpr std::int64_t group = 8;
    constexpr std::uint64_t allMarked = 0x0101010101010101;
    std::array<std::uint8_t, kPiece> isMark{};
    FindMarks(mask, positions, isMark.data());
    std::uint16_t* next = marks.positions.data();
    for (std::int64_t begin = 0; begin < positions; begin += group) {
        const std::uint8_t* found = isMark.data() + begin;
        std::uint64_t all = 0;
        std::memcpy(&all, found, group);
        if (all == allMarked) {
            std::memcpy(next, kInOrder.data() + begin, group * sizeof(std::uint16_t));
            next += group;
        } else if (all != 0) {
            for (std::int64_t i = 0; i < group; ++i) {
                *next = static_cast<std::uint16_t>(begin + i); // stays only if it is a mark
                next += found[i];
            }
        }
    }
    marks.count = next - marks.positions.data();
}

/// True if the marks from number `begin` to `end` - 1 lie side by side.
bool SideBySide(const StMarks& marks, std::int64_t begin, std::int64_t end) {
    const std::uint16_t* position = marks.positions.data();
    return begin < end && position[end - 1] - position[begin] == end - 1 - begin;
}

/// Copies the marked elements of one slice of a piece.
template <class T> void CopyMarked(const T* in, const StMarks& marks, T* out) {
    const std::uint16_t* position = marks.positions.data();
    if (SideBySide(marks, 0, marks.count)) {
        CopyElements(in + position[0], out, marks.count);
        return;
    }
    std::int64_t k = 0;
    for (; k + kGroup <= marks.count; k += kGroup) {
        if (SideBySide(marks, k, k + kGroup)) {
            std::memcpy(out + k, in + position[k], kGroup * sizeof(T));
        } else {
            for (std::int64_t i = k; i < k + kGroup; ++i) {
                out[i] = in[position[i]];
            }
        }
    }
    for (; k < marks.count; ++k) {
        out[k] = in[position[k]];
    }
}

/// A mask of the elements `M`: the first slice of the select image.
template <class M> struct StMask {
    explicit StMask(const CImage& select) : elements(Elements<M>(select)) {
        // A select image without slices marks nothing, nor does one whose type holds less than its kind tells.
        const auto held = static_cast<std::int64_t>(select.Buffer().Size() / sizeof(M));
        positions = held == 0 ? 0 : std::min(held, select.Size().x * select.Size().y);
    }

    const M* elements;
    std::int64_t positions;
};

template <class T, class M> void SelectRays(const CImage& input, const StMask<M>& mask, CImage& output) {
    const auto [width, height, depth] = Extents(input);
    const std::int64_t selected = Extents(output).height;
    const T* in = Elements<T>(input);
    T* out = Elements<T>(output);
    StMarks marks;
    std::int64_t k = 0;
    for (std::int64_t begin = 0; begin < mask.positions; begin += kPiece) {
        ListMarks(mask.elements + begin, std::min(kPiece, mask.positions - begin), marks);
        for (std::int64_t z = 0; z < depth; ++z) {
            CopyMarked(in + begin + z * (width * height), marks, out + k + z * selected);
        }
        k += marks.count;
    }
}

/// Makes the output with the marked rays.
template <class M> std::unique_ptr<CImage> SelectedRays(const CImage& input, const StMask<M>& mask) {
    const std::int64_t selected = CountMarks(mask.elements, mask.positions);
    if (selected == 0) {
        return NewImage(input.Type(), CSize(0, 0, 0));
    }
    auto output = NewImage(input.Type(), CSize(1, selected, input.Size().z));
    switch (ElementBytes(input.Type())) {
    case 1:
        SelectRays<std::uint8_t>(input, mask, *output);
        break;
    case 2:
        SelectRays<std::uint16_t>(input, mask, *output);
        break;
    case 4:
        SelectRays<std::uint32_t>(input, mask, *output);
        break;
    case 8:
        SelectRays<std::uint64_t>(input, mask, *output);
        break;
    default:
        Fail(kWhere, kWrongType); // a type that was accepted for its kind alone
    }
    return output;
}

} // namespace

void CPSelectRays::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "SelectRays", "Manipulation");
    description.ImageInput();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPSelectRays::Run() {
    CValue& inputValue = RequireValue(*this, 0, kWhere, "input image is NULL");
    CValue& selectValue = RequireValue(*this, 1, kWhere, "select image is NULL");
    RequireImageValue(inputValue, kWhere, "input 0 is not an image");
    RequireImageValue(selectValue, kWhere, "input 1 is not an image");
    const CImage& input = RequireImage(inputValue, kWhere, "input image is NULL");
    if (input.Type().channels > 1 && !input.Type().interleaved) {
        Fail(kWhere, "input image is of multichannel noninterleaved type, not supported (yet)");
    }
    if (!IsKind(input.Type(), {kBinary, kGrey8, kGrey16, kGrey32, kFloat}) && !IsWidth(ElementBytes(input.Type()))) {
        Fail(kWhere, kWrongType);
    }
    const CImage& select = RequireImage(selectValue, kWhere, "select image is NULL");
    if (!IsKind(select.Type(), {kBinary, kGrey8, kFloat})) {
        Fail(kWhere, "select image is not of type IMAGE_GREY_F or IMAGE_GREY_8, or IMAGE_BINARY_FG.");
    }
    if (input.Size().x != select.Size().x || input.Size().y != select.Size().y) {
        Fail(kWhere, "select image has different plane size from input image");
    }

    auto output = select.Type().kind == kFloat ? SelectedRays(input, StMask<float>(select))
                                               : SelectedRays(input, StMask<std::uint8_t>(select));
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
