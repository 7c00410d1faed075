// Changes an image by one distance on all sides: a positive one puts the image into a frame of a constant,
// out(x, y, z) = in(x - border, y - border, z - border), a negative one cuts its margins off by the same mapping, and
// 0 copies it. A plane gets no frame slices. Elements are moved as they are; the constant is never clamped.

#include "PBorder.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Regions.h"
#include "Wrapping.h"

#include <iostream>

namespace QUOR::mani {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Border::Run";

constexpr const char* kText = R"(BRIEF
Remove borders from an image.

Crops out a region given by pixel distance to border.

INPUT 0
Input image of type IMAGE_GREY_8, IMAGE_GREY_16,
IMAGE_GREY_32, IMAGE_GREY_F, IMAGE_BINARY_FG, or IMAGE_RGB_8.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER border
The type of this parameter is of type long. pixel distance to border to be removed.
By default it is set to \a 0.

KEYWORDS
crop, extract, border, cut
)";

constexpr const char* kFillKey = "padvalue";

/// The constant of the frame, as it is and cut to 32 bits.
struct StFill {
    double real;
    Long whole;
};

StFill ReadFill(const CValueMap& parameters) {
    if (parameters.HasEntry(kFillKey, EnValType::Double)) {
        const double number = parameters.EntryDouble(kFillKey);
        return {number, TruncateTo32(number)};
    }
    const Long number = parameters.EntryLong(kFillKey);
    return {static_cast<double>(number), number};
}

/// The constant as it stands in the log line.
CString FillText(const CValueMap& parameters) {
    if (parameters.HasEntry(kFillKey, EnValType::Double)) {
        return CString("%1").Arg(parameters.EntryDouble(kFillKey), 0);
    }
    if (parameters.HasEntry(kFillKey, EnValType::Bool)) {
        return parameters.EntryBool(kFillKey) ? "true=1" : "false=0";
    }
    return CString("%1").Arg(parameters.EntryLong(kFillKey), 0);
}

/// Integers take the low bits of the 32-bit number, `IMAGE_GREY_32` too.
template <class T> T ElementOf(const StFill& fill) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(fill.real);
    } else {
        return static_cast<T>(fill.whole);
    }
}

/// Puts the image into its frame. A plane lies in the first slice, whatever the border.
template <class T> void EmbedImage(const CImage& input, CImage& output, std::int64_t border, T fill) {
    const StExtents extents = Extents(input);
    const bool plane = input.Size().dim == 2 || extents.depth == 1;
    PlaceCuboid(Elements<T>(input), extents, Elements<T>(output), Extents(output), {border, border, plane ? 0 : border},
                extents, fill);
}

/// Copies, cuts or frames the image.
void WriteOutput(const CImage& input, CImage& output, const CBox& region, std::int64_t border, const StFill& fill) {
    if (border == 0) {
        output.Buffer().Copy(input.Buffer());
    } else if (border < 0) {
        ExtractRegion(input, output, region);
    } else {
        DispatchNumber<std::uint8_t, std::uint16_t, std::uint32_t, float>(
            input.Type(), kWhere,
            [&]<class T>(Element<T>) { EmbedImage<T>(input, output, border, ElementOf<T>(fill)); });
    }
}

void PrintProgress(const CSize& size, const CSize& resultSize, const std::string& region, std::int64_t border,
                   const CString& fill) {
    std::cout << kWhere << ": Border " << size.dim << "d image, border=" << border << ", inputsize=" << size.ToString()
              << ", resultsize=" << resultSize.ToString() << ", ROI=" << region;
    if (border > 0) {
        std::cout << ", embedded in padding value " << fill;
    }
    std::cout << std::endl;
}

} // namespace

void CPBorder::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Border", "Manipulation");
    description.LongParameter("border", 0).Order(0);
    description.LongParameter("padvalue", 0).VisibleIf("border 0 >").Order(2);
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

bool CPBorder::IsAborted() const { return Parameters().EntryBool("abort", false); }

void CPBorder::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL", "input 0 is not an image");
    RequireType(input, {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F, IMAGE_BINARY_FG}, kWhere,
                "input image is not of type IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F, or "
                "IMAGE_BINARY_FG");
    const bool verbose = Parameters().EntryBool("verbose", false);
    const std::int64_t border = Parameters().EntryLong("border", 0);
    const StFill fill = ReadFill(Parameters());

    const CSize& size = input.Size();
    const CBox region(-border, -border, -border, WrappedSum(size.x, border), WrappedSum(size.y, border),
                      WrappedSum(size.z, border));
    const CSize volume(WrappedSum(size.x, 2 * border), WrappedSum(size.y, 2 * border), WrappedSum(size.z, 2 * border));
    // Two tests, and both are meant: one slice counted as 3d is a volume when it is cut and a plane when it is framed.
    const bool flat = border > 0 ? size.z == 1 : size.dim == 2;
    const CSize resultSize = flat ? CSize(volume.x, volume.y) : volume;
    if (verbose) {
        PrintProgress(size, resultSize, flat ? RegionText(PlaneOf(region)) : RegionText(region), border,
                      FillText(Parameters()));
    }

    // The host may stop a node while it runs, so that the parameter is read anew each time.
    if (IsAborted()) {
        return;
    }
    auto output = NewImage(input.Type(), resultSize);
    if (IsAborted()) {
        return;
    }
    WriteOutput(input, *output, region, border, fill);
    if (IsAborted()) {
        return;
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR::mani
