// Cuts a region out of an image: out(x, y, z) = in(offset_x + x, offset_y + y, offset_z + z). A bad region is no
// failure: offsets are moved into the image, sizes end with it, and a copy that fails leaves a cleared image. Of the
// attributes, those that describe a table come along, with the keys of the columns and rows that were cut.

#include "PExtract.h"

#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Output.h"
#include "Regions.h"
#include "Value/ValueScalar.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <string>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Extract";

constexpr const char* kText = R"(BRIEF
Extracts a rectangle or cuboid from an image.

Extracts the region that starts at \a offset_x, \a offset_y, \a offset_z and has the extents
\a size_x, \a size_y, \a size_z. A region that leaves the image is cut at the image's end.
The entries of an input map take the place of the parameters of the same names.
If the image holds a table (attribute "Image/ContentType"), the description of the table is
carried over, with the keys of the extracted columns and rows.

INPUT 0
Input image of type IMAGE_GREY_8, IMAGE_GREY_16,
IMAGE_GREY_32, IMAGE_GREY_F, IMAGE_BINARY_FG, or IMAGE_RGB_8.

INPUT 1
Map with cropping details. The map may contain the following entries:
offset_x, offset_y, offset_z, size_x, size_y, size_z.
Each of them replaces the parameter of the same name.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER size_x
The type of this parameter is of type long. width of the region.
A negative size reaches up to the end of the image, a size of 0 gives an empty image.
By default it is set to \a -1.

PARAMETER size_y
The type of this parameter is of type long. height of the region.
A negative size reaches up to the end of the image, a size of 0 gives an empty image.
By default it is set to \a -1.

PARAMETER size_z
The type of this parameter is of type long. depth of the region.
A negative size reaches up to the end of the image, a size of 0 gives an empty image.
By default it is set to \a -1.

PARAMETER offset_x
The type of this parameter is of type long. start of the region in x-direction.
A negative offset counts from the end of the image.
By default it is set to \a 0.

PARAMETER offset_y
The type of this parameter is of type long. start of the region in y-direction.
A negative offset counts from the end of the image.
By default it is set to \a 0.

PARAMETER offset_z
The type of this parameter is of type long. start of the region in z-direction.
A negative offset counts from the end of the image.
By default it is set to \a 0.

PARAMETER verbose
The type of this parameter is of type bool. prints feedback to the standard output.
By default it is set to \a false.

KEYWORDS
crop, extract, cut, region

SEE ALSO
AutoCrop, whose second output is a map with cropping details for this node.
)";

/// The part of a region along one axis.
struct StSpan {
    std::int64_t first;
    std::int64_t count;
};

/// Moves a span into an axis. On an axis without elements it starts at -1, before the first element.
StSpan FitInto(std::int64_t extent, std::int64_t offset, std::int64_t size) {
    if (offset < 0) {
        offset += extent;
    }
    offset = std::min(std::max<std::int64_t>(offset, 0), extent - 1);
    const std::int64_t rest = extent - offset;
    return {offset, size < 0 ? rest : std::min(size, rest)};
}

void Print(const CString& text) { std::cout << text << std::flush; }

/// The region as the input's dimension count has it copied.
std::string TextOf(const CBox& region, const CImage& input) {
    return input.Size().dim == 2 ? RegionText(PlaneOf(region)) : RegionText(region);
}

void PrintProgress(const CImage& input, const CSize& resultSize, const CBox& region) {
    Print(CString().Printf("%s: extract %dd image, inputsize=%s, resultsize=%s, ROI=%s\n", kWhere, input.Size().dim,
                           input.Size().ToString().c_str(), resultSize.ToString().c_str(),
                           TextOf(region, input).c_str()));
}

void PrintWarning(const CException& failure, const CImage& input, const CBox& region) {
    const std::string prefix = std::string("WARNING ") + kWhere + ": ";
    Print(CString().Printf("%s%s\n%simage size = %s\n%sregion = %s\n", prefix.c_str(), failure.FormattedWhat(),
                           prefix.c_str(), input.Size().ToString().c_str(), prefix.c_str(),
                           TextOf(region, input).c_str()));
}

const CValueVector* KeysOf(const CValueMap& attributes, const char* path) {
    return attributes.HasEntry(path, EnValType::Vector) ? attributes.Entry(path, true)->Vector() : nullptr;
}

/// Sets the keys from `first` up to `end`, numbered from 0, unless the region begins past the last key.
void CarryKeys(const CValueVector& keys, std::int64_t first, std::int64_t end, CValueMap& attributes,
               const char* path) {
    const std::int64_t count = keys.Size();
    if (first >= count) {
        return;
    }
    auto cut = std::make_unique<CValueVector>();
    for (long long index = first; index < std::min(end, count); ++index) {
        if (const CValue* key = keys.Entry(index, true)) {
            cut->SetEntry(index - first, key->Clone(EnTfOwnership::Copy));
        }
    }
    attributes.SetEntry(path, std::move(cut));
}

