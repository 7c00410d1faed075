// Doubles an image by repeating each element: out(x, y, z) = in(x / 2, y / 2, z / 2). An image of depth 1 keeps that
// depth. Elements are moved as patterns of bits, so that every float survives.

#include "PExpand.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Output.h"
#include "Wrapping.h"
#include "base/VectorVariants.h"

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Expand::Run";
constexpr const char* kWhereExpandImage = "ExpandImage";

constexpr const char* kText = R"(BRIEF
Expands an image to its double size in each direction.

Expands an image to twice its width, height an depth by duplicating its
rows, columns and slices. In case of a 2d image only width and height
are being doubled.

INPUT 0
Input image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.

OUTPUT 0
Output image of the same type as the input image.

SEE ALSO
Shrink: reduces the size of an image by a factor
of two in all directions.
)";

template <class T> VESSA_VECTOR_VARIANTS void DoubleRow(const T* in, T* out, std::int64_t width) {
    for (std::int64_t x = 0; x < width; ++x) {
        out[2 * x] = in[x];
        out[2 * x + 1] = in[x];
    }
}

/// Makes one row of each block of rows that are alike and copies it while it is still in the cache.
template <class T> void ExpandImage(const CImage& input, CImage& output) {
    const auto [width, height, depth] = Extents(input);
    const std::int64_t row = 2 * width;
    const std::int64_t plane = row * 2 * height;
    const T* in = Elements<T>(input);
    T* out = Elements<T>(output);
    for (std::int64_t z = 0; z < depth; ++z) {
        for (std::int64_t y = 0; y < height; ++y) {
            DoubleRow(in, out, width);
            CopyElements(out, out + row, row);
            if (depth > 1) {
                CopyElements(out, out + plane, 2 * row);
            }
            in += width;
            out += 2 * row;
        }
        out += plane; // the copy of the plane
    }
}

std::int64_t Doubled(std::int64_t extent) { return WrappedSum(extent, extent); }

} // namespace

void CPExpand::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Expand", "Manipulation");
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPExpand::NodeInit() {
    done = 0;
    run_once = Parameters().EntryBool("run_once", false);
}

void CPExpand::Run() {
    if (run_once && done == 1) {
        return;
    }
    const CImage& input = RequireInput(*this, 0, kWhere, "input 0 is NULL", "input 0 is not an image");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_32, IMAGE_GREY_16, IMAGE_GREY_8, IMAGE_BINARY_FG}, kWhere,
                "image type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, nor IMAGE_MONO_BINARY");

    const CSize& size = input.Size();
    auto output = NewImage(input.Type(), CSize(Doubled(size.x), Doubled(size.y), size.z == 1 ? 1 : Doubled(size.z)));
    if (!IsEmpty(input)) {
        DispatchWidth(input.Type(), kWhereExpandImage, [&]<class T>(Element<T>) { ExpandImage<T>(input, *output); });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
    done = 1;
}

} // namespace QUOR
