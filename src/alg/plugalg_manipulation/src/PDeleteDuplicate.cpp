// Removes repeated lines of an image's first slice, columns along "X" or rows along "Y": each distinct line stays in
// the place of its first occurrence. A second image counts how often each line occurred.
//
// Floats are compared by value: zeros of both signs are equal, and a NaN is equal to nothing. Images without a NaN are
// searched by hash. A NaN is neither less nor greater than any number, so that the outcome depends on how the lines are
// ordered: then they go through the ordered multiset that defines it.

#include "PDeleteDuplicate.h"

#include "Blocks.h"
#include "Description.h"
#include "Inputs.h"
#include "Output.h"
#include "Transpose.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <bit>
#include <set>
#include <vector>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "DeleteDuplicate";

constexpr const char* kText = R"(BRIEF
Delete/detect duplicate rows or columns in an image.

Each distinct row or column is kept once, in the place where it occurs first.
This can be useful for filtering tables (in form of images).

INPUT 0
Input image of type GREY_F, GREY_8, GREY_16, GREY_32, or MONO_BINARY.

OUTPUT 0
Image with unique rows/columns.

OUTPUT 1
Occurance count image. Has either same size as input size in X/Y direction,
when size_count == SIZE_OF_INPUT', or has size of unique rows/columns
when size_count == SIZE_OF_RESULT.

PARAMETER along
The type of this parameter is of type string. 'X' for columns, 'Y' for rows. default: 'X'.

PARAMETER size_count
The type of this parameter is of type string. SIZE_OF_INPUT for including non-unique row/column counts (zeroed),
SIZE_OF_RESULT for excluding non-unique rows/columns

NOTE
Works only for 2D images, for an 3D image, only the first slice is processed

KEYWORDS
delete, remove, duplicates, rows, cols, columns, make unique
)";

/// Lines of equal length, one behind the other.
template <class T> struct StLines {
    const T* first;
    std::int64_t length;
    std::int64_t count;

    const T* operator[](std::int64_t index) const { return first + index * length; }
};

/// How often each line occurs, at its first occurrence; 0 at every further one.
using Counts = std::vector<std::uint32_t>;

/// The first count to which adding 1 in single precision changes nothing.
constexpr std::uint32_t kCountCeiling = std::uint32_t{1} << 24;

void CountOnceMore(std::uint32_t& count) { count = std::min(count + 1, kCountCeiling); }

/// An element as the hash sees it: the same for all elements that are equal.
template <class T> std::uint32_t HashedWord(T element) {
    if constexpr (std::is_same_v<T, float>) {
        return std::bit_cast<std::uint32_t>(element + 0.0F); // turns -0.0 into 0.0
    } else {
        return element;
    }
}

/// The hash NH of UMAC (Black, Halevi, Krawczyk, Krovetz and Rogaway, 1999) over the elements of a line: a sum of
/// products, each of two elements with a key added. Two lines that differ collide with a chance of 2^-32.
template <class T>
VESSA_VECTOR_VARIANTS std::uint64_t LineHash(const T* line, const std::uint32_t* keys, std::int64_t length) {
    const std::int64_t half = length / 2;
    std::uint64_t hash = 0;
    for (std::int64_t i = 0; i < half; ++i) {
        const std::uint32_t a = HashedWord(line[i]) + keys[i];
        const std::uint32_t b = HashedWord(line[half + i]) + keys[half + i];
        hash += std::uint64_t{a} * b;
    }
    if (length % 2 != 0) {
        hash += std::uint64_t{HashedWord(line[length - 1]) + keys[length - 1]} * keys[length];
    }
    return hash;
}

/// Arbitrary, but the same in every run: the sequence of the generator SplitMix64 (Steele, Lea and Flood, 2014).
std::vector<std::uint32_t> HashKeys(std::int64_t count) {
    std::vector<std::uint32_t> keys(static_cast<std::size_t>(count));
    std::uint64_t state = 0;
    for (std::uint32_t& key : keys) {
        std::uint64_t mixed = state += 0x9E3779B97F4A7C15U;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
        key = static_cast<std::uint32_t>(mixed >> 32);
    }
    return keys;
}

