// Turns the first plane of an image about its origin, by the angle between the main direction of the data in a second
// image and the nearest axis: out(x - x0, y - y0) = in(x * c + y * s, y * c - x * s), with positions that add up along
// a row. A value is the mean of two linear interpolations, one along each axis, that start at the nearest element;
// positions up to one pixel beyond the image repeat its edge, farther ones leave the background, bytes are rounded.

#include "PReorient.h"

#include "CacheLine.h"
#include "Cells.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Parameters.h"
#include "Wrapping.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <numbers>
#include <utility>
#include <vector>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Reorient::Run";

constexpr const char* kText = R"(BRIEF
Node to reorient an image using the main orientation of the data
in a second input image.

The main orientation is computed from the second moments of all pixels of the second input image that are not zero. The
first input image is rotated such that this orientation is aligned with the nearest image axis, i.e. by 45 degrees at most.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

INPUT 1
Second input image of type IMAGE_GREY_F or IMAGE_GREY_8 used to
compute the rotation angle.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER bg_value
The type of this parameter is of type double. pixel value for background.
By default it is set to \a 0.


PARAMETER resize
The type of this parameter is of type bool. if true, adjust the size of the output image to the rotated image, otherwise
keep the size of the input image.
By default it is set to \a false.


PARAMETER verbose
The type of this parameter is of type bool. if true, print angle feedback to stdout
By default it is set to \a false.


NOTE
Currently only implemented for 2d images.

SEE ALSO
Rotate
)";

/// The number and the coordinate sums of the elements that are data.
struct StMoments {
    double n = 0.0;
    double x = 0.0;
    double y = 0.0;
    double xx = 0.0;
    double yy = 0.0;
    double xy = 0.0;
};

/// A product of coordinates.
double Product(std::int32_t a, std::int32_t b) { return WrappedProduct(a, b); }

/// The sums as they are told, element by element.
template <class T> StMoments PlainMoments(const T* in, std::int32_t width, std::int32_t height) {
    StMoments sums;
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            if (*in++ != T{0}) {
                sums.n += 1.0;
                sums.x += x;
                sums.y += y;
                sums.xx += Product(x, x);
                sums.yy += Product(y, y);
                sums.xy += Product(x, y);
            }
        }
    }
    return sums;
}

/// The number of data elements of a run, and the sums of their places in it and of the squares of these.
struct StRun {
    std::uint32_t n;
    std::uint32_t x;
    std::uint32_t xx;
};

/// The longest run whose sums of squares fit into 32 bits.
constexpr std::int32_t kRun = 1024;

template <class T> VESSA_VECTOR_VARIANTS StRun CountRun(const T* in, std::int32_t count) {
    StRun run{};
    for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(count); ++x) {
        const std::uint32_t data = in[x] != T{0} ? 1U : 0U;
        run.n += data;
        run.x += data * x;
        run.xx += data * (x * x);
    }
    return run;
}

/// The same sums in integers, for extents with which no product wraps and no sum of doubles would be rounded.
template <class T> StMoments WholeMoments(const T* in, std::int32_t width, std::int32_t height) {
    std::int64_t n = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
    for (std::int64_t y = 0; y < height; ++y) {
        std::int64_t rowN = 0;
        std::int64_t rowX = 0;
        for (std::int64_t first = 0; first < width; first += kRun) {
            const StRun run = CountRun(in + first, std::min(kRun, static_cast<std::int32_t>(width - first)));
            rowN += run.n;
            rowX += run.n * first + run.x;
            sxx += (run.n * first + 2 * std::int64_t{run.x}) * first + run.xx;
        }
        in += width;
        n += rowN;
        sx += rowX;
        sy += rowN * y;
        syy += rowN * y * y;
        sxy += rowX * y;
    }
    const auto number = [](std::int64_t sum) { return static_cast<double>(sum); };
    return {number(n), number(sx), number(sy), number(sxx), number(syy), number(sxy)};
}

template <class T> StMoments Moments(const T* in, std::int32_t width, std::int32_t height) {
    constexpr double exact = 9007199254740992.0; // up to here, doubles hold all integers
    const double longest = std::max(width, height);
    const bool whole = longest <= 46340.0 && longest * longest * width * height < exact;
    return whole ? WholeMoments(in, width, height) : PlainMoments(in, width, height);
}

