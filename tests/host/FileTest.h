#pragma once

// What the tests of files share: a folder of their own, files given byte by byte, and failures by their text.

#include "Errors.h"
#include "InputFile.h"
#include "MemoryLimit.h"
#include "NodeTest.h"
#include "ProgramTest.h"
#include "ValueFile.h"

#include <algorithm>
#include <concepts>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <unistd.h>

namespace vessa::test {

using QUOR::CImage;
using QUOR::CSize;
using QUOR::CString;
using QUOR::CValue;
using QUOR::CValue_Key;
using QUOR::CValueMap;
using QUOR::EnValType;
using QUOR::IImage;
using QUOR::test::BytesOf;
using QUOR::test::CRoomForImages;
using QUOR::test::ElementsOf;
using QUOR::test::ImagePtr;
using QUOR::test::MakeImage;
using QUOR::test::RandomImage;
using QUOR::test::SameImage;
using QUOR::test::ZeroImage;

/// A test with an empty folder, which is removed at its end.
class FileTest : public testing::Test {
protected:
    /// The path of a file in the folder.
    std::string Path(const std::string& name) const { return m_folder / name; }

    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    /// Makes a file anew: overwriting one would make the file system wait for the disk.
    void Put(const std::string& name, const std::string& bytes) const {
        std::filesystem::remove(Path(name));
        std::ofstream(Path(name), std::ios::binary) << bytes;
    }

    std::string Get(const std::string& name) const { return TextOf(Path(name)); }

    /// The image in a file; fails the test and gives an empty one if it can't be read.
    ImagePtr Read(const std::string& name, const StReadOptions& options = {}) const {
        try {
            const auto value = ReadValue(Path(name), options);
            return std::make_unique<CImage>(*QUOR::UnwrapPointer<CImage>(value.get()));
        } catch (const CFileError& failure) {
            ADD_FAILURE() << failure.what();
            return ZeroImage(QUOR::IMAGE_GREY_8, CSize(0, 0));
        }
    }
    ImagePtr ReadAs(const std::string& name, const IImage::CType& type) const {
        StReadOptions options;
        options.type = type;
        return Read(name, options);
    }

    /// Writes an image that the caller keeps.
    void Write(const std::string& name, CImage& image) const {
        try {
            WriteValue(Path(name), QUOR::CValuePointer<CImage>(&image));
        } catch (const CFileError& failure) {
            ADD_FAILURE() << failure.what();
        }
    }

    /// The text with which reading fails, without the folder's name; "" if it doesn't fail.
    std::string ReadError(const std::string& name, const StReadOptions& options = {}) const {
        return ErrorOf([&] { ReadValue(Path(name), options); });
    }
    std::string ReadErrorAs(const std::string& name, const IImage::CType& type) const {
        StReadOptions options;
        options.type = type;
        return ReadError(name, options);
    }
    std::string WriteError(const std::string& name, CImage& image) const {
        return ErrorOf([&] { WriteValue(Path(name), QUOR::CValuePointer<CImage>(&image)); });
    }
    std::string WriteError(const std::string& name, const CValue& value) const {
        return ErrorOf([&] { WriteValue(Path(name), value); });
    }

    /// Reads every file that is the beginning of `name`: it fails, or gives what the whole file gives.
    void ReadEveryPrefix(const std::string& name) const {
        const std::string whole = Get(name);
        const ImagePtr expected = Read(name);
        const std::string part = "part" + std::filesystem::path(name).extension().string();
        for (std::size_t length = 0; length < whole.size(); ++length) {
            Put(part, whole.substr(0, length));
            const auto image = ReadIfPossible(part);
            if (image) {
                EXPECT_TRUE(SameImage(*expected, *image)) << length << " of " << whole.size() << " bytes";
            }
        }
    }

    /// Reads the file with each byte of the first `count` changed in several ways: one bit or all, one more, none set,
    /// all set. Only faults fail the test.
    void ReadWithEveryByteChanged(const std::string& name, std::size_t count) const {
        const std::string whole = Get(name);
        const std::string changed = "changed" + std::filesystem::path(name).extension().string();
        for (std::size_t place = 0; place < std::min(count, whole.size()); ++place) {
            const auto byte = static_cast<unsigned char>(whole[place]);
            std::set<int> values{0, 0xff, (byte + 1) & 0xff, byte ^ 0xff};
            for (int bit = 0; bit < 8; ++bit) {
                values.insert(byte ^ 1 << bit);
            }
            values.erase(byte);
            for (const int value : values) {
                std::string bytes = whole;
                bytes[place] = static_cast<char>(value);
                Put(changed, bytes);
                ReadIfPossible(changed);
            }
        }
    }

private:
    template <class Work> std::string ErrorOf(const Work& work) const {
        try {
            work();
            return "";
        } catch (const CFileError& failure) {
            std::string text = failure.what();
            const std::string folder = Path("");
            const std::size_t place = text.find(folder);
            return place == std::string::npos ? text : text.erase(place, folder.size());
        }
    }

    ImagePtr ReadIfPossible(const std::string& name) const {
        const CRoomForImages room(1 << 24);
        try {
            const auto value = ReadValue(Path(name), {});
            return std::make_unique<CImage>(*QUOR::UnwrapPointer<CImage>(value.get()));
        } catch (const CFileError& failure) {
            EXPECT_EQ(std::string_view(failure.what()).find('\n'), std::string_view::npos) << failure.what();
            return nullptr;
        }
    }

    CTestFolder m_folder;
};

/// The bytes of the texts and numbers in order; numbers have the width of their type.
class CBytes {
public:
    explicit CBytes(bool bigEndian = false) : m_bigEndian(bigEndian) {}

    CBytes& operator<<(const std::string& text) {
        m_bytes += text;
        return *this;
    }
    template <std::integral Number> CBytes& operator<<(Number number) {
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            const std::size_t place = m_bigEndian ? sizeof(Number) - 1 - i : i;
            m_bytes += static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * place) & 0xffU);
        }
        return *this;
    }

    const std::string& Text() const { return m_bytes; }

private:
    bool m_bigEndian;
    std::string m_bytes;
};

} // namespace vessa::test
