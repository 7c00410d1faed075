#include "NodeTest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <numbers>
#include <set>
#include <utility>

namespace QUOR::test {
namespace {

using std::numbers::pi;
using std::numbers::sqrt2;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::string Path(const std::string& name) { return std::string(SHAPE_FEATURES) + "#" + name; }

std::unique_ptr<CPluginBase> MakeFeature(const std::string& name) {
    std::unique_ptr<IPluginObject> object(GetPluginObject(nullptr, Path(name).c_str(), nullptr));
    auto* feature = dynamic_cast<CPluginBase*>(object.get());
    EXPECT_NE(feature, nullptr) << name;
    static_cast<void>(object.release());
    return std::unique_ptr<CPluginBase>(feature);
}

const std::vector<std::string>& AllFeatures() {
    static const std::vector<std::string> names = CPluginModule(SHAPE_FEATURES).Names();
    return names;
}

std::unique_ptr<CValueMap> SetupOf(const std::string& name) {
    auto setup = std::make_unique<CValueMap>();
    MakeFeature(name)->GetPluginSetup(*setup);
    return setup;
}

/// The features that a plug-in leaves for a map.
std::vector<double> FeaturesOf(const std::string& name, CValueMap& data) {
    const auto feature = MakeFeature(name);
    feature->PrepareFeature(data);
    feature->ComputeFeature(data);
    const CValueVector& vector = *std::as_const(*data.Entry("Features", true)).Vector();
    EXPECT_EQ(static_cast<int>(vector.Size()), feature->FeatureCount());
    std::vector<double> features;
    for (int index = 0; index < static_cast<int>(vector.Size()); ++index) {
        EXPECT_EQ(vector.Entry(index, true)->GenericType(), EnValType::Double);
        features.push_back(std::as_const(*vector.Entry(index, true)).Double());
    }
    return features;
}

void SetImage(CValueMap& data, const char* key, CImage* image) { data.SetEntry(key, new CValuePointer<CImage>(image)); }

std::vector<double> FeaturesOf(const std::string& name, CImage& grey, CImage& mask) {
    CValueMap data;
    SetImage(data, "image-0", &grey);
    SetImage(data, "image-mask", &mask);
    return FeaturesOf(name, data);
}

/// A mask drawn with '#' on the region.
ImagePtr Drawn(const std::vector<std::string>& rows) {
    std::vector<float> elements;
    for (const std::string& row : rows) {
        for (const char letter : row) {
            elements.push_back(letter == '#' ? 1.0F : 0.0F);
        }
    }
    return Floats(static_cast<std::int64_t>(rows.front().size()), static_cast<std::int64_t>(rows.size()), elements);
}

std::vector<double> ShapeOf(const std::vector<std::string>& rows) {
    const ImagePtr mask = Drawn(rows);
    return FeaturesOf("Shape", *mask, *mask);
}

/// What "Shape" gives, by name and in its order.
struct StExpected {
    double area, centroidX, centroidY, left, top, width, height;
    double rowAndColumnChords, diagonalChords; ///< for the perimeter
    double orientation;
    double major, minor; ///< eigenvalues of the covariance matrix, with 1/12 for an element's own extent
    double convexArea;
};

void ExpectShape(const std::vector<double>& features, const StExpected& expected) {
    ASSERT_EQ(features.size(), 14U);
    EXPECT_EQ(features[0], expected.area);
    EXPECT_DOUBLE_EQ(features[1], expected.centroidX);
    EXPECT_DOUBLE_EQ(features[2], expected.centroidY);
    EXPECT_EQ(features[3], expected.left);
    EXPECT_EQ(features[4], expected.top);
    EXPECT_EQ(features[5], expected.width);
    EXPECT_EQ(features[6], expected.height);
    EXPECT_DOUBLE_EQ(features[7], pi / 4 * (expected.rowAndColumnChords + expected.diagonalChords / sqrt2));
    EXPECT_DOUBLE_EQ(features[8], std::sqrt(4 * expected.area / pi));
    EXPECT_DOUBLE_EQ(features[9], expected.orientation);
    EXPECT_DOUBLE_EQ(features[10], 4 * std::sqrt(expected.major));
    EXPECT_DOUBLE_EQ(features[11], 4 * std::sqrt(expected.minor));
    EXPECT_DOUBLE_EQ(features[12], std::sqrt(expected.major / expected.minor));
    EXPECT_DOUBLE_EQ(features[13], expected.area / expected.convexArea);
}

TEST(ShapeFeatures, MeasuresASingleElement) {
    ExpectShape(ShapeOf({"#"}), {1, 0, 0, 0, 0, 1, 1, 2, 2, 0, 1.0 / 12, 1.0 / 12, 1});
    ExpectShape(ShapeOf({"....", //
                         "..#.", //
                         "...."}),
                {1, 2, 1, 2, 1, 1, 1, 2, 2, 0, 1.0 / 12, 1.0 / 12, 1});
}

TEST(ShapeFeatures, GivesNumbersThatAnyoneCanCheck) {
    const std::vector<double> line = ShapeOf({"####"});
    EXPECT_DOUBLE_EQ(line[7], 8.3698737551456066) << "pi / 4 * (5 + 8 / sqrt(2))";
    EXPECT_DOUBLE_EQ(line[8], 2.2567583341910251) << "4 / sqrt(pi)";
    EXPECT_EQ(line[9], 0.0);
    EXPECT_DOUBLE_EQ(line[10], 4.6188021535170058) << "8 / sqrt(3)";
    EXPECT_DOUBLE_EQ(line[11], 1.1547005383792515) << "2 / sqrt(3)";
    EXPECT_EQ(line[12], 4.0);
    EXPECT_EQ(line[13], 1.0);
}

TEST(ShapeFeatures, MeasuresLines) {
    ExpectShape(ShapeOf({"####"}), {4, 1.5, 0, 0, 0, 4, 1, 5, 8, 0, 16.0 / 12, 1.0 / 12, 4});
    ExpectShape(ShapeOf({"...", //
                         ".#.", //
                         ".#.", //
                         ".#."}),
                {3, 1, 2, 1, 1, 1, 3, 4, 6, 90, 9.0 / 12, 1.0 / 12, 3});
}

TEST(ShapeFeatures, MeasuresDiagonals) {
    // The hull: the 3 x 3 box without two triangles with legs of 2.
    ExpectShape(ShapeOf({"#..", //
                         ".#.", //
                         "..#"}),
                {3, 1, 1, 0, 0, 3, 3, 6, 4, 45, 17.0 / 12, 1.0 / 12, 5});
    ExpectShape(ShapeOf({"..#", //
                         ".#.", //
                         "#.."}),
                {3, 1, 1, 0, 0, 3, 3, 6, 4, -45, 17.0 / 12, 1.0 / 12, 5});
}

TEST(ShapeFeatures, MeasuresRectangles) {
    ExpectShape(ShapeOf({"##", //
                         "##"}),
                {4, 0.5, 0.5, 0, 0, 2, 2, 4, 6, 0, 4.0 / 12, 4.0 / 12, 4});
    ExpectShape(ShapeOf({".....", //
                         ".###.", //
                         ".###."}),
                {6, 2, 1.5, 1, 1, 3, 2, 5, 8, 0, 9.0 / 12, 4.0 / 12, 6});
}

TEST(ShapeFeatures, MeasuresAnL) {
    // Sums of x, y: 1, 2; of xx, xy, yy: 1, 1, 2. Variances 2/9, covariance 1/9: eigenvalues 3/9 and 1/9.
    ExpectShape(ShapeOf({"#.", //
                         "##"}),
                {3, 1.0 / 3, 2.0 / 3, 0, 0, 2, 2, 4, 5, 45, 5.0 / 12, 7.0 / 36, 3.5});
}

TEST(ShapeFeatures, MeasuresASkewRegion) {
    // Variances 1/2 and 1/4, covariance 1/4; the angle is atan(2) / 2.
    const double root = std::sqrt(5.0) / 4;
    ExpectShape(ShapeOf({"##.", //
                         ".##"}),
                {4, 1, 0.5, 0, 0, 3, 2, 5, 6, 31.717474411461005, (0.75 + root) / 2 + 1.0 / 12,
                 (0.75 - root) / 2 + 1.0 / 12, 5});
    ExpectShape(ShapeOf({".#", //
                         "##", //
                         "#."}),
                {4, 0.5, 1, 0, 0, 2, 3, 5, 6, -58.282525588538995, (0.75 + root) / 2 + 1.0 / 12,
                 (0.75 - root) / 2 + 1.0 / 12, 5});
}

TEST(ShapeFeatures, CountsTheBoundaryOfAHole) {
    ExpectShape(ShapeOf({"###", //
                         "#.#", //
                         "###"}),
                {8, 1, 1, 0, 0, 3, 3, 8, 12, 0, 10.0 / 12, 10.0 / 12, 9});
}

TEST(ShapeFeatures, TakesSeveralPartsAsOneRegion) {
    ExpectShape(ShapeOf({"#..#"}), {2, 1.5, 0, 0, 0, 4, 1, 4, 4, 0, 28.0 / 12, 1.0 / 12, 4});
    // The hull: two triangles of height 2 and width 1 are missing in the 2 x 3 box.
    ExpectShape(ShapeOf({"#.", //
                         "..", //
                         ".#"}),
                {2, 0.5, 1, 0, 0, 2, 3, 4, 4, 90 - std::atan2(1, 2) * 180 / pi, 16.0 / 12, 1.0 / 12, 4});
}

TEST(ShapeFeatures, MeasuresADisc) {
    ExpectShape(ShapeOf({".###.", //
                         "#####", //
                         "#####", //
                         "#####", //
                         ".###."}),
                {21, 2, 2, 0, 0, 5, 5, 10, 14, 0, 34.0 / 21 + 1.0 / 12, 34.0 / 21 + 1.0 / 12, 23});
}

TEST(ShapeFeatures, ComesNearTheTrueMeasuresOfALargeEllipse) {
    // Half axes 120 and 40 in a direction of 30 degrees. What is left is the grid's: there is no exact number.
    constexpr int size = 261;
    const double angle = pi / 6;
    std::vector<float> elements;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const double along = (x - 130) * std::cos(angle) + (y - 130) * std::sin(angle);
            const double across = (y - 130) * std::cos(angle) - (x - 130) * std::sin(angle);
            elements.push_back(along * along / 14400 + across * across / 1600 <= 1 ? 1.0F : 0.0F);
        }
    }
    const ImagePtr mask = Floats(size, size, elements);
    const std::vector<double> features = FeaturesOf("Shape", *mask, *mask);
    EXPECT_NEAR(features[0], pi * 120 * 40, 60);
    EXPECT_EQ(features[1], 130.0);
    EXPECT_EQ(features[2], 130.0);
    EXPECT_NEAR(features[7], 534.4, 10) << "the length of the ellipse";
    EXPECT_NEAR(features[9], 30, 0.1);
    EXPECT_NEAR(features[10], 240, 0.5);
    EXPECT_NEAR(features[11], 80, 0.5);
    EXPECT_NEAR(features[12], 3, 0.02);
    EXPECT_GT(features[13], 0.97);
}

