// A plug-in library for the tests of the host program: its nodes have every kind of parameter and port, and fail in
// the ways in which nodes can.

#include "vessa.h"

#include <array>
#include <iostream>
#include <memory>
#include <string_view>

using namespace QUOR;

#define TEST_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr const char* kText = R"(BRIEF
Tells what it was
given.

Prints its \a parameters, in the order \f$k_1 < k_2\f$ of their keys, \
and hands its first input on.

- an item
- another one

INPUT 0
The image that is handed on.

INPUT 1
Optional map.

OUTPUT 0
The image of input 0.

OUTPUT 1
The map of input 1.

PARAMETER offset_x
The type of this parameter is of type long. moves by \a offset_x elements.
By default it is set to \a 0.

PARAMETER further
The type of this parameter is of type long. is not declared.

NOTE
First remark.

NOTE
Second remark.

KEYWORDS
probe, test

SEE ALSO
Silent
)";

void SetText(CValueMap& map, const char* key, const char* text) { map.SetEntry(key, new CValueString(CString(text))); }

/// The value with the letter of its kind before it, so that kinds can be told apart.
void Print(const CValue_Key& key, const CValue& value) {
    std::cout << key.Text() << '=';
    switch (value.GenericType()) {
    case EnValType::Bool:
        std::cout << "bool:" << (value.Bool() ? "true" : "false");
        break;
    case EnValType::Long:
        std::cout << "long:" << value.Long();
        break;
    case EnValType::Double:
        std::cout << "double:" << value.Double();
        break;
    default:
        std::cout << "string:" << value.String();
    }
    std::cout << '\n';
}

class CProbe : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override {
        SetText(setup, "pluginType", "Image");
        SetText(setup, "subType", "Test");
        SetText(setup, "description", kText);
        SetText(setup, "__nodekaDocumentation", "%QUORDIR%/doc/probe.html");
        SetText(setup, "gui/order/0", "slice-wise");
        SetText(setup, "gui/order/10", "ratio");
        SetText(setup, "gui/order/2", "offset_x");
        setup.SetEntry("parameters/mode", new CValueString(CString("ONE")));
        SetText(setup.Entry("parameters/mode", true)->Meta(), "val/enValues", "ONE, TWO, THREE");
        setup.SetEntry("parameters/offset_x", new CValueLong(0));
        SetText(setup.Entry("parameters/offset_x", true)->Meta(), "desc",
                "The type of this parameter is of type long. moves by \\a offset_x elements.\n"
                "By default it is set to \\a 0.");
        setup.SetEntry("parameters/ratio", new CValueDouble(0.5));
        SetText(setup.Entry("parameters/ratio", true)->Meta(), "visible_if_rpn", "offset_x 0 >");
        setup.SetEntry("parameters/slice-wise", new CValueBool(true));
        setup.SetEntry("parameters/title", new CValueString(CString("")));
        setup.SetEntry("parameters/set", new CValueLong(7)); // the name of an option that every node has
        AddPorts(setup);
        setup.SetEntry("keywords", new CValueVector);
        setup.Entry("keywords", true)->Vector()->PushBack(new CValueString(CString("probe")));
        setup.Entry("keywords", true)->Vector()->PushBack(new CValueString(CString("test")));
    }

    void Run() override {
        for (const auto& [key, value] : Parameters()) {
            Print(key, *value);
        }
        for (int slot = 0; slot < 2; ++slot) {
            if (const CValue* input = GetStackInput(slot, false)) {
                SetStackOutput(slot, input->Clone(EnTfOwnership::Copy));
            }
        }
    }

private:
    static void AddPorts(CValueMap& setup) {
        for (const char* side : {"inputs", "outputs"}) {
            auto ports = std::make_unique<CValueMap>();
            ports->SetEntry("0", new CValueOwnedPointer<CImage>(nullptr, 1));
            ports->SetEntry("1", new CValueMap);
            SetText(ports->Entry("0", true)->Meta(), "label", "The image.");
            SetText(ports->Entry("1", true)->Meta(), "label", "The map.");
            setup.SetEntry(side, ports.release());
        }
        setup.Entry("inputs/1", true)->Meta().SetEntry("optional", new CValueBool(true));
    }
};

/// Succeeds without a result.
class CSilent : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override {
        setup.SetEntry("outputs/0", new CValueOwnedPointer<CImage>(nullptr, 1));
    }
    void Run() override {}
};

/// Fails with a message of two lines and an escape character.
class CFailing : public CSilent {
public:
    void Run() override { throw CException("(test) Failing", "no luck:\ntry\033 again ", nullptr); }
};

/// A plug-in that is no node.
class CFeature : public CPluginBase {
public:
    void ComputeFeature(CValueMap& /*data*/) override {}
    int FeatureCount() const override { return 0; }
};

constexpr std::array<const char*, 5> kNames{"Probe", "Silent", "Failing", "Feature", "Unknown"};

} // namespace

TEST_EXPORT IPluginObject* CreatePluginInstanceEx(const char* name) {
    const std::string_view text(name);
    if (text == "Probe") {
        return new CProbe;
    }
    if (text == "Silent") {
        return new CSilent;
    }
    if (text == "Failing") {
        return new CFailing;
    }
    return text == "Feature" ? new CFeature : nullptr;
}

TEST_EXPORT CValueVector* ListPlugins() {
    auto names = std::make_unique<CValueVector>();
    for (const char* name : kNames) {
        names->PushBack(new CValueString(CString(name)));
    }
    return names.release();
}

TEST_EXPORT std::int64_t get_loading_timestamp() { return 1; }
