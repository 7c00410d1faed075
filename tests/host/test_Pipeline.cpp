// Chains and graphs from the command line: what they write, what they tell, and what is left when they fail.

#include "ProgramTest.h"

#include "NodeTest.h"
#include "ValueFile.h"

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const std::string kPicture = SAMPLES_DIRECTORY "/particles.png"; // 8-bit grey, 360 x 270

StResult WrongUse(const std::string& message) { return {2, "", "vessa: " + message + "\n"}; }
StResult Failed(const std::string& message) { return {1, "", "vessa: " + message + "\n"}; }

StResult RunWith(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--plugin", TEST_NODES});
    return RunHere(arguments);
}

/// The bytes of an image file's elements, and its size as a text.
std::pair<std::string, std::vector<std::uint8_t>> PixelsOf(const std::string& file) {
    const auto value = ReadValue(file, {});
    const auto& image = *QUOR::UnwrapPointer<QUOR::CImage>(value.get());
    return {image.Size().ToString(), QUOR::test::ElementsOf<std::uint8_t>(image)};
}

TEST(Chain, GivesWhatItsNodesGiveOneByOne) {
    const CTestFolder folder;
    const auto done = StResult{0, "", ""};
    EXPECT_EQ(RunWith({"run", "Flip", "-i", kPicture, "--flip_x", "-o", folder / "1.png"}), done);
    EXPECT_EQ(RunWith({"run", "Rotate", "-i", folder / "1.png", "--angle", "-30", "--resize", "-o", folder / "2.png"}),
              done);
    EXPECT_EQ(RunWith({"run", "Pad", "-i", folder / "2.png", "--pad_left", "8", "-o", folder / "3.png"}), done);
    EXPECT_EQ(RunWith({"run", "Flip", "-i", kPicture, "--flip_x", "then", "Rotate", "--angle", "-30", "--resize",
                       "then", "Pad", "--pad_left", "8", "-o", folder / "chain.png"}),
              done);
    EXPECT_EQ(PixelsOf(folder / "chain.png"), PixelsOf(folder / "3.png"));
    EXPECT_NE(PixelsOf(folder / "chain.png"), PixelsOf(folder / "2.png"));
    EXPECT_EQ(folder.Files(), "1.png 2.png 3.png chain.png");
}

TEST(Chain, FurtherInputsAreThoseBehindTheFirst) {
    const CTestFolder folder;
    const std::string other = SAMPLES_DIRECTORY "/ring.png";
    EXPECT_EQ(RunWith({"run", "Append", "-i", kPicture, "-i", other, "-o", folder / "plain.png"}).status, 0);
    EXPECT_EQ(
        RunWith({"run", "Flip", "-i", kPicture, "then", "Append", "-i", other, "-o", folder / "chain.png"}).status, 0);
    EXPECT_EQ(PixelsOf(folder / "chain.png"), PixelsOf(folder / "plain.png"));
}

TEST(Chain, NodesOnTheWayWriteTheirOutputsToo) {
    const CTestFolder folder;
    EXPECT_EQ(RunWith({"run", "Autocrop", "-i", kPicture, "-o", "none", "-o", folder / "box.json", "then", "Flip", "-o",
                       folder / "flipped.png"}),
              (StResult{0, "", ""}));
    EXPECT_EQ(folder.Files(), "box.json flipped.png");
}

TEST(Chain, TellsWhichNodeIsWrong) {
    const std::vector<std::string> start{"run", "Flip", "-i", "absent.png", "then"};
    const auto refused = [&](const std::vector<std::string>& rest, const std::string& message) {
        std::vector<std::string> arguments = start;
        arguments.insert(arguments.end(), rest.begin(), rest.end());
        EXPECT_EQ(RunWith(arguments), WrongUse(message));
    };
    refused({}, "NODE is required: see 'vessa run --help'");
    refused({"Rotat", "-o", "o.png"}, "unknown node 'Rotat', the nearest one is 'Rotate'");
    refused({"Rotate", "--angl", "3", "-o", "o.png"}, "Rotate: unknown option '--angl', the nearest one is '--angle'");
    refused({"Rotate"}, "Rotate: no output is named: -o FILE tells where the result goes");
    refused({"Rotate", "-i", "b.png", "-o", "o.png"},
            "Rotate: 1 input given, but the node has 0 beside the one that comes from the node before");
    refused({"Silent", "-o", "o.png"}, "Silent: the node has no input");
    refused({"Rotate", "-o", "o.png", "-o", "p.png"}, "Rotate: 2 outputs given, but the node has 1");
    refused({"Rotate", "-o", "o.png", "--format", "bmp"},
            "--format: unknown format 'bmp': one of png, tiff, npy, json");
}