TEST(ShapeFeatures, TakesEverythingButZeroAsTheRegion) {
    const ImagePtr mask = Floats(6, 1, {0.0F, -0.0F, 0.25F, -3.0F, kNaN, std::numeric_limits<float>::denorm_min()});
    EXPECT_EQ(FeaturesOf("Area", *mask, *mask), std::vector<double>{4});
    EXPECT_EQ(FeaturesOf("Centroid", *mask, *mask), (std::vector<double>{3.5, 0}));
}

TEST(ShapeFeatures, MeasuresLongRows) {
    const auto line = [](int width, const std::set<int>& gaps) {
        std::string row(static_cast<std::size_t>(width), '#');
        for (const int gap : gaps) {
            row[static_cast<std::size_t>(gap)] = '.';
        }
        const ImagePtr mask = Drawn({row});
        const std::vector<double> features = FeaturesOf("Shape", *mask, *mask);
        EXPECT_DOUBLE_EQ(features[7],
                         pi / 4 * (static_cast<double>(gaps.size()) + 1 + features[0] + 2 * features[0] / sqrt2));
        EXPECT_EQ(features[3], 0.0);
        EXPECT_EQ(features[5], width);
        return features[0];
    };
    EXPECT_EQ(line(2047, {}), 2047);
    EXPECT_EQ(line(2048, {}), 2048);
    EXPECT_EQ(line(2049, {}), 2049);
    EXPECT_EQ(line(5000, {2046}), 4999);
    EXPECT_EQ(line(5000, {2047}), 4999);
    EXPECT_EQ(line(5000, {2048}), 4999);
    EXPECT_EQ(line(5000, {2049, 4095, 4097, 4998}), 4996);
}

