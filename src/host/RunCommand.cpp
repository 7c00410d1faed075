#include "Command.h"
#include "Examples.h"
#include "Modules.h"
#include "NodeRun.h"
#include "NodeText.h"
#include "Text.h"
#include "ValueFile.h"

#include <new>
#include <ostream>
#include <set>

namespace vessa {

namespace {

using QUOR::EnValType;

/// The group of a node's own options, which the node's help shows in its own way.
constexpr const char* kParameters = "Parameters";

/// What the command line of a run says, beside the node's own parameters.
struct StRunArguments {
    std::string node;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    std::vector<std::string> assignments;
    std::vector<std::string> plugins;
};

/// What TYPE stands for in the options.
std::string TypesHelp(std::size_t width) {
    std::vector<std::string> names;
    for (const QUOR::IImage::CType& type : AllTypes()) {
        names.emplace_back(type.ToString());
    }
    return Wrap("TYPE, for files that can be read as several element types: " + Join(names, ", "), 2, width);
}

/// The options that every node has.
void AddRunOptions(CArgumentParser& parser, StRunArguments& run) {
    parser.App().add_option("NODE", run.node, "The node's name, as in the list")->type_name("")->required();
    parser.AddList("-i,--input", run.inputs, "File for the next input, 'none' for an empty one")
        ->type_name("FILE[@TYPE]");
    parser.AddList("-o,--output", run.outputs, "File for the next output, 'none' to drop it")->type_name("FILE");
    parser.AddList("--set", run.assignments, "Parameter that isn't declared")->type_name("KEY[:KIND]=VALUE");
    parser.AddPluginOption(run.plugins);
}

/// An option for each parameter of the node, in the parameters' order; null for one that has none.
std::vector<CLI::Option*> AddParameterOptions(CLI::App& app, const StNodeDescription& node) {
    std::vector<CLI::Option*> options;
    for (const StParameter& parameter : node.parameters) {
        const std::string name = "--" + parameter.key;
        CLI::Option* option = nullptr;
        if (HasOption(parameter)) {
            option = parameter.Kind() == EnValType::Bool ? app.add_flag(name)
                                                         : app.add_option(name)->expected(1)->take_all();
            option->group(kParameters);
        }
        options.push_back(option);
    }
    return options;
}

/// Calls `work` and puts the option's name before what it raises about a value.
template <class Work> auto About(const std::string& option, const Work& work) {
    try {
        return work();
    } catch (const CUseError& failure) {
        throw CUseError(option + ": " + failure.what());
    }
}

void PlaceParameters(const StNodeDescription& node, const std::vector<CLI::Option*>& options,
                     const std::vector<std::string>& assignments, QUOR::CValueMap& parameters) {
    std::set<std::string> given;
    const auto once = [&](const std::string& key) {
        if (!given.insert(key).second) {
            throw CUseError("the parameter '" + key + "' is given twice");
        }
    };
    PlaceDefaults(node, parameters);
    for (std::size_t index = 0; index < options.size(); ++index) {
        const StParameter& parameter = node.parameters[index];
        const auto values = options[index] == nullptr ? std::vector<std::string>() : options[index]->results();
        for (const std::string& text : values) {
            once(parameter.key);
            About("--" + parameter.key, [&] { PlaceParameter(parameter, text, parameters); });
        }
    }
    for (const std::string& assignment : assignments) {
        once(About("--set", [&] { return PlaceAssignment(node, assignment, parameters); }));
    }
}

/// Reads the arguments of one node's run, checks them and runs it, or shows the node's help.
void RunNamed(const StContext& context, const std::string& name, QUOR::CPNode& node, const Arguments& arguments) {
    const StNodeDescription description = Describe(name, node);
    CArgumentParser parser("vessa run " + name, description.brief.Line());
    StRunArguments said;
    AddRunOptions(parser, said);
    const std::vector<CLI::Option*> options = AddParameterOptions(parser.App(), description);
    parser.Parse(arguments);
    if (parser.WantsHelp()) {
        context.out << HelpText(description, parser.OptionsHelp() + TypesHelp(context.width),
                                Example(context.places, description), context.Style());
        return;
    }
    parser.RefuseRest();
    StNodeRun run;
    PlaceParameters(description, options, said.assignments, run.parameters);
    for (const std::string& input : said.inputs) {
        run.inputs.push_back(About("-i " + input, [&] { return ParseInput(input); }));
    }
    for (const std::string& output : said.outputs) {
        run.outputs.push_back(ParseOutput(output));
    }
    CheckFiles(description, run);
    RunNode(node, run);
}

/// Calls `work` and puts the node's name before the text of its failure.
template <class Work> void InTheNameOf(const std::string& node, const Work& work) {
    try {
        work();
    } catch (const CUseError& failure) {
        throw CUseError(node + ": " + failure.what());
    } catch (const CFileError& failure) {
        throw CWorkError(node + ": " + failure.Message());
    } catch (const QUOR::CException& failure) {
        throw CWorkError(node + ": " + failure.FormattedWhat());
    } catch (const std::bad_alloc&) {
        throw CWorkError(node + ": the memory does not suffice");
    } catch (const std::exception& failure) {
        throw CWorkError(node + ": " + failure.what());
    }
}

} // namespace

void RunCommand(const StContext& context, const Arguments& arguments) {
    // Which options there are is known only once the node is: at first, all but the common ones are left aside.
    CArgumentParser parser("vessa run", "Runs a node on files. Each parameter of the node is an option of its own: "
                                        "'vessa run NODE --help' shows them.");
    StRunArguments said;
    AddRunOptions(parser, said);
    parser.Parse(arguments);
    if (said.node.empty() && parser.WantsHelp()) {
        context.out << parser.Help() << TypesHelp(context.width);
        return;
    }
    CModules modules(context.places, said.plugins, context.err);
    const CModules::StNode found = modules.Make(said.node);
    InTheNameOf(said.node, [&] { RunNamed(context, said.node, *found.node, arguments); });
}

} // namespace vessa
