#pragma once

// What the tests of nodes share: images with literal or coded elements, a node with its inputs and outputs, failures by
// tag and text, and what a node prints.

#include "vessa.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <map>
#include <memory>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace QUOR::test {

using ImagePtr = std::unique_ptr<CImage>;

/// All element types of the host library.
const std::vector<IImage::CType>& AllTypes();

/// The types but the given ones.
std::vector<IImage::CType> TypesWithout(std::initializer_list<IImage::CType> excluded);

/// An image with the given elements in storage order; their number must be the image's number of samples.
template <class T> ImagePtr MakeImage(const IImage::CType& type, const CSize& size, const std::vector<T>& elements) {
    auto image = std::make_unique<CImage>(type, size, CSize(0, 0, 0));
    EXPECT_EQ(image->Buffer().Size(), elements.size() * sizeof(T)) << "wrong number of elements for the image";
    if (image->Buffer().Size() == elements.size() * sizeof(T) && !elements.empty()) {
        std::memcpy(image->Buffer().Data(), elements.data(), elements.size() * sizeof(T));
    }
    return image;
}

/// A byte image of two dimensions.
ImagePtr Bytes(std::int64_t width, std::int64_t height, const std::vector<std::uint8_t>& elements);

/// A float image of two dimensions.
ImagePtr Floats(std::int64_t width, std::int64_t height, const std::vector<float>& elements);

/// An image of any type with all bytes zero.
ImagePtr ZeroImage(const IImage::CType& type, const CSize& size);

/// An image of any grey or binary type whose element (x, y, z) is x + 10 * y + 100 * z.
ImagePtr CodedImage(const IImage::CType& type, const CSize& size);

/// An image of any type with random bytes; floats among them are any pattern of bits.
ImagePtr RandomImage(const IImage::CType& type, const CSize& size, std::mt19937& random);

/// The samples of an image in storage order. `T` must have the width of a sample.
template <class T> std::vector<T> ElementsOf(const CImage& image) {
    std::vector<T> elements(image.Buffer().Size() / sizeof(T));
    if (!elements.empty()) {
        std::memcpy(elements.data(), image.Buffer().Data(), elements.size() * sizeof(T));
    }
    return elements;
}

/// Every byte of the image's block, for comparisons of bits.
std::vector<std::uint8_t> BytesOf(const CImage& image);

/// Same type, extents, dimension count and bytes; the failure text shows the first difference.
testing::AssertionResult SameImage(const CImage& expected, const CImage& actual);

/// The names that a failed node gives.
struct StFailure {
    std::string where;
    std::string what;
    friend bool operator==(const StFailure&, const StFailure&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const StFailure& failure) {
        return stream << "\"" << failure.where << "\": \"" << failure.what << "\"";
    }
};

/// The failure that `work` raises; without one, the test fails and both texts are empty.
StFailure FailureOf(const std::function<void()>& work);

/// The module under test, loaded once.
const CPluginModule& Module();

/// A new node of the module.
std::unique_ptr<CPNode> MakeNode(const std::string& name);

/// The description map of a new node.
std::unique_ptr<CValueMap> DescriptionOf(const std::string& name);

/// The text under a path of the `Meta()` of a description's parameter or port, as in
/// `MetaText(setup, "inputs/0", "label")`; "(none)" if there is none.
std::string MetaText(const CValueMap& setup, const std::string& entry, const std::string& path);

/// The keywords of a description, joined with '|'.
std::string KeywordsOf(const CValueMap& setup);

/// A node with parameters and inputs that live as long as it does.
class CNodeUnderTest {
public:
    explicit CNodeUnderTest(const std::string& name);
    ~CNodeUnderTest();

    /// Places a parameter.
    /// @{
    CNodeUnderTest& Set(const char* key, bool value);
    CNodeUnderTest& Set(const char* key, int value);
    CNodeUnderTest& Set(const char* key, double value);
    CNodeUnderTest& Set(const char* key, const char* value);
    /// @}
    /// Takes a parameter away.
    CNodeUnderTest& Unset(const char* key);

    /// Puts a value on an input slot: an image, a value of any kind, or nothing.
    /// @{
    CNodeUnderTest& Input(int slot, ImagePtr image);
    CNodeUnderTest& Input(int slot, std::unique_ptr<CValue> value);
    CNodeUnderTest& NoInput(int slot);
    /// @}
    /// A pointer value that holds no image.
    CNodeUnderTest& NullImage(int slot);

    void Init() { m_node->NodeInit(); }
    /// `NodeInit` and `Run`. The outputs of an earlier run are dropped before.
    CNodeUnderTest& Run();
    /// `Run` without `NodeInit`; the outputs of an earlier run are dropped before.
    CNodeUnderTest& RunAgain();
    /// The failure of `NodeInit` and `Run`, after which no output may be set.
    StFailure Failure();

    bool HasOutput(int slot = 0) const { return m_node->StackOutput(slot) != nullptr; }
    /// The image on an output; a test without one fails and ends.
    const CImage& Output(int slot = 0) const;
    CValue* OutputValue(int slot) const { return m_node->StackOutput(slot); }
    const CImage& InputImage(int slot) const;
    CPNode& Node() { return *m_node; }

private:
    void DropOutputs();

    std::map<int, std::unique_ptr<CValue>> m_inputs;
    std::unique_ptr<CPNode> m_node;
};

/// Collects what is written to a stream, `std::cout` or `std::cerr`, while it lives.
class CCapturedOutput {
public:
    explicit CCapturedOutput(std::ostream& stream) : m_stream(stream), m_before(stream.rdbuf(m_text.rdbuf())) {}
    CCapturedOutput(const CCapturedOutput&) = delete;
    CCapturedOutput& operator=(const CCapturedOutput&) = delete;
    ~CCapturedOutput() { m_stream.rdbuf(m_before); }

    std::string Text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::ostream& m_stream;
    std::streambuf* m_before;
};

} // namespace QUOR::test