// The plain way: every element by itself, in no order that the plug-in has.

double PlainPerimeter(const std::set<std::pair<int, int>>& region) {
    std::array<int, 4> chords{};
    constexpr std::array<std::pair<int, int>, 4> steps{{{1, 0}, {0, 1}, {1, 1}, {1, -1}}};
    for (const auto& [x, y] : region) {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            chords[i] += region.contains({x + steps[i].first, y + steps[i].second}) ? 0 : 1;
        }
    }
    return pi / 4 * (chords[0] + chords[1] + (chords[2] + chords[3]) / sqrt2);
}

/// Walks round the hull of all corners, always to the outermost next one.
double PlainConvexArea(const std::set<std::pair<int, int>>& region) {
    std::set<std::pair<int, int>> corners;
    for (const auto& [x, y] : region) {
        corners.insert({{x, y}, {x + 1, y}, {x, y + 1}, {x + 1, y + 1}});
    }
    const auto start = *corners.begin();
    auto at = start;
    int twiceArea = 0;
    do {
        auto next = at;
        for (const auto& to : corners) {
            const auto [ax, ay] = std::pair(next.first - at.first, next.second - at.second);
            const auto [bx, by] = std::pair(to.first - at.first, to.second - at.second);
            const int cross = ax * by - ay * bx;
            if (cross < 0 || (cross == 0 && bx * bx + by * by > ax * ax + ay * ay)) {
                next = to;
            }
        }
        twiceArea += at.first * next.second - at.second * next.first;
        at = next;
    } while (at != start);
    return std::abs(twiceArea) / 2.0;
}

