#include "NodeTest.h"

#include <cmath>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "(manipulation plugins) Border::Run";
const StFailure kMissing{kWhere, "input image is NULL"};
const StFailure kNoImage{kWhere, "input 0 is not an image"};
const StFailure kWrongType{kWhere, "input image is not of type IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, "
                                   "IMAGE_GREY_F, or IMAGE_BINARY_FG"};

using Grid = std::vector<std::uint8_t>;

CSize WithDim(CSize size, int dim) {
    size.SetDim(dim);
    return size;
}

std::vector<IImage::CType> AcceptedTypes() {
    return TypesWithout({IMAGE_GREY_64, IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8});
}

/// A node that has given the image a border.
struct StBordered {
    StBordered(ImagePtr image, int border, int padvalue = 9) : node("Border") {
        node.Set("border", border).Set("padvalue", padvalue).Input(0, std::move(image)).Run();
    }
    const CImage& Image() const { return node.Output(); }
    const CSize& Size() const { return Image().Size(); }

    CNodeUnderTest node;
};

TEST(Border, DescribesItself) {
    const auto setup = DescriptionOf("Border");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Border");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PBorder/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "crop|extract|border|cut");

    ASSERT_EQ(setup->Entry("parameters", true)->Map()->Size(), 2U) << "verbose and abort aren't declared";
    for (const char* entry : {"parameters/border", "parameters/padvalue"}) {
        ASSERT_TRUE(setup->HasEntry(entry, EnValType::Long)) << entry;
        EXPECT_EQ(setup->EntryLong(entry, 7), 0) << entry;
    }
    EXPECT_TRUE(MetaText(*setup, "parameters/border", "desc")
                    .starts_with("The type of this parameter is of type long. pixel distance to border to be removed"));
    EXPECT_EQ(MetaText(*setup, "parameters/border", "visible_if_rpn"), "(none)");
    EXPECT_EQ(MetaText(*setup, "parameters/padvalue", "desc"), "(none)");
    EXPECT_EQ(MetaText(*setup, "parameters/padvalue", "visible_if_rpn"), "border 0 >");
    ASSERT_EQ(setup->Entry("gui/order", true)->Map()->Size(), 2U);
    EXPECT_EQ(setup->EntryString("gui/order/0", ""), "border");
    EXPECT_EQ(setup->EntryString("gui/order/2", ""), "padvalue") << "there is no 1";

    ASSERT_EQ(setup->Entry("inputs", true)->Map()->Size(), 1U);
    ASSERT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("inputs/0", true)), nullptr);
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "Input image of type IMAGE_GREY_8, IMAGE_GREY_16,\n"
                                                     "IMAGE_GREY_32, IMAGE_GREY_F, IMAGE_BINARY_FG, or IMAGE_RGB_8.");
    EXPECT_FALSE(setup->Entry("inputs/0", true)->Meta().EntryBool("optional", true));
    EXPECT_EQ(UnwrapPointer<CImage>(setup->Entry("outputs/0", true)), nullptr);
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "Output image of the same type as the input image.");
    EXPECT_FALSE(setup->Entry("outputs/0", true)->Meta().HasEntry("optional"));
}

TEST(Border, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Border")->EntryString("description", "").Text();
    EXPECT_TRUE(text.starts_with("BRIEF\nRemove borders from an image.\n\n"
                                 "Crops out a region given by pixel distance to border.\n"));
    std::size_t position = 0;
    for (const char* header :
         {"\nINPUT 0\n", "\nOUTPUT 0\n", "\nPARAMETER border\n", "\nKEYWORDS\ncrop, extract, border, cut"}) {
        const std::size_t found = text.find(header, position);
        ASSERT_NE(found, std::string::npos) << header;
        position = found;
    }
    EXPECT_EQ(text.find("padvalue"), std::string::npos);
}

