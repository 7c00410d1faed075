#include "FileTest.h"
#include "SmallDisk.h"
#include "TiffFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <future>
#include <pty.h>
#include <sys/stat.h>
#include <thread>

namespace vessa::test {
namespace {

using QUOR::CValuePointer;

/// Puts another file in the place of a standard stream while it lives; -1 closes the stream.
class CReplacedStream {
public:
    CReplacedStream(int stream, int file) : m_stream(stream), m_before(::fcntl(stream, F_DUPFD_CLOEXEC, 10)) {
        std::fflush(stdout);
        if (file >= 0) {
            ::dup2(file, stream);
        } else {
            ::close(stream);
        }
    }
    CReplacedStream(const CReplacedStream&) = delete;
    CReplacedStream& operator=(const CReplacedStream&) = delete;
    ~CReplacedStream() {
        ::dup2(m_before, m_stream);
        ::close(m_before);
    }

private:
    int m_stream;
    int m_before;
};

struct StPipe {
    CHandle out; ///< where it is read
    CHandle in;  ///< where it is written
};

StPipe MakePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe for the test");
    }
    return {CHandle(ends[0]), CHandle(ends[1])};
}

/// A terminal, and its other side.
StPipe MakeTerminal() {
    int other = -1;
    int terminal = -1;
    if (::openpty(&other, &terminal, nullptr, nullptr, nullptr) != 0) {
        throw std::runtime_error("no terminal for the test");
    }
    return {CHandle(other), CHandle(terminal)};
}

/// What comes out of a pipe or terminal until it ends, `bytes` of it at the most.
std::string Drained(int handle, std::size_t bytes = std::string::npos) {
    std::string text;
    std::array<char, 5000> buffer{};
    while (text.size() < bytes) {
        const ssize_t got = ReadStream(handle, buffer.data(), buffer.size());
        if (got <= 0) {
            break;
        }
        text.append(buffer.data(), static_cast<std::size_t>(got));
    }
    return text;
}

/// What `work` fails with, "" if it doesn't.
template <class Work> std::string FailureText(const Work& work) {
    try {
        work();
        return "";
    } catch (const CFileError& failure) {
        return failure.what();
    }
}

class StandardStreams : public FileTest {
protected:
    /// The value that `bytes` are when they come through a pipe, `step` bytes at a time.
    static std::unique_ptr<CValue> Piped(const std::string& bytes, const StReadOptions& options = {},
                                         std::size_t step = 50000) {
        StPipe pipe = MakePipe();
        const CReplacedStream input(STDIN_FILENO, pipe.out.Number());
        std::thread writer([&] {
            for (std::size_t done = 0; done < bytes.size(); done += step) {
                WriteStream(pipe.in.Number(), bytes.data() + done, std::min(step, bytes.size() - done));
            }
            pipe.in.Close();
        });
        try {
            auto value = ReadValue("-", options);
            writer.join();
            return value;
        } catch (...) {
            while (!Drained(STDIN_FILENO).empty()) { // what was left lets the writer end
            }
            writer.join();
            throw;
        }
    }
    static std::string PipedError(const std::string& bytes, const StReadOptions& options = {}) {
        return FailureText([&] { Piped(bytes, options); });
    }
    static ImagePtr PipedImage(const std::string& bytes, const StReadOptions& options = {}, std::size_t step = 50000) {
        const auto value = Piped(bytes, options, step);
        return std::make_unique<CImage>(*QUOR::UnwrapPointer<CImage>(value.get()));
    }
    /// Reads from a file in the place of standard input.
    static std::unique_ptr<CValue> ReadFrom(int file) {
        const CReplacedStream input(STDIN_FILENO, file);
        return ReadValue("-", {});
    }

    /// What is written to a pipe in the place of standard output.
    static std::string Written(const CValue& value, const StWriteOptions& options = {}) {
        StPipe pipe = MakePipe();
        auto text = std::async(std::launch::async, [&] { return Drained(pipe.out.Number()); });
        {
            const CReplacedStream output(STDOUT_FILENO, pipe.in.Number());
            pipe.in.Close();
            WriteValue("-", value, options);
        }
        return text.get();
    }
    /// The failure of writing to a file in the place of standard output.
    static std::string WrittenError(const CValue& value, int file, const StWriteOptions& options = {}) {
        const CReplacedStream output(STDOUT_FILENO, file);
        return FailureText([&] { WriteValue("-", value, options); });
    }
};

