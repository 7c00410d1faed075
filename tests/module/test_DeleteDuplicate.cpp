#include "NodeTest.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <set>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "DeleteDuplicate";
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// A line with its position, ordered as the node tells: by elements, then by position.
template <class T> struct StRecord {
    std::vector<T> values;
    std::int32_t index;

    friend bool operator<(const StRecord& a, const StRecord& b) {
        if (std::lexicographical_compare(a.values.begin(), a.values.end(), b.values.begin(), b.values.end())) {
            return true;
        }
        if (std::lexicographical_compare(b.values.begin(), b.values.end(), a.values.begin(), a.values.end())) {
            return false;
        }
        return a.index < b.index;
    }
};

/// The node's outcome, found with owned records in an ordered multiset.
template <class T> struct StOutcome {
    std::vector<std::vector<T>> lines;
    std::vector<float> counts; ///< of every line of the input

    StOutcome(const CImage& image, bool columns) {
        const std::vector<T> in = ElementsOf<T>(image);
        const CSize& size = image.Size();
        const std::int64_t count = columns ? size.x : size.y;
        const std::int64_t length = columns ? size.y : size.x;
        std::multiset<StRecord<T>> records;
        std::vector<std::vector<T>> all;
        for (std::int64_t i = 0; i < count; ++i) {
            std::vector<T> line;
            for (std::int64_t k = 0; k < length; ++k) {
                line.push_back(in[static_cast<std::size_t>(columns ? i + size.x * k : k + size.x * i)]);
            }
            records.insert({line, static_cast<std::int32_t>(i)});
            all.push_back(line);
        }
        counts.assign(all.size(), 1.0F);
        auto representative = records.begin();
        for (auto record = std::next(records.begin()); record != records.end(); ++record) {
            if (record->values == representative->values) {
                counts[static_cast<std::size_t>(representative->index)] += 1.0F;
                counts[static_cast<std::size_t>(record->index)] = 0.0F;
            } else {
                representative = record;
            }
        }
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (counts[i] != 0.0F) {
                lines.push_back(all[i]);
            }
        }
    }

    std::vector<T> Elements(bool columns) const {
        std::vector<T> out;
        const std::size_t outer = columns ? lines.front().size() : lines.size();
        const std::size_t inner = columns ? lines.size() : lines.front().size();
        for (std::size_t y = 0; y < outer; ++y) {
            for (std::size_t x = 0; x < inner; ++x) {
                out.push_back(columns ? lines[x][y] : lines[y][x]);
            }
        }
        return out;
    }

    std::vector<float> KeptCounts() const {
        std::vector<float> kept = counts;
        std::erase(kept, 0.0F);
        return kept;
    }
};

CNodeUnderTest& Configure(CNodeUnderTest& node, const char* along, const char* sizeCount) {
    return node.Set("along", along).Set("size_count", sizeCount);
}

TEST(DeleteDuplicate, DescribesItself) {
    const auto setup = DescriptionOf("DeleteDuplicate");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "DeleteDuplicate");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PDeleteDuplicate/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "delete|remove|duplicates|rows|cols|columns|make unique");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 3U);
    EXPECT_EQ(setup->EntryString("parameters/along", ""), "X");
    EXPECT_EQ(MetaText(*setup, "parameters/along", "val/enValues"), "X, Y");
    EXPECT_EQ(MetaText(*setup, "parameters/along", "desc"),
              "The type of this parameter is of type string. 'X' for columns, 'Y' for rows. default: 'X'.");
    EXPECT_EQ(setup->EntryString("parameters/size_count", ""), "SIZE_OF_INPUT");
    EXPECT_EQ(MetaText(*setup, "parameters/size_count", "val/enValues"), "SIZE_OF_INPUT, SIZE_OF_RESULT");
    EXPECT_EQ(MetaText(*setup, "parameters/size_count", "desc"),
              "The type of this parameter is of type string. SIZE_OF_INPUT for including non-unique row/column counts "
              "(zeroed),\nSIZE_OF_RESULT for excluding non-unique rows/columns");
    EXPECT_TRUE(setup->HasEntry("parameters/verbose", EnValType::Bool));
    EXPECT_EQ(MetaText(*setup, "parameters/verbose", "gui/boolean"), "togglebutton");
    EXPECT_EQ(MetaText(*setup, "parameters/verbose", "desc"), "(none)");
    EXPECT_EQ(setup->EntryString("gui/order/0", ""), "along");
    EXPECT_EQ(setup->EntryString("gui/order/1", ""), "size_count");
    EXPECT_EQ(setup->EntryString("gui/order/2", ""), "verbose");
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"),
              "Input image of type GREY_F, GREY_8, GREY_16, GREY_32, or MONO_BINARY.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Image with unique rows/columns.");
    EXPECT_EQ(MetaText(*setup, "outputs/1", "label"),
              "Occurance count image. Has either same size as input size in X/Y direction,\n"
              "when size_count == SIZE_OF_INPUT', or has size of unique rows/columns\n"
              "when size_count == SIZE_OF_RESULT.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nDelete/detect duplicate rows or columns in an image.\n"), 0U);
    EXPECT_NE(text.find("can be useful for filtering tables (in form of images)"), std::string::npos);
    EXPECT_NE(text.find("\nNOTE\nWorks only for 2D images, for an 3D image, only the first slice is processed\n"),
              std::string::npos);
}

