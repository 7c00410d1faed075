// A plug-in library whose list of plug-ins is missing, empty or wrong, as VESSA_TEST_LIST says.

#include "vessa.h"

#include <cstdlib>
#include <string_view>

using namespace QUOR;

extern "C" VESSA_API IPluginObject* CreatePluginInstanceEx(const char* /*name*/) { return nullptr; }

extern "C" VESSA_API CValueVector* ListPlugins() {
    const char* chosen = std::getenv("VESSA_TEST_LIST");
    const std::string_view list(chosen == nullptr ? "" : chosen);
    if (list == "missing") {
        return nullptr;
    }
    if (list == "raising") {
        throw 5;
    }
    auto* names = new CValueVector;
    if (list != "empty") {
        names->PushBack(new CValueString(CString("Right")));
    }
    if (list == "wrong") {
        names->PushBack(new CValueLong(1));
    } else if (list == "hole") {
        names->SetEntry(2, new CValueString(CString("Left")));
    } else if (list == "nameless") {
        names->PushBack(new CValueString(CString("")));
    } else if (list == "twice") {
        names->PushBack(new CValueString(CString("Left")));
        names->PushBack(new CValueString(CString("Right")));
    }
    return names;
}

extern "C" VESSA_API std::int64_t get_loading_timestamp() { return 0; }
