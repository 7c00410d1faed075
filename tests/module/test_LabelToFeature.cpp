#include "NodeTest.h"

#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) LabelToFeature::Run";
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::string Plugin(const char* name) { return std::string(TEST_FEATURES) + "#" + name; }

std::vector<float> Measured(const char* plugin, int index, std::int64_t width, std::int64_t height,
                            const std::vector<float>& labels) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin(plugin).c_str()).Set("feature_index", index);
    node.Input(0, Floats(width, height, labels)).Run();
    return ElementsOf<float>(node.Output());
}

/// The built-in path as it is told: zone by zone over its box, on an output that earlier zones have changed.
std::vector<float> PlainElongations(const CImage& image) {
    const std::vector<float> in = ElementsOf<float>(image);
    std::vector<float> out = in;
    const auto width = static_cast<int>(image.Size().x);
    const auto height = static_cast<int>(image.Size().y);
    const auto isLabel = [](float f) { return f >= 1.0F && f < 2147483648.0F; };
    int largest = 0;
    for (const float f : in) {
        largest = std::max(largest, isLabel(f) ? static_cast<int>(f) : 0);
    }
    for (int label = 1; label <= largest; ++label) {
        int minX = width;
        int maxX = 0;
        int minY = height;
        int maxY = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const float f = in[static_cast<std::size_t>(x + width * y)];
                if (isLabel(f) && static_cast<int>(f) == label) {
                    minX = std::min(minX, x);
                    maxX = std::max(maxX, x);
                    minY = std::min(minY, y);
                    maxY = std::max(maxY, y);
                }
            }
        }
        float n = 0;
        float sx = 0;
        float sy = 0;
        float sxx = 0;
        float sxy = 0;
        float syy = 0;
        for (int y = 0; y <= maxY - minY; ++y) {
            for (int x = 0; x <= maxX - minX; ++x) {
                if (in[static_cast<std::size_t>(x + minX + width * (y + minY))] == static_cast<float>(label)) {
                    n += 1.0F;
                    sx += static_cast<float>(x);
                    sy += static_cast<float>(y);
                    sxx += static_cast<float>(x * x);
                    sxy += static_cast<float>(x * y);
                    syy += static_cast<float>(y * y);
                }
            }
        }
        float value = 0;
        if (n > 0) {
            const float mx = sx / n;
            const float my = sy / n;
            const float vxx = sxx / n - mx * mx;
            const float vxy = sxy / n - my * mx;
            const float vyy = syy / n - my * my;
            const float r = std::sqrt(vxy * 4.0F * vxy + (vxx - vyy) * (vxx - vyy));
            value = ((vyy + vxx) + r) / (((vxx + 1.0F) + vyy) - r);
        }
        for (int y = minY; y <= maxY; ++y) {
            for (int x = minX; x <= maxX; ++x) {
                float& element = out[static_cast<std::size_t>(x + width * y)];
                if (element == static_cast<float>(label)) {
                    element = value;
                }
            }
        }
    }
    return out;
}

TEST(LabelToFeature, DescribesItself) {
    const auto setup = DescriptionOf("LabelToFeature");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "LabelImage");
    EXPECT_EQ(setup->EntryString("name", ""), "LabelToFeature");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PLabelToFeature/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 3U);
    EXPECT_EQ(setup->EntryString("parameters/feature_plugin", ""), "NULL");
    EXPECT_TRUE(setup->HasEntry("parameters/feature_index", EnValType::Long));
    EXPECT_EQ(setup->EntryLong("parameters/feature_index", -1), 0);
    EXPECT_TRUE(setup->HasEntry("parameters/verbose", EnValType::Bool));
    EXPECT_EQ(MetaText(*setup, "parameters/verbose", "gui/boolean"), "togglebutton");
    EXPECT_EQ(MetaText(*setup, "parameters/feature_plugin", "desc")
                  .find("The type of this parameter is of type string. path for the feature plugin containing the "
                        "feature\nto be computed."),
              0U);
    EXPECT_EQ(MetaText(*setup, "parameters/feature_index", "desc")
                  .find("The type of this parameter is of type long. index of the computed feature vector. It must be "
                        "larger\nor equal to 0."),
              0U);
    EXPECT_EQ(MetaText(*setup, "parameters/verbose", "desc")
                  .find("The type of this parameter is of type bool. print function feedback to log area."),
              0U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "data");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "label");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_TRUE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", false));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"),
              "Label image of type IMAGE_GREY_F, containing the feature value as label.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nNode to map labels of the input image to computed feature values.\n\n"), 0U);
    EXPECT_NE(text.find("If the label image is omitted, the input image\nwill be used as label image, too."),
              std::string::npos);
    EXPECT_NE(text.find("NOTE\nAttention: plugin is deprecated and included for backwards compatibility reasons.\n"
                        "Works only with \"vintage feature\" plugins. The functionality now can be created by\n"
                        "directly using feature plugins and LabelToValue.\n"),
              std::string::npos);
    EXPECT_NE(text.find("NOTE\nCurrently only available for 2d images.\n"), std::string::npos);
}