TEST(Chain, TellsWhichNodeFails) {
    const CTestFolder folder;
    EXPECT_EQ(RunWith({"run", "Silent", "then", "Flip", "-o", folder / "o.png"}),
              Failed("Silent: output 0: the node has left it empty, so that Flip can't run"));
    EXPECT_EQ(RunWith({"run", "Flip", "-i", SAMPLES_DIRECTORY "/mask.png", "-o", folder / "1.png", "then", "Rotate",
                       "-o", folder / "2.png"})
                  .err.find("vessa: Rotate: (manipulation plugins) Rotate: "),
              0U);
    EXPECT_EQ(folder.Files(), "") << "no output stays when a later node fails";
}

TEST(Chain, HelpIsThatOfTheNodeThatAsks) {
    EXPECT_EQ(RunWith({"run", "Flip", "then", "Rotate", "--help"}).out.find("Rotate: "), 0U);
}

TEST(Chain, DryRunShowsThePlanAndDoesNothing) {
    const CTestFolder folder;
    EXPECT_EQ(RunWith({"run", "Autocrop", "-i", "a.png@IMAGE_GREY_8", "then", "Pad", "--pad_left", "8", "-o",
                       folder / "o.png", "-n"}),
              (StResult{0,
                        "read   a.png as IMAGE_GREY_8\n"
                        "run    Autocrop on a.png\n"
                        "run    Pad on Autocrop.0 with pad_left=8\n"
                        "write  " +
                            (folder / "o.png") + " from Pad\n",
                        ""}));
    EXPECT_EQ(folder.Files(), "");
}

TEST(Chain, DryRunRefusesWhatARunDoes) {
    const CTestFolder folder;
    folder.Write("g.json", R"({"nodes": {"n": {"node": "Silent"}}, "outputs": {"o": "n"}})");
    const StResult refused =
        WrongUse("--max-memory: 'nonsense' is no size: a number of bytes, or one of K, M, G or T as in 512M or 1.5GiB, "
                 "where K is 1024 bytes and each next one 1024 times as much");
    EXPECT_EQ(RunWith({"run", "Flip", "-i", "a.png", "-o", "b.png", "--dry-run", "--max-memory", "nonsense"}), refused);
    EXPECT_EQ(RunWith({"pipeline", folder / "g.json", "-o", "o=b.png", "--dry-run", "--max-memory", "nonsense"}),
              refused);
}

