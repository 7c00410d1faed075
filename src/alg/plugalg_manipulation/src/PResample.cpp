// Warps an image by a displacement for each element: out(x, y, z) = in(x + shiftX, y + shiftY, z + shiftZ), the shifts
// read at (x, y, z) and rounded down. Bilinear interpolation adds the fractions of the x and y shifts within the plane.
// What lies outside the input is background.

#include "PResample.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Parameters.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Resample::Run";

constexpr const char* kText = R"(BRIEF
Resamples an image by using a pixelwise vector shift.

Each element of the output is looked up in the first input image at its own position plus the
shift that the shift images hold there:
output(x,y,z) = input(x+shift_x, y+shift_y, z+shift_z). Elements whose source lies outside the
input image are set to \a bg_value.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

INPUT 1
Image of type IMAGE_GREY_F or IMAGE_GREY_8 with the shift in x-direction, of the same size as the input image.

INPUT 2
Image of the type of shift X with the shift in y-direction, of the same size as the input image.

INPUT 3
Image of the type of shift X with the shift in z-direction, of the same size as the input image. Without it
the shift in z-direction is 0.

OUTPUT 0
Output image of type as the first input image.

PARAMETER bg_value
The type of this parameter is of type double. value of output elements whose source position lies
outside the input image.
By default it is set to \a 0.

PARAMETER interpolation
The type of this parameter is of type string. NONE: the integer part of the shift alone counts.
BILINEAR: the fractional part of the x and y shifts interpolates within the xy-plane.
By default it is set to \a NONE.
)";

/// The shift images from some element on. Without `z`, elements stay in their plane.
template <class Shift> struct StShifts {
    const Shift* x;
    const Shift* y;
    const Shift* z;

    StShifts From(std::int64_t element) const { return {x + element, y + element, z == nullptr ? z : z + element}; }
};

/// Rounded down in single precision. What 64 bits can't hold, and a NaN, becomes the most negative integer.
/// @{
inline std::int64_t Floor(float shift) { return TruncateTo64(std::floor(shift)); }
inline std::int64_t Floor(std::uint8_t shift) { return shift; }
/// @}

/// True if the shifted position lies within the extent; written so that no sum can overflow.
inline bool IsInside(std::int64_t position, std::int64_t shift, std::int64_t extent) {
    return shift >= -position && shift < extent - position;
}

/// The mix of four neighbours, the second pair a row below the first, by the fractions of the way to the last.
template <class T> [[gnu::always_inline]] inline T Mix(double a, double r, double b, double d, double fx, double fy) {
    const double gx = 1.0 - fx;
    const double mean = (gx * a + fx * r) * (1.0 - fy) + (gx * b + fx * d) * fy;
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(mean);
    } else {
        return static_cast<T>(static_cast<std::int32_t>(mean)); // a mean of bytes is one
    }
}

/// The rule for a single element, whose place and shifts are given.
template <bool Bilinear, class T, class Shift>
[[gnu::always_inline]] inline T ResampleElement(const T* in, const StExtents& extents, const StPlace& place,
                                                const StShifts<Shift>& shifts, T background) {
    const auto [width, height, depth] = extents;
    const std::int64_t shiftX = Floor(*shifts.x);
    const std::int64_t shiftY = Floor(*shifts.y);
    const std::int64_t shiftZ = shifts.z == nullptr ? 0 : Floor(*shifts.z);
    if (!IsInside(place.x, shiftX, width) || !IsInside(place.y, shiftY, height) || !IsInside(place.z, shiftZ, depth)) {
        return background;
    }
    const StPlace source{place.x + shiftX, place.y + shiftY, place.z + shiftZ};
    const T* a = in + ElementNumber(extents, source);
    if constexpr (Bilinear) {
        const bool hasRight = source.x < width - 1;
        const bool hasBelow = source.y < height - 1;
        const T r = hasRight ? a[1] : *a;
        const T b = hasBelow ? a[width] : *a;
        // In the last column and in the last row the fourth neighbour is the first one, not the nearest that exists.
        const T d = hasRight && hasBelow ? a[width + 1] : *a;
        return Mix<T>(*a, r, b, d, *shifts.x - std::floor(*shifts.x), *shifts.y - std::floor(*shifts.y));
    } else {
        return *a;
    }
}

/// So many elements of a row are resampled at a time, in passes over arrays that stay in the cache.
constexpr int kBlock = 256;

/// In images of up to so many elements, 32 bits hold every position and every element's number.
constexpr std::int32_t kMostElements = 1 << 30;

inline std::int32_t LimitedFloor(std::uint8_t shift) { return shift; }

