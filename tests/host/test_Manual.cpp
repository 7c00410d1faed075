// The manual page, compared with what the program itself says and does.

#include "ProgramTest.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <regex.h>
#include <set>
#include <sstream>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const std::string kPage = MANUAL_PAGE;

using Names = std::set<std::string>;
/// The options of each command by the command's name; those of the program itself by "".
using Options = std::map<std::string, Names>;

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// What `line` prints, as a command of the shell, on standard output and standard error.
std::string Printed(const std::string& line) {
    const CTestFolder folder;
    EXPECT_EQ(std::system((line + " > " + (folder / "out") + " 2>&1 < /dev/null").c_str()), 0) << line;
    return TextOf(folder / "out");
}

/// The first groups of all matches of an extended regular expression. (GCC's sanitizers see faults in std::regex.)
Names Matches(const std::string& text, const std::string& pattern) {
    regex_t expression;
    EXPECT_EQ(::regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NEWLINE), 0) << pattern;
    Names found;
    std::array<regmatch_t, 2> match{};
    const char* rest = text.c_str();
    while (::regexec(&expression, rest, match.size(), match.data(), rest == text.c_str() ? 0 : REG_NOTBOL) == 0) {
        found.emplace(rest + match[1].rm_so, rest + match[1].rm_eo);
        rest += match[0].rm_eo;
    }
    ::regfree(&expression);
    return found;
}

/// The options that a help lists: lines as "  -i,--input FILE   File for ...".
Names OptionsInHelp(const std::string& help) {
    Names options;
    for (const std::string& line : LinesOf(help)) {
        if (line.starts_with("  -")) {
            const std::string names = line.substr(2, line.find(' ', 2) - 2);
            options.merge(Matches(names, "(--?[A-Za-z][A-Za-z-]*)"));
        }
    }
    return options;
}

Names CommandsInHelp() {
    const std::string help = RunHere({"--help"}).out;
    const std::size_t begin = help.find("Commands:\n");
    const std::string list = help.substr(begin, help.find("\n\n", begin) - begin);
    return Matches(list, "\n  ([a-z]+) ");
}

Options OptionsOfProgram() {
    Options options{{"", OptionsInHelp(RunHere({"--help"}).out)}};
    for (const std::string& command : CommandsInHelp()) {
        options[command] = OptionsInHelp(RunHere({command, "--help"}).out);
    }
    return options;
}

/// The known words of a heading; all of them if there is none, so that a heading can speak of all commands.
Names CommandsIn(const std::string& heading) {
    const Names known = CommandsInHelp();
    Names named;
    for (const std::string& word : Matches(heading, "([a-z]+)")) {
        if (known.count(word) != 0) {
            named.insert(word);
        }
    }
    return named.empty() ? known : named;
}

/// The options that the page lists in its items, ".It Fl i , Fl -input Ar FILE".
Options OptionsOfPage() {
    Options options;
    Names commands{""};
    for (const std::string& line : LinesOf(TextOf(kPage))) {
        if (line.starts_with(".Ss ")) {
            commands = CommandsIn(line);
        } else if (line.starts_with(".It Fl ")) {
            for (const std::string& name : Matches(line, "Fl ([A-Za-z-]+)")) {
                for (const std::string& command : commands) {
                    options[command].insert("-" + name);
                }
            }
        }
    }
    return options;
}

/// The options of all nodes' parameters.
Names OptionsOfNodes() {
    Names options;
    for (const auto& module : nlohmann::json::parse(RunHere({"list", "--json"}).out)) {
        for (const auto& node : module["nodes"]) {
            const auto described = nlohmann::json::parse(RunHere({"describe", node["name"], "--json"}).out);
            for (const auto& parameter : described["parameters"]) {
                options.insert("--" + parameter["key"].get<std::string>());
            }
        }
    }
    return options;
}

TEST(Manual, IsWellFormed) {
    EXPECT_EQ(Printed("groff -ww -mdoc -z " + kPage), "");
    EXPECT_EQ(Printed("{ man --warnings -l " + kPage + " 2>&1 >/dev/null; }"), "");
}

TEST(Manual, IsThatOfThisVersion) {
    EXPECT_NE(TextOf(kPage).find("\n.Os " + RunHere({"--version"}).out), std::string::npos);
}

TEST(Manual, TellsOfEveryCommand) {
    const Names commands = CommandsInHelp();
    EXPECT_EQ(commands.count("run"), 1U);
    EXPECT_EQ(Matches(TextOf(kPage), "\n\\.Ss vessa ([a-z]+)\n"), commands);
    EXPECT_EQ(Matches(TextOf(kPage), "\n\\.Nm\n\\.Cm ([a-z]+)\n"), commands) << "in the synopsis";
}

TEST(Manual, ListsTheOptionsThatTheHelpLists) {
    Options program = OptionsOfProgram();
    EXPECT_EQ(program["list"], (Names{"-h", "--help", "--json", "--plugin"}));
    program[""].insert("-h"); // the help of the program shows the long name only
    EXPECT_EQ(OptionsOfPage(), program);
}

TEST(Manual, ShowsNoOptionThatIsUnknown) {
    Names known = OptionsOfNodes();
    EXPECT_EQ(known.count("--flip_x"), 1U);
    for (const auto& [command, options] : OptionsOfProgram()) {
        known.insert(options.begin(), options.end());
    }
    const Names shown = Matches(Printed("groff -mdoc -Tascii -P-c " + kPage), "(--[a-z][A-Za-z_-]*)");
    Names unknown;
    std::set_difference(shown.begin(), shown.end(), known.begin(), known.end(), std::inserter(unknown, unknown.end()));
    EXPECT_EQ(shown.count("--flip_x"), 1U);
    EXPECT_EQ(unknown, Names{});
}

/// All examples, one after the other, in a folder with the samples.
TEST(Manual, ShowsExamplesThatRun) {
    const CTestFolder folder;
    fs::copy(SAMPLES_DIRECTORY, folder.Path());
    std::string script = "set -e\ncd " + folder.Path().string() +
                         "\nPATH=" + fs::path(VESSA_PROGRAM).parent_path().string() + ":$PATH\n";
    bool inExamples = false;
    bool inBlock = false;
    for (const std::string& line : LinesOf(TextOf(kPage))) {
        if (line.starts_with('.')) {
            inExamples = inExamples || line == ".Sh EXAMPLES";
            inBlock = inExamples && line.starts_with(".Bd ");
        } else if (inBlock) {
            const bool goesOn = line.ends_with("\\e"); // a backslash, as the page's source has it
            script += line.substr(0, line.size() - (goesOn ? 1 : 0)) + "\n";
        }
    }
    folder.Write("script", script);
    Printed("sh " + (folder / "script"));
    EXPECT_TRUE(fs::exists(folder / "flipped.png")) << script;
}

} // namespace
} // namespace vessa::test
