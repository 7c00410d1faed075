#include "NodeTest.h"

#include <array>
#include <limits>

namespace QUOR::test {
namespace {

constexpr const char* kWhere = "Emplace";
const std::vector<std::string> kAxes{"x", "y", "z"};

using Row = std::vector<std::uint8_t>;

struct StSetting {
    std::array<int, 3> pos{0, 0, 0};
    std::array<int, 3> offset{0, 0, 0};
    std::array<int, 3> size{-1, -1, -1};
    bool wrap = false;
};

/// The rules as they are told, element by element.
Row PlainEmplace(const CImage& base, const CImage& patch, const CImage* mask, const StSetting& setting) {
    const Row in = BytesOf(patch);
    const Row marks = mask == nullptr ? Row() : BytesOf(*mask);
    Row out = BytesOf(base);
    const std::array<std::int64_t, 3> extent{base.Size().x, base.Size().y, base.Size().z};
    const std::array<std::int64_t, 3> patchExtent{patch.Size().x, patch.Size().y, patch.Size().z};
    std::array<std::int64_t, 3> pos{};
    std::array<std::int64_t, 3> offset{};
    std::array<std::int64_t, 3> size{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (extent[axis] == 0 || patchExtent[axis] == 0) {
            return out;
        }
        pos[axis] = (setting.pos[axis] % extent[axis] + extent[axis]) % extent[axis];
        offset[axis] = (setting.offset[axis] % patchExtent[axis] + patchExtent[axis]) % patchExtent[axis];
        size[axis] = setting.size[axis] < 0 ? setting.size[axis] + 1 + patchExtent[axis] : setting.size[axis];
        if (size[axis] + offset[axis] > patchExtent[axis]) {
            size[axis] = patchExtent[axis] - offset[axis];
        }
        const bool fills = axis == 2 && base.Size().dim < 3;
        if (fills || (!setting.wrap && size[axis] + pos[axis] > extent[axis])) {
            size[axis] = extent[axis] - pos[axis];
        }
    }
    const IImage::CType& type = base.Type();
    const std::int64_t planes = type.interleaved ? 1 : type.channels;
    const std::int64_t bytes = type.interleaved ? type.pixelBytes : type.channelBytes;
    const std::int64_t markBytes = mask == nullptr ? 0 : mask->Type().pixelBytes;
    const auto number = [](std::int64_t x, std::int64_t y, std::int64_t z, const std::array<std::int64_t, 3>& e) {
        return x + e[0] * (y + e[1] * z);
    };
    const auto copy = [&](std::int64_t plane, std::int64_t x, std::int64_t y, std::int64_t z) {
        const std::int64_t inside = number(offset[0] + x, offset[1] + y, offset[2] + z, patchExtent);
        const std::int64_t source = plane * size[0] * size[1] * size[2] + inside;
        for (std::int64_t byte = 0; byte < markBytes; ++byte) {
            if (marks.at(static_cast<std::size_t>(inside * markBytes + byte)) != 0) {
                break;
            }
            if (byte + 1 == markBytes) {
                return;
            }
        }
        const std::int64_t target =
            plane * extent[0] * extent[1] * extent[2] +
            number((pos[0] + x) % extent[0], (pos[1] + y) % extent[1], (pos[2] + z) % extent[2], extent);
        for (std::int64_t byte = 0; byte < bytes; ++byte) {
            out.at(static_cast<std::size_t>(target * bytes + byte)) =
                in.at(static_cast<std::size_t>(source * bytes + byte));
        }
    };
    for (std::int64_t plane = 0; plane < planes; ++plane) {
        for (std::int64_t z = 0; z < size[2]; ++z) {
            for (std::int64_t y = 0; y < size[1]; ++y) {
                for (std::int64_t x = 0; x < size[0]; ++x) {
                    copy(plane, x, y, z);
                }
            }
        }
    }
    return out;
}

void Place(CNodeUnderTest& node, const StSetting& setting) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        node.Set(("pos_" + kAxes[axis]).c_str(), setting.pos[axis]);
        node.Set(("patch_offs_" + kAxes[axis]).c_str(), setting.offset[axis]);
        node.Set(("patch_size_" + kAxes[axis]).c_str(), setting.size[axis]);
    }
    node.Set("wrap", setting.wrap);
}

