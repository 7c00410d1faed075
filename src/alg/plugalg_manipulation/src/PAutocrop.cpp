// Cuts an image down to the bounding box of its foreground: out(x, y, z) = in(minX + x, minY + y, minZ + z). Foreground
// is what differs from zero by value: a NaN does, -0.0 doesn't. An image without foreground gives a single zero and the
// input's extents as offsets, which lie outside on purpose. Elements are moved as patterns of bits.

#include "PAutocrop.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Output.h"
#include "Value/ValueScalar.h"
#include "base/VectorVariants.h"

#include <cstring>
#include <optional>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) AutoCrop"; // not spelled like the node: hosts know it so

constexpr const char* kText = R"(BRIEF
Automatically crop an image to the smallest bounding box of its non zero foreground.

The image is cropped to the smallest rectangle or cuboid that holds all elements different
from zero. Without any such element, the output is a single zero element.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

OUTPUT 0
Output image of the same type as the input image.

OUTPUT 1
Map with cropping details. The map contains the following entries:
offset_x, offset_y, offset_z, size_x, size_y, size_z.

NOTE
The map in the second output can be used as an input for Extract node.

KEYWORDS
crop, automatic, extract inner, remove border

SEE ALSO
Extract
)";

/// The bits that make an element foreground: all of a byte, and of a float all but the sign, which alone is a -0.0.
template <class T> constexpr T kForeground = T{0xFF};
template <> constexpr std::uint32_t kForeground<std::uint32_t> = 0x7FFFFFFF;

/// How many elements the scans test at once: blocks as long as there are whole ones left, then words.
/// @{
template <class T> constexpr std::int64_t kWord = sizeof(std::uint64_t) / sizeof(T);
template <class T> constexpr std::int64_t kBlock = 32 * kWord<T>;
/// @}

/// Tests `count` elements, which are whole words.
template <std::int64_t count, class T> [[gnu::always_inline]] inline bool IsBackground(const T* in) {
    std::uint64_t foreground = 0;
    for (std::size_t byte = 0; byte < sizeof foreground; byte += sizeof(T)) {
        foreground |= std::uint64_t{kForeground<T>} << (8 * byte);
    }
    std::uint64_t bits = 0;
    for (std::int64_t first = 0; first < count; first += kWord<T>) {
        std::uint64_t word;
        std::memcpy(&word, in + first, sizeof word);
        bits |= word;
    }
    return (bits & foreground) == 0;
}

/// The number of the first foreground element of a run; `count` without one.
template <class T> VESSA_VECTOR_VARIANTS std::int64_t FirstForeground(const T* in, std::int64_t count) {
    std::int64_t first = 0;
    while (count - first >= kBlock<T> && IsBackground<kBlock<T>>(in + first)) {
        first += kBlock<T>;
    }
    while (count - first >= kWord<T> && IsBackground<kWord<T>>(in + first)) {
        first += kWord<T>;
    }
    while (first < count && (in[first] & kForeground<T>) == 0) {
        ++first;
    }
    return first;
}

/// The number past the last foreground element of a run; 0 without one.
template <class T> VESSA_VECTOR_VARIANTS std::int64_t EndOfForeground(const T* in, std::int64_t count) {
    std::int64_t end = count;
    while (end >= kBlock<T> && IsBackground<kBlock<T>>(in + end - kBlock<T>)) {
        end -= kBlock<T>;
    }
    while (end >= kWord<T> && IsBackground<kWord<T>>(in + end - kWord<T>)) {
        end -= kWord<T>;
    }
    while (end > 0 && (in[end - 1] & kForeground<T>) == 0) {
        --end;
    }
    return end;
}

/// A part of an image.
struct StBox {
    StPlace first;
    StExtents extents;
};

/// The bounding box of the foreground, if there is any. It grows from the first and the last element of the foreground,
/// so that only what lies outside the box so far has to be looked at.
template <class T> std::optional<StBox> ForegroundBox(const T* in, const StExtents& extents) {
    const auto [width, height, depth] = extents;
    const std::int64_t plane = width * height;
    const std::int64_t first = FirstForeground(in, plane * depth);
    if (first == plane * depth) {
        return std::nullopt;
    }
    const std::int64_t last = EndOfForeground(in, plane * depth) - 1;
    const std::int64_t front = first / plane;
    const std::int64_t back = last / plane + 1; // past the box, like `bottom` and `right`
    std::int64_t top = first % plane / width;
    std::int64_t bottom = last % plane / width + 1;
    for (std::int64_t z = front; z < back; ++z) {
        const T* rows = in + plane * z;
        top = FirstForeground(rows, width * top) / width;
        bottom += (EndOfForeground(rows + width * bottom, width * (height - bottom)) + width - 1) / width;
    }
    std::int64_t left = first % width;
    std::int64_t right = last % width + 1;
    for (std::int64_t z = front; z < back; ++z) {
        for (std::int64_t y = top; y < bottom && (left > 0 || right < width); ++y) {
            const T* row = in + width * (y + height * z);
            left = FirstForeground(row, left);
            right += EndOfForeground(row + right, width - right);
        }
    }
    return StBox{{left, top, front}, {right - left, bottom - top, back - front}};
}

/// The cut-out image and where it was cut out.
struct StCrop {
    std::unique_ptr<CImage> image;
    StBox box;
};

template <class T> StCrop Crop(const CImage& input) {
    const StExtents extents = Extents(input);
    const auto found = IsEmpty(input) ? std::nullopt : ForegroundBox(Elements<T>(input), extents);
    const StBox box = found.value_or(StBox{{extents.width, extents.height, extents.depth}, {1, 1, 1}});
    auto output = NewImage(input.Type(), CSize(box.extents.width, box.extents.height, box.extents.depth));
    if (found) {
        const T* in = Elements<T>(input) + ElementNumber(extents, box.first);
        CopyCuboid(in, extents, Elements<T>(*output), box.extents, box.extents);
    } else {
        output->Buffer().Set(0);
    }
    return {std::move(output), box};
}

/// The box as a map that Extract takes. Offsets and sizes keep their low 32 bits.
std::unique_ptr<CValueMap> CroppingMap(const StBox& box) {
    auto map = std::make_unique<CValueMap>();
    const auto set = [&](const char* key, std::int64_t number) {
        map->SetEntry(key, std::make_unique<CValueLong>(static_cast<Long>(number)));
    };
    set("offset_x", box.first.x);
    set("offset_y", box.first.y);
    set("offset_z", box.first.z);
    set("size_x", box.extents.width);
    set("size_y", box.extents.height);
    set("size_z", box.extents.depth);
    return map;
}

} // namespace

void CPAutocrop::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Autocrop", "Manipulation");
    description.ImageInput();
    description.ImageOutput();
    description.MapOutput();
    description.Text(kText);
}

void CPAutocrop::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL", "input 0 is not an image");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG}, kWhere,
                "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, or IMAGE_BINARY_FG");

    StCrop crop = input.Type() == IMAGE_GREY_F ? Crop<std::uint32_t>(input) : Crop<std::uint8_t>(input);
    auto map = CroppingMap(crop.box);
    SetOutputs(*this, WrapImage(std::move(crop.image)), std::move(map));
}

} // namespace QUOR