StMoments MomentsOf(const CImage& image) {
    StMoments moments;
    if (!IsEmpty(image)) {
        DispatchNumber<float, std::uint8_t>(image.Type(), kWhere, [&]<class T>(Element<T>) {
            moments = Moments(Elements<T>(image), WrappedTo32(image.Size().x), WrappedTo32(image.Size().y));
        });
    }
    return moments;
}

/// The direction of the main axis, between it and the nearest image axis.
double MainDirection(const StMoments& sums) {
    if (sums.n < 1.0) {
        return 0.0;
    }
    const double mx = sums.x / sums.n;
    const double my = sums.y / sums.n;
    const double vx = sums.xx / sums.n - mx * mx;
    const double vy = sums.yy / sums.n - my * my;
    const double cxy = sums.xy / sums.n - my * mx;
    const double d = vx - vy;
    const double r = std::sqrt(d * 0.25 * d + cxy * cxy);
    const bool round = vx == vy;
    double a = round ? 1.0 : (d * 0.5) / r + 1.0;
    double b = round ? 1.0 : cxy / r;
    const double m = std::sqrt(b * b + a * a);
    a = m > 0.0 ? a / m : 0.0;
    b = m > 0.0 ? b / m : 1.0;
    const double theta = std::atan2(b, a);
    if (std::fabs(theta) > 0.7853981633974483) {
        return theta < 0.0 ? theta + 1.5707963267948966 : theta - 1.5707963267948966;
    }
    return theta;
}

/// The turn, and the window of turned coordinates that the output shows: `y1` doesn't belong to it, `x1` does.
struct StWindow {
    double c, s;
    std::int32_t x0, x1, y0, y1;
    std::int32_t width, height;
};

StWindow WindowOf(double degrees, const CSize& size, bool resize) {
    const double rad = (degrees / 180.0) * std::numbers::pi;
    const std::int32_t width = WrappedTo32(size.x);
    const std::int32_t height = WrappedTo32(size.y);
    const double w = width;
    const double h = height;
    StWindow window{std::cos(rad), std::sin(rad), 0, 0, 0, 0, width, height};
    const double c = window.c;
    const double s = window.s;
    const auto xs = {0.0, w * c, (-h) * s, w * c - h * s};
    const auto ys = {0.0, w * s, h * c, h * c + w * s};
    double minX = std::min(xs), maxX = std::max(xs);
    double minY = std::min(ys), maxY = std::max(ys);
    if (resize) {
        window.x0 = WrappedTo32(std::int64_t{TruncateTo32(minX)} - 1);
        window.x1 = WrappedTo32(std::int64_t{TruncateTo32(maxX)} + 1);
        window.y0 = WrappedTo32(std::int64_t{TruncateTo32(minY)} - 1);
        window.y1 = WrappedTo32(std::int64_t{TruncateTo32(maxY)} + 1);
        window.width = WrappedTo32(std::int64_t{window.x1} - window.x0 + 1);
        window.height = WrappedTo32(std::int64_t{window.y1} - window.y0 + 1);
        return window;
    }
    const double marginX = ((maxX - minX + 1.0) - w) * 0.5;
    const double marginY = ((maxY - minY + 1.0) - h) * 0.5;
    minX += marginX;
    maxX -= marginX;
    minY += marginY;
    maxY -= marginY;
    const auto half = [](double t) { return t >= 0.0 ? 0.5 : -0.5; };
    window.x0 = TruncateTo32(minX + half(minX));
    window.x1 = TruncateTo32(maxX + half(maxX));
    window.y0 = TruncateTo32(minY + half(minY));
    window.y1 = TruncateTo32(maxY + half(maxX)); // the sign of the x end decides here too, as it always did
    return window;
}

/// A source plane with the turn and the background: what it takes to serve a position.
template <class T> struct StSource {
    const T* elements;
    std::int32_t width;
    std::int32_t height;
    double c;
    double s;
    T background;

    /// One pixel beyond the image on all sides still is inside.
    [[gnu::always_inline]] bool Holds(double u, double v) const {
        const bool left = u < -1.0;
        const bool right = u > width + 1.0;
        const bool above = v < -1.0;
        const bool below = v > height + 1.0;
        return !(left | right | above | below);
    }
};