TEST(ShapeFeatures, AgreesWithThePlainWayOnRandomRegions) {
    std::mt19937 random(54);
    for (int round = 0; round < 300; ++round) {
        const auto width = static_cast<int>(random() % 20) + 1;
        const auto height = static_cast<int>(random() % 20) + 1;
        const unsigned long density = random() % 10 + 1;
        std::set<std::pair<int, int>> region;
        std::vector<float> elements;
        for (int i = 0; i < width * height; ++i) {
            const bool isRegion = random() % 10 < density;
            elements.push_back(isRegion ? 1.0F : 0.0F);
            if (isRegion) {
                region.insert({i % width, i / width});
            }
        }
        if (region.empty()) {
            continue;
        }
        double sumX = 0;
        double sumY = 0;
        for (const auto& [x, y] : region) {
            sumX += x;
            sumY += y;
        }
        const auto n = static_cast<double>(region.size());
        double xx = 1.0 / 12;
        double xy = 0;
        double yy = 1.0 / 12;
        for (const auto& [x, y] : region) {
            xx += (x - sumX / n) * (x - sumX / n) / n;
            xy += (x - sumX / n) * (y - sumY / n) / n;
            yy += (y - sumY / n) * (y - sumY / n) / n;
        }
        const ImagePtr mask = Floats(width, height, elements);
        const std::vector<double> features = FeaturesOf("Shape", *mask, *mask);
        EXPECT_EQ(features[0], n);
        EXPECT_EQ(features[1], sumX / n);
        EXPECT_EQ(features[2], sumY / n);
        EXPECT_DOUBLE_EQ(features[7], PlainPerimeter(region));
        EXPECT_DOUBLE_EQ(features[13], n / PlainConvexArea(region));
        // Both axes and the angle together give back the matrix; these sums round otherwise.
        const double major = features[10] * features[10] / 16;
        const double minor = features[11] * features[11] / 16;
        const double angle = features[9] / 180 * pi;
        EXPECT_NEAR(major * std::cos(angle) * std::cos(angle) + minor * std::sin(angle) * std::sin(angle), xx, 1e-12);
        EXPECT_NEAR((major - minor) * std::cos(angle) * std::sin(angle), xy, 1e-12);
        EXPECT_NEAR(major * std::sin(angle) * std::sin(angle) + minor * std::cos(angle) * std::cos(angle), yy, 1e-12);
        EXPECT_TRUE(features[9] > -90 && features[9] <= 90) << features[9];
    }
}

TEST(ShapeFeatures, MeasuresGreyValuesUnderTheMask) {
    // 1, 2, 4, 8: the squares of their distances from 3.75 sum up to 28.75.
    const ImagePtr grey = Floats(3, 2, {1, 2, 9, 4, 8, -7});
    const ImagePtr mask = Floats(3, 2, {1, 1, 0, 1, 1, 0});
    const std::vector<double> features = FeaturesOf("Intensity", *grey, *mask);
    ASSERT_EQ(features.size(), 4U);
    EXPECT_EQ(features[0], 3.75);
    EXPECT_DOUBLE_EQ(features[1], std::sqrt(28.75 / 4));
    EXPECT_EQ(features[2], 1.0);
    EXPECT_EQ(features[3], 8.0);
}

TEST(ShapeFeatures, KeepsSmallDeviationsOfLargeGreyValues) {
    const ImagePtr grey = Floats(2, 1, {-16777216, -16777214});
    const ImagePtr mask = Floats(2, 1, {1, 1});
    EXPECT_EQ(FeaturesOf("Intensity", *grey, *mask), (std::vector<double>{-16777215, 1, -16777216, -16777214}));
}

TEST(ShapeFeatures, GivesNoNumbersForGreyValuesThatAreNone) {
    const ImagePtr mask = Floats(3, 1, {1, 1, 1});
    for (const std::vector<float>& values : {std::vector<float>{kNaN, 1, 2}, {1, kNaN, 2}, {1, 2, kNaN}}) {
        const ImagePtr grey = Floats(3, 1, values);
        for (const double feature : FeaturesOf("Intensity", *grey, *mask)) {
            EXPECT_TRUE(std::isnan(feature));
        }
    }
    for (const double feature : FeaturesOf("Intensity", *Floats(3, 1, {kNaN, 1, 2}), *Floats(3, 1, {1, 0, 1}))) {
        EXPECT_TRUE(std::isnan(feature)) << "in one of two runs";
    }
    const ImagePtr grey = Floats(3, 1, {kNaN, 3, kNaN});
    EXPECT_EQ(FeaturesOf("Intensity", *grey, *Floats(3, 1, {0, 1, 0})), (std::vector<double>{3, 0, 3, 3}))
        << "beside the mask they don't count";
}

