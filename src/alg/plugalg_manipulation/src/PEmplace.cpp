// Places a window of a patch image into a base image: out(at + i) = patch(from + i) for each i of the window, if the
// mask isn't zero there, and the base elsewhere. Without `wrap` the window is cut at the base's far edges; with it
// positions count modulo the base's extents, and of two elements for one place the later one stands. Elements are moved
// as bytes, whatever their type.

#include "PEmplace.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Output.h"
#include "Periodic.h"
#include "base/VectorVariants.h"

#include <algorithm>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "Emplace";

constexpr const char* kText = R"(BRIEF
Place a patch image into an image at given position.

Emplaces the patch image from input pin 2 into the data image on pin 1.

INPUT 0
input image to patch

INPUT 1
patch image, must have same type as input image.

INPUT 2
optional mask image, defines foreground of patch, must be same size as patch.

OUTPUT 0
image with patch emplaced

PARAMETER pos_x
The type of this parameter is of type long. patch insert position X of input image. Negative values subtract from the image size.
By default it is set to \a 0.

PARAMETER pos_y
The type of this parameter is of type long. patch insert position Y of input image. Negative values subtract from the image size.
By default it is set to \a 0.

PARAMETER pos_z
The type of this parameter is of type long. patch insert position Z of input image. Negative values subtract from the image size.
By default it is set to \a 0.

PARAMETER patch_offs_x
The type of this parameter is of type long. start offset X of patch image. Negative values subtract from the patch size.
By default it is set to \a 0.

PARAMETER patch_offs_y
The type of this parameter is of type long. start offset Y of patch image. Negative values subtract from the patch size.
By default it is set to \a 0.

PARAMETER patch_offs_z
The type of this parameter is of type long. start offset Z of patch image. Negative values subtract from the patch size.
By default it is set to \a 0.

PARAMETER patch_size_x
The type of this parameter is of type long. size X of patch image.
Setting smaller than the patch image size will crop columns from the end.
Negative values subtract from the patch size.
By default it is set to \a -1.

PARAMETER patch_size_y
The type of this parameter is of type long. size Y of patch image.
Setting smaller than the patch image size will crop columns from the end.
Negative values subtract from the patch size.
By default it is set to \a -1.

PARAMETER patch_size_z
The type of this parameter is of type long. size Z of patch image.
Setting smaller than the patch image size will crop columns from the end.
Negative values subtract from the patch size.
By default it is set to \a -1.

PARAMETER wrap
The type of this parameter is of type bool. edge treatment behaviour on image boundaries:
if false, the patch is cut off,
if true, the patch is wrapped around at the input image boundaries.
By default it is set to \a false.

KEYWORDS
patch, emplace
)";

/// What is placed where. Nothing is placed if an extent is below 1.
struct StWindow {
    StExtents size{};
    StPlace from{}; ///< its first element in the patch
    StPlace at{};   ///< the place of that element in the base
};

/// One channel plane of the images.
struct StPlane {
    const std::uint8_t* base = nullptr;
    const std::uint8_t* patch = nullptr;
    const std::uint8_t* mask = nullptr; ///< null without a mask
    std::uint8_t* out = nullptr;
    std::int64_t readable = 0; ///< elements from `patch`, and from `mask`, on that belong to their blocks
    int elementBytes = 0;
    int maskBytes = 0;
};

/// Copies the elements whose mask has a byte that isn't 0.
using ForegroundCopy = void (*)(const std::uint8_t* patch, const std::uint8_t* mask, std::uint8_t* out,
                                std::int64_t count, int elementBytes, int maskBytes);

template <class T, class Mask>
VESSA_VECTOR_VARIANTS void CopyForeground(const std::uint8_t* patch, const std::uint8_t* mask, std::uint8_t* out,
                                          std::int64_t count, int /*elementBytes*/, int /*maskBytes*/) {
    const T* elements = reinterpret_cast<const T*>(patch);
    const Mask* marks = reinterpret_cast<const Mask*>(mask);
    T* result = reinterpret_cast<T*>(out);
    for (std::int64_t x = 0; x < count; ++x) {
        result[x] = marks[x] != 0 ? elements[x] : result[x];
    }
}

/// For elements that are no machine word.
void CopyForegroundBytes(const std::uint8_t* patch, const std::uint8_t* mask, std::uint8_t* out, std::int64_t count,
                         int elementBytes, int maskBytes) {
    for (std::int64_t x = 0; x < count; ++x) {
        const std::uint8_t* mark = mask + x * maskBytes;
        if (std::any_of(mark, mark + maskBytes, [](std::uint8_t byte) { return byte != 0; })) {
            CopyElements(patch + x * elementBytes, out + x * elementBytes, elementBytes);
        }
    }
}

