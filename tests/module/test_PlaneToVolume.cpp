#include "NodeTest.h"

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) PlaneToVolume::Run";
const StFailure kInconsistent{kWhere, "inconsistent image dimensions!, second image plane size must be smaller!"};

TEST(PlaneToVolume, DescribesItself) {
    const auto setup = DescriptionOf("PlaneToVolume");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "PlaneToVolume");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PPlaneToVolume/index.html");
    EXPECT_FALSE(setup->HasEntry("keywords"));
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 0U);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_F or IMAGE_GREY_8.");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"),
              "Second input image providing the new image dimensions width and height.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_FALSE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"),
              "Output image of the same type as the input image, containing the redistributed data.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nNode to redistribute the image data to new, user-defined image dimensions.\n\n"), 0U);
    EXPECT_NE(text.find("The remaining image pixels are omitted."), std::string::npos);
}

TEST(PlaneToVolume, FoldsTheStorageOrderIntoPlanes) {
    CNodeUnderTest node("PlaneToVolume");
    node.Input(0, CodedImage(IMAGE_GREY_8, CSize(6, 4, 1))).Input(1, ZeroImage(IMAGE_RGB_8, CSize(3, 2, 7))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(3, 2, 4));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{0,  1,  2,  3,  4,  5,  10, 11, 12, 13, 14, 15,
                                                                 20, 21, 22, 23, 24, 25, 30, 31, 32, 33, 34, 35}));
}

TEST(PlaneToVolume, DropsWhatFillsNoPlane) {
    CNodeUnderTest node("PlaneToVolume");
    node.Input(0, Floats(5, 2, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9})).Input(1, Bytes(3, 1, {0, 0, 0})).Run();
    EXPECT_EQ(node.Output().Type(), IMAGE_GREY_F);
    EXPECT_EQ(node.Output().Size(), CSize(3, 1, 3));
    EXPECT_EQ(ElementsOf<float>(node.Output()), (std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(PlaneToVolume, CopiesForAPlaneOfTheSameSize) {
    CNodeUnderTest node("PlaneToVolume");
    auto image = CodedImage(IMAGE_GREY_8, CSize(3, 2, 2));
    image->Attributes().SetEntry("a", new CValueLong(1));
    node.Input(0, std::move(image)).Input(1, ZeroImage(IMAGE_GREY_64, CSize(3, 2))).Run();
    EXPECT_TRUE(SameImage(node.InputImage(0), node.Output()));
    EXPECT_TRUE(node.Output().Attributes().IsEmpty());
}

TEST(PlaneToVolume, KeepsTheBitsOfEveryFloat) {
    std::mt19937 random(9);
    CNodeUnderTest node("PlaneToVolume");
    node.Input(0, RandomImage(IMAGE_GREY_F, CSize(12, 5), random)).Input(1, ZeroImage(IMAGE_GREY_8, CSize(4, 5))).Run();
    EXPECT_EQ(BytesOf(node.Output()), BytesOf(node.InputImage(0)));
}

TEST(PlaneToVolume, FailsInItsOwnWordsInOrder) {
    CNodeUnderTest node("PlaneToVolume");
    const StFailure missing{kWhere, "input image is NULL"};
    EXPECT_EQ(node.Failure(), missing);
    node.Input(0, ZeroImage(IMAGE_GREY_16, CSize(2, 2)));
    EXPECT_EQ(node.Failure(), missing);
    EXPECT_EQ(node.NullImage(1).Failure(), missing);
    node.Input(1, ZeroImage(IMAGE_GREY_8, CSize(3, 2)));
    for (const auto& type : TypesWithout({IMAGE_GREY_F, IMAGE_GREY_8})) {
        node.Input(0, ZeroImage(type, CSize(2, 2)));
        EXPECT_EQ(node.Failure(),
                  (StFailure{kWhere, "first input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, "}));
    }
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(5, 1)));
    EXPECT_EQ(node.Failure(), kInconsistent);
    EXPECT_EQ(node.NullImage(0).Failure(), missing);
}

TEST(PlaneToVolume, RefusesAnImageThatIsNone) {
    CNodeUnderTest node("PlaneToVolume");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 2))).Input(1, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer");
}

TEST(PlaneToVolume, RefusesPlanesThatItCannotCount) {
    CNodeUnderTest node("PlaneToVolume");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(4, 4)));
    const std::int64_t wrapsToThree = (std::int64_t{1} << 32) + 3;
    for (const CSize& plane : {CSize(0, 3), CSize(3, 0), CSize(3, 0, 5), CSize(wrapsToThree, 0), CSize(65536, 65536, 0),
                               CSize(65536, 32768, 0)}) {
        node.Input(1, ZeroImage(IMAGE_GREY_8, plane));
        EXPECT_EQ(node.Failure(), kInconsistent) << plane.ToString();
    }
}

TEST(PlaneToVolume, CountsElementsIn32Bits) {
    // 2^32 + 7 elements count as 7. The block is never touched but at its start, so that it costs no memory.
    auto image = std::make_unique<CImage>(IMAGE_GREY_8, CSize((std::int64_t{1} << 32) + 7, 1), CSize(0, 0, 0));
    std::memset(image->Buffer().Data(), 5, 7);
    CNodeUnderTest node("PlaneToVolume");
    node.Input(0, std::move(image)).Input(1, ZeroImage(IMAGE_GREY_8, CSize(3, 1))).Run();
    EXPECT_EQ(node.Output().Size(), CSize(3, 1, 2));
    EXPECT_EQ(BytesOf(node.Output()), (std::vector<std::uint8_t>{5, 5, 5, 5, 5, 5}));
}

} // namespace
} // namespace QUOR::test