template <class T> bool LinesEqual(const T* a, const T* b, std::int64_t length) { return std::equal(a, a + length, b); }

/// Counts by an open hash table of the first occurrences.
template <class T> Counts CountByHash(const StLines<T>& lines) {
    constexpr std::int32_t free = -1;
    const std::vector<std::uint32_t> keys = HashKeys(lines.length + 1);
    const std::size_t capacity = std::bit_ceil(static_cast<std::size_t>(lines.count) * 2);
    std::vector<std::int32_t> table(capacity, free);
    std::vector<std::uint64_t> hashes(static_cast<std::size_t>(lines.count));
    Counts counts(static_cast<std::size_t>(lines.count), 0);
    const int shift = 64 - std::countr_zero(capacity);
    for (std::int64_t index = 0; index < lines.count; ++index) {
        const std::uint64_t hash = LineHash(lines[index], keys.data(), lines.length);
        hashes[static_cast<std::size_t>(index)] = hash;
        // The sum's good bits are spread to the top by a multiplication with the golden ratio.
        std::size_t slot = (hash ^ (hash >> 32)) * 0x9E3779B97F4A7C15U >> shift;
        while (table[slot] != free) {
            const auto first = static_cast<std::size_t>(table[slot]);
            if (hashes[first] == hash && LinesEqual(lines[table[slot]], lines[index], lines.length)) {
                break;
            }
            slot = (slot + 1) % capacity;
        }
        if (table[slot] == free) {
            table[slot] = static_cast<std::int32_t>(index);
        }
        CountOnceMore(counts[static_cast<std::size_t>(table[slot])]);
    }
    return counts;
}

/// Counts by the order of the lines: equal lines that stand next to one another are one group, and a group's first line
/// is the one with the lowest index.
template <class T> Counts CountByOrder(const StLines<T>& lines) {
    const auto before = [&](std::int32_t a, std::int32_t b) {
        const T* lineA = lines[a];
        const T* lineB = lines[b];
        if (std::lexicographical_compare(lineA, lineA + lines.length, lineB, lineB + lines.length)) {
            return true;
        }
        return !std::lexicographical_compare(lineB, lineB + lines.length, lineA, lineA + lines.length) && a < b;
    };
    std::multiset<std::int32_t, decltype(before)> ordered(before);
    for (std::int64_t index = 0; index < lines.count; ++index) {
        ordered.insert(static_cast<std::int32_t>(index));
    }
    Counts counts(static_cast<std::size_t>(lines.count), 1);
    std::int32_t representative = *ordered.begin();
    for (auto line = std::next(ordered.begin()); line != ordered.end(); ++line) {
        if (LinesEqual(lines[representative], lines[*line], lines.length)) {
            CountOnceMore(counts[static_cast<std::size_t>(representative)]);
            counts[static_cast<std::size_t>(*line)] = 0;
        } else {
            representative = *line;
        }
    }
    return counts;
}

template <class T> bool HoldsNaN(const StLines<T>& lines) {
    return std::any_of(lines.first, lines.first + lines.length * lines.count,
                       [](T element) { return element != element; });
}

template <class T> Counts CountLines(const StLines<T>& lines) {
    if constexpr (std::is_floating_point_v<T>) {
        if (HoldsNaN(lines)) {
            return CountByOrder(lines);
        }
    }
    return CountByHash(lines);
}

template <class T> Counts CountImageLines(const CImage& input, bool columns) {
    const auto [width, height, depth] = Extents(input);
    const T* in = Elements<T>(input);
    if (!columns) {
        return CountLines(StLines<T>{in, width, height});
    }
    // The columns of the plane as lines.
    CBuffer scratch(static_cast<std::size_t>(width * height) * sizeof(T));
    T* transposed = static_cast<T*>(scratch.Data());
    Transpose<T>({in, width, width, height}, transposed, height);
    return CountLines(StLines<T>{transposed, height, width});
}

/// The indices of the lines that stay, ascending.
std::vector<std::int64_t> KeptLines(const Counts& counts) {
    std::vector<std::int64_t> kept;
    for (std::size_t index = 0; index < counts.size(); ++index) {
        if (counts[index] != 0) {
            kept.push_back(static_cast<std::int64_t>(index));
        }
    }
    return kept;
}

