#include "FileTest.h"

#include "OutputFile.h"
#include "TiffFile.h"

#include <array>
#include <functional>
#include <tiffio.h>

namespace vessa::test {
namespace {

/// One entry of a page's directory: tag, kind of value (3: 16 bits, 4: 32 bits, 2: text), number of values, value.
struct StEntry {
    std::uint16_t tag;
    std::uint16_t kind;
    std::uint32_t count;
    std::uint32_t value;
};

/// The entries of a page of one uncompressed strip at `offset`.
std::vector<StEntry> Page(std::uint32_t width, std::uint32_t height, std::uint32_t bits, std::uint32_t offset,
                          std::uint32_t bytes) {
    return {{TIFFTAG_IMAGEWIDTH, 4, 1, width},     {TIFFTAG_IMAGELENGTH, 4, 1, height},
            {TIFFTAG_BITSPERSAMPLE, 3, 1, bits},   {TIFFTAG_COMPRESSION, 3, 1, 1},
            {TIFFTAG_PHOTOMETRIC, 3, 1, 1},        {TIFFTAG_STRIPOFFSETS, 4, 1, offset},
            {TIFFTAG_SAMPLESPERPIXEL, 3, 1, 1},    {TIFFTAG_ROWSPERSTRIP, 4, 1, height},
            {TIFFTAG_STRIPBYTECOUNTS, 4, 1, bytes}};
}

/// The page's entries with one more, or with another value of one.
std::vector<StEntry> With(std::vector<StEntry> entries, const StEntry& entry) {
    const auto place =
        std::find_if(entries.begin(), entries.end(), [&](const StEntry& present) { return present.tag >= entry.tag; });
    if (place != entries.end() && place->tag == entry.tag) {
        *place = entry;
    } else {
        entries.insert(place, entry);
    }
    return entries;
}

constexpr std::uint32_t kHeaderBytes = 8;

std::uint32_t DirectoryBytes(const std::vector<StEntry>& entries) {
    return static_cast<std::uint32_t>(2 + 12 * entries.size() + 4);
}

/// The bytes of a directory, which ends with the place of the next one.
std::string Directory(const std::vector<StEntry>& entries, std::uint32_t next, bool big = false) {
    CBytes bytes(big);
    bytes << static_cast<std::uint16_t>(entries.size());
    for (const StEntry& entry : entries) {
        bytes << entry.tag << entry.kind << entry.count;
        if (entry.kind == 3) { // a short value stands first in its field
            bytes << static_cast<std::uint16_t>(entry.value) << std::uint16_t{0};
        } else {
            bytes << entry.value;
        }
    }
    return (bytes << next).Text();
}

/// A file of one page, whose directory stands in front; `data` follows at `DataOffset`.
std::string Tiff(const std::vector<StEntry>& entries, const std::string& data, bool big = false) {
    CBytes bytes(big);
    bytes << std::string(big ? "MM" : "II") << std::uint16_t{42} << kHeaderBytes << Directory(entries, 0, big) << data;
    return bytes.Text();
}

std::uint32_t DataOffset(std::size_t entries) { return kHeaderBytes + DirectoryBytes(std::vector<StEntry>(entries)); }

class TiffFile : public FileTest {
protected:
    using Handle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

    /// Writes pages by libtiff itself.
    void PutForeign(const std::string& name, const char* mode, const std::function<void(TIFF*)>& work) const {
        const Handle tiff(TIFFOpen(Path(name).c_str(), mode), &TIFFClose);
        ASSERT_NE(tiff, nullptr);
        work(tiff.get());
    }

    static void SetForm(TIFF* tiff, std::uint32_t width, std::uint32_t height, int bits, int samples = 1) {
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    }

    /// The one page of an 8-bit image, with a further setting.
    void PutByte(const std::string& name, const std::function<void(TIFF*)>& set) const {
        PutForeign(name, "w", [&](TIFF* tiff) {
            SetForm(tiff, 1, 1, 8);
            set(tiff);
            std::string pixels(64, 'a');
            TIFFWriteEncodedStrip(tiff, 0, pixels.data(), TIFFStripSize(tiff));
        });
    }

    void PutPages(const std::string& name, const std::vector<std::pair<CSize, int>>& pages) const {
        PutForeign(name, "w", [&](TIFF* tiff) {
            for (const auto& [size, bits] : pages) {
                SetForm(tiff, static_cast<std::uint32_t>(size.x), static_cast<std::uint32_t>(size.y), bits);
                std::string pixels(static_cast<std::size_t>(TIFFStripSize(tiff)), 'a');
                TIFFWriteEncodedStrip(tiff, 0, pixels.data(), TIFFStripSize(tiff));
                TIFFWriteDirectory(tiff);
            }
        });
    }

