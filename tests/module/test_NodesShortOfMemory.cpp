// Every allocation of every node fails in turn: when it is made, describes itself, takes its parameters and runs.

#include "FailingMemory.h"
#include "FixedOutput.h"
#include "NodeTest.h"

#include <iostream>
#include <variant>

namespace QUOR::test {
namespace {

using Parameter = std::pair<const char*, std::variant<bool, int, double, const char*>>;
using Value = std::shared_ptr<CValue>;

/// A run with which a node gets through its work.
struct StCase {
    std::string node;
    std::vector<Parameter> parameters;
    std::vector<Value> inputs;
};

std::ostream& operator<<(std::ostream& stream, const StCase& run) {
    stream << run.node;
    for (const auto& [key, value] : run.parameters) {
        std::visit([&, &name = key](const auto& plain) { stream << " " << name << "=" << plain; }, value);
    }
    return stream;
}

/// An image with attributes, whose elements tell their places.
Value Coded(const IImage::CType& type, const CSize& size) {
    ImagePtr image = CodedImage(type, size);
    image->Attributes().SetEntry("a place for long names/a comment", new CValueString(CString("longer than a word")));
    return std::make_shared<CValueOwnedPointer<CImage>>(image.release());
}

Value Grey(std::int64_t width, std::int64_t height) { return Coded(IMAGE_GREY_8, CSize(width, height)); }

Value Volume(std::int64_t width, std::int64_t height, std::int64_t depth) {
    return Coded(IMAGE_GREY_F, CSize(width, height, depth));
}

Value FloatsOf(std::int64_t width, std::int64_t height, const std::vector<float>& elements) {
    return std::make_shared<CValueOwnedPointer<CImage>>(Floats(width, height, elements).release());
}

Value Labels() { return FloatsOf(4, 3, {1, 1, 2, 0, 1, 0, 2, 2, 0, 7, 7, 7}); }

Value RegionMap() {
    auto map = std::make_shared<CValueMap>();
    map->SetEntry("offset_x", new CValueLong(1));
    map->SetEntry("size_y", new CValueLong(2));
    return map;
}

/// A table with names of its columns and rows, which are cut with it.
Value Table() {
    ImagePtr table = CodedImage(IMAGE_GREY_F, CSize(3, 4));
    CValueMap& attributes = table->Attributes();
    attributes.SetEntry("Image/ContentType", new CValueString(CString("table")));
    attributes.SetEntry("Image/table-type", new CValueString(CString("a table of numbers")));
    attributes.SetEntry("Image/x-name", new CValueString(CString("the names of the columns")));
    for (const char* keys : {"Image/x-keys", "Image/y-keys"}) {
        auto names = std::make_unique<CValueVector>();
        for (const char* name : {"the first of the names", "the second of the names", "the third of the names"}) {
            names->PushBack(new CValueString(CString(name)));
        }
        attributes.SetEntry(keys, std::move(names));
    }
    return std::make_shared<CValueOwnedPointer<CImage>>(table.release());
}

/// Large enough for a block of whole pages, which the library keeps when it is freed.
Value Large() { return Grey(2048, 1100); }

std::string Feature(const char* name) { return std::string(TEST_FEATURES) + "#" + name; }

std::vector<StCase> Cases() {
    static const std::string everything = Feature("Everything");
    return {
        {"Append", {{"along", "Y"}, {"background_value", 3.0}}, {Grey(4, 3), Grey(3, 2)}},
        {"Append", {{"along", "Z"}, {"upcast", true}}, {Grey(4, 3), Volume(3, 2, 2)}},
        {"Autocrop", {}, {Grey(5, 4)}},
        {"Autocrop", {}, {Volume(4, 3, 3)}},
        {"Border", {{"border", 1}}, {Grey(5, 4)}},
        {"CartesianToPolar", {}, {Grey(9, 8)}},
        {"CartesianToPolar", {}, {Coded(IMAGE_GREY_F, CSize(9, 8))}},
        {"ComposeImage", {{"mode_x", "CENTER"}, {"shift_y", 2}}, {Grey(5, 4), Grey(3, 6)}},
        {"ComposeImage", {{"mode_compose", "MAX"}, {"ignore_zero", true}}, {Volume(4, 3, 2), Volume(3, 4, 2)}},
        {"DeleteDuplicate",
         {{"along", "Y"}, {"verbose", true}},
         {FloatsOf(3, 4, {1, 2, 3, 1, 2, 3, 4, 5, 6, 1, 2, 3})}},
        {"DeleteDuplicate", {{"along", "X"}, {"size_count", "SIZE_OF_RESULT"}}, {Grey(4, 4)}},
        {"Deserialize", {{"size_x", 3}, {"size_y", 4}}, {Grey(12, 1)}},
        {"Deserialize", {}, {Grey(12, 1), Grey(4, 3)}},
        {"Emplace", {{"pos_x", 2}, {"wrap", true}}, {Grey(5, 4), Grey(4, 3), Coded(IMAGE_BINARY_FG, CSize(4, 3))}},
        {"Expand", {}, {Volume(4, 3, 2)}},
        {"Extract", {{"offset_x", 1}, {"size_x", 2}, {"verbose", true}}, {Grey(5, 4)}},
        {"Extract", {}, {Grey(5, 4), RegionMap()}},
        {"Extract", {{"offset_x", 1}, {"offset_y", 1}}, {Table()}},
        {"Flip", {{"flip_x", true}, {"flip_z", true}}, {Volume(4, 3, 3)}},
        {"Flip", {{"flip_x", true}, {"flip_y", true}}, {Large()}},
        {"LabelToColor", {{"ignore_zero", true}}, {Labels(), Coded(IMAGE_RGB_8, CSize(9, 1))}},
        {"LabelToColor", {}, {Labels()}},
        {"LabelToFeature", {}, {Labels()}},
        {"LabelToFeature",
         {{"feature_plugin", everything.c_str()}, {"feature_index", 3}, {"verbose", true}},
         {Coded(IMAGE_GREY_F, CSize(8, 6)), Labels()}},
        {"LabelToFeature",
         {{"feature_plugin", everything.c_str()}, {"feature_index", 1}, {"verbose", true}},
         {Labels()}},
        {"LabelToSize", {}, {Labels()}},
        {"LabelToSize", {{"slice-wise", false}}, {Labels()}},
        {"LabelToValue", {{"ignore_zero", true}}, {Labels(), Coded(IMAGE_GREY_F, CSize(8, 1))}},
        {"Pad", {{"pad_left", 1}, {"pad_back", 2}, {"value", 5.0}}, {Volume(4, 3, 2)}},
        {"PlaneToVolume", {}, {Grey(4, 6), Volume(4, 3, 2)}},
        {"PolarToCartesian", {{"ignore_zero", true}}, {Grey(12, 5)}},
        {"PolarToCartesian", {}, {Coded(IMAGE_GREY_F, CSize(12, 5))}},
        {"Reorient", {{"resize", true}, {"verbose", true}}, {Grey(7, 5), Grey(7, 5)}},
        {"Reorient", {}, {Coded(IMAGE_GREY_F, CSize(7, 5)), Coded(IMAGE_GREY_F, CSize(7, 5))}},
        {"Replicate", {{"along", "Z"}, {"count", 3}}, {Grey(4, 3)}},
        {"Resample",
         {{"interpolation", "BILINEAR"}},
         {Coded(IMAGE_GREY_F, CSize(2, 2)), FloatsOf(2, 2, {1, 0, 0.5F, 2}), FloatsOf(2, 2, {0, 1, 1, 0})}},
        {"Resample", {}, {Volume(4, 3, 2), Volume(4, 3, 2), Volume(4, 3, 2), Volume(4, 3, 2)}},
        {"Resize", {{"scale_x", 0.5}, {"scale_y", 2.0}}, {Coded(IMAGE_GREY_F, CSize(8, 6))}},
        {"Resize", {{"scale_x", 0.3}, {"scale_y", 0.3}}, {Grey(16, 12)}},
        {"Resize", {{"scale_x", 0.3}, {"scale_y", 0.3}, {"shrink_method", "GAUSS"}}, {Grey(16, 12)}},
        {"Resize", {{"keep_ratio", true}}, {Grey(8, 6), Grey(4, 4)}},
        {"Rotate", {{"angle", 30.0}, {"resize", true}, {"verbose", true}}, {Grey(7, 5)}},
        {"Rotate", {{"angle", 30.0}, {"method", "BICUBIC_SPLINES"}}, {Volume(6, 5, 2)}},
        {"Rotate", {{"angle", 90.0}, {"resize", true}}, {Grey(7, 5)}},
        {"Scale", {{"scale_x", 0.5}, {"scale_y", -1.0}}, {Grey(6, 5)}},
        {"SelectRays", {}, {Volume(4, 3, 2), Coded(IMAGE_GREY_F, CSize(4, 3))}},
        {"Serialize", {{"direction", "X"}}, {Volume(4, 3, 2)}},
        {"Serialize", {{"direction", "Z"}}, {Grey(4, 3)}},
        {"Shrink", {{"mode", "MEDIAN"}}, {Volume(4, 4, 4)}},
        {"Shrink", {{"mode", "AVERAGE"}}, {Grey(6, 4)}},
        {"Split", {{"along", "Y"}, {"split_ratio", 0.25}}, {Grey(5, 8)}},
        {"SwitchAxes", {{"axes", "ZXY"}}, {Volume(4, 3, 2)}},
        {"Translate", {{"offset_x", 2}, {"offset_y", -1}, {"bg_value", 9.0}}, {Grey(6, 4)}},
        {"Translate", {{"offset_x", 2}, {"wrap", true}}, {Volume(6, 4, 2)}},
        {"VolumeToPlane", {{"slices_x", 2}, {"background_value", 4.0}}, {Volume(4, 3, 3)}},
    };
}

void Prepare(CPNode& node, const StCase& run) {
    CValueMap& parameters = node.Parameters();
    for (const auto& [key, value] : run.parameters) {
        std::unique_ptr<CValue> entry;
        if (const auto* flag = std::get_if<bool>(&value)) {
            entry = std::make_unique<CValueBool>(*flag);
        } else if (const auto* number = std::get_if<int>(&value)) {
            entry = std::make_unique<CValueLong>(*number);
        } else if (const auto* real = std::get_if<double>(&value)) {
            entry = std::make_unique<CValueDouble>(*real);
        } else {
            entry = std::make_unique<CValueString>(CString(std::get<const char*>(value)));
        }
        parameters.SetEntry(key, entry.release());
    }
    for (std::size_t slot = 0; slot < run.inputs.size(); ++slot) {
        node.SetStackInput(static_cast<int>(slot), run.inputs[slot].get());
    }
}

std::vector<Value> Copies(const std::vector<Value>& values) {
    std::vector<Value> copies;
    for (const Value& value : values) {
        copies.emplace_back(value->Clone(EnTfOwnership::Copy));
    }
    return copies;
}

testing::AssertionResult Same(const CValue& a, const CValue& b) {
    if (a.GenericType() != EnValType::Pointer || b.GenericType() != EnValType::Pointer) {
        return testing::AssertionResult(a.EqualData(b)) << "a map has changed";
    }
    const auto* first = UnwrapPointer<CImage>(&a);
    const auto* second = UnwrapPointer<CImage>(&b);
    if (!first->Attributes().EqualData(second->Attributes())) {
        return testing::AssertionFailure() << "attributes differ";
    }
    return SameImage(*first, *second);
}

void ExpectSame(const std::vector<Value>& expected, const std::vector<Value>& found) {
    ASSERT_EQ(expected.size(), found.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        EXPECT_TRUE(Same(*expected[index], *found[index])) << "value " << index;
    }
}

std::vector<Value> TakeOutputs(CPNode& node) {
    std::vector<Value> outputs;
    for (int slot = 0; node.StackOutput(slot) != nullptr; ++slot) {
        outputs.push_back(node.TakeStackOutput(slot));
    }
    return outputs;
}

class NodesShortOfMemory : public testing::TestWithParam<std::string> {
protected:
    static std::vector<StCase> OwnCases() {
        std::vector<StCase> cases = Cases();
        std::erase_if(cases, [](const StCase& run) { return run.node != GetParam(); });
        EXPECT_FALSE(cases.empty());
        return cases;
    }