/// The row patch placed into a base of one row of zeros.
Row Placed(std::int64_t width, const Row& patch, const StSetting& setting) {
    CNodeUnderTest node("Emplace");
    Place(node, setting);
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(width, 1)));
    node.Input(1, Bytes(static_cast<std::int64_t>(patch.size()), 1, patch));
    return BytesOf(node.Run().Output());
}

/// A base of zeros, 3 x 3, and the patch 1 to 4, 2 x 2.
Row PlacedInPlane(const StSetting& setting, ImagePtr mask = nullptr) {
    CNodeUnderTest node("Emplace");
    Place(node, setting);
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(3, 3))).Input(1, Bytes(2, 2, {1, 2, 3, 4}));
    if (mask != nullptr) {
        node.Input(2, std::move(mask));
    }
    return BytesOf(node.Run().Output());
}

TEST(Emplace, DescribesItself) {
    const auto setup = DescriptionOf("Emplace");
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("subType", ""), "Manipulation");
    EXPECT_EQ(setup->EntryString("name", ""), "Emplace");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", ""),
              "%QUORDIR%/doc/nodeka/html/manipulation/PEmplace/index.html");
    EXPECT_EQ(KeywordsOf(*setup), "patch|emplace");
    EXPECT_EQ(MetaText(*setup, "inputs/0", "label"), "input image to patch");
    EXPECT_EQ(MetaText(*setup, "inputs/1", "label"), "patch image, must have same type as input image.");
    EXPECT_EQ(MetaText(*setup, "inputs/2", "label"),
              "optional mask image, defines foreground of patch, must be same size as patch.");
    for (const char* input : {"inputs/0", "inputs/1", "inputs/2"}) {
        EXPECT_FALSE(setup->Entry(input, true)->Meta().EntryBool("optional", true)) << input;
    }
    EXPECT_EQ(MetaText(*setup, "outputs/0", "label"), "image with patch emplaced");
    EXPECT_EQ(setup->Entry("inputs", true)->Map()->Size(), 3U);
    EXPECT_EQ(setup->Entry("outputs", true)->Map()->Size(), 1U);
}

TEST(Emplace, DescribesItsParameters) {
    const auto setup = DescriptionOf("Emplace");
    const std::array<std::string, 3> letters{"X", "Y", "Z"};
    const std::string type = "The type of this parameter is of type long. ";
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::string pos = "parameters/pos_" + kAxes[axis];
        const std::string offset = "parameters/patch_offs_" + kAxes[axis];
        const std::string size = "parameters/patch_size_" + kAxes[axis];
        for (const std::string& entry : {pos, offset, size}) {
            ASSERT_TRUE(setup->HasEntry(CValue_Key(entry), EnValType::Long)) << entry;
            EXPECT_EQ(setup->EntryLong(CValue_Key(entry), 9), entry == size ? -1 : 0) << entry;
        }
        EXPECT_EQ(MetaText(*setup, pos, "desc"), type + "patch insert position " + letters[axis] +
                                                     " of input image. Negative values subtract from the image size."
                                                     "\nBy default it is set to \\a 0.");
        EXPECT_EQ(MetaText(*setup, offset, "desc"), type + "start offset " + letters[axis] +
                                                        " of patch image. Negative values subtract from the patch size."
                                                        "\nBy default it is set to \\a 0.");
        EXPECT_EQ(MetaText(*setup, size, "desc"),
                  type + "size " + letters[axis] +
                      " of patch image.\nSetting smaller than the patch image size will crop columns from the end.\n"
                      "Negative values subtract from the patch size.\nBy default it is set to \\a -1.");
    }
    ASSERT_TRUE(setup->HasEntry("parameters/wrap", EnValType::Bool));
    EXPECT_FALSE(setup->EntryBool("parameters/wrap", true));
    EXPECT_EQ(MetaText(*setup, "parameters/wrap", "gui/boolean"), "togglebutton");
    EXPECT_EQ(MetaText(*setup, "parameters/wrap", "desc"),
              "The type of this parameter is of type bool. edge treatment behaviour on image boundaries:\n"
              "if false, the patch is cut off,\n"
              "if true, the patch is wrapped around at the input image boundaries.\n"
              "By default it is set to \\a false.");
    EXPECT_EQ(setup->Entry("parameters", true)->Map()->Size(), 10U);
    const std::vector<std::string> order{"pos_x",        "pos_y",        "pos_z",        "patch_offs_x", "patch_offs_y",
                                         "patch_offs_z", "patch_size_x", "patch_size_y", "patch_size_z", "wrap"};
    for (std::size_t number = 0; number < order.size(); ++number) {
        EXPECT_EQ(setup->EntryString(CValue_Key("gui/order/" + std::to_string(number)), "").Text(), order[number]);
    }
    EXPECT_EQ(setup->Entry("gui/order", true)->Map()->Size(), 10U);
}

