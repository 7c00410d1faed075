// What holds for every node on random images with random parameters, taken from its description: inputs stay as they
// are, runs repeat, objects share nothing, and the outputs have the types, sizes and attributes that the node's rules
// give them.

#include "PropertyTest.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace QUOR::test {
namespace {

class NodeProperties : public testing::TestWithParam<std::string> {};

/// A case as the rules of sizes and types read it.
class CGiven {
public:
    explicit CGiven(const StCase& given) : m_given(given) {}

    std::int64_t Long(const std::string& key) const { return std::get<int>(m_given.settings.at(key)); }
    double Double(const std::string& key) const { return std::get<double>(m_given.settings.at(key)); }
    bool Bool(const std::string& key) const { return std::get<bool>(m_given.settings.at(key)); }
    std::string Text(const std::string& key) const { return std::get<std::string>(m_given.settings.at(key)); }

    bool HasInput(int slot) const { return m_given.inputs.at(slot).has_value(); }
    CSize Size(int slot = 0) const { return m_given.inputs.at(slot)->size; }
    CSize Volume(int slot = 0) const { return {Size(slot).x, Size(slot).y, Size(slot).z}; }
    IImage::CType Type(int slot = 0) const { return m_given.inputs.at(slot)->type; }

private:
    const StCase& m_given;
};

/// The extent of an axis by its letter.
std::int64_t& Extent(CSize& size, const std::string& axis) {
    return axis == "X" ? size.x : axis == "Y" ? size.y : size.z;
}

CSize Appended(const CGiven& given) {
    const CSize a = given.Size(0);
    const CSize b = given.Size(1);
    CSize sum(a.x + b.x, a.y + b.y, a.z + b.z);
    CSize joined(std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z));
    const std::string along = given.Text("along");
    Extent(joined, along) = Extent(sum, along);
    return joined;
}

CSize Bordered(const CGiven& given) {
    const CSize size = given.Size();
    const std::int64_t both = 2 * given.Long("border");
    const bool isPlane = both > 0 ? size.z == 1 : size.dim == 2;
    return isPlane ? CSize(size.x + both, size.y + both) : CSize(size.x + both, size.y + both, size.z + both);
}

CSize Composed(const CGiven& given) {
    const CSize first = given.Size(0);
    const CSize second = given.Size(1);
    const auto along = [](std::int64_t shift, const std::string& mode, std::int64_t one, std::int64_t two) {
        const double half = static_cast<double>(two - one) / 2.0;
        shift += mode == "CENTER"                      ? static_cast<std::int64_t>(half < 0.0 ? half - 0.5 : half + 0.5)
                 : mode == "RIGHT" || mode == "BOTTOM" ? two - one
                 : mode == "APPEND"                    ? two
                                                       : 0;
        return std::max(two, shift + one) - std::min<std::int64_t>(shift, 0);
    };
    return {along(given.Long("shift_x"), given.Text("mode_x"), first.x, second.x),
            along(given.Long("shift_y"), given.Text("mode_y"), first.y, second.y), 1};
}

CSize Extracted(const CGiven& given) {
    const CSize size = given.Size();
    const auto along = [&](const char* offsetKey, const char* sizeKey, std::int64_t extent) {
        std::int64_t offset = given.Long(offsetKey);
        offset = std::min(std::max<std::int64_t>(offset < 0 ? offset + extent : offset, 0), extent - 1);
        const std::int64_t wanted = given.Long(sizeKey);
        return wanted < 0 ? extent - offset : std::min(wanted, extent - offset);
    };
    CSize cut(along("offset_x", "size_x", size.x), along("offset_y", "size_y", size.y),
              along("offset_z", "size_z", size.z));
    if (cut.x < 1 || cut.y < 1 || cut.z < 1) {
        cut = CSize(0, 0, 0); // an empty axis empties all of them
    }
    // An axis that the image has nothing along stays empty.
    const std::int64_t x = std::min(cut.x, size.x);
    const std::int64_t y = std::min(cut.y, size.y);
    return size.dim == 2 ? CSize(x, y) : CSize(x, y, std::min(cut.z, size.z));
}

CSize Deserialized(const CGiven& given) {
    if (given.HasInput(1)) {
        return given.Volume(1);
    }
    const auto along = [&](const char* key, std::int64_t extent) {
        return given.Long(key) == 0 ? extent : given.Long(key);
    };
    const CSize size = given.Size();
    return {along("size_x", size.x), along("size_y", size.y), along("size_z", size.z)};
}

CSize Serialized(const CGiven& given) {
    CSize row(1, 1, 1);
    Extent(row, given.Text("direction")) = static_cast<std::int64_t>(given.Size().Volume());
    return row;
}

/// What Resize multiplies the width and the height with.
std::pair<double, double> ResizeFactors(const CGiven& given) {
    if (!given.HasInput(1)) {
        return {given.Double("scale_x"), given.Double("scale_y")};
    }
    const double x = static_cast<double>(given.Size(1).x) / static_cast<double>(given.Size().x);
    const double y = static_cast<double>(given.Size(1).y) / static_cast<double>(given.Size().y);
    return given.Bool("keep_ratio") ? std::pair(std::min(x, y), std::min(x, y)) : std::pair(x, y);
}

