// Paints a label image: label L takes colour L mod n of a table with n colours, or colour (L - 1) mod n with the label
// 0 left black. The table is the second input, or six colours without one.

#include "PLabelToColor.h"

#include "ByteTable.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Periodic.h"
#include "Runs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) LabelToColor::Run";

constexpr const char* kText = R"(BRIEF
Node to change labels to a user-defined color map.

If the color map image
is omitted a standard color map with six repeating basic colors is used.
The color map should contain
at least as many color values as the first image has labels. If the
map image is a color image every pixel specifies one color, otherwise every consecutive
three pixels specify the color as an RGB triple.

INPUT 0
Input label image of type IMAGE_GREY_F or IMAGE_GREY_8.

INPUT 1
Optional color map image of type IMAGE_GREY_F, IMAGE_GREY_8 or IMAGE_RGB_8.

OUTPUT 0
Output label image of type IMAGE_RGB_8.

PARAMETER ignore_zero
The type of this parameter is of type bool. defines whether zeros in the label image are
ignored (i.e. the corresponding output pixel is set to zero) or not.
By default it is set to \a false.

SEE ALSO
LabelToValue: the corresponding gray-value mapping
)";

struct StColour {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

using Colours = std::vector<StColour>;

constexpr StColour kBlack{0, 0, 0};

/// What labels become without a colour map.
constexpr std::array<StColour, 6> kStandardColours{
    {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}, {255, 0, 255}, {0, 255, 255}}};

/// The colours of a grey map: every three elements of its first slice are red, green and blue.
template <class T> Colours TripleColours(const CImage& map) {
    Colours colours(static_cast<std::size_t>(map.Size().x * map.Size().y / 3));
    const T* in = Elements<T>(map);
    for (StColour& colour : colours) {
        colour = {ElementFromNumber<std::uint8_t>(in[0]), ElementFromNumber<std::uint8_t>(in[1]),
                  ElementFromNumber<std::uint8_t>(in[2])};
        in += 3;
    }
    return colours;
}

/// The colours of a colour map: those of its first slice.
Colours PixelColours(const CImage& map) {
    Colours colours(static_cast<std::size_t>(map.Size().x * map.Size().y));
    const auto* in = Elements<std::uint8_t>(map);
    const std::size_t plane = map.Size().Elements();
    for (std::size_t k = 0; k < colours.size(); ++k) {
        colours[k] = {in[k], in[k + plane], in[k + 2 * plane]};
    }
    return colours;
}

Colours ColoursOf(const CImage& map) {
    if (IsEmpty(map)) {
        return {};
    }
    if (map.Type() == IMAGE_RGB_8) {
        return PixelColours(map);
    }
    return map.Type() == IMAGE_GREY_F ? TripleColours<float>(map) : TripleColours<std::uint8_t>(map);
}

/// The label of an element. A float is cut to 32 bits only; NaN and infinite ones count as 0.
std::int64_t LabelFrom(std::uint8_t element) { return element; }
std::int64_t LabelFrom(float element) { return std::isfinite(element) ? TruncateTo32(element) : 0; }

/// The colour of an element; the table has one at least. A negative remainder counts from the table's end.
template <class T> StColour ElementColour(T element, const Colours& colours, bool ignoreZero) {
    if (ignoreZero && element == T{0}) {
        return kBlack;
    }
    const auto count = static_cast<std::int64_t>(colours.size());
    return colours[static_cast<std::size_t>(Periodic(LabelFrom(element) - (ignoreZero ? 1 : 0), count))];
}

/// The three planes of a colour image.
struct StPlanes {
    explicit StPlanes(CImage& image)
        : red(Elements<std::uint8_t>(image)), green(red + image.Size().Elements()),
          blue(green + image.Size().Elements()) {}

    void Fill(std::int64_t first, std::int64_t length, StColour colour) const {
        std::fill_n(red + first, length, colour.red);
        std::fill_n(green + first, length, colour.green);
        std::fill_n(blue + first, length, colour.blue);
    }

    std::uint8_t* red;
    std::uint8_t* green;
    std::uint8_t* blue;
};

void PaintElements(const float* in, std::int64_t count, const StPlanes& out, const Colours& colours, bool ignoreZero) {
    ForEachRun(in, count, [&](std::int64_t first, std::int64_t length) {
        const StColour colour = ElementColour(in[first], colours, ignoreZero);
        out.Fill(first, length, colour);
    });
}

/// A table for each channel, and blocks that are still in the cache when the next channel reads them.
void PaintElements(const std::uint8_t* in, std::int64_t count, const StPlanes& out, const Colours& colours,
                   bool ignoreZero) {
    constexpr std::int64_t block = 8192;
    ByteTable<std::uint8_t> red;
    ByteTable<std::uint8_t> green;
    ByteTable<std::uint8_t> blue;
    for (std::size_t label = 0; label < red.size(); ++label) {
        const StColour colour = ElementColour(static_cast<std::uint8_t>(label), colours, ignoreZero);
        red[label] = colour.red;
        green[label] = colour.green;
        blue[label] = colour.blue;
    }
    for (std::int64_t first = 0; first < count; first += block) {
        const std::int64_t size = std::min(block, count - first);
        LookUpBytes(in + first, size, red, out.red + first);
        LookUpBytes(in + first, size, green, out.green + first);
        LookUpBytes(in + first, size, blue, out.blue + first);
    }
}

template <class T> void Paint(const CImage& labels, CImage& output, const Colours& colours, bool ignoreZero) {
    const T* in = Elements<T>(labels);
    const auto count = static_cast<std::int64_t>(labels.Size().Volume());
    if (!colours.empty()) {
        PaintElements(in, count, StPlanes(output), colours, ignoreZero);
    } else if (ignoreZero && std::all_of(in, in + count, [](T element) { return element == T{0}; })) {
        output.Buffer().Set(0); // nothing but black, for which no colour is needed
    } else {
        Fail(kWhere, "the color map holds no color");
    }
}

/// The colour map on input 1; null without one.
const CImage* ColourMap(CPNode& node) {
    CValue* value = node.HasStackInput(1) ? node.GetStackInput(1, false) : nullptr;
    if (value == nullptr) {
        return nullptr;
    }
    const CImage& map = RequireImage(*value, kWhere, "input image 1 is not an image");
    RequireType(map, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_RGB_8}, kWhere,
                "map image is not of type IMAGE_GREY_F, IMAGE_GREY_8 or IMAGE_RGB_8");
    return &map;
}

} // namespace

void CPLabelToColor::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "LabelToColor", "LabelImage");
    description.BoolParameter("ignore_zero", false).Toggle();
    description.ImageInput("label image");
    description.ImageInput("color map");
    description.ImageOutput();
    description.Text(kText);
}

void CPLabelToColor::NodeInit() { ignore_zero = Parameters().EntryBool("ignore_zero", false); }

void CPLabelToColor::Run() {
    const CImage& labels = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(labels, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "input(label) image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");
    const CImage* map = ColourMap(*this);
    const Colours colours =
        map == nullptr ? Colours(kStandardColours.begin(), kStandardColours.end()) : ColoursOf(*map);

    auto output = NewImage(IMAGE_RGB_8, labels.Size());
    if (!IsEmpty(labels)) {
        DispatchNumber<float, std::uint8_t>(
            labels.Type(), kWhere, [&]<class T>(Element<T>) { Paint<T>(labels, *output, colours, ignore_zero); });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
