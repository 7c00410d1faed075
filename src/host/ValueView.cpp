#include "ValueView.h"

#include "ImageFile.h"
#include "JsonValue.h"
#include "SampleType.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <set>

using namespace QUOR;

namespace vessa {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::int64_t kEnlarged = 256;   ///< the extent up to which small pictures grow
constexpr std::int64_t kStrip = 24;       ///< the thickness of a line
constexpr std::int64_t kMostInLine = 256; ///< elements of a line that are shown
constexpr std::int64_t kMostSlices = 256;
constexpr unsigned char kGap = 128;         ///< between slices
constexpr std::int64_t kMostTableWidth = 8; ///< columns of an image that counts as a table
constexpr std::int64_t kMostTableHeight = 64;
constexpr std::int64_t kTableColumns = 6; ///< numbers that are shown
constexpr std::int64_t kTableRows = 12;
constexpr const char* kFurther = "…";

std::string Number(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.6g", number);
    return text.data();
}

/// The samples of an image of any type, plane by plane.
std::vector<double> NumbersOf(const CImage& image) {
    return WithSampleType(image.Type(), [&]<class T>(T /*zero*/) {
        const auto* samples = static_cast<const T*>(image.Buffer().Data());
        return std::vector<double>(samples, samples + image.Buffer().Size() / sizeof(T));
    });
}

/// True for labels: whole numbers from 0 on, without large gaps, each of them often.
bool AreLabels(const std::vector<double>& numbers) {
    constexpr std::size_t leastElementsEach = 16;
    const std::size_t most = numbers.size() / leastElementsEach;
    std::set<double> different;
    for (const double number : numbers) {
        if (!(number >= 0.0) || number != std::floor(number) || std::isinf(number)) {
            return false;
        }
        different.insert(number);
        if (different.size() > most) {
            return false;
        }
    }
    return different.size() > 2 && *different.rbegin() < 2.0 * static_cast<double>(different.size());
}

/// The channel `channel` (red, green, blue) of a colour of its own for each label; 0 is black.
unsigned char LabelColour(double label, int channel) {
    constexpr double goldenAngle = 2.399963229728653; // colours of neighbours differ, and repeat only after many
    constexpr double third = 2.0 * std::numbers::pi / 3.0;
    const double wave = std::cos(label * goldenAngle - channel * third);
    return label == 0.0 ? 0 : static_cast<unsigned char>(std::lround(150.0 + 100.0 * wave));
}

/// The bytes that show an image's elements, a plane for each channel, and how they show them.
struct StBytes {
    Bytes bytes{};
    bool rgb = false;
    std::string reading{};
};

StBytes LabelBytes(const std::vector<double>& labels) {
    StBytes shown{{}, true, "a colour for each value from 0 (black) to "};
    shown.bytes.reserve(3 * labels.size());
    for (int channel = 0; channel < 3; ++channel) {
        for (const double label : labels) {
            shown.bytes.push_back(LabelColour(label, channel));
        }
    }
    shown.reading += Number(*std::max_element(labels.begin(), labels.end()));
    return shown;
}

StBytes ScaledBytes(const std::vector<double>& numbers) {
    double least = HUGE_VAL;
    double most = -HUGE_VAL;
    for (const double number : numbers) {
        least = std::isfinite(number) ? std::min(least, number) : least;
        most = std::isfinite(number) ? std::max(most, number) : most;
    }
    if (most < least) {
        return {Bytes(numbers.size()), false, "no finite number"};
    }
    const double range = most > least ? most - least : 1.0;
    StBytes shown;
    for (const double number : numbers) {
        const double clamped = std::isnan(number) ? least : std::clamp(number, least, most);
        shown.bytes.push_back(static_cast<unsigned char>(std::lround(255.0 * ((clamped - least) / range))));
    }
    shown.reading = most > least ? Number(least) + " (black) to " + Number(most) + " (white)" : "all " + Number(least);
    return shown;
}

StBytes ShownBytes(const CImage& image) {
    const auto* bytes = static_cast<const unsigned char*>(image.Buffer().Data());
    const std::size_t count = image.Buffer().Size();
    if (IsBinary(image.Type())) {
        StBytes shown{Bytes(count), false, ""};
        std::transform(bytes, bytes + count, shown.bytes.begin(),
                       [](unsigned char element) { return static_cast<unsigned char>(element == 0 ? 0 : 255); });
        return shown;
    }
    if (image.Type().channelBytes == 1) {
        return {Bytes(bytes, bytes + count), image.Type() == IMAGE_RGB_8, ""};
    }
    const std::vector<double> numbers = NumbersOf(image);
    return AreLabels(numbers) ? LabelBytes(numbers) : ScaledBytes(numbers);
}

/// Where the elements stand in the picture.
struct StLayout {
    std::int64_t width; ///< of a slice, as far as it is shown
    std::int64_t height;
    std::int64_t slices;
    std::int64_t columns; ///< slices side by side
    std::int64_t gap;     ///< between slices
    std::int64_t enlargedX = 1;
    std::int64_t enlargedY = 1;

