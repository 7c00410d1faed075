// Folds the elements of an image, in storage order, into a volume whose planes have the size of a second image. The
// volume gets as many whole planes as the image fills; the elements behind them are dropped.

#include "PPlaneToVolume.h"

#include "Blocks.h"
#include "Description.h"
#include "Inputs.h"
#include "Output.h"
#include "Wrapping.h"

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) PlaneToVolume::Run";

constexpr const char* kText = R"(BRIEF
Node to redistribute the image data to new, user-defined image dimensions.

The width and height of the output image are those of the second input image,
its depth is the number of pixels of the first input image divided by the new plane size.
The remaining image pixels are omitted.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

INPUT 1
Second input image providing the new image dimensions width and height.

OUTPUT 0
Output image of the same type as the input image, containing the redistributed data.
)";

/// The size of the volume. This node counts elements in 32 bits. Fails for a plane without elements or with more than
/// 32 bits can count, and for one that the input doesn't fill. A count that has wrapped around is never more than the
/// input holds.
CSize VolumeSize(const CImage& input, const CSize& plane) {
    const CSize& size = input.Size();
    const auto width = static_cast<std::int32_t>(plane.x);
    const auto height = static_cast<std::int32_t>(plane.y);
    const std::int32_t count =
        WrappedProduct(WrappedProduct(static_cast<std::int32_t>(size.z), static_cast<std::int32_t>(size.y)),
                       static_cast<std::int32_t>(size.x));
    const std::int64_t planeCount = std::int64_t{width} * height;
    const bool countable = width > 0 && height > 0 && planeCount == WrappedProduct(height, width);
    const std::int64_t depth = countable ? count / planeCount : 0;
    if (depth == 0) {
        Fail(kWhere, "inconsistent image dimensions!, second image plane size must be smaller!");
    }
    return {width, height, depth};
}

} // namespace

void CPPlaneToVolume::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "PlaneToVolume", "Manipulation");
    description.ImageInput();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPPlaneToVolume::Run() {
    CValue& inputValue = RequireValue(*this, 0, kWhere, "input image is NULL");
    CValue& planeValue = RequireValue(*this, 1, kWhere, "input image is NULL");
    const CImage& input = RequireImage(inputValue, kWhere, "input image is NULL");
    const CImage& plane = RequireImage(planeValue, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "first input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");

    auto output = NewImage(input.Type(), VolumeSize(input, plane.Size()));
    CopyElements(Elements<std::uint8_t>(input), Elements<std::uint8_t>(*output),
                 static_cast<std::int64_t>(output->Buffer().Size()));
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