TEST(Border, CutsAPlane) {
    const StBordered cut(CodedImage(IMAGE_GREY_8, CSize(5, 4)), -1);
    EXPECT_EQ(cut.Size(), CSize(3, 2));
    EXPECT_EQ(BytesOf(cut.Image()), (Grid{11, 12, 13, 21, 22, 23}));
}

TEST(Border, FramesAPlane) {
    const StBordered framed(Bytes(2, 1, {1, 2}), 1);
    EXPECT_EQ(framed.Size(), CSize(4, 3));
    EXPECT_EQ(BytesOf(framed.Image()), (Grid{
                                           9, 9, 9, 9, //
                                           9, 1, 2, 9, //
                                           9, 9, 9, 9, //
                                       }));
}

TEST(Border, CutsAVolume) {
    const StBordered cut(CodedImage(IMAGE_GREY_8, CSize(4, 3, 3)), -1);
    EXPECT_EQ(cut.Size(), CSize(2, 1, 1));
    EXPECT_EQ(BytesOf(cut.Image()), (Grid{111, 112}));
}

TEST(Border, FramesAVolume) {
    const StBordered framed(MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(1, 1, 2), {1, 2}), 1);
    EXPECT_EQ(framed.Size(), CSize(3, 3, 4));
    EXPECT_EQ(BytesOf(framed.Image()), (Grid{
                                           9, 9, 9, 9, 9, 9, 9, 9, 9, //
                                           9, 9, 9, 9, 1, 9, 9, 9, 9, //
                                           9, 9, 9, 9, 2, 9, 9, 9, 9, //
                                           9, 9, 9, 9, 9, 9, 9, 9, 9, //
                                       }));
}

TEST(Border, CopiesWithoutABorder) {
    std::mt19937 random(20260405);
    for (const auto& type : AcceptedTypes()) {
        for (const CSize& size : {CSize(3, 2), CSize(3, 2, 1), CSize(3, 2, 2)}) {
            CNodeUnderTest node("Border");
            node.Input(0, RandomImage(type, size, random)).Run();
            EXPECT_TRUE(SameImage(node.InputImage(0), node.Output()));
            EXPECT_NE(node.InputImage(0).Buffer().Data(), node.Output().Buffer().Data());
        }
    }
}

TEST(Border, GivesTheSizesOfTheRules) {
    const struct {
        CSize in;
        int border;
        CSize out;
    } rows[] = {
        {CSize(10, 8), -2, CSize(6, 4)},
        {CSize(10, 8), 2, CSize(14, 12)},
        {CSize(10, 8, 5), -2, CSize(6, 4, 1)},
        {CSize(10, 8, 5), 2, CSize(14, 12, 9)},
        {CSize(10, 8, 1), 2, CSize(14, 12)}, // one slice counted as 3d is a plane when it is framed
        {CSize(10, 8, 1), 0, CSize(10, 8, 1)},
        {CSize(10, 8, 2), -1, CSize(8, 6, 0)},
        {CSize(4, 8), -2, CSize(0, 4)},
        {CSize(4, 4, 9), -2, CSize(0, 0, 5)},
        {WithDim(CSize(4, 3, 2), 2), -1, CSize(2, 1)},
        {WithDim(CSize(4, 3, 2), 2), 1, CSize(6, 5, 4)}, // two slices counted as 2d are a volume when they are framed
        {WithDim(CSize(4, 3, 2), 4), 1, CSize(6, 5, 4)},
    };
    for (const auto& row : rows) {
        const StBordered bordered(ZeroImage(IMAGE_GREY_16, row.in), row.border);
        EXPECT_EQ(bordered.Size(), row.out) << row.in.ToString() << " gives " << bordered.Size().ToString();
    }
}

// Slices of an image that counts as 2d lie at the front of the framed volume, which has slices for a frame all the
// same.
TEST(Border, FramesSlicesCountedAs2d) {
    const StBordered framed(MakeImage<std::uint8_t>(IMAGE_GREY_8, WithDim(CSize(1, 1, 2), 2), {1, 2}), 1);
    EXPECT_EQ(framed.Size(), CSize(3, 3, 4));
    EXPECT_EQ(BytesOf(framed.Image()), (Grid{
                                           9, 9, 9, 9, 1, 9, 9, 9, 9, //
                                           9, 9, 9, 9, 2, 9, 9, 9, 9, //
                                           9, 9, 9, 9, 9, 9, 9, 9, 9, //
                                           9, 9, 9, 9, 9, 9, 9, 9, 9, //
                                       }));
}