ImagePtr NoisyImage(const IImage::CType& type, const CSize& size) {
    std::mt19937 random(7);
    return RandomImage(type, size, random);
}

TEST_F(StandardStreams, EveryFormatIsReadFromAPipe) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_16, CSize(300, 200)); // more than a pipe holds
    for (const char* name : {"a.png", "a.tif", "a.npy"}) {
        Write(name, *image);
        EXPECT_TRUE(SameImage(*image, *PipedImage(Get(name)))) << name;
        EXPECT_TRUE(SameImage(*image, *PipedImage(Get(name), {}, 997))) << name;
    }
    CValueMap map;
    map.SetEntry("a/b", new QUOR::CValueLong(3));
    EXPECT_TRUE(Piped("{\"a\": {\"b\": 3}}")->Equal(map));
    EXPECT_TRUE(Piped(" \n\t\r {\"a\": {\"b\": 3}}\n", {}, 1)->Equal(map));
    EXPECT_TRUE(Names() == (std::set<std::string>{"a.png", "a.tif", "a.npy"}));
}

TEST_F(StandardStreams, EveryFormOfTiffIsKnown) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_F, CSize(5, 4, 3));
    COutputFile file(Path("big.tif"));
    WriteTiff(file, *image, 0);
    file.Commit();
    ASSERT_EQ(Get("big.tif").substr(0, 4), std::string("II+\0", 4));
    EXPECT_TRUE(SameImage(*image, *PipedImage(Get("big.tif"))));
    for (const std::string& start : {std::string("II*\0", 4), std::string("MM\0*", 4), std::string("MM\0+", 4)}) {
        EXPECT_TRUE(PipedError(start).starts_with("standard input: the TIFF data are damaged: ")) << start;
    }
}

TEST_F(StandardStreams, TheTypeCanBeChosen) {
    Put("a.npy", "");
    Write("a.npy", *MakeImage<std::uint8_t>(QUOR::IMAGE_GREY_8, CSize(2, 1), {0, 1}));
    EXPECT_EQ(PipedImage(Get("a.npy"), {.type = QUOR::IMAGE_BINARY_FG})->Type(), QUOR::IMAGE_BINARY_FG);
    EXPECT_EQ(PipedError("{}", {.type = QUOR::IMAGE_GREY_8}), "standard input: a map can't be read as IMAGE_GREY_8");
}

TEST_F(StandardStreams, WhatIsNoFormatIsRefused) {
    const std::string known = ": PNG, TIFF and npy are images, a JSON object is a map";
    EXPECT_EQ(PipedError(""), "standard input: it is empty" + known);
    for (const char* text : {"x", "   ", "\x89PNG\r\n\x1a", "II*", "GIF89a", "[1]", "\x93NUMP"}) {
        EXPECT_EQ(PipedError(text), "standard input: its first bytes tell no known format" + known) << text;
    }
}

TEST_F(StandardStreams, APipeThatEndsEarlyIsAFailure) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_8, CSize(100, 50));
    for (const char* name : {"a.png", "a.tif", "a.npy"}) {
        Write(name, *image);
        const std::string whole = Get(name);
        for (const std::size_t length : {std::size_t{8}, whole.size() / 2}) {
            const std::string error = PipedError(whole.substr(0, length));
            EXPECT_TRUE(error.starts_with("standard input: ")) << error;
            EXPECT_EQ(error.find('\n'), std::string::npos) << error;
        }
    }
    EXPECT_EQ(
        PipedError(Get("a.npy").substr(0, 228)),
        "standard input: an array of shape (50, 100) and dtype 'u1' doesn't take the 100 bytes behind the header");
    EXPECT_EQ(PipedError(Get("a.png").substr(0, 2000)), "standard input: the PNG data are damaged: it ends early");
    EXPECT_TRUE(PipedError("{\"a\": ").starts_with("standard input: no valid JSON in line 1, column 7: "));
}

TEST_F(StandardStreams, AFileIsReadInItsPlace) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_8, CSize(40, 30));
    Write("a.png", *image);
    const CHandle file = OpenFile(Path("a.png"), O_RDONLY);
    for (int time = 0; time < 2; ++time) {
        const auto value = ReadFrom(file.Number());
        EXPECT_TRUE(SameImage(*image, *QUOR::UnwrapPointer<CImage>(value.get())));
    }
}

