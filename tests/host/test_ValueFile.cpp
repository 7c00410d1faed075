#include "FileTest.h"

#include "OutputFile.h"
#include "SmallDisk.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <utility>

namespace vessa::test {
namespace {

using ValueFile = FileTest;
namespace fs = std::filesystem;

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

ImagePtr SmallImage() { return MakeImage<std::uint8_t>(QUOR::IMAGE_GREY_8, CSize(2, 2), {1, 2, 3, 4}); }

const std::vector<std::string> kImageNames{"a.png", "a.tif", "a.npy"};

TEST_F(ValueFile, KnowsTheTypesByName) {
    EXPECT_EQ(AllTypes().size(), 9U);
    for (const IImage::CType& type : AllTypes()) {
        EXPECT_EQ(TypeByName(type.ToString()), type);
    }
    EXPECT_EQ(TypeByName("IMAGE_GREY_F"), QUOR::IMAGE_GREY_F);
    EXPECT_EQ(TypeByName("IMAGE_MONO_BINARY"), std::nullopt);
    EXPECT_EQ(TypeByName(""), std::nullopt);
}

TEST_F(ValueFile, KnowsTheFormatsByTheEnding) {
    const std::vector<std::pair<const char*, EnFormat>> known{
        {"a.png", EnFormat::Png},   {"a.PNG", EnFormat::Png},     {"a.tif", EnFormat::Tiff},
        {"a.tiff", EnFormat::Tiff}, {"b/a.Tiff", EnFormat::Tiff}, {"a.npy", EnFormat::Npy},
        {"a.json", EnFormat::Json}, {"a.b.json", EnFormat::Json}};
    for (const auto& [name, format] : known) {
        EXPECT_EQ(FormatOf(name), format) << name;
        EXPECT_TRUE(FormatOf(name).has_value()) << name;
    }
    for (const char* name : {"", "a", "png", "a.jpg", "a.png ", "a.png/b", "a.npz", "-"}) {
        EXPECT_EQ(FormatOf(name), std::nullopt) << name;
        EXPECT_FALSE(FormatOf(name).has_value()) << name;
    }
    const std::string error = ": the name's ending tells no known format: .png, .tif, .tiff and .npy are images, .json "
                              "is a map";
    Put("a.jpg", "x");
    EXPECT_EQ(ReadError("a.jpg"), "a.jpg" + error);
    EXPECT_EQ(WriteError("a", *SmallImage()), "a" + error);
}

TEST_F(ValueFile, KnowsTheFormatsByName) {
    EXPECT_EQ(FormatNames(), (std::vector<std::string>{"png", "tiff", "npy", "json"}));
    EXPECT_EQ(FormatByName("png"), EnFormat::Png);
    EXPECT_EQ(FormatByName("tiff"), EnFormat::Tiff);
    EXPECT_EQ(FormatByName("npy"), EnFormat::Npy);
    EXPECT_EQ(FormatByName("json"), EnFormat::Json);
    for (const char* name : {"", "PNG", "tif", ".png"}) {
        EXPECT_EQ(FormatByName(name), std::nullopt) << name;
    }
}

TEST_F(ValueFile, OnlyTheEndingTellsTheFormatOfAFile) {
    const ImagePtr image = SmallImage();
    const QUOR::CValuePointer<CImage> value(image.get());
    try {
        StageValue(Path("a.png"), value, {.format = EnFormat::Png});
        ADD_FAILURE();
    } catch (const CFileError& failure) {
        EXPECT_EQ(failure.what(), Path("a.png") + ": the name's ending tells the format: another one can be chosen "
                                                  "for standard output only");
    }
    EXPECT_TRUE(Names().empty());
}

TEST_F(ValueFile, ReadsImagesAsOwnedPointers) {
    Write("a.png", *SmallImage());
    const auto value = ReadValue(Path("a.png"), {});
    EXPECT_EQ(value->Type(), *QUOR::CValueOwnedPointer<CImage>::TypeId());
    EXPECT_TRUE(SameImage(*SmallImage(), *QUOR::UnwrapPointer<CImage>(value.get())));
}

TEST_F(ValueFile, EachKindOfValueHasItsFormats) {
    std::size_t index = 0;
    for (const std::string& name : kImageNames) {
        const std::string ending = " can't be written as " + FormatNames()[index++] + ": an image can";
        EXPECT_EQ(WriteError(name, CValueMap()), name + ": a map" + ending);
        EXPECT_EQ(WriteError(name, QUOR::CValueVector()), name + ": a vector" + ending);
        EXPECT_EQ(WriteError(name, QUOR::CValueOwnedPointer<CImage>()), name + ": a pointer without an image" + ending);
        EXPECT_EQ(WriteError(name, QUOR::CValueOwnedPointer<int>(new int(3))),
                  name + ": a pointer without an image" + ending);
    }
    EXPECT_EQ(WriteError("a.json", *SmallImage()), "a.json: an image can't be written as json: a map can");
    EXPECT_TRUE(Names().empty());
}

TEST_F(ValueFile, OnlyRegularFilesAreRead) {
    for (const char* name : {"a.png", "a.tif", "a.npy", "a.json"}) {
        EXPECT_EQ(ReadError(name), std::string(name) + ": can't be read: No such file or directory");
        fs::create_directory(Path(name));
        EXPECT_EQ(ReadError(name), std::string(name) + ": can't be read: it is a folder, a regular file is needed");
    }
    ASSERT_EQ(::mkfifo(Path("pipe.png").c_str(), 0600), 0);
    EXPECT_EQ(ReadError("pipe.png"), "pipe.png: can't be read: it is a pipe, a regular file is needed");
    fs::create_symlink("/dev/zero", Path("zero.npy"));
    EXPECT_EQ(ReadError("zero.npy"), "zero.npy: can't be read: it is a device, a regular file is needed");
    EXPECT_EQ(ReadError("none/a.png"), "none/a.png: can't be read: No such file or directory");
}

TEST_F(ValueFile, OnlyRegularFilesAreReplaced) {
    fs::create_directory(Path("a.png"));
    EXPECT_EQ(WriteError("a.png", *SmallImage()),
              "a.png: can't be written: it is a folder, only a regular file can be replaced");
    ASSERT_EQ(::mkfifo(Path("pipe.png").c_str(), 0600), 0);
    EXPECT_EQ(WriteError("pipe.png", *SmallImage()),
              "pipe.png: can't be written: it is a pipe, only a regular file can be replaced");
    fs::create_symlink("/dev/null", Path("null.png"));
    EXPECT_EQ(WriteError("null.png", *SmallImage()),
              "null.png: can't be written: it is a device, only a regular file can be replaced");
    EXPECT_EQ(WriteError("none/a.png", *SmallImage()), "none/a.png: can't be written: No such file or directory");
    EXPECT_EQ(Names(), (std::set<std::string>{"a.png", "null.png", "pipe.png"}));
}

TEST_F(ValueFile, FilesAppearWholeOrNotAtAll) {
    std::mt19937 random(1);
    const ImagePtr large = RandomImage(QUOR::IMAGE_GREY_8, CSize(300, 300), random);
    CValueMap map;
    map.SetEntry("a", new QUOR::CValueString(CString(std::string(50000, 'x'))));
    for (const std::string& name : kImageNames) {
        const CSmallDisk disk(20000);
        EXPECT_EQ(WriteError(name, *large), name + ": can't be written: File too large");
    }
    {
        const CSmallDisk disk(20000);
        EXPECT_EQ(WriteError("a.json", map), "a.json: can't be written: File too large");
    }
    EXPECT_TRUE(Names().empty());

    for (const std::string& name : kImageNames) {
        Put(name, "what was there");
        {
            const CSmallDisk disk(20000);
            EXPECT_EQ(WriteError(name, *large), name + ": can't be written: File too large");
        }
        EXPECT_EQ(Get(name), "what was there");
        Write(name, *large);
        EXPECT_TRUE(SameImage(*large, *Read(name)));
    }
    EXPECT_EQ(Names(), (std::set<std::string>{"a.npy", "a.png", "a.tif"}));
}

TEST_F(ValueFile, RefusedValuesLeaveTheOldFile) {
    Put("a.png", "what was there");
    EXPECT_NE(WriteError("a.png", *ZeroImage(QUOR::IMAGE_GREY_F, CSize(2, 2))), "");
    EXPECT_EQ(Get("a.png"), "what was there");
    EXPECT_EQ(Names(), std::set<std::string>{"a.png"});
}

TEST_F(ValueFile, AnUncommittedFileVanishes) {
    {
        COutputFile file(Path("a.npy"));
        EXPECT_TRUE(file.Append("abc", 3));
        EXPECT_FALSE(Names().contains("a.npy"));
    }
    EXPECT_TRUE(Names().empty());
}

TEST_F(ValueFile, StagedValuesAppearWhenTheyAreCommitted) {
    Put("b.json", "what was there");
    std::vector<std::unique_ptr<COutputFile>> staged;
    {
        const ImagePtr image = SmallImage();
        staged.push_back(StageValue(Path("a.png"), QUOR::CValuePointer<CImage>(image.get())));
        staged.push_back(StageValue(Path("b.json"), CValueMap()));
        staged.push_back(StageValue(Path("c.npy"), QUOR::CValuePointer<CImage>(image.get())));
    } // the images aren't needed any more
    EXPECT_EQ(Get("b.json"), "what was there");
    EXPECT_FALSE(Names().contains("a.png"));
    staged[0]->Commit();
    staged[1]->Commit();
    staged.clear();
    EXPECT_EQ(Names(), (std::set<std::string>{"a.png", "b.json"}));
    EXPECT_TRUE(SameImage(*SmallImage(), *Read("a.png")));
    EXPECT_EQ(Get("b.json"), "{}\n");
}

TEST_F(ValueFile, WhatCantBeWrittenFailsBeforeItIsCommitted) {
    std::mt19937 random(1);
    const ImagePtr large = RandomImage(QUOR::IMAGE_GREY_8, CSize(300, 300), random);
    CValueMap map;
    map.SetEntry("a", new QUOR::CValueString(CString(std::string(50000, 'x'))));
    const CSmallDisk disk(20000);
    for (const std::string& name : kImageNames) {
        EXPECT_THROW(StageValue(Path(name), QUOR::CValuePointer<CImage>(large.get())), CFileError) << name;
    }
    EXPECT_THROW(StageValue(Path("a.json"), map), CFileError);
    EXPECT_TRUE(Names().empty());
}

TEST_F(ValueFile, AKilledProcessLeavesNoFile) {
    std::array<int, 2> ready{};
    ASSERT_EQ(::pipe(ready.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const ImagePtr image = SmallImage();
        const auto staged = StageValue(Path("a.tif"), QUOR::CValuePointer<CImage>(image.get()));
        const bool told = staged != nullptr && ::write(ready[1], "x", 1) == 1;
        ::pause();
        ::_exit(told ? 0 : 1);
    }
    ::close(ready[1]);
    char byte = 0;
    EXPECT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
    EXPECT_EQ(::kill(child, SIGKILL), 0);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    // Where the file system has no files without a name, one of another name stays.
    const int unnamed = ::open(Path("").c_str(), O_TMPFILE | O_RDWR, 0600);
    EXPECT_EQ(Names().size(), unnamed >= 0 ? 0U : 1U);
    EXPECT_FALSE(Names().contains("a.tif"));
    ::close(unnamed);
}

TEST_F(ValueFile, SeveralFilesAreWrittenAtOnce) {
    COutputFile first(Path("a.npy"));
    COutputFile second(Path("a.npy"));
    first.Append("1", 1);
    second.Append("2", 1);
    second.Commit();
    first.Commit();
    EXPECT_EQ(Get("a.npy"), "1"); // the last one that is moved there stays
}

TEST_F(ValueFile, PermissionsFollowTheOldFileOrTheMask) {
    const mode_t mask = ::umask(027);
    Write("new.png", *SmallImage());
    EXPECT_EQ(ModeOf(Path("new.png")), 0640U);
    ::umask(mask);
    ASSERT_EQ(::chmod(Path("new.png").c_str(), 0606), 0);
    Write("new.png", *SmallImage());
    EXPECT_EQ(ModeOf(Path("new.png")), 0606U);
}

TEST_F(ValueFile, LinksStayAndTheirFileIsReplaced) {
    fs::create_directory(Path("inner"));
    Put("inner/real.png", "old");
    fs::create_symlink("inner/real.png", Path("one.png"));
    fs::create_symlink(Path("one.png"), Path("two.png"));
    Write("two.png", *SmallImage());
    EXPECT_TRUE(fs::is_symlink(Path("two.png")));
    EXPECT_TRUE(fs::is_symlink(Path("one.png")));
    EXPECT_TRUE(SameImage(*SmallImage(), *Read("inner/real.png")));

    fs::create_symlink("inner/new.png", Path("dangling.png"));
    Write("dangling.png", *SmallImage());
    EXPECT_TRUE(fs::is_symlink(Path("dangling.png")));
    EXPECT_TRUE(SameImage(*SmallImage(), *Read("inner/new.png")));

    fs::create_symlink("loop.png", Path("loop.png"));
    EXPECT_EQ(WriteError("loop.png", *SmallImage()), "loop.png: can't be written: Too many levels of symbolic links");
}

TEST_F(ValueFile, PlainNamesLieInTheCurrentFolder) {
    const fs::path before = fs::current_path();
    fs::current_path(Path(""));
    WriteValue("a.json", CValueMap());
    fs::current_path(before);
    EXPECT_EQ(Names(), std::set<std::string>{"a.json"});
}

TEST(Samples, HaveTheirTypesAndSizes) {
    struct StSample {
        const char* name;
        IImage::CType type;
        CSize size;
    };
    const std::vector<StSample> samples{
        {"particles.png", QUOR::IMAGE_GREY_8, CSize(360, 270)},
        {"labels.tif", QUOR::IMAGE_GREY_F, CSize(360, 270)},
        {"mask.png", QUOR::IMAGE_BINARY_FG, CSize(360, 270)},
        {"workpiece.png", QUOR::IMAGE_GREY_8, CSize(400, 320)},
        {"workpiece_mask.png", QUOR::IMAGE_BINARY_FG, CSize(400, 320)},
        {"colour.png", QUOR::IMAGE_RGB_8, CSize(320, 240)},
        {"volume.tif", QUOR::IMAGE_GREY_8, CSize(64, 48, 12)},
        {"ring.png", QUOR::IMAGE_GREY_8, CSize(256, 256)},
        {"table.tif", QUOR::IMAGE_GREY_F, CSize(6, 12)},
        {"shift_x.npy", QUOR::IMAGE_GREY_F, CSize(360, 270)},
        {"shift_y.npy", QUOR::IMAGE_GREY_F, CSize(360, 270)},
        {"palette.png", QUOR::IMAGE_RGB_8, CSize(16, 1)},
        {"map.npy", QUOR::IMAGE_GREY_F, CSize(256, 1)},
        {"size_classes.png", QUOR::IMAGE_GREY_8, CSize(4096, 1)},
    };
    std::set<std::string> names{"README.md", "examples.txt", "groups.txt"};
    for (const StSample& sample : samples) {
        const auto value = ReadValue(std::string(SAMPLES_DIRECTORY) + "/" + sample.name, {});
        const CImage& image = *QUOR::UnwrapPointer<CImage>(value.get());
        EXPECT_EQ(image.Type(), sample.type) << sample.name;
        EXPECT_EQ(image.Size(), sample.size) << sample.name;
        names.insert(sample.name);
    }
    std::set<std::string> present;
    for (const auto& entry : fs::directory_iterator(SAMPLES_DIRECTORY)) {
        present.insert(entry.path().filename().string());
    }
    EXPECT_EQ(present, names);
}

TEST(Samples, HaveTheirContent) {
    const auto read = [](const char* name) { return ReadValue(std::string(SAMPLES_DIRECTORY) + "/" + name, {}); };
    const auto palette = read("palette.png"); // the colours 000000, e6504b, ..., fff3c4
    const auto planes = BytesOf(*QUOR::UnwrapPointer<CImage>(palette.get()));
    EXPECT_EQ(std::vector<std::uint8_t>(planes.begin(), planes.begin() + 2), (std::vector<std::uint8_t>{0x00, 0xe6}));
    EXPECT_EQ(planes[17], 0x50);
    EXPECT_EQ(planes[33], 0x4b);
    EXPECT_EQ(planes[47], 0xc4);

    const auto map = read("map.npy");
    const auto curve = ElementsOf<float>(*QUOR::UnwrapPointer<CImage>(map.get()));
    EXPECT_EQ(curve.front(), 0.0F);
    EXPECT_EQ(curve.back(), 255.0F);

    const auto labels = read("labels.tif");
    const auto elements = ElementsOf<float>(*QUOR::UnwrapPointer<CImage>(labels.get()));
    EXPECT_EQ(*std::max_element(elements.begin(), elements.end()), 40.0F);

    const auto table = read("table.tif");
    const CValueMap& attributes = QUOR::UnwrapPointer<CImage>(table.get())->Attributes();
    EXPECT_EQ(attributes.EntryString("Image/ContentType", ""), "table");
    EXPECT_EQ(attributes.EntryString("Image/table-type", ""), "features");
    EXPECT_EQ(attributes.EntryString("Image/x-name", ""), "feature");
    EXPECT_EQ(attributes.EntryString("Image/y-name", ""), "particle");
    EXPECT_EQ(attributes.EntryString("Image/f-name", ""), "value");
    ASSERT_TRUE(attributes.HasEntry("Image/x-keys", EnValType::Vector));
    ASSERT_TRUE(attributes.HasEntry("Image/y-keys", EnValType::Vector));
    const auto& keys = *attributes.Entry("Image/y-keys", true)->Vector();
    EXPECT_EQ(keys.Size(), 12U);
    EXPECT_EQ(keys.Entry(11, true)->String(), "11b");
}

} // namespace
} // namespace vessa::test