TEST(LabelToFeature, MeasuresElongationWithoutAPlugin) {
    // A line of three: n 3, sx 3, sxx 5, vxx = 5/3 - 1 in single precision, r = vxx: (vxx + vxx) / ((vxx + 1) - vxx).
    const float vxx = 5.0F / 3.0F - 1.0F;
    const float line = (vxx + vxx) / ((vxx + 1.0F) - vxx);
    CNodeUnderTest node("LabelToFeature");
    node.Input(0, Floats(4, 2,
                         {1, 1, 1, 0, //
                          0, 2, 0, 0}))
        .Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{line, line, line, 0, 0, 0, 0, 0}))
        << "a single element gives 0";
    EXPECT_EQ(node.Output().Type(), IMAGE_GREY_F);
    EXPECT_EQ(node.Output().Size(), CSize(4, 2, 1));
    // A square of 2 x 2: vxx = vyy = 1/4, vxy = 0, r = 0: 0.5 / 1.5
    node.Input(0, Floats(2, 2, {1, 1, 1, 1})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), std::vector<float>(4, 0.5F / 1.5F));
}

TEST(LabelToFeature, LeavesFractionsAndWhatIsNoLabelAsTheyAre) {
    const std::vector<float> in{0, -1, 0.5F, kInfinity, -kInfinity, 2147483648.0F, 2.5F, -0.0F};
    CNodeUnderTest node("LabelToFeature");
    node.Input(0, Floats(8, 1, in)).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), in);
    node.Input(0, Floats(2, 1, {kNaN, 1})).Run();
    EXPECT_TRUE(std::isnan(ElementsOf<float>(node.Output())[0]));
    EXPECT_EQ(ElementsOf<float>(node.Output())[1], 0.0F);
}

TEST(LabelToFeature, GivesTheMaskTwiceToAPlugin) {
    const std::vector<float> labels{1, 1, 0, //
                                    0, 1, 3};
    EXPECT_EQ(Measured("Everything", 0, 3, 2, labels), (std::vector<float>{1, 1, 0, 0, 1, 3})) << "call number";
    EXPECT_EQ(Measured("Everything", 1, 3, 2, labels), (std::vector<float>{2, 2, 0, 0, 2, 1})) << "width";
    EXPECT_EQ(Measured("Everything", 2, 3, 2, labels), (std::vector<float>{2, 2, 0, 0, 2, 1})) << "height";
    EXPECT_EQ(Measured("Everything", 3, 3, 2, labels), (std::vector<float>{3, 3, 0, 0, 3, 1})) << "sum of the mask";
    EXPECT_EQ(Measured("Everything", 4, 3, 2, labels), (std::vector<float>{3, 3, 0, 0, 3, 1})) << "sum of the image";
    EXPECT_EQ(Measured("Everything", 5, 3, 2, labels), (std::vector<float>{1, 1, 0, 0, 1, 1})) << "one and the same";
    EXPECT_EQ(Measured("Everything", 7, 3, 2, labels), (std::vector<float>{1, 1, 0, 0, 1, 1})) << "depth";
}