    /// What the node gives where there is memory.
    static std::vector<Value> Expected(const StCase& run) {
        const auto node = MakeNode(run.node);
        Prepare(*node, run);
        node->NodeInit();
        node->Run();
        std::vector<Value> outputs = TakeOutputs(*node);
        EXPECT_FALSE(outputs.empty());
        return outputs;
    }

    const CFixedOutput m_printed{std::cout};
};

TEST_P(NodesShortOfMemory, AreMadeAndDescribedWholeOrNotAtAll) {
    const auto expected = DescriptionOf(GetParam());
    const std::size_t failures = WithEachAllocationFailing([&](const StFailing& failing) {
        CValueMap setup;
        const StOutcome outcome = InFailingMemory(failing, [&] { Module().Create(GetParam())->GetPluginSetup(setup); });
        EXPECT_TRUE(outcome.hasRaised || setup.EqualData(*expected));
        return outcome.failures;
    });
    EXPECT_GT(failures, 100U);
    RecordProperty("failures", static_cast<int>(failures));
}

TEST_P(NodesShortOfMemory, TakeTheirParametersOrFail) {
    std::size_t failures = 0;
    for (const StCase& run : OwnCases()) {
        SCOPED_TRACE(testing::Message() << run);
        const std::vector<Value> expected = Expected(run);
        failures += WithEachAllocationFailing([&](const StFailing& failing) {
            const auto node = MakeNode(run.node);
            Prepare(*node, run);
            const StOutcome outcome = InFailingMemory(failing, [&] { node->NodeInit(); });
            if (outcome.hasRaised) {
                node->NodeInit();
            }
            node->Run();
            ExpectSame(expected, TakeOutputs(*node));
            return outcome.failures;
        });
    }
    RecordProperty("failures", static_cast<int>(failures)); // none in a node that keeps numbers only
}

TEST_P(NodesShortOfMemory, RunOrFailWithoutATrace) {
    std::size_t failures = 0;
    for (const StCase& run : OwnCases()) {
        SCOPED_TRACE(testing::Message() << run);
        const std::vector<Value> inputs = Copies(run.inputs);
        const std::vector<Value> expected = Expected(run);
        const auto node = MakeNode(run.node);
        Prepare(*node, run);
        node->NodeInit();
        failures += WithEachAllocationFailing([&](const StFailing& failing) {
            const StOutcome outcome = InFailingMemory(failing, [&] { node->Run(); });
            if (outcome.hasRaised) {
                EXPECT_TRUE(TakeOutputs(*node).empty()) << "a failed run has set an output";
                EXPECT_TRUE(std::cout.good());
                ExpectSame(inputs, run.inputs);
                node->Run();
            }
            ExpectSame(expected, TakeOutputs(*node));
            return outcome.failures;
        });
    }
    EXPECT_GT(failures, 4U); // an image, its block, its value, ...
    RecordProperty("failures", static_cast<int>(failures));
}

TEST(NodeBaseShortOfMemory, ReportsOrLosesNothing) {
    const std::size_t failures = WithEachAllocationFailing([](const StFailing& failing) {
        const auto node = MakeNode("Flip");
        const CValueLong data(3);
        auto owned = std::make_unique<CValueLong>(4);
        const StOutcome outcome = InFailingMemory(failing, [&] {
            node->AddResultData(owned.release(), true, "a name of a good many letters");
            node->AddDebugData(0, data, "another one of as many letters");
        });
        EXPECT_TRUE(outcome.hasRaised || node->DebugData().Size() == 1);
        return outcome.failures;
    });
    EXPECT_GT(failures, 4U);
}

INSTANTIATE_TEST_SUITE_P(Module, NodesShortOfMemory, testing::ValuesIn(Module().Names()),
                         [](const auto& node) { return node.param; });

} // namespace
} // namespace QUOR::test
