#include "Command.h"
#include "Examples.h"
#include "GraphRun.h"
#include "GraphText.h"
#include "Modules.h"
#include "NodeArgument.h"
#include "NodeParameters.h"
#include "NodeText.h"
#include "ParameterValue.h"
#include "PortFile.h"
#include "RunArguments.h"
#include "Text.h"

#include <algorithm>
#include <ostream>
#include <set>

namespace vessa {

namespace {

using QUOR::EnValType;

/// The group of a node's own options, which the node's help shows in its own way.
constexpr const char* kParameters = "Parameters";

/// Between two nodes of a chain. A file of this name is reached as "./then".
constexpr const char* kThen = "then";

/// What the command line says of one node of a chain, beside the node's own parameters.
struct StStepArguments {
    std::string node;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    std::vector<std::string> assignments;
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
void AddStepOptions(CArgumentParser& parser, const StContext& context, StStepArguments& step,
                    const std::vector<std::string>& plugins) {
    AddNodeArgument(parser, context, step.node, plugins);
    const CLI::Option* input = parser
                                   .AddList("-i,--input", step.inputs,
                                            "File for the next input, '-' for standard input, 'none' for an empty one")
                                   ->type_name("FILE[@TYPE]");
    parser.SetOffers(input, &OfferInputs);
    const CLI::Option* output = parser
                                    .AddList("-o,--output", step.outputs,
                                             "File for the next output, '-' for standard output, 'none' to drop it")
                                    ->type_name("FILE");
    parser.SetOffers(output, &OfferOutputs);
    parser.AddList("--set", step.assignments, "Parameter that isn't declared")->type_name("KEY[:KIND]=VALUE");
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

/// What the shells offer of the node's own options and keys.
void OfferParameters(CArgumentParser& parser, const StNodeDescription& node) {
    for (const StParameter& parameter : node.parameters) {
        if (HasOption(parameter)) {
            CLI::Option* option = parser.App().get_option("--" + parameter.key)->description(parameter.text.Line());
            parser.SetOffers(option, [&parameter](CCompletion& completion) { OfferValues(parameter, completion); });
        }
    }
    parser.SetOffers(parser.App().get_option("--set"), [&node](CCompletion& completion) {
        for (const StParameter& parameter : node.parameters) {
            if (!HasOption(parameter)) {
                completion.Offer(parameter.key + "=", parameter.text.Line());
            }
        }
        for (const StFurtherKey& key : node.furtherKeys) {
            completion.Offer(key.key + "=", key.text.Line());
        }
    });
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
            InTheNameOf("--" + parameter.key, [&] { PlaceParameter(parameter, text, parameters); });
        }
    }
    for (const std::string& assignment : assignments) {
        once(InTheNameOf("--set", [&] { return PlaceAssignment(node, assignment, parameters); }));
    }
}

/// The arguments of each node of a chain.
std::vector<Arguments> Steps(const Arguments& arguments) {
    std::vector<Arguments> steps(1);
    for (const std::string& argument : arguments) {
        if (argument == kThen) {
            steps.emplace_back();
        } else {
            steps.back().push_back(argument);
        }
    }
    return steps;
}

/// Makes the graph of a chain, node by node. The first output of a node is the first input of the next.
class CChain {
public:
    CChain(const StContext& context, CModules& modules, StRunArguments& said)
        : m_context(context), m_modules(modules), m_said(said) {}

    /// Takes the arguments of a step, or shows the help of its node and gives false.
    bool Add(const StNodeDescription& description, const Arguments& arguments) {
        const std::string& name = description.name;
        StGraphNode node;
        node.description = std::make_shared<StNodeDescription>(description);
        CArgumentParser parser("vessa run " + name, node.description->brief.Line());
        StStepArguments step;
        AddStepOptions(parser, m_context, step, m_said.plugins);
        AddRunOptions(parser, m_said);
        const std::vector<CLI::Option*> options = AddParameterOptions(parser.App(), *node.description);
        parser.Parse(arguments);
        parser.RefuseRest();
        if (parser.WantsHelp()) {
            m_context.out << HelpText(*node.description, parser.OptionsHelp() + TypesHelp(m_context.width),
                                      Example(m_context.places, *node.description), m_context.Style());
            return false;
        }
        node.name = name;
        node.label = name;
        node.make = [&modules = m_modules, name] { return modules.Make(name).node; };
        node.parameters = std::make_shared<QUOR::CValueMap>();
        PlaceParameters(*node.description, options, step.assignments, *node.parameters);
        WireInputs(node, step.inputs);
        m_graph.AddNode(std::move(node));
        m_outputs.push_back(step.outputs);
        return true;
    }

    /// The graph of all steps.
    StGraph Finish() {
        const StWriteOptions options = WriteOptions(m_said);
        for (std::size_t index = 0; index < m_outputs.size(); ++index) {
            InTheNameOf(m_graph.nodes[index].label, [&] { AddOutputs(index, options); });
        }
        return std::move(m_graph);
    }

private:
    void WireInputs(StGraphNode& node, const std::vector<std::string>& files) {
        const std::vector<StPort>& ports = node.description->inputs;
        if (!m_graph.nodes.empty()) {
            node.inputs.push_back(Link(m_graph.nodes.back(), *node.description));
        }
        const std::size_t free = ports.size() - node.inputs.size();
        if (files.size() > free) {
            throw CUseError(Count(files.size(), "input") + " given, but the node has " + std::to_string(free) +
                            (node.inputs.empty() ? "" : " beside the one that comes from the node before"));
        }
        for (const std::string& text : files) {
            const StInputFile file = InTheNameOf("-i " + text, [&] { return ParseInput(text); });
            CheckInputFile(file.file);
            node.inputs.push_back(file.file.empty() ? std::nullopt : std::optional(InputOf(file)));
        }
        node.inputs.resize(ports.size());
    }