TEST(Border, CutsTheFirstOfSlicesCountedAs2d) {
    const StBordered cut(CodedImage(IMAGE_GREY_8, WithDim(CSize(3, 3, 2), 2)), -1);
    EXPECT_EQ(cut.Size(), CSize(1, 1));
    EXPECT_EQ(BytesOf(cut.Image()), Grid{11});
}

/// The first element of a framed image of one zero.
template <class T> T FillOf(const IImage::CType& type, const std::function<void(CNodeUnderTest&)>& set) {
    CNodeUnderTest node("Border");
    node.Set("border", 1).Input(0, ZeroImage(type, CSize(1, 1)));
    set(node);
    node.Run();
    return ElementsOf<T>(node.Output()).front();
}

TEST(Border, ConvertsTheFillByItsKindAndTheType) {
    const struct {
        std::function<void(CNodeUnderTest&)> set;
        std::uint8_t byte;
        std::uint16_t word;
        std::uint32_t dword;
        float real;
    } rows[] = {
        {[](auto& node) { node.Set("padvalue", 300); }, 44, 300, 300, 300.0F},
        {[](auto& node) { node.Set("padvalue", -1); }, 255, 65535, 4294967295U, -1.0F},
        {[](auto& node) { node.Set("padvalue", 70000); }, 112, 4464, 70000, 70000.0F},
        {[](auto& node) { node.Set("padvalue", 16777217); }, 1, 1, 16777217, 16777216.0F},
        {[](auto& node) { node.Set("padvalue", 2.7); }, 2, 2, 2, 2.7F},
        {[](auto& node) { node.Set("padvalue", -2.7); }, 254, 65534, 4294967294U, -2.7F},
        {[](auto& node) { node.Set("padvalue", 300.9); }, 44, 300, 300, 300.9F},
        {[](auto& node) { node.Set("padvalue", -0.0); }, 0, 0, 0, -0.0F},
        // A double is cut to 32 bits for IMAGE_GREY_32 as well.
        {[](auto& node) { node.Set("padvalue", 3e9); }, 0, 0, 0x80000000U, 3e9F},
        {[](auto& node) { node.Set("padvalue", 4294967297.0); }, 0, 0, 0x80000000U, 4294967297.0F},
        {[](auto& node) { node.Set("padvalue", -2147483648.5); }, 0, 0, 0x80000000U, -2147483648.0F},
        {[](auto& node) { node.Set("padvalue", 1e300); }, 0, 0, 0x80000000U, std::numeric_limits<float>::infinity()},
        {[](auto& node) { node.Set("padvalue", true); }, 1, 1, 1, 1.0F},
        {[](auto& node) { node.Set("padvalue", false); }, 0, 0, 0, 0.0F},
        {[](auto& node) { node.Set("padvalue", "7"); }, 0, 0, 0, 0.0F},
        {[](auto& /*absent*/) {}, 0, 0, 0, 0.0F},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(FillOf<std::uint8_t>(IMAGE_GREY_8, row.set), row.byte);
        EXPECT_EQ(FillOf<std::uint8_t>(IMAGE_BINARY_FG, row.set), row.byte);
        EXPECT_EQ(FillOf<std::uint16_t>(IMAGE_GREY_16, row.set), row.word);
        EXPECT_EQ(FillOf<std::uint32_t>(IMAGE_GREY_32, row.set), row.dword);
        EXPECT_EQ(FillOf<float>(IMAGE_GREY_F, row.set), row.real);
        EXPECT_EQ(std::signbit(FillOf<float>(IMAGE_GREY_F, row.set)), std::signbit(row.real));
    }
    const auto nan = [](CNodeUnderTest& node) { node.Set("padvalue", std::numeric_limits<double>::quiet_NaN()); };
    EXPECT_EQ(FillOf<std::uint8_t>(IMAGE_GREY_8, nan), 0);
    EXPECT_EQ(FillOf<std::uint32_t>(IMAGE_GREY_32, nan), 0x80000000U);
    EXPECT_TRUE(std::isnan(FillOf<float>(IMAGE_GREY_F, nan)));
}

