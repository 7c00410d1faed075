#include "Program.h"

#include "Errors.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace vessa {

namespace {

constexpr std::array kCommands{
    StCommand{"list", "List the nodes", &ListCommand, &CompleteList},
    StCommand{"describe", "Tell all that a node says of itself", &DescribeCommand, &CompleteDescribe},
    StCommand{"run", "Run a node, or a chain of nodes, on files", &RunCommand, &CompleteRun},
    StCommand{"pipeline", "Run a graph of nodes on one file or on many", &PipelineCommand, &CompletePipeline},
    StCommand{"doc", "Make the documentation of all nodes as HTML", &DocCommand, &CompleteDoc},
};

/// The command that the shells' scripts call: "complete -- WORDS...". No list of commands shows it.
constexpr const char* kComplete = "complete";

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

void AddProgramOptions(CArgumentParser& parser, bool& version) {
    parser.App().add_flag("--version", version, "Show the version and end");
    parser.App().prefix_command(); // the first word and all behind it are the command's
}

void OfferCommands(CCompletion& completion) {
    for (const StCommand& command : kCommands) {
        completion.Offer(command.name, command.brief);
    }
}

/// Offers what may follow the words `before`.
void Complete(const StContext& context, const Arguments& before, CCompletion& completion) {
    const auto command =
        std::find_if(before.begin(), before.end(), [](const std::string& word) { return !word.starts_with('-'); });
    if (command != before.end()) {
        CommandNamed(*command).complete(context, {command + 1, before.end()}, completion);
        return;
    }
    CArgumentParser parser("vessa", "");
    bool version = false;
    AddProgramOptions(parser, version);
    parser.SetOffers(parser.App().add_option("COMMAND"), &OfferCommands);
    parser.Complete(before, completion);
}

/// Writes what may stand in the place of the last word. A shell that asks can't show a failure: nothing is offered
/// then.
void CompleteCommand(const StContext& context, const Arguments& words) {
    CCompletion completion(words.empty() ? "" : words.back());
    std::ostringstream talk;
    try {
        Complete({talk, talk, context.width, context.places}, {words.begin(), words.end() - (words.empty() ? 0 : 1)},
                 completion);
    } catch (...) {
    }
    context.out << completion.Text();
}

void Dispatch(const StContext& context, const Arguments& arguments) {
    if (arguments.size() > 1 && arguments[0] == kComplete && arguments[1] == "--") {
        CompleteCommand(context, {arguments.begin() + 2, arguments.end()});
        return;
    }
    CArgumentParser parser("vessa", "");
    bool version = false;
    AddProgramOptions(parser, version);
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

} // namespace

int RunProgram(const StContext& context, const Arguments& arguments) {
    try {
        Dispatch(context, arguments);
        if (!context.out.flush()) {
            throw CWorkError("the results can't be written to standard output");
        }
        return kDone;
    } catch (...) {
        return TellHandledFailure(context.err);
    }
}

} // namespace vessa
