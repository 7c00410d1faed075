// Scales the content of an image about the element at half its extents and keeps its size: out(x, y, z) = in(ix, iy,
// iz) with ix = (x - offset) / factor, cut toward zero. Elements without a source are background. A negative factor
// mirrors about the same element, so that an even extent is shifted by one.

#include "PScale.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Parameters.h"
#include "Wrapping.h"

#include <algorithm>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Scale::Run";

constexpr const char* kText = R"(BRIEF
Scale/flip an image

Scales the content of the input image about its center. Use negative scaling values
to flip/mirror image in the given direction. Elements that the scaled image doesn't
cover are filled with \a bg_value.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

OUTPUT 0
Output image of the same type and size as the input image.

PARAMETER scale_x
The type of this parameter is of type double. factor used for the scaling in x-direction, negative for flipping.
By default it is set to \a 1.0.

PARAMETER scale_y
The type of this parameter is of type double. factor used for the scaling in y-direction, negative for flipping.
By default it is set to \a 1.0.

PARAMETER scale_z
The type of this parameter is of type double. factor used for the scaling in z-direction, negative for flipping.
By default it is set to \a 1.0.

PARAMETER bg_value
The type of this parameter is of type double. value of the elements that are not filled by the scaled image.
By default it is set to \a 0.

NOTE
image size is not changed

NOTE
if one scaling factor is zero, the result will be filled with \a bg_value

KEYWORDS
scale, upscale, downscale, resize, flip, mirror

SEE ALSO
Resize, Shrink
)";

constexpr std::int64_t kNoSource = -1;

/// The middle of an axis, which is a whole place.
double Middle(std::int64_t extent) {
    const std::int64_t half = extent / 2;
    return static_cast<double>(half);
}

/// The mapping of one axis.
class CScaledAxis {
public:
    CScaledAxis(std::int64_t extent, double factor)
        : m_extent(extent), m_factor(factor), m_offset(TruncateTo64((1.0 - factor) * Middle(extent))) {}

    std::int64_t Extent() const { return m_extent; }

    /// Where the element at `position` comes from; `kNoSource` for a place outside.
    std::int64_t Source(std::int64_t position) const {
        // The offset may be any number of 64 bits.
        const std::int64_t difference = WrappedDifference(position, m_offset);
        const std::int64_t source = TruncateTo64(static_cast<double>(difference) / m_factor);
        return source >= 0 && source < m_extent ? source : kNoSource;
    }

private:
    std::int64_t m_extent;
    double m_factor;
    std::int64_t m_offset;
};

/// The source columns of a part of all rows, few enough to stay in the cache from row to row.
class CSourceColumns {
public:
    static constexpr std::int64_t kMost = 2048;

    /// The columns that have a source are neighbours, as the mapping keeps or reverses the order of positions.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the sources are those of the columns that have one
    CSourceColumns(const CScaledAxis& axis, std::int64_t left) : m_count(std::min(kMost, axis.Extent() - left)) {
        while (m_first < m_count && axis.Source(left + m_first) == kNoSource) {
            ++m_first;
        }
        m_end = m_first;
        for (; m_end < m_count; ++m_end) {
            const std::int64_t source = axis.Source(left + m_end);
            if (source == kNoSource) {
                break;
            }
            m_isBlock = m_isBlock && (m_end == m_first || source == m_sources[m_end - 1] + 1);
            m_sources[m_end] = source;
        }
    }

    std::int64_t Count() const { return m_count; }

    template <class T> void FillRow(const T* in, T* out, T background) const {
        std::fill(out, out + m_first, background);
        if (m_isBlock && m_first < m_end) {
            CopyElements(in + m_sources[m_first], out + m_first, m_end - m_first);
        } else {
            PickElements(in, m_sources + m_first, m_end - m_first, out + m_first);
        }
        std::fill(out + m_end, out + m_count, background);
    }

private:
    std::int64_t m_count;
    std::int64_t m_first = 0; ///< first column with a source
    std::int64_t m_end = 0;   ///< behind the last one
    bool m_isBlock = true;    ///< the sources follow one another, too
    std::int64_t m_sources[kMost];
};

/// Rows with the same source are the same row.
template <class T>
void ScaleImage(const T* in, T* out, const CScaledAxis& axisX, const CScaledAxis& axisY, const CScaledAxis& axisZ,
                T background) {
    const std::int64_t width = axisX.Extent();
    const std::int64_t height = axisY.Extent();
    for (std::int64_t left = 0; left < width; left += CSourceColumns::kMost) {
        const CSourceColumns columns(axisX, left);
        std::int64_t rowBefore = kNoSource;
        T* outRow = out + left;
        for (std::int64_t z = 0; z < axisZ.Extent(); ++z) {
            const std::int64_t plane = axisZ.Source(z);
            for (std::int64_t y = 0; y < height; ++y) {
                const std::int64_t sourceY = plane == kNoSource ? kNoSource : axisY.Source(y);
                const std::int64_t row = sourceY == kNoSource ? kNoSource : sourceY + height * plane;
                if (row == kNoSource) {
                    std::fill_n(outRow, columns.Count(), background);
                } else if (row == rowBefore) {
                    CopyElements(outRow - width, outRow, columns.Count());
                } else {
                    columns.FillRow(in + width * row, outRow, background);
                }
                rowBefore = row;
                outRow += width;
            }
        }
    }
}

} // namespace

void CPScale::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Scale", "Manipulation");
    description.DoubleParameter("scale_x", 1.0);
    description.DoubleParameter("scale_y", 1.0);
    description.DoubleParameter("scale_z", 1.0);
    description.DoubleParameter("bg_value", 0);
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPScale::NodeInit() {
    done = 0;
    scale_x = Parameters().EntryDouble("scale_x", 1.0);
    scale_y = Parameters().EntryDouble("scale_y", 1.0);
    scale_z = Parameters().EntryDouble("scale_z", 1.0);
    ReadNumber(Parameters(), "bg_value", bg_value);
    run_once = Parameters().EntryBool("run_once", false);
}

void CPScale::Run() {
    if (run_once && done == 1) {
        return;
    }
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL", "input 0 is not an image");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");

    auto output = NewImage(input.Type(), input.Size());
    if (!IsEmpty(input)) {
        const auto [width, height, depth] = Extents(input);
        const CScaledAxis axisX(width, scale_x);
        const CScaledAxis axisY(height, scale_y);
        const CScaledAxis axisZ(depth, scale_z);
        const std::int64_t elements = width * height * depth;
        const bool isVoid = scale_x == 0.0 || scale_y == 0.0 || scale_z == 0.0;
        const bool isCopy = scale_x == 1.0 && scale_y == 1.0 && scale_z == 1.0;
        DispatchNumber<float, std::uint8_t>(input.Type(), kWhere, [&]<class T>(Element<T>) {
            const T background = ElementFromNumber<T>(bg_value);
            T* out = Elements<T>(*output);
            if (isVoid) {
                std::fill_n(out, elements, background);
            } else if (isCopy) {
                CopyElements(Elements<T>(input), out, elements);
            } else {
                ScaleImage(Elements<T>(input), out, axisX, axisY, axisZ, background);
            }
        });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
    done = 1;
}

} // namespace QUOR