TEST(Chain, TimingIsTold) {
    const CTestFolder folder;
    const StResult result = RunWith({"run", "Flip", "-i", kPicture, "-o", folder / "o.png", "--timing"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    for (const char* line : {"work ", "\nreading ", "\nFlip ", "\nwriting "}) {
        EXPECT_NE(result.err.find(line), std::string::npos) << result.err;
    }
}

TEST(Chain, TheLimitOfMemoryIsNamed) {
    const CTestFolder folder;
    const StResult result = RunWith(
        {"run", "Replicate", "-i", kPicture, "--count", "100000", "-o", folder / "o.png", "--max-memory", "1M"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.find("vessa: Replicate: "), 0U) << result.err;
    EXPECT_NE(result.err.find(" limit of 1048576 bytes"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("--max-memory"), std::string::npos) << result.err;
    EXPECT_EQ(RunWith({"run", "Flip", "-i", kPicture, "-o", folder / "o.png", "--max-memory", "lots"}).status, 2);
    const StResult reading = RunWith({"run", "Flip", "-i", kPicture, "-o", folder / "o.png", "--max-memory", "1000"});
    EXPECT_EQ(reading.status, 1);
    EXPECT_EQ(reading.err.find("vessa: Flip: " + kPicture + ": "), 0U) << reading.err;
    EXPECT_NE(reading.err.find("--max-memory"), std::string::npos) << reading.err;
    EXPECT_EQ(folder.Files(), "");
}

TEST(Chain, AnImageIsFreedOnceItsLastReaderHasRun) {
    const CTestFolder folder;
    std::vector<std::string> chain{"run", "Flip", "-i", kPicture};
    for (int node = 0; node < 6; ++node) {
        chain.insert(chain.end(), {"then", "Flip", "--flip_x"});
    }
    chain.insert(chain.end(), {"-o", folder / "o.png", "--max-memory"});
    constexpr int twoImages = 2 * 360 * 270;
    std::vector<std::string> enough = chain;
    enough.push_back(std::to_string(twoImages));
    EXPECT_EQ(RunWith(enough), (StResult{0, "", ""}));
    chain.push_back(std::to_string(twoImages - 1));
    EXPECT_EQ(RunWith(chain).status, 1) << "an input and its output are there at a time";
}

/// Runs a line of the shell in a folder, with "vessa" in it, and gives the status.
int Shell(const CTestFolder& folder, const std::string& line) {
    const std::string program = fs::path(VESSA_PROGRAM).parent_path().string();
    const std::string command = "cd " + folder.Path().string() + " && export PATH=" + program + ":$PATH && " + line;
    const int status = std::system(("bash -o pipefail -c '" + command + "'").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Streams, CarryImagesAndMapsFromProgramToProgram) {
    const CTestFolder folder;
    EXPECT_EQ(Shell(folder, "vessa run Flip --flip_x -i " + kPicture + " -o plain.png"), 0);
    EXPECT_EQ(
        Shell(folder, "cat " + kPicture +
                          " | vessa run Flip -i - -o - | vessa run Flip -i - --flip_x -o - --format png > piped.png"),
        0);
    EXPECT_EQ(PixelsOf(folder / "piped.png"), PixelsOf(folder / "plain.png"));
    EXPECT_EQ(Shell(folder, "vessa run Autocrop -i " + kPicture + " -o none -o box.json"), 0);
    EXPECT_EQ(Shell(folder, "vessa run Autocrop -i " + kPicture + " -o none -o - > piped.json"), 0);
    EXPECT_EQ(TextOf(folder / "piped.json"), TextOf(folder / "box.json"));
}

TEST(Streams, WhatANodePrintsKeepsOutOfTheImage) {
    const CTestFolder folder;
    EXPECT_EQ(Shell(folder, "vessa run Rotate --angle 90 --set verbose=true -i " + kPicture + " -o - > o.tif 2> talk"),
              0);
    EXPECT_EQ(PixelsOf(folder / "o.tif").first, "(360, 270, 1)");
    EXPECT_NE(TextOf(folder / "talk").find("sine "), std::string::npos);
}

TEST(Streams, AreNamedInMessages) {
    const CTestFolder folder;
    EXPECT_EQ(Shell(folder, "echo nonsense | vessa run Flip -i - -o o.png 2> talk"), 1);
    EXPECT_EQ(TextOf(folder / "talk").find("vessa: Flip: standard input: "), 0U) << TextOf(folder / "talk");
    EXPECT_EQ(Shell(folder, "vessa run Flip -i " + kPicture + " -o - > /dev/full 2> talk"), 1);
    EXPECT_EQ(TextOf(folder / "talk").find("vessa: standard output: "), 0U) << TextOf(folder / "talk");
    EXPECT_EQ(RunWith({"run", "Flip", "-i", kPicture, "-o", "-", "--format", "json"}),
              WrongUse("Flip: standard output: the output is an image, which a .json file doesn't hold"));
}

TEST(Streams, OneInputAndOneOutputAreStreams) {
    const CTestFolder folder;
    const auto refused = [](const std::vector<std::string>& arguments, const std::string& message) {
        EXPECT_EQ(RunWith(arguments), WrongUse(message));
    };
    refused({"run", "Append", "-i", "-@IMAGE_GREY_8", "-i", "-@IMAGE_BINARY_FG", "-o", "o.png"},
            "standard input can't be read for several inputs");
    refused({"run", "Split", "-i", kPicture, "-o", "-", "-o", "-"}, "-: two outputs can't go to one file");
    refused({"run", "Flip", "-i", kPicture, "-o", "o.png", "--format", "png"},
            "--format is for standard output, where nothing goes: a file's name tells its format");
    EXPECT_EQ(Shell(folder, "vessa run Split -i " + kPicture + " -o a.npy -o - --format png > b.png"), 0);
    EXPECT_EQ(folder.Files(), "a.npy b.png");
    EXPECT_EQ(PixelsOf(folder / "b.png").first, "(180, 270)");
    EXPECT_EQ(Shell(folder, "vessa run Append -i - -i - -o twice.png < b.png"), 0) << "one file serves both inputs";
}

/// A folder with pictures, and a graph that mirrors one.
class Pipeline : public testing::Test {
protected:
    Pipeline() {
        fs::create_directory(m_folder / "in");
        fs::create_directory(m_folder / "out");
        for (const char* name : {"a", "b", "c"}) {
            fs::copy(kPicture, In(name));
        }
        m_folder.Write("g.json", R"({"inputs": {"picture": {}},
            "nodes": {"turn": {"node": "Flip", "inputs": ["picture"], "parameters": {"flip_x": true}}},
            "outputs": {"turned": "turn"}})");
    }

    std::string In(const std::string& name) const { return m_folder / ("in/" + name + ".png"); }
    std::string Out(const std::string& name) const { return m_folder / ("out/" + name + ".png"); }
    std::vector<std::string> Many() const {
        return {"pipeline", m_folder / "g.json",      "--input", "picture=" + (m_folder / "in"),
                "--output", "turned=" + Out("{stem}")};
    }
    StResult RunMany(const std::vector<std::string>& options) const {
        std::vector<std::string> arguments = Many();
        arguments.insert(arguments.end(), options.begin(), options.end());
        return RunWith(arguments);
    }
    std::string OutFiles() const {
        std::string names;
        for (const char* name : {"a", "b", "c", "d"}) {
            names += fs::exists(Out(name)) ? name : "";
        }
        return names;
    }

    CTestFolder m_folder;
};

TEST_F(Pipeline, RunsAGraphOnOneFile) {
    EXPECT_EQ(RunWith({"pipeline", m_folder / "g.json", "-i", "picture=" + In("a"), "-o", "turned=" + Out("x")}),
              (StResult{0, "", ""}));
    EXPECT_EQ(RunWith({"run", "Flip", "-i", kPicture, "--flip_x", "-o", Out("y")}).status, 0);
    EXPECT_EQ(PixelsOf(Out("x")), PixelsOf(Out("y")));
}

TEST_F(Pipeline, RunsAGraphOnManyFiles) {
    const StResult result = RunMany({"--jobs", "2"});
    EXPECT_EQ(result.status, 0) << result;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find("3 done, 0 failed, 0 up to date, "), 0U) << result.err;
    EXPECT_EQ(OutFiles(), "abc");
    EXPECT_EQ(PixelsOf(Out("c")), PixelsOf(Out("a")));
}

TEST_F(Pipeline, AFileThatFailsIsToldOfAndPassedOver) {
    m_folder.Write("in/b.png", "no picture");
    const StResult result = RunMany({});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.find("vessa: turn (Flip): " + In("b") + ": "), 0U) << result.err;
    EXPECT_NE(result.err.find("\n2 done, 1 failed, 0 up to date, "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("\nvessa: 1 of 3 files failed\n"), std::string::npos) << result.err;
    EXPECT_EQ(OutFiles(), "ac");
}

TEST_F(Pipeline, AFailureOfANodeIsToldWithTheFile) {
    fs::copy_file(SAMPLES_DIRECTORY "/mask.png", In("b"), fs::copy_options::overwrite_existing);
    m_folder.Write("g.json", R"({"inputs": {"picture": {}},
        "nodes": {"turn": {"node": "Rotate", "inputs": ["picture"]}}, "outputs": {"turned": "turn"}})");
    const StResult result = RunMany({});
    EXPECT_EQ(result.err.find("vessa: " + In("b") + ": turn (Rotate): (manipulation plugins) Rotate: "), 0U) << result;
    EXPECT_EQ(OutFiles(), "ac");
}

TEST_F(Pipeline, StopsAtTheFirstFailureIfToldTo) {
    m_folder.Write("in/a.png", "no picture");
    const StResult result = RunMany({"--stop-on-error", "--jobs", "1"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("0 done, 1 failed, 0 up to date, 2 not begun, "), std::string::npos) << result.err;
    EXPECT_EQ(OutFiles(), "");
}

TEST_F(Pipeline, ResumePassesOverWhatIsThere) {
    const auto hourAgo = fs::file_time_type::clock::now() - std::chrono::hours(1);
    for (const std::string& file : {m_folder / "g.json", In("a"), In("b"), In("c")}) {
        fs::last_write_time(file, hourAgo); // a file system's clock may not have ticked since they were made
    }
    EXPECT_EQ(RunMany({}).status, 0);
    fs::remove(Out("b"));
    const auto before = fs::last_write_time(Out("a"));
    const StResult result = RunMany({"--resume"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err.find("1 done, 0 failed, 2 up to date, "), 0U) << result.err;
    EXPECT_EQ(OutFiles(), "abc");
    EXPECT_EQ(fs::last_write_time(Out("a")), before);
    EXPECT_EQ(RunMany({"--resume"}).err.find("0 done, 0 failed, 3 up to date, "), 0U);
}

TEST_F(Pipeline, DryRunShowsThePlanOfEachFile) {
    fs::remove(In("c"));
    const auto plan = [&](const std::string& name) {
        return "read   " + In(name) + " for picture\nrun    turn (Flip) on picture with flip_x=true\nwrite  " +
               Out(name) + " from turn\n";
    };
    EXPECT_EQ(RunMany({"--dry-run"}), (StResult{0, plan("a") + "\n" + plan("b"), ""}));
    EXPECT_EQ(OutFiles(), "");
}

TEST_F(Pipeline, PrintsTheGraph) {
    const StResult result = RunWith({"pipeline", m_folder / "g.json", "--dot"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.find("digraph {\n"), 0U);
}

TEST_F(Pipeline, TellsTheTimesOfAllFiles) {
    const StResult result = RunMany({"--timing"});
    std::istringstream lines(result.err);
    std::string found;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("turn (Flip) ")) {
            found = line;
        }
    }
    std::istringstream figures(found.substr(std::min(found.size(), std::string("turn (Flip)").size())));
    double seconds = -1.0;
    int times = 0;
    figures >> seconds >> times;
    EXPECT_GE(seconds, 0.0) << result.err;
    EXPECT_EQ(times, 3) << result.err;
}

TEST_F(Pipeline, RefusesWhatItCannotDo) {
    EXPECT_EQ(RunWith({"pipeline"}), WrongUse("GRAPH is required: see 'vessa pipeline --help'"));
    EXPECT_EQ(RunMany({"--job", "2"}), WrongUse("unknown option '--job', the nearest one is '--jobs'"));
    EXPECT_EQ(RunMany({"--jobs", "0"}).status, 2);
    fs::remove_all(m_folder / "out");
    EXPECT_EQ(RunMany({}), Failed((m_folder / "out") + ": there is no such folder for the outputs"));
    EXPECT_EQ(RunWith({"pipeline", m_folder / "g.json", "-i", "picture=none", "-o", "turned=" + (m_folder / "o.png")}),
              Failed("turn (Flip): (manipulation plugins) Flip: input image is NULL"));
}

TEST_F(Pipeline, GoesOnWithoutThreads) {
    // A stack larger than any address space is one that no thread can have.
    EXPECT_EQ(Shell(m_folder, "ulimit -s 200000000000 && vessa pipeline g.json -i picture=in -o turned=out/{stem}.png "
                              "--jobs 3 2> talk"),
              0);
    EXPECT_EQ(TextOf(m_folder / "talk").find("3 done, 0 failed, 0 up to date, "), 0U) << TextOf(m_folder / "talk");
    EXPECT_EQ(OutFiles(), "abc");
}

TEST_F(Pipeline, TwoOutputsOfOneFileAreRefused) {
    m_folder.Write("g.json", R"({"inputs": {"picture": {}}, "nodes": {"turn": {"node": "Flip", "inputs": ["picture"]}},
        "outputs": {"one": "turn", "two": "turn"}})");
    EXPECT_EQ(RunWith({"pipeline", m_folder / "g.json", "-i", "picture=" + In("a"), "-o", "one=" + Out("x"), "-o",
                       "two=" + (m_folder / "out/../out/x.png")}),
              WrongUse((m_folder / "out/../out/x.png") + ": two outputs can't go to one file"));
    EXPECT_EQ(OutFiles(), "");
}

TEST_F(Pipeline, AnInputCanBeAnOutput) {
    m_folder.Write("g.json", R"({"inputs": {"picture": {}}, "nodes": {"turn": {"node": "Flip", "inputs": ["picture"]}},
        "outputs": {"same": "picture", "turned": "turn"}})");
    EXPECT_EQ(RunWith({"pipeline", m_folder / "g.json", "-i", "picture=" + In("a"), "-o", "turned=none", "-o",
                       "same=" + (m_folder / "same.tif")}),
              (StResult{0, "", ""}));
    EXPECT_EQ(PixelsOf(m_folder / "same.tif"), PixelsOf(kPicture));
    EXPECT_EQ(RunWith({"pipeline", m_folder / "g.json", "-i", "picture=none", "-o", "turned=none", "-o", "same=x.tif"}),
              WrongUse("x.tif: the output takes the input 'picture', which has no file"));
}

/// The built program in the middle of a batch of 603 files.
class InterruptedPipeline : public Pipeline {
protected:
    /// Starts it with a disposition of `signal`, waits for the first file, and sends the signal. Gives the exit status.
    int Interrupt(int signal, sighandler_t disposition) {
        for (int number = 0; number < 600; ++number) {
            fs::create_hard_link(In("a"), In("x" + std::to_string(number)));
        }
        std::vector<std::string> arguments = Many();
        std::vector<char*> words{const_cast<char*>(VESSA_PROGRAM)};
        for (std::string& argument : arguments) {
            words.push_back(argument.data());
        }
        words.push_back(nullptr);
        const pid_t child = ::fork();
        if (child == 0) {
            ::signal(signal, disposition);
            ::close(STDERR_FILENO);
            ::execv(VESSA_PROGRAM, words.data());
            ::_exit(127);
        }
        while (OutFiles().empty()) { // the first of them is written
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ::kill(child, signal);
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// The number of files that were written, all of them whole.
    std::size_t Written() const {
        std::size_t files = 0;
        for (const auto& entry : fs::directory_iterator(m_folder / "out")) {
            EXPECT_EQ(entry.path().extension(), ".png") << entry.path();
            EXPECT_NO_THROW(ReadValue(entry.path().string(), {})) << entry.path();
            ++files;
        }
        return files;
    }
};

TEST_F(InterruptedPipeline, LeavesWholeFilesOnly) {
    EXPECT_EQ(Interrupt(SIGINT, SIG_DFL), 130);
    EXPECT_LT(Written(), 603U);
}

TEST_F(InterruptedPipeline, GoesOnWhereTheSignalIsIgnored) {
    EXPECT_EQ(Interrupt(SIGHUP, SIG_IGN), 0);
    EXPECT_EQ(Written(), 603U);
}

} // namespace
} // namespace vessa::test
