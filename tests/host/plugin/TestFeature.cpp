// A plug-in library without a node.

#include "vessa.h"

using namespace QUOR;

#define TEST_EXPORT extern "C" __attribute__((visibility("default")))

TEST_EXPORT IPluginObject* CreatePluginInstanceEx(const char* /*name*/) { return nullptr; }

TEST_EXPORT CValueVector* ListPlugins() {
    auto* names = new CValueVector;
    names->PushBack(new CValueString(CString("Feature")));
    return names;
}

TEST_EXPORT std::int64_t get_loading_timestamp() { return 1; }