template <class T> ForegroundCopy ForegroundCopyFor(int maskBytes) {
    switch (maskBytes) {
    case 1:
        return &CopyForeground<T, std::uint8_t>;
    case 2:
        return &CopyForeground<T, std::uint16_t>;
    case 4:
        return &CopyForeground<T, std::uint32_t>;
    case 8:
        return &CopyForeground<T, std::uint64_t>;
    default:
        return &CopyForegroundBytes;
    }
}

ForegroundCopy ForegroundCopyFor(int elementBytes, int maskBytes) {
    switch (elementBytes) {
    case 1:
        return ForegroundCopyFor<std::uint8_t>(maskBytes);
    case 2:
        return ForegroundCopyFor<std::uint16_t>(maskBytes);
    case 4:
        return ForegroundCopyFor<std::uint32_t>(maskBytes);
    case 8:
        return ForegroundCopyFor<std::uint64_t>(maskBytes);
    default:
        return &CopyForegroundBytes;
    }
}

/// Places the window's foreground row by row, in the window's order. The base is copied as far as it is needed, so that
/// its row is still in the cache when the foreground comes over it.
void PlaceForeground(const StPlane& plane, const StExtents& base, const StExtents& patch, const StWindow& window) {
    const StExtents& size = window.size;
    const StPlace& from = window.from;
    const StPlace& at = window.at;
    const ForegroundCopy copyForeground = ForegroundCopyFor(plane.elementBytes, plane.maskBytes);
    std::int64_t written = 0; // elements of the base, from the start on
    const auto copyBaseUpTo = [&](std::int64_t end) {
        CopyElements(plane.base + written * plane.elementBytes, plane.out + written * plane.elementBytes,
                     (end - written) * plane.elementBytes);
        written = std::max(written, end);
    };
    const auto placeRow = [&](std::int64_t row, std::int64_t source) {
        copyBaseUpTo(row + base.width);
        std::int64_t column = at.x;
        std::int64_t count = 0;
        for (std::int64_t x = 0; x < size.width; x += count, column = 0) {
            count = std::min(base.width - column, size.width - x);
            copyForeground(plane.patch + (source + x) * plane.elementBytes, plane.mask + (source + x) * plane.maskBytes,
                           plane.out + (row + column) * plane.elementBytes, count, plane.elementBytes, plane.maskBytes);
        }
    };
    for (std::int64_t z = 0; z < size.depth; ++z) {
        const std::int64_t slice = (at.z + z) % base.depth;
        std::int64_t row = at.y;
        for (std::int64_t y = 0; y < size.height; ++y) {
            const std::int64_t source = ElementNumber(patch, {from.x, from.y + y, from.z + z});
            if (source + size.width <= plane.readable) {
                placeRow(ElementNumber(base, {0, row, slice}), source);
            }
            row = row + 1 == base.height ? 0 : row + 1; // a division in each row would take as long as the row
        }
    }
    copyBaseUpTo(base.width * base.height * base.depth);
}

/// Of elements for one place the last one stands: leaves out the others along an axis.
void KeepLast(std::int64_t extent, std::int64_t& size, std::int64_t& from, std::int64_t& at) {
    const std::int64_t surplus = size - extent;
    if (surplus > 0) {
        size = extent;
        from += surplus;
        at = (at + surplus) % extent;
    }
}

/// Writes the output from its start to its end, every byte once: rows with a part of the patch, and the base before,
/// between and behind them. Widths, columns and places are counted in bytes.
class CRowWriter {
public:
    CRowWriter(const StPlane& plane, std::int64_t baseWidth, std::int64_t patchWidth, std::int64_t column,
               std::int64_t width)
        : m_plane(plane), m_baseWidth(baseWidth), m_patchWidth(patchWidth), m_column(column), m_width(width),
          m_overhang(std::max<std::int64_t>(column + width - baseWidth, 0)) {}

    void CopyBaseUpTo(std::int64_t end) {
        CopyElements(m_plane.base + m_written, m_plane.out + m_written, end - m_written);
        m_written = end;
    }

    /// Writes rows from the one at `start` on, with the patch's rows from `source` on.
    void Place(std::int64_t start, std::int64_t source, std::int64_t rows) {
        const std::int64_t inner = m_width - m_overhang;
        if (m_overhang > 0) { // the gap lies between the two parts
            CopyBaseUpTo(start);
            CopyPatch(start, source + inner, m_overhang, rows);
            CopyGaps(start + m_overhang, rows);
            CopyPatch(start + m_column, source, inner, rows);
            m_written = start + m_baseWidth * rows;
        } else { // it goes from one row into the next
            CopyBaseUpTo(start + m_column);
            CopyPatch(start + m_column, source, inner, rows);
            CopyGaps(start + m_column + m_width, rows - 1);
            m_written = start + m_baseWidth * (rows - 1) + m_column + m_width;
        }
    }

private:
    void CopyPatch(std::int64_t to, std::int64_t source, std::int64_t width, std::int64_t rows) {
        CopyElementRows(m_plane.patch + source, m_patchWidth, m_plane.out + to, m_baseWidth, width, rows);
    }
    void CopyGaps(std::int64_t to, std::int64_t rows) {
        CopyElementRows(m_plane.base + to, m_baseWidth, m_plane.out + to, m_baseWidth, m_baseWidth - m_width, rows);
    }