TEST(ShapeFeatures, GivesZerosWithoutElements) {
    const auto none = [](const CSize& size) { return std::make_unique<CImage>(IMAGE_GREY_F, size, CSize(0, 0, 0)); };
    for (const std::string& name : AllFeatures()) {
        const std::vector<double> zeros(static_cast<std::size_t>(MakeFeature(name)->FeatureCount()), 0.0);
        const ImagePtr grey = Floats(2, 2, {1, 2, 3, 4});
        EXPECT_EQ(FeaturesOf(name, *grey, *Floats(2, 2, {0, 0, 0, 0})), zeros) << name;
        for (const CSize& size :
             {CSize(0, 0, 1), CSize(0, 5, 1), CSize(5, 0, 1), CSize(5, 5, 0), CSize(0, std::int64_t{1} << 62, 7)}) {
            EXPECT_EQ(FeaturesOf(name, *none(size), *none(size)), zeros) << name << " of " << size.ToString();
        }
    }
}

TEST(ShapeFeatures, ListsItsPlugins) {
    EXPECT_EQ(AllFeatures(),
              (std::vector<std::string>{"Shape", "Intensity", "Area", "Centroid", "BoundingBox", "Perimeter",
                                        "EquivalentDiameter", "Orientation", "AxisLengths", "Elongation", "Convexity",
                                        "Mean", "StandardDeviation", "Minimum", "Maximum"}));
    const CPluginModule library(SHAPE_FEATURES);
    EXPECT_EQ(library.Create("shape"), nullptr);
    EXPECT_EQ(library.Create(""), nullptr);
    EXPECT_GT(library.LoadingTimestamp(), 1600000000);
    EXPECT_TRUE(MakeFeature("Shape")->TestInterface("CPluginBase"));
    EXPECT_FALSE(MakeFeature("Shape")->TestInterface("CPNode"));
    const std::unique_ptr<IPluginObject> first(GetPluginObject(nullptr, SHAPE_FEATURES, nullptr));
    EXPECT_EQ(dynamic_cast<CPluginBase&>(*first).FeatureCount(), 14) << "Shape is the first";
}

TEST(ShapeFeatures, ExportsFourFunctionsAndNothingElse) {
    std::FILE* pipe = ::popen("nm -D --defined-only " SHAPE_FEATURES, "r");
    ASSERT_NE(pipe, nullptr);
    std::array<char, 256> line{};
    std::set<std::string> names;
    while (std::fgets(line.data(), static_cast<int>(line.size()), pipe) != nullptr) {
        std::istringstream words(line.data());
        std::string address;
        std::string kind;
        std::string name;
        words >> address >> kind >> name;
        EXPECT_EQ(kind, "T") << name;
        names.insert(name);
    }
    EXPECT_EQ(::pclose(pipe), 0);
    EXPECT_EQ(names,
              (std::set<std::string>{"CreatePluginInstanceEx", "DllMain", "ListPlugins", "get_loading_timestamp"}));
}

std::vector<std::string> LabelsOf(const CValueMap& setup) {
    std::vector<std::string> labels;
    const auto count = static_cast<int>(setup.Entry("outputs", true)->Map()->Size());
    for (int index = 0; index < count; ++index) {
        labels.push_back(MetaText(setup, "outputs/" + std::to_string(index), "label"));
    }
    return labels;
}

TEST(ShapeFeatures, NamesEveryFeatureInItsOrder) {
    using Labels = std::vector<std::string>;
    const Labels shape{"area",
                       "centroid x",
                       "centroid y",
                       "left",
                       "top",
                       "width",
                       "height",
                       "perimeter",
                       "equivalent diameter",
                       "orientation",
                       "major axis length",
                       "minor axis length",
                       "elongation",
                       "convexity"};
    EXPECT_EQ(LabelsOf(*SetupOf("Shape")), shape);
    EXPECT_EQ(LabelsOf(*SetupOf("Intensity")), (Labels{"mean", "standard deviation", "minimum", "maximum"}));
    EXPECT_EQ(LabelsOf(*SetupOf("Area")), Labels{"area"});
    EXPECT_EQ(LabelsOf(*SetupOf("Centroid")), (Labels{"centroid x", "centroid y"}));
    EXPECT_EQ(LabelsOf(*SetupOf("BoundingBox")), (Labels{"left", "top", "width", "height"}));
    EXPECT_EQ(LabelsOf(*SetupOf("Perimeter")), Labels{"perimeter"});
    EXPECT_EQ(LabelsOf(*SetupOf("EquivalentDiameter")), Labels{"equivalent diameter"});
    EXPECT_EQ(LabelsOf(*SetupOf("Orientation")), Labels{"orientation"});
    EXPECT_EQ(LabelsOf(*SetupOf("AxisLengths")), (Labels{"major axis length", "minor axis length"}));
    EXPECT_EQ(LabelsOf(*SetupOf("Elongation")), Labels{"elongation"});
    EXPECT_EQ(LabelsOf(*SetupOf("Convexity")), Labels{"convexity"});
    EXPECT_EQ(LabelsOf(*SetupOf("Mean")), Labels{"mean"});
    EXPECT_EQ(LabelsOf(*SetupOf("StandardDeviation")), Labels{"standard deviation"});
    EXPECT_EQ(LabelsOf(*SetupOf("Minimum")), Labels{"minimum"});
    EXPECT_EQ(LabelsOf(*SetupOf("Maximum")), Labels{"maximum"});
}