TEST(LabelToFeature, CascadesWithinLaterBoxes) {
    // Label 1 gets 2, and where the box of label 2 holds it, it becomes the value of label 2, which is 3.
    const std::vector<float> labels{1, 1, 1, //
                                    0, 2, 2, //
                                    0, 1, 2};
    // The box of 2 is x 1..2, y 1..2: of the elements of label 1 it holds (1, 2) only.
    EXPECT_EQ(Measured("NextLabel", 0, 3, 3, labels), (std::vector<float>{2, 2, 2, 0, 3, 3, 0, 3, 3}));
}

TEST(LabelToFeature, CallsAPluginForAbsentLabelsToo) {
    const std::vector<float> labels{1, 0, 5};
    EXPECT_EQ(Measured("Everything", 0, 3, 1, labels), (std::vector<float>{1, 0, 5}));
    EXPECT_EQ(Measured("NextLabel", 0, 3, 1, labels), (std::vector<float>{2, 0, 6}));
}

TEST(LabelToFeature, ReadsWhatAPluginLeaves) {
    const std::vector<float> labels{1, 2};
    EXPECT_EQ(Measured("Nothing", 0, 2, 1, labels), (std::vector<float>{0, 0}));
    EXPECT_EQ(Measured("EmptyVector", 0, 2, 1, labels), (std::vector<float>{0, 0}));
    EXPECT_EQ(Measured("OnlyOnce", 0, 2, 1, labels), (std::vector<float>{7.5F, 0})) << "each zone has its own map";
    EXPECT_EQ(Measured("AnInteger", 0, 2, 1, labels), (std::vector<float>{42, 42}));
}

TEST(LabelToFeature, FailsForAnIndexBeyondTheFeatures) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("NextLabel").c_str()).Set("feature_index", 1).Input(0, Floats(1, 1, {1}));
    EXPECT_EQ(node.Failure(), (StFailure{"CValueVector", "there is no entry 1, the vector has 1"}));
}

TEST(LabelToFeature, PassesAPluginsFailureOn) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("AFailure").c_str()).Input(0, Floats(2, 1, {1, 2}));
    EXPECT_EQ(node.Failure(), (StFailure{"TestFeatures", "no more"}));
}

TEST(LabelToFeature, MeasuresTheDataUnderASeparateLabelImage) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("Everything").c_str());
    node.Input(0, Floats(3, 2, {10, 20, 30, 40, 50, 60})).Input(1, Floats(3, 2, {0, 2, 2, 1, 0, 2}));
    const auto feature = [&](int index) { return ElementsOf<float>(node.Set("feature_index", index).Run().Output()); };
    EXPECT_EQ(feature(4), (std::vector<float>{0, 160, 160, 40, 0, 160})) << "sum of the data in the box";
    EXPECT_EQ(feature(3), (std::vector<float>{0, 3, 3, 1, 0, 3})) << "sum of the mask";
    EXPECT_EQ(feature(5), (std::vector<float>(6, 0))) << "mask and data are two images";
    EXPECT_EQ(feature(6), (std::vector<float>{0, 1, 1, 1, 0, 1})) << "of one size";
}

TEST(LabelToFeature, SharesOneMapAmongTheZonesOfASeparateLabelImage) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("OnlyOnce").c_str());
    node.Input(0, Floats(3, 1, {0, 0, 0})).Input(1, Floats(3, 1, {1, 2, 3})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{7.5F, 7.5F, 7.5F}));
}

TEST(LabelToFeature, DoesNotCascadeWithASeparateLabelImage) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("NextLabel").c_str());
    node.Input(0, Floats(3, 1, {0, 0, 0})).Input(1, Floats(3, 1, {2, 1, 2})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{3, 2, 3}));
}

TEST(LabelToFeature, PrintsWhatItDoes) {
    {
        const CCapturedOutput printed(std::cout);
        CNodeUnderTest node("LabelToFeature");
        node.Set("feature_plugin", Plugin("OnlyOnce").c_str()).Set("verbose", true);
        node.Input(0, Floats(2, 1, {1, 3})).Run();
        EXPECT_EQ(printed.Text(), "7.5\n0\n0\n");
    }
    const CCapturedOutput printed(std::cout);
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("Nothing").c_str()).Set("verbose", true);
    // A data image of twice the size; label 2 isn't there: its width is 1 - 3, its height 1 - 2.
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(6, 4))).Input(1, Floats(3, 2, {1, 1, 0, 0, 0, 3})).Run();
    EXPECT_EQ(printed.Text(), "zone count 3\n"
                              "scale 2\nw 4\nh 2\n"
                              "scale 2\nw -4\nh -2\n"
                              "scale 2\nw 2\nh 2\n");
}