TEST(DeleteDuplicate, PublishesItsFieldsAsDefaults) {
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "Y", "SIZE_OF_RESULT").Set("verbose", true).Init();
    CValueMap setup;
    node.Node().GetPluginSetup(setup);
    EXPECT_EQ(setup.EntryString("parameters/along", ""), "Y");
    EXPECT_EQ(setup.EntryString("parameters/size_count", ""), "SIZE_OF_RESULT");
    EXPECT_TRUE(setup.EntryBool("parameters/verbose"));
}

TEST(DeleteDuplicate, RemovesRepeatedColumns) {
    const std::vector<std::uint8_t> in{5, 3, 5, 3, 5, //
                                       1, 2, 1, 2, 9};
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "X", "SIZE_OF_INPUT").Input(0, Bytes(5, 2, in)).Run();
    EXPECT_EQ(node.Output().Size(), CSize(3, 2, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{5, 3, 5, 1, 2, 9}));
    EXPECT_EQ(node.Output(1).Type(), IMAGE_GREY_F);
    EXPECT_EQ(node.Output(1).Size(), CSize(5, 1, 1));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{2, 2, 0, 0, 1}));
    Configure(node, "X", "SIZE_OF_RESULT").Run();
    EXPECT_EQ(node.Output(1).Size(), CSize(3, 1, 1));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{2, 2, 1}));
}

TEST(DeleteDuplicate, RemovesRepeatedRows) {
    const std::vector<std::uint8_t> in{7, 8, //
                                       1, 2, //
                                       7, 8, //
                                       7, 8};
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "Y", "SIZE_OF_INPUT").Input(0, Bytes(2, 4, in)).Run();
    EXPECT_EQ(node.Output().Size(), CSize(2, 2, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{7, 8, 1, 2}));
    EXPECT_EQ(node.Output(1).Size(), CSize(1, 4, 1));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{3, 1, 0, 0}));
    Configure(node, "Y", "SIZE_OF_RESULT").Run();
    EXPECT_EQ(node.Output(1).Size(), CSize(1, 2, 1));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{3, 1}));
}

TEST(DeleteDuplicate, ServesSingleAndEqualLines) {
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "X", "SIZE_OF_RESULT").Input(0, Bytes(1, 3, {4, 5, 6})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{4, 5, 6}));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{1}));
    node.Input(0, Bytes(4, 1, {9, 9, 9, 9})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(1, 1, 1));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{4}));
    Configure(node, "X", "SIZE_OF_INPUT").Run();
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{4, 0, 0, 0}));
}

TEST(DeleteDuplicate, KeepsDistinctValuesOfASingleRowInTheirOrder) {
    CNodeUnderTest node("DeleteDuplicate");
    node.Input(0, Bytes(6, 1, {9, 1, 9, 5, 1, 0})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{9, 1, 5, 0}));
}

TEST(DeleteDuplicate, LooksAtTheFirstSliceOnly) {
    CNodeUnderTest node("DeleteDuplicate");
    node.Input(0, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(2, 1, 2), {3, 3, 4, 5})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(1, 1, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{3}));
    EXPECT_EQ(node.Output(1).Size(), CSize(2, 1, 1));
}