TEST(ShapeFeatures, DescribesEveryPlugin) {
    for (const std::string& name : AllFeatures()) {
        SCOPED_TRACE(name);
        const auto setup = SetupOf(name);
        EXPECT_EQ(setup->EntryString("pluginType", ""), "Feature");
        EXPECT_EQ(setup->EntryString("subType", ""), "Region");
        EXPECT_EQ(setup->EntryString("name", ""), name.c_str());
        EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 0U);
        EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 2U);
        for (const char* input : {"inputs/image-0", "inputs/image-mask"}) {
            EXPECT_EQ(setup->Entry(input, true)->ElementType(), typeid(CImage));
            EXPECT_NE(MetaText(*setup, input, "label"), "(none)");
            EXPECT_FALSE(setup->Entry(input, true)->Meta().EntryBool("optional", true));
        }
        const int count = MakeFeature(name)->FeatureCount();
        EXPECT_EQ(static_cast<int>(setup->Entry("outputs", true)->Map()->Size()), count);
        const std::string text = setup->EntryString("description", "").Text();
        EXPECT_EQ(text.find("BRIEF\n"), 0U);
        for (int index = 0; index < count; ++index) {
            const std::string entry = "outputs/" + std::to_string(index);
            EXPECT_TRUE(setup->HasEntry(CValue_Key(entry), EnValType::Double));
            EXPECT_NE(text.find("\n\nOUTPUT " + std::to_string(index) + "\n" + MetaText(*setup, entry, "label") +
                                ", in " + MetaText(*setup, entry, "unit") + ": " + MetaText(*setup, entry, "desc") +
                                "\n"),
                      std::string::npos)
                << entry;
        }
    }
}

TEST(ShapeFeatures, GivesTheSameFeatureInEveryPlugin) {
    const ImagePtr grey = Floats(4, 2, {1, 2, 4, 8, 16, 32, 64, 128});
    const ImagePtr mask = Drawn({"##..", //
                                 ".###"});
    std::map<std::string, double> all;
    for (const char* name : {"Shape", "Intensity"}) {
        const std::vector<double> features = FeaturesOf(name, *grey, *mask);
        const std::vector<std::string> labels = LabelsOf(*SetupOf(name));
        for (std::size_t i = 0; i < labels.size(); ++i) {
            all[labels[i]] = features[i];
        }
    }
    EXPECT_EQ(all.size(), 18U);
    for (const std::string& name : AllFeatures()) {
        std::vector<double> expected;
        for (const std::string& label : LabelsOf(*SetupOf(name))) {
            expected.push_back(all.at(label));
        }
        EXPECT_EQ(FeaturesOf(name, *grey, *mask), expected) << name;
    }
}

StFailure FailureWith(CValueMap& data) {
    const auto feature = MakeFeature("Perimeter");
    const StFailure failure = FailureOf([&] { feature->ComputeFeature(data); });
    EXPECT_FALSE(data.HasEntry("Features"));
    return failure;
}

