#include "NodeTest.h"

#include <algorithm>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Extract";
const StFailure kMissing{kWhere, "input image is NULL"};
const StFailure kNoImage{kWhere, "input 0 is not an image"};
const StFailure kNoMap{kWhere, "The second input is not a ValueMap"};
const StFailure kWrongType{kWhere, "input image is not of type IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, "
                                   "IMAGE_GREY_64, IMAGE_GREY_F, IMAGE_BINARY_FG, or IMAGE_RGB_8."};

using Grid = std::vector<std::uint8_t>;

CSize WithDim(CSize size, int dim) {
    size.SetDim(dim);
    return size;
}

/// A 4 x 3 image with the elements 0 1 2 3 / 10 11 12 13 / 20 21 22 23.
ImagePtr Plane() { return CodedImage(IMAGE_GREY_8, CSize(4, 3)); }

/// A 3 x 2 x 2 image with the elements 0 1 2 / 10 11 12 // 100 101 102 / 110 111 112.
ImagePtr Volume() { return CodedImage(IMAGE_GREY_8, CSize(3, 2, 2)); }

using Numbers = std::vector<std::pair<const char*, int>>;

std::unique_ptr<CValueMap> MapOf(const Numbers& numbers) {
    auto map = std::make_unique<CValueMap>();
    for (const auto& [key, number] : numbers) {
        map->SetEntry(key, new CValueLong(number));
    }
    return map;
}

/// What the node makes of an image with the given parameters and, if there is one, the map.
struct StExtraction {
    StExtraction(ImagePtr image, const Numbers& parameters, std::unique_ptr<CValue> map = nullptr) : node("Extract") {
        for (const auto& [key, number] : parameters) {
            node.Set(key, number);
        }
        node.Input(0, std::move(image));
        if (map != nullptr) {
            node.Input(1, std::move(map));
        }
        node.Run();
    }
    const CImage& Image() const { return node.Output(); }
    const CSize& Size() const { return Image().Size(); }
    Grid Elements() const { return BytesOf(Image()); }
    const CValueMap& Attributes() const { return Image().Attributes(); }

    CNodeUnderTest node;
};

TEST(Extract, DescribesItself) {
    const auto setup = DescriptionOf("Extract");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Extract");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PExtract/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "crop|extract|cut|region");

    const std::vector<std::string> keys{"size_x", "size_y", "size_z", "offset_x", "offset_y", "offset_z", "verbose"};
    ASSERT_EQ(setup->Entry("parameters", true)->Map()->Size(), keys.size());
    ASSERT_EQ(setup->Entry("gui/order", true)->Map()->Size(), keys.size());
    for (std::size_t number = 0; number < keys.size(); ++number) {
        const std::string entry = "parameters/" + keys[number];
        const bool isFlag = keys[number] == "verbose";
        EXPECT_EQ(setup->EntryString(CValue_Key("gui/order/" + std::to_string(number)), "").Text(), keys[number]);
        ASSERT_TRUE(setup->HasEntry(CValue_Key(entry), isFlag ? EnValType::Bool : EnValType::Long)) << entry;
        EXPECT_EQ(setup->EntryLong(CValue_Key(entry), 7), keys[number].starts_with("size") ? -1 : 0) << entry;
        EXPECT_EQ(MetaText(*setup, entry, "gui/boolean"), "(none)");
        const std::string start = std::string("The type of this parameter is of type ") + (isFlag ? "bool" : "long");
        EXPECT_TRUE(MetaText(*setup, entry, "desc").starts_with(start + ". ")) << entry;
    }
}

TEST(Extract, DescribesItsPorts) {
    const auto setup = DescriptionOf("Extract");
    ASSERT_EQ(setup->Entry("inputs", true)->Map()->Size(), 2U);
    ASSERT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("inputs/0", true)), nullptr);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_8, IMAGE_GREY_16,\n"
                                                     "IMAGE_GREY_32, IMAGE_GREY_F, IMAGE_BINARY_FG, or IMAGE_RGB_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    ASSERT_TRUE(setup->HasEntry("inputs/1", EnValType::Map));
    EXPECT_TRUE(setup->Entry("inputs/1", true)->Map()->IsEmpty());
    EXPECT_TRUE(MetaText(*setup, "inputs/1", "label").starts_with("Map with cropping details."));
    EXPECT_FALSE(setup->Entry("inputs/1", true)->Meta().EntryBool("optional", true)) << "although it may be absent";
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("outputs/0", true)), nullptr);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
}

