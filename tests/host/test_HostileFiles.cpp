// The built program on files and names that were made to harm it: each ends in one line and takes neither time nor
// memory that the file itself doesn't account for.

#include "FileTest.h"
#include "ProgramTest.h"

#include <chrono>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const std::string kImage = SAMPLES_DIRECTORY "/particles.png";

/// The exit status of a shell's line in the folder, in which "vessa" is the built program.
int Shell(const CTestFolder& folder, const std::string& line) {
    const std::string prefix = "cd '" + folder.Path().string() + "' && vessa() { '" VESSA_PROGRAM "' \"$@\"; } && ";
    const int status = std::system((prefix + line).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// The largest memory that any program started from here has had, in KiB.
long PeakOfPrograms() {
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss;
}

std::string Entry(std::uint16_t tag, std::uint32_t value) {
    return (CBytes() << tag << std::uint16_t{4} << std::uint32_t{1} << value).Text();
}

/// The directory of a page of one strip at `offset`, which the next page's directory follows if there is `more`.
std::string Page(std::uint32_t width, std::uint32_t height, std::uint32_t compression, std::uint32_t bytes,
                 std::uint32_t next) {
    const std::string entries = Entry(256, width) + Entry(257, height) + Entry(258, 8) + Entry(259, compression) +
                                Entry(262, 1) + Entry(273, 8) + Entry(277, 1) + Entry(278, height) + Entry(279, bytes);
    return (CBytes() << std::uint16_t{9} << entries << next).Text();
}
constexpr std::uint32_t kPageBytes = 2 + 9 * 12 + 4;

/// A TIFF file whose pages all show the same strip, `data`.
std::string SharedStrip(std::uint32_t pages, std::uint32_t width, std::uint32_t height, std::uint32_t compression,
                        const std::string& data) {
    const auto first = static_cast<std::uint32_t>(8 + data.size());
    std::string bytes = (CBytes() << std::string("II") << std::uint16_t{42} << first << data).Text();
    for (std::uint32_t page = 0; page < pages; ++page) {
        const std::uint32_t next = page + 1 == pages ? 0 : first + (page + 1) * kPageBytes;
        bytes += Page(width, height, compression, static_cast<std::uint32_t>(data.size()), next);
    }
    return bytes;
}

constexpr std::uint32_t kLzma = 34925;

TEST(HostileFiles, HeadersThatClaimMoreThanTheFileHoldsTakeNoMemory) {
    const CTestFolder folder;
    const std::string header = "{'descr': '|u1', 'fortran_order': False, 'shape': (40000, 50000)}";
    folder.Write("shape.npy", (CBytes() << std::string("\x93NUMPY\1\0", 8) << static_cast<std::uint16_t>(header.size())
                                        << header << std::string("ab"))
                                  .Text());
    folder.Write("plain.tif", SharedStrip(1, 50000, 40000, 1, "abcdefgh"));
    folder.Write("pages.tif", SharedStrip(20000, 1000, 100, 1, std::string(100000, 'x')));
    folder.Write("lzma.tif", SharedStrip(1, 50000, 40000, kLzma, "abcdefgh"));
    const std::vector<std::pair<std::string, std::string>> refusals{
        {"shape.npy", "an array of shape (40000, 50000) and dtype 'u1' doesn't take the 2 bytes behind the header"},
        {"plain.tif", "it claims 50000x40000 pixels of 8-bit grey, which a file of 130 bytes can't hold"},
        {"pages.tif", "page 24: up to this page, more pixels are claimed than a file of 2380008 bytes can hold"},
        {"lzma.tif", "the TIFF data are damaged: LZMADecode: Decoding error at scanline 0, no progress is possible "
                     "(stream is truncated or corrupt)"}};
    for (const auto& [name, reason] : refusals) {
        EXPECT_EQ(RunBuilt(folder.Path(), {"run", "Flip", "-i", name, "-o", "o.npy", "--max-memory", "16G"}),
                  (StResult{1, "", "vessa: Flip: " + name + ": " + reason + "\n"}));
    }
    constexpr long most = 600 * 1024; // the address sanitizer takes an eighth of a block that nobody touches
    EXPECT_LT(PeakOfPrograms(), most) << "each of them claims 2 GB";
}

/// How deep a file can nest, how long its names can be, and how many of them there are.
TEST(HostileFiles, TextsOfAnySizeAndDepthAreToldOfInOneLine) {
    const CTestFolder folder;
    const std::string letters(5000000, 'x');
    std::string deep;
    for (int level = 0; level < 100000; ++level) {
        deep += "{\"a\":";
    }
    folder.Write("deep.json", deep);
    folder.Write("open.json", "{\"a\": \"" + letters);
    folder.Write("key.json", "{\"" + letters + "\": 1}");
    folder.Write("number.json", "{\"a\": " + std::string(5000000, '1') + "}");
    folder.Write("path.json", "{\"" + letters + "\": [null, 99999999999]}");
    const auto told = [&](const char* name) {
        const StResult result = RunBuilt(folder.Path(), {"pipeline", name, "-o", "o=o.png"});
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << name;
        EXPECT_LT(result.err.size(), 5000U) << name;
        EXPECT_TRUE(result.status == 1 || result.status == 2) << result.status;
        return result.err;
    };
    EXPECT_EQ(told("deep.json"), "vessa: deep.json: maps and vectors are nested deeper than 64 levels\n");
    EXPECT_TRUE(told("open.json").starts_with("vessa: open.json: no valid JSON in line 1, column 5000008: "));
    EXPECT_TRUE(told("key.json").starts_with("vessa: key.json: unknown key 'xxxx"));
    EXPECT_TRUE(told("number.json").starts_with("vessa: number.json: no valid JSON in line 1, column 5000006: "));
    EXPECT_TRUE(told("path.json").starts_with("vessa: path.json: the entry xxxx"));
}

TEST(HostileFiles, AGraphHasALimitWhereverItComesFrom) {
    const CTestFolder folder;
    const std::string graph = R"({"nodes": {"n": {"node": "Flip", "inputs": [null]}}, "outputs": {"o": "n"}})";
    const std::string blanks((std::size_t{1} << 24) - graph.size(), ' ');
    folder.Write("most.json", graph + blanks);
    folder.Write("large.json", graph + blanks + " ");
    const auto told = [&](const std::string& before, const std::string& file) {
        const int status = Shell(folder, before + "vessa pipeline " + file + " -n -o o=o.png > plan 2> talk");
        return StResult{status, TextOf(folder / "plan"), TextOf(folder / "talk")};
    };
    const StResult planned{0, "run    n (Flip) on none\nwrite  o.png from n\n", ""};
    EXPECT_EQ(told("", "most.json"), planned);
    EXPECT_EQ(told("", "- < most.json"), planned);
    EXPECT_EQ(told("cat most.json | ", "-"), planned);
    const auto refused = [](const std::string& name) {
        return StResult{2, "",
                        "vessa: " + name + ": it has more than the 16777216 bytes that a graph has at the most\n"};
    };
    EXPECT_EQ(told("", "large.json"), refused("large.json"));
    EXPECT_EQ(told("", "- < large.json"), refused("standard input"));
    EXPECT_EQ(told("cat large.json | ", "-"), refused("standard input"));
    EXPECT_EQ(told("{ echo '{'; yes; } | ", "-"), refused("standard input")) << "it doesn't end";
}

TEST(HostileFiles, TheValuesOfAMapCountAgainstTheLimitOfMemory) {
    const CTestFolder folder;
    std::string values = "[1";
    for (int index = 1; index < 100000; ++index) {
        values += ",1";
    }
    folder.Write("map.json", "{\"a\": " + values + "]}");
    const auto run = [&](const char* limit) {
        return RunBuilt(folder.Path(),
                        {"run", "Extract", "-i", kImage, "-i", "map.json", "-o", "o.png", "--max-memory", limit});
    };
    EXPECT_EQ(run("10M"),
              (StResult{1, "",
                        "vessa: Extract: map.json: its values take more than the 10485760 bytes that images may "
                        "take: --max-memory raises the limit\n"}));
    EXPECT_EQ(run("20M").status, 0);
}

TEST(HostileFiles, NamesOfAnyBytesAreToldInOneLine) {
    const CTestFolder folder;
    const std::vector<std::pair<std::string, std::string>> names{
        {"a b.png", "a b.png"},
        {"new\nline\r.png", "new line .png"},
        {"bell\a\033[31m\x7f.png", "bell  [31m .png"},
        {"c1\xc2\x9b.png", "c1 .png"},
        {"\xc3\xa4\xe2\x82\xac\xf0\x9f\x8c\x8d.png", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x8c\x8d.png"},
        {"latin\xe4.png", "latin\\xe4.png"},
        {"long\xc0\xaf\xe0\x80\xaf.png", "long\\xc0\\xaf\\xe0\\x80\\xaf.png"},
        {"half\xed\xa0\x80\xf4\x90\x80\x80\xf5\xff.png", "half\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xf5\\xff.png"},
        {"cut\xe2\x82.png", "cut\\xe2\\x82.png"}};
    for (const auto& [name, shown] : names) {
        EXPECT_EQ(RunBuilt(folder.Path(), {"run", "Flip", "-i", name, "-o", "o.png"}),
                  (StResult{1, "", "vessa: Flip: " + shown + ": can't be read: No such file or directory\n"}));
        EXPECT_EQ(RunBuilt(folder.Path(), {"run", "Flip", "-i", name, "-o", name, "-n"}).out,
                  "read   " + shown + "\nrun    Flip on " + shown + "\nwrite  " + shown + " from Flip\n");
        fs::copy(kImage, folder.Path() / name);
        EXPECT_EQ(RunBuilt(folder.Path(), {"run", "Flip", "-i", name, "-o", "out" + name}), (StResult{0, "", ""}));
        EXPECT_TRUE(fs::exists(folder.Path() / ("out" + name))) << shown;
    }
}

TEST(HostileFiles, ALimitOfTheFileSizeIsAFailureLikeAFullDisk) {
    const CTestFolder folder;
    fs::create_directory(folder / "in");
    for (const char* name : {"in/a.npy", "in/b.npy"}) {
        fs::copy(SAMPLES_DIRECTORY "/shift_x.npy", folder / name);
    }
    folder.Write("g.json", R"({"inputs": {"p": {}}, "nodes": {"n": {"node": "Flip", "inputs": ["p"]}},
                               "outputs": {"o": "n"}})");
    // In units of 512 or 1024 bytes: less than the image's 388,800, and room for what a program counts for coverage.
    const std::string limited = "ulimit -f 300 && ";
    for (const char* name : {"o.tif", "o.npy"}) {
        folder.Write(name, "what was there");
        EXPECT_EQ(Shell(folder, limited + "vessa run Flip -i in/a.npy -o " + name + " 2> talk"), 1);
        EXPECT_EQ(TextOf(folder / "talk"),
                  "vessa: Flip: " + std::string(name) + ": can't be written: File too large\n");
        EXPECT_EQ(TextOf(folder / name), "what was there");
        fs::remove(folder / name);
    }
    EXPECT_EQ(Shell(folder, limited + "vessa run Flip -i in/a.npy -o - > piped 2> talk"), 1);
    EXPECT_EQ(TextOf(folder / "talk"), "vessa: Flip: standard output: can't be written: File too large\n");
    EXPECT_EQ(TextOf(folder / "piped"), "");
    EXPECT_EQ(Shell(folder, limited + "vessa pipeline g.json -i p=in -o o={stem}.npy 2> talk"), 1);
    EXPECT_NE(TextOf(folder / "talk").find("0 done, 2 failed, "), std::string::npos) << TextOf(folder / "talk");
    EXPECT_EQ(folder.Files(), "g.json in piped talk");
}

TEST(HostileFiles, PlacesThatTakeNoFileAreNamed) {
    const CTestFolder folder;
    folder.Write("file", "");
    fs::create_symlink("/dev/full", folder / "full.png");
    fs::create_directory(folder / "folder.png");
    const auto told = [&](const std::string& output) {
        const StResult result = RunBuilt(folder.Path(), {"run", "Flip", "-i", kImage, "-o", output});
        EXPECT_EQ(result.status, 1) << result;
        return result.err;
    };
    const std::string start = "vessa: Flip: ";
    EXPECT_EQ(told("full.png"),
              start + "full.png: can't be written: it is a device, only a regular file can be replaced\n");
    EXPECT_EQ(told("folder.png"),
              start + "folder.png: can't be written: it is a folder, only a regular file can be replaced\n");
    EXPECT_EQ(told("file/o.png"), start + "file/o.png: can't be written: Not a directory\n");
    EXPECT_EQ(told("/proc/o.png"), start + "/proc/o.png: can't be written: No such file or directory\n");
    EXPECT_EQ(told(std::string(300, 'x') + ".png"),
              start + std::string(300, 'x') + ".png: can't be written: File name too long\n");
    EXPECT_EQ(Shell(folder, "vessa list > /dev/full 2> talk"), 1);
    EXPECT_EQ(TextOf(folder / "talk"), "vessa: the results can't be written to standard output\n");
    EXPECT_EQ(folder.Files(), "file folder.png full.png talk");
}

/// A batch that is killed without a word, and taken up again until it is through.
TEST(HostileFiles, AKilledBatchGoesOnToTheResultOfAnUndisturbedOne) {
    const CTestFolder folder;
    for (const char* name : {"in", "killed", "whole"}) {
        fs::create_directory(folder / name);
    }
    constexpr int files = 30;
    const auto hourAgo = fs::file_time_type::clock::now() - std::chrono::hours(1);
    for (int number = 0; number < files; ++number) {
        const std::string copy = folder / ("in/" + std::to_string(number) + ".tif");
        fs::copy(number % 2 == 0 ? SAMPLES_DIRECTORY "/volume.tif" : SAMPLES_DIRECTORY "/labels.tif", copy);
        fs::last_write_time(copy, hourAgo);
    }
    folder.Write("g.json", R"({"inputs": {"p": {}}, "nodes": {"n": {"node": "Flip", "inputs": ["p"],
        "parameters": {"flip_x": true}}, "m": {"node": "Flip", "inputs": ["n"], "parameters": {"flip_y": true}}},
        "outputs": {"o": "n", "p": "m"}})");
    fs::last_write_time(folder / "g.json", hourAgo);
    const auto batch = [](const std::string& to) {
        return "'" VESSA_PROGRAM "' pipeline g.json --resume -i p=in -o o=" + to + "/{stem}.tif -o p=" + to +
               "/{stem}-m.tif 2> talk";
    };
    ASSERT_EQ(Shell(folder, batch("whole")), 0);
    int kills = 0;
    for (int pause = 1; kills < 8; ++pause) {
        const std::string wait = "sleep 0.0" + std::to_string(pause % 10) + std::to_string(pause * 7 % 10);
        if (Shell(folder, "{ " + batch("killed") + " & " + wait + "; kill -9 $!; wait $!; } 2> /dev/null") == 0) {
            break; // it was through before
        }
        ++kills;
    }
    ASSERT_GT(kills, 0);
    ASSERT_EQ(Shell(folder, batch("killed")), 0);
    for (const auto& entry : fs::directory_iterator(folder / "whole")) {
        const std::string name = entry.path().filename().string();
        EXPECT_EQ(TextOf(folder / ("killed/" + name)), TextOf(entry.path())) << name;
    }
    for (const auto& entry : fs::directory_iterator(folder / "killed")) {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(fs::exists(folder / ("whole/" + name)) || name.starts_with(".vessa-")) << name;
    }
}

} // namespace
} // namespace vessa::test