TEST(LabelToFeature, ScalesByTheWidths) {
    const auto printedFor = [](const CSize& data, const CSize& labels) {
        const CCapturedOutput printed(std::cout);
        CNodeUnderTest node("LabelToFeature");
        node.Set("feature_plugin", Plugin("Nothing").c_str()).Set("verbose", true);
        auto labelImage = ZeroImage(IMAGE_GREY_F, labels);
        auto* elements = static_cast<float*>(labelImage->Buffer().Data());
        std::fill_n(elements, labels.Volume(), 1.0F);
        node.Input(0, ZeroImage(IMAGE_GREY_F, data)).Input(1, std::move(labelImage)).Run();
        return printed.Text();
    };
    EXPECT_EQ(printedFor(CSize(20, 20), CSize(10, 10)), "zone count 1\nscale 2\nw 20\nh 20\n");
    EXPECT_EQ(printedFor(CSize(15, 15), CSize(10, 10)), "zone count 1\nscale 2\nw 15\nh 15\n");
    EXPECT_EQ(printedFor(CSize(4, 4), CSize(10, 10)), "zone count 1\nscale 0\nw 0\nh 0\n");
    EXPECT_EQ(printedFor(CSize(10, 4), CSize(10, 10)), "zone count 1\nscale 1\nw 10\nh 4\n");
    // Data without rows, 2^40 columns wide: only the number of columns is beyond 32 bits.
    EXPECT_EQ(printedFor(CSize(1099511627776, 0), CSize(2, 1)),
              "zone count 1\nscale 549755813888\nw 1099511627776\nh 0\n");
}

TEST(LabelToFeature, DividesTheLinearIndexForAScaledMask) {
    // Label image 2 x 2 of 1, 0 / 0, 0 under data of 4 x 4: the box of label 1 is 2 x 2 at (0, 0). Row base 0 gives the
    // indices 0, 1 over 2: labels[0], labels[0]; row base 2 gives 2, 3 over 2: labels[1], labels[1].
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("Everything").c_str()).Set("feature_index", 3);
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(4, 4))).Input(1, Floats(2, 2, {1, 0, 0, 0})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{2, 0, 0, 0}));
}

TEST(LabelToFeature, CountsMaskIndicesPastTheLabelsAsZero) {
    // A data image ten times as high doesn't matter, but one row of labels under data of scale 1 whose box is cut at
    // the data's edge keeps every index inside; with a scale of 2 the last row base reaches the end.
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("Everything").c_str()).Set("feature_index", 3);
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(2, 2))).Input(1, Floats(1, 1, {1})).Run();
    // Box 2 x 2, row bases 0 and 1: indices (0, 1, 1, 2) / 2 = 0, 0, 0, 1: the last one lies behind the only label.
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{3}));
}

TEST(LabelToFeature, ReachesTheNextSlicesByMaskIndicesPastTheFirst) {
    // Label 1 stands at (1, 0): its region is 2 x 2 at (2, 0). The row bases 2 and 4 give the indices 2, 3, 4, 5 over
    // 2: labels[1] twice, and twice labels[2], which is the second slice's first element.
    for (const auto& [second, sum] : {std::pair{1.0F, 4.0F}, std::pair{5.0F, 2.0F}}) {
        CNodeUnderTest node("LabelToFeature");
        node.Set("feature_plugin", Plugin("Everything").c_str()).Set("feature_index", 3);
        node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(4, 2)));
        node.Input(1, MakeImage<float>(IMAGE_GREY_F, CSize(2, 1, 2), {0, 1, second, 0})).Run();
        EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{0, sum}));
    }
}

TEST(LabelToFeature, GivesEmptyRegionsOutsideTheData) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("Everything").c_str()).Set("feature_index", 2);
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(1, 1))).Input(1, Floats(1, 3, {0, 0, 1})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{0, 0, 0})) << "height of the region";
}