TEST(Extract, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Extract")->EntryString("description", "").Text();
    EXPECT_TRUE(text.starts_with("BRIEF\nExtracts a rectangle or cuboid from an image.\n\n"));
    std::size_t position = 0;
    for (const char* header :
         {"\nINPUT 0\n", "\nINPUT 1\n", "\nOUTPUT 0\n", "\nPARAMETER size_x\n", "\nPARAMETER size_y\n",
          "\nPARAMETER size_z\n", "\nPARAMETER offset_x\n", "\nPARAMETER offset_y\n", "\nPARAMETER offset_z\n",
          "\nPARAMETER verbose\n", "\nKEYWORDS\ncrop, extract, cut, region\n", "\nSEE ALSO\nAutoCrop"}) {
        const std::size_t found = text.find(header, position);
        ASSERT_NE(found, std::string::npos) << header;
        position = found;
    }
}

TEST(Extract, GivesTheWholeImageByDefault) {
    for (const bool volume : {false, true}) {
        const StExtraction all(volume ? Volume() : Plane(), {});
        EXPECT_TRUE(SameImage(all.node.InputImage(0), all.Image()));
        EXPECT_NE(all.Image().Buffer().Data(), all.node.InputImage(0).Buffer().Data());
    }
}

TEST(Extract, FitsTheRegionIntoAPlane) {
    const struct {
        Numbers parameters;
        CSize size;
        Grid elements;
    } rows[] = {
        {{{"offset_x", 1}, {"size_x", 2}, {"offset_y", 1}, {"size_y", 1}}, CSize(2, 1), {11, 12}},
        {{{"offset_x", -1}}, CSize(1, 3), {3, 13, 23}},
        {{{"offset_x", -4}, {"size_x", 1}}, CSize(1, 3), {0, 10, 20}},
        {{{"offset_x", -5}, {"size_x", 1}}, CSize(1, 3), {0, 10, 20}},
        {{{"offset_x", 3}}, CSize(1, 3), {3, 13, 23}},
        {{{"offset_x", 4}, {"size_x", 3}}, CSize(1, 3), {3, 13, 23}},
        {{{"offset_x", 2}, {"size_x", 3}, {"size_y", 1}}, CSize(2, 1), {2, 3}},
        {{{"offset_x", 2}, {"size_x", 2}, {"size_y", 1}}, CSize(2, 1), {2, 3}},
        {{{"offset_y", -2}, {"size_x", 1}}, CSize(1, 2), {10, 20}},
        {{{"offset_y", 2147483647}, {"size_x", 2}}, CSize(2, 1), {20, 21}},
        {{{"offset_y", -2147483647 - 1}, {"size_x", 1}, {"size_y", 1}}, CSize(1, 1), {0}},
        {{{"size_x", 2147483647}, {"size_y", -2147483647 - 1}, {"offset_x", 3}}, CSize(1, 3), {3, 13, 23}},
        // The third axis doesn't matter, but for an empty one.
        {{{"size_z", 5}, {"offset_z", 3}, {"size_y", 1}}, CSize(4, 1), {0, 1, 2, 3}},
        {{{"size_z", 0}}, CSize(0, 0), {}},
        {{{"size_x", 0}}, CSize(0, 0), {}},
        {{{"size_y", 0}, {"size_x", 2}}, CSize(0, 0), {}},
    };
    for (const auto& row : rows) {
        const StExtraction cut(Plane(), row.parameters);
        EXPECT_EQ(cut.Size(), row.size) << cut.Size().ToString();
        EXPECT_EQ(cut.Elements(), row.elements);
    }
}

TEST(Extract, FitsTheRegionIntoAVolume) {
    const struct {
        Numbers parameters;
        CSize size;
        Grid elements;
    } rows[] = {
        {{{"offset_z", 1}, {"size_x", 2}}, CSize(2, 2, 1), {100, 101, 110, 111}},
        {{{"offset_z", -1}, {"offset_y", 1}}, CSize(3, 1, 1), {110, 111, 112}},
        {{{"size_z", 1}, {"offset_x", 2}}, CSize(1, 2, 1), {2, 12}},
        {{{"offset_x", 1}, {"size_x", 1}, {"offset_y", 1}}, CSize(1, 1, 2), {11, 111}},
        {{{"offset_z", 9}, {"size_z", 9}, {"size_y", 1}}, CSize(3, 1, 1), {100, 101, 102}},
        {{{"size_z", 0}}, CSize(0, 0, 0), {}},
        {{{"size_x", 0}, {"offset_x", 1}}, CSize(0, 0, 0), {}},
    };
    for (const auto& row : rows) {
        const StExtraction cut(Volume(), row.parameters);
        EXPECT_EQ(cut.Size(), row.size) << cut.Size().ToString();
        EXPECT_EQ(cut.Elements(), row.elements);
    }
}