/// Shifts beyond the limit, and NaN, lead outside the image however far they are.
inline std::int32_t LimitedFloor(float shift) {
    constexpr auto limit = static_cast<float>(kMostElements);
    const float floor = std::floor(shift);
    const float raised = floor > -limit ? floor : -limit;
    return static_cast<std::int32_t>(raised < limit ? raised : limit);
}

inline float Fraction(float shift) {
    const float fraction = shift - std::floor(shift);
    return fraction <= 1.0F ? fraction : 0.0F; // an infinite shift has none
}

/// The sources of a block.
struct StSources {
    std::uint32_t number[kBlock];   ///< of the element; 0 for a source that the blocks don't serve
    std::uint32_t unserved[kBlock]; ///< 1 for such a one
    std::uint32_t unservedCount;
    float fractionX[kBlock]; ///< for interpolation only
    float fractionY[kBlock];
};

/// Blocks serve the sources that lie inside with all their neighbours. `shiftZ` tells the shifts along z, or none.
template <bool Bilinear, class Shift, class ShiftZ>
[[gnu::always_inline]] inline void FindSources(const StExtents& extents, const StPlace& place,
                                               const StShifts<Shift>& shifts, ShiftZ shiftZ, int count,
                                               StSources& sources) {
    constexpr std::uint32_t neighbours = Bilinear ? 1 : 0;
    const auto width = static_cast<std::uint32_t>(extents.width);
    const auto height = static_cast<std::uint32_t>(extents.height);
    const auto depth = static_cast<std::uint32_t>(extents.depth);
    const auto first = static_cast<std::int32_t>(place.x);
    const auto row = static_cast<std::int32_t>(place.y);
    const auto plane = static_cast<std::int32_t>(place.z);
    std::uint32_t unserved = 0;
    for (int i = 0; i < count; ++i) {
        const auto x = static_cast<std::uint32_t>(first + i + LimitedFloor(shifts.x[i])); // below 0 it is huge
        const auto y = static_cast<std::uint32_t>(row + LimitedFloor(shifts.y[i]));
        const auto z = static_cast<std::uint32_t>(plane + shiftZ(i));
        const bool isServed = (x < width - neighbours) & (y < height - neighbours) & (z < depth);
        sources.number[i] = isServed ? x + width * (y + height * z) : 0;
        sources.unserved[i] = isServed ? 0 : 1;
        unserved += sources.unserved[i];
        if constexpr (Bilinear) {
            sources.fractionX[i] = Fraction(shifts.x[i]);
            sources.fractionY[i] = Fraction(shifts.y[i]);
        }
    }
    sources.unservedCount = unserved;
}

/// Mixes the elements of the given numbers with their neighbours.
template <class T>
[[gnu::always_inline]] inline void MixBlock(const T* in, std::int64_t width, const std::uint32_t* numbers,
                                            const float* fractionsX, const float* fractionsY, int count, T* out) {
    T upper[2 * kBlock];
    T lower[2 * kBlock];
    for (int i = 0; i < count; ++i) {
        const T* a = in + numbers[i];
        std::memcpy(&upper[2 * i], a, 2 * sizeof(T));
        std::memcpy(&lower[2 * i], a + width, 2 * sizeof(T));
    }
    for (int i = 0; i < count; ++i) {
        out[i] = Mix<T>(upper[2 * i], upper[2 * i + 1], lower[2 * i], lower[2 * i + 1], fractionsX[i], fractionsY[i]);
    }
}

/// A block of `count` elements of a row from `place` on. The shifts and the output start there, too. What blocks don't
/// serve is served one by one, after them.
template <bool Bilinear, class T, class Shift>
VESSA_VECTOR_VARIANTS void ResampleBlock(const T* in, const StExtents& extents, StPlace place,
                                         const StShifts<Shift>& shifts, int count, T* out, T background) {
    constexpr int neighbours = Bilinear ? 1 : 0;
    const auto [width, height, depth] = extents;
    StSources sources; // NOLINT(cppcoreguidelines-pro-type-member-init): found before it is read
    const bool hasBlocks = width > neighbours && height > neighbours && width * height * depth <= kMostElements;
    if (hasBlocks) {
        if (shifts.z == nullptr) {
            FindSources<Bilinear>(
                extents, place, shifts, [](int) { return 0; }, count, sources);
        } else {
            FindSources<Bilinear>(
                extents, place, shifts, [z = shifts.z](int i) { return LimitedFloor(z[i]); }, count, sources);
        }
        if constexpr (Bilinear) {
            MixBlock(in, width, sources.number, sources.fractionX, sources.fractionY, count, out);
        } else {
            PickElements(in, sources.number, count, out);
            for (int i = 0; i < count; ++i) { // without neighbours, what isn't served lies outside
                out[i] = sources.unserved[i] != 0 ? background : out[i];
            }
            return;
        }
    }
    if (hasBlocks && sources.unservedCount == 0) {
        return;
    }
    for (int i = 0; i < count; ++i, ++place.x) {
        if (!hasBlocks || sources.unserved[i] != 0) {
            out[i] = ResampleElement<Bilinear>(in, extents, place, shifts.From(i), background);
        }
    }
}

