#include "Command.h"
#include "Modules.h"
#include "NodeArgument.h"
#include "NodeJson.h"
#include "NodeText.h"

#include <nlohmann/json.hpp>
#include <ostream>

namespace vessa {

namespace {

struct StDescribeArguments {
    std::string node;
    std::vector<std::string> plugins;
    bool json = false;
};

void AddDescribeOptions(CArgumentParser& parser, const StContext& context, StDescribeArguments& said) {
    AddNodeArgument(parser, context, said.node, said.plugins);
    parser.AddPluginOption(said.plugins);
    parser.App().add_flag("--json", said.json, "Write the description as JSON");
}

} // namespace

void DescribeCommand(const StContext& context, const Arguments& arguments) {
    CArgumentParser parser("vessa describe", "Tells all that a node says of itself.");
    StDescribeArguments said;
    AddDescribeOptions(parser, context, said);
    if (!parser.ParseAll(arguments, context.out)) {
        return;
    }
    const CModules::StNode found = CModules(context.places, said.plugins, context.err).Make(said.node);
    const StNodeDescription node = found.Description();
    const std::string module = std::filesystem::path(found.file).stem().string();
    if (said.json) {
        constexpr auto replace = nlohmann::ordered_json::error_handler_t::replace;
        context.out << DescriptionJson(node, module).dump(2, ' ', false, replace) << '\n';
    } else {
        context.out << DescriptionText(node, module, context.Style());
    }
}

void CompleteDescribe(const StContext& context, const Arguments& before, CCompletion& completion) {
    CArgumentParser parser("vessa describe", "");
    StDescribeArguments said;
    AddDescribeOptions(parser, context, said);
    parser.ParseBefore(before);
    parser.Complete(before, completion);
}

} // namespace vessa