TEST(Extract, KeepsTheDimensionCount) {
    EXPECT_EQ(StExtraction(ZeroImage(IMAGE_GREY_8, CSize(4, 3)), {}).Size().dim, 2);
    EXPECT_EQ(StExtraction(ZeroImage(IMAGE_GREY_8, CSize(4, 3, 1)), {}).Size().dim, 3);
    EXPECT_EQ(StExtraction(Volume(), {{"size_z", 1}}).Size(), CSize(3, 2, 1));
}

TEST(Extract, CutsTheFirstSliceOfAnImageThatCountsAs2d) {
    const StExtraction cut(CodedImage(IMAGE_GREY_8, WithDim(CSize(2, 2, 2), 2)), {{"offset_z", 1}, {"size_y", 1}});
    EXPECT_EQ(cut.Size(), CSize(2, 1));
    EXPECT_EQ(cut.Elements(), (Grid{0, 1}));
}

TEST(Extract, CutsAVolumeForEveryOtherDimensionCount) {
    const StExtraction cut(CodedImage(IMAGE_GREY_8, WithDim(CSize(2, 2, 2), 5)), {{"offset_z", 1}, {"size_y", 1}});
    EXPECT_EQ(cut.Size(), CSize(2, 1, 1));
    EXPECT_EQ(cut.Elements(), (Grid{100, 101}));
}

TEST(Extract, AcceptsItsTypesAndKeepsThem) {
    for (const auto& type : TypesWithout({IMAGE_GREY_D, IMAGE_BINARY_BG})) {
        const StExtraction cut(CodedImage(type, CSize(3, 2)), {{"offset_x", 2}, {"offset_y", 1}});
        EXPECT_EQ(cut.Image().Type(), type);
        const std::unique_ptr<const IAccess> access(cut.Image().CreateAccess());
        EXPECT_EQ(access->Get(0, 0, 0, 0), 12.0) << type.ToString();
    }
}

TEST(Extract, CutsEachPlaneOfColours) {
    const Grid in{1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24};
    const StExtraction cut(MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(2, 2), in), {{"offset_x", 1}});
    EXPECT_EQ(cut.Elements(), (Grid{2, 4, 12, 14, 22, 24}));
}

TEST(Extract, RefusesOtherTypes) {
    for (const auto& type : {IMAGE_GREY_D, IMAGE_BINARY_BG}) {
        CNodeUnderTest node("Extract");
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), kWrongType);
    }
}

TEST(Extract, FailsInTheOrderOfItsChecks) {
    const auto number = [] { return std::make_unique<CValueLong>(3); };
    CNodeUnderTest node("Extract");
    EXPECT_EQ(node.Failure(), kMissing);
    EXPECT_EQ(node.Input(1, number()).Failure(), kMissing);
    EXPECT_EQ(node.Input(0, number()).Failure(), kNoImage);
    EXPECT_EQ(node.NoInput(1).Failure(), kNoImage);
    EXPECT_EQ(node.NullImage(0).Failure(), kMissing);
    EXPECT_EQ(node.Input(1, number()).Failure(), kNoMap) << "before the image is unwrapped";
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_D, CSize(1, 1))).Failure(), kNoMap);
    EXPECT_EQ(node.Input(1, Plane()).Failure(), kNoMap);
    EXPECT_EQ(node.Input(1, std::make_unique<CValueMap>()).Failure(), kWrongType);
    EXPECT_EQ(node.Input(0, std::make_unique<CValueMap>()).Failure(), kNoImage);
}

TEST(Extract, EntriesOfTheMapReplaceParameters) {
    const Numbers parameters{{"offset_x", 1}, {"offset_y", 1}, {"size_y", 1}};
    const auto cut = [&](const Numbers& map) { return StExtraction(Plane(), parameters, MapOf(map)).Elements(); };
    EXPECT_EQ(cut({}), (Grid{11, 12, 13}));
    EXPECT_EQ(cut({{"size_x", 2}}), (Grid{11, 12}));
    EXPECT_EQ(cut({{"offset_x", -2}}), (Grid{12, 13}));
    EXPECT_EQ(cut({{"offset_x", 0}, {"size_x", 1}}), (Grid{10}));
    EXPECT_EQ(cut({{"size_y", -1}, {"size_x", 1}}), (Grid{11, 21}));
    EXPECT_EQ(cut({{"offset_y", 0}, {"size_x", 1}, {"size_y", 2}}), (Grid{1, 11}));
    EXPECT_EQ(cut({{"size_x", 0}}), Grid());
    EXPECT_EQ(cut({{"width", 1}}), (Grid{11, 12, 13})) << "other keys are nothing to the node";
    EXPECT_EQ(StExtraction(Volume(), {{"size_z", 1}}, MapOf({{"offset_z", 1}, {"size_x", 1}})).Elements(),
              (Grid{100, 110}));
    EXPECT_EQ(StExtraction(Volume(), {{"offset_z", 1}}, MapOf({{"offset_z", 0}, {"size_z", 1}})).Elements(),
              (Grid{0, 1, 2, 10, 11, 12}));
}

