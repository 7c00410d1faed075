#include "Errors.h"
#include "Program.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

/// The letters in a line of text: those of the terminal within reason, 80 where there is none.
std::size_t LineWidth() {
    constexpr std::size_t usual = 80;
    constexpr std::size_t least = 40;
    constexpr std::size_t most = 120; // longer lines are hard to read
    winsize window{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0) {
        return usual;
    }
    return std::clamp<std::size_t>(window.ws_col, least, most);
}

/// True for a terminal that shows bold letters and colours, unless its user wants none.
bool HasColours() {
    const auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string_view(value == nullptr ? "" : value);
    };
    const std::string_view terminal = variable("TERM");
    return ::isatty(STDOUT_FILENO) != 0 && variable("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb";
}

} // namespace

int main(int count, char** arguments) {
    std::signal(SIGXFSZ, SIG_IGN); // writing past the limit of a file's size is a failure to tell of, not the end
    try {
        const vessa::StPlaces places = vessa::OwnPlaces();
        vessa::NamePrefix(places);
        const bool isErrTerminal = ::isatty(STDERR_FILENO) == 1;
        return vessa::RunProgram({std::cout, std::cerr, LineWidth(), places, HasColours(), isErrTerminal},
                                 {arguments + 1, arguments + count});
    } catch (...) {
        return vessa::TellHandledFailure(std::cerr);
    }
}