    /// What stands in the description of a file's first page.
    std::string DescriptionOf(const std::string& name) const {
        const Handle tiff(TIFFOpen(Path(name).c_str(), "r"), &TIFFClose);
        const char* text = nullptr;
        return tiff && TIFFGetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &text) != 0 ? text : "";
    }
};

/// Attributes of every kind, nested.
void AddAttributes(CImage& image) {
    auto& attributes = image.Attributes();
    attributes.SetEntry("Image/ContentType", new QUOR::CValueString("table"));
    auto* keys = new QUOR::CValueVector;
    attributes.SetEntry("Image/x-keys", keys);
    keys->SetEntry(1, new QUOR::CValueString(CString("\xc3\xa4\n\"\\ \x01")));
    keys->SetEntry(3, new QUOR::CValueVector);
    keys->SetEntry(4, nullptr);
    attributes.SetEntry("flag", new QUOR::CValueBool(true));
    attributes.SetEntry("least", new QUOR::CValueLong(std::numeric_limits<QUOR::Long>::min()));
    attributes.SetEntry("real", new QUOR::CValueDouble(0.1));
    attributes.SetEntry("whole real", new QUOR::CValueDouble(3.0));
    attributes.SetEntry("infinite", new QUOR::CValueDouble(-std::numeric_limits<double>::infinity()));
    attributes.SetEntry(-7, new QUOR::CValueMap);
}

TEST_F(TiffFile, EveryTypeComesBackAsItWas) {
    std::mt19937 random(1);
    CSize flat(3, 2, 5);
    flat.SetDim(2);
    for (const IImage::CType& type : AllTypes()) {
        for (const CSize& size : {CSize(1, 1), CSize(7, 3), CSize(9, 5, 1), CSize(3, 4, 5), CSize(1, 300, 2), flat}) {
            const ImagePtr image = RandomImage(type, size, random);
            Write("a.tif", *image);
            const ImagePtr back = Read("a.tif");
            EXPECT_TRUE(SameImage(*image, *back)) << type.ToString() << size.ToString();
            EXPECT_TRUE(back->Attributes().IsEmpty());
        }
    }
}

TEST_F(TiffFile, LargeImagesTakeSeveralStrips) {
    std::mt19937 random(2);
    for (const IImage::CType& type : {QUOR::IMAGE_BINARY_BG, QUOR::IMAGE_GREY_D, QUOR::IMAGE_RGB_8}) {
        for (const CSize& size : {CSize(701, 1003), CSize(300001, 2, 2), CSize(2, 300001)}) {
            const ImagePtr image = RandomImage(type, size, random);
            if (type == QUOR::IMAGE_BINARY_BG) {
                auto* elements = static_cast<std::uint8_t*>(image->Buffer().Data());
                std::for_each(elements, elements + image->Buffer().Size(), [](std::uint8_t& e) { e &= 1; });
            }
            Write("a.tiff", *image);
            EXPECT_TRUE(SameImage(*image, *Read("a.tiff"))) << type.ToString() << size.ToString();
        }
    }
}

TEST_F(TiffFile, BinaryElementsOf0And1TakeOneBit) {
    const ImagePtr image = MakeImage<std::uint8_t>(QUOR::IMAGE_BINARY_BG, CSize(10, 1), {1, 0, 1, 0, 0, 1, 0, 1, 1, 0});
    Write("a.tif", *image);
    EXPECT_EQ(Get("a.tif").substr(64, 2), "\xa5\x80");
    EXPECT_TRUE(SameImage(*image, *Read("a.tif")));
}

TEST_F(TiffFile, AttributesComeBackAsTheyWere) {
    const ImagePtr image = ZeroImage(QUOR::IMAGE_GREY_F, CSize(2, 2, 2));
    AddAttributes(*image);
    Write("a.tif", *image);
    const ImagePtr back = Read("a.tif");
    EXPECT_TRUE(back->Attributes().Equal(image->Attributes()));
    EXPECT_TRUE(SameImage(*image, *back));
}

TEST_F(TiffFile, DescriptionIsJsonInAscii) {
    const ImagePtr image = ZeroImage(QUOR::IMAGE_BINARY_BG, CSize(1, 1));
    image->Attributes().SetEntry("a/b", new QUOR::CValueString("\xc3\xa4\xf0\x9f\x98\x80"));
    Write("a.tif", *image);
    EXPECT_EQ(DescriptionOf("a.tif"), R"({"vessa":{"attributes":{"a":{"b":"\u00e4\ud83d\ude00"}},)"
                                      R"("dimensions":2,"type":"IMAGE_BINARY_BG"}})");
    EXPECT_TRUE(Read("a.tif")->Attributes().Equal(image->Attributes()));
}

TEST_F(TiffFile, AskedTypeWinsOverTheDescription) {
    const ImagePtr image = MakeImage<std::uint8_t>(QUOR::IMAGE_BINARY_BG, CSize(2, 1, 1), {1, 0});
    image->Attributes().SetEntry("a", new QUOR::CValueLong(1));
    Write("a.tif", *image);
    const ImagePtr back = ReadAs("a.tif", QUOR::IMAGE_GREY_8);
    EXPECT_TRUE(SameImage(*MakeImage<std::uint8_t>(QUOR::IMAGE_GREY_8, CSize(2, 1, 1), {1, 0}), *back));
    EXPECT_EQ(back->Attributes().EntryLong("a"), 1);
}

TEST_F(TiffFile, ForeignDescriptionsAreIgnored) {
    for (const char* text : {"", "ImageJ=1.53", "{", "[1, 2]", "\"vessa\"", "{\"shape\": [3, 4]}", "{\"vessa\": {}",
                             "{\"big\": 12345678901234567890123, \"vess\": {\"vessa\": 1}}"}) {
        PutByte("a.tif", [&](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, text); });
        EXPECT_TRUE(SameImage(*MakeImage<char>(QUOR::IMAGE_GREY_8, CSize(1, 1), {'a'}), *Read("a.tif"))) << text;
    }
}