TEST(Border, ReadsTheBorderAsAnInteger) {
    CNodeUnderTest node("Border");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(5, 5)));
    EXPECT_EQ(node.Set("border", -1.9).Run().Output().Size(), CSize(3, 3));
    EXPECT_EQ(node.Set("border", true).Run().Output().Size(), CSize(7, 7));
    EXPECT_EQ(node.Set("border", "2").Run().Output().Size(), CSize(5, 5));
}

TEST(Border, ReadsItsParametersInRun) {
    CNodeUnderTest node("Border");
    node.Input(0, Bytes(1, 1, {5})).Run();
    EXPECT_EQ(BytesOf(node.Output()), Grid{5});
    node.Set("border", 1).Set("padvalue", 3).RunAgain();
    EXPECT_EQ(BytesOf(node.Output()), (Grid{3, 3, 3, 3, 5, 3, 3, 3, 3}));
    node.Unset("border").RunAgain();
    EXPECT_EQ(BytesOf(node.Output()), Grid{5});
}

TEST(Border, CarriesNoAttributes) {
    for (const int border : {-1, 0, 1}) {
        auto image = ZeroImage(IMAGE_GREY_8, CSize(3, 3));
        image->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
        EXPECT_TRUE(StBordered(std::move(image), border).Image().Attributes().IsEmpty());
    }
}

TEST(Border, AcceptsItsTypesAndKeepsThem) {
    for (const auto& type : AcceptedTypes()) {
        const StBordered cut(CodedImage(type, CSize(3, 3)), -1);
        EXPECT_EQ(cut.Image().Type(), type);
        const std::unique_ptr<const IAccess> inner(cut.Image().CreateAccess());
        EXPECT_EQ(inner->Get(0, 0, 0, 0), 11.0) << type.ToString();
        const StBordered framed(CodedImage(type, CSize(3, 3)), 2);
        const std::unique_ptr<const IAccess> outer(framed.Image().CreateAccess());
        EXPECT_EQ(outer->Get(4, 3, 0, 0), 12.0) << type.ToString();
        EXPECT_EQ(outer->Get(1, 3, 0, 0), 9.0) << type.ToString();
    }
}

TEST(Border, RefusesOtherTypes) {
    for (const auto& type : {IMAGE_GREY_64, IMAGE_GREY_D, IMAGE_BINARY_BG, IMAGE_RGB_8}) {
        CNodeUnderTest node("Border");
        EXPECT_EQ(node.Input(0, ZeroImage(type, CSize(2, 2))).Failure(), kWrongType) << type.ToString();
    }
}

TEST(Border, FailsInTheOrderOfItsChecks) {
    CNodeUnderTest node("Border");
    node.Set("abort", true).Set("verbose", true);
    const CCapturedOutput printed(std::cout);
    EXPECT_EQ(node.Failure(), kMissing);
    EXPECT_EQ(node.NullImage(0).Failure(), kMissing);
    EXPECT_EQ(node.Input(0, std::make_unique<CValueLong>(3)).Failure(), kNoImage);
    EXPECT_EQ(node.Input(0, ZeroImage(IMAGE_GREY_D, CSize(2, 2))).Failure(), kWrongType);
    EXPECT_EQ(printed.Text(), "");
}

