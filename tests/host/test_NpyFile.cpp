#include "FileTest.h"

namespace vessa::test {
namespace {

using NpyFile = FileTest;

/// An npy file of version 1.0.
std::string Npy(const std::string& dictionary, const std::string& data) {
    return (CBytes() << "\x93NUMPY" << std::uint8_t{1} << std::uint8_t{0}
                     << static_cast<std::uint16_t>(dictionary.size()) << dictionary << data)
        .Text();
}

std::string Header(const std::string& dtype, const std::string& shape) {
    return "{'descr': '" + dtype + "', 'fortran_order': False, 'shape': " + shape + ", }\n";
}

std::string Array(const std::string& dtype, const std::string& shape, const std::string& data) {
    return Npy(Header(dtype, shape), data);
}

TEST_F(NpyFile, EveryTypeComesBackAsItWas) {
    std::mt19937 random(1);
    for (const IImage::CType& type : AllTypes()) {
        for (const CSize& size :
             {CSize(5, 3), CSize(1, 1), CSize(7, 2, 1), CSize(3, 4, 5), CSize(0, 3), CSize(2, 0, 4), CSize(0, 0, 0)}) {
            const ImagePtr image = RandomImage(type, size, random);
            Write("a.npy", *image);
            EXPECT_TRUE(SameImage(*image, *ReadAs("a.npy", type))) << type.ToString() << size.ToString();
        }
    }
}

TEST_F(NpyFile, BinaryElementsOf0And1AreWrittenAsBooleans) {
    for (const IImage::CType& type : {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG}) {
        const ImagePtr image = MakeImage<std::uint8_t>(type, CSize(3, 1), {0, 1, 1});
        Write("a.npy", *image);
        EXPECT_NE(Get("a.npy").find("'|b1'"), std::string::npos);
        EXPECT_EQ(Read("a.npy")->Type(), QUOR::IMAGE_BINARY_FG);
        EXPECT_EQ(BytesOf(*Read("a.npy")), (std::vector<std::uint8_t>{0, 1, 1}));
    }
    const ImagePtr image = MakeImage<std::uint8_t>(QUOR::IMAGE_BINARY_FG, CSize(3, 1), {0, 1, 255});
    Write("a.npy", *image);
    EXPECT_NE(Get("a.npy").find("'|u1'"), std::string::npos);
    EXPECT_EQ(Read("a.npy")->Type(), QUOR::IMAGE_GREY_8);
}

TEST_F(NpyFile, WritesTheHeaderThatNumpyWrites) {
    const ImagePtr image = MakeImage<std::uint16_t>(QUOR::IMAGE_GREY_16, CSize(3, 2), {1, 2, 3, 4, 5, 0xabcd});
    Write("a.npy", *image);
    std::string dictionary = "{'descr': '<u2', 'fortran_order': False, 'shape': (2, 3), }";
    dictionary.resize(117, ' ');
    const std::string data("\1\0\2\0\3\0\4\0\5\0\xcd\xab", 12);
    EXPECT_EQ(Get("a.npy"), Npy(dictionary + "\n", data));
}

TEST_F(NpyFile, ArraysAreAlignedTo64Bytes) {
    for (std::int64_t width = 1; width < 1000; width = width * 3 + 1) {
        const ImagePtr image = ZeroImage(QUOR::IMAGE_GREY_8, CSize(width, 1, 1));
        Write("a.npy", *image);
        EXPECT_EQ((Get("a.npy").size() - static_cast<std::size_t>(width)) % 64, 0U);
    }
}

TEST_F(NpyFile, ColourPlanesComeFirst) {
    const ImagePtr image =
        MakeImage<std::uint8_t>(QUOR::IMAGE_RGB_8, CSize(2, 1, 2), {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24});
    Write("a.npy", *image);
    EXPECT_NE(Get("a.npy").find("'shape': (3, 2, 1, 2)"), std::string::npos);
    EXPECT_TRUE(SameImage(*image, *ReadAs("a.npy", QUOR::IMAGE_RGB_8)));
    EXPECT_EQ(ReadError("a.npy"),
              "a.npy: an array of shape (3, 2, 1, 2) can be read as IMAGE_RGB_8 only, when that type is asked for");
    Put("b.npy", Array("|u1", "(3, 1, 2)", "abcdef"));
    EXPECT_TRUE(SameImage(*MakeImage<char>(QUOR::IMAGE_GREY_8, CSize(2, 1, 3), {'a', 'b', 'c', 'd', 'e', 'f'}),
                          *Read("b.npy")));
    EXPECT_TRUE(SameImage(*MakeImage<char>(QUOR::IMAGE_RGB_8, CSize(2, 1), {'a', 'b', 'c', 'd', 'e', 'f'}),
                          *ReadAs("b.npy", QUOR::IMAGE_RGB_8)));
}

TEST_F(NpyFile, ReadsEitherByteOrder) {
    const auto expectRead = [&](const std::string& dtype, const IImage::CType& type, const std::string& big) {
        SCOPED_TRACE(dtype);
        std::string little = big;
        std::reverse(little.begin(), little.end());
        Put("big.npy", Array(">" + dtype, "(1, 1)", big));
        Put("little.npy", Array("<" + dtype, "(1, 1)", little));
        EXPECT_EQ(Read("big.npy")->Type(), type);
        EXPECT_TRUE(SameImage(*Read("little.npy"), *Read("big.npy")));
    };
    expectRead("u2", QUOR::IMAGE_GREY_16, "\x12\x34");
    expectRead("u4", QUOR::IMAGE_GREY_32, "\x12\x34\x56\x78");
    expectRead("u8", QUOR::IMAGE_GREY_64, "\x12\x34\x56\x78\x9a\xbc\xde\xf1");
    expectRead("f4", QUOR::IMAGE_GREY_F, "\x7f\x81\x02\x03");
    expectRead("f8", QUOR::IMAGE_GREY_D, "\x7f\xf1\x02\x03\x04\x05\x06\x07");
    Put("a.npy", Array(">u2", "(1, 2)", "\x12\x34\x56\x78"));
    EXPECT_EQ(ElementsOf<std::uint16_t>(*Read("a.npy")), (std::vector<std::uint16_t>{0x1234, 0x5678}));
    for (const char* order : {"|", "<", ">"}) {
        Put("a.npy", Array(std::string(order) + "u1", "(1, 2)", "ab"));
        EXPECT_EQ(BytesOf(*Read("a.npy")), (std::vector<std::uint8_t>{'a', 'b'}));
    }
}

TEST_F(NpyFile, ReadsEveryVersion) {
    const std::string dictionary = Header("|u1", "(1, 2)");
    for (const std::uint8_t version : {std::uint8_t{2}, std::uint8_t{3}}) {
        Put("a.npy", (CBytes() << "\x93NUMPY" << version << std::uint8_t{0}
                               << static_cast<std::uint32_t>(dictionary.size()) << dictionary << "ab")
                         .Text());
        EXPECT_EQ(BytesOf(*Read("a.npy")), (std::vector<std::uint8_t>{'a', 'b'}));
    }
    Put("a.npy", std::string("\x93NUMPY\4\0ab", 10));
    EXPECT_EQ(ReadError("a.npy"), "a.npy: npy version 4.0 can't be read: 1.0, 2.0 and 3.0 can");
    Put("a.npy", std::string("\x93NUMPY\1\7ab", 10));
    EXPECT_EQ(ReadError("a.npy"), "a.npy: npy version 1.7 can't be read: 1.0, 2.0 and 3.0 can");
}

TEST_F(NpyFile, ReadsTheHeaderInAnyLayout) {
    for (const char* dictionary : {
             "{'descr':'|u1','fortran_order':False,'shape':(1,2)}",
             "{\"shape\": (1, 2,), \"descr\": \"|u1\", \"fortran_order\": False}",
             " { 'fortran_order' : False , 'shape' : ( 1 , 2 ) , 'descr' : '|u1' , } \n",
         }) {
        Put("a.npy", Npy(dictionary, "ab"));
        EXPECT_TRUE(SameImage(*MakeImage<char>(QUOR::IMAGE_GREY_8, CSize(2, 1), {'a', 'b'}), *Read("a.npy")))
            << dictionary;
    }
}

TEST_F(NpyFile, ReadsBytesAsTheTypeThatIsAskedFor) {
    Put("a.npy", Array("|u1", "(1, 2)", "\1\7"));
    Put("b.npy", Array("|b1", "(1, 2)", std::string("\1\0", 2)));
    for (const IImage::CType& type : {QUOR::IMAGE_GREY_8, QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG}) {
        EXPECT_TRUE(SameImage(*MakeImage<char>(type, CSize(2, 1), {1, 7}), *ReadAs("a.npy", type)));
        EXPECT_TRUE(SameImage(*MakeImage<char>(type, CSize(2, 1), {1, 0}), *ReadAs("b.npy", type)));
    }
    EXPECT_EQ(Read("a.npy")->Type(), QUOR::IMAGE_GREY_8);
    EXPECT_EQ(Read("b.npy")->Type(), QUOR::IMAGE_BINARY_FG);
    EXPECT_EQ(ReadErrorAs("a.npy", QUOR::IMAGE_GREY_16),
              "a.npy: an array of shape (1, 2) and dtype 'u1' can be read as IMAGE_GREY_8, IMAGE_BINARY_FG or "
              "IMAGE_BINARY_BG, not as IMAGE_GREY_16");
    EXPECT_EQ(ReadErrorAs("a.npy", QUOR::IMAGE_RGB_8),
              "a.npy: an array of shape (1, 2) and dtype 'u1' can be read as IMAGE_GREY_8, IMAGE_BINARY_FG or "
              "IMAGE_BINARY_BG, not as IMAGE_RGB_8");
    Put("c.npy", Array("<u2", "(3, 1, 1)", "aabbcc"));
    EXPECT_EQ(ReadErrorAs("c.npy", QUOR::IMAGE_RGB_8),
              "c.npy: an array of shape (3, 1, 1) and dtype 'u2' can be read as IMAGE_GREY_16, not as IMAGE_RGB_8");
}

TEST_F(NpyFile, RefusesArraysThatAreNoImages) {
    const auto error = [&](const std::string& bytes) {
        Put("a.npy", bytes);
        return ReadError("a.npy");
    };
    for (const char* dtype :
         {"<i2", "|i1", "<f2", "<c8", "|O", "|S5", "<U3", "|V8", "<M8[ns]", "=u2", "|u2", "u1", ""}) {
        EXPECT_EQ(error(Array(dtype, "(1, 1)", "ab")),
                  std::string("a.npy: the dtype '") + dtype +
                      "' can't be read: '|b1', '|u1', '<u2', '<u4', '<u8', '<f4' and '<f8' can, also with '>'");
    }
    EXPECT_EQ(error(Npy("{'descr': [('x', '<f4')], 'fortran_order': False, 'shape': (1, 1)}", "abcd")),
              "a.npy: arrays of structures can't be read: an array of numbers is needed");
    EXPECT_EQ(error(Npy("{'descr': '|u1', 'fortran_order': True, 'shape': (1, 1)}", "a")),
              "a.npy: arrays in Fortran order can't be read: C order is needed");
    EXPECT_EQ(error(Array("|u1", "()", "a")),
              "a.npy: an array of shape () is no image: (rows, columns) and (slices, rows, columns) are");
    EXPECT_EQ(error(Array("|u1", "(1,)", "a")),
              "a.npy: an array of shape (1,) is no image: (rows, columns) and (slices, rows, columns) are");
    EXPECT_EQ(error(Array("|u1", "(1, 1, 1, 1)", "a")),
              "a.npy: an array of shape (1, 1, 1, 1) is no image: (rows, columns) and (slices, rows, columns) are");
    EXPECT_EQ(error(Array("|u1", "(3, 1, 1, 1, 1)", "abc")),
              "a.npy: an array of shape (3, 1, 1, 1, 1) is no image: (rows, columns) and (slices, rows, columns) are");
}

TEST_F(NpyFile, RefusesDamagedHeaders) {
    const auto error = [&](const std::string& bytes) {
        Put("a.npy", bytes);
        return ReadError("a.npy");
    };
    for (const char* dictionary : {
             "",
             "{",
             "{}",
             "[]",
             "{'descr': '|u1', 'fortran_order': False}",
             "{'descr': '|u1', 'shape': (1, 1)}",
             "{'fortran_order': False, 'shape': (1, 1)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, 1)",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, 1)} x",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, 1), 'more': 1}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, 1), 'descr': '|u1'}",
             "{'descr': '|u1', 'fortran_order': False 'shape': (1, 1)}",
             "{'descr': '|u1', 'fortran_order': False,, 'shape': (1, 1)}",
             "{'descr': '|u1}",
             "{'descr': 'a\\'b', 'fortran_order': False, 'shape': (1, 1)}",
             "{'descr': '|u\n', 'fortran_order': False, 'shape': (1, 1)}",
             "{'descr': u1, 'fortran_order': False, 'shape': (1, 1)}",
             "{'descr': '|u1', 'fortran_order': 0, 'shape': (1, 1)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': 1}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1 1)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, -1)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, +1)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, 1.0)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, 9223372036854775808)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (,)}",
             "{'descr': '|u1', 'fortran_order': False, 'shape': (1, 1",
         }) {
        EXPECT_EQ(error(Npy(dictionary, "a")),
                  "a.npy: the npy header is damaged: a dictionary with 'descr', 'fortran_order' and 'shape' is needed")
            << dictionary;
    }
    const std::string signature = "a.npy: this is no npy file: it doesn't begin with the npy signature";
    EXPECT_EQ(error(""), signature);
    EXPECT_EQ(error("\x93NUMP"), signature);
    EXPECT_EQ(error("\x89PNG\r\n\x1a\n0123456789"), signature);
    const std::string length = "a.npy: the npy header is damaged: it is cut off or its length is wrong";
    EXPECT_EQ(error("\x93NUMPY"), length);
    EXPECT_EQ(error(std::string("\x93NUMPY\1\0\7", 9)), length);
    EXPECT_EQ(error(std::string("\x93NUMPY\1\0\7\0ab", 12)), length);
    EXPECT_EQ(error(std::string("\x93NUMPY\2\0\1\0\0", 11)), length);
    EXPECT_EQ(error(std::string("\x93NUMPY\2\0\xff\xff\xff\xff", 12) + std::string(100000, ' ')), length);
}