    const StPlane& m_plane;
    std::int64_t m_baseWidth;
    std::int64_t m_patchWidth;
    std::int64_t m_column;
    std::int64_t m_width;
    std::int64_t m_overhang; ///< what goes to a row's start
    std::int64_t m_written = 0;
};

/// Places a window without a mask. Goes through the base row by row, and through a page of rows at a time where the
/// patch comes to them.
void PlaceWhole(const StPlane& plane, const StExtents& base, const StExtents& patch, StWindow window) {
    StExtents& size = window.size;
    StPlace& from = window.from;
    StPlace& at = window.at;
    KeepLast(base.width, size.width, from.x, at.x);
    KeepLast(base.height, size.height, from.y, at.y);
    KeepLast(base.depth, size.depth, from.z, at.z);
    const std::int64_t bytes = plane.elementBytes;
    CRowWriter writer(plane, base.width * bytes, patch.width * bytes, at.x * bytes, size.width * bytes);
    const std::int64_t step = RowsOfPage<std::uint8_t>(base.width * bytes);
    for (std::int64_t z = 0; z < base.depth; ++z) {
        const std::int64_t slice = z < at.z ? z - at.z + base.depth : z - at.z;
        for (std::int64_t y = 0, rows = 0; slice < size.depth && y < base.height; y += rows) {
            const std::int64_t row = y < at.y ? y - at.y + base.height : y - at.y;
            const std::int64_t source = ElementNumber(patch, {from.x, from.y + row, from.z + slice});
            rows = 1;
            if (row < size.height && source + size.width <= plane.readable) {
                const std::int64_t fit = (plane.readable - size.width - source) / patch.width + 1;
                rows = std::min({step, (y < at.y ? at.y : base.height) - y, size.height - row, fit});
                writer.Place(ElementNumber(base, {0, y, z}) * bytes, source * bytes, rows);
            }
        }
    }
    writer.CopyBaseUpTo(base.width * base.height * base.depth * bytes);
}

struct StInputs {
    const CImage& base;
    const CImage& patch;
    const CImage* mask; ///< null if there is none
};

/// True for the grey and binary types.
bool IsGreyOrBinary(const IImage::CType& type) {
    constexpr int first = 2;
    constexpr int last = 9;
    constexpr int grey64 = 19; // stands apart
    return (type.kind >= first && type.kind <= last) || type.kind == grey64;
}

