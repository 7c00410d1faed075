#pragma once

// What the tests of interpolating nodes share.

#include "NodeTest.h"

#include <bit>
#include <cmath>
#include <limits>

namespace QUOR::test {

/// An image of random elements: integers of any value; floats of some hundreds with all digits in use, among them now
/// and then zeros of both signs, infinities, not-a-numbers, denormals and huge numbers.
inline ImagePtr RandomNumbers(const IImage::CType& type, const CSize& size, std::mt19937& random) {
    if (type != IMAGE_GREY_F) {
        return RandomImage(type, size, random);
    }
    using Limits = std::numeric_limits<float>;
    const float specials[] = {
        0.0F,           -0.0F, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::denorm_min(),
        -Limits::max(), 1.0F};
    std::uniform_real_distribution<float> number(-300.0F, 300.0F);
    std::vector<float> elements(size.Volume());
    const bool plain = random() % 2 == 0;
    for (float& element : elements) {
        element = plain || random() % 16 != 0 ? number(random) : specials[random() % 8];
    }
    return MakeImage<float>(type, size, elements);
}

/// Same bits; but any not-a-number equals any other, since which one a sum of two gives is up to the processor.
template <class T> testing::AssertionResult SameNumbers(const std::vector<T>& expected, const std::vector<T>& actual) {
    if (expected.size() != actual.size()) {
        return testing::AssertionFailure() << actual.size() << " elements instead of " << expected.size();
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const bool same = std::memcmp(&expected[i], &actual[i], sizeof(T)) == 0;
        if (!same && !(expected[i] != expected[i] && actual[i] != actual[i])) {
            return testing::AssertionFailure() << "element " << i << " is " << +actual[i] << ", not " << +expected[i];
        }
    }
    return testing::AssertionSuccess();
}

/// The low bits of a number cut toward zero to `Integer`, for numbers that this can hold.
template <class T, class Integer> T CutTo(double number) { return static_cast<T>(static_cast<Integer>(number)); }

} // namespace QUOR::test