TEST_F(NpyFile, RequiresExactlyTheArraysBytes) {
    const auto error = [&](const std::string& shape, const std::string& data) {
        Put("a.npy", Array("<u2", shape, data));
        return ReadError("a.npy");
    };
    EXPECT_EQ(error("(1, 2)", "abc"),
              "a.npy: an array of shape (1, 2) and dtype 'u2' doesn't take the 3 bytes behind the header");
    EXPECT_EQ(error("(1, 2)", "abcde"),
              "a.npy: an array of shape (1, 2) and dtype 'u2' doesn't take the 5 bytes behind the header");
    EXPECT_EQ(error("(1, 0)", "a"),
              "a.npy: an array of shape (1, 0) and dtype 'u2' doesn't take the 1 bytes behind the header");
    // These products wrap to 4 bytes in 64 bits.
    EXPECT_EQ(error("(4611686018427387904, 4)", ""),
              "a.npy: an array of shape (4611686018427387904, 4) and dtype 'u2' doesn't take the 0 bytes behind the "
              "header");
    EXPECT_EQ(error("(9223372036854775807, 9223372036854775807, 9223372036854775807)", "ab"),
              "a.npy: an array of shape (9223372036854775807, 9223372036854775807, 9223372036854775807) and dtype 'u2' "
              "doesn't take the 2 bytes behind the header");
}