TEST(Extract, TakesEntriesOfTheMapAsIntegers) {
    const auto cut = [](CValue* entry) {
        auto map = std::make_unique<CValueMap>();
        map->SetEntry("size_x", entry);
        return StExtraction(Plane(), {{"size_y", 1}, {"size_x", 3}}, std::move(map)).Elements();
    };
    EXPECT_EQ(cut(new CValueDouble(2.9)), (Grid{0, 1}));
    EXPECT_EQ(cut(new CValueDouble(-0.9)), Grid());
    EXPECT_EQ(cut(new CValueDouble(1e300)), (Grid{0, 1, 2, 3}));
    EXPECT_EQ(cut(new CValueBool(true)), (Grid{0}));
    EXPECT_EQ(cut(new CValueString(CString("2"))), (Grid{0, 1, 2})) << "no number: the parameter stands";
    EXPECT_EQ(cut(new CValueMap), (Grid{0, 1, 2}));
}

TEST(Extract, TakesParametersOfOtherKindsAsTheHostConvertsThem) {
    CNodeUnderTest node("Extract");
    node.Input(0, Plane()).Set("size_y", 1);
    EXPECT_EQ(BytesOf(node.Set("size_x", 2.9).Run().Output()), (Grid{0, 1}));
    EXPECT_EQ(BytesOf(node.Set("size_x", true).Run().Output()), (Grid{0}));
    EXPECT_EQ(BytesOf(node.Set("size_x", "2").Run().Output()), (Grid{0, 1, 2, 3}));
}

TEST(Extract, OnlyNodeInitReadsTheRegion) {
    CNodeUnderTest node("Extract");
    node.Input(0, Plane()).Set("size_x", 1).Set("offset_x", 1).Run();
    EXPECT_EQ(BytesOf(node.Output()), (Grid{1, 11, 21}));
    node.Unset("size_x").Unset("offset_x").RunAgain();
    EXPECT_EQ(BytesOf(node.Output()), (Grid{1, 11, 21}));
    EXPECT_EQ(node.Run().Output().Size(), CSize(4, 3));
}

// An axis without elements has an offset of -1 and empties only itself; a size of 0 empties all three.
TEST(Extract, ServesImagesWithoutElements) {
    constexpr std::int64_t huge = std::int64_t{1} << 62;
    const struct {
        CSize in;
        Numbers parameters;
        CSize out;
    } rows[] = {
        {CSize(0, 3, 2), {}, CSize(0, 3, 2)},
        {CSize(3, 0, 2), {{"size_x", 2}}, CSize(2, 0, 2)},
        {CSize(3, 2, 0), {{"offset_y", 1}}, CSize(3, 1, 0)},
        {CSize(0, 0, 0), {}, CSize(0, 0, 0)},
        {CSize(0, 3), {}, CSize(0, 3)},
        {CSize(3, 0), {{"offset_x", -1}}, CSize(1, 0)},
        {CSize(0, 3, 2), {{"size_x", 0}}, CSize(0, 0, 0)},
        {CSize(0, 3, 2), {{"size_y", 0}}, CSize(0, 0, 0)},
        {CSize(0, 3, 2), {{"offset_x", 7}, {"size_x", 7}, {"size_y", 2}}, CSize(0, 2, 2)},
        {CSize(0, huge, huge), {{"offset_y", 5}}, CSize(0, huge - 5, huge)},
        {CSize(huge, huge, 0), {{"offset_x", -1}}, CSize(1, huge, 0)},
        {CSize(0, std::numeric_limits<std::int64_t>::max(), 1),
         {},
         CSize(0, std::numeric_limits<std::int64_t>::max(), 1)},
    };
    for (const auto& row : rows) {
        const StExtraction cut(ZeroImage(IMAGE_GREY_16, row.in), row.parameters);
        EXPECT_EQ(cut.Size(), row.out) << row.in.ToString() << " gives " << cut.Size().ToString();
    }
}

