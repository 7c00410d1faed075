// A second module beside the one under test: a node, and plug-ins that are none.

#include "vessa.h"

#include <memory>
#include <string_view>

using namespace QUOR;

namespace {

/// Gives the parameter `number`, or a failure without one.
class CNumberNode : public CPNode {
public:
    void Run() override {
        if (!Parameters().HasEntry("number")) {
            throw CException("(second module) Number", "there is no number", nullptr);
        }
        SetStackOutput(0, new CValueLong(Parameters().EntryLong("number")));
    }
};

/// A plug-in that takes no parameters.
class CRefusingPlugin : public IPluginObject {
public:
    void Init(const CValueMap* /*parameters*/) override {
        throw CException("(second module) Refusing", "no parameters are taken", nullptr);
    }
};

} // namespace

extern "C" VESSA_API IPluginObject* CreatePluginInstanceEx(const char* name) {
    const std::string_view wanted(name);
    if (wanted == "Number") {
        return new CNumberNode;
    }
    if (wanted == "Refusing") {
        return new CRefusingPlugin;
    }
    if (wanted == "Raising") {
        throw CException("(second module)", "this plug-in can't be made", nullptr);
    }
    return nullptr;
}

extern "C" VESSA_API CValueVector* ListPlugins() {
    auto names = std::make_unique<CValueVector>();
    for (const char* name : {"Number", "Refusing", "Raising"}) {
        names->PushBack(new CValueString(CString(name)));
    }
    return names.release();
}

extern "C" VESSA_API std::int64_t get_loading_timestamp() { return 1234567890123; }