TEST(ShapeFeatures, RefusesWhatIsNoPairOfPlanes) {
    const auto failure = [](const char* what) {
        return StFailure{"(shapefeatures plugins) Perimeter::ComputeFeature", what};
    };
    CValueMap data;
    EXPECT_EQ(FailureWith(data), failure("\"image-0\" is missing in the map"));
    const ImagePtr grey = Floats(3, 2, {1, 2, 3, 4, 5, 6});
    SetImage(data, "image-0", grey.get());
    EXPECT_EQ(FailureWith(data), failure("\"image-mask\" is missing in the map"));
    data.SetEntry("image-mask", new CValueVector);
    EXPECT_EQ(FailureWith(data), failure("\"image-mask\" is a vector, not an image"));
    data.SetEntry("image-mask", new CValueDouble(1.0));
    EXPECT_EQ(FailureWith(data), failure("\"image-mask\" is a floating number, not an image"));
    CSize noImage(3, 2);
    data.SetEntry("image-mask", new CValuePointer<CSize>(&noImage));
    EXPECT_EQ(FailureWith(data), failure("\"image-mask\" is a pointer to something else than an image"));
    SetImage(data, "image-mask", nullptr);
    EXPECT_EQ(FailureWith(data), failure("\"image-mask\" is a pointer without an image"));
    const ImagePtr bytes = Bytes(3, 2, {1, 1, 1, 1, 1, 1});
    SetImage(data, "image-mask", bytes.get());
    EXPECT_EQ(FailureWith(data), failure("\"image-mask\" is of type IMAGE_GREY_8, not of type IMAGE_GREY_F"));
    const ImagePtr other = Floats(2, 3, {1, 1, 1, 1, 1, 1});
    SetImage(data, "image-mask", other.get());
    EXPECT_EQ(FailureWith(data), failure("\"image-mask\" is 2x3x1, \"image-0\" is 3x2x1: both must have one size"));
    const ImagePtr volume = ZeroImage(IMAGE_GREY_F, CSize(3, 2, 4));
    SetImage(data, "image-mask", volume.get());
    EXPECT_EQ(FailureWith(data), failure("\"image-mask\" has 4 slices: only a single one can be measured"));
    SetImage(data, "image-0", volume.get());
    EXPECT_EQ(FailureWith(data), failure("\"image-0\" has 4 slices: only a single one can be measured"))
        << "image-0 is looked at first";
}

TEST(ShapeFeatures, LeavesImagesAsTheyAreAndReplacesEarlierFeatures) {
    const ImagePtr grey = Floats(2, 1, {5, 7});
    const ImagePtr mask = Floats(2, 1, {0, 1});
    CValueMap data;
    SetImage(data, "image-0", grey.get());
    SetImage(data, "image-mask", mask.get());
    EXPECT_EQ(FeaturesOf("Mean", data), std::vector<double>{7});
    EXPECT_EQ(FeaturesOf("Area", data), std::vector<double>{1});
    EXPECT_EQ(data.Size(), 3U);
    EXPECT_EQ(ElementsOf<float>(*grey), (std::vector<float>{5, 7}));
    EXPECT_EQ(ElementsOf<float>(*mask), (std::vector<float>{0, 1}));
}

// Through the node. Label 1 is an L, label 3 a line; label 2 isn't there.

const std::vector<float> kLabels{1, 1, 0, 3, //
                                 0, 1, 0, 3, //
                                 0, 0, 0, 3};

void ExpectValues(const CImage& output, double ofOne, double ofThree) {
    const auto a = static_cast<float>(ofOne);
    const auto b = static_cast<float>(ofThree);
    const std::vector<float> expected{a, a, 0, b, //
                                      0, a, 0, b, //
                                      0, 0, 0, b};
    const std::vector<float> elements = ElementsOf<float>(output);
    ASSERT_EQ(elements.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_FLOAT_EQ(elements[i], expected[i]) << i;
    }
}

/// The features of both regions, in the order of "Shape". Places count from the corner of a region's box.
std::vector<std::pair<double, double>> ShapesOfBoth() {
    return {{3, 3},
            {2.0 / 3, 0},
            {1.0 / 3, 1},
            {0, 0},
            {0, 0},
            {2, 1},
            {2, 3},
            {pi / 4 * (4 + 5 / sqrt2), pi / 4 * (4 + 6 / sqrt2)},
            {std::sqrt(12 / pi), std::sqrt(12 / pi)},
            {45, 90},
            {4 * std::sqrt(5.0 / 12), 2 * std::sqrt(3)},
            {4 * std::sqrt(7.0 / 36), 2 / std::sqrt(3)},
            {std::sqrt(15.0 / 7), 3},
            {6.0 / 7, 1}};
}

TEST(ShapeFeatures, MeasureTheRegionsOfALabelImage) {
    CNodeUnderTest node("LabelToFeature");
    node.Input(0, Floats(4, 3, kLabels)).Set("feature_plugin", Path("Shape").c_str());
    const auto expected = ShapesOfBoth();
    for (int index = 0; index < static_cast<int>(expected.size()); ++index) {
        SCOPED_TRACE(index);
        const auto& [ofOne, ofThree] = expected[static_cast<std::size_t>(index)];
        ExpectValues(node.Set("feature_index", index).Run().Output(), ofOne, ofThree);
    }
    // The mask is the image, too.
    node.Set("feature_plugin", Path("Intensity").c_str());
    ExpectValues(node.Set("feature_index", 0).Run().Output(), 1, 1);
    ExpectValues(node.Set("feature_index", 1).Run().Output(), 0, 0);
    ExpectValues(node.Set("feature_index", 2).Run().Output(), 1, 1);
    ExpectValues(node.Set("feature_index", 3).Run().Output(), 1, 1);
}