TEST(Extract, PrintsALineIfAsked) {
    const struct {
        CSize size;
        Numbers parameters;
        std::string line;
    } rows[] = {
        {CSize(4, 3),
         {{"offset_x", 1}, {"size_y", 2}},
         "2d image, inputsize=(4, 3), resultsize=(3, 2), ROI=((1, 0)->(4, 2))\n"},
        {CSize(3, 2, 2),
         {{"offset_z", -1}},
         "3d image, inputsize=(3, 2, 2), resultsize=(3, 2, 1), ROI=((0, 0, 1)->(3, 2, 2))\n"},
        {CSize(0, 3), {}, "2d image, inputsize=(0, 3), resultsize=(0, 3), ROI=((-1, 0)->(-1, 3))\n"},
        {CSize(4, 3, 1),
         {{"size_x", 0}, {"offset_x", 2}},
         "3d image, inputsize=(4, 3, 1), resultsize=(0, 0, 0), ROI=((2, 0, 0)->(2, 0, 0))\n"},
        {WithDim(CSize(2, 2, 2), 2),
         {{"offset_z", 1}},
         "2d image, inputsize=(2, 2), resultsize=(2, 2), ROI=((0, 0)->(2, 2))\n"},
        {WithDim(CSize(2, 2, 2), 5),
         {},
         "5d image, inputsize=(2, 2, 2), resultsize=(2, 2, 2), ROI=((0, 0, 0)->(2, 2, 2))\n"},
    };
    for (const auto& row : rows) {
        CNodeUnderTest node("Extract");
        for (const auto& [key, number] : row.parameters) {
            node.Set(key, number);
        }
        node.Set("verbose", true).Input(0, ZeroImage(IMAGE_GREY_8, row.size));
        const CCapturedOutput printed(std::cout);
        node.Run();
        EXPECT_EQ(printed.Text(), "(manipulation plugins) Extract: extract " + row.line);
    }
}

TEST(Extract, ReadsVerboseInRunAndIsSilentWithoutIt) {
    CNodeUnderTest node("Extract");
    node.Input(0, Plane());
    const CCapturedOutput printed(std::cout);
    node.Run();
    EXPECT_EQ(printed.Text(), "");
    node.Set("verbose", true).RunAgain();
    EXPECT_NE(printed.Text(), "");
}

TEST(Extract, FlushesWhatItPrints) {
    struct CCountingBuffer : std::stringbuf {
        int sync() override { return ++flushes, 0; }
        int flushes = 0;
    } buffer;
    CNodeUnderTest node("Extract");
    node.Set("verbose", true).Input(0, Plane());
    std::streambuf* before = std::cout.rdbuf(&buffer);
    node.Run();
    std::cout.rdbuf(before);
    EXPECT_EQ(buffer.flushes, 1);
}

/// An image that counts as 2d and has no slice: the host can't cut a plane out of it.
ImagePtr ImageWithoutPlane() { return ZeroImage(IMAGE_GREY_8, WithDim(CSize(3, 2, 0), 2)); }

TEST(Extract, ClearsWhatTheHostCannotCut) {
    const StExtraction cut(ImageWithoutPlane(), {{"offset_x", 1}});
    EXPECT_EQ(cut.Size(), CSize(2, 2, 0)) << "always 3d";
    EXPECT_EQ(cut.Image().Type(), IMAGE_GREY_8);
}

TEST(Extract, WarnsOfWhatTheHostCannotCutIfAsked) {
    CNodeUnderTest node("Extract");
    node.Set("verbose", true).Set("offset_x", 1).Input(0, ImageWithoutPlane());
    std::string reason;
    try {
        CImageExtraction::Rect(*ZeroImage(IMAGE_GREY_8, CSize(2, 2)), node.InputImage(0), CRect(1, 0, 3, 2));
    } catch (const CException& failure) {
        reason = failure.FormattedWhat();
    }
    ASSERT_NE(reason, "");
    const CCapturedOutput printed(std::cout);
    node.Run();
    EXPECT_EQ(printed.Text(), "(manipulation plugins) Extract: extract 2d image, inputsize=(3, 2), resultsize=(2, 2), "
                              "ROI=((1, 0)->(3, 2))\n"
                              "WARNING (manipulation plugins) Extract: " +
                                  reason +
                                  "\n"
                                  "WARNING (manipulation plugins) Extract: image size = (3, 2)\n"
                                  "WARNING (manipulation plugins) Extract: region = ((1, 0)->(3, 2))\n");
}

TEST(Extract, IsDoneAfterAClearedImageToo) {
    CNodeUnderTest node("Extract");
    node.Set("run_once", true).Input(0, ImageWithoutPlane()).Run();
    ASSERT_TRUE(node.HasOutput());
    EXPECT_FALSE(node.Input(0, Plane()).Run().HasOutput());
}