template <class T, class Shift>
void ResampleImage(const CImage& input, const StShifts<Shift>& shifts, CImage& output, T background, bool isBilinear) {
    const StExtents extents = Extents(input);
    // A byte has no fraction: its nearest element is the mix.
    constexpr bool hasFractions = std::is_floating_point_v<Shift>;
    const auto resampleBlock =
        isBilinear && hasFractions ? &ResampleBlock<hasFractions, T, Shift> : &ResampleBlock<false, T, Shift>;
    std::int64_t element = 0;
    for (std::int64_t z = 0; z < extents.depth; ++z) {
        for (std::int64_t y = 0; y < extents.height; ++y) {
            for (std::int64_t x = 0; x < extents.width; x += kBlock) {
                const int count = static_cast<int>(std::min<std::int64_t>(kBlock, extents.width - x));
                resampleBlock(Elements<T>(input), extents, {x, y, z}, shifts.From(element), count,
                              Elements<T>(output) + element, background);
                element += count;
            }
        }
    }
}

/// Dimension counts may differ.
void RequireSameExtents(const CImage& input, const CImage& shift, const char* different) {
    const CSize& a = input.Size();
    const CSize& b = shift.Size();
    if (a.x != b.x || a.y != b.y || a.z != b.z) {
        Fail(kWhere, different);
    }
}

} // namespace

void CPResample::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Resample", "Manipulation");
    description.DoubleParameter("bg_value", 0);
    description.StringParameter("interpolation", "NONE").Values("NONE, BILINEAR");
    description.ImageInput("data");
    description.ImageInput("shift X");
    description.ImageInput("shift Y");
    description.ImageInput("shift Z (optional)");
    description.ImageOutput();
    description.Text(kText);
}

void CPResample::NodeInit() {
    ReadNumber(Parameters(), "bg_value", bg_value);
    interpolation = Parameters().EntryString("interpolation", "NONE");
}

void CPResample::Run() {
    constexpr const char* missingShift = "shift image X and/or Y is NULL\n only shift image Z is allowed to be NULL";
    const CImage& input = RequireInput(*this, 0, kWhere, "first input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");
    const CImage& shiftX = RequireInput(*this, 1, kWhere, missingShift);
    const CImage& shiftY = RequireInput(*this, 2, kWhere, missingShift);
    const CImage* shiftZ = nullptr;
    if (CValue* value = GetStackInput(3, false)) {
        shiftZ = &RequireImage(*value, kWhere, missingShift);
    }
    RequireType(shiftX, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "shift X image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");
    if (shiftY.Type() != shiftX.Type() || (shiftZ != nullptr && shiftZ->Type() != shiftX.Type())) {
        Fail(kWhere, "shift images have different types\n must be all IMAGE_GREY_F or all IMAGE_GREY_8, ");
    }
    RequireSameExtents(input, shiftX, "input image and shift X image are not equal sizes");
    RequireSameExtents(input, shiftY, "input image and shift Y image are not equal sizes");
    if (shiftZ != nullptr) {
        RequireSameExtents(input, *shiftZ, "input image and shift Z image are not equal sizes");
    }

    auto output = NewImage(input.Type(), input.Size());
    const bool isBilinear = interpolation == "BILINEAR";
    if (!isBilinear && interpolation != "NONE") {
        output->Buffer().Set(0); // an unknown text selects no worker and is no failure
    } else if (!IsEmpty(input)) {
        DispatchNumber<float, std::uint8_t>(input.Type(), kWhere, [&]<class T>(Element<T>) {
            DispatchNumber<float, std::uint8_t>(shiftX.Type(), kWhere, [&]<class Shift>(Element<Shift>) {
                const Shift* z = shiftZ == nullptr ? nullptr : Elements<Shift>(*shiftZ);
                const StShifts<Shift> shifts{Elements<Shift>(shiftX), Elements<Shift>(shiftY), z};
                ResampleImage(input, shifts, *output, ElementFromNumber<T>(bg_value), isBilinear);
            });
        });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
