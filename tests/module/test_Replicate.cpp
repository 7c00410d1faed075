#include "NodeTest.h"

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Replicate::Run";
constexpr const char* kWrongType =
    "first image type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_BINARY_FG";
constexpr const char* kWrongAxis = "Parameter 'along' must be one of 'X', 'Y', or 'Z'.";
constexpr const char* kWrongCount = "Parameter 'count' must be greater than zero.";

std::vector<IImage::CType> RefusedTypes() {
    return TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG});
}

/// A volume of the extents 2 x 2 x 2 whose elements tell their coordinates.
ImagePtr Cube() { return MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(2, 2, 2), {0, 1, 10, 11, 100, 101, 110, 111}); }

TEST(Replicate, DescribesItself) {
    const auto setup = DescriptionOf("Replicate");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Replicate");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PReplicate/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "(none)");
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 2U);
    ASSERT_TRUE(setup->HasEntry("parameters/along", EnValType::String));
    EXPECT_EQ(setup->EntryString("parameters/along", ""), "X");
    EXPECT_EQ(MetaText(*setup, "parameters/along", "val/enValues"), "X, Y, Z");
    EXPECT_EQ(MetaText(*setup, "parameters/along", "desc").find("The type of this parameter is of type string. "), 0U);
    ASSERT_TRUE(setup->HasEntry("parameters/count", EnValType::Long));
    EXPECT_EQ(setup->EntryLong("parameters/count", 0), 1);
    EXPECT_EQ(MetaText(*setup, "parameters/count", "val/enValues"), "(none)");
    const std::string count = MetaText(*setup, "parameters/count", "desc");
    EXPECT_EQ(count.find("The type of this parameter is of type long. "), 0U);
    EXPECT_NE(count.find("By default it is set to \\a 1, i.e. output image equals\ninput image."), std::string::npos);
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F, IMAGE_GREY_8,\n"
                                                     "IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_BINARY_FG.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_EQ(setup->EntryString("description", "").Text().find("BRIEF\nReplicates an image in a given direction.\n\n"),
              0U);
}

TEST(Replicate, RepeatsTheWholeImageAlongEachAxis) {
    struct StRow {
        const char* along;
        CSize size;
        std::vector<std::uint8_t> elements;
    };
    const std::vector<StRow> rows{
        {"X", CSize(6, 2, 2), {0,   1,   0,   1,   0,   1,   10,  11,  10,  11,  10,  11,
                               100, 101, 100, 101, 100, 101, 110, 111, 110, 111, 110, 111}},
        {"Y", CSize(2, 6, 2), {0,   1,   10,  11,  0,   1,   10,  11,  0,   1,   10,  11,
                               100, 101, 110, 111, 100, 101, 110, 111, 100, 101, 110, 111}},
        {"Z", CSize(2, 2, 6), {0,   1,   10,  11,  100, 101, 110, 111, 0,   1,   10,  11,
                               100, 101, 110, 111, 0,   1,   10,  11,  100, 101, 110, 111}},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("Replicate");
        node.Set("along", row.along).Set("count", 3).Input(0, Cube()).Run();
        EXPECT_EQ(node.Output().Size(), row.size) << row.along;
        EXPECT_EQ(BytesOf(node.Output()), row.elements) << row.along;
    }
}

TEST(Replicate, OnceIsASeparateCopyWithoutAttributes) {
    CNodeUnderTest node("Replicate");
    auto image = Cube();
    image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
    node.Input(0, std::move(image)).Run();
    EXPECT_TRUE(SameImage(node.InputImage(0), node.Output()));
    EXPECT_NE(node.InputImage(0).Buffer().Data(), node.Output().Buffer().Data());
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
}

TEST(Replicate, ResultCountsAsAVolume) {
    CNodeUnderTest node("Replicate");
    EXPECT_EQ(node.Input(0, Bytes(2, 1, {1, 2})).Run().Output().Size(), CSize(2, 1, 1));
    EXPECT_EQ(node.Output().Size().dim, 3);
}

TEST(Replicate, RefusesAMissingInput) {
    const StFailure expected{kWhere, "input image is NULL"};
    CNodeUnderTest node("Replicate");
    EXPECT_EQ(node.Failure(), expected);
    EXPECT_EQ(node.NullImage(0).Failure(), expected);
}

TEST(Replicate, RefusesAValueThatIsNoImageInTheWordsOfTheHost) {
    CNodeUnderTest node("Replicate");
    const StFailure failure = node.Input(0, std::make_unique<CValueLong>(3)).Failure();
    EXPECT_EQ(failure.what, "the value must be a pointer to an image, but is an integer");
}

TEST(Replicate, RefusesOtherTypes) {
    for (const auto& type : RefusedTypes()) {
        CNodeUnderTest node("Replicate");
        const StFailure expected{kWhere, kWrongType};
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), expected) << type.ToString();
    }
}

TEST(Replicate, RefusesOtherAxes) {
    for (const char* along : {"x", "XY", "", " X", "X ", "W"}) {
        CNodeUnderTest node("Replicate");
        const StFailure expected{kWhere, kWrongAxis};
        EXPECT_EQ(node.Set("along", along).Input(0, Cube()).Failure(), expected) << along;
    }
}

TEST(Replicate, RefusesCountsBelowOne) {
    for (const int count : {0, -1, -2147483647 - 1}) {
        CNodeUnderTest node("Replicate");
        const StFailure expected{kWhere, kWrongCount};
        EXPECT_EQ(node.Set("count", count).Input(0, Cube()).Failure(), expected) << count;
    }
}

