// Lays the elements of an image out as a vector along one axis: element number s of the storage order of the input
// becomes element s of the vector. The axis changes only the extents, so that the block is copied as it is.

#include "PSerialize.h"

#include "Description.h"
#include "Inputs.h"
#include "Output.h"

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Serialize";

constexpr const char* kText = R"(BRIEF
Serialize an image, that is, arrange the data into a one-dimensional
vector.

The elements are taken in their storage order: x runs fastest, then y, then z.

INPUT 0
Input image

OUTPUT 0
Output image of same type containing the redistributed data.

PARAMETER direction
The type of this parameter is of type string. Direction of the resulting vector.
By default it is set to \a Z.

KEYWORDS
deserialize, deserialise, make 1d, one-dimensional, direction, as vector, reshape data

SEE ALSO
Deserialize: transform the data back
)";

CSize VectorSize(const CString& direction, std::int64_t count) {
    if (direction == "X") {
        return {count, 1, 1};
    }
    if (direction == "Y") {
        return {1, count, 1};
    }
    if (direction == "Z") {
        return {1, 1, count};
    }
    Fail(kWhere, "Unknown direction '" + direction.Text() + "'.");
}

} // namespace

void CPSerialize::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Serialize", "Manipulation");
    description.StringParameter("direction", "Z").Values("Z, Y, X");
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPSerialize::NodeInit() { direction = Parameters().EntryString("direction", "Z"); }

void CPSerialize::Run() {
    CValue& value = RequireValue(*this, 0, kWhere, "input 0 is NULL");
    RequireImageValue(value, kWhere, "input 0 is not an image");
    const CImage& input = RequireImage(value, kWhere, "input image is NULL");
    const auto count = static_cast<std::int64_t>(input.Size().Volume());

    auto output = NewImage(input.Type(), VectorSize(direction, count));
    output->Buffer().Copy(input.Buffer());
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
