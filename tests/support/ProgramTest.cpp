#include "ProgramTest.h"

#include "NodeTest.h"
#include "Program.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <pty.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace vessa::test {

namespace fs = std::filesystem;

namespace {

/// The texts as C's functions take them, a null behind the last one.
std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// All that comes from the terminal's other side, without the carriage returns that it adds.
std::string TextOfTerminal(int terminal) {
    std::string text;
    std::array<char, 4096> block{};
    for (ssize_t count = 0; (count = ::read(terminal, block.data(), block.size())) > 0;) {
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    std::erase(text, '\r');
    return text;
}

/// The text as one word of a shell's line.
std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char letter : text) {
        quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return quoted + "'";
}

} // namespace

CTestFolder::CTestFolder() {
    std::string pattern = (fs::temp_directory_path() / "vessa-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no folder can be made: " + pattern);
    }
    m_path = pattern;
}

CTestFolder::~CTestFolder() {
    std::error_code failure;
    fs::remove_all(m_path, failure);
}

std::string CTestFolder::Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_path)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::string joined;
    for (const std::string& name : names) {
        joined += (joined.empty() ? "" : " ") + name;
    }
    return joined;
}

void CTestFolder::Write(const std::string& name, const std::string& text) const {
    std::ofstream(m_path / name, std::ios::binary) << text;
}

std::string TextOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

StResult RunBuilt(const fs::path& folder, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& variables) {
    const CTestFolder streams;
    std::string line = "cd " + Quoted(folder.string()) + " && exec env -u QUORDIR -u VESSA_PLUGIN_PATH";
    for (const std::string& variable : variables) {
        line += " " + Quoted(variable);
    }
    line += " " VESSA_PROGRAM;
    for (const std::string& argument : arguments) {
        line += " " + Quoted(argument);
    }
    line += " < /dev/null > " + Quoted(streams / "out") + " 2> " + Quoted(streams / "err");
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, TextOf(streams / "out"), TextOf(streams / "err")};
}

StResult RunOnTerminal(const std::vector<std::string>& arguments, const std::vector<std::string>& variables) {
    std::vector<std::string> words{VESSA_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = variables;
    const std::vector<char*> argv = Pointers(words); // made here: a child of several threads must not take memory
    const std::vector<char*> envp = Pointers(environment);
    const winsize window{24, 80, 0, 0};
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &window);
    if (child < 0) {
        throw std::runtime_error("no terminal can be made");
    }
    if (child == 0) {
        ::execve(argv.front(), argv.data(), envp.data());
        ::_exit(127);
    }
    const std::string text = TextOfTerminal(terminal);
    int status = -1;
    ::waitpid(child, &status, 0);
    ::close(terminal);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text, ""};
}

StResult RunHere(const std::vector<std::string>& arguments) {
    const QUOR::test::CCapturedOutput out(std::cout); // where nodes write, too
    const QUOR::test::CCapturedOutput err(std::cerr);
    const StContext context{std::cout, std::cerr, 80, PlacesBeside(fs::path(VESSA_PROGRAM).parent_path())};
    const int status = RunProgram(context, arguments);
    return {status, out.Text(), err.Text()};
}

} // namespace vessa::test