TEST(Extract, RunsOnceForTheLifeOfTheNode) {
    CNodeUnderTest node("Extract");
    EXPECT_EQ(node.Set("run_once", true).Failure(), kMissing);
    EXPECT_TRUE(node.Input(0, Plane()).Run().HasOutput()) << "a failed run doesn't count";
    EXPECT_FALSE(node.RunAgain().HasOutput());
    EXPECT_FALSE(node.Run().HasOutput()) << "NodeInit doesn't reset it";
    EXPECT_FALSE(node.NoInput(0).Run().HasOutput()) << "inputs aren't looked at";
    EXPECT_TRUE(node.Input(0, Plane()).Set("run_once", false).Run().HasOutput());
    EXPECT_FALSE(node.Set("run_once", true).Run().HasOutput());
    EXPECT_TRUE(node.Unset("run_once").Run().HasOutput());
}

TEST(Extract, KeepsAnEarlierOutputOnceItIsDone) {
    CNodeUnderTest node("Extract");
    node.Set("run_once", true).Input(0, Plane()).Run();
    const CValue* earlier = node.OutputValue(0);
    node.Set("size_x", 1).Init();
    node.Node().Run();
    EXPECT_EQ(node.OutputValue(0), earlier);
    EXPECT_EQ(node.Output().Size(), CSize(4, 3));
}

/// The texts of a vector, joined with '|'; an empty slot is "-". "(none)" if there is no vector.
std::string KeysAt(const CValueMap& attributes, const char* path) {
    if (!attributes.HasEntry(path, EnValType::Vector)) {
        return "(none)";
    }
    const CValueVector& keys = *attributes.Entry(path, true)->Vector();
    std::string joined;
    for (int index = 0; index < static_cast<int>(keys.Size()); ++index) {
        const CValue* key = keys.Entry(index, true);
        joined += (index == 0 ? "" : "|") + (key == nullptr ? "-" : key->String().Text());
    }
    return joined;
}

void SetKeys(CImage& image, const char* path, const std::vector<const char*>& keys) {
    auto* vector = new CValueVector;
    image.Attributes().SetEntry(path, vector);
    for (const char* key : keys) {
        vector->PushBack(key == nullptr ? nullptr : new CValueString(CString(key)));
    }
}

void SetText(CImage& image, const char* path, const char* text) {
    image.Attributes().SetEntry(path, new CValueString(CString(text)));
}

/// A table of four columns and three rows.
ImagePtr Table(const CSize& size = CSize(4, 3)) {
    auto image = ZeroImage(IMAGE_GREY_8, size);
    SetText(*image, "Image/ContentType", "table");
    SetText(*image, "Image/table-type", "histogram");
    SetText(*image, "Image/x-name", "column");
    SetText(*image, "Image/y-name", "row");
    SetText(*image, "Image/f-name", "count");
    SetText(*image, "Image/author", "nobody");
    SetText(*image, "note", "none");
    SetKeys(*image, "Image/x-keys", {"a", "b", "c", "d"});
    SetKeys(*image, "Image/y-keys", {"p", "q", "r"});
    return image;
}

TEST(Extract, CarriesATableOverWithTheKeysOfItsRegion) {
    const StExtraction cut(Table(), {{"offset_x", 1}, {"size_x", 2}, {"offset_y", -1}});
    const CValueMap& attributes = cut.Attributes();
    EXPECT_EQ(attributes.EntryString("Image/ContentType", ""), "table");
    EXPECT_EQ(attributes.EntryString("Image/table-type", ""), "histogram");
    EXPECT_EQ(attributes.EntryString("Image/x-name", ""), "column");
    EXPECT_EQ(attributes.EntryString("Image/y-name", ""), "row");
    EXPECT_EQ(attributes.EntryString("Image/f-name", ""), "count");
    EXPECT_EQ(KeysAt(attributes, "Image/x-keys"), "b|c");
    EXPECT_EQ(KeysAt(attributes, "Image/y-keys"), "r");
    EXPECT_EQ(attributes.Size(), 1U) << "nothing else is carried over";
    EXPECT_EQ(attributes.Entry("Image", true)->Map()->Size(), 7U);
    EXPECT_EQ(KeysAt(cut.node.InputImage(0).Attributes(), "Image/x-keys"), "a|b|c|d") << "the input has changed";
}

