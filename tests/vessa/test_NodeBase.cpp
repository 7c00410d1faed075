#include "NodeTest.h"

#include <limits>

namespace QUOR::test {
namespace {

/// The smallest node; its output 0 counts its runs.
class CCountingNode : public CPNode {
public:
    void Run() override { SetStackOutput(0, new CValueLong(++m_runs)); }

private:
    Long m_runs = 0;
};

/// Counts its deletions.
struct StCounted {
    explicit StCounted(int& counter) : deletions(&counter) {}
    StCounted(const StCounted&) = delete;
    StCounted& operator=(const StCounted&) = delete;
    ~StCounted() { ++*deletions; }
    int* deletions;
};

CValue* Counted(int& deletions) { return new CValueOwnedPointer<StCounted>(new StCounted(deletions)); }

TEST(NodeBase, TakesInputsThatStayTheHosts) {
    CCountingNode node;
    EXPECT_EQ(node.GetStackInput(0, false), nullptr);
    EXPECT_FALSE(node.HasStackInput(0));
    CValueLong value(3);
    node.SetStackInput(2, &value);
    EXPECT_EQ(node.GetStackInput(2, false), &value);
    EXPECT_EQ(node.GetStackInput(2, true), &value);
    EXPECT_EQ(node.GetStackInput(2, false), &value) << "it stays there";
    EXPECT_TRUE(node.HasStackInput(2));
    EXPECT_EQ(node.GetStackInput(1, false), nullptr) << "a slot below";
    node.SetStackInput(2, nullptr);
    EXPECT_FALSE(node.HasStackInput(2));
}

TEST(NodeBase, RaisesForAnInputThatIsRequiredOrASlotThatCannotBe) {
    CCountingNode node;
    EXPECT_EQ(FailureOf([&] { node.GetStackInput(1, true); }),
              (StFailure{"CPNode::GetStackInput", "there is no input 1"}));
    EXPECT_EQ(FailureOf([&] { node.GetStackInput(-1, true); }),
              (StFailure{"CPNode::GetStackInput", "there is no input -1"}));
    EXPECT_EQ(node.GetStackInput(-1, false), nullptr);
    EXPECT_EQ(node.GetStackInput(std::numeric_limits<int>::max(), false), nullptr);
    EXPECT_FALSE(node.HasStackInput(-1));
    EXPECT_EQ(FailureOf([&] { node.SetStackInput(-1, nullptr); }),
              (StFailure{"CPNode::SetStackInput", "there is no slot -1"}));
    int deletions = 0;
    EXPECT_EQ(FailureOf([&] { node.SetStackOutput(-2, Counted(deletions)); }),
              (StFailure{"CPNode::SetStackOutput", "there is no slot -2"}));
    EXPECT_EQ(deletions, 1) << "the output belongs to the node, also on failure";
}

TEST(NodeBase, OwnsItsOutputsUntilTheyAreTaken) {
    int deletions = 0;
    {
        CCountingNode node;
        node.SetStackOutput(0, Counted(deletions));
        node.SetStackOutput(6, Counted(deletions));
        EXPECT_NE(node.StackOutput(6), nullptr);
        EXPECT_EQ(node.StackOutput(1), nullptr);
        EXPECT_EQ(node.StackOutput(-1), nullptr);
        EXPECT_EQ(node.StackOutput(7), nullptr);
        node.SetStackOutput(0, Counted(deletions));
        EXPECT_EQ(deletions, 1) << "the earlier output is freed";
        CValue* same = node.StackOutput(0);
        node.SetStackOutput(0, same);
        EXPECT_EQ(deletions, 1) << "an output may be set again";
        const std::unique_ptr<CValue> taken = node.TakeStackOutput(0);
        EXPECT_EQ(taken.get(), same);
        EXPECT_EQ(node.StackOutput(0), nullptr);
        EXPECT_EQ(node.TakeStackOutput(0), nullptr);
        EXPECT_EQ(node.TakeStackOutput(-1), nullptr);
        node.SetStackOutput(6, nullptr);
        EXPECT_EQ(deletions, 2);
        node.SetStackOutput(3, Counted(deletions));
    }
    EXPECT_EQ(deletions, 4) << "the one that was taken and the one left in the node";
}

TEST(NodeBase, ForgetsEverythingWhenTheStackIsCleared) {
    int deletions = 0;
    CCountingNode node;
    CValueLong input(1);
    node.SetStackInput(0, &input);
    node.SetStackOutput(0, Counted(deletions));
    node.AddDebugData(0, input, "debug");
    node.AddResultData(&input, false, "result");
    node.Parameters().SetEntry("kept", new CValueLong(2));
    node.ClearStack();
    EXPECT_FALSE(node.HasStackInput(0));
    EXPECT_EQ(node.StackOutput(0), nullptr);
    EXPECT_EQ(deletions, 1);
    EXPECT_TRUE(node.DebugData().IsEmpty());
    EXPECT_TRUE(node.ResultData().IsEmpty());
    EXPECT_EQ(node.Parameters().EntryLong("kept"), 2);
}

TEST(NodeBase, TakesCopiesOfParameters) {
    CValueMap parameters;
    parameters.SetEntry("flip_x", new CValueBool(true));
    parameters.SetEntry("gui/order", new CValueLong(1));
    CCountingNode node;
    node.Parameters().SetEntry("kept", new CValueLong(2));
    node.Init(&parameters);
    parameters.Clear();
    EXPECT_TRUE(node.Parameters().EntryBool("flip_x"));
    EXPECT_EQ(node.Parameters().EntryLong("gui/order"), 1);
    EXPECT_EQ(node.Parameters().EntryLong("kept"), 2);
    node.Init(nullptr);
    node.Init(&node.Parameters());
    EXPECT_EQ(std::as_const(node).Parameters().Size(), 3U);
    node.NodeInit();
    EXPECT_EQ(node.Parameters().Size(), 3U);
}

TEST(NodeBase, IsWrittenToAVectorAndReadBack) {
    CCountingNode node;
    node.Parameters().SetEntry("a/b", new CValueDouble(0.5));
    const std::unique_ptr<CValueVector> state(node.Vectorize());
    node.Parameters().Clear();
    CCountingNode other;
    other.Parameters().SetEntry("old", new CValueLong(1));
    other.Devectorize(state.get());
    EXPECT_EQ(other.Parameters().EntryDouble("a/b"), 0.5);
    EXPECT_FALSE(other.Parameters().HasEntry("old"));
    const StFailure expected{"CPNode::Devectorize", "the state must be a vector with the map of the parameters"};
    EXPECT_EQ(FailureOf([&] { other.Devectorize(nullptr); }), expected);
    CValueVector wrong;
    EXPECT_EQ(FailureOf([&] { other.Devectorize(&wrong); }), expected);
    wrong.PushBack(new CValueLong(1));
    EXPECT_EQ(FailureOf([&] { other.Devectorize(&wrong); }), expected);
    EXPECT_EQ(other.Parameters().EntryDouble("a/b"), 0.5);
}

TEST(NodeBase, KeepsDebugDataUpToItsLevel) {
    CCountingNode node;
    EXPECT_EQ(node.DebugLevel(), 0);
    node.AddDebugData(0, CValueLong(1), "zero");
    node.AddDebugData(1, CValueLong(1), "one");
    node.Parameters().SetEntry("debug_level", new CValueLong(2));
    EXPECT_EQ(node.DebugLevel(), 2);
    node.AddDebugData(2, CValueLong(7), "two");
    node.AddDebugData(3, CValueLong(1), "three");
    EXPECT_EQ(node.DebugData().Size(), 2U);
    EXPECT_TRUE(node.DebugData().HasEntry("zero"));
    EXPECT_EQ(node.DebugData().EntryLong("two"), 7);
}

TEST(NodeBase, KeepsResultDataOrACopyOfIt) {
    int deletions = 0;
    CCountingNode node;
    CValueLong mine(4);
    node.AddResultData(&mine, false, "copy");
    EXPECT_EQ(node.ResultData().EntryLong("copy"), 4);
    EXPECT_NE(node.ResultData().Entry("copy", true), &mine);
    node.AddResultData(Counted(deletions), true, "own");
    node.AddResultData(nullptr, true, "own");
    EXPECT_EQ(deletions, 1);
    EXPECT_FALSE(node.ResultData().HasEntry("own"));
    EXPECT_EQ(FailureOf([&] { node.AddResultData(Counted(deletions), true, nullptr); }),
              (StFailure{"CValueMap", "an entry needs a key"}));
    EXPECT_EQ(deletions, 2);
}

TEST(NodeBase, OffersTheClassesItIs) {
    CCountingNode node;
    for (const char* name : {"CPNode", "IPluginObject", "IObject", "IVectorizable"}) {
        EXPECT_TRUE(node.TestInterface(name)) << name;
    }
    EXPECT_FALSE(node.TestInterface("CPluginBase"));
    EXPECT_EQ(node.Type(), CPNode::EnObjType::Node);
    node.SetInstance("left");
    EXPECT_EQ(node.Instance(), "left");
    CValueMap setup;
    node.GetPluginSetup(setup);
    EXPECT_TRUE(setup.IsEmpty());
}

TEST(NodeBase, RunsAgainAndAgain) {
    CCountingNode node;
    node.Run();
    node.Run();
    EXPECT_EQ(std::as_const(*node.StackOutput(0)).Long(), 2);
}

/// The smallest plug-in that is no node.
class CMeasuringPlugin : public CPluginBase {
public:
    void ComputeFeature(CValueMap& data) override { data.SetEntry("Features", new CValueVector); }
    int FeatureCount() const override { return 0; }
};

TEST(PluginBase, OffersTheClassesItIs) {
    CMeasuringPlugin plugin;
    for (const char* name : {"CPluginBase", "IPluginObject", "IObject"}) {
        EXPECT_TRUE(plugin.TestInterface(name)) << name;
    }
    EXPECT_FALSE(plugin.TestInterface("CPNode"));
    CValueMap data;
    plugin.Init(&data);
    plugin.PrepareFeature(data);
    plugin.GetPluginSetup(data);
    EXPECT_TRUE(data.IsEmpty()) << "nothing to prepare and no description by default";
}

} // namespace
} // namespace QUOR::test
