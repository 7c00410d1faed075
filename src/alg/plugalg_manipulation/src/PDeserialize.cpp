// Gives the elements of an image new extents of the same element count: element number s of the storage order stays
// element s. Extents come from a second image, or from the parameters, of which 0 keeps the input's extent.

#include "PDeserialize.h"

#include "Description.h"
#include "Inputs.h"
#include "Output.h"

#include <algorithm>
#include <array>
#include <optional>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Deserialize";

constexpr const char* kText = R"(BRIEF
Reshape the image to user-defined image dimensions.

The new image dimension can be provided by
parameters, or alternativly by the size of a second input image.
The number of pixels must stay the same.

INPUT 0
Input image.

INPUT 1
Optional second input image providing the new image dimensions.

OUTPUT 0
Output image containing the redistributed data, same image type as input 1.

PARAMETER size_x
The type of this parameter is of type long. New image size in x-direction.
By default it is set to \a 0, i.e. the size of the input image is kept.

PARAMETER size_y
The type of this parameter is of type long. New image size in y-direction.
By default it is set to \a 0, i.e. the size of the input image is kept.

PARAMETER size_z
The type of this parameter is of type long. New image size in z-direction.
By default it is set to \a 0, i.e. the size of the input image is kept.

KEYWORDS
serialize, serialise, image size, image dimensions, redistribute data, reshape data

SEE ALSO
Serialize: transform data into one dimensional image (vector)
)";

/// The number of elements of a size; nothing where it is beyond 64 bits.
std::optional<std::int64_t> ElementCount(const CSize& size) {
    const std::array<std::int64_t, 3> extents{size.x, size.y, size.z};
    if (std::find(extents.begin(), extents.end(), 0) != extents.end()) {
        return 0; // before the others are multiplied, which may be beyond 64 bits by themselves
    }
    std::int64_t count = 1;
    for (const std::int64_t extent : extents) {
        if (__builtin_mul_overflow(count, extent, &count)) {
            return std::nullopt;
        }
    }
    return count;
}

/// The size image's value on input 1; null without one.
const CImage* SizeImage(CPNode& node) {
    CValue* value = node.GetStackInput(1, false);
    if (value != nullptr) {
        RequireImageValue(*value, kWhere, "input 1 is not an image");
    }
    return UnwrapPointer<CImage>(value);
}

void RequireSameCount(const CSize& from, const CSize& to) {
    const std::optional<std::int64_t> given = ElementCount(from);
    const std::optional<std::int64_t> wanted = ElementCount(to);
    if (given == wanted) {
        return;
    }
    // A count beyond 64 bits is named by its low bits.
    Fail(kWhere, CString("input and output image must have the same number of pixels, sizes are %1 and %2, pixels are "
                         "%3 and %4")
                     .Arg(from.ToString())
                     .Arg(to.ToString())
                     .Arg(static_cast<long long>(from.Volume()), 0)
                     .Arg(static_cast<long long>(to.Volume()), 0));
}

} // namespace

void CPDeserialize::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Deserialize", "Manipulation");
    description.LongParameter("size_x", 0);
    description.LongParameter("size_y", 0);
    description.LongParameter("size_z", 0);
    description.ImageInput();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPDeserialize::NodeInit() {
    size_x = Parameters().EntryLong("size_x", 0);
    size_y = Parameters().EntryLong("size_y", 0);
    size_z = Parameters().EntryLong("size_z", 0);
}

void CPDeserialize::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL", "input 0 is not an image");
    const CSize& size = input.Size();
    CSize newSize(size_x != 0 ? size_x : size.x, size_y != 0 ? size_y : size.y, size_z != 0 ? size_z : size.z);
    if (const CImage* sizeImage = SizeImage(*this)) {
        newSize = CSize(sizeImage->Size().x, sizeImage->Size().y, sizeImage->Size().z);
    }
    RequireSameCount(size, newSize);

    auto output = NewImage(input.Type(), newSize);
    output->Buffer().Copy(input.Buffer());
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