TEST(Extract, CarriesATableOfOneSliceOverButNoVolume) {
    EXPECT_EQ(KeysAt(StExtraction(Table(CSize(4, 3, 1)), {}).Attributes(), "Image/x-keys"), "a|b|c|d");
    EXPECT_TRUE(StExtraction(Table(CSize(4, 3, 2)), {}).Attributes().IsEmpty());
    EXPECT_TRUE(StExtraction(Table(CSize(4, 3, 2)), {{"size_z", 1}}).Attributes().IsEmpty());
    EXPECT_TRUE(StExtraction(Table(CSize(4, 3, 0)), {}).Attributes().IsEmpty());
}

TEST(Extract, TakesTheKeysOfTheMapsRegion) {
    const StExtraction cut(Table(), {{"offset_x", 1}}, MapOf({{"offset_x", 2}, {"size_y", 1}}));
    EXPECT_EQ(KeysAt(cut.Attributes(), "Image/x-keys"), "c|d");
    EXPECT_EQ(KeysAt(cut.Attributes(), "Image/y-keys"), "p");
}

TEST(Extract, CarriesNothingOverOfOtherContents) {
    for (const char* content : {"Table", "tables", "", " table"}) {
        auto image = Table();
        SetText(*image, "Image/ContentType", content);
        EXPECT_TRUE(StExtraction(std::move(image), {}).Attributes().IsEmpty()) << content;
    }
    auto absent = Table();
    absent->Attributes().RemoveEntry("Image/ContentType");
    EXPECT_TRUE(StExtraction(std::move(absent), {}).Attributes().IsEmpty());
    auto number = Table();
    number->Attributes().SetEntry("Image/ContentType", new CValueLong(1));
    EXPECT_TRUE(StExtraction(std::move(number), {}).Attributes().IsEmpty());
}

TEST(Extract, CarriesNothingOverOfATableWithoutDescription) {
    auto image = ZeroImage(IMAGE_GREY_8, CSize(2, 2));
    SetText(*image, "Image/ContentType", "table");
    SetText(*image, "Image/x-name", "");
    image->Attributes().SetEntry("Image/y-name", new CValueLong(3));
    image->Attributes().SetEntry("Image/x-keys", new CValueMap);
    EXPECT_TRUE(StExtraction(std::move(image), {}).Attributes().IsEmpty());
}

TEST(Extract, OneTextOrVectorIsDescriptionEnough) {
    for (const char* path : {"Image/table-type", "Image/x-name", "Image/y-name", "Image/f-name"}) {
        auto image = ZeroImage(IMAGE_GREY_8, CSize(2, 2));
        SetText(*image, "Image/ContentType", "table");
        SetText(*image, path, "text");
        const StExtraction cut(std::move(image), {});
        EXPECT_EQ(cut.Attributes().EntryString(path, ""), "text");
        EXPECT_EQ(cut.Attributes().EntryString("Image/ContentType", ""), "table");
        EXPECT_EQ(cut.Attributes().Entry("Image", true)->Map()->Size(), 2U);
    }
    for (const char* path : {"Image/x-keys", "Image/y-keys"}) {
        auto image = ZeroImage(IMAGE_GREY_8, CSize(2, 2));
        SetText(*image, "Image/ContentType", "table");
        SetKeys(*image, path, {});
        const StExtraction cut(std::move(image), {});
        EXPECT_EQ(cut.Attributes().EntryString("Image/ContentType", ""), "table") << path;
        EXPECT_EQ(cut.Attributes().Entry("Image", true)->Map()->Size(), 1U) << "no keys, no vector of keys";
    }
}

TEST(Extract, CutsKeysAsFarAsThereAreAny) {
    const auto keys = [](const std::vector<const char*>& columns, const Numbers& parameters) {
        auto image = Table();
        SetKeys(*image, "Image/x-keys", columns);
        return KeysAt(StExtraction(std::move(image), parameters).Attributes(), "Image/x-keys");
    };
    EXPECT_EQ(keys({"a", "b"}, {}), "a|b");
    EXPECT_EQ(keys({"a", "b"}, {{"offset_x", 1}}), "b");
    EXPECT_EQ(keys({"a", "b"}, {{"offset_x", 2}}), "(none)");
    EXPECT_EQ(keys({"a", "b", "c", "d", "e", "f"}, {{"offset_x", 3}}), "d");
    EXPECT_EQ(keys({nullptr, "b", nullptr, "d"}, {}), "-|b|-|d");
    EXPECT_EQ(keys({nullptr, "b", nullptr, "d"}, {{"size_x", 3}}), "-|b") << "an empty slot at the end isn't set";
    EXPECT_EQ(keys({nullptr, nullptr}, {}), "");
    EXPECT_EQ(keys({"a", "b", "c", "d"}, {{"size_x", 0}, {"offset_x", 1}}), "") << "a vector without keys";
    EXPECT_EQ(keys({"a", "b"}, {{"size_x", 0}, {"offset_x", 2}}), "(none)");
}

