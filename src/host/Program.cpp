#include "Program.h"

#include "Text.h"
#include "ValueFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iomanip>
#include <new>
#include <ostream>

namespace vessa {

namespace {

constexpr std::array kCommands{
    StCommand{"list", "List the nodes", &ListCommand},
    StCommand{"describe", "Tell all that a node says of itself", &DescribeCommand},
    StCommand{"run", "Run a node on files", &RunCommand},
    StCommand{"doc", "Make the documentation of all nodes as HTML", &DocCommand},
};

void WriteHelp(std::ostream& out) {
    out << "Image-processing nodes on files.\n\nUsage: vessa COMMAND [ARGUMENTS]\n\nCommands:\n";
    for (const StCommand& command : kCommands) {
        out << "  " << std::left << std::setw(10) << command.name << command.brief << '\n';
    }
    out << "\nOptions:\n  --help    Show this help and end; 'vessa COMMAND --help' shows that of a command\n"
           "  --version Show the version and end\n\n"
           "Plug-in libraries are found beside the program and by the environment variable VESSA_PLUGIN_PATH, a list "
           "of\n"
           "files and folders with colons between them.\n";
}

const StCommand& CommandNamed(const std::string& name) {
    const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                    [&](const StCommand& command) { return name == command.name; });
    if (found == kCommands.end()) {
        std::vector<std::string> names;
        for (const StCommand& command : kCommands) {
            names.emplace_back(command.name);
        }
        throw CUseError("unknown command '" + name + "'" + NearestHint(name, names));
    }
    return *found;
}

void Dispatch(const StContext& context, const Arguments& arguments) {
    CArgumentParser parser("vessa", "");
    bool version = false;
    parser.App().add_flag("--version", version);
    parser.App().prefix_command(); // the first word and all behind it are the command's
    parser.Parse(arguments);
    const std::vector<std::string> rest = parser.App().remaining();
    if (version) {
        context.out << "vessa " << VESSA_VERSION << '\n';
    } else if (parser.WantsHelp()) {
        WriteHelp(context.out);
    } else if (rest.empty()) {
        throw CUseError("no command is given; 'vessa --help' shows them");
    } else if (rest.front().starts_with('-')) {
        parser.RefuseRest();
    } else {
        CommandNamed(rest.front()).run(context, {rest.begin() + 1, rest.end()});
    }
}

/// Tells of a failure in one line: a message is kept but for line ends and what else steers a terminal.
int Fail(const StContext& context, EnExitStatus status, std::string message) {
    std::replace_if(
        message.begin(), message.end(), [](unsigned char letter) { return std::iscntrl(letter) != 0; }, ' ');
    context.err << "vessa: " << message << std::endl;
    return status;
}

} // namespace

int RunProgram(const StContext& context, const Arguments& arguments) {
    try {
        Dispatch(context, arguments);
        if (!context.out.flush()) {
            return Fail(context, kWorkFailed, "the results can't be written to standard output");
        }
        return kDone;
    } catch (const CUseError& failure) {
        return Fail(context, kWrongUse, failure.what());
    } catch (const CFileError& failure) {
        return Fail(context, kWorkFailed, failure.Message());
    } catch (const QUOR::CException& failure) {
        return Fail(context, kWorkFailed, failure.FormattedWhat());
    } catch (const std::bad_alloc&) {
        return Fail(context, kWorkFailed, "the memory does not suffice");
    } catch (const std::exception& failure) {
        return Fail(context, kWorkFailed, failure.what());
    }
}

} // namespace vessa
