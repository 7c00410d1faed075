// Lays the first slices of two images over one another: canvas(x, y) is made of first(x + first_offset_x, ...) and
// second(x + second_offset_x, ...). Where both exist a rule mixes them, where one exists it is taken, elsewhere the
// background stands. The mean of bytes is cut, that of floats is single precision; colours are mixed plane by plane.

#include "PComposeImage.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Parameters.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <array>
#include <limits>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) ComposeImage::Run";

constexpr const char* kText = R"(BRIEF
Composes two images

The two input images are aligned in each direction by a mode, and the first one is then
moved by a shift. Positions where both images are available are filled with a value that
is made of both input values by the rule \a mode_compose. Those positions
where only one input image is available are filled with the input values
of that respective image. The remaining pixels are filled with a given value.

INPUT 0
Input image of type IMAGE_GREY_F, IMAGE_GREY_8 or IMAGE_RGB_8.

INPUT 1
Second input image of the same type as the first input image.

OUTPUT 0
Output image of the same type as the first input image.

PARAMETER shift_x
The type of this parameter is of type long. Shift of the first image in x-direction, added
to the shift found by \a mode_x. By default it is set to \a 0.


PARAMETER shift_y
The type of this parameter is of type long. Shift of the first image in y-direction, added
to the shift found by \a mode_y. By default it is set to \a 0.


PARAMETER mode_x
The type of this parameter is of type string. Alignment of the images in x-direction. With
\a LEFT, \a RIGHT and \a CENTER the left edges, the right edges and the centers of the images
coincide, with \a APPEND the first image stands behind the second one.
By default it is set to \a LEFT.


PARAMETER mode_y
The type of this parameter is of type string. Alignment of the images in y-direction. With
\a TOP, \a BOTTOM and \a CENTER the top edges, the bottom edges and the centers of the images
coincide, with \a APPEND the first image stands below the second one.
By default it is set to \a TOP.


PARAMETER mode_compose
The type of this parameter is of type string. Value of the positions where both images are
available: the mean, the maximum or the minimum of both values, or the value of the first or
the second image, for \a MEAN, \a MAX, \a MIN, \a FIRST and \a SECOND.
By default it is set to \a MEAN.


PARAMETER bg_value
The type of this parameter is of type double. Value of the remaining pixels. If
the input image is of type IMAGE_RGB_8 the background value will be used
for all channels. By default it is set to \a 0.0.


PARAMETER ignore_zero
The type of this parameter is of type bool. This parameter is used in the \a FIRST and \a SECOND mode.
If it is \a true, the value of the other image stands where the chosen image is zero.
By default it is set to \a false.


PARAMETER parallelization
The type of this parameter is of type string. Kind of parallelization for images of type
IMAGE_RGB_8. By default it is set to \a NO PARALLELIZATION.
)";

// The rules for positions that both images cover.

struct StMax {
    // The order of the comparison counts: with a NaN on either side a stays.
    template <class T> static T Mix(T a, T b) { return b > a ? b : a; }
};

struct StMin {
    template <class T> static T Mix(T a, T b) { return a > b ? b : a; }
};

struct StMean {
    static float Mix(float a, float b) {
        // Of two NaNs the first one stays; the sum alone has either one's bits, as the compiler orders its operands.
        const float sum = a + b;
        return (a != a ? a : sum) * 0.5F;
    }
    static std::uint8_t Mix(std::uint8_t a, std::uint8_t b) { // without a carry out of 8 bits
        return static_cast<std::uint8_t>((a & b) + ((a ^ b) >> 1));
    }
};

struct StFirstUnlessZero {
    template <class T> static T Mix(T a, T b) { return a == T{0} ? b : a; }
};

struct StSecondUnlessZero {
    template <class T> static T Mix(T a, T b) { return b == T{0} ? a : b; }
};