TEST(Emplace, DescriptionTextHoldsItsSectionsInOrder) {
    const std::string text = DescriptionOf("Emplace")->EntryString("description", "").Text();
    std::size_t position = 0;
    for (const char* part : {"BRIEF\nPlace a patch image into an image at given position.\n\n"
                             "Emplaces the patch image from input pin 2 into the data image on pin 1.\n",
                             "\nINPUT 0\n", "\nINPUT 1\n", "\nINPUT 2\n", "\nOUTPUT 0\n", "\nPARAMETER pos_x\n",
                             "\nPARAMETER patch_offs_x\n", "\nPARAMETER patch_size_z\n", "\nPARAMETER wrap\n",
                             "\nKEYWORDS\npatch, emplace"}) {
        const std::size_t found = text.find(part, position);
        ASSERT_NE(found, std::string::npos) << part;
        position = found;
    }
}

TEST(Emplace, PlacesTheWholePatchAtTheOrigin) {
    EXPECT_EQ(PlacedInPlane({}), (Row{1, 2, 0, 3, 4, 0, 0, 0, 0}));
    EXPECT_EQ(Placed(2, {1, 2, 3}, {}), (Row{1, 2})) << "a larger patch is cut";
}

TEST(Emplace, CountsPositionsModuloTheBase) {
    const auto placedAt = [](int position) { return Placed(10, {7}, {.pos = {position, 0, 0}}); };
    const auto only = [](std::size_t column) {
        Row row(10, 0);
        row[column] = 7;
        return row;
    };
    EXPECT_EQ(placedAt(4), only(4));
    EXPECT_EQ(placedAt(-1), only(9));
    EXPECT_EQ(placedAt(10), only(0));
    EXPECT_EQ(placedAt(23), only(3));
    EXPECT_EQ(placedAt(-10), only(0));
    EXPECT_EQ(placedAt(-23), only(7));
    EXPECT_EQ(placedAt(std::numeric_limits<int>::max()), only(7));
    EXPECT_EQ(placedAt(std::numeric_limits<int>::min()), only(2)) << "-2147483648 + 2147483650";
}