TEST_F(TiffFile, OurDescriptionMustFitThePixels) {
    const auto error = [&](const std::string& text) {
        PutByte("a.tif", [&](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, text.c_str()); });
        return ReadError("a.tif");
    };
    const auto vessa = [](const std::string& inner) { return "{\"vessa\": {" + inner + "}}"; };
    EXPECT_EQ(error(vessa(R"("type": "IMAGE_BINARY_FG", "dimensions": 3, "attributes": {})")), "");
    EXPECT_TRUE(SameImage(*MakeImage<char>(QUOR::IMAGE_BINARY_FG, CSize(1, 1, 1), {'a'}), *Read("a.tif")));
    const std::string types = "\": 8-bit grey can be IMAGE_GREY_8, IMAGE_BINARY_FG or IMAGE_BINARY_BG";
    EXPECT_EQ(error(vessa(R"("type": "IMAGE_GREY_F", "dimensions": 2, "attributes": {})")),
              "a.tif: the description tells of the type \"IMAGE_GREY_F" + types);
    EXPECT_EQ(error(vessa(R"("type": "grey", "dimensions": 2, "attributes": {})")),
              "a.tif: the description tells of the type \"grey" + types);
    EXPECT_EQ(error(vessa(R"("type": "a\u0000\n", "dimensions": 2, "attributes": {})")),
              "a.tif: the description tells of the type \"a\\x00\\x0a" + types);
    EXPECT_EQ(error(vessa("")), "a.tif: the description tells of the type \"" + types);
    EXPECT_EQ(error(R"({"vessa": 3})"), "a.tif: the description tells of the type \"" + types);
    EXPECT_EQ(error(vessa(R"("type": "IMAGE_GREY_8", "dimensions": 4, "attributes": {})")),
              "a.tif: the description tells of 4 dimensions: 2 and 3 are possible");
    EXPECT_EQ(error(vessa(R"("type": "IMAGE_GREY_8", "dimensions": 2, "attributes": [])")),
              "a.tif: the description tells of no map of attributes");
    EXPECT_EQ(error(vessa(R"("type": "IMAGE_GREY_8", "dimensions": 2, "attributes": {"a": null})")),
              "a.tif: the description: the entry vessa/attributes/a is null, which stands for an empty slot of a "
              "vector only");
}

TEST_F(TiffFile, PagesAreSlices) {
    PutForeign("a.tif", "w", [&](TIFF* tiff) {
        for (const char* pixels : {"abcdef", "ghijkl", "mnopqr"}) {
            SetForm(tiff, 3, 2, 8);
            std::string row = pixels;
            TIFFWriteEncodedStrip(tiff, 0, row.data(), 6);
            TIFFWriteDirectory(tiff);
        }
    });
    const std::string pixels = "abcdefghijklmnopqr";
    EXPECT_TRUE(
        SameImage(*MakeImage(QUOR::IMAGE_GREY_8, CSize(3, 2, 3), std::vector<char>(pixels.begin(), pixels.end())),
                  *Read("a.tif")));
}

TEST_F(TiffFile, PagesMustBeOfOneSizeAndKind) {
    PutPages("a.tif", {{CSize(6, 4), 8}, {CSize(6, 4), 8}, {CSize(5, 5), 8}});
    EXPECT_EQ(ReadError("a.tif"), "a.tif: page 3 is 5x5, page 1 is 6x4: all pages must have one size");
    PutPages("a.tif", {{CSize(6, 4), 8}, {CSize(6, 4), 16}});
    EXPECT_EQ(ReadError("a.tif"), "a.tif: page 2 is 16-bit grey, page 1 is 8-bit grey: all pages must be of one kind");
    PutPages("a.tif", {{CSize(6, 4), 8}, {CSize(6, 4), 4}});
    EXPECT_EQ(ReadError("a.tif"), "a.tif: page 2: 4-bit grey can't be read: 1-, 8-, 16-, 32- and 64-bit grey, 32- and "
                                  "64-bit float grey and 8-bit RGB can");
}

TEST_F(TiffFile, ReadsEitherByteOrder) {
    const auto read = [&](int bits, int format, const std::string& mode, const std::string& native) {
        PutForeign("a.tif", mode.c_str(), [&](TIFF* tiff) {
            SetForm(tiff, 2, 1, bits);
            TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format);
            std::string pixels = native; // libtiff swaps it in place
            TIFFWriteEncodedStrip(tiff, 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
        });
        const auto bytes = BytesOf(*Read("a.tif"));
        return std::string(bytes.begin(), bytes.end());
    };
    for (const char* mode : {"wl", "wb", "w8l", "w8b"}) {
        EXPECT_EQ(read(8, SAMPLEFORMAT_UINT, mode, "ab"), "ab");
        EXPECT_EQ(read(16, SAMPLEFORMAT_UINT, mode, "abcd"), "abcd");
        EXPECT_EQ(read(32, SAMPLEFORMAT_UINT, mode, "abcdefgh"), "abcdefgh");
        EXPECT_EQ(read(32, SAMPLEFORMAT_IEEEFP, mode, "abcdefgh"), "abcdefgh");
        EXPECT_EQ(read(64, SAMPLEFORMAT_UINT, mode, "abcdefghijklmnop"), "abcdefghijklmnop");
        EXPECT_EQ(read(64, SAMPLEFORMAT_IEEEFP, mode, "abcdefghijklmnop"), "abcdefghijklmnop");
    }
    const std::uint32_t offset = DataOffset(9);
    Put("a.tif", Tiff(Page(2, 1, 16, offset, 4), "\x12\x34\x56\x78", true));
    EXPECT_EQ(ElementsOf<std::uint16_t>(*Read("a.tif")), (std::vector<std::uint16_t>{0x1234, 0x5678}));
    Put("a.tif", Tiff(Page(2, 1, 16, offset, 4), "\x12\x34\x56\x78", false));
    EXPECT_EQ(ElementsOf<std::uint16_t>(*Read("a.tif")), (std::vector<std::uint16_t>{0x3412, 0x7856}));
}

