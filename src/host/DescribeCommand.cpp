#include "Command.h"
#include "Modules.h"
#include "NodeJson.h"
#include "NodeText.h"

#include <nlohmann/json.hpp>
#include <ostream>

namespace vessa {

void DescribeCommand(const StContext& context, const Arguments& arguments) {
    CArgumentParser parser("vessa describe", "Tells all that a node says of itself.");
    std::string name;
    std::vector<std::string> plugins;
    bool json = false;
    parser.App().add_option("NODE", name, "The node's name, as in the list")->type_name("")->required();
    parser.AddPluginOption(plugins);
    parser.App().add_flag("--json", json, "Write the description as JSON");
    parser.Parse(arguments);
    parser.RefuseRest();
    if (parser.WantsHelp()) {
        context.out << parser.Help();
        return;
    }
    const CModules::StNode found = CModules(context.places, plugins, context.err).Make(name);
    const StNodeDescription node = Describe(name, *found.node);
    const std::string module = std::filesystem::path(found.file).stem().string();
    if (json) {
        constexpr auto replace = nlohmann::ordered_json::error_handler_t::replace;
        context.out << DescriptionJson(node, module).dump(2, ' ', false, replace) << '\n';
    } else {
        context.out << DescriptionText(node, module, context.Style());
    }
}

} // namespace vessa
