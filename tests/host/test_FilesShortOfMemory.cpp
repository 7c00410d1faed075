// Every allocation fails in turn while a file of each format is read and written, those of the formats' libraries, too.

#include "FailingMemory.h"
#include "FileTest.h"
#include "ProgramTest.h"

#include <tuple>

namespace vessa::test {
namespace {

using QUOR::CValueOwnedPointer;
using QUOR::CValueString;
using QUOR::CValueVector;
using QUOR::EnTfOwnership;
using QUOR::test::CodedImage;
using QUOR::test::InFailingMemory;
using QUOR::test::StFailing;
using QUOR::test::StOutcome;
using QUOR::test::WithEachAllocationFailing;
using Value = std::shared_ptr<CValue>;

/// A file and what it holds.
struct StCase {
    std::string name;
    Value value;
    std::optional<IImage::CType> type = std::nullopt; ///< as which it is read
};

Value Image(const IImage::CType& type, const CSize& size) {
    return std::make_shared<CValueOwnedPointer<CImage>>(CodedImage(type, size).release());
}

Value Bits() {
    return std::make_shared<CValueOwnedPointer<CImage>>(ZeroImage(QUOR::IMAGE_BINARY_FG, {9, 3}).release());
}

Value Map() {
    auto map = std::make_shared<CValueMap>();
    map->SetEntry("a long name of a map/with an entry", new CValueString(CString("and a text of some length")));
    map->SetEntry("a long name of a map/without an end", new QUOR::CValueDouble(1.0 / 0.0));
    map->SetEntry(7, new QUOR::CValueLong(-3));
    auto vector = std::make_unique<CValueVector>();
    for (int entry = 0; entry < 5; ++entry) {
        vector->PushBack(entry % 2 == 0 ? nullptr : new QUOR::CValueBool(true));
    }
    map->SetEntry("vector", vector.release());
    return map;
}

Value WithAttributes() {
    ImagePtr image = CodedImage(QUOR::IMAGE_GREY_F, {5, 4, 3});
    image->Attributes().Copy(*Map(), EnTfOwnership::Copy, true);
    return std::make_shared<CValueOwnedPointer<CImage>>(image.release());
}

std::vector<StCase> Cases() {
    return {
        {"grey.png", Image(QUOR::IMAGE_GREY_8, {7, 5})},
        {"grey16.png", Image(QUOR::IMAGE_GREY_16, {7, 5})},
        {"colours.png", Image(QUOR::IMAGE_RGB_8, {7, 5})},
        {"bits.png", Bits()},
        {"grey.tif", Image(QUOR::IMAGE_GREY_8, {7, 5})},
        {"colours.tif", Image(QUOR::IMAGE_RGB_8, {7, 5, 2})},
        {"bits.tif", Bits()},
        {"attributes.tif", WithAttributes()},
        {"grey.npy", Image(QUOR::IMAGE_GREY_64, {7, 5, 2})},
        {"colours.npy", Image(QUOR::IMAGE_RGB_8, {7, 5}), QUOR::IMAGE_RGB_8},
        {"map.json", Map()},
    };
}

/// The files that the process holds open.
std::size_t OpenFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

/// Lets the failure of a file pass for one of memory, and keeps its words.
template <class Work> void WithFailure(std::array<char, 256>& words, const Work& work) {
    try {
        work();
    } catch (const CFileError& failure) {
        std::snprintf(words.data(), words.size(), "%s", failure.what());
        throw std::bad_alloc();
    }
}

testing::AssertionResult Same(const CValue& a, const CValue& b) {
    if (a.GenericType() == EnValType::Map) {
        return testing::AssertionResult(a.EqualData(b)) << "the map has changed";
    }
    const auto* first = QUOR::UnwrapPointer<CImage>(&a);
    const auto* second = QUOR::UnwrapPointer<CImage>(&b);
    if (!first->Attributes().EqualData(second->Attributes())) {
        return testing::AssertionFailure() << "the attributes have changed";
    }
    return SameImage(*first, *second);
}

class FilesShortOfMemory : public testing::TestWithParam<StCase> {
protected:
    /// The failure's words say that it is one of memory, in a line that begins with the file.
    void ExpectOfMemory(const std::string& words) const {
        EXPECT_TRUE(words.empty() || words == m_file + ": there is not enough memory") << words;
    }

    const CTestFolder m_folder;
    const std::string m_file = m_folder / GetParam().name;
};

TEST_P(FilesShortOfMemory, AreWrittenWholeOrNotAtAll) {
    const CValue& value = *GetParam().value;
    WriteValue(m_file, value);
    const std::string expected = TextOf(m_file);
    const std::size_t failures = WithEachAllocationFailing([&](const StFailing& failing) {
        std::filesystem::remove(m_file);
        const std::size_t open = OpenFiles();
        std::array<char, 256> words{};
        const StOutcome outcome =
            InFailingMemory(failing, [&] { WithFailure(words, [&] { WriteValue(m_file, value); }); });
        EXPECT_EQ(OpenFiles(), open);
        if (outcome.hasRaised) {
            ExpectOfMemory(words.data());
            EXPECT_EQ(m_folder.Files(), "");
        } else {
            EXPECT_EQ(m_folder.Files(), GetParam().name);
            EXPECT_EQ(TextOf(m_file), expected);
        }
        return outcome.failures;
    });
    EXPECT_GT(failures, 10U);
    RecordProperty("failures", static_cast<int>(failures));
}

TEST_P(FilesShortOfMemory, AreReadWholeOrNotAtAll) {
    WriteValue(m_file, *GetParam().value);
    StReadOptions options;
    options.type = GetParam().type;
    ReadValue(m_file, options); // tables that stay are made
    const std::size_t failures = WithEachAllocationFailing([&](const StFailing& failing) {
        const std::size_t open = OpenFiles();
        std::array<char, 256> words{};
        std::unique_ptr<CValue> value;
        const StOutcome outcome =
            InFailingMemory(failing, [&] { WithFailure(words, [&] { value = ReadValue(m_file, options); }); });
        EXPECT_EQ(OpenFiles(), open);
        ExpectOfMemory(words.data());
        EXPECT_NE(outcome.hasRaised, value != nullptr);
        EXPECT_TRUE(value == nullptr || Same(*GetParam().value, *value));
        return outcome.failures;
    });
    EXPECT_GT(failures, 10U);
    EXPECT_EQ(m_folder.Files(), GetParam().name);
    RecordProperty("failures", static_cast<int>(failures));
}

INSTANTIATE_TEST_SUITE_P(Host, FilesShortOfMemory, testing::ValuesIn(Cases()), [](const auto& file) {
    std::string name = file.param.name;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
});

} // namespace
} // namespace vessa::test