TEST_F(TiffFile, ReadsStripsTilesAndCompressions) {
    std::mt19937 random(3);
    struct StCase {
        int bits;
        int samples;
        int planar;
        IImage::CType type;
    };
    const std::vector<StCase> cases{
        {1, 1, PLANARCONFIG_CONTIG, QUOR::IMAGE_BINARY_FG}, {8, 1, PLANARCONFIG_CONTIG, QUOR::IMAGE_GREY_8},
        {16, 1, PLANARCONFIG_CONTIG, QUOR::IMAGE_GREY_16},  {64, 1, PLANARCONFIG_CONTIG, QUOR::IMAGE_GREY_64},
        {8, 3, PLANARCONFIG_CONTIG, QUOR::IMAGE_RGB_8},     {8, 3, PLANARCONFIG_SEPARATE, QUOR::IMAGE_RGB_8}};
    for (const StCase& form : cases) {
        for (const CSize& size : {CSize(37, 29), CSize(16, 16, 2), CSize(5, 3)}) {
            const ImagePtr image = RandomImage(form.type, size, random);
            auto* elements = static_cast<std::uint8_t*>(image->Buffer().Data());
            if (form.bits == 1) {
                std::for_each(elements, elements + image->Buffer().Size(), [](std::uint8_t& e) { e &= 1; });
            }
            const auto bytes = static_cast<std::size_t>(form.bits) / 8;
            const bool together = form.samples == 3 && form.planar == PLANARCONFIG_CONTIG;
            // The decoded block of a page: `columns` by `rows` from (x0, y0), what lies outside is 0.
            const auto block = [&](std::int64_t x0, std::int64_t y0, std::int64_t z, std::int64_t columns,
                                   std::int64_t rows, int plane) {
                const std::int64_t bits = columns * form.bits * (together ? 3 : 1);
                std::string pixels(static_cast<std::size_t>((bits + 7) / 8 * rows), '\0');
                for (std::int64_t y = 0; y < rows && y0 + y < size.y; ++y) {
                    for (std::int64_t x = 0; x < columns && x0 + x < size.x; ++x) {
                        for (int channel = 0; channel < (together ? 3 : 1); ++channel) {
                            const auto element = static_cast<std::size_t>(
                                x0 + x + size.x * (y0 + y + size.y * (z + size.z * (plane + channel))));
                            const auto place = static_cast<std::size_t>(y * ((bits + 7) / 8) * 8 +
                                                                        (x * (together ? 3 : 1) + channel) * form.bits);
                            if (form.bits == 1) {
                                pixels[place / 8] |= static_cast<char>(elements[element] << (7 - place % 8));
                            } else {
                                std::memcpy(pixels.data() + place / 8, elements + element * bytes, bytes);
                            }
                        }
                    }
                }
                return pixels;
            };
            const auto writePage = [&](TIFF* tiff, std::int64_t z, int compression, std::uint32_t rows,
                                       std::uint32_t columns) {
                SetForm(tiff, static_cast<std::uint32_t>(size.x), static_cast<std::uint32_t>(size.y), form.bits,
                        form.samples);
                TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form.planar);
                TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
                if (columns != 0) {
                    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, columns);
                    TIFFSetField(tiff, TIFFTAG_TILELENGTH, rows);
                } else {
                    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
                }
                std::uint32_t number = 0;
                for (int plane = 0; plane < (form.planar == PLANARCONFIG_SEPARATE ? 3 : 1); ++plane) {
                    for (std::int64_t y = 0; y < size.y; y += rows) {
                        for (std::int64_t x = 0; x < size.x; x += columns != 0 ? columns : size.x) {
                            const std::int64_t height = columns != 0 ? rows : std::min<std::int64_t>(rows, size.y - y);
                            std::string pixels = block(x, y, z, columns != 0 ? columns : size.x, height, plane);
                            const auto length = static_cast<tmsize_t>(pixels.size());
                            EXPECT_EQ(columns != 0 ? TIFFWriteEncodedTile(tiff, number, pixels.data(), length)
                                                   : TIFFWriteEncodedStrip(tiff, number, pixels.data(), length),
                                      length);
                            ++number;
                        }
                    }
                }
                TIFFWriteDirectory(tiff);
            };
            for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_PACKBITS,
                                          COMPRESSION_ADOBE_DEFLATE, COMPRESSION_CCITTFAX4}) {
                if (compression == COMPRESSION_CCITTFAX4 && form.bits != 1) {
                    continue;
                }
                for (const auto& [rows, columns] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
                         {1, 0}, {7, 0}, {100, 0}, {16, 16}, {32, 16}, {64, 64}}) {
                    PutForeign("a.tif", "w", [&, r = rows, c = columns](TIFF* tiff) {
                        for (std::int64_t z = 0; z < size.z; ++z) {
                            writePage(tiff, z, compression, r, c);
                        }
                    });
                    EXPECT_TRUE(SameImage(*image, *Read("a.tif")))
                        << form.type.ToString() << " " << size.ToString() << " compression " << compression << " "
                        << rows << " rows " << columns << " columns";
                }
            }
        }
    }
}