TEST(Border, LeavesSizesBelowZeroToTheImage) {
    const struct {
        CSize size;
        int border;
    } rows[] = {
        {CSize(4, 3), -2},
        {CSize(9, 9, 1), -1}, // one slice counted as 3d is a volume when it is cut
        {CSize(4, 4), std::numeric_limits<int>::min()},
        {CSize(0, std::numeric_limits<std::int64_t>::max()), 1},
        {CSize(0, std::numeric_limits<std::int64_t>::max() - 1), 1},
    };
    for (const auto& row : rows) {
        CNodeUnderTest node("Border");
        node.Set("border", row.border).Input(0, ZeroImage(IMAGE_GREY_8, row.size));
        const StFailure failure = node.Failure();
        EXPECT_EQ(failure.where, "CImage");
        EXPECT_TRUE(failure.what.starts_with("an image can't have the negative extents")) << failure.what;
    }
}

// The sizes differ, since the output of an image that counts as 2d has one slice.
TEST(Border, LeavesSlicesCountedAs2dWithoutABorderToTheHost) {
    CNodeUnderTest node("Border");
    node.Input(0, ZeroImage(IMAGE_GREY_8, WithDim(CSize(3, 2, 2), 2)));
    EXPECT_EQ(node.Failure(), (StFailure{"CBuffer::Copy", "can't copy a block of 12 bytes over 6"}));
}

TEST(Border, ServesImagesWithoutElements) {
    EXPECT_EQ(StBordered(ZeroImage(IMAGE_GREY_8, CSize(0, 3)), 0).Size(), CSize(0, 3));
    constexpr std::int64_t huge = std::int64_t{1} << 61;
    EXPECT_EQ(StBordered(ZeroImage(IMAGE_GREY_8, CSize(huge, 0, huge)), 0).Size(), CSize(huge, 0, huge));
    const StBordered framed(ZeroImage(IMAGE_GREY_8, CSize(0, 1)), 1);
    EXPECT_EQ(framed.Size(), CSize(2, 3));
    EXPECT_EQ(BytesOf(framed.Image()), Grid(6, 9));
    const StBordered volume(ZeroImage(IMAGE_GREY_8, CSize(1, 1, 0)), 1);
    EXPECT_EQ(volume.Size(), CSize(3, 3, 2));
    EXPECT_EQ(BytesOf(volume.Image()), Grid(18, 9));
}

/// What the node prints for a byte image.
std::string LineOf(const CSize& size, int border, const std::function<void(CNodeUnderTest&)>& set) {
    CNodeUnderTest node("Border");
    node.Set("verbose", true).Set("border", border).Input(0, ZeroImage(IMAGE_GREY_8, size));
    set(node);
    const CCapturedOutput printed(std::cout);
    node.Run();
    return printed.Text();
}

TEST(Border, PrintsALineIfAsked) {
    const auto nothing = [](CNodeUnderTest& /*node*/) {};
    const std::string start = "(manipulation plugins) Border::Run: Border ";
    EXPECT_EQ(LineOf(CSize(10, 8), -2, nothing),
              start + "2d image, border=-2, inputsize=(10, 8), resultsize=(6, 4), ROI=((2, 2)->(8, 6))\n");
    EXPECT_EQ(LineOf(CSize(10, 8), 0, nothing),
              start + "2d image, border=0, inputsize=(10, 8), resultsize=(10, 8), ROI=((0, 0)->(10, 8))\n");
    EXPECT_EQ(LineOf(CSize(10, 8, 1), 0, nothing), start + "3d image, border=0, inputsize=(10, 8, 1), "
                                                           "resultsize=(10, 8, 1), ROI=((0, 0, 0)->(10, 8, 1))\n");
    EXPECT_EQ(LineOf(CSize(10, 8, 1), 2, nothing),
              start + "3d image, border=2, inputsize=(10, 8, 1), resultsize=(14, 12), ROI=((-2, -2)->(12, 10)), "
                      "embedded in padding value 0\n");
    EXPECT_EQ(LineOf(CSize(10, 8, 5), 2, nothing),
              start + "3d image, border=2, inputsize=(10, 8, 5), resultsize=(14, 12, 9), "
                      "ROI=((-2, -2, -2)->(12, 10, 7)), embedded in padding value 0\n");
    EXPECT_EQ(LineOf(WithDim(CSize(4, 3, 2), 2), 1, nothing),
              start + "2d image, border=1, inputsize=(4, 3), resultsize=(6, 5, 4), "
                      "ROI=((-1, -1, -1)->(5, 4, 3)), embedded in padding value 0\n");
}