TEST(Emplace, CountsWindowSizesFromThePatchIfNegative) {
    const auto placed = [](int size, int offset) {
        return Placed(6, {1, 2, 3, 4, 5}, {.offset = {offset, 0, 0}, .size = {size, -1, -1}});
    };
    EXPECT_EQ(placed(-1, 0), (Row{1, 2, 3, 4, 5, 0}));
    EXPECT_EQ(placed(-2, 0), (Row{1, 2, 3, 4, 0, 0}));
    EXPECT_EQ(placed(0, 0), (Row{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(placed(2, 0), (Row{1, 2, 0, 0, 0, 0}));
    EXPECT_EQ(placed(9, 0), (Row{1, 2, 3, 4, 5, 0}));
    EXPECT_EQ(placed(-6, 0), (Row{0, 0, 0, 0, 0, 0})) << "an extent of 0";
    EXPECT_EQ(placed(-9, 0), (Row{0, 0, 0, 0, 0, 0})) << "a negative extent";
    EXPECT_EQ(placed(std::numeric_limits<int>::min(), 0), (Row{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(placed(-1, 3), (Row{4, 5, 0, 0, 0, 0}));
    EXPECT_EQ(placed(1, 3), (Row{4, 0, 0, 0, 0, 0}));
    EXPECT_EQ(placed(-1, -2), (Row{4, 5, 0, 0, 0, 0}));
    EXPECT_EQ(placed(-1, 8), (Row{4, 5, 0, 0, 0, 0})) << "8 modulo 5 is 3";
}

TEST(Emplace, CutsOrWrapsAtTheEdges) {
    EXPECT_EQ(Placed(10, {1, 2, 3, 4}, {.pos = {8, 0, 0}}), (Row{0, 0, 0, 0, 0, 0, 0, 0, 1, 2}));
    EXPECT_EQ(Placed(10, {1, 2, 3, 4}, {.pos = {8, 0, 0}, .wrap = true}), (Row{3, 4, 0, 0, 0, 0, 0, 0, 1, 2}));
    EXPECT_EQ(PlacedInPlane({.pos = {2, 2, 0}}), (Row{0, 0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(PlacedInPlane({.pos = {2, 2, 0}, .wrap = true}), (Row{4, 0, 3, 0, 0, 0, 2, 0, 1}));
    EXPECT_EQ(PlacedInPlane({.pos = {1, 1, 0}, .wrap = true}), (Row{0, 0, 0, 0, 1, 2, 0, 3, 4}))
        << "ends at the edges, so that nothing is left to wrap";
}

TEST(Emplace, WrapsSlices) {
    CNodeUnderTest node("Emplace");
    node.Set("pos_z", 2).Set("wrap", true);
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(1, 1, 3)));
    node.Input(1, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(1, 1, 2), {1, 2}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{2, 0, 1}));
    EXPECT_EQ(BytesOf(node.Set("wrap", false).Run().Output()), (Row{0, 0, 1}));
}

TEST(Emplace, OfAWindowLargerThanTheBaseTheLastElementsStand) {
    EXPECT_EQ(Placed(3, {1, 2, 3, 4, 5, 6, 7}, {.pos = {1, 0, 0}, .wrap = true}), (Row{6, 7, 5}));
    CNodeUnderTest node("Emplace");
    node.Set("wrap", true).Set("pos_y", 1);
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(1, 2))).Input(1, Bytes(1, 3, {1, 2, 3}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{2, 3}));
    node.Input(2, Bytes(1, 3, {1, 1, 0}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{2, 1})) << "what the mask leaves out covers nothing";
}

TEST(Emplace, TakesTheForegroundOfTheMask) {
    EXPECT_EQ(PlacedInPlane({}, Bytes(2, 2, {1, 0, 0, 255})), (Row{1, 0, 0, 0, 4, 0, 0, 0, 0}));
    EXPECT_EQ(PlacedInPlane({}, Bytes(2, 2, {0, 0, 0, 0})), Row(9, 0));
    EXPECT_EQ(PlacedInPlane({}, Floats(2, 2, {0.0F, -0.0F, 1e-45F, 0.0F})), (Row{0, 2, 0, 3, 0, 0, 0, 0, 0}))
        << "a float is foreground unless all its bytes are zero";
    EXPECT_EQ(PlacedInPlane({.pos = {2, 2, 0}, .wrap = true}, Bytes(2, 2, {1, 1, 0, 1})),
              (Row{4, 0, 0, 0, 0, 0, 2, 0, 1}));
    EXPECT_EQ(PlacedInPlane({.offset = {1, 0, 0}}, Bytes(2, 2, {1, 0, 0, 1})), (Row{0, 0, 0, 4, 0, 0, 0, 0, 0}));
}

TEST(Emplace, LooksAtEveryByteOfAMaskElement) {
    const auto placed = [](const IImage::CType& type, auto element) {
        CNodeUnderTest node("Emplace");
        node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(1, 1))).Input(1, Bytes(1, 1, {7}));
        node.Input(2, MakeImage<decltype(element)>(type, CSize(1, 1), {element}));
        return BytesOf(node.Run().Output())[0];
    };
    EXPECT_EQ(placed(IMAGE_GREY_16, std::uint16_t{0x100}), 7);
    EXPECT_EQ(placed(IMAGE_GREY_32, std::uint32_t{0x1000000}), 7);
    EXPECT_EQ(placed(IMAGE_GREY_64, std::uint64_t{1} << 63), 7);
    EXPECT_EQ(placed(IMAGE_GREY_D, -0.0), 7);
    EXPECT_EQ(placed(IMAGE_GREY_D, 0.0), 0);
    EXPECT_EQ(placed(IMAGE_BINARY_BG, std::uint8_t{1}), 7);
}

TEST(Emplace, ABaseOfTwoDimensionsTakesOneSlice) {
    CNodeUnderTest node("Emplace");
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 1)));
    node.Input(1, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(1, 1, 3), {1, 2, 3}));
    for (const int size : {-1, 0, 1, 3, -7}) {
        EXPECT_EQ(BytesOf(node.Set("patch_size_z", size).Run().Output()), (Row{1, 0})) << size;
    }
    EXPECT_EQ(BytesOf(node.Set("patch_offs_z", -1).Run().Output()), (Row{3, 0}));
    EXPECT_EQ(BytesOf(node.Set("wrap", true).Set("pos_z", 5).Run().Output()), (Row{3, 0}));
    node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 1, 1)));
    EXPECT_EQ(BytesOf(node.Set("patch_size_z", 0).Run().Output()), (Row{0, 0})) << "one of three takes what is asked";
}