TEST(ShapeFeatures, MeasureTheDataUnderLabels) {
    CNodeUnderTest node("LabelToFeature");
    node.Input(0, CodedImage(IMAGE_GREY_F, CSize(4, 3))).Input(1, Floats(4, 3, kLabels));
    node.Set("feature_plugin", Path("Shape").c_str());
    const auto shapes = ShapesOfBoth();
    for (int index = 0; index < static_cast<int>(shapes.size()); ++index) {
        SCOPED_TRACE(index);
        const auto& [ofOne, ofThree] = shapes[static_cast<std::size_t>(index)];
        ExpectValues(node.Set("feature_index", index).Run().Output(), ofOne, ofThree);
    }
    // Label 1 holds 0, 1 and 11, label 3 holds 3, 13 and 23.
    node.Set("feature_plugin", Path("Intensity").c_str());
    ExpectValues(node.Set("feature_index", 0).Run().Output(), 4, 13);
    ExpectValues(node.Set("feature_index", 1).Run().Output(), std::sqrt(74.0 / 3), std::sqrt(200.0 / 3));
    ExpectValues(node.Set("feature_index", 2).Run().Output(), 0, 3);
    ExpectValues(node.Set("feature_index", 3).Run().Output(), 11, 23);
}

TEST(ShapeFeatures, GiveZerosForRegionsOutsideTheData) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Path("Area").c_str());
    node.Input(0, Floats(1, 1, {5})).Input(1, Floats(4, 3, kLabels)).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), std::vector<float>(12, 0.0F)) << "the scale is 0";
}

TEST(ShapeFeatures, EndAtTheLastIndex) {
    CNodeUnderTest node("LabelToFeature");
    node.Input(0, Floats(4, 3, kLabels)).Set("feature_plugin", Path("Shape").c_str()).Set("feature_index", 14);
    EXPECT_EQ(node.Failure(), (StFailure{"CValueVector", "there is no entry 14, the vector has 14"}));
}

TEST(ShapeFeatures, LeaveTheNodeWithOneFailureForEveryWrongPath) {
    const StFailure noFeature{"LabelToFeature::NodeInit",
                              "The provided feature plugin is not a subclass of CPluginBase"};
    for (const std::string& path :
         {std::string(SHAPE_FEATURES) + ".none#Shape", std::string("%QUORDIR_UNSET%/shapefeatures.so#Shape"),
          std::string(FEATURES_PAGE) + "#Shape", std::string(TEST_PLUGIN_DIRECTORY "/LackingTimestamp.so#Shape"),
          std::string(MANIPULATION_MODULE "#Flip"), std::string(MANIPULATION_MODULE), Path("Nothing"), Path("")}) {
        CNodeUnderTest node("LabelToFeature");
        node.Input(0, Floats(4, 3, kLabels)).Set("feature_plugin", path.c_str());
        EXPECT_EQ(node.Failure(), noFeature) << path;
    }
}

// The page that people read.

std::string Row(const std::vector<std::string>& cells) {
    std::string row = "|";
    for (const std::string& cell : cells) {
        row += " " + cell + " |";
    }
    return row + "\n";
}

std::string TableOf(const std::string& name) {
    const auto setup = SetupOf(name);
    std::string table = "## " + name + "\n\n" + Row({"Index", "Feature", "Unit", "Definition"}) + "|---|---|---|---|\n";
    for (int index = 0; index < MakeFeature(name)->FeatureCount(); ++index) {
        const std::string entry = "outputs/" + std::to_string(index);
        table += Row({std::to_string(index), MetaText(*setup, entry, "label"), MetaText(*setup, entry, "unit"),
                      MetaText(*setup, entry, "desc")});
    }
    return table + "\n";
}

std::string TableOfParts() {
    std::string table = "## Parts of them\n\n" + Row({"Plug-in", "Features, from index 0"}) + "|---|---|\n";
    for (const std::string& name : AllFeatures()) {
        if (name != "Shape" && name != "Intensity") {
            std::string features;
            for (const std::string& label : LabelsOf(*SetupOf(name))) {
                features += (features.empty() ? "" : ", ") + label;
            }
            table += Row({"`" + name + "`", features});
        }
    }
    return table + "\n";
}

TEST(ShapeFeatures, AreOnTheirPageAsTheyDescribeThemselves) {
    std::ifstream file(FEATURES_PAGE);
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    for (const std::string& table : {TableOf("Shape"), TableOf("Intensity"), TableOfParts()}) {
        EXPECT_NE(page.find(table), std::string::npos) << "the page needs:\n" << table;
    }
}

} // namespace
} // namespace QUOR::test