bool SameExtents(const CSize& a, const CSize& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

StInputs CheckedInputs(CPNode& node) {
    CValue& baseValue = RequireValue(node, 0, kWhere, "Input slot '0' has no data!");
    CValue& patchValue = RequireValue(node, 1, kWhere, "Input slot '1' has no data!");
    CValue* maskValue = node.GetStackInput(2, false);
    RequireImageValue(baseValue, kWhere, "Data on slot 0 is not an image.");
    RequireImageValue(patchValue, kWhere, "Data on slot 1 is not an image.");
    if (maskValue != nullptr) {
        // It is the patch that is asked, so that this never fails: a mask that is no image meets the host's own words.
        RequireImageValue(patchValue, kWhere, "Data on slot 2 is not an image.");
    }
    const CImage& base = RequireImage(baseValue, kWhere, "Null pointer on slot 0.");
    const CImage& patch = RequireImage(patchValue, kWhere, "Null pointer on slot 1.");
    const CImage* mask = maskValue == nullptr ? nullptr : &RequireImage(*maskValue, kWhere, "Null pointer on slot 2.");
    if (base.Type() != patch.Type()) {
        Fail(kWhere, "Image on slot 0 (Base) is not of same type as image on slot 1 (Patch).");
    }
    if (mask != nullptr && !IsGreyOrBinary(mask->Type())) {
        Fail(kWhere, "Image on slot 2 (Mask) is not a grey or binary image.");
    }
    if (mask != nullptr && !SameExtents(mask->Size(), patch.Size())) {
        Fail(kWhere, "Image on slot 1 (Patch) is not the same size as image on slot 2 (Mask).");
    }
    return {base, patch, mask};
}

/// A window's extent; negative ones count from that of the patch.
std::int64_t WindowExtent(std::int64_t extent, std::int64_t patchExtent) {
    return extent < 0 ? extent + 1 + patchExtent : extent;
}

/// The window that the parameters ask for, cut to the patch and, where it isn't wrapped, to the base. Neither image is
/// empty.
StWindow Window(const CValueMap& parameters, const CSize& base, const CSize& patch, bool wrap) {
    const auto number = [&](const char* key, Long fallback) { return parameters.EntryLong(key, fallback); };
    const StPlace at{Periodic(number("pos_x", 0), base.x), Periodic(number("pos_y", 0), base.y),
                     Periodic(number("pos_z", 0), base.z)};
    const StPlace from{Periodic(number("patch_offs_x", 0), patch.x), Periodic(number("patch_offs_y", 0), patch.y),
                       Periodic(number("patch_offs_z", 0), patch.z)};
    StExtents size{std::min(WindowExtent(number("patch_size_x", -1), patch.x), patch.x - from.x),
                   std::min(WindowExtent(number("patch_size_y", -1), patch.y), patch.y - from.y),
                   std::min(WindowExtent(number("patch_size_z", -1), patch.z), patch.z - from.z)};
    const StExtents room{base.x - at.x, base.y - at.y, base.z - at.z};
    if (!wrap) {
        size = {std::min(size.width, room.width), std::min(size.height, room.height), std::min(size.depth, room.depth)};
    }
    // An axis that the base doesn't count is always filled to its end, whatever size is asked for.
    if (base.dim < 2) {
        size.height = room.height;
    }
    if (base.dim < 3) {
        size.depth = room.depth;
    }
    return {size, from, at};
}

bool PlacesNothing(const StWindow& window) {
    return window.size.width < 1 || window.size.height < 1 || window.size.depth < 1;
}

/// Patches each plane of the base. Of a window that a base of fewer dimensions has made larger than the patch, rows
/// past the end of the patch's block aren't placed; any other window ends inside it, in each plane.
void Emplace(const StInputs& inputs, const StWindow& window, CImage& output) {
    const auto& [base, patch, mask] = inputs;
    const IImage::CType& type = base.Type();
    const std::size_t planes = type.interleaved ? 1 : type.channels;
    const std::size_t elementBytes = type.interleaved ? type.pixelBytes : type.channelBytes;
    const std::size_t patchElements = patch.Size().Volume();
    // From plane to plane the patch is stepped on by the window's elements, not by its own: only the first plane is
    // exact when the window is smaller.
    const std::size_t patchStep = CSize(window.size.width, window.size.height, window.size.depth).Volume();
    for (std::size_t plane = 0; plane < planes; ++plane) {
        const std::size_t baseStart = plane * base.Size().Volume() * elementBytes;
        const std::size_t patchStart = std::min(plane * patchStep, planes * patchElements);
        const std::size_t readable = planes * patchElements - patchStart;
        StPlane bytes;
        bytes.base = Elements<std::uint8_t>(base) + baseStart;
        bytes.patch = Elements<std::uint8_t>(patch) + patchStart * elementBytes;
        bytes.out = Elements<std::uint8_t>(output) + baseStart;
        bytes.elementBytes = static_cast<int>(elementBytes);
        if (mask == nullptr) {
            bytes.readable = static_cast<std::int64_t>(readable);
            PlaceWhole(bytes, Extents(base), Extents(patch), window);
        } else { // one mask for all planes
            bytes.mask = Elements<std::uint8_t>(*mask);
            bytes.maskBytes = mask->Type().pixelBytes;
            bytes.readable = static_cast<std::int64_t>(std::min(readable, patchElements));
            PlaceForeground(bytes, Extents(base), Extents(patch), window);
        }
    }
}

} // namespace

void CPEmplace::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Emplace", "Manipulation");
    description.LongParameter("pos_x", 0).Order(0);
    description.LongParameter("pos_y", 0).Order(1);
    description.LongParameter("pos_z", 0).Order(2);
    description.LongParameter("patch_offs_x", 0).Order(3);
    description.LongParameter("patch_offs_y", 0).Order(4);
    description.LongParameter("patch_offs_z", 0).Order(5);
    description.LongParameter("patch_size_x", -1).Order(6);
    description.LongParameter("patch_size_y", -1).Order(7);
    description.LongParameter("patch_size_z", -1).Order(8);
    description.BoolParameter("wrap", false).Toggle().Order(9);
    description.ImageInput();
    description.ImageInput();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPEmplace::Run() {
    const StInputs inputs = CheckedInputs(*this);
    const auto& [base, patch, mask] = inputs;
    const bool wrap = Parameters().EntryBool("wrap", false);
    const StWindow window =
        IsEmpty(base) || IsEmpty(patch) ? StWindow{} : Window(Parameters(), base.Size(), patch.Size(), wrap);

    auto output = NewImage(base.Type(), base.Size());
    if (PlacesNothing(window)) {
        output->Buffer().Copy(base.Buffer());
    } else {
        Emplace(inputs, window, *output);
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
