#include "NodeTest.h"

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Deserialize";
constexpr std::int64_t kHuge = std::int64_t{1} << 40;

std::string CountFailure(const std::string& from, const std::string& to, const std::string& given,
                         const std::string& wanted) {
    return "input and output image must have the same number of pixels, sizes are " + from + " and " + to +
           ", pixels are " + given + " and " + wanted;
}

CNodeUnderTest& SetSizes(CNodeUnderTest& node, int x, int y, int z) {
    return node.Set("size_x", x).Set("size_y", y).Set("size_z", z);
}

TEST(Deserialize, DescribesItself) {
    const auto setup = DescriptionOf("Deserialize");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Deserialize");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PDeserialize/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "serialize|serialise|image size|image dimensions|redistribute data|reshape data");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 3U);
    for (const char* key : {"parameters/size_x", "parameters/size_y", "parameters/size_z"}) {
        EXPECT_TRUE(setup->HasEntry(key, EnValType::Long));
        EXPECT_EQ(setup->EntryLong(key, -1), 0);
        EXPECT_EQ(MetaText(*setup, key, "desc").find("The type of this parameter is of type long. "), 0U);
        EXPECT_EQ(MetaText(*setup, key, "val/enValues"), "(none)");
    }
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image.");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "Optional second input image providing the new image dimensions.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_TRUE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", false));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"),
              "Output image containing the redistributed data, same image type as input 1.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nReshape the image to user-defined image dimensions.\n\n"
                        "The new image dimension can be provided by\n"
                        "parameters, or alternativly by the size of a second input image.\n"),
              0U);
    EXPECT_NE(text.find("\nSEE ALSO\nSerialize: transform data into one dimensional image (vector)\n"),
              std::string::npos);
}

TEST(Deserialize, CopiesWithoutNewExtents) {
    CNodeUnderTest node("Deserialize");
    node.Input(0, CodedImage(IMAGE_GREY_8, CSize(4, 3, 1))).Run();
    EXPECT_TRUE(SameImage(node.InputImage(0), node.Output()));
    node.Input(0, CodedImage(IMAGE_GREY_8, CSize(4, 3))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(4, 3, 1)) << "the result counts as three-dimensional";
}

TEST(Deserialize, UndoesSerializeInEveryDirection) {
    for (const char* direction : {"X", "Y", "Z"}) {
        CNodeUnderTest forth("Serialize");
        forth.Set("direction", direction).Input(0, CodedImage(IMAGE_GREY_16, CSize(2, 3, 4))).Run();
        CNodeUnderTest back("Deserialize");
        SetSizes(back, 2, 3, 4).Input(0, ImagePtr(new CImage(forth.Output()))).Run();
        EXPECT_TRUE(SameImage(forth.InputImage(0), back.Output()));
    }
}