TEST(Border, PrintsTheFillByItsKind) {
    const auto tail = [](const std::function<void(CNodeUnderTest&)>& set) {
        const std::string line = LineOf(CSize(1, 1), 1, set);
        return line.substr(line.find(')', line.find("->")) + 2);
    };
    const std::string start = ", embedded in padding value ";
    EXPECT_EQ(tail([](auto& node) { node.Set("padvalue", 300); }), start + "300\n");
    EXPECT_EQ(tail([](auto& node) { node.Set("padvalue", -1); }), start + "-1\n");
    EXPECT_EQ(tail([](auto& node) { node.Set("padvalue", 2.75); }), start + "2.75\n");
    EXPECT_EQ(tail([](auto& node) { node.Set("padvalue", 7.0); }), start + "7\n");
    EXPECT_EQ(tail([](auto& node) { node.Set("padvalue", 123456789.0); }), start + "1.23457e+08\n");
    EXPECT_EQ(tail([](auto& node) { node.Set("padvalue", true); }), start + "true=1\n");
    EXPECT_EQ(tail([](auto& node) { node.Set("padvalue", false); }), start + "false=0\n");
    EXPECT_EQ(tail([](auto& node) { node.Set("padvalue", "text"); }), start + "0\n");
}

TEST(Border, PrintsBeforeTheImageIsMade) {
    CNodeUnderTest node("Border");
    node.Set("verbose", true).Set("border", -2).Input(0, ZeroImage(IMAGE_GREY_8, CSize(3, 3)));
    const CCapturedOutput printed(std::cout);
    EXPECT_EQ(node.Failure().where, "CImage");
    EXPECT_EQ(printed.Text(), "(manipulation plugins) Border::Run: Border 2d image, border=-2, inputsize=(3, 3), "
                              "resultsize=(-1, -1), ROI=((2, 2)->(1, 1))\n");
}

TEST(Border, StopsIfAborted) {
    CNodeUnderTest node("Border");
    node.Set("abort", true).Set("verbose", true).Input(0, ZeroImage(IMAGE_GREY_8, CSize(3, 3)));
    const CCapturedOutput printed(std::cout);
    for (const int border : {-1, 0, 1, -2}) { // the last has no image, which is no failure of a stopped run
        EXPECT_FALSE(node.Set("border", border).Run().HasOutput());
    }
    EXPECT_NE(printed.Text(), "") << "the line comes first";
    EXPECT_TRUE(node.Set("abort", false).Set("border", 0).Run().HasOutput());
    EXPECT_TRUE(node.Set("abort", "true").Run().HasOutput()) << "a text is no flag";
    EXPECT_FALSE(node.Set("abort", 1).Run().HasOutput());
    EXPECT_TRUE(node.Unset("abort").Run().HasOutput());
}

TEST(Border, KeepsAnEarlierOutputIfAborted) {
    CNodeUnderTest node("Border");
    node.Input(0, Bytes(1, 1, {5})).Run();
    const CValue* earlier = node.OutputValue(0);
    node.Set("abort", true).Node().Run();
    EXPECT_EQ(node.OutputValue(0), earlier);
}

// The host can set the parameter while the node runs: here, once it sees the line.
TEST(Border, LooksForTheAbortAfresh) {
    struct CAborting : std::stringbuf {
        explicit CAborting(CNodeUnderTest& running) : node(running) {}
        int sync() override { return node.Set("abort", true), 0; }
        CNodeUnderTest& node;
    };
    CNodeUnderTest node("Border");
    node.Set("verbose", true).Set("border", 1).Input(0, Bytes(1, 1, {5}));
    CAborting buffer(node);
    std::streambuf* before = std::cout.rdbuf(&buffer);
    node.Run();
    std::cout.rdbuf(before);
    EXPECT_FALSE(node.HasOutput());
}