TEST(DeleteDuplicate, TakesZerosOfBothSignsAsEqual) {
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "Y", "SIZE_OF_INPUT").Input(0, Floats(2, 3, {-0.0F, 1, 0.0F, 1, -0.0F, 2})).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
              (std::vector<std::uint32_t>{0x80000000U, 0x3F800000U, 0x80000000U, 0x40000000U}));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{2, 0, 1}));
}

TEST(DeleteDuplicate, NeverTakesALineWithANaNAsADuplicate) {
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "Y", "SIZE_OF_INPUT").Input(0, Floats(1, 3, {kNaN, kNaN, kNaN})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(1, 3, 1));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{1, 1, 1}));
}

TEST(DeleteDuplicate, ComparesNeighboursOnlyWhereANaNBreaksTheOrder) {
    // Inserted 1, NaN, 1: the NaN is neither less nor greater, so that its index places it behind the first line and
    // the third line's index behind the NaN. The equal lines aren't neighbours and both stay.
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "Y", "SIZE_OF_INPUT").Input(0, Floats(1, 3, {1, kNaN, 1})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{1, 1, 1}));
    EXPECT_EQ(node.Output().Size(), CSize(1, 3, 1));
    // Without the NaN between them they are.
    node.Input(0, Floats(1, 3, {1, 1, kNaN})).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{2, 0, 1}));
}

TEST(DeleteDuplicate, StopsCountingWhereSinglePrecisionDoes) {
    constexpr std::int64_t lines = 16777218;
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "X", "SIZE_OF_RESULT").Input(0, ZeroImage(IMAGE_GREY_8, CSize(lines, 1))).Run();
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{16777216.0F}));
}

TEST(DeleteDuplicate, AcceptsItsTypesAndRefusesTheOthers) {
    for (const auto& type : {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}) {
        CNodeUnderTest node("DeleteDuplicate");
        node.Input(0, CodedImage(type, CSize(3, 2))).Run();
        EXPECT_TRUE(SameImage(*CodedImage(type, CSize(3, 2, 1)), node.Output()));
        EXPECT_EQ(node.Output(1).Type(), IMAGE_GREY_F);
        EXPECT_EQ(ElementsOf<float>(node.Output(1)), (std::vector<float>{1, 1, 1}));
    }
    for (const auto& type : {IMAGE_GREY_64, IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8}) {
        CNodeUnderTest node("DeleteDuplicate");
        node.Set("along", "Z").Input(0, ZeroImage(type, CSize(3, 2)));
        EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, "
                                                     "IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_MONO_BINARY."}));
    }
}

TEST(DeleteDuplicate, FailsInItsOwnWordsInOrder) {
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "x", "size_of_input");
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "first input image is NULL"}));
    node.Input(0, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "first input is not an image"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "first input image is NULL"}));
    node.Input(0, ZeroImage(IMAGE_GREY_D, CSize(3, 0, 2147483647)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "first input image: at least one dimension is zero: (3, 0, "
                                                 "2147483647)"}));
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 2)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "parameter 'along' can only be 'X' or 'Y'"}));
    node.Set("along", "Y");
    EXPECT_EQ(node.Failure(),
              (StFailure{kWhere, "parameter 'size_count' can only be 'SIZE_OF_INPUT' or 'SIZE_OF_RESULT'"}));
    EXPECT_EQ(node.Set("along", "").Failure(), (StFailure{kWhere, "parameter 'along' can only be 'X' or 'Y'"}));
    EXPECT_EQ(node.Set("along", "XY").Failure(), (StFailure{kWhere, "parameter 'along' can only be 'X' or 'Y'"}));
}

TEST(DeleteDuplicate, RefusesExtentsThatItsIndicesCannotCount) {
    // The block is never touched, so that it costs no memory.
    for (const CSize& size : {CSize(2147483647, 1), CSize(1, 2147483647)}) {
        CNodeUnderTest node("DeleteDuplicate");
        node.Input(0, std::make_unique<CImage>(IMAGE_GREY_D, size, CSize(0, 0, 0)));
        EXPECT_EQ(node.Failure(),
                  (StFailure{kWhere, "Image too large. Maximal image size X and Y is 2^31-1: " + size.ToString()}));
    }
}

