#include "NodeTest.h"

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Serialize";
constexpr std::int64_t kHuge = std::int64_t{1} << 40;

TEST(Serialize, DescribesItself) {
    const auto setup = DescriptionOf("Serialize");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Serialize");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PSerialize/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "deserialize|deserialise|make 1d|one-dimensional|direction|as vector|reshape data");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 1U);
    EXPECT_EQ(setup->EntryString("parameters/direction", ""), "Z");
    EXPECT_EQ(MetaText(*setup, "parameters/direction", "val/enValues"), "Z, Y, X");
    EXPECT_EQ(MetaText(*setup, "parameters/direction", "desc").find("The type of this parameter is of type string. "),
              0U);
    EXPECT_FALSE(setup->HasEntry("gui"));
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of same type containing the redistributed data.");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.find("BRIEF\nSerialize an image, that is, arrange the data into a one-dimensional\nvector.\n\n"),
              0U);
    EXPECT_NE(text.find("\nSEE ALSO\nDeserialize: transform the data back\n"), std::string::npos);
}

TEST(Serialize, LaysTheStorageOrderAlongEachAxis) {
    const struct {
        const char* direction;
        CSize size;
    } rows[] = {{"X", CSize(24, 1, 1)}, {"Y", CSize(1, 24, 1)}, {"Z", CSize(1, 1, 24)}};
    for (const auto& row : rows) {
        CNodeUnderTest node("Serialize");
        node.Set("direction", row.direction).Input(0, CodedImage(IMAGE_GREY_16, CSize(2, 3, 4))).Run();
        EXPECT_EQ(node.Output().Size(), row.size) << row.direction;
        EXPECT_EQ(ElementsOf<std::uint16_t>(node.Output()),
                  (std::vector<std::uint16_t>{0,   1,   10,  11,  20,  21,  100, 101, 110, 111, 120, 121,
                                              200, 201, 210, 211, 220, 221, 300, 301, 310, 311, 320, 321}));
    }
}

TEST(Serialize, TakesZWithoutADirection) {
    CNodeUnderTest node("Serialize");
    node.Set("direction", "X").Input(0, Bytes(2, 1, {7, 8}));
    EXPECT_EQ(node.Run().Output().Size(), CSize(2, 1, 1));
    EXPECT_EQ(node.Unset("direction").Run().Output().Size(), CSize(1, 1, 2));
    EXPECT_EQ(node.Set("direction", 3).Run().Output().Size(), CSize(1, 1, 2)) << "a number is no direction";
}

TEST(Serialize, AcceptsEveryTypeBitForBit) {
    std::mt19937 random(7);
    std::vector<IImage::CType> types = AllTypes();
    types.emplace_back("IMAGE_PAIR_16", std::uint16_t{2}, std::uint16_t{2}, true, std::uint16_t{90});
    for (const auto& type : types) {
        CNodeUnderTest node("Serialize");
        node.Set("direction", "Y").Input(0, RandomImage(type, CSize(5, 3, 2), random)).Run();
        EXPECT_EQ(node.Output().Type(), type);
        EXPECT_EQ(node.Output().Size(), CSize(1, 30, 1));
        EXPECT_EQ(BytesOf(node.Output()), BytesOf(node.InputImage(0))) << type.ToString();
    }
}

TEST(Serialize, GivesAnEmptyVectorForAnEmptyImage) {
    for (const CSize& size : {CSize(0, 3), CSize(2, 0, 3), CSize(kHuge, kHuge, 0)}) {
        CNodeUnderTest node("Serialize");
        node.Set("direction", "X").Input(0, ZeroImage(IMAGE_GREY_F, size)).Run();
        EXPECT_EQ(node.Output().Size(), CSize(0, 1, 1));
    }
}

TEST(Serialize, DropsAttributes) {
    CNodeUnderTest node("Serialize");
    auto image = Bytes(1, 1, {1});
    image->Attributes().SetEntry("a", new CValueLong(1));
    EXPECT_TRUE(node.Input(0, std::move(image)).Run().Output().Attributes().IsEmpty());
}

TEST(Serialize, FailsInItsOwnWords) {
    CNodeUnderTest node("Serialize");
    node.Set("direction", "z"); // every check of the input comes before that of the direction
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 0 is NULL"}));
    node.Input(0, std::make_unique<CValueMap>());
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "input 0 is not an image"}));
    EXPECT_EQ(node.NullImage(0).Failure(), (StFailure{kWhere, "input image is NULL"}));
    node.Input(0, Bytes(1, 1, {1}));
    EXPECT_EQ(node.Failure(), (StFailure{kWhere, "Unknown direction 'z'."}));
    EXPECT_EQ(node.Set("direction", "").Failure(), (StFailure{kWhere, "Unknown direction ''."}));
    EXPECT_EQ(node.Set("direction", "XY").Failure(), (StFailure{kWhere, "Unknown direction 'XY'."}));
    EXPECT_EQ(node.Set("direction", "%1").Failure(), (StFailure{kWhere, "Unknown direction '%1'."}));
}

} // namespace
} // namespace QUOR::test