TEST(Deserialize, ReplacesSingleExtents) {
    CNodeUnderTest node("Deserialize");
    node.Set("size_x", 6).Set("size_y", 2).Input(0, Bytes(4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})).Run();
    EXPECT_EQ(node.Output().Size(), CSize(6, 2, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(node.Unset("size_x").Set("size_y", 1).Set("size_z", 3).Run().Output().Size(), CSize(4, 1, 3));
    EXPECT_EQ(node.Set("size_y", 1.9).Run().Output().Size(), CSize(4, 1, 3)) << "a fraction is cut";
}

TEST(Deserialize, TakesAllExtentsOfTheSizeImage) {
    CNodeUnderTest node("Deserialize");
    SetSizes(node, 9, 9, 9).Input(0, Bytes(4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    node.Input(1, ZeroImage(IMAGE_RGB_8, CSize(2, 6))).Run();
    EXPECT_EQ(node.Output().Type(), IMAGE_GREY_8);
    EXPECT_EQ(node.Output().Size(), CSize(2, 6, 1));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST(Deserialize, PassesOverASizeValueWithoutAnImage) {
    CNodeUnderTest node("Deserialize");
    SetSizes(node, 3, 4, 1).Input(0, CodedImage(IMAGE_GREY_8, CSize(4, 3))).NullImage(1).Run();
    EXPECT_EQ(node.Output().Size(), CSize(3, 4, 1));
}

TEST(Deserialize, AcceptsEveryTypeBitForBit) {
    std::mt19937 random(8);
    for (const auto& type : AllTypes()) {
        CNodeUnderTest node("Deserialize");
        SetSizes(node, 30, 1, 1).Input(0, RandomImage(type, CSize(5, 3, 2), random)).Run();
        EXPECT_EQ(node.Output().Type(), type);
        EXPECT_EQ(BytesOf(node.Output()), BytesOf(node.InputImage(0))) << type.ToString();
    }
}

TEST(Deserialize, ServesEmptyImages) {
    CNodeUnderTest node("Deserialize");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(kHuge, kHuge, 0)));
    EXPECT_EQ(node.Run().Output().Size(), CSize(kHuge, kHuge, 0));
    EXPECT_EQ(node.Input(1, ZeroImage(IMAGE_GREY_8, CSize(0, 7))).Run().Output().Size(), CSize(0, 7, 1));
    node.NoInput(1).Set("size_z", 5);
    EXPECT_EQ(node.Failure().where, kWhere) << "2^80 * 5 elements against none";
}

TEST(Deserialize, DropsAttributes) {
    CNodeUnderTest node("Deserialize");
    auto image = Bytes(1, 1, {1});
    image->Attributes().SetEntry("a", new CValueLong(1));
    EXPECT_TRUE(node.Input(0, std::move(image)).Run().Output().Attributes().IsEmpty());
}

TEST(Deserialize, FailsInItsOwnWordsInOrder) {
    CNodeUnderTest node("Deserialize");
    node.Input(1, std::make_unique<CValueLong>(1)).Set("size_x", 6);
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input image is NULL"}));
    node.Input(0, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 0 is not an image"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    node.Input(0, CodedImage(IMAGE_GREY_8, CSize(4, 3, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 1 is not an image"}));
    EXPECT_EQ(node.NoInput(1).Failure(), (StFailure{kWhere, CountFailure("(4, 3, 1)", "(6, 3, 1)", "12", "18")}));
    node.Input(0, CodedImage(IMAGE_GREY_8, CSize(4, 3)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, CountFailure("(4, 3)", "(6, 3, 1)", "12", "18")}));
    node.Input(1, ZeroImage(IMAGE_GREY_8, CSize(5, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, CountFailure("(4, 3)", "(5, 1, 1)", "12", "5")}));
}

TEST(Deserialize, CountsNoElementsInAnEmptyImage) {
    CNodeUnderTest node("Deserialize");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 3))).Input(1, ZeroImage(IMAGE_GREY_8, CSize(1, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, CountFailure("(0, 3)", "(1, 1, 1)", "0", "1")}));
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(1, 1))).Input(1, ZeroImage(IMAGE_GREY_8, CSize(2, 2, 0)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, CountFailure("(1, 1)", "(2, 2, 0)", "1", "0")}));
}

TEST(Deserialize, ComparesProductsOfNegativeExtents) {
    CNodeUnderTest node("Deserialize");
    SetSizes(node, -4, 3, 1).Input(0, CodedImage(IMAGE_GREY_8, CSize(4, 3, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, CountFailure("(4, 3, 1)", "(-4, 3, 1)", "12", "-12")}));
    SetSizes(node, -4, -3, 1); // the counts agree, but no image has such extents
    EXPECT_EQ(node.Failure(), (StFailure{"CImage", "an image can't have the negative extents (-4, -3, 1)"}));
}

TEST(Deserialize, FailsForACountBeyond64Bits) {
    CNodeUnderTest node("Deserialize");
    // 2^30 * 2^30 * 2^4 = 2^64, which 64 bits show as 0: still no match for an empty image
    SetSizes(node, 1 << 30, 1 << 30, 16).Input(0, ZeroImage(IMAGE_GREY_8, CSize(0, 1, 1)));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, CountFailure("(0, 1, 1)", "(1073741824, 1073741824, 16)", "0", "0")}));
}

} // namespace
} // namespace QUOR::test