TEST_F(StandardStreams, AFileThatIsReadInPartGivesTheRest) {
    Put("two.json", "{\"a\": 1}{\"b\": 2}");
    const CHandle file = OpenFile(Path("two.json"), O_RDONLY);
    ASSERT_EQ(::lseek(file.Number(), 8, SEEK_SET), 8);
    CValueMap map;
    map.SetEntry("b", new QUOR::CValueLong(2));
    EXPECT_TRUE(ReadFrom(file.Number())->Equal(map));
}

TEST_F(StandardStreams, OnlyFilesAndPipesAreRead) {
    const auto error = [](int file) { return FailureText([=] { ReadFrom(file); }); };
    EXPECT_EQ(error(OpenFile(Path(""), O_RDONLY).Number()),
              "standard input: can't be read: it is a folder, a file or a pipe is needed");
    EXPECT_EQ(error(OpenFile("/dev/zero", O_RDONLY).Number()),
              "standard input: can't be read: it is a device, a file or a pipe is needed");
    EXPECT_EQ(error(-1), "standard input: can't be read: Bad file descriptor");
    EXPECT_EQ(error(MakeTerminal().in.Number()), "standard input is a terminal: a file or a pipe is needed");
}

TEST_F(StandardStreams, TheMemoryLimitIsOneForTheCopy) {
    const std::string map = "{\"a\": \"" + std::string(991, 'x') + "\"}";
    ASSERT_EQ(map.size(), 1000U);
    {
        const CRoomForImages room(1000);
        EXPECT_EQ(PipedError(map), "standard input: its values take more than the 1000 bytes that images may take: "
                                   "--max-memory raises the limit")
            << "the copy itself has room";
    }
    const CRoomForImages room(999);
    EXPECT_EQ(PipedError(map), "standard input: it has more than the 999 bytes that images may take: --max-memory "
                               "raises the limit");
    EXPECT_EQ(PipedError(map + std::string(3000000, ' ')),
              "standard input: it has more than the 999 bytes that images may take: --max-memory raises the limit");
}

TEST_F(StandardStreams, ACopyThatDoesntFitIsAFailure) {
    const CSmallDisk disk(20000);
    EXPECT_EQ(PipedError("{" + std::string(30000, ' ') + "}"),
              "standard input: can't be read: it can't be copied to the folder for temporary files: File too large");
}

TEST_F(StandardStreams, ImagesAreWrittenAsTiffAndMapsAsJson) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_F, CSize(200, 150)); // more than a pipe holds
    Put("a.tif", Written(CValuePointer<CImage>(image.get())));
    EXPECT_TRUE(SameImage(*image, *Read("a.tif")));
    CValueMap map;
    map.SetEntry("a", new QUOR::CValueLong(1));
    EXPECT_EQ(Written(map), "{\n  \"a\": 1\n}\n");
    EXPECT_EQ(Written(map, {.format = EnFormat::Json}), "{\n  \"a\": 1\n}\n");
}

TEST_F(StandardStreams, TheFormatCanBeChosen) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_8, CSize(300, 300));
    const CValuePointer<CImage> value(image.get());
    const std::vector<std::pair<EnFormat, const char*>> formats{
        {EnFormat::Png, "a.png"}, {EnFormat::Tiff, "a.tif"}, {EnFormat::Npy, "a.npy"}};
    for (const auto& [format, name] : formats) {
        Put(name, Written(value, {.format = format}));
        EXPECT_TRUE(SameImage(*image, *Read(name))) << name;
    }
    const auto refusal = [](const CValue& refused, EnFormat format) {
        return FailureText([&] { StageValue("-", refused, {.format = format}); });
    };
    EXPECT_EQ(refusal(value, EnFormat::Json), "standard output: an image can't be written as json: a map can");
    EXPECT_EQ(refusal(CValueMap(), EnFormat::Tiff), "standard output: a map can't be written as tiff: an image can");
    EXPECT_EQ(FailureText([] { StageValue("-", QUOR::CValueVector()); }),
              "standard output: a vector can't be written as json: a map can");
    const ImagePtr real = NoisyImage(QUOR::IMAGE_GREY_F, CSize(2, 2));
    EXPECT_TRUE(refusal(CValuePointer<CImage>(real.get()), EnFormat::Png)
                    .starts_with("standard output: PNG can't hold IMAGE_GREY_F: "));
}

