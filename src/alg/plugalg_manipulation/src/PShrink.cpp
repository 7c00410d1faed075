// Halves an image in each direction: out(x, y, z) is formed from the block of 2 x 2 x 2 elements at in(2x, 2y, 2z), by
// the rule that `mode` names. Extents are rounded up; at an odd edge the last elements take the place of those that
// lack. Means of bytes are cut toward zero.

#include "PShrink.h"

#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Output.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Shrink::Run";
constexpr const char* kModeNames = "SKIP, MAX, MAXFAST, MIN, MINFAST, MEDIAN, AVERAGE";

constexpr const char* kText = R"(BRIEF
Node to shrink an image by a factor two in all dimensions.

Each output element is formed from a block of neighbouring input elements. An odd extent is rounded up.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER mode
The type of this parameter is of type string. determines how the output elements are formed:
SKIP takes the first element of each block,
MAX and MIN take the largest and the smallest element of each block,
MAXFAST and MINFAST do so within each second slice and leave out the last column and row of an odd extent,
MEDIAN takes the median within each second slice,
AVERAGE takes the mean of each block.
By default it is set to \a SKIP.

SEE ALSO
Resize a scaled image resize.
Scale: a centered image resize, keeping the original image dimensions.
)";

// The rules form an element from the samples of a block: four of one plane, or eight of two. At the last plane of an
// odd depth the eight would be the four taken twice. Among samples that don't compare, as NaN or zeros of both signs,
// the first one stands until a later one is strictly better.

struct StFirst {
    template <class T, class... Others> static T Of(T first, Others...) { return first; }
};

struct StMax {
    template <class T, class... Others> static T Of(T best, Others... samples) {
        ((best = samples > best ? samples : best), ...);
        return best;
    }
};

struct StMin {
    template <class T, class... Others> static T Of(T best, Others... samples) {
        ((best = samples < best ? samples : best), ...);
        return best;
    }
};

/// The sum, of two NaN the first: which of them a plain addition gives differs between compilers and vector widths.
inline float Sum(float a, float b) { return a + (std::isnan(a) ? 0.0F : b); }

struct StMedian {
    template <class T> static void Order(T& a, T& b) {
        const T lower = b < a ? b : a;
        b = b < a ? a : b;
        a = lower;
    }
    /// An insertion sort, written out: each sample moves forward past those that are larger.
    template <class T> static T Of(T a, T b, T c, T d) {
        Order(a, b);
        Order(b, c);
        Order(a, b);
        Order(c, d);
        Order(b, c);
        Order(a, b);
        return Mean(b, c);
    }
    static float Mean(float a, float b) { return Sum(a, b) * 0.5F; }
    static std::uint8_t Mean(std::uint8_t a, std::uint8_t b) { return static_cast<std::uint8_t>((a + b) / 2); }
};

struct StAverage {
    template <class T> static T Of(T a, T b, T c, T d) { return Of(a, b, c, d, a, b, c, d); }
    /// The order of the additions counts.
    static float Of(float a, float b, float c, float d, float e, float f, float g, float h) {
        return Sum(Sum(Sum(Sum(Sum(Sum(Sum(b, a), c), d), e), f), g), h) * 0.125F;
    }
    static std::uint8_t Of(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d, std::uint8_t e,
                           std::uint8_t f, std::uint8_t g, std::uint8_t h) {
        return static_cast<std::uint8_t>((a + b + c + d + e + f + g + h) / 8);
    }
};

/// The same for floats none of which is a NaN: half the work.
struct StPlainAverage {
    static float Of(float a, float b, float c, float d) { return Of(a, b, c, d, a, b, c, d); }
    static float Of(float a, float b, float c, float d, float e, float f, float g, float h) {
        return (((((((b + a) + c) + d) + e) + f) + g) + h) * 0.125F;
    }
};

VESSA_VECTOR_VARIANTS bool HasNaN(const float* elements, std::int64_t count) {
    int found = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        found |= std::isnan(elements[i]) ? 1 : 0;
    }
    return found != 0;
}

/// The output elements of a row whose blocks are whole.
/// @{
template <class T, class Rule>
VESSA_VECTOR_VARIANTS void ShrinkPairs(const T* upper, const T* lower, T* out, std::int64_t count) {
    for (std::int64_t x = 0; x < count; ++x) {
        out[x] = Rule::Of(upper[2 * x], upper[2 * x + 1], lower[2 * x], lower[2 * x + 1]);
    }
}

template <class T, class Rule>
VESSA_VECTOR_VARIANTS void ShrinkPairs(const T* upper, const T* lower, const T* upperNext, const T* lowerNext, T* out,
                                       std::int64_t count) {
    for (std::int64_t x = 0; x < count; ++x) {
        out[x] = Rule::Of(upper[2 * x], upper[2 * x + 1], lower[2 * x], lower[2 * x + 1], upperNext[2 * x],
                          upperNext[2 * x + 1], lowerNext[2 * x], lowerNext[2 * x + 1]);
    }
}
/// @}

/// The same from two rows or from four. A sum that is no NaN was made of none.
template <class T, class Rule, class... Row> void ShrinkRow(T* out, std::int64_t count, const Row*... rows) {
    if constexpr (std::is_same_v<Rule, StAverage> && std::is_floating_point_v<T>) {
        ShrinkPairs<T, StPlainAverage>(rows..., out, count);
        if (!HasNaN(out, count)) {
            return;
        }
    }
    ShrinkPairs<T, Rule>(rows..., out, count);
}