template <class Rule, class T> VESSA_VECTOR_VARIANTS void MixRow(const T* a, const T* b, T* out, std::int64_t count) {
    for (std::int64_t x = 0; x < count; ++x) {
        out[x] = Rule::Mix(a[x], b[x]);
    }
}

template <class T> void TakeFirst(const T* a, const T* /*b*/, T* out, std::int64_t count) {
    CopyElements(a, out, count);
}

template <class T> void TakeSecond(const T* /*a*/, const T* b, T* out, std::int64_t count) {
    CopyElements(b, out, count);
}

template <class T> using MixFunction = void (*)(const T*, const T*, T*, std::int64_t);

/// Any unknown text means the mean.
template <class T> MixFunction<T> ChooseMix(const CString& mode, bool ignoreZero) {
    if (mode == "MAX") {
        return &MixRow<StMax, T>;
    }
    if (mode == "MIN") {
        return &MixRow<StMin, T>;
    }
    if (mode == "FIRST") {
        return ignoreZero ? &MixRow<StFirstUnlessZero, T> : &TakeFirst<T>;
    }
    if (mode == "SECOND") {
        return ignoreZero ? &MixRow<StSecondUnlessZero, T> : &TakeSecond<T>;
    }
    return &MixRow<StMean, T>;
}

/// The canvas positions from `begin` to `end` - 1 along an axis.
struct StRange {
    std::int64_t begin;
    std::int64_t end;
};

/// What an image covers of a canvas along an axis.
StRange Covered(std::int64_t canvas, std::int64_t extent, std::int64_t offset) {
    // An image beyond the canvas is as good as one at its edge, however far 64 bits go.
    const std::int64_t nearOffset = std::clamp(offset, -canvas, extent);
    return {std::max<std::int64_t>(-nearOffset, 0), std::min(extent - nearOffset, canvas)};
}

/// A range under which the same images lie.
struct StStretch {
    StRange range;
    bool first;
    bool second;
};

/// The stretches of an axis, in order.
class CStretches {
public:
    void Add(const StStretch& stretch) { m_stretches[m_count++] = stretch; }
    const StStretch* begin() const { return m_stretches.data(); }
    const StStretch* end() const { return m_stretches.data() + m_count; }

private:
    std::array<StStretch, 5> m_stretches{}; ///< as many as two images make at the most
    std::size_t m_count = 0;
};

/// Cuts a canvas along an axis where an image begins or ends.
CStretches Stretches(std::int64_t canvas, const StRange& first, const StRange& second) {
    std::array<std::int64_t, 6> cuts{0, 0, 0, 0, 0, canvas};
    const std::array edges{first.begin, first.end, second.begin, second.end};
    std::merge(edges.begin(), edges.begin() + 2, edges.begin() + 2, edges.end(), cuts.begin() + 1);
    const auto covers = [](const StRange& image, std::int64_t x) { return x >= image.begin && x < image.end; };
    CStretches stretches;
    for (std::size_t i = 1; i < cuts.size(); ++i) {
        const StRange range{cuts[i - 1], cuts[i]};
        if (range.begin < range.end) {
            stretches.Add({range, covers(first, range.begin), covers(second, range.begin)});
        }
    }
    return stretches;
}

/// One plane of an image, and where the canvas lies on it.
template <class T> struct StLayer {
    const T* elements;
    std::int64_t width;
    std::int64_t height;
    std::int64_t offsetX;
    std::int64_t offsetY;

    const T* At(std::int64_t x, std::int64_t y) const { return elements + (y + offsetY) * width + x + offsetX; }
};

/// A layer as wide as the canvas, of that height, as a single long row.
template <class T> StLayer<T> AsOneRow(const StLayer<T>& layer, std::int64_t height) {
    const std::int64_t nearOffset =
        std::clamp(layer.offsetY, -height, layer.height); // beyond the canvas it covers nothing
    return {layer.elements, layer.width * layer.height, 1, layer.width * nearOffset, 0};
}