    /// The value that goes from a node to the next one.
    static std::size_t Link(const StGraphNode& from, const StNodeDescription& to) {
        const std::vector<StPort>& outputs = from.description->outputs;
        if (outputs.empty() || to.inputs.empty()) {
            throw CUseError(outputs.empty() ? from.name + " has no output to begin with" : "the node has no input");
        }
        if (outputs.front().isMap != to.inputs.front().isMap) {
            throw CUseError(std::string("the first input takes ") + (to.inputs.front().isMap ? "a map" : "an image") +
                            ", but the first output of " + from.name + " is " +
                            (outputs.front().isMap ? "a map" : "an image"));
        }
        return from.firstOutput;
    }

    /// The value of a file, which is read once however many inputs take it.
    std::size_t InputOf(const StInputFile& file) {
        const auto known = std::find_if(m_graph.inputs.begin(), m_graph.inputs.end(),
                                        [&](const StGraphInput& input) { return input.file == file; });
        return known == m_graph.inputs.end() ? m_graph.AddInput(file.file, file) : known->value;
    }

    /// The outputs of a step's node. Their format may have been told by a later step.
    void AddOutputs(std::size_t index, const StWriteOptions& options) {
        const StGraphNode& node = m_graph.nodes[index];
        const std::vector<std::string>& files = m_outputs[index];
        const std::vector<StPort>& ports = node.description->outputs;
        if (files.size() > ports.size()) {
            throw CUseError(Count(files.size(), "output") + " given, but the node has " + std::to_string(ports.size()));
        }
        bool anyFile = false;
        for (std::size_t port = 0; port < files.size(); ++port) {
            const std::string file = ParseOutput(files[port]);
            CheckOutputFile(file, ports[port].isMap, options);
            m_graph.outputs.push_back({file, node.firstOutput + port, file});
            anyFile = anyFile || !file.empty();
        }
        const bool isLast = index + 1 == m_outputs.size();
        if (isLast && !anyFile && !ports.empty()) {
            throw CUseError("no output is named: -o FILE tells where the result goes");
        }
    }

    static std::string Count(std::size_t number, const char* noun) {
        return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
    }

    const StContext& m_context;
    CModules& m_modules;
    StRunArguments& m_said;
    StGraph m_graph;
    std::vector<std::vector<std::string>> m_outputs; ///< what the command line names for each node
};

void RunChain(const StContext& context, const StGraph& graph, const StRunArguments& said) {
    const StGraphFiles files = OwnFiles(graph);
    StRunOptions options;
    options.write = WriteOptions(said);
    CheckFiles(graph, files, options.write);
    const CLimitedMemory limited(said); // a dry run refuses what a run does
    if (said.dryRun) {
        context.out << PlanText(graph, files);
        return;
    }
    const CNodesTalkAside aside(files.outputs);
    const StGraphTimes times = RunGraph(graph, files, options);
    if (said.timing) {
        context.err << TimesText(graph, times);
    }
}

} // namespace

void RunCommand(const StContext& context, const Arguments& arguments) {
    // Which options there are is known only once the nodes are: at first, all but the common ones are left aside.
    const std::vector<Arguments> steps = Steps(arguments);
    std::vector<std::string> names;
    std::vector<std::string> plugins;
    for (const Arguments& words : steps) {
        CArgumentParser parser("vessa run",
                               "Runs a node on files, or a chain of nodes with 'then' between them: the first "
                               "output of one is the first input of the next. Each parameter of a node is an "
                               "option of its own: 'vessa run NODE --help' shows them.");
        StStepArguments step;
        StRunArguments said;
        AddStepOptions(parser, context, step, said.plugins);
        AddRunOptions(parser, said);
        parser.Parse(words);
        if (step.node.empty()) { // Parse has seen to it that help is wanted
            context.out << parser.Help() << TypesHelp(context.width);
            return;
        }
        names.push_back(step.node);
        plugins.insert(plugins.end(), said.plugins.begin(), said.plugins.end());
    }
    CModules modules(context.places, plugins, context.err);
    StRunArguments said;
    CChain chain(context, modules, said);
    for (std::size_t index = 0; index < steps.size(); ++index) {
        const StNodeDescription node = modules.Make(names[index]).Description();
        if (!InTheNameOf(names[index], [&] { return chain.Add(node, steps[index]); })) {
            return;
        }
    }
    RunChain(context, chain.Finish(), said);
}

void CompleteRun(const StContext& context, const Arguments& before, CCompletion& completion) {
    const Arguments words = Steps(before).back(); // what is typed belongs to the last node
    CArgumentParser parser("vessa run", "");
    StStepArguments step;
    StRunArguments said;
    AddStepOptions(parser, context, step, said.plugins);
    AddRunOptions(parser, said);
    parser.ParseBefore(words);
    if (step.node.empty()) {
        parser.Complete(words, completion);
        return;
    }
    CModules modules(context.places, said.plugins, context.err);
    const StNodeDescription node = modules.Make(step.node).Description();
    AddParameterOptions(parser.App(), node);
    OfferParameters(parser, node);
    parser.SetOffers(parser.App().add_option("THEN"),
                     [](CCompletion& offers) { offers.Offer(kThen, "Pass the result on to another node"); });
    parser.Complete(words, completion);
}

} // namespace vessa