// The running sums of a row are one long chain of additions, each of which waits for the one before. Some rows
// therefore advance together.
constexpr int kLanes = 4;
constexpr int kSteps = 256;

/// How many rows are walked together, in tiles: what lies under a tile stays in the caches from row to row.
constexpr int kBand = 16 * kLanes;

/// The positions of some steps of one row.
struct StPositions {
    alignas(kLine) double u[kSteps];
    double v[kSteps];
};

/// Along one axis: the element nearest to the position, the one on the position's other side (at the edges of the image
/// the same), and the distance from the nearest one.
struct StAxis {
    alignas(kLine) std::int32_t near[kSteps];
    std::int32_t far[kSteps];
    double distance[kSteps];
};

struct StSamples {
    StAxis x;
    StAxis y;
};

/// The elements that are mixed: the nearest one, and those on the other side along each axis. Bytes are held in as many
/// bits as floats, or vectors of them would be too long to be widened to doubles in registers.
template <class T> struct StTaps {
    using Element = std::conditional_t<std::is_floating_point_v<T>, T, std::int32_t>;

    alignas(kLine) Element nearest[kSteps];
    Element acrossX[kSteps];
    Element acrossY[kSteps];
};

/// Takes the lanes, which stand at `u` and `v`, some steps on.
void Advance(double c, double s, int steps, double* u, double* v, StPositions* lanes) {
    double laneU[kLanes];
    double laneV[kLanes];
    std::copy_n(u, kLanes, laneU);
    std::copy_n(v, kLanes, laneV);
    for (int step = 0; step < steps; ++step) {
        for (int lane = 0; lane < kLanes; ++lane) {
            laneU[lane] += c;
            laneV[lane] -= s;
            lanes[lane].u[step] = laneU[lane];
            lanes[lane].v[step] = laneV[lane];
        }
    }
    std::copy_n(laneU, kLanes, u);
    std::copy_n(laneV, kLanes, v);
}

/// Positions halfway count as nearer to the higher element. The distance is that from the nearest element also where
/// this lies beyond the edge and is replaced by it.
VESSA_VECTOR_VARIANTS void FindAxis(const double* positions, int count, std::int32_t extent, StAxis& __restrict axis) {
    const double last = extent - 1.0;
    for (int i = 0; i < count; ++i) {
        const double at = positions[i];
        const double low = std::floor(at);
        const double high = std::ceil(at);
        const bool lowIsNear = high - at > at - low;
        const double near = lowIsNear ? low : high;
        const double far = lowIsNear ? high : low;
        axis.near[i] = static_cast<std::int32_t>(near < 0.0 ? 0.0 : near > last ? last : near);
        axis.far[i] = static_cast<std::int32_t>(far < 0.0 ? 0.0 : far > last ? last : far);
        axis.distance[i] = std::fabs(at - near);
    }
}

/// The same for positions that have an element of the image on both sides: short, since nothing can lie beyond an edge.
/// Both distances are exact, so that it is the nearer one that a fraction below a half tells.
VESSA_VECTOR_VARIANTS void FindInnerAxis(const double* positions, int count, StAxis& __restrict axis) {
    for (int i = 0; i < count; ++i) {
        const auto low = static_cast<std::int32_t>(positions[i]);
        const double fraction = positions[i] - low;
        const std::int32_t high = fraction > 0.0 ? low + 1 : low;
        axis.near[i] = fraction < 0.5 ? low : high;
        axis.far[i] = fraction < 0.5 ? high : low;
        axis.distance[i] = fraction < 0.5 ? fraction : 1.0 - fraction;
    }
}

void FindSamples(const StPositions& at, int count, std::int32_t width, std::int32_t height, StSamples& samples) {
    FindAxis(at.u, count, width, samples.x);
    FindAxis(at.v, count, height, samples.y);
}

/// A pass of loads alone, since what is done with them becomes vectors without it.
template <class T> void LoadTaps(const StSource<T>& source, const StSamples& samples, int count, StTaps<T>& taps) {
    for (int i = 0; i < count; ++i) {
        const T* nearRow = source.elements + std::int64_t{samples.y.near[i]} * source.width;
        const T* farRow = source.elements + std::int64_t{samples.y.far[i]} * source.width;
        taps.nearest[i] = nearRow[samples.x.near[i]];
        taps.acrossX[i] = nearRow[samples.x.far[i]];
        taps.acrossY[i] = farRow[samples.x.near[i]];
    }
}