/// Writes each element of the canvas once.
template <class T>
void ComposePlane(const StLayer<T>& first, const StLayer<T>& second, MixFunction<T> mixRow, T background, T* canvas,
                  std::int64_t width, std::int64_t height) {
    const auto hasWholeRows = [&](const StLayer<T>& layer) { return layer.width == width && layer.offsetX == 0; };
    if (height > 1 && hasWholeRows(first) && hasWholeRows(second)) {
        ComposePlane(AsOneRow(first, height), AsOneRow(second, height), mixRow, background, canvas, width * height, 1);
        return;
    }
    const auto bands =
        Stretches(height, Covered(height, first.height, first.offsetY), Covered(height, second.height, second.offsetY));
    const auto columns =
        Stretches(width, Covered(width, first.width, first.offsetX), Covered(width, second.width, second.offsetX));
    const auto composeRow = [&](const StStretch& band, std::int64_t y) {
        for (const StStretch& column : columns) {
            const auto [x, end] = column.range;
            T* out = canvas + y * width + x;
            const bool inFirst = band.first && column.first;
            const bool inSecond = band.second && column.second;
            if (inFirst && inSecond) {
                mixRow(first.At(x, y), second.At(x, y), out, end - x);
            } else if (inFirst || inSecond) {
                CopyElements((inFirst ? first : second).At(x, y), out, end - x);
            } else {
                std::fill_n(out, end - x, background);
            }
        }
    };
    for (const StStretch& band : bands) {
        for (std::int64_t y = band.range.begin; y < band.range.end; ++y) {
            composeRow(band, y);
        }
    }
}

/// A channel plane of an image: its first slice. An empty image covers nothing.
template <class T> StLayer<T> Layer(const CImage& image, int channel, std::int64_t offsetX, std::int64_t offsetY) {
    if (IsEmpty(image)) {
        return {nullptr, 0, 0, 0, 0};
    }
    const auto [width, height, depth] = Extents(image);
    return {Elements<T>(image) + channel * (width * height * depth), width, height, offsetX, offsetY};
}

/// Holds every sum of shifts and extents: what is too far for 64 bits is found, not wrapped.
using Wide = __int128;

std::int64_t Limited(Wide number) {
    using Limits = std::numeric_limits<std::int64_t>;
    return static_cast<std::int64_t>(std::clamp<Wide>(number, Limits::min(), Limits::max()));
}

/// The canvas's extent; one beyond 64 bits becomes a negative one, which no image takes.
std::int64_t CanvasExtent(Wide extent) {
    using Limits = std::numeric_limits<std::int64_t>;
    return extent > Limits::max() ? Limits::min() : static_cast<std::int64_t>(extent);
}

/// Half of a difference of extents, with half a pixel rounded away from zero.
std::int64_t RoundedHalf(std::int64_t difference) {
    const float half = static_cast<float>(difference) * 0.5F; // single precision is the rule, also for huge extents
    return TruncateTo64(half >= 0.0F ? half + 0.5 : half - 0.5);
}

/// The place of the first image relative to the second along an axis. `farEdge` is the mode that aligns the images'
/// ends; any unknown mode aligns their beginnings.
Wide Shift(double shift, const CString& mode, const char* farEdge, std::int64_t first, std::int64_t second) {
    const Wide given = TruncateTo64(shift);
    if (mode == "CENTER") {
        return given + RoundedHalf(second - first);
    }
    if (mode == farEdge) {
        return given + (second - first);
    }
    return mode == "APPEND" ? given + second : given;
}

/// Sets the offsets along an axis and gives the canvas's extent. Without a negative shift the second image's offset
/// keeps what an earlier run has left there: that is meant.
std::int64_t PlaceAlong(Wide shift, std::int64_t first, std::int64_t second, std::int64_t& firstOffset,
                        std::int64_t& secondOffset) {
    if (shift < 0) {
        secondOffset = Limited(shift);
    }
    firstOffset = Limited(secondOffset - shift);
    return CanvasExtent(std::max<Wide>(second, shift + first) - std::min<Wide>(shift, 0));
}

} // namespace

