#include "FileTest.h"

#include <algorithm>
#include <png.h>

namespace vessa::test {
namespace {

/// How libpng is to write a picture that isn't ours.
struct StForeignPng {
    png_uint_32 width;
    png_uint_32 height;
    int depth;
    int colour;
    bool interlaced = false;
};

class PngFile : public FileTest {
protected:
    /// Writes packed rows by libpng itself.
    void PutForeign(const std::string& name, const StForeignPng& form, const std::vector<std::string>& rows,
                    bool transparent = false) const {
        std::FILE* file = std::fopen(Path(name).c_str(), "wb");
        ASSERT_NE(file, nullptr);
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_init_io(png, file);
        png_set_IHDR(png, info, form.width, form.height, form.depth, form.colour,
                     form.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        if (form.colour == PNG_COLOR_TYPE_PALETTE) {
            const png_color black{0, 0, 0};
            png_set_PLTE(png, info, &black, 1);
        }
        if (transparent) {
            png_color_16 colour{};
            png_set_tRNS(png, info, nullptr, 1, &colour);
        }
        png_write_info(png, info);
        const int passes = png_set_interlace_handling(png);
        for (int pass = 0; pass < passes; ++pass) {
            for (const std::string& row : rows) {
                png_write_row(png, reinterpret_cast<png_const_bytep>(row.data()));
            }
        }
        png_write_end(png, nullptr);
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
    }

    /// A PNG file of one pixel of the given form, whose extents are then overwritten, with the right check sum.
    void PutWithExtents(const std::string& name, const StForeignPng& form) const {
        PutForeign(name, {1, 1, form.depth, form.colour}, {std::string(8, '\0')});
        std::string bytes = Get(name);
        const std::string extents = (CBytes(true) << form.width << form.height).Text();
        bytes.replace(16, 8, extents);
        bytes.replace(29, 4, (CBytes(true) << Crc(bytes.substr(12, 17))).Text());
        Put(name, bytes);
    }

    static std::uint32_t Crc(const std::string& bytes) {
        std::uint32_t crc = 0xffffffff;
        for (const char byte : bytes) {
            crc ^= static_cast<unsigned char>(byte);
            for (int bit = 0; bit < 8; ++bit) {
                crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xedb88320U : 0U);
            }
        }
        return ~crc;
    }
};

/// Random elements, for binary types only 0 and 1.
ImagePtr RandomPicture(const IImage::CType& type, const CSize& size, std::mt19937& random) {
    ImagePtr image = RandomImage(type, size, random);
    if (type == QUOR::IMAGE_BINARY_FG || type == QUOR::IMAGE_BINARY_BG) {
        auto* elements = static_cast<std::uint8_t*>(image->Buffer().Data());
        std::for_each(elements, elements + image->Buffer().Size(), [](std::uint8_t& element) { element &= 1; });
    }
    return image;
}

TEST_F(PngFile, EveryTypeComesBackAsItWas) {
    std::mt19937 random(1);
    for (const IImage::CType& type :
         {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG, QUOR::IMAGE_GREY_8, QUOR::IMAGE_GREY_16, QUOR::IMAGE_RGB_8}) {
        for (const CSize& size : {CSize(1, 1), CSize(7, 3), CSize(8, 2), CSize(9, 5), CSize(100, 1), CSize(1, 100)}) {
            const ImagePtr image = RandomPicture(type, size, random);
            Write("a.png", *image);
            EXPECT_TRUE(SameImage(*image, *ReadAs("a.png", type))) << type.ToString() << size.ToString();
        }
    }
}

TEST_F(PngFile, UsualTypesFollowTheFile) {
    std::mt19937 random(2);
    for (const IImage::CType& type :
         {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_GREY_8, QUOR::IMAGE_GREY_16, QUOR::IMAGE_RGB_8}) {
        Write("a.png", *RandomPicture(type, CSize(5, 4), random));
        EXPECT_EQ(Read("a.png")->Type(), type);
    }
}

TEST_F(PngFile, BinaryPicturesTakeOneBitForAnElement) {
    Write("a.png", *ZeroImage(QUOR::IMAGE_BINARY_FG, CSize(9, 2)));
    EXPECT_EQ(Get("a.png")[24], 1); // the depth in the header
}

TEST_F(PngFile, OneSliceOfAVolumeIsReadAsTwoDimensions) {
    Write("a.png", *MakeImage<std::uint8_t>(QUOR::IMAGE_GREY_8, CSize(2, 1, 1), {3, 4}));
    EXPECT_TRUE(SameImage(*MakeImage<std::uint8_t>(QUOR::IMAGE_GREY_8, CSize(2, 1), {3, 4}), *Read("a.png")));
}

TEST_F(PngFile, ReadsForeignPictures) {
    PutForeign("bits.png", {10, 2, 1, PNG_COLOR_TYPE_GRAY}, {"\xa5\xc0", "\x0f\x3f"});
    EXPECT_TRUE(SameImage(*MakeImage<std::uint8_t>(QUOR::IMAGE_BINARY_FG, CSize(10, 2),
                                                   {1, 0, 1, 0, 0, 1, 0, 1, 1, 1, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0}),
                          *Read("bits.png")));
    PutForeign("words.png", {2, 1, 16, PNG_COLOR_TYPE_GRAY}, {"\x12\x34\x56\x78"});
    EXPECT_TRUE(
        SameImage(*MakeImage<std::uint16_t>(QUOR::IMAGE_GREY_16, CSize(2, 1), {0x1234, 0x5678}), *Read("words.png")));
    PutForeign("rgb.png", {2, 2, 8, PNG_COLOR_TYPE_RGB}, {"abcdef", "ghijkl"});
    EXPECT_TRUE(SameImage(
        *MakeImage<char>(QUOR::IMAGE_RGB_8, CSize(2, 2), {'a', 'd', 'g', 'j', 'b', 'e', 'h', 'k', 'c', 'f', 'i', 'l'}),
        *Read("rgb.png")));
}

TEST_F(PngFile, ReadsInterlacedPictures) {
    std::mt19937 random(3);
    struct StCase {
        int depth;
        int colour;
        std::size_t bits;
    };
    for (const StCase& form : {StCase{1, PNG_COLOR_TYPE_GRAY, 1}, StCase{8, PNG_COLOR_TYPE_GRAY, 8},
                               StCase{16, PNG_COLOR_TYPE_GRAY, 16}, StCase{8, PNG_COLOR_TYPE_RGB, 24}}) {
        for (const png_uint_32 width : {1U, 2U, 5U, 8U, 13U}) {
            std::vector<std::string> rows(11, std::string((width * form.bits + 7) / 8, '\0'));
            for (std::string& row : rows) {
                std::generate(row.begin(), row.end(), [&] { return static_cast<char>(random()); });
            }
            PutForeign("plain.png", {width, 11, form.depth, form.colour, false}, rows);
            PutForeign("laced.png", {width, 11, form.depth, form.colour, true}, rows);
            EXPECT_TRUE(SameImage(*Read("plain.png"), *Read("laced.png"))) << form.bits << " bits, width " << width;
        }
    }
}

TEST_F(PngFile, ReadsPixelsAsTheTypeThatIsAskedFor) {
    PutForeign("bits.png", {8, 1, 1, PNG_COLOR_TYPE_GRAY}, {"\xa5"});
    PutForeign("bytes.png", {3, 1, 8, PNG_COLOR_TYPE_GRAY}, {"\1\2\xff"});
    for (const IImage::CType& type : {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG, QUOR::IMAGE_GREY_8}) {
        EXPECT_TRUE(SameImage(*MakeImage<std::uint8_t>(type, CSize(8, 1), {1, 0, 1, 0, 0, 1, 0, 1}),
                              *ReadAs("bits.png", type)));
        EXPECT_TRUE(SameImage(*MakeImage<std::uint8_t>(type, CSize(3, 1), {1, 2, 255}), *ReadAs("bytes.png", type)));
    }
    EXPECT_EQ(ReadErrorAs("bits.png", QUOR::IMAGE_GREY_16),
              "bits.png: 1-bit grey can be read as IMAGE_BINARY_FG, IMAGE_BINARY_BG or IMAGE_GREY_8, not as "
              "IMAGE_GREY_16");
    EXPECT_EQ(ReadErrorAs("bytes.png", QUOR::IMAGE_RGB_8),
              "bytes.png: 8-bit grey can be read as IMAGE_GREY_8, IMAGE_BINARY_FG or IMAGE_BINARY_BG, not as "
              "IMAGE_RGB_8");
    PutForeign("words.png", {1, 1, 16, PNG_COLOR_TYPE_GRAY}, {"ab"});
    EXPECT_EQ(ReadErrorAs("words.png", QUOR::IMAGE_GREY_8),
              "words.png: 16-bit grey can be read as IMAGE_GREY_16, not as IMAGE_GREY_8");
    PutForeign("rgb.png", {1, 1, 8, PNG_COLOR_TYPE_RGB}, {"abc"});
    EXPECT_EQ(ReadErrorAs("rgb.png", QUOR::IMAGE_GREY_8),
              "rgb.png: 8-bit RGB can be read as IMAGE_RGB_8, not as IMAGE_GREY_8");
}

TEST_F(PngFile, RefusesPixelsThatNoTypeHolds) {
    const std::string row(16, '\0');
    const auto error = [&](int depth, int colour, bool transparent = false) {
        PutForeign("a.png", {1, 1, depth, colour}, {row}, transparent);
        return ReadError("a.png");
    };
    const std::string known = " can't be read: 1-, 8- and 16-bit grey and 8-bit RGB can";
    EXPECT_EQ(error(2, PNG_COLOR_TYPE_GRAY), "a.png: 2-bit grey" + known);
    EXPECT_EQ(error(4, PNG_COLOR_TYPE_GRAY), "a.png: 4-bit grey" + known);
    EXPECT_EQ(error(8, PNG_COLOR_TYPE_PALETTE), "a.png: 8-bit palette colours" + known);
    EXPECT_EQ(error(8, PNG_COLOR_TYPE_GRAY_ALPHA), "a.png: 8-bit grey with alpha" + known);
    EXPECT_EQ(error(16, PNG_COLOR_TYPE_RGB_ALPHA), "a.png: 16-bit RGB with alpha" + known);
    EXPECT_EQ(error(16, PNG_COLOR_TYPE_RGB), "a.png: 16-bit RGB" + known);
    EXPECT_EQ(error(8, PNG_COLOR_TYPE_GRAY, true), "a.png: 8-bit grey with a transparent colour" + known);
    EXPECT_EQ(error(8, PNG_COLOR_TYPE_RGB, true), "a.png: 8-bit RGB with a transparent colour" + known);
}

TEST_F(PngFile, RefusesWhatItCantHold) {
    const std::string types = ": it holds IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_GREY_8, IMAGE_GREY_16 or IMAGE_RGB_8";
    for (const IImage::CType& type :
         {QUOR::IMAGE_GREY_32, QUOR::IMAGE_GREY_64, QUOR::IMAGE_GREY_F, QUOR::IMAGE_GREY_D}) {
        EXPECT_EQ(WriteError("a.png", *ZeroImage(type, CSize(1, 1))),
                  std::string("a.png: PNG can't hold ") + type.ToString() + types);
    }
    EXPECT_EQ(WriteError("a.png", *ZeroImage(QUOR::IMAGE_GREY_8, CSize(2, 2, 3))),
              "a.png: PNG can't hold the 3 slices of the image: TIFF and npy can");
    EXPECT_EQ(WriteError("a.png", *ZeroImage(QUOR::IMAGE_GREY_8, CSize(0, 5))),
              "a.png: PNG can't hold an image without pixels (0x5): npy can");
    EXPECT_EQ(WriteError("a.png", *ZeroImage(QUOR::IMAGE_GREY_8, CSize(2, 5, 0))),
              "a.png: PNG can't hold an image without pixels (2x5x0): npy can");
    const ImagePtr named = ZeroImage(QUOR::IMAGE_GREY_8, CSize(1, 1));
    named->Attributes().SetEntry("name", new QUOR::CValueLong(1));
    EXPECT_EQ(WriteError("a.png", *named),
              "a.png: PNG can't hold the image's attributes (the first one is 'name'): TIFF can");
    named->Attributes().Clear();
    named->Attributes().SetEntry(QUOR::CValue_Key(std::string("a\0b", 3)), new QUOR::CValueLong(1));
    EXPECT_EQ(WriteError("a.png", *named),
              "a.png: PNG can't hold the image's attributes (the first one is 'a\\x00b'): TIFF can");
    EXPECT_EQ(
        WriteError("a.png", *MakeImage<std::uint8_t>(QUOR::IMAGE_BINARY_BG, CSize(3, 2), {0, 1, 1, 0, 1, 255})),
        "a.png: element (2, 1) of the IMAGE_BINARY_BG image is 255: PNG holds 0 and 1 only, TIFF holds any value");
    EXPECT_TRUE(Names().empty());
}

TEST_F(PngFile, BelievesNoExtents) {
    PutWithExtents("a.png", {0x7fffffff, 0x7fffffff, 8, PNG_COLOR_TYPE_GRAY});
    EXPECT_EQ(ReadError("a.png"), "a.png: it claims 2147483647x2147483647 pixels of 8-bit grey, which a file of " +
                                      std::to_string(Get("a.png").size()) + " bytes can't hold");
    PutWithExtents("a.png", {0x7fffffff, 1, 1, PNG_COLOR_TYPE_GRAY});
    EXPECT_EQ(ReadError("a.png"), "a.png: it claims 2147483647x1 pixels of 1-bit grey, which a file of " +
                                      std::to_string(Get("a.png").size()) + " bytes can't hold");
    PutWithExtents("a.png", {100, 100, 8, PNG_COLOR_TYPE_GRAY});
    EXPECT_EQ(ReadError("a.png"), "a.png: the PNG data are damaged: Not enough image data");
    {
        const CRoomForImages room(9999);
        EXPECT_EQ(ReadError("a.png"), "a.png: an image of 10000 bytes would take the images beyond the limit of 9999 "
                                      "bytes (0 in use): --max-memory raises the limit");
    }
    PutWithExtents("a.png", {0x80000000, 1, 8, PNG_COLOR_TYPE_GRAY});
    EXPECT_EQ(ReadError("a.png"), "a.png: the PNG data are damaged: PNG unsigned integer out of range");
}

TEST_F(PngFile, ReadsBlankPicturesOfAnySize) {
    const ImagePtr blank = ZeroImage(QUOR::IMAGE_GREY_8, CSize(3000, 3000));
    Write("a.png", *blank);
    EXPECT_TRUE(SameImage(*blank, *Read("a.png"))); // 1000 times smaller in the file
    const ImagePtr wide = ZeroImage(QUOR::IMAGE_BINARY_FG, CSize(1200000, 1));
    Write("a.png", *wide);
    EXPECT_TRUE(SameImage(*wide, *Read("a.png"))); // wider than libpng allows by itself
}

TEST_F(PngFile, RefusesOtherFiles) {
    for (const char* bytes : {"", "\x89PNG", "II*\0 0123456789"}) {
        Put("a.png", bytes);
        EXPECT_EQ(ReadError("a.png"), "a.png: this is no PNG file: it doesn't begin with the PNG signature");
    }
}

TEST_F(PngFile, DamagedFilesDoNoHarm) {
    std::mt19937 random(4);
    for (const IImage::CType& type :
         {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_GREY_8, QUOR::IMAGE_GREY_16, QUOR::IMAGE_RGB_8}) {
        Write("a.png", *RandomPicture(type, CSize(9, 5), random));
        ReadEveryPrefix("a.png");
        ReadWithEveryByteChanged("a.png", 1000);
    }
    PutForeign("laced.png", {9, 3, 8, PNG_COLOR_TYPE_RGB, true}, std::vector<std::string>(3, std::string(27, 'x')));
    ReadEveryPrefix("laced.png");
    ReadWithEveryByteChanged("laced.png", 1000);
}

TEST_F(PngFile, TheLevelTellsTheCompression) {
    std::mt19937 random(3);
    for (const IImage::CType& type :
         {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_GREY_8, QUOR::IMAGE_GREY_16, QUOR::IMAGE_RGB_8}) {
        const ImagePtr image = ZeroImage(type, CSize(400, 300));
        auto* bytes = static_cast<unsigned char*>(image->Buffer().Data());
        std::generate_n(bytes, image->Buffer().Size(), [&] { return static_cast<unsigned char>(random() % 8 == 0); });
        std::vector<std::size_t> sizes;
        for (int level = 0; level <= 9; ++level) {
            WriteValue(Path("a.png"), QUOR::CValuePointer<CImage>(image.get()), {.pngLevel = level});
            EXPECT_TRUE(SameImage(*image, *Read("a.png"))) << level;
            sizes.push_back(Get("a.png").size());
        }
        const std::size_t packed = type == QUOR::IMAGE_BINARY_FG ? 50 * 300 : image->Buffer().Size();
        EXPECT_GT(sizes[0], packed) << "level 0 doesn't compress";
        EXPECT_LT(sizes[1], sizes[0]);
        EXPECT_LT(sizes[9], sizes[1]);
        Write("a.png", *image);
        EXPECT_EQ(Get("a.png").size(), sizes[1]) << "the usual level";
    }
}

TEST_F(PngFile, OtherLevelsAreRefused) {
    const ImagePtr image = ZeroImage(QUOR::IMAGE_GREY_8, CSize(2, 2));
    for (const int level : {-1, 10}) {
        try {
            WriteValue(Path("a.png"), QUOR::CValuePointer<CImage>(image.get()), {.pngLevel = level});
            ADD_FAILURE() << level;
        } catch (const CFileError& failure) {
            EXPECT_EQ(failure.what(),
                      Path("a.png") + ": the compression level of PNG is 0 to 9, not " + std::to_string(level));
        }
    }
    EXPECT_TRUE(Names().empty());
}

} // namespace
} // namespace vessa::test