TEST(Replicate, ChecksTypeThenAxisThenCount) {
    CNodeUnderTest node("Replicate");
    node.Set("along", "W").Set("count", 0);
    EXPECT_EQ(node.Failure().what, "input image is NULL");
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_RGB_8, CSize(1, 1))).Failure().what, kWrongType);
    EXPECT_EQ(node.Input(0, Cube()).Failure().what, kWrongAxis);
    EXPECT_EQ(node.Set("along", "Y").Failure().what, kWrongCount);
}

TEST(Replicate, TakesCountsOfOtherKindsAsTheHostConvertsThem) {
    CNodeUnderTest node("Replicate");
    node.Input(0, Bytes(1, 1, {7}));
    EXPECT_EQ(node.Set("count", 2.9).Run().Output().Size().x, 2);
    EXPECT_EQ(node.Set("count", true).Run().Output().Size().x, 1);
    EXPECT_EQ(node.Set("count", "5").Run().Output().Size().x, 1);
}

TEST(Replicate, AbsentParametersResetTheFields) {
    CNodeUnderTest node("Replicate");
    node.Set("along", "Y").Set("count", 2).Input(0, Bytes(1, 1, {7})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(1, 2, 1));
    node.Unset("along").Unset("count").RunAgain();
    EXPECT_EQ(node.Output().Size(), CSize(1, 2, 1)) << "only NodeInit reads parameters";
    EXPECT_EQ(node.Run().Output().Size(), CSize(1, 1, 1));
    EXPECT_EQ(node.Set("count", 3).Run().Output().Size(), CSize(3, 1, 1));
}

TEST(Replicate, ServesEmptyImages) {
    constexpr std::int64_t huge = std::int64_t{1} << 31;
    struct StRow {
        CSize size;
        const char* along;
        CSize expected;
    };
    const std::vector<StRow> rows{
        {CSize(0, 3, 2), "X", CSize(0, 3, 2)},           {CSize(0, 3, 2), "Y", CSize(0, 12, 2)},
        {CSize(3, 2, 0), "Z", CSize(3, 2, 0)},           {CSize(3, 2, 0), "X", CSize(12, 2, 0)},
        {CSize(0, huge, 1), "Y", CSize(0, 4 * huge, 1)}, {CSize(0, 0), "Z", CSize(0, 0, 4)},
    };
    for (const StRow& row : rows) {
        CNodeUnderTest node("Replicate");
        node.Set("along", row.along).Set("count", 4).Input(0, ZeroImage(IMAGE_GREY_16, row.size)).Run();
        EXPECT_EQ(node.Output().Size(), row.expected) << row.size.ToString() << " along " << row.along;
    }
}

TEST(Replicate, RefusesExtentsBeyond64BitsInTheWordsOfTheImage) {
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    for (const int count : {2, 4, 2147483647}) {
        CNodeUnderTest node("Replicate");
        node.Set("along", "Y").Set("count", count).Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, huge, 1)));
        EXPECT_EQ(node.Failure().where, "CImage") << count;
    }
}

TEST(Replicate, KeepsTheBitsOfEveryFloat) {
    CNodeUnderTest node("Replicate");
    const std::vector<std::uint32_t> bits{0x7FA00001U, 0x80000000U};
    node.Set("count", 2).Input(0, MakeImage<std::uint32_t>(IMAGE_GREY_F, CSize(2, 1), bits)).Run();
    EXPECT_EQ(ElementsOf<std::uint32_t>(node.Output()),
              (std::vector<std::uint32_t>{0x7FA00001U, 0x80000000U, 0x7FA00001U, 0x80000000U}));
}

/// The mapping as it is told, byte by byte of an element.
std::vector<std::uint8_t> PlainReplicate(const CImage& image, char along, std::int64_t count) {
    const std::vector<std::uint8_t> in = BytesOf(image);
    const CSize& size = image.Size();
    const std::int64_t bytes = image.Type().pixelBytes;
    std::vector<std::uint8_t> out;
    for (std::int64_t z = 0; z < size.z * (along == 'Z' ? count : 1); ++z) {
        for (std::int64_t y = 0; y < size.y * (along == 'Y' ? count : 1); ++y) {
            for (std::int64_t x = 0; x < size.x * (along == 'X' ? count : 1); ++x) {
                const std::int64_t element = x % size.x + size.x * (y % size.y + size.y * (z % size.z));
                for (std::int64_t byte = 0; byte < bytes; ++byte) {
                    out.push_back(in[static_cast<std::size_t>(element * bytes + byte)]);
                }
            }
        }
    }
    return out;
}

TEST(Replicate, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(43);
    const std::vector<IImage::CType> types{IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
    for (int round = 0; round < 300; ++round) {
        const auto below = [&](unsigned most) { return static_cast<int>(random() % most + 1); };
        const bool isLong = round % 50 == 0; // a block of several pieces
        const bool isHigh = round % 5 == 0;  // rows of several pages of memory
        const CSize size(below(round % 10 == 0 ? 700 : 20), isLong ? 700 + below(300) : below(isHigh ? 120 : 7),
                         below(5));
        const char along = "XYZ"[random() % 3];
        // Many copies of few elements reach the longest pattern.
        const int count = below(isLong ? 3 : isHigh ? 9 : round % 24 == 0 ? 3000 : 40);
        CNodeUnderTest node("Replicate");
        node.Set("along", std::string(1, along).c_str()).Set("count", count);
        node.Input(0, RandomImage(types[random() % types.size()], size, random));
        const auto before = BytesOf(node.InputImage(0));
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before) << "the input has changed";
        ASSERT_EQ(BytesOf(node.Output()), PlainReplicate(node.InputImage(0), along, count))
            << count << " times along " << along << ", size " << size.ToString();
    }
}

} // namespace
} // namespace QUOR::test