void CPComposeImage::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "ComposeImage", "Manipulation");
    description.LongParameter("shift_x", TruncateTo32(shift_x));
    description.LongParameter("shift_y", TruncateTo32(shift_y));
    description.StringParameter("mode_x", mode_x).Values("LEFT, RIGHT, APPEND, CENTER");
    description.StringParameter("mode_y", mode_y).Values("TOP, BOTTOM, APPEND, CENTER");
    description.StringParameter("mode_compose", mode_compose).Values("MEAN, MAX, MIN, FIRST, SECOND");
    description.DoubleParameter("bg_value", bg_value);
    description.BoolParameter("ignore_zero", ignore_zero);
    description.StringParameter("parallelization", parallelization)
        .Values("NO PARALLELIZATION, PARALLELIZATION WITH OPENMP");
    description.ImageInput();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPComposeImage::NodeInit() {
    ReadNumber(Parameters(), "shift_x", shift_x);
    ReadNumber(Parameters(), "shift_y", shift_y);
    mode_x = Parameters().EntryString("mode_x", mode_x);
    mode_y = Parameters().EntryString("mode_y", mode_y);
    mode_compose = Parameters().EntryString("mode_compose", mode_compose);
    ReadNumber(Parameters(), "bg_value", bg_value);
    ignore_zero = Parameters().EntryBool("ignore_zero", ignore_zero);
    parallelization = Parameters().EntryString("parallelization", parallelization);
}

/// Sets the offsets and gives the size of the canvas.
CSize CPComposeImage::Place(const CSize& first, const CSize& second) {
    const Wide shiftX = Shift(shift_x, mode_x, "RIGHT", first.x, second.x);
    const Wide shiftY = Shift(shift_y, mode_y, "BOTTOM", first.y, second.y);
    return {PlaceAlong(shiftX, first.x, second.x, first_offset_x, second_offset_x),
            PlaceAlong(shiftY, first.y, second.y, first_offset_y, second_offset_y), 1};
}

void CPComposeImage::Run() {
    CValue& firstValue = RequireValue(*this, 0, kWhere, "input image is NULL");
    CValue& secondValue = RequireValue(*this, 1, kWhere, "input image is NULL");
    const CImage& first = RequireImage(firstValue, kWhere, "input image is NULL");
    const CImage& second = RequireImage(secondValue, kWhere, "input image is NULL");
    const auto types = {IMAGE_RGB_8, IMAGE_GREY_F, IMAGE_GREY_8};
    RequireType(first, types, kWhere, "first input image is not of type IMAGE_RGB_8 or IMAGE_GREY_F or IMAGE_GREY_8, ");
    RequireType(second, types, kWhere,
                "second input image is not of type IMAGE_RGB_8 or IMAGE_GREY_F or IMAGE_GREY_8, ");
    if (first.Type() != second.Type()) {
        Fail(kWhere, "input images are of different type");
    }

    auto output = NewImage(first.Type(), Place(first.Size(), second.Size()));
    if (first.Type() == IMAGE_RGB_8 && parallelization == "PARALLELIZATION WITH OPENMP") {
        Fail(kWhere, "Please build the plugin with OpenMP");
    }
    const auto [width, height, depth] = Extents(*output);
    const auto compose = [&, w = width, h = height]<class T>(Element<T>) {
        for (int channel = 0; channel < first.Type().channels; ++channel) {
            ComposePlane<T>(Layer<T>(first, channel, first_offset_x, first_offset_y),
                            Layer<T>(second, channel, second_offset_x, second_offset_y),
                            ChooseMix<T>(mode_compose, ignore_zero), ElementFromNumber<T>(bg_value),
                            Elements<T>(*output) + channel * (w * h), w, h);
        }
    };
    if (!IsEmpty(*output)) {
        DispatchNumber<float, std::uint8_t>(first.Type(), kWhere, compose);
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