/// Floats take the value as it is narrowed; bytes add 0.5 to that.
template <class T>
VESSA_VECTOR_VARIANTS void MixTaps(const StTaps<T>& taps, const StSamples& samples, int count, T* __restrict out) {
    for (int i = 0; i < count; ++i) {
        const double p = taps.nearest[i];
        const double q = taps.acrossY[i];
        const double t = taps.acrossX[i];
        const double dx = samples.x.distance[i];
        const double dy = samples.y.distance[i];
        const auto value = static_cast<float>((q * dy + (1.0 - dy) * p) * 0.5 + (t * dx + (1.0 - dx) * p) * 0.5);
        if constexpr (std::is_floating_point_v<T>) {
            out[i] = value;
        } else {
            out[i] = ElementFromMix<T>(value + 0.5);
        }
    }
}

template <class T>
VESSA_VECTOR_VARIANTS void ClearOutside(const StPositions& at, int count, StSource<T> source, T* out) {
    for (int i = 0; i < count; ++i) {
        out[i] = source.Holds(at.u[i], at.v[i]) ? out[i] : source.background;
    }
}

/// Turns a plane, group of rows by group of rows.
template <class T> class CTurn {
public:
    // Its blocks are filled before they are read. NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
    CTurn(const T* in, const CSize& size, const StWindow& window, T background, T* out)
        : m_source{in, WrappedTo32(size.x), WrappedTo32(size.y), window.c, window.s, background}, m_window(window),
          m_out(out), m_rows(std::clamp<std::int64_t>(std::int64_t{window.y1} - window.y0, 0, window.height)),
          m_columns(
              std::clamp<std::int64_t>(std::int64_t{window.x1} - window.x0 + 1, 0, std::int64_t{window.width} + 1)) {}

    void Turn() {
        for (std::int64_t row = 0; row < m_rows; row += kBand) {
            TurnBand(row, static_cast<int>(std::min<std::int64_t>(kBand, m_rows - row)));
        }
        std::fill(m_out + m_rows * m_window.width, m_out + std::int64_t{m_window.height} * m_window.width,
                  m_source.background);
        for (const auto& [element, value] : m_spilled) {
            m_out[element] = value;
        }
    }

private:
    double StartU(std::int64_t row) const {
        return static_cast<double>(m_window.y0 + row) * m_source.s + (m_window.x0 - 1.0) * m_source.c;
    }
    double StartV(std::int64_t row) const {
        return static_cast<double>(m_window.y0 + row) * m_source.c - (m_window.x0 - 1.0) * m_source.s;
    }

    void TurnBand(std::int64_t row, int rows) {
        for (int i = 0; i < kBand; ++i) {
            m_u[i] = StartU(row + i);
            m_v[i] = StartV(row + i);
        }
        for (std::int64_t first = 0; first < m_columns; first += kSteps) {
            const int steps = static_cast<int>(std::min<std::int64_t>(kSteps, m_columns - first));
            for (int group = 0; group < rows; group += kLanes) {
                Advance(m_source.c, m_source.s, steps, m_u + group, m_v + group, m_lanes);
                for (int lane = 0; lane < std::min(kLanes, rows - group); ++lane) {
                    WriteSteps(m_lanes[lane], row + group + lane, first, steps);
                }
            }
        }
        for (int i = 0; i < rows && m_columns < m_window.width; ++i) {
            T* out = m_out + (row + i) * m_window.width;
            std::fill(out + m_columns, out + m_window.width, m_source.background);
        }
    }

    void WriteSteps(const StPositions& at, std::int64_t row, std::int64_t first, int steps) {
        const auto own = static_cast<int>(std::min<std::int64_t>(steps, m_window.width - first));
        Sample(at, own, m_out + row * m_window.width + first);
        if (own < steps) {
            Spill(at, own, row + 1);
        }
    }

    /// Serves some steps of a row. Its positions only rise or only fall, so that the first and the last one tell
    /// whether all are inside, some or none.
    void Sample(const StPositions& at, int count, T* out) {
        if (count == 0) {
            return;
        }
        const auto [leastU, greatestU] = std::minmax(at.u[0], at.u[count - 1]);
        const auto [leastV, greatestV] = std::minmax(at.v[0], at.v[count - 1]);
        const double right = m_source.width + 1.0;
        const double bottom = m_source.height + 1.0;
        if (greatestU < -1.0 || leastU > right || greatestV < -1.0 || leastV > bottom) {
            std::fill_n(out, count, m_source.background);
            return;
        }
        if (leastU >= 0.0 && greatestU < right - 2.0 && leastV >= 0.0 && greatestV < bottom - 2.0) {
            FindInnerAxis(at.u, count, m_samples.x);
            FindInnerAxis(at.v, count, m_samples.y);
        } else {
            FindSamples(at, count, m_source.width, m_source.height, m_samples);
        }
        LoadTaps(m_source, m_samples, count, m_taps);
        MixTaps(m_taps, m_samples, count, out);
        if (leastU < -1.0 || greatestU > right || leastV < -1.0 || greatestV > bottom) {
            ClearOutside(at, count, m_source, out);
        }
    }

    /// Where the window is one column wider than the output, the last pixel of a row lands in front of the next row and
    /// stays there unless that row has a pixel of its own in this place. Past the output's end it is dropped.
    void Spill(const StPositions& at, int step, std::int64_t next) {
        const bool kept = next < m_rows && m_source.Holds(StartU(next) + m_source.c, StartV(next) - m_source.s);
        if (next < m_window.height && !kept && m_source.Holds(at.u[step], at.v[step])) {
            T value{};
            FindSamples({{at.u[step]}, {at.v[step]}}, 1, m_source.width, m_source.height, m_samples);
            LoadTaps(m_source, m_samples, 1, m_taps);
            MixTaps(m_taps, m_samples, 1, &value);
            m_spilled.emplace_back(next * m_window.width, value);
        }
    }

    const StSource<T> m_source;
    const StWindow m_window;
    T* const m_out;
    const std::int64_t m_rows;    ///< rows that are turned; those below them are background
    const std::int64_t m_columns; ///< columns that are turned
    std::vector<std::pair<std::int64_t, T>> m_spilled;
    double m_u[kBand]; ///< where the rows of the band stand
    double m_v[kBand];
    StPositions m_lanes[kLanes];
    StSamples m_samples;
    StTaps<T> m_taps;
};