TEST_F(TiffFile, ReadsPredictedAndReversedData) {
    std::mt19937 random(4);
    const auto setForm = [](TIFF* tiff, int bits) {
        SetForm(tiff, 9, 4, bits);
        TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, bits >= 32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
        TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, bits >= 32 ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    };
    const std::map<int, IImage::CType> types{
        {8, QUOR::IMAGE_GREY_8}, {16, QUOR::IMAGE_GREY_16}, {32, QUOR::IMAGE_GREY_F}, {64, QUOR::IMAGE_GREY_D}};
    for (const auto& [bits, type] : types) {
        const ImagePtr image = RandomImage(type, CSize(9, 4), random);
        PutForeign("a.tif", bits >= 32 ? "wl" : "wb", [&, b = bits](TIFF* tiff) {
            setForm(tiff, b);
            auto pixels = BytesOf(*image);
            TIFFWriteEncodedStrip(tiff, 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
        });
        EXPECT_TRUE(SameImage(*image, *Read("a.tif"))) << bits;
        if (bits < 32) {
            continue;
        }
        // The predictor of floats makes the same data in either byte order; libtiff itself writes others.
        std::array<unsigned char, 4096> data{};
        const Handle little(TIFFOpen(Path("a.tif").c_str(), "r"), &TIFFClose);
        const tmsize_t count = TIFFReadRawStrip(little.get(), 0, data.data(), data.size());
        PutForeign("b.tif", "wb", [&, b = bits](TIFF* tiff) {
            setForm(tiff, b);
            TIFFWriteRawStrip(tiff, 0, data.data(), count);
        });
        EXPECT_TRUE(SameImage(*image, *Read("b.tif"))) << bits;
    }
    const std::uint32_t offset = DataOffset(10);
    Put("a.tif", Tiff(With(Page(8, 1, 1, offset, 1), {TIFFTAG_FILLORDER, 3, 1, FILLORDER_LSB2MSB}), "\x05"));
    EXPECT_EQ(BytesOf(*Read("a.tif")), (std::vector<std::uint8_t>{1, 0, 1, 0, 0, 0, 0, 0}));
}

TEST_F(TiffFile, ReadsPixelsAsTheTypeThatIsAskedFor) {
    Put("bits.tif", Tiff(Page(8, 1, 1, DataOffset(9), 1), "\xa5"));
    Put("bytes.tif", Tiff(Page(2, 1, 8, DataOffset(9), 2), "\7\xff"));
    EXPECT_EQ(Read("bits.tif")->Type(), QUOR::IMAGE_BINARY_FG);
    EXPECT_EQ(Read("bytes.tif")->Type(), QUOR::IMAGE_GREY_8);
    for (const IImage::CType& type : {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG, QUOR::IMAGE_GREY_8}) {
        EXPECT_TRUE(SameImage(*MakeImage<std::uint8_t>(type, CSize(8, 1), {1, 0, 1, 0, 0, 1, 0, 1}),
                              *ReadAs("bits.tif", type)));
        EXPECT_TRUE(SameImage(*MakeImage<std::uint8_t>(type, CSize(2, 1), {7, 255}), *ReadAs("bytes.tif", type)));
    }
    EXPECT_EQ(ReadErrorAs("bits.tif", QUOR::IMAGE_RGB_8),
              "bits.tif: 1-bit grey can be read as IMAGE_BINARY_FG, IMAGE_BINARY_BG or IMAGE_GREY_8, not as "
              "IMAGE_RGB_8");
    Write("float.tif", *ZeroImage(QUOR::IMAGE_GREY_F, CSize(1, 1)));
    EXPECT_EQ(ReadErrorAs("float.tif", QUOR::IMAGE_GREY_32),
              "float.tif: 32-bit float grey can be read as IMAGE_GREY_F, not as IMAGE_GREY_32");
}

TEST_F(TiffFile, RefusesPixelsThatNoTypeHolds) {
    const auto error = [&](const std::function<void(TIFF*)>& set) {
        PutByte("a.tif", set);
        return ReadError("a.tif");
    };
    const std::string known = " can't be read: 1-, 8-, 16-, 32- and 64-bit grey, 32- and 64-bit float grey and 8-bit "
                              "RGB can";
    const auto withBits = [&](int bits, int format) {
        return error([&](TIFF* tiff) {
            TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
            TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format);
        });
    };
    EXPECT_EQ(withBits(4, SAMPLEFORMAT_UINT), "a.tif: 4-bit grey" + known);
    EXPECT_EQ(withBits(12, SAMPLEFORMAT_UINT), "a.tif: 12-bit grey" + known);
    EXPECT_EQ(withBits(8, SAMPLEFORMAT_INT), "a.tif: 8-bit signed grey" + known);
    EXPECT_EQ(withBits(32, SAMPLEFORMAT_INT), "a.tif: 32-bit signed grey" + known);
    EXPECT_EQ(withBits(16, SAMPLEFORMAT_IEEEFP), "a.tif: 16-bit float grey" + known);
    EXPECT_EQ(withBits(8, SAMPLEFORMAT_IEEEFP), "a.tif: 8-bit float grey" + known);
    EXPECT_EQ(withBits(64, SAMPLEFORMAT_COMPLEXIEEEFP), "a.tif: 64-bit complex grey" + known);
    EXPECT_EQ(withBits(16, SAMPLEFORMAT_VOID), "a.tif: 16-bit untyped grey" + known);
    const auto withPhotometric = [&](int photometric) {
        return error([&](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric); });
    };
    EXPECT_EQ(withPhotometric(PHOTOMETRIC_MINISWHITE), "a.tif: 8-bit grey in which 0 is white" + known);
    EXPECT_EQ(withPhotometric(PHOTOMETRIC_MASK), "a.tif: 8-bit the photometric kind 4" + known);
    const auto withSamples = [&](int samples, int photometric, int bits) {
        return error([&](TIFF* tiff) {
            TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
            TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
            TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
        });
    };
    EXPECT_EQ(withSamples(2, PHOTOMETRIC_MINISBLACK, 8), "a.tif: 8-bit grey of 2 samples" + known);
    EXPECT_EQ(withSamples(4, PHOTOMETRIC_RGB, 8), "a.tif: 8-bit RGB of 4 samples" + known);
    EXPECT_EQ(withSamples(3, PHOTOMETRIC_RGB, 16), "a.tif: 16-bit RGB" + known);
    EXPECT_EQ(withSamples(3, PHOTOMETRIC_YCBCR, 8), "a.tif: 8-bit YCbCr of 3 samples" + known);
    EXPECT_EQ(withSamples(4, PHOTOMETRIC_SEPARATED, 8), "a.tif: 8-bit CMYK of 4 samples" + known);
    EXPECT_EQ(error([&](TIFF* tiff) {
                  std::vector<std::uint16_t> map(256, 0);
                  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
                  TIFFSetField(tiff, TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
              }),
              "a.tif: 8-bit palette colours" + known);
    EXPECT_EQ(error([&](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_BOTLEFT); }),
              "a.tif: the orientation 4 can't be read: pages must begin at the top left (1)");
    const auto entries = [](const StEntry& entry) { return With(Page(1, 1, 8, DataOffset(9), 1), entry); };
    Put("a.tif", Tiff(entries({TIFFTAG_COMPRESSION, 3, 1, 50999}), "a"));
    EXPECT_EQ(ReadError("a.tif"), "a.tif: the compression 50999 can't be read: libtiff doesn't know it here");
    Put("a.tif", Tiff(entries({TIFFTAG_IMAGEDEPTH, 4, 1, 2}), "abcdefghijkl"));
    EXPECT_EQ(ReadError("a.tif"), "a.tif: a page with a depth of its own can't be read: slices must be pages");
    auto page = Page(1, 1, 8, DataOffset(8), 1);
    page.erase(page.begin() + 4);
    Put("a.tif", Tiff(page, "a"));
    EXPECT_EQ(ReadError("a.tif"), "a.tif: the TIFF data are damaged: no photometric kind is told");
}