CSize Resized(const CGiven& given) {
    const CSize size = given.Size();
    const auto [x, y] = ResizeFactors(given);
    if (x == 1.0 && y == 1.0) {
        return size;
    }
    const auto scaled = [](std::int64_t extent, double scale) {
        return static_cast<std::int64_t>(std::trunc(static_cast<double>(extent) * scale + 0.5));
    };
    return {scaled(size.x, x), scaled(size.y, y)};
}

CSize Rotated(const CGiven& given) {
    const CSize size = given.Size();
    const double angle = given.Double("angle");
    if (std::fmod(angle, 360.0) == 0.0) {
        return size;
    }
    if (!given.Bool("resize") || std::fmod(angle, 180.0) == 0.0) {
        return given.Volume();
    }
    if (std::fmod(angle, 90.0) == 0.0) {
        return {size.y, size.x, size.z};
    }
    const double radians = angle / 180.0 * std::numbers::pi;
    const auto width = static_cast<double>(size.x);
    const auto height = static_cast<double>(size.y);
    const double c = std::cos(radians);
    const double s = -std::sin(radians);
    const auto extent = [](double a, double b) {
        const auto [least, most] = std::minmax({0.0, a, b, a + b});
        return static_cast<std::int64_t>(most) - static_cast<std::int64_t>(least) + 3;
    };
    return {extent(width * c, -height * s), extent(width * s, height * c), size.z};
}

CSize Shrunk(const CGiven& given) {
    const CSize size = given.Size();
    return {(size.x + 1) / 2, (size.y + 1) / 2, (size.z + 1) / 2};
}

CSize Switched(const CGiven& given) {
    CSize size = given.Size();
    const std::string axes = given.Text("axes");
    return {Extent(size, axes.substr(0, 1)), Extent(size, axes.substr(1, 1)), Extent(size, axes.substr(2, 1))};
}

CSize Unrolled(const CGiven& given) {
    const CSize size = given.Size();
    const double diagonal = std::hypot(static_cast<double>(size.x), static_cast<double>(size.y));
    const double radii = std::ceil(diagonal / 2.0);
    return {static_cast<std::int64_t>(radii), static_cast<std::int64_t>(std::ceil(2.0 * radii * std::numbers::pi)),
            size.z};
}

CSize Folded(const CGiven& given) {
    const std::int64_t side = 2 * given.Size().x - 1;
    return side < 0 ? CSize(0, 0, given.Size().z) : CSize(side, side, given.Size().z);
}

CSize InTiles(const CGiven& given) {
    const CSize size = given.Size();
    const std::int64_t tiles = given.Long("slices_x");
    return {tiles * size.x, (size.z + tiles - 1) / tiles * size.y, 1};
}

CSize Stacked(const CGiven& given) {
    const CSize plane = given.Size(1);
    return {plane.x, plane.y, static_cast<std::int64_t>(given.Size().Volume()) / (plane.x * plane.y)};
}

CSize Padded(const CGiven& given) {
    const auto both = [&](const char* before, const char* behind) {
        return std::max<std::int64_t>(given.Long(before), 0) + std::max<std::int64_t>(given.Long(behind), 0);
    };
    const CSize size = given.Size();
    return {size.x + both("pad_left", "pad_right"), size.y + both("pad_top", "pad_bottom"),
            size.z + both("pad_front", "pad_back")};
}

CSize Replicated(const CGiven& given) {
    CSize size = given.Volume();
    Extent(size, given.Text("along")) *= given.Long("count");
    return size;
}

CSize Doubled(const CGiven& given) {
    const CSize size = given.Size();
    return {2 * size.x, 2 * size.y, size.z == 1 ? 1 : 2 * size.z};
}

CSize FirstPart(const CGiven& given) {
    CSize size = given.Volume();
    std::int64_t& extent = Extent(size, given.Text("along"));
    extent = static_cast<std::int64_t>(static_cast<float>(extent) * static_cast<float>(given.Double("split_ratio")));
    return size;
}

CSize SameSize(const CGiven& given) { return given.Size(); }

CSize FirstPlane(const CGiven& given) {
    const int labels = given.HasInput(1) ? 1 : 0;
    return {given.Size(labels).x, given.Size(labels).y, 1};
}