/// A plane of the output from one plane of the input.
template <class T, class Rule> void ShrinkPlane(const T* in, const StExtents& extents, T* out) {
    const std::int64_t width = extents.width;
    for (std::int64_t y = 0; y < extents.height; y += 2) {
        const T* upper = in + width * y;
        const T* lower = in + width * std::min(y + 1, extents.height - 1);
        ShrinkRow<T, Rule>(out, width / 2, upper, lower);
        out += width / 2;
        if (width % 2 != 0) {
            const std::int64_t x = width - 1;
            *out++ = Rule::Of(upper[x], upper[x], lower[x], lower[x]);
        }
    }
}

/// A plane of the output from two planes of the input.
template <class T, class Rule> void ShrinkPlanePair(const T* in, const T* inNext, const StExtents& extents, T* out) {
    const std::int64_t width = extents.width;
    for (std::int64_t y = 0; y < extents.height; y += 2) {
        const std::int64_t row = width * y;
        const std::int64_t nextRow = width * std::min(y + 1, extents.height - 1);
        ShrinkRow<T, Rule>(out, width / 2, in + row, in + nextRow, inNext + row, inNext + nextRow);
        out += width / 2;
        if (width % 2 != 0) {
            const std::int64_t upper = row + width - 1;
            const std::int64_t lower = nextRow + width - 1;
            *out++ = Rule::Of(in[upper], in[upper], in[lower], in[lower], inNext[upper], inNext[upper], inNext[lower],
                              inNext[lower]);
        }
    }
}

/// A plane of the output from one plane of the input, without the blocks that aren't whole: their elements are 0.
template <class T, class Rule> void ShrinkPlaneFast(const T* in, const StExtents& extents, T* out) {
    const std::int64_t width = extents.width;
    for (std::int64_t y = 0; y + 1 < extents.height; y += 2) {
        ShrinkPairs<T, Rule>(in + width * y, in + width * (y + 1), out, width / 2);
        out += width / 2;
        if (width % 2 != 0) {
            *out++ = T{};
        }
    }
    if (extents.height % 2 != 0) {
        std::fill_n(out, (width + 1) / 2, T{});
    }
}

/// Each second plane by itself.
template <class T, void (*Plane)(const T*, const StExtents&, T*)>
void ShrinkPlanes(const T* in, const StExtents& extents, T* out) {
    const std::int64_t outPlane = ((extents.width + 1) / 2) * ((extents.height + 1) / 2);
    for (std::int64_t z = 0; z < extents.depth; z += 2) {
        Plane(in + extents.width * extents.height * z, extents, out + outPlane * (z / 2));
    }
}

/// Planes by pairs.
template <class T, class Rule> void ShrinkVolume(const T* in, const StExtents& extents, T* out) {
    const std::int64_t inPlane = extents.width * extents.height;
    const std::int64_t outPlane = ((extents.width + 1) / 2) * ((extents.height + 1) / 2);
    for (std::int64_t z = 0; z < extents.depth; z += 2) {
        if (z + 1 < extents.depth) {
            ShrinkPlanePair<T, Rule>(in + inPlane * z, in + inPlane * (z + 1), extents, out + outPlane * (z / 2));
        } else {
            ShrinkPlane<T, Rule>(in + inPlane * z, extents, out + outPlane * (z / 2));
        }
    }
}

template <class T> using Worker = void (*)(const T* in, const StExtents& extents, T* out);

/// The worker of a mode; null for an unknown one.
template <class T> Worker<T> WorkerOf(const CString& mode) {
    struct StMode {
        const char* name;
        Worker<T> worker;
    };
    constexpr std::array<StMode, 7> modes{{
        {"SKIP", &ShrinkPlanes<T, &ShrinkPlane<T, StFirst>>},
        {"MAX", &ShrinkVolume<T, StMax>},
        {"MAXFAST", &ShrinkPlanes<T, &ShrinkPlaneFast<T, StMax>>},
        {"MIN", &ShrinkVolume<T, StMin>},
        {"MINFAST", &ShrinkPlanes<T, &ShrinkPlaneFast<T, StMin>>},
        {"MEDIAN", &ShrinkPlanes<T, &ShrinkPlane<T, StMedian>>},
        {"AVERAGE", &ShrinkVolume<T, StAverage>},
    }};
    const auto found =
        std::find_if(modes.begin(), modes.end(), [&](const StMode& known) { return mode == known.name; });
    return found == modes.end() ? nullptr : found->worker;
}

/// The extents as this node counts: in 32 bits.
StExtents ExtentsIn32Bits(const CSize& size) {
    return {static_cast<std::int32_t>(size.x), static_cast<std::int32_t>(size.y), static_cast<std::int32_t>(size.z)};
}

/// Half of the extent, rounded up.
std::int64_t Halved(std::int64_t extent) { return extent / 2 + extent % 2; }

} // namespace

void CPShrink::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Shrink", "Manipulation");
    description.StringParameter("mode", mode).Values(kModeNames); // the present mode is the one that is offered
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPShrink::NodeInit() {
    done = 0;
    run_once = Parameters().EntryBool("run_once", run_once);
    mode = Parameters().EntryString("mode", mode);
}

void CPShrink::Run() {
    if (run_once && done == 1) {
        return;
    }
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");

    const StExtents extents = ExtentsIn32Bits(input.Size());
    auto output = NewImage(input.Type(), CSize(Halved(extents.width), Halved(extents.height), Halved(extents.depth)));
    DispatchNumber<float, std::uint8_t>(input.Type(), kWhere, [&]<class T>(Element<T>) {
        const Worker<T> shrink = WorkerOf<T>(mode);
        if (shrink == nullptr) {
            Fail(kWhere, "mode " + mode.Text() + " does not exist, valid modes are:" + kModeNames);
        }
        if (!IsEmpty(*output)) {
            shrink(Elements<T>(input), extents, Elements<T>(*output));
        }
    });
    SetOutputs(*this, WrapImage(std::move(output)));
    done = 1;
}

} // namespace QUOR
