#include "NodeTest.h"

#include <algorithm>
#include <stdexcept>

namespace QUOR::test {

const std::vector<IImage::CType>& AllTypes() {
    static const std::vector<IImage::CType> types{IMAGE_GREY_8,    IMAGE_GREY_16,   IMAGE_GREY_32,
                                                  IMAGE_GREY_64,   IMAGE_GREY_F,    IMAGE_GREY_D,
                                                  IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_RGB_8};
    return types;
}

std::vector<IImage::CType> TypesWithout(std::initializer_list<IImage::CType> excluded) {
    std::vector<IImage::CType> types;
    std::copy_if(AllTypes().begin(), AllTypes().end(), std::back_inserter(types), [&](const IImage::CType& type) {
        return std::find(excluded.begin(), excluded.end(), type) == excluded.end();
    });
    return types;
}

ImagePtr Bytes(std::int64_t width, std::int64_t height, const std::vector<std::uint8_t>& elements) {
    return MakeImage<std::uint8_t>(IMAGE_GREY_8, CSize(width, height), elements);
}

ImagePtr Floats(std::int64_t width, std::int64_t height, const std::vector<float>& elements) {
    return MakeImage<float>(IMAGE_GREY_F, CSize(width, height), elements);
}

ImagePtr ZeroImage(const IImage::CType& type, const CSize& size) {
    auto image = std::make_unique<CImage>(type, size, CSize(0, 0, 0));
    image->Buffer().Set(0);
    return image;
}

ImagePtr CodedImage(const IImage::CType& type, const CSize& size) {
    auto image = ZeroImage(type, size);
    const std::unique_ptr<IAccess> access(image->CreateAccess());
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x) {
                access->Set(x, y, z, 0, static_cast<double>(x + 10 * y + 100 * z));
            }
        }
    }
    return image;
}

ImagePtr RandomImage(const IImage::CType& type, const CSize& size, std::mt19937& random) {
    auto image = std::make_unique<CImage>(type, size, CSize(0, 0, 0));
    auto* bytes = static_cast<std::uint8_t*>(image->Buffer().Data());
    std::generate_n(bytes, image->Buffer().Size(), [&] { return static_cast<std::uint8_t>(random()); });
    return image;
}

std::vector<std::uint8_t> BytesOf(const CImage& image) { return ElementsOf<std::uint8_t>(image); }

testing::AssertionResult SameImage(const CImage& expected, const CImage& actual) {
    if (expected.Type() != actual.Type()) {
        return testing::AssertionFailure()
               << "the type is " << actual.Type().ToString() << ", not " << expected.Type().ToString();
    }
    if (!(expected.Size() == actual.Size())) {
        return testing::AssertionFailure()
               << "the size is " << actual.Size().ToString() << ", not " << expected.Size().ToString();
    }
    const auto wanted = BytesOf(expected);
    const auto found = BytesOf(actual);
    const auto [a, b] = std::mismatch(wanted.begin(), wanted.end(), found.begin(), found.end());
    if (a == wanted.end() && b == found.end()) {
        return testing::AssertionSuccess();
    }
    const auto element = static_cast<std::int64_t>(a - wanted.begin()) / expected.Type().channelBytes;
    const CSize& size = expected.Size();
    return testing::AssertionFailure() << "the first difference is in element (" << element % size.x << ", "
                                       << element / size.x % size.y << ", " << element / size.x / size.y
                                       << ") of an image of size " << size.ToString() << ": byte " << int{*b}
                                       << ", not " << int{*a};
}

StFailure FailureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const CException& failure) {
        EXPECT_EQ(failure.Detail(), nullptr);
        return {failure.Where(), failure.What()};
    }
    ADD_FAILURE() << "nothing was raised";
    return {};
}

const CPluginModule& Module() {
    static const CPluginModule module(MANIPULATION_MODULE);
    return module;
}

std::unique_ptr<CPNode> MakeNode(const std::string& name) {
    std::unique_ptr<IPluginObject> object = Module().Create(name);
    auto* node = dynamic_cast<CPNode*>(object.get());
    if (node == nullptr) {
        throw std::runtime_error("the module makes no node " + name);
    }
    static_cast<void>(object.release());
    return std::unique_ptr<CPNode>(node);
}

