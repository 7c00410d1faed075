// A plug-in library whose list of plug-ins is missing, empty or wrong, as VESSA_TEST_LIST says.

#include "vessa.h"

#include <cstdlib>
#include <exception>
#include <string_view>

using namespace QUOR;

namespace {

/// A failure whose code goes away with the library.
class COwnFailure : public std::exception {
public:
    const char* what() const noexcept override { return "a failure of its own"; }
};

} // namespace

extern "C" VESSA_API IPluginObject* CreatePluginInstanceEx(const char* name) {
    return std::string_view(name) == "Raising" ? throw COwnFailure() : nullptr;
}

extern "C" VESSA_API CValueVector* ListPlugins() {
    const char* chosen = std::getenv("VESSA_TEST_LIST");
    const std::string_view list(chosen == nullptr ? "" : chosen);
    if (list == "missing") {
        return nullptr;
    }
    if (list == "raising") {
        throw CException("(odd lists) ListPlugins", "no list", nullptr);
    }
    if (list == "raising its own") {
        throw COwnFailure();
    }
    if (list == "raising a number") {
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