/// The size of the first output of the nodes whose inputs' elements have no part in it.
const std::map<std::string, CSize (*)(const CGiven&)> kSizes{{"Append", &Appended},
                                                             {"Border", &Bordered},
                                                             {"CartesianToPolar", &Unrolled},
                                                             {"ComposeImage", &Composed},
                                                             {"Deserialize", &Deserialized},
                                                             {"Emplace", &SameSize},
                                                             {"Expand", &Doubled},
                                                             {"Extract", &Extracted},
                                                             {"Flip", &SameSize},
                                                             {"LabelToColor", &SameSize},
                                                             {"LabelToFeature", &FirstPlane},
                                                             {"LabelToSize", &SameSize},
                                                             {"Pad", &Padded},
                                                             {"PlaneToVolume", &Stacked},
                                                             {"PolarToCartesian", &Folded},
                                                             {"Replicate", &Replicated},
                                                             {"Resample", &SameSize},
                                                             {"Resize", &Resized},
                                                             {"Rotate", &Rotated},
                                                             {"Scale", &SameSize},
                                                             {"Serialize", &Serialized},
                                                             {"Shrink", &Shrunk},
                                                             {"Split", &FirstPart},
                                                             {"SwitchAxes", &Switched},
                                                             {"Translate", &SameSize},
                                                             {"VolumeToPlane", &InTiles}};

IImage::CType WiderType(const CGiven& given) {
    for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_64, IMAGE_GREY_32, IMAGE_GREY_16, IMAGE_GREY_8}) {
        if (given.Type(0) == type || given.Type(1) == type) {
            return type;
        }
    }
    return given.Type(0);
}

/// The type of a node's first output.
IImage::CType OutputType(const std::string& name, const CGiven& given) {
    if (name == "Append") {
        return WiderType(given);
    }
    if (name == "LabelToValue") {
        return given.Type(1);
    }
    if (name == "LabelToColor") {
        return IMAGE_RGB_8;
    }
    if (name == "Resize") {
        const auto [x, y] = ResizeFactors(given);
        return x < 1.0 && y < 1.0 ? IMAGE_GREY_F : given.Type(); // means
    }
    return given.Type();
}

/// Nodes whose output may have attributes: copies of their input, and one with the sizes before.
bool MayHaveAttributes(const std::string& name) {
    return name == "Extract" || name == "LabelToSize" || name == "Resize" || name == "CartesianToPolar";
}

TEST_P(NodeProperties, GivesTheSizesAndTypesOfItsRules) {
    int served = 0;
    EXPECT_TRUE(rc::check([&] {
        const StCase given = *AnyCaseOf(GetParam());
        CNodeUnderTest node(GetParam());
        const StOutcome outcome = RunCase(node, given);
        if (!outcome.failure.empty()) {
            return;
        }
        ++served;
        const CGiven rules(given);
        const CImage& output = *outcome.images.front();
        RC_ASSERT(output.Type().ToString() == std::string(OutputType(GetParam(), rules).ToString()));
        RC_ASSERT(output.Attributes().IsEmpty() || MayHaveAttributes(GetParam()));
        if (kSizes.contains(GetParam())) {
            const CSize expected = kSizes.at(GetParam())(rules);
            RC_ASSERT(output.Size().ToString() == expected.ToString());
        }
    }));
    EXPECT_GT(served, 0) << "every case was refused, which tells nothing";
}

TEST_P(NodeProperties, RepeatsItsRunsWhateverRanBetween) {
    EXPECT_TRUE(rc::check([&] {
        const auto cases = *rc::gen::pair(AnyCaseOf(GetParam()), AnyCaseOf(GetParam()));
        CNodeUnderTest fresh(GetParam());
        const StOutcome expected = RunCase(fresh, cases.first);
        CNodeUnderTest used(GetParam());
        RequireSame(expected, RunCase(used, cases.first));
        RequireSame(expected, RunCase(used, cases.first));
        if (GetParam() != "ComposeImage") { // keeps the offsets of a negative shift, as it is to
            RunCase(used, cases.second);
            RequireSame(expected, RunCase(used, cases.first));
        }
    }));
}

TEST_P(NodeProperties, SharesNothingWithOtherObjects) {
    EXPECT_TRUE(rc::check([&] {
        const auto cases = *rc::gen::pair(AnyCaseOf(GetParam()), AnyCaseOf(GetParam()));
        CNodeUnderTest alone(GetParam());
        CNodeUnderTest aloneToo(GetParam());
        const StOutcome first = RunCase(alone, cases.first);
        const StOutcome second = RunCase(aloneToo, cases.second);
        const CCapturedOutput printed(std::cout);
        const CCapturedOutput warned(std::cerr);
        CNodeUnderTest a(GetParam());
        CNodeUnderTest b(GetParam());
        Place(a, cases.first);
        Place(b, cases.second);
        StOutcome outcomeA = OutcomeOf(a, [&] { a.Init(); });
        StOutcome outcomeB = OutcomeOf(b, [&] { b.Init(); });
        if (outcomeA.failure.empty()) {
            outcomeA = OutcomeOf(a, [&] { a.RunAgain(); });
        }
        if (outcomeB.failure.empty()) {
            outcomeB = OutcomeOf(b, [&] { b.RunAgain(); });
        }
        RequireSame(first, outcomeA);
        RequireSame(second, outcomeB);
    }));
}

INSTANTIATE_TEST_SUITE_P(Module, NodeProperties, testing::ValuesIn(Module().Names()),
                         [](const auto& node) { return node.param; });

} // namespace
} // namespace QUOR::test
