// A plug-in library whose nodes do what no node should, each in the way that its name tells.

#include "vessa.h"

#include <array>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

using namespace QUOR;

#define TEST_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

/// A node with an input and an output, both images, that sets no output.
class CIdle : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override {
        setup.SetEntry("inputs/0", new CValueOwnedPointer<CImage>(nullptr, 1));
        setup.Entry("inputs/0", true)->Meta().SetEntry("optional", new CValueBool(true));
        setup.SetEntry("outputs/0", new CValueOwnedPointer<CImage>(nullptr, 1));
    }
    void Run() override {}
};

class CSetupRaises : public CIdle {
    void GetPluginSetup(CValueMap& /*setup*/) override { throw 7; }
};

class CSetupEmpty : public CIdle {
    void GetPluginSetup(CValueMap& /*setup*/) override {}
};

/// Every part of the description is of a kind that it shouldn't be.
class CSetupOdd : public CIdle {
    void GetPluginSetup(CValueMap& setup) override {
        for (const char* key : {"pluginType", "subType", "description", "__nodekaDocumentation", "gui"}) {
            setup.SetEntry(key, new CValueLong(3));
        }
        setup.SetEntry("keywords", new CValueMap);
        setup.SetEntry("parameters/", new CValueBool(true));
        setup.SetEntry("parameters/a b\n", new CValueBool(true));
        setup.SetEntry("parameters/$cost", new CValueLong(1));
        setup.SetEntry("parameters/map", new CValueMap);
        setup.SetEntry("parameters/pointer", new CValueOwnedPointer<CImage>(nullptr, 1));
        setup.SetEntry("parameters/vector", new CValueVector);
        CValue& number = *new CValueLong(1);
        setup.SetEntry("parameters/number", &number);
        for (const char* key : {"desc", "val/enValues", "visible_if_rpn"}) {
            number.Meta().SetEntry(key, new CValueVector);
        }
        setup.SetEntry("inputs", new CValueVector);
        setup.SetEntry("outputs/0", new CValueLong(0));
        setup.Entry("outputs/0", true)->Meta().SetEntry("label", new CValueMap);
        setup.SetEntry("outputs/5", new CValueLong(0));
    }
};

class CInitRaises : public CIdle {
    void NodeInit() override { throw std::logic_error("not in the mood"); }
};

class CRunRaisesNumber : public CIdle {
    void Run() override { throw 42; }
};

class CRunRaisesText : public CIdle {
    void Run() override { throw "no exception"; }
};

class CRunRaisesStandard : public CIdle {
    void Run() override { throw std::out_of_range("too far"); }
};

class CRunRaisesBadAlloc : public CIdle {
    void Run() override { throw std::bad_alloc(); }
};

/// A node whose output is no image, whatever its description tells.
template <class Give> class CGives : public CIdle {
    void Run() override { SetStackOutput(0, Give()()); }
};

struct StNumber {
    CValue* operator()() const { return new CValueLong(3); }
};
struct StMap {
    CValue* operator()() const { return new CValueMap; }
};
struct StOtherPointer {
    CValue* operator()() const { return new CValueOwnedPointer<int>(new int(3)); }
};
struct StNoImage {
    CValue* operator()() const { return new CValueOwnedPointer<CImage>(nullptr, 1); }
};

template <class Node> IPluginObject* Make() { return new Node; }

IPluginObject* RaiseException() { throw CException("(hostile) Factory", "no luck", nullptr); }
IPluginObject* RaiseStandard() { throw std::runtime_error("no luck at all"); }
IPluginObject* RaiseNumber() { throw 13; }
IPluginObject* GiveNull() { return nullptr; }

struct StEntry {
    const char* name;
    IPluginObject* (*make)();
};

constexpr std::array kEntries{StEntry{"SetupEmpty", &Make<CSetupEmpty>},
                              StEntry{"SetupOdd", &Make<CSetupOdd>},
                              StEntry{"InitRaises", &Make<CInitRaises>},
                              StEntry{"RunRaisesNumber", &Make<CRunRaisesNumber>},
                              StEntry{"RunRaisesText", &Make<CRunRaisesText>},
                              StEntry{"RunRaisesStandard", &Make<CRunRaisesStandard>},
                              StEntry{"RunRaisesBadAlloc", &Make<CRunRaisesBadAlloc>},
                              StEntry{"GivesNumber", &Make<CGives<StNumber>>},
                              StEntry{"GivesMap", &Make<CGives<StMap>>},
                              StEntry{"GivesOtherPointer", &Make<CGives<StOtherPointer>>},
                              StEntry{"GivesNoImage", &Make<CGives<StNoImage>>},
                              StEntry{"FactoryGivesNull", &GiveNull},
                              StEntry{"SetupRaises", &Make<CSetupRaises>},
                              StEntry{"FactoryRaises", &RaiseException},
                              StEntry{"FactoryRaisesStandard", &RaiseStandard},
                              StEntry{"FactoryRaisesNumber", &RaiseNumber}};

} // namespace

TEST_EXPORT IPluginObject* CreatePluginInstanceEx(const char* name) {
    for (const StEntry& entry : kEntries) {
        if (std::string_view(entry.name) == name) {
            return entry.make();
        }
    }
    return nullptr;
}

TEST_EXPORT CValueVector* ListPlugins() {
    auto names = std::make_unique<CValueVector>();
    for (const StEntry& entry : kEntries) {
        names->PushBack(new CValueString(CString(entry.name)));
    }
    return names.release();
}

TEST_EXPORT std::int64_t get_loading_timestamp() { return 1; }