TEST_F(StandardStreams, OnlyACommitWrites) {
    const StPipe pipe = MakePipe();
    {
        const CReplacedStream output(STDOUT_FILENO, pipe.in.Number());
        StageValue("-", CValueMap());
        const auto staged = StageValue("-", CValueMap());
        ASSERT_EQ(::fcntl(pipe.out.Number(), F_SETFL, O_NONBLOCK), 0);
        std::array<char, 9> buffer{};
        EXPECT_EQ(::read(pipe.out.Number(), buffer.data(), buffer.size()), -1);
        staged->Commit();
        EXPECT_EQ(::read(pipe.out.Number(), buffer.data(), buffer.size()), 3);
    }
}

TEST_F(StandardStreams, WhatCantBeMadeWholeIsntWritten) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_8, CSize(300, 300));
    StPipe pipe = MakePipe();
    for (const EnFormat format : {EnFormat::Png, EnFormat::Tiff, EnFormat::Npy}) {
        const CSmallDisk disk(20000);
        EXPECT_EQ(WrittenError(CValuePointer<CImage>(image.get()), pipe.in.Number(), {.format = format}),
                  "standard output: can't be written: File too large");
    }
    pipe.in.Close();
    EXPECT_EQ(Drained(pipe.out.Number()), "");
}

TEST_F(StandardStreams, ABrokenPipeIsAFailure) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_8, CSize(300, 300));
    StPipe pipe = MakePipe();
    pipe.out.Close();
    EXPECT_EQ(WrittenError(CValuePointer<CImage>(image.get()), pipe.in.Number()),
              "standard output: can't be written: Broken pipe");
    StPipe half = MakePipe();
    std::thread reader([&] {
        Drained(half.out.Number(), 1000);
        half.out.Close();
    });
    EXPECT_EQ(WrittenError(CValuePointer<CImage>(image.get()), half.in.Number()),
              "standard output: can't be written: Broken pipe");
    reader.join();
}

TEST_F(StandardStreams, OtherFailuresAreTold) {
    EXPECT_EQ(WrittenError(CValueMap(), OpenFile("/dev/full", O_WRONLY).Number()),
              "standard output: can't be written: No space left on device");
    EXPECT_EQ(WrittenError(CValueMap(), OpenFile("/dev/null", O_RDONLY).Number()),
              "standard output: can't be written: Bad file descriptor");
    EXPECT_EQ(WrittenError(CValueMap(), -1), "standard output: can't be written: Bad file descriptor");
}

TEST_F(StandardStreams, SlowReadersAreAwaited) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_8, CSize(500, 500));
    StPipe pipe = MakePipe();
    ASSERT_EQ(::fcntl(pipe.in.Number(), F_SETFL, O_NONBLOCK), 0);
    auto text = std::async(std::launch::async, [&] { return Drained(pipe.out.Number()); });
    EXPECT_EQ(WrittenError(CValuePointer<CImage>(image.get()), pipe.in.Number()), "");
    pipe.in.Close();
    Put("a.tif", text.get());
    EXPECT_TRUE(SameImage(*image, *Read("a.tif")));
}

TEST_F(StandardStreams, ATerminalShowsMapsOnly) {
    const ImagePtr image = NoisyImage(QUOR::IMAGE_GREY_8, CSize(3, 3));
    const StPipe terminal = MakeTerminal();
    EXPECT_EQ(WrittenError(CValuePointer<CImage>(image.get()), terminal.in.Number()),
              "standard output is a terminal: an image needs a file or a pipe");
    EXPECT_EQ(WrittenError(CValueMap(), terminal.in.Number()), "");
    EXPECT_EQ(Drained(terminal.out.Number(), 4), "{}\r\n");
}

TEST_F(StandardStreams, ClosedStreamsAreNoFiles) {
    // The lowest free number would be that of the stream.
    const CReplacedStream output(STDOUT_FILENO, -1);
    const auto staged = StageValue(Path("a.json"), CValueMap());
    EXPECT_EQ(::fcntl(STDOUT_FILENO, F_GETFD), -1);
    EXPECT_EQ(FailureText([] { StageValue("-", CValueMap()); }),
              "standard output: can't be written: Bad file descriptor");
    staged->Commit();
    EXPECT_EQ(Get("a.json"), "{}\n");
}

TEST_F(StandardStreams, ADashInAPathIsAFile) {
    const std::string error = FailureText([] { WriteValue("./-", CValueMap()); });
    EXPECT_TRUE(error.starts_with("./-: the name's ending tells no known format: ")) << error;
}

} // namespace
} // namespace vessa::test