TEST(LabelToFeature, NeverCallsAPluginWithoutLabels) {
    for (const bool twoImages : {false, true}) {
        CNodeUnderTest node("LabelToFeature");
        node.Set("feature_plugin", Plugin("AFailure").c_str()).Input(0, ZeroImage(IMAGE_GREY_F, CSize(3, 2)));
        if (twoImages) {
            node.Input(1, ZeroImage(IMAGE_GREY_F, CSize(2, 2)));
        }
        node.Run();
        for (const float element : ElementsOf<float>(node.Output())) {
            EXPECT_EQ(element, 0.0F);
        }
    }
}

TEST(LabelToFeature, UsesTheFirstSliceOnly) {
    CNodeUnderTest node("LabelToFeature");
    auto volume = MakeImage<float>(IMAGE_GREY_F, CSize(1, 1, 2), {1, 7});
    volume->Attributes().SetEntry("a", new CValueLong(1));
    node.Input(0, std::move(volume)).Run();
    EXPECT_EQ(node.Output().Size(), CSize(1, 1, 1));
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{0}));
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
}

TEST(LabelToFeature, ServesImagesWithoutAPlane) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const CSize& size : {CSize(0, 3), CSize(3, 0), CSize(huge, 0, huge), CSize(0, huge)}) {
        for (const bool withPlugin : {false, true}) {
            CNodeUnderTest node("LabelToFeature");
            if (withPlugin) {
                node.Set("feature_plugin", Plugin("NextLabel").c_str());
                node.Input(1, ZeroImage(IMAGE_GREY_F, size)).Input(0, Floats(1, 1, {1}));
            } else {
                node.Input(0, ZeroImage(IMAGE_GREY_F, size));
            }
            node.Run();
            EXPECT_EQ(node.Output().Size(), CSize(size.x, size.y, 1));
        }
    }
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("NextLabel").c_str());
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(huge, 0))).Input(1, Floats(1, 2, {1, 2})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{2, 3})) << "data without elements";
}

TEST(LabelToFeature, RefusesAPlaneWithoutASlice) {
    CNodeUnderTest node("LabelToFeature");
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(3, 3, 0)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "the image has no slice"}));
    node.Input(0, Floats(1, 1, {1})).Input(1, ZeroImage(IMAGE_GREY_F, CSize(3, 3, 0)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "the image has no slice"}));
    node.Input(0, ZeroImage(IMAGE_GREY_F, CSize(1, 1, 0))).Input(1, Floats(1, 1, {1}));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "the image has no slice"})) << "data without a slice";
}

TEST(LabelToFeature, FailsInItsOwnWordsInOrder) {
    CNodeUnderTest node("LabelToFeature");
    node.Input(1, ZeroImage(IMAGE_GREY_8, CSize(1, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    for (const auto& type : TypesWithout({IMAGE_GREY_F})) {
        node.Input(0, ZeroImage(type, CSize(1, 1)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is not of type IMAGE_GREY_F"}));
    }
    node.Input(0, Floats(1, 1, {1}));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "label image is not of type IMAGE_GREY_F"}));
    EXPECT_EQ(node.NullImage(1).Failure(), (StFailure{kWhere, "input image is NULL"}));
    node.Input(1, Floats(1, 1, {1}));
    EXPECT_EQ(node.Failure(), (StFailure{"(manipulation plugins) LabelToFeature::LabelRegionByFeature",
                                         "no feature_plugin specified !"}));
    node.Set("feature_plugin", "NULL");
    EXPECT_EQ(node.Failure().what, "no feature_plugin specified !");
    node.Input(0, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer");
}

TEST(LabelToFeature, RefusesWhatIsNoFeaturePlugin) {
    const StFailure expected{"LabelToFeature::NodeInit",
                             "The provided feature plugin is not a subclass of CPluginBase"};
    const std::vector<std::string> paths{std::string(MANIPULATION_MODULE) + "#Flip",
                                         Plugin("NoFeature"),
                                         Plugin("Unknown"),
                                         "/no/such/library.so",
                                         std::string(SAMPLES_DIRECTORY),
                                         ""};
    for (const std::string& path : paths) {
        CNodeUnderTest node("LabelToFeature");
        EXPECT_EQ(FailureOf([&] { node.Set("feature_plugin", path.c_str()).Init(); }), expected) << path;
    }
}

TEST(LabelToFeature, KeepsAndReplacesItsPlugin) {
    CNodeUnderTest node("LabelToFeature");
    node.Input(0, Floats(1, 1, {1}));
    node.Set("feature_plugin", Plugin("Everything").c_str()).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{1}));
    node.Set("feature_plugin", "NULL").Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{2})) << "the second call of the same plug-in";
    node.Unset("feature_plugin").Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{3}));
    node.Set("feature_plugin", Plugin("AnInteger").c_str()).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{42}));
    FailureOf([&] { node.Set("feature_plugin", "none").Init(); });
    node.RunAgain();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{0})) << "a failure drops the plug-in before";
}

