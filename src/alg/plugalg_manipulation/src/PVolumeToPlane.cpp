// Lays the slices of a volume out on one plane in rows of `slices_x` tiles: slice z becomes the tile in column
// z mod slices_x of tile row z / slices_x, slice 0 at the top left. Tiles of the last row without a slice are
// background.

#include "PVolumeToPlane.h"

#include "Blocks.h"
#include "Description.h"
#include "ExtentProduct.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Wrapping.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) VolumeToPlane::Run";

constexpr const char* kText = R"(BRIEF
Node to re-arrange 3d image data into a  2d image, where \f$n\f$ slices are arranged
next to each other and \f$n\f$ is given by parameter slices_x.

INPUT 0
3d input image of type IMAGE_GREY_F or IMAGE_GREY_8.

OUTPUT 0
2d output image of the same type as the input image, containing the re-arranged data.

PARAMETER slices_x
The type of this parameter is of type long. Number of slices in x-direction.
By default, it is set to 1 ans all slices sre arranged in y-direction.


PARAMETER background_value
The type of this parameter is of type double. Pixel gray value for additional space.
By default it is set to \a 0.
)";

/// Writes the sheet row by row, from its start to its end; the last tiles may lack.
template <class T> void WriteSheet(const CImage& input, CImage& output, std::int64_t perRow, T fill) {
    const auto [width, height, depth] = Extents(input);
    const T* in = Elements<T>(input);
    T* row = Elements<T>(output);
    T* const end = row + output.Size().Volume();
    for (std::int64_t first = 0; row < end; first += perRow) {
        const std::int64_t tiles = std::min(perRow, depth - first);
        for (std::int64_t y = 0; y < height; ++y) {
            for (std::int64_t tile = 0; tile < tiles; ++tile) {
                CopyElements(in + width * (y + height * (first + tile)), row + width * tile, width);
            }
            std::fill(row + width * tiles, row + width * perRow, fill);
            row += width * perRow;
        }
    }
}

/// The place of a tile in one direction: a product that wraps around in 32 bits.
std::int64_t TilePlace(std::int64_t number, std::int64_t extent) {
    return WrappedProduct(WrappedTo32(number), WrappedTo32(extent));
}

/// The same for a sheet whose places wrap around: there are gaps, and of tiles in one place the last one stands.
template <class T> void WriteWrappedSheet(const CImage& input, CImage& output, std::int64_t perRow, T fill) {
    const StExtents slice = Extents(input);
    const std::int64_t width = output.Size().x;
    const auto end = static_cast<std::int64_t>(output.Size().Volume());
    const T* in = Elements<T>(input);
    T* out = Elements<T>(output);
    std::fill_n(out, end, fill);
    for (std::int64_t z = 0; z < slice.depth; ++z) {
        const std::int64_t column = TilePlace(z % perRow, slice.width);
        const std::int64_t row = TilePlace(z / perRow, slice.height);
        for (std::int64_t y = 0; y < slice.height; ++y, in += slice.width) {
            const std::int64_t first = column + width * (row + y);
            if (first >= 0 && first + slice.width <= end) {
                CopyElements(in, out + first, slice.width);
            }
        }
    }
}

template <class T> void TileSlices(const CImage& input, CImage& output, std::int64_t perRow, T fill) {
    const bool wraps = std::max(output.Size().x, output.Size().y) > std::numeric_limits<std::int32_t>::max();
    (wraps ? &WriteWrappedSheet<T> : &WriteSheet<T>)(input, output, perRow, fill);
}

} // namespace

void CPVolumeToPlane::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "VolumeToPlane", "Manipulation");
    description.LongParameter("slices_x", 1);
    description.DoubleParameter("background_value", 0.0);
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPVolumeToPlane::NodeInit() {
    slices_x = Parameters().EntryLong("slices_x", static_cast<Long>(slices_x));
    background_value = Parameters().EntryDouble("background_value", 0.0);
}

void CPVolumeToPlane::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");
    if (slices_x <= 0) {
        // The one failure with a record of its place instead of the tag; hosts know it by this record.
        throw CException(StExLocation(VESSA_BUILD_STAMP, "src/alg/plugalg_manipulation/src/PVolumeToPlane",
                                      "void __cdecl QUOR::CPVolumeToPlane::Run(void)", 87, nullptr),
                         "The parameter slices_x can NOT be zero or a negative number.");
    }

    const CSize& size = input.Size();
    slices_y = TruncateTo64(std::ceil(static_cast<double>(size.z) / static_cast<double>(slices_x)));
    auto output = NewImage(input.Type(), CSize(ExtentProduct(slices_x, size.x), ExtentProduct(size.y, slices_y), 1));
    if (slices_x == 1) {
        output->Buffer().Copy(input.Buffer()); // the storage order is that of the tiles already
    } else if (!IsEmpty(*output)) {
        DispatchNumber<float, std::uint8_t>(input.Type(), kWhere, [&]<class T>(Element<T>) {
            TileSlices<T>(input, *output, slices_x, ElementFromNumber<T>(background_value));
        });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
