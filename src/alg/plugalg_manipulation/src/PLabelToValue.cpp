// Replaces every element of a label image by an entry of a look-up table, the second image in storage order: out =
// map[L], or with `ignore_zero` map[L - 1] and 0 for the label 0. Entries are moved as patterns of bits.
//
// Labels are checked and looked up in one sweep, block by block. Once a block holds a label that the table lacks, the
// rest is only checked, since a label of another fault has the first word.

#include "PLabelToValue.h"

#include "ByteTable.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Labels.h"
#include "Output.h"
#include "Runs.h"
#include "base/VectorVariants.h"

#include <bit>
#include <limits>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) PLabelToValue::Run";

constexpr const char* kText = R"(BRIEF
Node to change labels to a user-defined gray-value map.

Each pixel of the label image is replaced by the pixel of the map image
whose number, counted in storage order, is the label.

INPUT 0
Input label image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.

INPUT 1
Input map image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.

OUTPUT 0
Output image of the same type as the map image.

PARAMETER ignore_zero
The type of this parameter is of type bool. defines whether zeros in the label image are
ignored (i.e. the corresponding output pixel is set to zero) or not.
By default it is set to \a false.

NOTE
maximum greyvalue of the label image must not exceed the total size of the map image.

SEE ALSO
LabelToColor: the corresponding color mapping
)";

/// Fails for the first element of a block that is no label: one below zero or one that isn't finite.
void RequireLabels(const float* in, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
        if (in[i] < 0.0F) {
            Fail(kWhere, "Error: negative label occures.");
        }
        if (!(in[i] <= std::numeric_limits<float>::max())) {
            Fail(kWhere, "Error: non-finite label occures (+inf, -inf, or nan).");
        }
    }
}

/// The bits of the largest element; infinite, NaN and negative ones come out above all numbers. -0.0 counts as 0.0.
VESSA_VECTOR_VARIANTS std::uint32_t LargestBits(const float* in, std::int64_t count) {
    std::uint32_t largest = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const auto bits = std::bit_cast<std::uint32_t>(in[i] + 0.0F);
        largest = std::max(largest, bits);
    }
    return largest;
}

template <class T> VESSA_VECTOR_VARIANTS T LargestElement(const T* in, std::int64_t count) {
    T largest = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        largest = std::max(largest, in[i]);
    }
    return largest;
}

/// The largest label of a block; fails for an element that is no label.
template <class T> std::int64_t LargestLabelOf(const T* in, std::int64_t count) {
    if constexpr (std::is_same_v<T, float>) {
        constexpr std::uint32_t infinity = 0x7F800000U;
        const std::uint32_t largest = LargestBits(in, count);
        if (largest >= infinity) {
            RequireLabels(in, count);
        }
        return LabelOf(std::bit_cast<float>(largest));
    } else {
        return LargestElement(in, count);
    }
}

template <class T> std::int64_t LabelFrom(T element) {
    if constexpr (std::is_same_v<T, float>) {
        return LabelOf(element);
    } else {
        return element;
    }
}

/// The table as labels address it: with `ignoreZero` from label 1 on, and 0 for the label 0.
template <class V> struct StTable {
    const V* entries;
    std::int64_t size;
    bool ignoreZero;

    /// The largest label that the table holds.
    std::int64_t Last() const { return ignoreZero ? size : size - 1; }

    V operator[](std::int64_t label) const {
        if (ignoreZero) {
            return label == 0 ? V{0} : entries[label - 1];
        }
        return entries[label];
    }
};

/// True if a table up to the label `last` serves whatever an element of type `L` holds, so that none needs a check.
template <class L> bool HoldsEveryLabel(std::int64_t last) {
    if constexpr (std::is_integral_v<L>) {
        return last >= std::int64_t{std::numeric_limits<L>::max()};
    } else {
        return false;
    }
}

template <class L, class V> void LookUpRuns(const L* in, std::int64_t count, const StTable<V>& table, V* out) {
    ForEachRun(in, count, [&](std::int64_t first, std::int64_t length) {
        std::fill_n(out + first, length, table[LabelFrom(in[first])]);
    });
}