TEST(Emplace, ReadsNothingPastThePatchForABaseOfFewerDimensions) {
    CSize flat(2, 2, 3);
    flat.SetDim(2);
    CNodeUnderTest node("Emplace");
    node.Input(0, ZeroImage(IMAGE_GREY_8, flat)).Input(1, Bytes(2, 1, {1, 2}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})) << "the patch has one slice";
    node.Input(2, Bytes(2, 1, {1, 1}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    CSize line(2, 3);
    line.SetDim(1);
    node.Input(0, ZeroImage(IMAGE_GREY_8, line)).NoInput(2).Set("patch_size_y", 0);
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{1, 2, 0, 0, 0, 0})) << "the window fills the rows, the patch has one";
    for (const bool masked : {false, true}) {
        node.Input(0, ZeroImage(IMAGE_RGB_8, flat)).Input(1, ZeroImage(IMAGE_RGB_8, CSize(2, 1)));
        if (masked) {
            node.Input(2, Bytes(2, 1, {1, 1}));
        }
        EXPECT_EQ(BytesOf(node.Run().Output()), Row(36, 0));
    }
}

TEST(Emplace, StepsFromPlaneToPlaneOfThePatchByTheWindow) {
    CNodeUnderTest node("Emplace");
    node.Input(0, ZeroImage(IMAGE_RGB_8, CSize(2, 1)));
    node.Input(1, MakeImage<std::uint8_t>(IMAGE_RGB_8, CSize(2, 1), {1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(BytesOf(node.Set("patch_size_x", 1).Run().Output()), (Row{1, 0, 2, 0, 3, 0}));
    EXPECT_EQ(BytesOf(node.Set("patch_offs_x", 1).Run().Output()), (Row{2, 0, 3, 0, 4, 0}));
    node.Set("patch_size_x", -1).Set("patch_offs_x", 0).Input(2, Bytes(2, 1, {0, 1}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{0, 2, 0, 4, 0, 6})) << "one mask for all planes";
    node.Set("patch_size_x", 1).Set("patch_offs_x", 1);
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{2, 0, 3, 0, 4, 0}));
}

TEST(Emplace, ServesTypesOfItsHostThatNoOtherNodeKnows) {
    const IImage::CType together("RGB_TOGETHER", 3, 1, true, 40);
    const IImage::CType pair("PAIR_16", 2, 2, false, 41);
    CNodeUnderTest node("Emplace");
    node.Input(0, ZeroImage(together, CSize(2, 1)));
    node.Input(1, MakeImage<std::uint8_t>(together, CSize(2, 1), {1, 2, 3, 4, 5, 6}));
    node.Input(2, Bytes(2, 1, {0, 1}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{0, 0, 0, 4, 5, 6}));
    EXPECT_EQ(BytesOf(node.NoInput(2).Set("pos_x", 1).Run().Output()), (Row{0, 0, 0, 1, 2, 3}));
    node.Set("pos_x", 0).Set("patch_size_x", 1).Input(0, ZeroImage(pair, CSize(2, 1)));
    node.Input(1, MakeImage<std::uint16_t>(pair, CSize(2, 1), {1, 2, 3, 4}));
    EXPECT_EQ(ElementsOf<std::uint16_t>(node.Run().Output()), (std::vector<std::uint16_t>{1, 0, 2, 0}));
}

TEST(Emplace, GivesTheBaseIfAnImageIsEmpty) {
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const CSize& size : {CSize(0, 2), CSize(2, 0, 2), CSize(2, 2, 0), CSize(huge, 0, huge)}) {
        for (const bool masked : {false, true}) {
            CNodeUnderTest node("Emplace");
            node.Set("wrap", true).Set("pos_x", 1);
            node.Input(0, Bytes(2, 1, {8, 9})).Input(1, ZeroImage(IMAGE_GREY_8, size));
            if (masked) {
                node.Input(2, ZeroImage(IMAGE_GREY_8, size));
            }
            EXPECT_TRUE(SameImage(node.InputImage(0), node.Run().Output()));
            node.Input(0, ZeroImage(IMAGE_GREY_8, size)).Input(1, Bytes(2, 1, {8, 9})).NoInput(2);
            EXPECT_TRUE(SameImage(node.InputImage(0), node.Run().Output()));
        }
    }
}