template <class T> void Turn(const CImage& input, const StWindow& window, double bgValue, CImage& output) {
    const T background = ElementFromNumber<T>(bgValue);
    T* out = Elements<T>(output);
    if (IsEmpty(input)) {
        std::fill_n(out, output.Buffer().Size() / sizeof(T), background);
    } else {
        CTurn<T>(Elements<T>(input), input.Size(), window, background, out).Turn();
    }
}

} // namespace

void CPReorient::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Reorient", "Manipulation");
    description.DoubleParameter("bg_value", 0.0).Order(0);
    description.BoolParameter("resize", false).Toggle().Order(1);
    description.BoolParameter("verbose", false).Toggle().Order(2);
    description.ImageInput();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPReorient::NodeInit() {
    ReadNumber(Parameters(), "bg_value", bg_value);
    resize = Parameters().EntryBool("resize", false);
    verbose = Parameters().EntryBool("verbose", false);
}

void CPReorient::Run() {
    CValue& firstValue = RequireValue(*this, 0, kWhere, "input image is NULL");
    CValue& secondValue = RequireValue(*this, 1, kWhere, "input image is NULL");
    const CImage& input = RequireImage(firstValue, kWhere, "input image is NULL");
    const CImage& data = RequireImage(secondValue, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "first input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");
    RequireType(data, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "second input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");

    const double theta = MainDirection(MomentsOf(data));
    const double degrees = (theta / std::numbers::pi) * 180.0;
    if (verbose) {
        std::cout << "angle (rad): " << theta << "\nangle (deg): " << degrees << "\n";
    }
    const StWindow window = WindowOf(-degrees, input.Size(), resize);
    auto output = NewImage(input.Type(), CSize(window.width, window.height));
    DispatchNumber<float, std::uint8_t>(input.Type(), kWhere,
                                        [&]<class T>(Element<T>) { Turn<T>(input, window, bg_value, *output); });
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