TEST_F(TiffFile, RefusesWhatItCantHold) {
    EXPECT_EQ(WriteError("a.tif", *ZeroImage(QUOR::IMAGE_GREY_8, CSize(0, 5))),
              "a.tif: TIFF can't hold an image without pixels (0x5): npy can");
    EXPECT_EQ(WriteError("a.tif", *ZeroImage(QUOR::IMAGE_GREY_8, CSize(2, 5, 0))),
              "a.tif: TIFF can't hold an image without pixels (2x5x0): npy can");
    EXPECT_EQ(WriteError("a.tif", *ZeroImage(IImage::CType("IMAGE_CMYK_8", 4, 1, false, 99), CSize(2, 2))),
              "a.tif: TIFF can't hold IMAGE_CMYK_8: it holds IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_GREY_8, "
              "IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, IMAGE_GREY_F, IMAGE_GREY_D or IMAGE_RGB_8");
    const ImagePtr image = ZeroImage(QUOR::IMAGE_GREY_8, CSize(1, 1));
    image->Attributes().SetEntry("a/b", new QUOR::CValuePointer<CImage>(image.get()));
    EXPECT_EQ(WriteError("a.tif", *image), "a.tif: the attributes: the entry vessa/attributes/a/b is a pointer: JSON "
                                           "holds booleans, numbers, texts, maps and vectors");
    EXPECT_TRUE(Names().empty());
}

TEST_F(TiffFile, LargeFilesAreBigTiff) {
    std::mt19937 random(5);
    const ImagePtr image = RandomImage(QUOR::IMAGE_RGB_8, CSize(50, 40, 3), random);
    const auto magicWithLimit = [&](std::uint64_t limit) {
        COutputFile file(Path("a.tif"));
        WriteTiff(file, *image, limit);
        file.Commit();
        EXPECT_TRUE(SameImage(*image, *Read("a.tif")));
        return Get("a.tif")[2];
    };
    EXPECT_EQ(magicWithLimit(kMostClassicBytes), 42);
    EXPECT_EQ(magicWithLimit(50 * 40 * 3 * 3), 43);
}