TEST(Emplace, RefusesWhatIsMissingOrNoImageInItsOrder) {
    const auto failure = [](const char* what) { return StFailure{kWhere, what}; };
    CNodeUnderTest node("Emplace");
    EXPECT_EQ(node.Failure(), failure("Input slot '0' has no data!"));
    node.Input(0, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure(), failure("Input slot '1' has no data!"));
    node.Input(1, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure(), failure("Data on slot 0 is not an image."));
    node.NullImage(0);
    EXPECT_EQ(node.Failure(), failure("Data on slot 1 is not an image."));
    node.NullImage(1).Input(2, std::make_unique<CValueLong>(1));
    EXPECT_EQ(node.Failure(), failure("Null pointer on slot 0."));
    node.Input(0, Bytes(1, 1, {1}));
    EXPECT_EQ(node.Failure(), failure("Null pointer on slot 1."));
    node.Input(1, Floats(2, 1, {1, 2}));
    EXPECT_EQ(node.Failure().what, "the value must be a pointer to an image, but is an integer")
        << "a mask that is no image meets the host's words";
    node.NullImage(2);
    EXPECT_EQ(node.Failure(), failure("Null pointer on slot 2."));
    node.Input(2, ZeroImage(IMAGE_RGB_8, CSize(1, 1)));
    EXPECT_EQ(node.Failure(), failure("Image on slot 0 (Base) is not of same type as image on slot 1 (Patch)."));
    node.Input(1, Bytes(2, 1, {1, 2}));
    EXPECT_EQ(node.Failure(), failure("Image on slot 2 (Mask) is not a grey or binary image."));
    node.Input(2, Bytes(1, 1, {1}));
    EXPECT_EQ(node.Failure(), failure("Image on slot 1 (Patch) is not the same size as image on slot 2 (Mask)."));
    EXPECT_TRUE(node.Input(2, Bytes(2, 1, {1, 1})).Run().HasOutput());
}

