#include "Command.h"
#include "Modules.h"

#include <algorithm>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>

using nlohmann::ordered_json;

namespace vessa {

namespace {

void WriteJson(std::ostream& out, const std::vector<CModules::StModule>& modules) {
    ordered_json list = ordered_json::array();
    for (const CModules::StModule& module : modules) {
        ordered_json nodes = ordered_json::array();
        for (const StNodeDescription& node : module.nodes) {
            nodes.push_back({{"name", node.name}, {"subType", node.subType}, {"brief", node.brief.Line()}});
        }
        list.push_back({{"module", module.name}, {"file", module.file}, {"nodes", std::move(nodes)}});
    }
    out << list.dump(2, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

void WriteText(std::ostream& out, const std::vector<CModules::StModule>& modules) {
    for (const CModules::StModule& module : modules) {
        std::size_t widest = 0;
        for (const StNodeDescription& node : module.nodes) {
            widest = std::max(widest, node.name.size());
        }
        out << (&module == &modules.front() ? "" : "\n") << module.name << ":\n";
        for (const StNodeDescription& node : module.nodes) {
            out << "  " << std::left << std::setw(static_cast<int>(widest)) << node.name << "  " << node.brief.Line()
                << '\n';
        }
    }
}

struct StListArguments {
    std::vector<std::string> plugins;
    bool json = false;
};

void AddListOptions(CArgumentParser& parser, StListArguments& said) {
    parser.AddPluginOption(said.plugins);
    parser.App().add_flag("--json", said.json, "Write the list as JSON");
}

} // namespace

void ListCommand(const StContext& context, const Arguments& arguments) {
    CArgumentParser parser("vessa list", "Lists the nodes, by the module that they come from.");
    StListArguments said;
    AddListOptions(parser, said);
    if (!parser.ParseAll(arguments, context.out)) {
        return;
    }
    const auto modules = CModules(context.places, said.plugins, context.err).All();
    if (said.json) {
        WriteJson(context.out, modules);
    } else {
        WriteText(context.out, modules);
    }
}

void CompleteList(const StContext&, const Arguments& before, CCompletion& completion) {
    CArgumentParser parser("vessa list", "");
    StListArguments said;
    AddListOptions(parser, said);
    parser.Complete(before, completion);
}

} // namespace vessa
