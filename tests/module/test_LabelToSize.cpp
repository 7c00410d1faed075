#include "MemoryLimit.h"
#include "NodeTest.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <sys/resource.h>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) LabelToSize::Run";
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::vector<float> Sizes(const CSize& size, const std::vector<float>& labels, bool bySlices) {
    CNodeUnderTest node("LabelToSize");
    node.Set("slice-wise", bySlices).Input(0, MakeImage<float>(IMAGE_GREY_F, size, labels)).Run();
    return ElementsOf<float>(node.Output());
}

/// The counting as it is told, element by element; elements that count for no label are passed over.
class CPlainSizes {
public:
    CPlainSizes(const CImage& image, bool bySlices) : out(ElementsOf<float>(image)) {
        const std::vector<float> in = out;
        const std::size_t slice = static_cast<std::size_t>(image.Size().x * image.Size().y);
        const std::size_t depth = static_cast<std::size_t>(image.Size().z);
        std::vector<float> table;
        std::vector<float> volume;
        for (std::size_t z = 0; z < depth; ++z) {
            const std::vector<float> elements(in.begin() + static_cast<std::ptrdiff_t>(z * slice),
                                              in.begin() + static_cast<std::ptrdiff_t>((z + 1) * slice));
            const bool labelled = Count(elements, table);
            if (bySlices || depth == 1) {
                if (labelled) {
                    Replace(elements, table, z * slice);
                }
                continue;
            }
            volume.resize(std::max(volume.size(), table.size()), 0.0F);
            for (std::size_t i = 0; i < table.size(); ++i) {
                volume[i] += table[i];
            }
        }
        if (!bySlices && depth != 1) {
            Replace(in, volume, 0);
        }
    }

    std::vector<float> out;

private:
    static bool CountsForALabel(float f) { return f >= 1.0F && std::isfinite(f); }

    static bool Count(const std::vector<float>& elements, std::vector<float>& table) {
        std::int64_t largest = 0;
        for (const float f : elements) {
            if (CountsForALabel(f) && f > static_cast<float>(largest)) {
                largest = static_cast<std::int64_t>(f);
            }
        }
        if (largest == 0) {
            return false;
        }
        table.assign(static_cast<std::size_t>(largest), 0.0F);
        for (const float f : elements) {
            if (CountsForALabel(f)) {
                table[static_cast<std::size_t>(f) - 1] += 1.0F;
            }
        }
        return true;
    }

    void Replace(const std::vector<float>& elements, const std::vector<float>& table, std::size_t offset) {
        for (std::size_t i = 0; i < elements.size(); ++i) {
            if (CountsForALabel(elements[i])) {
                out[offset + i] = table[static_cast<std::size_t>(elements[i]) - 1];
            }
        }
    }
};

TEST(LabelToSize, DescribesItself) {
    const auto setup = DescriptionOf("LabelToSize");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "LabelImage");
    EXPECT_EQ(setup->EntryString("name", ""), "LabelToSize");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PLabelToSize/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "mapping|size|pixel|voxel|count|label");
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 1U) << "sections for what isn't declared stay text";
    EXPECT_TRUE(setup->HasEntry("parameters/slice-wise", EnValType::Bool));
    EXPECT_TRUE(setup->EntryBool("parameters/slice-wise"));
    EXPECT_EQ(MetaText(*setup, "parameters/slice-wise", "gui/boolean"), "togglebutton");
    EXPECT_EQ(MetaText(*setup, "parameters/slice-wise", "desc")
                  .find("The type of this parameter is of type bool. optional: for 3d image, do replacement slice-wise "
                        "if TRUE (default), or volumetric if FALSE"),
              0U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "label image; must be FLOAT");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "image with sizes assigned to each label; FLOAT");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nReplaces the label values of the input image by the size values\nof each labeled "
                        "region.\n\n"),
              0U);
    EXPECT_NE(text.find("NOTE\nFor 3d images the computation is performed plane-by-plane by default resp. if parameter "
                        "'slice-wise' is set to TRUE.\n"),
              std::string::npos);
    std::size_t position = 0;
    for (const char* section :
         {"slice-wise", "data", "result", "width", "height", "inputImage", "width", "height", "labelImage"}) {
        position = text.find(std::string("\nPARAMETER ") + section + "\n", position + 1);
        ASSERT_NE(position, std::string::npos) << section;
    }
    EXPECT_NE(text.find("pointer to the data array of the input image"), std::string::npos);
}

TEST(LabelToSize, CountsElementsOfEachLabel) {
    EXPECT_EQ(Sizes(CSize(2, 2), {1, 1, 2, 0}, true), (std::vector<float>{2, 2, 1, 0}));
    EXPECT_EQ(Sizes(CSize(2, 2), {1, 1, 2, 0}, false), (std::vector<float>{2, 2, 1, 0}));
    EXPECT_EQ(Sizes(CSize(3, 1), {0, 0, 0}, true), (std::vector<float>{0, 0, 0}));
}