/// A flag that turns true when it is read for the `n`-th time: set by the host meanwhile.
class CTrueLater : public CValueBool {
public:
    explicit CTrueLater(int n) : m_falseReads(n - 1) {}
    bool& Bool() override { return CValueBool::Bool(); }
    bool Bool() const override { return m_falseReads-- <= 0; }

private:
    mutable int m_falseReads;
};

TEST(Border, LooksForTheAbortThreeTimes) {
    for (const int border : {-1, 0, 1}) {
        for (const int reads : {1, 2, 3, 4}) {
            CNodeUnderTest node("Border");
            node.Set("border", border).Input(0, CodedImage(IMAGE_GREY_8, CSize(4, 4)));
            node.Node().Parameters().SetEntry("abort", new CTrueLater(reads));
            EXPECT_EQ(node.Run().HasOutput(), reads == 4) << "true at read " << reads;
        }
    }
}

/// The frame or the cut by the rules, element by element.
template <class T> std::vector<T> PlainBorder(const CImage& image, std::int64_t border, T fill) {
    const std::vector<T> in = ElementsOf<T>(image);
    const CSize& size = image.Size();
    const bool plane = border > 0 ? size.z == 1 : size.dim == 2;
    const std::int64_t borderZ = plane ? 0 : border;
    std::vector<T> out;
    for (std::int64_t z = -borderZ; z < size.z + borderZ; ++z) {
        for (std::int64_t y = -border; y < size.y + border; ++y) {
            for (std::int64_t x = -border; x < size.x + border; ++x) {
                const bool inside = x >= 0 && x < size.x && y >= 0 && y < size.y && z >= 0 && z < size.z;
                out.push_back(inside ? in[static_cast<std::size_t>(x + size.x * (y + size.y * z))] : fill);
            }
        }
    }
    return out;
}

TEST(Border, AgreesWithThePlainLoopOnRandomImages) {
    std::mt19937 random(20260406);
    const auto types = AcceptedTypes();
    for (int round = 0; round < 400; ++round) {
        const auto extent = [&] { return static_cast<std::int64_t>(random() % 14 + 5); };
        const std::int64_t width = extent() * (round % 4 == 0 ? 20 : 1);
        const CSize size = random() % 2 == 0 ? CSize(width, extent()) : CSize(width, extent(), extent());
        const int border = static_cast<int>(random() % 9) - 2;
        const int fill = static_cast<int>(random());
        const IImage::CType type = types[random() % types.size()];
        auto image = RandomImage(type, size, random);
        const CImage before(*image);
        const StBordered bordered(std::move(image), border, fill);
        EXPECT_TRUE(SameImage(before, bordered.node.InputImage(0))) << "the input has changed";
        if (type == IMAGE_GREY_F) {
            const auto real = static_cast<float>(fill);
            std::uint32_t bits = 0;
            std::memcpy(&bits, &real, sizeof bits);
            EXPECT_EQ(ElementsOf<std::uint32_t>(bordered.Image()), PlainBorder(before, border, bits));
        } else if (type == IMAGE_GREY_32) {
            const auto bits = static_cast<std::uint32_t>(fill);
            EXPECT_EQ(ElementsOf<std::uint32_t>(bordered.Image()), PlainBorder(before, border, bits));
        } else if (type == IMAGE_GREY_16) {
            const auto bits = static_cast<std::uint16_t>(fill);
            EXPECT_EQ(ElementsOf<std::uint16_t>(bordered.Image()), PlainBorder(before, border, bits));
        } else {
            const auto bits = static_cast<std::uint8_t>(fill);
            EXPECT_EQ(BytesOf(bordered.Image()), PlainBorder(before, border, bits));
        }
    }
}

} // namespace
} // namespace QUOR::test
