#include "NodeDescription.h"

#include "ProgramTest.h"

#include <gtest/gtest.h>

namespace vessa {
namespace {

using namespace QUOR;

StNodeDescription Probe() {
    const auto object = CPluginModule(TEST_NODES).Create("Probe");
    return Describe("Probe", dynamic_cast<CPNode&>(*object));
}

TEST(NodeDescription, TextIsTakenApart) {
    const StNodeDescription node = Probe();
    EXPECT_EQ(node.name, "Probe");
    EXPECT_EQ(node.type, "Image");
    EXPECT_EQ(node.subType, "Test");
    EXPECT_EQ(node.brief.Line(), "Tells what it was given.");
    EXPECT_EQ(node.text.Plain(),
              "\n\nPrints its parameters, in the order k_1 < k_2 of their keys, \nand hands its first input "
              "on.\n\n- an item\n- another one\n\n");
    ASSERT_EQ(node.notes.size(), 2U);
    EXPECT_EQ(node.notes[0].Plain(), "First remark.\n\n");
    EXPECT_EQ(node.notes[1].Plain(), "Second remark.\n\n");
    EXPECT_EQ(node.keywords, (std::vector<std::string>{"probe", "test"}));
    EXPECT_EQ(node.seeAlso.Plain(), "Silent\n");
    EXPECT_EQ(node.page, "%QUORDIR%/doc/probe.html");
}

TEST(NodeDescription, PortsHaveLabelsAndKinds) {
    const StNodeDescription node = Probe();
    ASSERT_EQ(node.inputs.size(), 2U);
    EXPECT_EQ(node.inputs[0].label.Plain(), "The image.");
    EXPECT_FALSE(node.inputs[0].isMap);
    EXPECT_FALSE(node.inputs[0].optional);
    EXPECT_EQ(node.inputs[1].label.Plain(), "The map.");
    EXPECT_TRUE(node.inputs[1].isMap);
    EXPECT_TRUE(node.inputs[1].optional);
    ASSERT_EQ(node.outputs.size(), 2U);
    EXPECT_FALSE(node.outputs[0].isMap);
    EXPECT_TRUE(node.outputs[1].isMap);
}

TEST(NodeDescription, ParametersWithAPlaceComeFirstByTheirNumbers) {
    std::string keys;
    for (const StParameter& parameter : Probe().parameters) {
        keys += parameter.key + " ";
    }
    EXPECT_EQ(keys, "slice-wise offset_x ratio mode set title ");
}

TEST(NodeDescription, ParametersHaveTheirFacts) {
    const StNodeDescription node = Probe();
    const StParameter* offset = FindParameter(node, "offset_x");
    ASSERT_NE(offset, nullptr);
    EXPECT_EQ(offset->Kind(), EnValType::Long);
    EXPECT_EQ(offset->order, 2);
    EXPECT_EQ(offset->text.Source(), " moves by \\a offset_x elements.\nBy default it is set to \\a 0.");
    EXPECT_TRUE(offset->allowed.empty());
    const StParameter* mode = FindParameter(node, "mode");
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(mode->allowed, (std::vector<std::string>{"ONE", "TWO", "THREE"}));
    EXPECT_FALSE(mode->order);
    EXPECT_EQ(FindParameter(node, "ratio")->visibleIf, "offset_x 0 >");
    EXPECT_EQ(FindParameter(node, "further"), nullptr);
}

TEST(NodeDescription, KeysThatOnlyTheTextNamesAreKept) {
    const StNodeDescription node = Probe();
    ASSERT_EQ(node.furtherKeys.size(), 1U);
    EXPECT_EQ(node.furtherKeys[0].key, "further");
    EXPECT_EQ(node.furtherKeys[0].text.Plain(), " is not declared.\n\n");
}

TEST(NodeDescription, ANodeMaySayNothing) {
    const auto object = CPluginModule(TEST_NODES).Create("Silent");
    const StNodeDescription node = Describe("Silent", dynamic_cast<CPNode&>(*object));
    EXPECT_EQ(node.brief.Source(), "");
    EXPECT_TRUE(node.inputs.empty());
    EXPECT_EQ(node.outputs.size(), 1U);
    EXPECT_TRUE(node.parameters.empty());
}

} // namespace
} // namespace vessa