TEST(LabelToSize, CutsFractionsToTheirLabel) {
    EXPECT_EQ(Sizes(CSize(4, 1), {2.9F, 2.1F, 1.5F, 2}, true), (std::vector<float>{3, 3, 1, 3}));
}

TEST(LabelToSize, LeavesWhatCountsForNoLabel) {
    EXPECT_EQ(Sizes(CSize(6, 1), {0.5F, -1, -7, kInfinity, -kInfinity, 2}, true),
              (std::vector<float>{0.5F, -1, -7, kInfinity, -kInfinity, 1}));
    EXPECT_EQ(Sizes(CSize(3, 1), {0.5F, -1, 0}, true), (std::vector<float>{0.5F, -1, 0})) << "a slice without labels";
    const std::vector<float> withNaN = Sizes(CSize(2, 1), {kNaN, 1}, true);
    EXPECT_TRUE(std::isnan(withNaN[0]));
    EXPECT_EQ(withNaN[1], 1.0F);
    const std::uint32_t negativeZero = 0x80000000U;
    CNodeUnderTest node("LabelToSize");
    node.Input(0, MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(2, 1), {negativeZero, 0x3F800000U})).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()), (std::vector<std::uint32_t>{negativeZero, 0x3F800000U}));
}

TEST(LabelToSize, CountsEachSliceByItself) {
    EXPECT_EQ(Sizes(CSize(2, 1, 3), {1, 1, 0, 0, 1, 2}, true), (std::vector<float>{2, 2, 0, 0, 1, 1}));
}

TEST(LabelToSize, AddsTheFormerSliceAgainForAnEmptyOne) {
    // Slice 0 holds label 1 three times, slice 1 nothing, slice 2 twice: 3 + 3 + 2.
    EXPECT_EQ(Sizes(CSize(3, 1, 3), {1, 1, 1, 0, 0, 0, 1, 1, 0}, false),
              (std::vector<float>{8, 8, 8, 0, 0, 0, 8, 8, 0}));
    // Nothing is added for an empty slice before the first labelled one.
    EXPECT_EQ(Sizes(CSize(2, 1, 2), {0, 0, 1, 1}, false), (std::vector<float>{0, 0, 2, 2}));
    // Labels of other slices are added up.
    EXPECT_EQ(Sizes(CSize(2, 1, 2), {1, 2, 3, 1}, false), (std::vector<float>{2, 1, 1, 2}));
}

TEST(LabelToSize, StopsCountingWhereSinglePrecisionDoes) {
    auto image = std::make_unique<CImage>(IMAGE_GREY_F, CSize(16777218, 1), CSize(0, 0, 0));
    std::fill_n(static_cast<float*>(image->Buffer().Data()), 16777218, 1.0F);
    CNodeUnderTest node("LabelToSize");
    node.Input(0, std::move(image)).Run();
    EXPECT_EQ(static_cast<const float*>(node.Output().Buffer().Data())[16777217], 16777216.0F);
}

TEST(LabelToSize, AddsSlicesInSinglePrecision) {
    // 16777216 and 3 give 16777220: the sum is rounded to even, not capped.
    auto image = std::make_unique<CImage>(IMAGE_GREY_F, CSize(16777216, 1, 2), CSize(0, 0, 0));
    image->Buffer().Set(0);
    auto* elements = static_cast<float*>(image->Buffer().Data());
    std::fill_n(elements, 16777219, 1.0F);
    CNodeUnderTest node("LabelToSize");
    node.Set("slice-wise", false).Input(0, std::move(image)).Run();
    EXPECT_EQ(static_cast<const float*>(node.Output().Buffer().Data())[0], 16777220.0F);
}

TEST(LabelToSize, AddsFormerSlicesAgainInLargeVolumes) {
    // More elements than single precision counts, and what comes out small all the same: label 1 is 3 + 3 + 2.
    constexpr std::int64_t slice = 5600000;
    auto image = std::make_unique<CImage>(IMAGE_GREY_F, CSize(slice, 1, 3), CSize(0, 0, 0));
    image->Buffer().Set(0);
    auto* elements = static_cast<float*>(image->Buffer().Data());
    for (const std::int64_t place : {std::int64_t{0}, std::int64_t{1}, std::int64_t{5}, 2 * slice, 2 * slice + 9}) {
        elements[place] = 1.0F;
    }
    elements[3] = 2.0F;
    CNodeUnderTest node("LabelToSize");
    node.Set("slice-wise", false).Input(0, std::move(image)).Run();
    const auto* sizes = static_cast<const float*>(node.Output().Buffer().Data());
    EXPECT_EQ(sizes[5], 8.0F);
    EXPECT_EQ(sizes[2 * slice + 9], 8.0F);
    EXPECT_EQ(sizes[3], 2.0F);
    EXPECT_EQ(sizes[4], 0.0F);
}