TEST(LabelToFeature, TakesTheFirstPluginOfALibraryWithoutAName) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", TEST_FEATURES).Input(0, Floats(2, 1, {2, 2})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{2, 2})) << "Everything, its second call";
}

TEST(LabelToFeature, ExpandsTheEnvironmentInAPath) {
    const std::string file = TEST_FEATURES;
    ASSERT_EQ(::setenv("VESSA_TEST_FOLDER", file.substr(0, file.rfind('/')).c_str(), 1), 0);
    const std::string path = "%VESSA_TEST_FOLDER%" + file.substr(file.rfind('/')) + "#AnInteger";
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", path.c_str()).Input(0, Floats(1, 1, {1})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{42}));
}

TEST(LabelToFeature, SetsANegativeIndexToZero) {
    const CCapturedOutput printed(std::cout);
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("NextLabel").c_str()).Set("feature_index", -3).Input(0, Floats(1, 1, {1})).Run();
    EXPECT_EQ(printed.Text(), "Parameter feature_index is smaller than 0, setting it to 0.\n");
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{2}));
}

TEST(LabelToFeature, KeepsTheIndexWithoutItsKey) {
    CNodeUnderTest node("LabelToFeature");
    node.Set("feature_plugin", Plugin("Everything").c_str()).Set("feature_index", 1).Input(0, Floats(2, 1, {1, 1}));
    EXPECT_EQ(ElementsOf<float>(node.Run().Output()), (std::vector<float>{2, 2}));
    EXPECT_EQ(ElementsOf<float>(node.Unset("feature_index").Run().Output()), (std::vector<float>{2, 2}));
}

TEST(LabelToFeature, AgreesWithThePlainLoopOnRandomLabels) {
    std::mt19937 random(14);
    for (int round = 0; round < 400; ++round) {
        const auto below = [&](unsigned most) { return static_cast<unsigned>(random() % most); };
        const CSize size(below(30) + 1, below(20) + 1);
        const unsigned labels = below(6) + 1;
        auto image = ZeroImage(IMAGE_GREY_F, size);
        auto* elements = static_cast<float*>(image->Buffer().Data());
        float last = 0;
        for (std::size_t i = 0; i < size.Volume(); ++i) {
            if (below(3) == 0) {
                last = static_cast<float>(below(labels * 2)) / (below(4) == 0 ? 2.0F : 1.0F);
            }
            elements[i] = last;
        }
        CNodeUnderTest node("LabelToFeature");
        node.Input(0, std::move(image)).Run();
        EXPECT_EQ(ElementsOf<float>(node.Output()), PlainElongations(node.InputImage(0)));
    }
}

TEST(LabelToFeature, RoundsLargeSumsAsSinglePrecisionDoes) {
    // Sums of squares pass 2^24 after a few hundred columns.
    std::mt19937 random(15);
    auto image = ZeroImage(IMAGE_GREY_F, CSize(1501, 40));
    auto* elements = static_cast<float*>(image->Buffer().Data());
    for (std::size_t i = 0; i < image->Size().Volume(); ++i) {
        elements[i] = random() % 50 == 0 ? 2.0F : 1.0F;
    }
    CNodeUnderTest node("LabelToFeature");
    node.Input(0, std::move(image)).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output()), PlainElongations(node.InputImage(0)));
}

} // namespace
} // namespace QUOR::test