/// Carries over what describes a table, if the image is one: a volume never is.
void CarryTable(const CImage& input, CImage& output, const CBox& region) {
    const CValueMap& from = input.Attributes();
    if (input.Size().z != 1 || from.IsEmpty() || from.EntryString("Image/ContentType", "") != CString("table")) {
        return;
    }
    constexpr std::array<const char*, 4> texts{"Image/table-type", "Image/x-name", "Image/y-name", "Image/f-name"};
    const CString none;
    const CValueVector* columnKeys = KeysOf(from, "Image/x-keys");
    const CValueVector* rowKeys = KeysOf(from, "Image/y-keys");
    const bool described = columnKeys != nullptr || rowKeys != nullptr ||
                           std::any_of(texts.begin(), texts.end(),
                                       [&](const char* path) { return !from.EntryString(path, none).IsEmpty(); });
    if (!described) {
        return;
    }
    CValueMap& to = output.Attributes();
    to.SetEntry("Image/ContentType", std::make_unique<CValueString>(CString("table")));
    for (const char* path : texts) {
        const CString& text = from.EntryString(path, none);
        if (!text.IsEmpty()) {
            to.SetEntry(path, std::make_unique<CValueString>(text));
        }
    }
    if (columnKeys != nullptr) {
        CarryKeys(*columnKeys, region.first.x, region.second.x, to, "Image/x-keys");
    }
    if (rowKeys != nullptr) {
        CarryKeys(*rowKeys, region.first.y, region.second.y, to, "Image/y-keys");
    }
}

/// The cut-out image. One that the host can't cut is cleared, counts as 3d and describes no table.
std::unique_ptr<CImage> Cut(const CImage& input, const CBox& region, bool verbose) {
    const CSize volume(region.second.x - region.first.x, region.second.y - region.first.y,
                       region.second.z - region.first.z);
    const CSize resultSize = input.Size().dim == 2 ? CSize(volume.x, volume.y) : volume;
    if (verbose) {
        PrintProgress(input, resultSize, region);
    }
    auto output = NewImage(input.Type(), resultSize);
    try {
        ExtractRegion(input, *output, region);
    } catch (const CException& failure) {
        if (verbose) {
            PrintWarning(failure, input, region);
        }
        output = NewImage(input.Type(), volume);
        output->Buffer().Set(0);
        return output;
    }
    CarryTable(input, *output, region);
    return output;
}

} // namespace

void CPExtract::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Extract", "Manipulation");
    description.LongParameter("size_x", -1).Order(0);
    description.LongParameter("size_y", -1).Order(1);
    description.LongParameter("size_z", -1).Order(2);
    description.LongParameter("offset_x", 0).Order(3);
    description.LongParameter("offset_y", 0).Order(4);
    description.LongParameter("offset_z", 0).Order(5);
    description.BoolParameter("verbose", false).Order(6);
    description.ImageInput();
    description.MapInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPExtract::NodeInit() {
    size_x = Parameters().EntryLong("size_x", -1);
    size_y = Parameters().EntryLong("size_y", -1);
    size_z = Parameters().EntryLong("size_z", -1);
    offset_x = Parameters().EntryLong("offset_x", 0);
    offset_y = Parameters().EntryLong("offset_y", 0);
    offset_z = Parameters().EntryLong("offset_z", 0);
    run_once = Parameters().EntryBool("run_once", false);
    // `done` stays: unlike other nodes, one that has run once never runs again while `run_once` is set.
}

CBox CPExtract::Region(const CImage& input, const CValueMap* cropping) const {
    const auto setting = [&](const char* key, std::int64_t field) {
        return cropping == nullptr ? field : cropping->GetLong(key, static_cast<Long>(field), nullptr);
    };
    const auto [width, height, depth] = Extents(input);
    StSpan x = FitInto(width, setting("offset_x", offset_x), setting("size_x", size_x));
    StSpan y = FitInto(height, setting("offset_y", offset_y), setting("size_y", size_y));
    StSpan z = FitInto(depth, setting("offset_z", offset_z), setting("size_z", size_z));
    if (x.count < 1 || y.count < 1 || z.count < 1) {
        x.count = y.count = z.count = 0; // an empty axis takes the whole region with it
    }
    // An axis without elements has a span of one so far, and empties only itself.
    x.count = width == 0 ? 0 : x.count;
    y.count = height == 0 ? 0 : y.count;
    z.count = depth == 0 ? 0 : z.count;
    return {x.first, y.first, z.first, x.first + x.count, y.first + y.count, z.first + z.count};
}

void CPExtract::Run() {
    if (run_once && done == 1) {
        return;
    }
    CValue& value = RequireValue(*this, 0, kWhere, "input image is NULL");
    RequireImageValue(value, kWhere, "input 0 is not an image");
    const CValue* cropping = GetStackInput(1, false);
    if (cropping != nullptr && cropping->GenericType() != EnValType::Map) {
        Fail(kWhere, "The second input is not a ValueMap");
    }
    const CImage& input = RequireImage(value, kWhere, "input image is NULL");
    RequireType(input,
                {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, IMAGE_GREY_F, IMAGE_BINARY_FG, IMAGE_RGB_8},
                kWhere,
                "input image is not of type IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, IMAGE_GREY_F, "
                "IMAGE_BINARY_FG, or IMAGE_RGB_8.");

    const CBox region = Region(input, cropping == nullptr ? nullptr : cropping->Map());
    auto output = Cut(input, region, Parameters().EntryBool("verbose", false));
    SetOutputs(*this, WrapImage(std::move(output)));
    done = 1;
}

} // namespace QUOR