/// Byte labels go through a table of all of them, which stays in the cache whatever the size of the map.
template <class V> ByteTable<V> AllBytes(const StTable<V>& table) {
    ByteTable<V> all{};
    for (std::int64_t label = 0; label <= std::min<std::int64_t>(table.Last(), 255); ++label) {
        all[static_cast<std::size_t>(label)] = table[label];
    }
    return all;
}

template <class L, class V> void LabelToValue(const CImage& labels, const StTable<V>& table, CImage& output) {
    constexpr std::int64_t block = 8192; // stays in the first cache between the check and the look-up
    const L* in = Elements<L>(labels);
    V* out = Elements<V>(output);
    const auto count = static_cast<std::int64_t>(labels.Size().Volume());
    [[maybe_unused]] const ByteTable<V> all = AllBytes(table);
    const bool holdsAll = HoldsEveryLabel<L>(table.Last());
    std::int64_t largest = 0;
    for (std::int64_t first = 0; first < count; first += block) {
        const std::int64_t size = std::min(block, count - first);
        if (!holdsAll) {
            largest = std::max(largest, LargestLabelOf(in + first, size));
        }
        if (largest > table.Last()) {
            continue;
        }
        if constexpr (sizeof(L) == 1) {
            LookUpBytes(in + first, size, all, out + first);
        } else {
            LookUpRuns(in + first, size, table, out + first);
        }
    }
    if (largest > table.Last()) { // 0 for an image without elements, which an empty table lacks, too
        Fail(kWhere, CString("Error: maximum label from input '%1' exceeds size of map image '%2'.")
                         .Arg(static_cast<long long>(largest), 0)
                         .Arg(static_cast<long long>(table.size), 0));
    }
}

} // namespace

void CPLabelToValue::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "LabelToValue", "LabelImage");
    description.BoolParameter("ignore_zero", false).Toggle();
    description.ImageInput("label image");
    description.ImageInput("map image");
    description.ImageOutput();
    description.Text(kText);
}

void CPLabelToValue::NodeInit() { ignore_zero = Parameters().EntryBool("ignore_zero", false); }

void CPLabelToValue::Run() {
    CValue& labelValue = RequireValue(*this, 0, kWhere, "First input image is NULL");
    CValue& mapValue = RequireValue(*this, 1, kWhere, "Second input image is NULL");
    const CImage* labelImage = UnwrapPointer<CImage>(&labelValue);
    const CImage* mapImage = UnwrapPointer<CImage>(&mapValue);
    if (labelImage == nullptr) {
        Fail(kWhere, "First input image is not an image");
    }
    if (mapImage == nullptr) {
        Fail(kWhere, "Second input image is not an image");
    }
    RequireType(*labelImage, {IMAGE_GREY_F, IMAGE_GREY_32, IMAGE_GREY_16, IMAGE_GREY_8, IMAGE_BINARY_FG}, kWhere,
                "The first input label image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, "
                "or IMAGE_MONO_BINARY.");
    RequireType(
        *mapImage, {IMAGE_GREY_F, IMAGE_GREY_32, IMAGE_GREY_16, IMAGE_GREY_8, IMAGE_BINARY_FG}, kWhere,
        "The second input map image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or "
        "IMAGE_MONO_BINARY.");

    const auto& size = labelImage->Size();
    auto output = NewImage(mapImage->Type(), CSize(size.x, size.y, size.z));
    DispatchNumber<float, std::uint32_t, std::uint16_t, std::uint8_t>(
        labelImage->Type(), "LabelToValueTemplateGetMaxLabel", [&]<class L>(Element<L>) {
            DispatchWidth(mapImage->Type(), "LabelToValueTemplate", [&]<class V>(Element<V>) {
                const StTable<V> table{Elements<V>(*mapImage), static_cast<std::int64_t>(mapImage->Size().Volume()),
                                       ignore_zero};
                LabelToValue<L, V>(*labelImage, table, *output);
            });
        });
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