TEST(LabelToSize, TakesSlicesWithoutAParameter) {
    CNodeUnderTest node("LabelToSize");
    node.Input(0, MakeImage<float>(IMAGE_GREY_F, CSize(1, 1, 2), {1, 1}));
    EXPECT_EQ(ElementsOf<float>(node.Run().Output()), (std::vector<float>{1, 1}));
    EXPECT_EQ(ElementsOf<float>(node.Set("slice-wise", false).RunAgain().Output()), (std::vector<float>{2, 2}))
        << "Run itself reads the parameter";
    EXPECT_EQ(ElementsOf<float>(node.Set("slice-wise", 1).RunAgain().Output()), (std::vector<float>{1, 1}));
}

TEST(LabelToSize, KeepsAttributesAndDimensionCount) {
    CNodeUnderTest node("LabelToSize");
    auto image = Floats(2, 1, {1, 1});
    image->Attributes().SetEntry("a/b", new CValueLong(5));
    node.Input(0, std::move(image)).Run();
    EXPECT_EQ(node.Output().Size(), CSize(2, 1));
    EXPECT_EQ(node.Output().Attributes().EntryLong("a/b"), 5);
    EXPECT_EQ(ElementsOf<float>(node.InputImage(0)), (std::vector<float>{1, 1})) << "the input has changed";
}

TEST(LabelToSize, FailsForALabelThatNoTableCanHold) {
    CNodeUnderTest node("LabelToSize");
    node.Input(0, Floats(1, 1, {1e30F}));
    EXPECT_THROW(node.Run(), std::length_error);
    EXPECT_FALSE(node.HasOutput());
}

TEST(LabelToSize, CountsItsTableWithTheImages) {
    // A row of 16 bytes gives another one, beside a table of 4,000,000 bytes.
    CNodeUnderTest node("LabelToSize");
    node.Input(0, Floats(4, 1, {1000000, 1, 0, 1}));
    {
        const CRoomForImages room(4000015);
        EXPECT_THROW(node.Run(), CImageMemoryLimit);
        EXPECT_FALSE(node.HasOutput());
    }
    const CRoomForImages room(4000016);
    EXPECT_EQ(ElementsOf<float>(node.Run().Output()), (std::vector<float>{1, 2, 0, 2}));
    EXPECT_EQ(ImageMemoryInUse(), 32U) << "the table is gone";
}

/// The most memory that the process has had so far, in KiB.
long MostMemory() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(LabelToSize, TakesMemoryOnlyWhereLabelsAre) {
    const long before = MostMemory();
    for (const bool bySlices : {true, false}) { // tables of 1 GB
        EXPECT_EQ(Sizes(CSize(2, 1, 3), {250000000, 3, 0, 0, 3, 250000000}, bySlices),
                  bySlices ? (std::vector<float>{1, 1, 0, 0, 1, 1}) : (std::vector<float>{3, 3, 0, 0, 3, 3}));
    }
    EXPECT_LT(MostMemory() - before, 600000) << "half the tables; the address sanitizer itself takes an eighth";
}

TEST(LabelToSize, ServesEmptyImages) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0), CSize(huge, 0, huge), CSize(3, 3, 0)}) {
        for (const bool bySlices : {false, true}) {
            CNodeUnderTest node("LabelToSize");
            node.Set("slice-wise", bySlices).Input(0, ZeroImage(IMAGE_GREY_F, size)).Run();
            EXPECT_EQ(node.Output().Size(), size);
        }
    }
}

TEST(LabelToSize, FailsInItsOwnWordsInOrder) {
    CNodeUnderTest node("LabelToSize");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    node.Input(0, std::make_unique<CValueString>());
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 0 is not an image"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    for (const auto& type : TypesWithout({IMAGE_GREY_F})) {
        node.Input(0, ZeroImage(type, CSize(1, 1)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is not of type IMAGE_GREY_F"}));
    }
}

TEST(LabelToSize, AgreesWithThePlainLoopOnRandomVolumes) {
    std::mt19937 random(16);
    const std::vector<float> specials{0, -0.0F, 0.5F, -3, kInfinity, -kInfinity, 2.5F, 1e-45F};
    for (int round = 0; round < 400; ++round) {
        const auto below = [&](unsigned most) { return static_cast<unsigned>(random() % most); };
        const CSize size(below(70) + 1, below(8) + 1, below(4) + 1);
        const unsigned labels = below(9) + 1;
        auto image = ZeroImage(IMAGE_GREY_F, size);
        auto* elements = static_cast<float*>(image->Buffer().Data());
        const auto slice = static_cast<std::size_t>(size.x * size.y);
        for (std::size_t first = 0; first < size.Volume(); first += slice) {
            const bool empty = below(3) == 0;
            float last = 0;
            for (std::size_t i = first; !empty && i < first + slice; ++i) {
                if (below(4) == 0) {
                    last = below(5) == 0 ? specials[below(8)] : static_cast<float>(below(labels));
                }
                elements[i] = last;
            }
        }
        const bool bySlices = below(2) == 0;
        CNodeUnderTest node("LabelToSize");
        node.Set("slice-wise", bySlices).Input(0, std::move(image)).Run();
        EXPECT_EQ(ElementsOf<float>(node.Output()), CPlainSizes(node.InputImage(0), bySlices).out);
    }
}

} // namespace
} // namespace QUOR::test
