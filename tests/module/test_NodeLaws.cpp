// What nodes do to one another, on random images and parameters: inverse pairs, runs in a row that equal one run, and
// nodes that agree with others where their rules meet.

#include "PropertyTest.h"

#include <algorithm>
#include <numeric>

namespace QUOR::test {
namespace {

std::vector<IImage::CType> TypesOfFlip() { return TypesWithout({IMAGE_GREY_64, IMAGE_RGB_8}); }

std::vector<IImage::CType> TypesOfTranslate() { return {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG, IMAGE_BINARY_BG}; }

/// The types of most nodes that only move elements.
std::vector<IImage::CType> UsualTypes() {
    return {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
}

/// The types of most nodes that compute.
std::vector<IImage::CType> FloatsAndBytes() { return {IMAGE_GREY_F, IMAGE_GREY_8}; }

const std::vector<std::string> kOrders{"XYZ", "XZY", "YXZ", "YZX", "ZYX", "ZXY"};
const std::vector<std::string> kAxes{"X", "Y", "Z"};

std::int64_t& Extent(CSize& size, const std::string& axis) {
    return axis == "X" ? size.x : axis == "Y" ? size.y : size.z;
}

/// An image of one element type whose element number i is `number(i)`.
template <class T, class Number> ImagePtr Numbered(const IImage::CType& type, const CSize& size, Number&& number) {
    std::vector<T> elements(size.Volume());
    std::generate(elements.begin(), elements.end(), [&, i = std::size_t{0}]() mutable { return number(i++); });
    return MakeImage(type, size, elements);
}

ImagePtr Filled(const IImage::CType& type, const CSize& size, std::uint8_t byte) {
    ImagePtr image = ZeroImage(type, size);
    image->Buffer().Set(byte);
    return image;
}

Settings AnyShift(int least, int end) {
    return {{"offset_x", *rc::gen::inRange(least, end)},
            {"offset_y", *rc::gen::inRange(least, end)},
            {"offset_z", *rc::gen::inRange(least, end)}};
}

Settings With(Settings settings, const Settings& more) {
    settings.insert(more.begin(), more.end());
    return settings;
}

/// The shifts with each number changed.
template <class Change> Settings Changed(const Settings& shift, Change&& change) {
    Settings changed;
    for (const auto& [key, setting] : shift) {
        changed[key] = change(key, std::get<int>(setting));
    }
    return changed;
}

RC_GTEST_PROP(NodeLaws, FlipUndoesItself, (bool x, bool y, bool z)) {
    const ImagePtr image = Draw(*AnyPicture(TypesOfFlip()));
    const Settings flips{{"flip_x", x}, {"flip_y", y}, {"flip_z", z}};
    RequireSame(*image, *Through("Flip", flips, {Through("Flip", flips, {image.get()}).get()}));
}

RC_GTEST_PROP(NodeLaws, FlipOfSeveralAxesIsAFlipOfEach, ()) {
    const ImagePtr image = Draw(*AnyPicture(TypesOfFlip()));
    ImagePtr flipped = Through("Flip", {{"flip_z", true}}, {image.get()});
    flipped = Through("Flip", {{"flip_x", true}}, {flipped.get()});
    flipped = Through("Flip", {{"flip_y", true}}, {flipped.get()});
    RequireSame(*flipped, *Through("Flip", {{"flip_x", true}, {"flip_y", true}, {"flip_z", true}}, {image.get()}));
}

RC_GTEST_PROP(NodeLaws, SwitchAxesComposes, ()) {
    const ImagePtr image = Draw(*AnyPicture(UsualTypes()));
    const std::string first = *rc::gen::elementOf(kOrders);
    const std::string second = *rc::gen::elementOf(kOrders);
    std::string both; // each letter names the axis that the second order takes from the first
    for (const char axis : second) {
        both += first[static_cast<std::size_t>(axis - 'X')];
    }
    const ImagePtr switched = Through("SwitchAxes", {{"axes", first}}, {image.get()});
    RequireSame(*Through("SwitchAxes", {{"axes", both}}, {image.get()}),
                *Through("SwitchAxes", {{"axes", second}}, {switched.get()}));
}

RC_GTEST_PROP(NodeLaws, SwitchAxesHasInverses, ()) {
    const std::map<std::string, std::string> inverses{{"XYZ", "XYZ"}, {"XZY", "XZY"}, {"YXZ", "YXZ"},
                                                      {"ZYX", "ZYX"}, {"YZX", "ZXY"}, {"ZXY", "YZX"}};
    const ImagePtr image = Draw(*AnyPicture(UsualTypes()));
    const std::string order = *rc::gen::elementOf(kOrders);
    const ImagePtr switched = Through("SwitchAxes", {{"axes", order}}, {image.get()});
    RequireSame(*AsVolume(*image), *Through("SwitchAxes", {{"axes", inverses.at(order)}}, {switched.get()}));
}

RC_GTEST_PROP(NodeLaws, FourQuarterTurnsAreNone, ()) {
    const ImagePtr image = Draw(*AnyPicture(FloatsAndBytes(), 1));
    const int angle = *rc::gen::element(90, 270, -90, -270, 450, -990);
    ImagePtr turned = std::make_unique<CImage>(*image);
    for (int turn = 0; turn < 4; ++turn) {
        turned = Through("Rotate", {{"angle", angle}, {"resize", true}}, {turned.get()});
    }
    RequireSame(*AsVolume(*image), *turned);
}

RC_GTEST_PROP(NodeLaws, TurnsAreFlipsAndSwitchedAxes, ()) {
    const ImagePtr image = Draw(*AnyPicture(FloatsAndBytes(), 1));
    const auto turned = [&](int angle) {
        return Through("Rotate", {{"angle", angle}, {"resize", true}}, {image.get()});
    };
    const ImagePtr switched = Through("SwitchAxes", {{"axes", "YXZ"}}, {image.get()});
    RequireSame(*Through("Flip", {{"flip_x", true}}, {switched.get()}), *turned(90));
    RequireSame(*Through("Flip", {{"flip_y", true}}, {switched.get()}), *turned(270));
    const ImagePtr volume = AsVolume(*image);
    RequireSame(*Through("Flip", {{"flip_x", true}, {"flip_y", true}}, {volume.get()}), *turned(180));
}

RC_GTEST_PROP(NodeLaws, TranslateWrappedIsUndoneByItsOpposite, ()) {
    const ImagePtr image = Draw(*AnyPicture(TypesOfTranslate()));
    const Settings shift = AnyShift(-90, 90);
    const Settings back = Changed(shift, [](const std::string& /*key*/, int offset) { return -offset; });
    const ImagePtr moved = Through("Translate", With(shift, {{"wrap", true}}), {image.get()});
    RequireSame(*image, *Through("Translate", With(back, {{"wrap", true}}), {moved.get()}));
}

RC_GTEST_PROP(NodeLaws, TranslateTwiceIsOnceByTheSum, ()) {
    const ImagePtr image = Draw(*AnyPicture(TypesOfTranslate()));
    // Wrapped, nothing is lost; otherwise nothing comes back that both shifts have pushed out at one side.
    const bool wrap = *rc::gen::arbitrary<bool>();
    const int least = wrap ? -40 : 0;
    const int sign = *rc::gen::element(-1, 1);
    const auto signed_ = [sign](const std::string& /*key*/, int offset) { return sign * offset; };
    const Settings first = Changed(AnyShift(least, 20), signed_);
    const Settings second = Changed(AnyShift(least, 20), signed_);
    const Settings sum =
        Changed(first, [&](const std::string& key, int offset) { return offset + std::get<int>(second.at(key)); });
    const Settings others{{"wrap", wrap}, {"bg_value", 7.0}};
    const ImagePtr moved = Through("Translate", With(first, others), {image.get()});
    RequireSame(*Through("Translate", With(sum, others), {image.get()}),
                *Through("Translate", With(second, others), {moved.get()}));
}

RC_GTEST_PROP(NodeLaws, TranslateIsAResampleByTheOppositeShift, ()) {
    const ImagePtr image = Draw(*FewNumbers(FloatsAndBytes()));
    const Settings shift = AnyShift(-5, 6);
    const auto constant = [&](const char* key) {
        const auto opposite = static_cast<float>(-std::get<int>(shift.at(key)));
        return Numbered<float>(IMAGE_GREY_F, image->Size(), [opposite](std::size_t /*number*/) { return opposite; });
    };
    const ImagePtr x = constant("offset_x");
    const ImagePtr y = constant("offset_y");
    const ImagePtr z = constant("offset_z");
    // Sums turn -0.0 into 0.0.
    const std::string interpolation =
        image->Type() == IMAGE_GREY_8 && *rc::gen::arbitrary<bool>() ? "BILINEAR" : "NONE";
    RequireSame(*Through("Translate", With(shift, {{"bg_value", 3.0}}), {image.get()}),
                *Through("Resample", {{"bg_value", 3.0}, {"interpolation", interpolation}},
                         {image.get(), x.get(), y.get(), z.get()}));
}

RC_GTEST_PROP(NodeLaws, ExtractUndoesPad, ()) {
    const ImagePtr image = Draw(*AnyPicture(UsualTypes(), 1));
    Settings margins;
    for (const char* side : {"left", "right", "top", "bottom", "front", "back"}) {
        margins["pad_" + std::string(side)] = *rc::gen::inRange(0, 9);
    }
    const ImagePtr padded = Through("Pad", With(margins, {{"value", 9.0}}), {image.get()});
    RequireSame(*AsVolume(*image), *Through("Extract",
                                            {{"offset_x", margins["pad_left"]},
                                             {"offset_y", margins["pad_top"]},
                                             {"offset_z", margins["pad_front"]},
                                             {"size_x", static_cast<int>(image->Size().x)},
                                             {"size_y", static_cast<int>(image->Size().y)},
                                             {"size_z", static_cast<int>(image->Size().z)}},
                                            {padded.get()}));
}

RC_GTEST_PROP(NodeLaws, BorderIsUndoneByItsOpposite, ()) {
    const ImagePtr image = Draw(*AnyPicture(UsualTypes(), 1));
    RC_PRE(image->Size().dim == 2 || image->Size().z > 1); // a single slice of a volume is padded as a plane
    const int border = *rc::gen::inRange(0, 9);
    const ImagePtr framed = Through("Border", {{"border", border}, {"padvalue", 5}}, {image.get()});
    RequireSame(*image, *Through("Border", {{"border", -border}}, {framed.get()}));
}

RC_GTEST_PROP(NodeLaws, BorderOfAVolumeIsAPadOfAllSides, ()) {
    const ImagePtr image = Draw(*AnyPicture(UsualTypes(), 2));
    RC_PRE(image->Size().dim == 3);
    const int border = *rc::gen::inRange(0, 9);
    Settings margins{{"value", 300.0}};
    for (const char* side : {"left", "right", "top", "bottom", "front", "back"}) {
        margins["pad_" + std::string(side)] = border;
    }
    RequireSame(*Through("Pad", margins, {image.get()}),
                *Through("Border", {{"border", border}, {"padvalue", 300}}, {image.get()}));
}

/// A ratio that has Split cut an extent behind `first` of its elements.
double RatioFor(std::int64_t first, std::int64_t extent) {
    return (static_cast<double>(first) + 0.5) / static_cast<double>(extent);
}

RC_GTEST_PROP(NodeLaws, SplitUndoesAppend, ()) {
    const StPicture picture = *AnyPicture(UsualTypes(), 1);
    const std::string along = *rc::gen::elementOf(kAxes);
    CSize size(picture.size.x, picture.size.y, picture.size.z);
    const std::int64_t before = Extent(size, along);
    Extent(size, along) = *rc::gen::inRange<std::int64_t>(1, 20);
    const ImagePtr first = Draw(picture);
    const ImagePtr second = Draw(*AnyPictureOf({picture.type}, size));
    const ImagePtr joined = Through("Append", {{"along", along}}, {first.get(), second.get()});
    const Settings cut{{"along", along}, {"split_ratio", RatioFor(before, before + Extent(size, along))}};
    RequireSame(*AsVolume(*first), *Through("Split", cut, {joined.get()}, 0));
    RequireSame(*second, *Through("Split", cut, {joined.get()}, 1));
}

RC_GTEST_PROP(NodeLaws, AppendUndoesSplit, ()) {
    const ImagePtr image = Draw(*AnyPicture(UsualTypes()));
    const std::string along = *rc::gen::elementOf(kAxes);
    const Settings cut{{"along", along}, {"split_ratio", *rc::gen::inRange(1, 100) / 100.0}};
    const ImagePtr first = Through("Split", cut, {image.get()}, 0);
    const ImagePtr second = Through("Split", cut, {image.get()}, 1);
    RequireSame(*AsVolume(*image), *Through("Append", {{"along", along}}, {first.get(), second.get()}));
}

RC_GTEST_PROP(NodeLaws, ReplicateIsARepeatedAppend, ()) {
    const ImagePtr image = Draw(*AnyPicture(UsualTypes()));
    const std::string along = *rc::gen::elementOf(kAxes);
    ImagePtr joined = AsVolume(*image);
    for (int count = 1; count < 6; ++count) {
        RequireSame(*joined, *Through("Replicate", {{"along", along}, {"count", count}}, {image.get()}));
        joined = Through("Append", {{"along", along}}, {joined.get(), image.get()});
    }
}

RC_GTEST_PROP(NodeLaws, DeserializeUndoesSerialize, ()) {
    const ImagePtr image = Draw(*AnyPicture(AllTypes()));
    const ImagePtr row = Through("Serialize", {{"direction", *rc::gen::elementOf(kAxes)}}, {image.get()});
    RC_ASSERT(BytesOf(*row) == BytesOf(*image));
    RequireSame(*AsVolume(*image), *Through("Deserialize", {}, {row.get(), image.get()}));
}

RC_GTEST_PROP(NodeLaws, PlaneToVolumeUndoesVolumeToPlane, ()) {
    const ImagePtr image = Draw(*AnyPicture(FloatsAndBytes(), 1));
    const ImagePtr plane = Through("VolumeToPlane", {{"slices_x", 1}}, {image.get()});
    RC_ASSERT(plane->Size() == CSize(image->Size().x, image->Size().y * image->Size().z, 1));
    RequireSame(*AsVolume(*image), *Through("PlaneToVolume", {}, {plane.get(), image.get()}));
}

RC_GTEST_PROP(NodeLaws, VolumeToPlaneTilesAreTheSlices, ()) {
    const ImagePtr image = Draw(*AnyPicture(FloatsAndBytes(), 1));
    const int tiles = *rc::gen::inRange(1, 8);
    const ImagePtr plane = Through("VolumeToPlane", {{"slices_x", tiles}, {"background_value", 4.0}}, {image.get()});
    const int width = static_cast<int>(image->Size().x);
    const int height = static_cast<int>(image->Size().y);
    const int slice = static_cast<int>(*rc::gen::inRange<std::int64_t>(0, image->Size().z));
    const Settings window{{"size_x", width}, {"size_y", height}};
    RequireSame(*Through("Extract", With(window, {{"offset_z", slice}, {"size_z", 1}}), {AsVolume(*image).get()}),
                *Through("Extract",
                         With(window, {{"offset_x", slice % tiles * width}, {"offset_y", slice / tiles * height}}),
                         {plane.get()}));
}

RC_GTEST_PROP(NodeLaws, ShrinkUndoesExpand, ()) {
    const ImagePtr image = Draw(*AnyPicture(FloatsAndBytes()));
    const ImagePtr expanded = Through("Expand", {}, {image.get()});
    RequireSame(*AsVolume(*image), *Through("Shrink", {{"mode", "SKIP"}}, {expanded.get()}));
    if (image->Type() == IMAGE_GREY_8) { // equal samples have the same largest and smallest one, and mean
        for (const char* mode : {"MAX", "MAXFAST", "MIN", "MINFAST", "MEDIAN", "AVERAGE"}) {
            RequireSame(*AsVolume(*image), *Through("Shrink", {{"mode", mode}}, {expanded.get()}));
        }
    }
}

RC_GTEST_PROP(NodeLaws, ScaleByMinusOneIsAFlipOfOddExtents, (bool x, bool y, bool z)) {
    const ImagePtr image = Draw(*AnyPicture(FloatsAndBytes(), 1));
    const CSize& size = image->Size();
    RC_PRE(size.x % 2 == 1 && size.y % 2 == 1 && size.z % 2 == 1);
    RequireSame(*Through("Flip", {{"flip_x", x}, {"flip_y", y}, {"flip_z", z}}, {image.get()}),
                *Through("Scale",
                         {{"scale_x", x ? -1.0 : 1.0}, {"scale_y", y ? -1.0 : 1.0}, {"scale_z", z ? -1.0 : 1.0}},
                         {image.get()}));
}

RC_GTEST_PROP(NodeLaws, ResizeByWholeFactorsKeepsTheElementsInItsGrid, ()) {
    StPicture picture = *FewNumbers(FloatsAndBytes(), 1);
    picture.size = CSize(picture.size.x, picture.size.y);
    const ImagePtr image = Draw(picture);
    const int factor = *rc::gen::inRange(2, 5);
    const ImagePtr resized =
        Through("Resize", {{"scale_x", factor}, {"scale_y", static_cast<double>(factor)}}, {image.get()});
    const std::unique_ptr<const IAccess> in(image->CreateAccess());
    const std::unique_ptr<const IAccess> out(resized->CreateAccess());
    for (std::int64_t y = 0; y < image->Size().y; ++y) {
        for (std::int64_t x = 0; x < image->Size().x; ++x) {
            RC_ASSERT(out->Get(x * factor, y * factor, 0, 0) == in->Get(x, y, 0, 0));
        }
    }
}

/// The image with a node run on each half of its slices, the halves put together again.
ImagePtr InHalves(const char* name, const Settings& settings, const CImage& image) {
    const Settings cut{{"along", "Z"}, {"split_ratio", 0.5}};
    const ImagePtr front = Through(name, settings, {Through("Split", cut, {&image}, 0).get()});
    const ImagePtr back = Through(name, settings, {Through("Split", cut, {&image}, 1).get()});
    return Through("Append", {{"along", "Z"}}, {front.get(), back.get()});
}

RC_GTEST_PROP(NodeLaws, SlicesAreServedEachByItself, (bool flag)) {
    const ImagePtr image = AsVolume(*Draw(*FewNumbers(FloatsAndBytes(), 2)));
    RC_PRE(image->Size().z > 1);
    const double angle = *rc::gen::inRange(-180, 181);
    const std::string method = *rc::gen::element<std::string>("NEAREST_NEIGHBOR", "BILINEAR");
    const std::vector<std::pair<const char*, Settings>> nodes{
        {"Rotate", {{"angle", angle}, {"resize", flag}, {"method", method}, {"bg_value", 2.0}}},
        {"CartesianToPolar", {}},
        {"PolarToCartesian", {}},
        {"Flip", {{"flip_x", flag}, {"flip_y", true}}}};
    for (const auto& [name, settings] : nodes) {
        RequireSame(*InHalves(name, settings, *image), *Through(name, settings, {image.get()}));
    }
}

RC_GTEST_PROP(NodeLaws, SizesAreCountedSliceBySlice, ()) {
    const ImagePtr image = AsVolume(*Draw(*FewNumbers({IMAGE_GREY_F}, 2)));
    RC_PRE(image->Size().z > 1);
    RequireSame(*InHalves("LabelToSize", {}, *image), *Through("LabelToSize", {}, {image.get()}));
}

RC_GTEST_PROP(NodeLaws, AutocropGivesWhatItsMapExtracts, ()) {
    const ImagePtr image = Draw(*FewNumbers({IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG}, 1));
    const ImagePtr volume = AsVolume(*image);
    CNodeUnderTest crop("Autocrop");
    crop.Input(0, std::make_unique<CImage>(*image)).Run();
    const CValueMap& map = *crop.OutputValue(1)->Map();
    const ImagePtr framed = Through("Pad", {{"pad_left", 2}, {"pad_top", 1}, {"pad_back", 3}}, {&crop.Output()});
    RC_PRE(map.EntryLong("offset_x") < image->Size().x); // something is there to crop to
    CNodeUnderTest extract("Extract");
    extract.Input(0, std::make_unique<CImage>(*volume));
    extract.Input(1, std::unique_ptr<CValue>(map.Clone(EnTfOwnership::Copy))).Run();
    RequireSame(crop.Output(), extract.Output());
    RequireSame(crop.Output(), *Through("Autocrop", {}, {framed.get()}));
}

RC_GTEST_PROP(NodeLaws, DeleteDuplicateLeavesNothingToDelete, ()) {
    const ImagePtr image = Draw(*FewNumbers(UsualTypes(), 1));
    const std::string along = *rc::gen::element<std::string>("X", "Y");
    for (const char* size : {"SIZE_OF_INPUT", "SIZE_OF_RESULT"}) {
        const Settings settings{{"along", along}, {"size_count", size}};
        const ImagePtr unique = Through("DeleteDuplicate", settings, {image.get()}, 0);
        const auto counts = ElementsOf<float>(*Through("DeleteDuplicate", settings, {image.get()}, 1));
        const auto lines = static_cast<float>(along == "X" ? image->Size().x : image->Size().y);
        RC_ASSERT(std::accumulate(counts.begin(), counts.end(), 0.0F) == lines);
        RC_ASSERT(std::count_if(counts.begin(), counts.end(), [](float count) { return count > 0.0F; }) ==
                  (along == "X" ? unique->Size().x : unique->Size().y));
        RequireSame(*unique, *Through("DeleteDuplicate", settings, {unique.get()}, 0));
    }
}

RC_GTEST_PROP(NodeLaws, DeleteDuplicateTreatsRowsAsColumns, ()) {
    const ImagePtr image = Draw(*FewNumbers(UsualTypes(), 1));
    const auto switched = [](const CImage& given) { return Through("SwitchAxes", {{"axes", "YXZ"}}, {&given}); };
    const ImagePtr sideways = switched(*image);
    for (const int slot : {0, 1}) {
        const ImagePtr rows = Through("DeleteDuplicate", {{"along", "Y"}}, {image.get()}, slot);
        RequireSame(*switched(*rows), *Through("DeleteDuplicate", {{"along", "X"}}, {sideways.get()}, slot));
    }
}

RC_GTEST_PROP(NodeLaws, SelectRaysTakesTheMarkedRaysInOrder, ()) {
    const ImagePtr image = AsVolume(*Draw(*AnyPicture(TypesWithout({IMAGE_RGB_8}), 1)));
    const CSize& size = image->Size();
    const ImagePtr marks = Draw({*rc::gen::element(IMAGE_GREY_8, IMAGE_BINARY_FG, IMAGE_GREY_F), CSize(size.x, size.y),
                                 *rc::gen::arbitrary<std::uint32_t>(), true});
    const std::unique_ptr<const IAccess> mark(marks->CreateAccess());
    const auto bytes = BytesOf(*image);
    std::vector<std::uint8_t> rays;
    std::int64_t marked = 0;
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t ray = 0; ray < size.x * size.y; ++ray) {
            if (mark->Get(ray % size.x, ray / size.x, 0, 0) != 0.0) {
                marked += z == 0 ? 1 : 0;
                const auto element = bytes.begin() + (ray + size.x * size.y * z) * image->Type().pixelBytes;
                rays.insert(rays.end(), element, element + image->Type().pixelBytes);
            }
        }
    }
    const CSize expected = marked == 0 ? CSize(0, 0, 0) : CSize(1, marked, size.z);
    RequireSame(*MakeImage(image->Type(), expected, rays), *Through("SelectRays", {}, {image.get(), marks.get()}));
}

RC_GTEST_PROP(NodeLaws, LabelsOfTheTableOfAllBytesStay, ()) {
    const ImagePtr image = Draw(*AnyPicture({IMAGE_GREY_8}));
    const ImagePtr all =
        Numbered<std::uint8_t>(IMAGE_GREY_8, CSize(256, 1), [](std::size_t i) { return static_cast<std::uint8_t>(i); });
    RequireSame(*AsVolume(*image), *Through("LabelToValue", {}, {image.get(), all.get()}));
    const ImagePtr fromOne = Numbered<std::uint8_t>(IMAGE_GREY_8, CSize(15, 17),
                                                    [](std::size_t i) { return static_cast<std::uint8_t>(i + 1); });
    RequireSame(*AsVolume(*image), *Through("LabelToValue", {{"ignore_zero", true}}, {image.get(), fromOne.get()}));
}

RC_GTEST_PROP(NodeLaws, TablesOfLabelsCompose, ()) {
    const ImagePtr image = Draw(*AnyPicture({IMAGE_GREY_8, IMAGE_BINARY_FG}));
    const ImagePtr first = Draw(*AnyPictureOf({IMAGE_GREY_8}, CSize(256, 1)));
    const ImagePtr second = Draw(*AnyPictureOf(UsualTypes(), CSize(16, 16)));
    const ImagePtr both = Through("LabelToValue", {}, {first.get(), second.get()});
    const ImagePtr inTurn = Through("LabelToValue", {}, {image.get(), first.get()});
    RequireSame(*Through("LabelToValue", {}, {image.get(), both.get()}),
                *Through("LabelToValue", {}, {inTurn.get(), second.get()}));
}

RC_GTEST_PROP(NodeLaws, EveryPlaneOfColoursIsATableOfValues, (bool ignoreZero)) {
    const ImagePtr labels = Draw(*AnyPicture({IMAGE_GREY_8}));
    const ImagePtr colours = Draw(*AnyPictureOf({IMAGE_RGB_8}, CSize(256, 1)));
    const auto bytes = BytesOf(*colours);
    std::vector<std::uint8_t> planes;
    for (auto plane = bytes.begin(); plane != bytes.end(); plane += 256) {
        const ImagePtr table = Bytes(256, 1, std::vector<std::uint8_t>(plane, plane + 256));
        const auto values =
            BytesOf(*Through("LabelToValue", {{"ignore_zero", ignoreZero}}, {labels.get(), table.get()}));
        planes.insert(planes.end(), values.begin(), values.end());
    }
    RequireSame(*MakeImage(IMAGE_RGB_8, labels->Size(), planes),
                *Through("LabelToColor", {{"ignore_zero", ignoreZero}}, {labels.get(), colours.get()}));
}

RC_GTEST_PROP(NodeLaws, SizesStayWhereverTheLabelsAre, (bool x, bool y, bool sliceWise)) {
    const ImagePtr image = Draw(*FewNumbers({IMAGE_GREY_F}));
    const Settings flips{{"flip_x", x}, {"flip_y", y}};
    const Settings mode{{"slice-wise", sliceWise}};
    const ImagePtr sizes = Through("LabelToSize", mode, {image.get()});
    const ImagePtr flipped = Through("Flip", flips, {image.get()});
    RequireSame(*Through("Flip", flips, {sizes.get()}), *Through("LabelToSize", mode, {flipped.get()}));
}

RC_GTEST_PROP(NodeLaws, ComposeBehindIsAnAppend, ()) {
    StPicture picture = *AnyPicture(FloatsAndBytes(), 1);
    picture.size = CSize(picture.size.x, picture.size.y);
    const ImagePtr first = Draw(picture);
    const bool alongX = *rc::gen::arbitrary<bool>();
    const ImagePtr second = Draw(*AnyPictureOf(
        {picture.type}, CSize(*rc::gen::inRange<std::int64_t>(1, 30), *rc::gen::inRange<std::int64_t>(1, 30))));
    RequireSame(
        *Through("Append", {{"along", alongX ? "X" : "Y"}, {"background_value", 6.0}}, {second.get(), first.get()}),
        *Through("ComposeImage", {{alongX ? "mode_x" : "mode_y", "APPEND"}, {"bg_value", 6.0}},
                 {first.get(), second.get()}));
}

RC_GTEST_PROP(NodeLaws, EmplaceOfAWholePatchWrappedIsATranslate, ()) {
    const StPicture picture = *AnyPicture(TypesOfTranslate(), 1);
    const ImagePtr patch = Draw(picture);
    const ImagePtr base = Draw(*AnyPictureOf({picture.type}, picture.size));
    const Settings shift = AnyShift(-90, 90);
    RequireSame(*Through("Translate", With(shift, {{"wrap", true}}), {patch.get()}),
                *Through("Emplace",
                         {{"pos_x", shift.at("offset_x")},
                          {"pos_y", shift.at("offset_y")},
                          {"pos_z", shift.at("offset_z")},
                          {"wrap", true}},
                         {base.get(), patch.get()}));
}

RC_GTEST_PROP(NodeLaws, MasksOfEmplaceDecideForAll, ()) {
    const StPicture picture = *AnyPicture(AllTypes(), 1);
    const ImagePtr base = Draw(picture);
    const ImagePtr patch = Draw(*AnyPictureOf({picture.type}, picture.size));
    const IImage::CType maskType = *rc::gen::elementOf(TypesWithout({IMAGE_RGB_8}));
    const Settings at{{"pos_x", *rc::gen::inRange(0, 5)}, {"wrap", *rc::gen::arbitrary<bool>()}};
    RequireSame(*base, *Through("Emplace", at, {base.get(), patch.get(), Filled(maskType, picture.size, 0).get()}));
    RequireSame(*Through("Emplace", at, {base.get(), patch.get()}),
                *Through("Emplace", at, {base.get(), patch.get(), Filled(maskType, picture.size, 1).get()}));
}

RC_GTEST_PROP(NodeLaws, ConstantPolarImagesStayConstantInTheDisc, (std::uint8_t value)) {
    const std::int64_t radii = *rc::gen::inRange<std::int64_t>(1, 20);
    const std::int64_t angles = 7 * radii; // more than a turn
    const ImagePtr out = Through("PolarToCartesian", {}, {Filled(IMAGE_GREY_8, CSize(radii, angles), value).get()});
    RC_ASSERT(out->Size() == CSize(2 * radii - 1, 2 * radii - 1, 1));
    const std::unique_ptr<const IAccess> access(out->CreateAccess());
    for (std::int64_t y = 0; y < out->Size().y; ++y) {
        for (std::int64_t x = 0; x < out->Size().x; ++x) {
            const std::int64_t dx = x - (radii - 1);
            const std::int64_t dy = y - (radii - 1);
            RC_ASSERT(access->Get(x, y, 0, 0) == (dx * dx + dy * dy < radii * radii ? value : 0));
        }
    }
}

} // namespace
} // namespace QUOR::test