TEST(Extract, CutsKeysOfAnAxisWithoutElements) {
    const StExtraction cut(Table(CSize(0, 3)), {});
    EXPECT_EQ(KeysAt(cut.Attributes(), "Image/x-keys"), "");
    EXPECT_EQ(KeysAt(cut.Attributes(), "Image/y-keys"), "p|q|r");
}

TEST(Extract, KeysAreCopiesOfAnyKind) {
    auto image = Table();
    auto* keys = new CValueVector;
    keys->PushBack(new CValueDouble(0.5));
    keys->Entry(0, true)->Meta().SetEntry("unit", new CValueString(CString("mm")));
    image->Attributes().SetEntry("Image/x-keys", keys);
    const StExtraction cut(std::move(image), {});
    const CValue* key = cut.Attributes().Entry("Image/x-keys", true)->Vector()->Entry(0, true);
    EXPECT_NE(key, keys->Entry(0, true));
    EXPECT_TRUE(key->Equal(*keys->Entry(0, true)));
}

/// The region by the rules, one axis: first element and number of elements.
std::pair<std::int64_t, std::int64_t> PlainSpan(std::int64_t extent, std::int64_t offset, std::int64_t size) {
    if (offset < 0) {
        offset += extent;
    }
    if (offset < 0) {
        offset = 0;
    }
    if (offset >= extent) {
        offset = extent - 1;
    }
    if (size < 0 || size > extent - offset) {
        size = extent - offset;
    }
    return {offset, size};
}

Grid PlainCut(const CImage& image, const Numbers& parameters) {
    const auto setting = [&](const char* key, int fallback) {
        const auto found = std::find_if(parameters.begin(), parameters.end(),
                                        [&](const auto& entry) { return std::string(entry.first) == key; });
        return found == parameters.end() ? fallback : found->second;
    };
    const CSize& size = image.Size();
    const auto [x0, w] = PlainSpan(size.x, setting("offset_x", 0), setting("size_x", -1));
    const auto [y0, h] = PlainSpan(size.y, setting("offset_y", 0), setting("size_y", -1));
    const auto [z0, d] = PlainSpan(size.z, setting("offset_z", 0), setting("size_z", -1));
    const Grid in = BytesOf(image);
    Grid out;
    const std::int64_t sampleBytes = image.Type().channelBytes;
    for (std::int64_t channel = 0; channel < image.Type().channels; ++channel) {
        for (std::int64_t z = 0; z < d; ++z) {
            for (std::int64_t y = 0; y < h; ++y) {
                for (std::int64_t x = 0; x < w * sampleBytes; ++x) {
                    const std::int64_t row = y0 + y + size.y * (z0 + z + size.z * channel);
                    out.push_back(in[static_cast<std::size_t>((x0 + size.x * row) * sampleBytes + x)]);
                }
            }
        }
    }
    return out;
}

TEST(Extract, AgreesWithThePlainLoopOnRandomRegions) {
    std::mt19937 random(20260402);
    const auto types = TypesWithout({IMAGE_GREY_D, IMAGE_BINARY_BG});
    for (int round = 0; round < 600; ++round) {
        const auto extent = [&] { return static_cast<std::int64_t>(random() % 9 + 1); };
        const std::int64_t width = extent() * (round % 4 == 0 ? 40 : 1);
        const bool plane = random() % 2 == 0;
        const CSize size = plane ? CSize(width, extent()) : CSize(width, extent(), extent());
        Numbers parameters;
        for (const char* key : {"offset_x", "offset_y", "offset_z"}) {
            if (random() % 3 != 0) {
                parameters.emplace_back(key, static_cast<int>(random() % 23) - 11);
            }
        }
        for (const char* key : {"size_x", "size_y", "size_z"}) {
            if (random() % 3 != 0) {
                const int count = static_cast<int>(random() % 13) - 2;
                parameters.emplace_back(key, count == 0 ? 1 : count);
            }
        }
        auto image = RandomImage(types[random() % types.size()], size, random);
        const CImage before(*image);
        const StExtraction cut(std::move(image), parameters);
        EXPECT_EQ(cut.Elements(), PlainCut(before, parameters));
        EXPECT_EQ(cut.Size().dim, plane ? 2 : 3);
        EXPECT_TRUE(SameImage(before, cut.node.InputImage(0))) << "the input has changed";
    }
}

} // namespace
} // namespace QUOR::test