TEST_F(TiffFile, BelievesNoExtents) {
    const std::uint32_t offset = DataOffset(9);
    Put("a.tif", Tiff(Page(0x7fffffff, 0x7fffffff, 64, offset, 8), "abcdefgh"));
    EXPECT_TRUE(ReadError("a.tif").starts_with("a.tif: the TIFF data are damaged: "));
    Put("a.tif", Tiff(Page(100000, 100000, 8, offset, 8), "abcdefgh"));
    EXPECT_EQ(ReadError("a.tif"),
              "a.tif: it claims 100000x100000 pixels of 8-bit grey, which a file of 130 bytes can't hold");
    Put("a.tif", Tiff(Page(11, 12, 8, offset, 132), "abcdefgh"));
    EXPECT_EQ(ReadError("a.tif"), "a.tif: it claims 11x12 pixels of 8-bit grey, which a file of 130 bytes can't hold");
    {
        const CRoomForImages room(1 << 20);
        Put("a.tif",
            Tiff(With(Page(500000, 1000000, 8, offset, 8), {TIFFTAG_COMPRESSION, 3, 1, COMPRESSION_LZMA}), "abcdefgh"));
        EXPECT_EQ(ReadError("a.tif"), "a.tif: an image of 500000000000 bytes would take the images beyond the limit of "
                                      "1048576 bytes (0 in use): --max-memory raises the limit");
    }
    Put("a.tif", Tiff(Page(0, 5, 8, offset, 8), "abcdefgh"));
    EXPECT_NE(ReadError("a.tif"), "");
    Put("a.tif", Tiff(Page(10, 10, 8, offset, 100), "abcdefgh"));
    EXPECT_NE(ReadError("a.tif"), "");
    const CRoomForImages room(7);
    Put("a.tif", Tiff(Page(4, 2, 8, offset, 8), "abcdefgh"));
    EXPECT_EQ(ReadError("a.tif"), "a.tif: an image of 8 bytes would take the images beyond the limit of 7 bytes (0 in "
                                  "use): --max-memory raises the limit");
}

TEST_F(TiffFile, BelievesNoTiles) {
    std::vector<StEntry> page = Page(4, 2, 8, 0, 0);
    page.erase(page.begin() + 5);             // offsets of strips
    page.erase(page.begin() + 6, page.end()); // their rows and byte counts
    for (const StEntry& entry : {StEntry{TIFFTAG_TILEWIDTH, 4, 1, 0x7ffffff0}, StEntry{TIFFTAG_TILELENGTH, 4, 1, 0x10},
                                 StEntry{TIFFTAG_TILEOFFSETS, 4, 1, 140}, StEntry{TIFFTAG_TILEBYTECOUNTS, 4, 1, 4}}) {
        page = With(page, entry);
    }
    Put("a.tif", Tiff(page, "abcdefghijkl"));
    EXPECT_EQ(ReadError("a.tif"), "a.tif: it claims 2147483632x16 pixels of 8-bit grey, which a file of 146 bytes "
                                  "can't hold");
    const CRoomForImages room(1 << 20);
    Put("a.tif", Tiff(With(page, {TIFFTAG_COMPRESSION, 3, 1, COMPRESSION_LZMA}), "abcdefghijkl"));
    EXPECT_EQ(ReadError("a.tif"),
              "a.tif: its tiles of 2147483632x16 have 34359738112 bytes, with those of the pages "
              "before it more than the 1048576 that images may take: --max-memory raises the limit");
}

/// Tiles and strips may be shared, so that a page claims no more than the file holds, but all together do.
TEST_F(TiffFile, BelievesNoSharedTiles) {
    const auto tiled = [&](std::uint32_t tiles, std::uint32_t compression) {
        const std::uint32_t data = kHeaderBytes + DirectoryBytes(std::vector<StEntry>(10));
        std::vector<StEntry> page = Page(1, 16 * tiles, 8, 0, 0);
        page.erase(page.begin() + 5);
        page.erase(page.begin() + 6, page.end());
        for (const StEntry& entry :
             {StEntry{TIFFTAG_COMPRESSION, 3, 1, compression}, StEntry{TIFFTAG_TILEWIDTH, 4, 1, 64},
              StEntry{TIFFTAG_TILELENGTH, 4, 1, 16}, StEntry{TIFFTAG_TILEOFFSETS, 4, tiles, data + 1024},
              StEntry{TIFFTAG_TILEBYTECOUNTS, 4, tiles, data + 1024 + 4 * tiles}}) {
            page = With(page, entry);
        }
        CBytes places;
        CBytes sizes;
        for (std::uint32_t tile = 0; tile < tiles; ++tile) {
            places << data;
            sizes << std::uint32_t{1024};
        }
        return Tiff(page, std::string(1024, 'a') + places.Text() + sizes.Text());
    };
    Put("a.tif", tiled(2, COMPRESSION_NONE));
    EXPECT_EQ(ReadError("a.tif"), "a.tif: it claims 64x32 pixels of 8-bit grey, which a file of 1174 bytes can't hold");
    const CRoomForImages room(4000);
    Put("a.tif", tiled(4, COMPRESSION_LZMA));
    EXPECT_EQ(ReadError("a.tif"), "a.tif: its tiles of 64x16 have 4096 bytes, with those of the pages before it more "
                                  "than the 4000 that images may take: --max-memory raises the limit");
}

TEST_F(TiffFile, BelievesNoSharedPages) {
    const std::vector<StEntry> first = Page(50, 6, 8, kHeaderBytes + 2 * DirectoryBytes(Page(1, 1, 8, 0, 0)), 300);
    const std::uint32_t second = kHeaderBytes + DirectoryBytes(first);
    const auto file = [&](const std::string& data) {
        return (CBytes() << std::string("II") << std::uint16_t{42} << kHeaderBytes << Directory(first, second)
                         << Directory(first, 0) << data)
            .Text();
    };
    Put("a.tif", file(std::string(300, 'x')));
    EXPECT_EQ(ReadError("a.tif"),
              "a.tif: page 2: up to this page, more pixels are claimed than a file of 536 bytes can hold");
    Put("a.tif", file(std::string(400, 'x')));
    EXPECT_EQ(Read("a.tif")->Size(), CSize(50, 6, 2)) << "there is room for both, wherever they are";
}