    std::int64_t Rows() const { return (slices + columns - 1) / columns; }
    std::int64_t SheetWidth() const { return columns * (width + gap) - gap; }
    std::int64_t SheetHeight() const { return Rows() * (height + gap) - gap; }
};

bool IsLine(const CSize& size) { return (size.x == 1 || size.y == 1) && size.z == 1; }

StLayout LayoutOf(const CSize& size) {
    const std::int64_t most = IsLine(size) ? kMostInLine : std::max(size.x, size.y);
    StLayout layout{std::min(size.x, most), std::min(size.y, most), std::min(size.z, kMostSlices), 1,
                    (size.z > 1 && size.x > 1 && size.y > 1) ? 1 : 0};
    const double area = static_cast<double>(layout.slices) * static_cast<double>(layout.height);
    const double wide = std::sqrt(1.5 * area / static_cast<double>(layout.width)); // for a sheet of 3:2
    layout.columns = std::clamp<std::int64_t>(std::lround(wide), 1, layout.slices);
    const std::int64_t longest = std::max(layout.SheetWidth(), layout.SheetHeight());
    layout.enlargedX = layout.enlargedY = std::max<std::int64_t>(1, kEnlarged / longest);
    if (IsLine(size)) {
        std::int64_t& across = size.y == 1 ? layout.enlargedY : layout.enlargedX;
        across = std::max(across, kStrip);
    }
    return layout;
}

/// The number of the element that a pixel of the picture shows; -1 in a gap.
std::int64_t ElementAt(const StLayout& layout, const CSize& size, std::int64_t x, std::int64_t y) {
    const std::int64_t sheetX = x / layout.enlargedX;
    const std::int64_t sheetY = y / layout.enlargedY;
    const std::int64_t column = sheetX % (layout.width + layout.gap);
    const std::int64_t row = sheetY % (layout.height + layout.gap);
    const std::int64_t slice =
        sheetX / (layout.width + layout.gap) + layout.columns * (sheetY / (layout.height + layout.gap));
    if (column >= layout.width || row >= layout.height || slice >= layout.slices) {
        return -1;
    }
    return column + size.x * (row + size.y * slice);
}

std::unique_ptr<CImage> Picture(const StBytes& shown, const StLayout& layout, const CSize& size) {
    const CSize extents(layout.SheetWidth() * layout.enlargedX, layout.SheetHeight() * layout.enlargedY);
    auto picture = std::make_unique<CImage>(shown.rgb ? IMAGE_RGB_8 : IMAGE_GREY_8, extents, CSize(0, 0, 0));
    auto* pixel = static_cast<unsigned char*>(picture->Buffer().Data());
    for (int channel = 0; channel < (shown.rgb ? 3 : 1); ++channel) {
        const unsigned char* plane = shown.bytes.data() + static_cast<std::size_t>(channel) * size.Volume();
        for (std::int64_t y = 0; y < extents.y; ++y) {
            for (std::int64_t x = 0; x < extents.x; ++x) {
                const std::int64_t element = ElementAt(layout, size, x, y);
                *pixel++ = element < 0 ? kGap : plane[element];
            }
        }
    }
    return picture;
}

std::vector<std::vector<std::string>> Table(const CImage& image) {
    const CSize& size = image.Size();
    const bool isTable = size.z == 1 && size.x <= kMostTableWidth && size.y <= kMostTableHeight;
    std::vector<std::vector<std::string>> table;
    if (image.Type() == IMAGE_RGB_8 || !(isTable || IsLine(size))) {
        return table;
    }
    const std::vector<double> numbers = NumbersOf(image);
    const std::int64_t columns = std::min(size.x, kTableColumns);
    for (std::int64_t y = 0; y < std::min(size.y, kTableRows); ++y) {
        std::vector<std::string>& row = table.emplace_back();
        for (std::int64_t x = 0; x < columns; ++x) {
            row.push_back(Number(numbers[static_cast<std::size_t>(x + size.x * y)]));
        }
        if (size.x > columns) {
            row.emplace_back(kFurther);
        }
    }
    if (size.y > kTableRows) {
        table.emplace_back(table.front().size(), kFurther);
    }
    return table;
}

/// What of the image isn't in the picture, or how it is laid out there.
std::string LayoutWords(const StLayout& layout, const CSize& size) {
    const std::int64_t shown = std::max(layout.width, layout.height);
    if (IsLine(size) && shown < std::max(size.x, size.y)) {
        return "the first " + std::to_string(shown) + " elements";
    }
    if (size.z == 1) {
        return "";
    }
    return (layout.slices < size.z ? "the first " + std::to_string(layout.slices) + " slices" : "slices") +
           " row by row";
}

StValueView ImageView(const CImage& image) {
    StValueView view;
    const CSize& size = image.Size();
    view.facts = Extents(size) + ", " + image.Type().ToString();
    if (size.Volume() == 0) {
        return view;
    }
    const StBytes shown = ShownBytes(image);
    const StLayout layout = LayoutOf(size);
    const std::string words = LayoutWords(layout, size);
    view.reading = words + (words.empty() || shown.reading.empty() ? "" : ", ") + shown.reading;
    view.picture = Picture(shown, layout, size);
    view.table = Table(image);
    return view;
}

} // namespace

StValueView ViewOf(const CValue& value) {
    if (value.GenericType() == EnValType::Map) {
        StValueView view;
        view.facts = "map";
        view.json = JsonFromMap(*value.Map(), "a map to be shown", {.indent = 2});
        return view;
    }
    return ImageView(*UnwrapPointer<CImage>(&value));
}

} // namespace vessa