TEST(Emplace, ComparesEachExtentOfTheMask) {
    for (const CSize& size : {CSize(1, 2, 2), CSize(2, 1, 2), CSize(2, 2, 1)}) {
        CNodeUnderTest node("Emplace");
        node.Input(0, ZeroImage(IMAGE_GREY_8, CSize(2, 2, 2))).Input(1, ZeroImage(IMAGE_GREY_8, CSize(2, 2, 2)));
        EXPECT_EQ(node.Input(2, ZeroImage(IMAGE_GREY_8, size)).Failure().what,
                  "Image on slot 1 (Patch) is not the same size as image on slot 2 (Mask).");
    }
    CNodeUnderTest node("Emplace");
    node.Input(0, Bytes(1, 1, {1})).Input(1, Bytes(1, 1, {2}));
    node.Input(2, MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(1, 1, 1), {1}));
    EXPECT_EQ(BytesOf(node.Run().Output()), (Row{2})) << "the dimension count doesn't matter";
}

TEST(Emplace, TellsGreyAndBinaryMasksByTheirKind) {
    for (const auto kind : {1, 2, 4, 9, 10, 18, 19, 20}) {
        const bool accepted = (kind >= 2 && kind <= 9) || kind == 19;
        const IImage::CType type("MASK", 1, 1, false, static_cast<std::uint16_t>(kind));
        CNodeUnderTest node("Emplace");
        node.Input(0, Bytes(1, 1, {1})).Input(1, Bytes(1, 1, {2}));
        node.Input(2, MakeImage<std::uint8_t>(type, CSize(1, 1), {1}));
        if (accepted) {
            EXPECT_EQ(BytesOf(node.Run().Output()), (Row{2})) << kind;
        } else {
            EXPECT_EQ(node.Failure().what, "Image on slot 2 (Mask) is not a grey or binary image.") << kind;
        }
    }
}

TEST(Emplace, TakesMasksWhoseElementsAreNoMachineWord) {
    const IImage::CType mask("THREE_BYTES", 3, 1, true, 5);
    for (const auto& type : {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64}) {
        CNodeUnderTest node("Emplace");
        node.Input(0, CodedImage(type, CSize(4, 1))).Input(1, CodedImage(type, CSize(4, 2)));
        node.Input(2, MakeImage<std::uint8_t>(mask, CSize(4, 2), {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
                                                                  1, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 255}));
        node.Set("patch_offs_y", 1);
        const std::unique_ptr<const IAccess> out(node.Run().Output().CreateAccess());
        Row marked;
        for (const std::int64_t x : {0, 1, 2, 3}) {
            marked.push_back(static_cast<std::uint8_t>(out->Get(x, 0, 0, 0)));
        }
        EXPECT_EQ(marked, (Row{10, 11, 2, 13})) << type.ToString();
    }
}

TEST(Emplace, ReadsItsParametersInRun) {
    CNodeUnderTest node("Emplace");
    node.Input(0, Bytes(2, 1, {0, 0})).Input(1, Bytes(1, 1, {7})).Run();
    EXPECT_EQ(BytesOf(node.Output()), (Row{7, 0}));
    EXPECT_EQ(BytesOf(node.Set("pos_x", 1).RunAgain().Output()), (Row{0, 7}));
    EXPECT_EQ(BytesOf(node.Set("pos_x", 1.9).RunAgain().Output()), (Row{0, 7})) << "as the host converts it";
    EXPECT_EQ(BytesOf(node.Set("pos_x", true).RunAgain().Output()), (Row{0, 7}));
    EXPECT_EQ(BytesOf(node.Set("pos_x", "1").RunAgain().Output()), (Row{7, 0}));
    EXPECT_EQ(BytesOf(node.Unset("pos_x").RunAgain().Output()), (Row{7, 0}));
    EXPECT_EQ(BytesOf(node.Set("patch_size_x", "0").RunAgain().Output()), (Row{7, 0}));
    EXPECT_EQ(BytesOf(node.Set("patch_size_x", 0.5).RunAgain().Output()), (Row{0, 0}));
}