TEST_F(TiffFile, ChainsOfPagesMustEnd) {
    const std::vector<StEntry> entries = Page(2, 1, 8, kHeaderBytes + 2 * DirectoryBytes(Page(1, 1, 8, 0, 0)), 2);
    const std::uint32_t second = kHeaderBytes + DirectoryBytes(entries);
    const auto file = [&](std::uint32_t last) {
        return (CBytes() << std::string("II") << std::uint16_t{42} << kHeaderBytes << Directory(entries, second)
                         << Directory(entries, last) << std::string("ab"))
            .Text();
    };
    Put("a.tif", file(0));
    EXPECT_TRUE(SameImage(*MakeImage<char>(QUOR::IMAGE_GREY_8, CSize(2, 1, 2), {'a', 'b', 'a', 'b'}), *Read("a.tif")));
    for (const std::uint32_t last : {kHeaderBytes, second, std::uint32_t{100000}, std::uint32_t{1}}) {
        Put("a.tif", file(last));
        EXPECT_TRUE(ReadError("a.tif").starts_with("a.tif: page 2: the TIFF data are damaged: ")) << last;
    }
}

TEST_F(TiffFile, ManyPagesAreReadAndWritten) {
    std::mt19937 random(6);
    const ImagePtr image = RandomImage(QUOR::IMAGE_GREY_16, CSize(2, 1, 70000), random);
    Write("a.tif", *image);
    EXPECT_TRUE(SameImage(*image, *Read("a.tif")));
}

TEST_F(TiffFile, RefusesOtherFiles) {
    for (const char* bytes : {"", "II", "\x89PNG\r\n\x1a\n0123456789"}) {
        Put("a.tif", bytes);
        EXPECT_TRUE(ReadError("a.tif").starts_with("a.tif: the TIFF data are damaged: ")) << ReadError("a.tif");
    }
}

TEST_F(TiffFile, LibraryPrintsNothing) {
    testing::internal::CaptureStderr();
    Put("a.tif", Tiff(With(Page(2, 1, 8, DataOffset(10), 2), {65000, 3, 1, 1}), "ab")); // an unknown tag: a warning
    EXPECT_EQ(ReadError("a.tif"), "");
    Put("a.tif", "II");
    EXPECT_NE(ReadError("a.tif"), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(TiffFile, DamagedFilesDoNoHarm) {
    Put("front.tif", Tiff(Page(4, 2, 8, DataOffset(9), 8), "abcdefgh"));
    std::mt19937 random(7);
    const ImagePtr image = RandomImage(QUOR::IMAGE_RGB_8, CSize(3, 2, 2), random);
    AddAttributes(*image);
    Write("back.tif", *image);
    PutForeign("tiled.tif", "w", [&](TIFF* tiff) {
        SetForm(tiff, 20, 20, 8, 3);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 16);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
        std::string pixels(16 * 16 * 3, 'a');
        for (std::uint32_t tile = 0; tile < 4; ++tile) {
            TIFFWriteEncodedTile(tiff, tile, pixels.data(), static_cast<tmsize_t>(pixels.size()));
        }
    });
    Put("big-endian.tif", Tiff(Page(4, 2, 16, DataOffset(9), 16), "abcdefghijklmnop", true));
    Write("float.tif", *RandomImage(QUOR::IMAGE_GREY_F, CSize(3, 2, 3), random));
    Write("bits.tif", *ZeroImage(QUOR::IMAGE_BINARY_FG, CSize(11, 3)));
    {
        COutputFile file(Path("bigtiff.tif"));
        WriteTiff(file, *ZeroImage(QUOR::IMAGE_GREY_16, CSize(3, 2)), 0);
        file.Commit();
    }
    PutForeign("deflated.tif", "w", [&](TIFF* tiff) {
        SetForm(tiff, 20, 20, 8);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 5);
        std::string pixels(5 * 20, 'a');
        for (std::uint32_t strip = 0; strip < 4; ++strip) {
            TIFFWriteEncodedStrip(tiff, strip, pixels.data(), static_cast<tmsize_t>(pixels.size()));
        }
    });
    for (const char* name : {"front.tif", "back.tif", "tiled.tif", "big-endian.tif", "float.tif", "bits.tif",
                             "bigtiff.tif", "deflated.tif"}) {
        SCOPED_TRACE(name);
        ReadEveryPrefix(name);
        ReadWithEveryByteChanged(name, 2000);
    }
}

TEST_F(TiffFile, DecodersThatRepairAreNotTrusted) {
    std::vector<unsigned char> grey(64 * 64);
    for (std::size_t i = 0; i < grey.size(); ++i) {
        grey[i] = static_cast<unsigned char>(i * i / 7);
    }
    PutForeign("a.tif", "w", [&](TIFF* tiff) {
        SetForm(tiff, 64, 64, 8);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_JPEG);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 64);
        TIFFWriteEncodedStrip(tiff, 0, grey.data(), 64 * 64);
    });
    EXPECT_EQ(ReadError("a.tif"), "");
    // The middle of the strip, which lies in front of the directory, is overwritten by an early end of the picture.
    std::string bytes = Get("a.tif");
    bytes.replace(400, 2, "\xff\xd9");
    Put("a.tif", bytes);
    EXPECT_TRUE(ReadError("a.tif").starts_with("a.tif: the TIFF data are damaged: ")) << ReadError("a.tif");
}

} // namespace
} // namespace vessa::test
