#pragma once

// What the properties of nodes share: random images, random settings of a node, and runs on them. The numbers come from
// RapidCheck, which looks for the smallest example of a property that doesn't hold and prints it.

#include "NodeTest.h"

#include <optional>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>
#include <variant>

namespace QUOR::test {

/// An image as its type, its size and the seed of its elements. Those are told by `few` too: any pattern of bits, or a
/// few small numbers, as labels and tables hold them.
struct StPicture {
    IImage::CType type;
    CSize size;
    std::uint32_t seed;
    bool few;
};

std::ostream& operator<<(std::ostream& stream, const StPicture& picture);

/// A picture's image, with an attribute.
ImagePtr Draw(const StPicture& picture);

/// The extents of an image, of two dimensions or of three, each at least `least`.
rc::Gen<CSize> AnySize(std::int64_t least = 0);

/// A picture of one of the types with any pattern of bits.
rc::Gen<StPicture> AnyPicture(const std::vector<IImage::CType>& types, std::int64_t least = 0);

/// A picture of a given size.
rc::Gen<StPicture> AnyPictureOf(const std::vector<IImage::CType>& types, const CSize& size);

/// A picture of a few small numbers, 0 among them.
rc::Gen<StPicture> FewNumbers(const std::vector<IImage::CType>& types, std::int64_t least = 0);

using Setting = std::variant<bool, int, double, std::string>;
using Settings = std::map<std::string, Setting>;

/// Places parameters.
void Apply(CNodeUnderTest& node, const Settings& settings);

/// An output of a new node that has run with the settings on copies of the images.
ImagePtr Through(const char* name, const Settings& settings, const std::vector<const CImage*>& images, int slot = 0);

/// The same elements in an image that counts as three-dimensional.
ImagePtr AsVolume(const CImage& image);

/// Fails the property unless both images are the same; see `SameImage`.
void RequireSame(const CImage& expected, const CImage& actual);

/// What a node is given: a value for each parameter that it declares, and images or nothing on its image slots.
struct StCase {
    Settings settings;
    std::map<int, std::optional<StPicture>> inputs;
};

std::ostream& operator<<(std::ostream& stream, const StCase& given);

/// A case for a node, made from its description. Failures are among what it leads to.
rc::Gen<StCase> AnyCaseOf(const std::string& name);

/// Puts a case's parameters and images into a node.
void Place(CNodeUnderTest& node, const StCase& given);

/// What a run has led to: the failure's words or the outputs.
struct StOutcome {
    std::string failure;
    std::vector<ImagePtr> images;
};

/// Does `work` on a node and takes its outcome.
StOutcome OutcomeOf(CNodeUnderTest& node, const std::function<void()>& work);

/// Runs a node on a case. Fails the property if a failed run has set an output, or if an input has changed.
StOutcome RunCase(CNodeUnderTest& node, const StCase& given);

/// Same failure's words, or same bits of all outputs.
testing::AssertionResult SameOutcome(const StOutcome& expected, const StOutcome& actual);

/// Fails the property unless both outcomes are the same.
void RequireSame(const StOutcome& expected, const StOutcome& actual);

} // namespace QUOR::test