template <class T> void CopyColumns(const CImage& input, CImage& output, const std::vector<std::int64_t>& kept) {
    const auto [width, height, depth] = Extents(input);
    const T* in = Elements<T>(input);
    T* out = Elements<T>(output);
    for (std::int64_t y = 0; y < height; ++y, in += width) {
        out = std::transform(kept.begin(), kept.end(), out, [&](std::int64_t x) { return in[x]; });
    }
}

template <class T> void CopyLines(const CImage& input, CImage& output, const std::vector<std::int64_t>& kept) {
    const std::int64_t width = Extents(input).width;
    const T* in = Elements<T>(input);
    T* out = Elements<T>(output);
    for (const std::int64_t y : kept) {
        CopyElements(in + y * width, out, width);
        out += width;
    }
}

/// The counts as floats: all of them, or those of the lines that stay.
std::unique_ptr<CImage> CountImage(const Counts& counts, std::size_t kept, bool columns, bool all) {
    const auto length = static_cast<std::int64_t>(all ? counts.size() : kept);
    auto image = NewImage(IMAGE_GREY_F, columns ? CSize(length, 1, 1) : CSize(1, length, 1));
    auto* out = Elements<float>(*image);
    for (const std::uint32_t count : counts) {
        if (all || count != 0) {
            *out++ = static_cast<float>(count);
        }
    }
    return image;
}

} // namespace

void CPDeleteDuplicate::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "DeleteDuplicate", "Manipulation");
    description.StringParameter("along", along).Values("X, Y").Order(0);
    description.StringParameter("size_count", size_count).Values("SIZE_OF_INPUT, SIZE_OF_RESULT").Order(1);
    description.BoolParameter("verbose", verbose).Toggle().Order(2);
    description.ImageInput();
    description.ImageOutput();
    description.ImageOutput();
    description.Text(kText);
}

void CPDeleteDuplicate::NodeInit() {
    along = Parameters().EntryString("along", along);
    size_count = Parameters().EntryString("size_count", size_count);
    verbose = Parameters().EntryBool("verbose", verbose); // only published: there is nothing to tell
}

void CPDeleteDuplicate::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "first input image is NULL", "first input is not an image");
    const CSize& size = input.Size();
    if (IsEmpty(input)) {
        Fail(kWhere, CString("first input image: at least one dimension is zero: %1").Arg(size.ToString()));
    }
    constexpr std::int64_t tooLarge = 2147483647; // refused already, in spite of the words
    if (size.x >= tooLarge || size.y >= tooLarge) {
        Fail(kWhere, CString("Image too large. Maximal image size X and Y is 2^31-1: %1").Arg(size.ToString()));
    }
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}, kWhere,
                "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, "
                "IMAGE_MONO_BINARY.");
    if (along != "X" && along != "Y") {
        Fail(kWhere, "parameter 'along' can only be 'X' or 'Y'");
    }
    if (size_count != "SIZE_OF_INPUT" && size_count != "SIZE_OF_RESULT") {
        Fail(kWhere, "parameter 'size_count' can only be 'SIZE_OF_INPUT' or 'SIZE_OF_RESULT'");
    }

    const bool columns = along == "X";
    std::unique_ptr<CImage> output;
    std::unique_ptr<CImage> countImage;
    DispatchNumber<float, std::uint8_t, std::uint16_t, std::uint32_t>(input.Type(), kWhere, [&]<class T>(Element<T>) {
        const Counts counts = CountImageLines<T>(input, columns);
        const std::vector<std::int64_t> kept = KeptLines(counts);
        const auto lines = static_cast<std::int64_t>(kept.size());
        output = NewImage(input.Type(), columns ? CSize(lines, size.y, 1) : CSize(size.x, lines, 1));
        (columns ? &CopyColumns<T> : &CopyLines<T>)(input, *output, kept);
        countImage = CountImage(counts, kept.size(), columns, size_count == "SIZE_OF_INPUT");
    });
    SetOutputs(*this, WrapImage(std::move(output)), WrapImage(std::move(countImage)));
}

} // namespace QUOR