TEST(DeleteDuplicate, KeepsItsFieldsWithoutTheirKeys) {
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "Y", "SIZE_OF_RESULT").Input(0, Bytes(1, 2, {4, 4})).Run();
    EXPECT_EQ(node.Unset("along").Unset("size_count").Run().Output().Size(), CSize(1, 1, 1));
    EXPECT_EQ(node.Output(1).Size(), CSize(1, 1, 1));
}

TEST(DeleteDuplicate, PrintsNothingAndDropsAttributes) {
    const CCapturedOutput printed(std::cout);
    CNodeUnderTest node("DeleteDuplicate");
    auto image = Bytes(2, 1, {4, 4});
    image->Attributes().SetEntry("a", new CValueLong(1));
    node.Set("verbose", true).Input(0, std::move(image)).Run();
    EXPECT_EQ(printed.Text(), "");
    EXPECT_TRUE(node.Output(0).Attributes().IsEmpty());
    EXPECT_TRUE(node.Output(1).Attributes().IsEmpty());
}

template <class T> void ExpectPlainOutcome(const CImage& image, const CNodeUnderTest& node, bool columns, bool all) {
    const StOutcome<T> expected(image, columns);
    EXPECT_EQ(BytesOf(node.Output()),
              BytesOf(*MakeImage<T>(image.Type(), node.Output().Size(), expected.Elements(columns))));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)), all ? expected.counts : expected.KeptCounts());
}

TEST(DeleteDuplicate, AgreesWithOrderedRecordsOnRandomImages) {
    std::mt19937 random(12);
    const std::vector<float> specials{0.0F, -0.0F, 1.0F, 1e-45F, std::numeric_limits<float>::infinity()};
    const std::vector<IImage::CType> types{IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
    for (int round = 0; round < 1500; ++round) {
        const auto below = [&](std::size_t most) { return random() % most; };
        const CSize size(static_cast<std::int64_t>(below(40) + 1), static_cast<std::int64_t>(below(6) + 1));
        const bool columns = below(2) == 0;
        const bool all = below(2) == 0;
        const bool withNaN = below(3) == 0;
        const IImage::CType type = types[below(types.size())];
        auto image = ZeroImage(type, columns ? size : CSize(size.y, size.x));
        const std::unique_ptr<IAccess> access(image->CreateAccess());
        for (std::int64_t y = 0; y < image->Size().y; ++y) {
            for (std::int64_t x = 0; x < image->Size().x; ++x) {
                const float number = withNaN && below(6) == 0 ? kNaN : specials[below(specials.size())];
                access->Set(x, y, 0, 0, type == IMAGE_GREY_F ? number : static_cast<double>(below(2) * 200));
            }
        }
        CNodeUnderTest node("DeleteDuplicate");
        Configure(node, columns ? "X" : "Y", all ? "SIZE_OF_INPUT" : "SIZE_OF_RESULT");
        node.Input(0, std::move(image)).Run();
        const CImage& input = node.InputImage(0);
        if (type == IMAGE_GREY_F) {
            ExpectPlainOutcome<float>(input, node, columns, all);
        } else if (type == IMAGE_GREY_16) {
            ExpectPlainOutcome<std::uint16_t>(input, node, columns, all);
        } else if (type == IMAGE_GREY_32) {
            ExpectPlainOutcome<std::uint32_t>(input, node, columns, all);
        } else {
            ExpectPlainOutcome<std::uint8_t>(input, node, columns, all);
        }
    }
}

TEST(DeleteDuplicate, FindsLongLinesThatDifferInOneElement) {
    std::mt19937 random(13);
    const CSize size(301, 200);
    auto image = RandomImage(IMAGE_GREY_8, size, random);
    auto* bytes = static_cast<std::uint8_t*>(image->Buffer().Data());
    for (std::int64_t y = 1; y < size.y; ++y) {
        std::copy_n(bytes, size.x, bytes + y * size.x); // all rows equal to the first ...
        if (y % 3 == 0) {
            bytes[y * size.x + y] ^= 1U; // ... but for one bit in every third
        }
    }
    CNodeUnderTest node("DeleteDuplicate");
    Configure(node, "Y", "SIZE_OF_RESULT").Input(0, std::move(image)).Run();
    EXPECT_EQ(node.Output().Size(), CSize(301, 67, 1));
    EXPECT_EQ(ElementsOf<float>(node.Output(1)).front(), 134.0F);
}

} // namespace
} // namespace QUOR::test