TEST(Emplace, KeepsTypeAndDimensionCountButNoAttributes) {
    for (const IImage::CType& type : AllTypes()) {
        for (const CSize& size : {CSize(2, 2), CSize(2, 2, 1)}) {
            std::mt19937 random(1);
            auto base = RandomImage(type, size, random);
            base->Attributes().SetEntry("Image/ContentType", new CValueString(CString("table")));
            CNodeUnderTest node("Emplace");
            node.Input(0, std::move(base)).Input(1, RandomImage(type, size, random)).Run();
            EXPECT_TRUE(SameImage(node.InputImage(1), node.Output())) << type.ToString();
            EXPECT_TRUE(node.Output().Attributes().IsEmpty());
        }
    }
}

TEST(Emplace, AgreesWithThePlainRulesOnRandomImages) {
    std::mt19937 random(20260406);
    const std::vector<IImage::CType> masks = TypesWithout({IMAGE_RGB_8});
    for (int round = 0; round < 3000; ++round) {
        const auto extent = [&](unsigned most) { return static_cast<std::int64_t>(random() % most + 1); };
        const unsigned width = round % 10 == 0 ? 200 : 9;
        const unsigned height = round % 10 == 0 ? 60 : 5; // rows of several pages of memory
        const auto randomSize = [&] {
            return random() % 3 == 0 ? CSize(extent(width), extent(height))
                                     : CSize(extent(width), extent(height), extent(4));
        };
        const auto number = [&](int most) {
            return static_cast<int>(random() % static_cast<unsigned>(2 * most + 1)) - most;
        };
        const int most = static_cast<int>(width);
        const int highest = static_cast<int>(height);
        const StSetting setting{.pos = {number(most), number(highest + 2), number(6)},
                                .offset = {random() % 2 == 0 ? 0 : number(most), number(2), number(2)},
                                .size = {random() % 2 == 0 ? -1 : number(most),
                                         random() % 2 == 0 ? -1 : number(highest), random() % 2 == 0 ? -1 : number(4)},
                                .wrap = random() % 2 == 0};
        const IImage::CType type = AllTypes()[random() % AllTypes().size()];
        CNodeUnderTest node("Emplace");
        Place(node, setting);
        node.Input(0, RandomImage(type, randomSize(), random));
        node.Input(1, RandomImage(type, randomSize(), random));
        const CImage* mask = nullptr;
        if (random() % 2 == 0) {
            auto marks = RandomImage(masks[random() % masks.size()], node.InputImage(1).Size(), random);
            auto* bytes = static_cast<std::uint8_t*>(marks->Buffer().Data());
            for (std::size_t byte = 0; byte < marks->Buffer().Size(); ++byte) {
                bytes[byte] = random() % (2 * marks->Type().pixelBytes) == 0 ? bytes[byte] : std::uint8_t{0};
            }
            node.Input(2, std::move(marks));
            mask = &node.InputImage(2);
        }
        const std::array<Row, 2> before{BytesOf(node.InputImage(0)), BytesOf(node.InputImage(1))};
        node.Run();
        EXPECT_EQ(BytesOf(node.InputImage(0)), before[0]) << "the base has changed";
        EXPECT_EQ(BytesOf(node.InputImage(1)), before[1]) << "the patch has changed";
        EXPECT_EQ(node.Output().Size(), node.InputImage(0).Size());
        ASSERT_EQ(BytesOf(node.Output()), PlainEmplace(node.InputImage(0), node.InputImage(1), mask, setting))
            << "in round " << round;
    }
}

} // namespace
} // namespace QUOR::test