TEST_F(NpyFile, EmptyArraysCanHaveLargeExtents) {
    Put("a.npy", Array("<u2", "(0, 4611686018427387904)", ""));
    EXPECT_TRUE(SameImage(*ZeroImage(QUOR::IMAGE_GREY_16, CSize(std::int64_t{1} << 62, 0)), *Read("a.npy")));
    Put("a.npy", Array("<f8", "(4611686018427387904, 4611686018427387904, 0)", ""));
    EXPECT_TRUE(SameImage(*ZeroImage(QUOR::IMAGE_GREY_D, CSize(0, std::int64_t{1} << 62, std::int64_t{1} << 62)),
                          *Read("a.npy")));
}

TEST_F(NpyFile, LimitsTheBytes) {
    Put("a.npy", Array("<u2", "(2, 3)", "abcdefghijkl"));
    {
        const CRoomForImages room(12);
        EXPECT_EQ(ReadError("a.npy"), "");
    }
    const CRoomForImages room(11);
    EXPECT_EQ(ReadError("a.npy"),
              "a.npy: an image of 12 bytes would take the images beyond the limit of 11 bytes (0 in "
              "use): --max-memory raises the limit");
}

TEST_F(NpyFile, RefusesWhatItCantHold) {
    const ImagePtr named = ZeroImage(QUOR::IMAGE_GREY_8, CSize(2, 2));
    named->Attributes().SetEntry("Image/ContentType", new QUOR::CValueString("table"));
    EXPECT_EQ(WriteError("a.npy", *named),
              "a.npy: npy can't hold the image's attributes (the first one is 'Image'): TIFF can");
    CSize deep(2, 2, 3);
    deep.SetDim(2);
    EXPECT_EQ(WriteError("a.npy", *ZeroImage(QUOR::IMAGE_GREY_8, deep)),
              "a.npy: npy can't hold an image that counts as 2-dimensional and has 3 slices: TIFF can");
    const IImage::CType other("IMAGE_CMYK_8", 4, 1, false, 99);
    EXPECT_EQ(WriteError("a.npy", *ZeroImage(other, CSize(2, 2))),
              "a.npy: npy can't hold IMAGE_CMYK_8: it holds IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_GREY_8, "
              "IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, IMAGE_GREY_F, IMAGE_GREY_D or IMAGE_RGB_8");
    EXPECT_TRUE(Names().empty());
}

TEST_F(NpyFile, DamagedFilesDoNoHarm) {
    std::mt19937 random(2);
    for (const IImage::CType& type : AllTypes()) {
        SCOPED_TRACE(type.ToString());
        Write("a.npy", *RandomImage(type, type == QUOR::IMAGE_RGB_8 ? CSize(3, 2) : CSize(3, 2, 2), random));
        ReadEveryPrefix("a.npy");
        ReadWithEveryByteChanged("a.npy", 128);
    }
}

} // namespace
} // namespace vessa::test