std::unique_ptr<CValueMap> DescriptionOf(const std::string& name) {
    auto setup = std::make_unique<CValueMap>();
    MakeNode(name)->GetPluginSetup(*setup);
    return setup;
}

std::string MetaText(const CValueMap& setup, const std::string& entry, const std::string& path) {
    const CValue* declared = setup.Entry(CValue_Key(entry), false);
    if (declared == nullptr || !declared->Meta().HasEntry(CValue_Key(path), EnValType::String)) {
        return "(none)";
    }
    return declared->Meta().Entry(CValue_Key(path), true)->String().Text();
}

std::string KeywordsOf(const CValueMap& setup) {
    if (!setup.HasEntry("keywords", EnValType::Vector)) {
        return "(none)";
    }
    const CValueVector& keywords = *setup.Entry("keywords", true)->Vector();
    std::string joined;
    for (int index = 0; index < static_cast<int>(keywords.Size()); ++index) {
        joined += (index == 0 ? "" : "|") + keywords.Entry(index, true)->String().Text();
    }
    return joined;
}

CNodeUnderTest::CNodeUnderTest(const std::string& name) : m_node(MakeNode(name)) {}

CNodeUnderTest::~CNodeUnderTest() = default;

CNodeUnderTest& CNodeUnderTest::Set(const char* key, bool value) {
    m_node->Parameters().SetEntry(key, new CValueBool(value));
    return *this;
}

CNodeUnderTest& CNodeUnderTest::Set(const char* key, int value) {
    m_node->Parameters().SetEntry(key, new CValueLong(value));
    return *this;
}

CNodeUnderTest& CNodeUnderTest::Set(const char* key, double value) {
    m_node->Parameters().SetEntry(key, new CValueDouble(value));
    return *this;
}

CNodeUnderTest& CNodeUnderTest::Set(const char* key, const char* value) {
    m_node->Parameters().SetEntry(key, new CValueString(CString(value)));
    return *this;
}

CNodeUnderTest& CNodeUnderTest::Unset(const char* key) {
    m_node->Parameters().RemoveEntry(key);
    return *this;
}

CNodeUnderTest& CNodeUnderTest::Input(int slot, ImagePtr image) {
    auto value = std::make_unique<CValueOwnedPointer<CImage>>(image.get(), 1);
    static_cast<void>(image.release()); // the value is the owner now
    return Input(slot, std::unique_ptr<CValue>(std::move(value)));
}

CNodeUnderTest& CNodeUnderTest::Input(int slot, std::unique_ptr<CValue> value) {
    m_node->SetStackInput(slot, value.get());
    m_inputs[slot] = std::move(value);
    return *this;
}

CNodeUnderTest& CNodeUnderTest::NoInput(int slot) {
    m_node->SetStackInput(slot, nullptr);
    m_inputs.erase(slot);
    return *this;
}

CNodeUnderTest& CNodeUnderTest::NullImage(int slot) { return Input(slot, ImagePtr()); }

CNodeUnderTest& CNodeUnderTest::Run() {
    m_node->NodeInit();
    return RunAgain();
}

CNodeUnderTest& CNodeUnderTest::RunAgain() {
    DropOutputs();
    m_node->Run();
    return *this;
}

StFailure CNodeUnderTest::Failure() {
    StFailure failure = FailureOf([&] { Run(); });
    EXPECT_FALSE(HasOutput(0)) << "a failed run has set an output";
    EXPECT_FALSE(HasOutput(1)) << "a failed run has set an output";
    return failure;
}

const CImage& CNodeUnderTest::Output(int slot) const {
    const CImage* image = UnwrapPointer<CImage>(m_node->StackOutput(slot));
    if (image == nullptr) {
        throw std::runtime_error("the node has set no image as output " + std::to_string(slot));
    }
    return *image;
}

const CImage& CNodeUnderTest::InputImage(int slot) const { return *UnwrapPointer<CImage>(m_inputs.at(slot).get()); }

void CNodeUnderTest::DropOutputs() {
    for (int slot = 0; slot < 2; ++slot) {
        m_node->TakeStackOutput(slot);
    }
}

} // namespace QUOR::test
