#include "NodeArgument.h"

#include "Modules.h"

namespace vessa {

void AddNodeArgument(CArgumentParser& parser, const StContext& context, std::string& name,
                     const std::vector<std::string>& plugins) {
    const CLI::Option* option =
        parser.App().add_option("NODE", name, "The node's name, as in the list")->type_name("")->required();
    parser.SetOffers(option, [&context, &plugins](CCompletion& completion) {
        for (const CModules::StModule& module : CModules(context.places, plugins, context.err).All()) {
            for (const StNodeDescription& node : module.nodes) {
                completion.Offer(node.name, node.brief.Line());
            }
        }
    });
}

} // namespace vessa
