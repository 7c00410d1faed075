// What holds for every node, checked from the module's own list and the nodes' descriptions.

#include "NodeTest.h"

#include <iostream>
#include <set>

namespace QUOR::test {
namespace {

class AllNodes : public testing::TestWithParam<std::string> {};

/// The parameters that are published without a text of their own.
const std::set<std::string> kWithoutText{"Border/padvalue", "DeleteDuplicate/verbose"};

std::vector<std::string> SplitList(const std::string& list) {
    std::vector<std::string> words;
    std::size_t first = 0;
    for (std::size_t end = list.find(", "); end != std::string::npos; end = list.find(", ", first)) {
        words.push_back(list.substr(first, end - first));
        first = end + 2;
    }
    words.push_back(list.substr(first));
    return words;
}

/// The input slots that take images.
std::vector<int> ImageSlots(const std::string& name) {
    const auto setup = DescriptionOf(name);
    const CValueMap& inputs = *setup->Entry("inputs", true)->Map();
    std::vector<int> slots;
    for (int slot = 0; slot < static_cast<int>(inputs.Size()); ++slot) {
        if (inputs.HasEntry(CValue_Key(std::to_string(slot)), EnValType::Pointer)) {
            slots.push_back(slot);
        }
    }
    return slots;
}

/// The number of images that a value of a port points to; 0 for a value that is no pointer.
std::size_t CountOf(const CValue& value) {
    const auto* pointer = dynamic_cast<const CValuePointer<CImage>*>(&value);
    return pointer == nullptr ? 0 : pointer->Count();
}

/// What a run gives: the failure's words, or the outputs.
struct StResult {
    std::string failure;
    std::vector<ImagePtr> images;
};

/// A node's outcome on clones of one image, taken for all its image inputs.
StResult RunOn(CNodeUnderTest& node, const std::string& name, const CImage& image,
               CNodeUnderTest& (CNodeUnderTest::*run)() = &CNodeUnderTest::Run) {
    for (const int slot : ImageSlots(name)) {
        node.Input(slot, ImagePtr(image.Clone(IImage::EnCloningStrategy::Everything)));
    }
    const CCapturedOutput printed(std::cout);
    StResult result;
    try {
        (node.*run)();
    } catch (const CException& failure) {
        EXPECT_FALSE(node.HasOutput(0)) << "a failed run has set an output";
        EXPECT_FALSE(node.HasOutput(1)) << "a failed run has set an output";
        EXPECT_STRNE(failure.What(), "");
        EXPECT_STRNE(failure.Where(), "");
        result.failure = failure.FormattedWhat();
        return result;
    }
    for (int slot = 0; slot < 2 && node.HasOutput(slot); ++slot) {
        if (node.OutputValue(slot)->GenericType() == EnValType::Pointer) {
            EXPECT_EQ(CountOf(*node.OutputValue(slot)), 1U);
            result.images.emplace_back(node.Output(slot).Clone(IImage::EnCloningStrategy::Everything));
        }
    }
    for (const int slot : ImageSlots(name)) {
        EXPECT_TRUE(SameImage(image, node.InputImage(slot))) << "input " << slot << " has changed";
    }
    return result;
}

void ExpectSame(const StResult& a, const StResult& b) {
    EXPECT_EQ(a.failure, b.failure);
    ASSERT_EQ(a.images.size(), b.images.size());
    for (std::size_t i = 0; i < a.images.size(); ++i) {
        EXPECT_TRUE(SameImage(*a.images[i], *b.images[i]));
    }
}

TEST_P(AllNodes, DescribesEverythingItDeclares) {
    const std::string& name = GetParam();
    const auto setup = DescriptionOf(name);
    EXPECT_EQ(setup->EntryString("name", "").Text(), name);
    EXPECT_EQ(setup->EntryString("pluginType", ""), "Image");
    EXPECT_EQ(setup->EntryString("__nodekaDocumentation", "").Text(),
              "%QUORDIR%/doc/nodeka/html/manipulation/P" + name + "/index.html");
    const std::string text = setup->EntryString("description", "").Text();
    EXPECT_EQ(text.rfind("BRIEF\n", 0), 0U);
    EXPECT_EQ(text.find('\r'), std::string::npos);
    for (const char* side : {"inputs", "outputs"}) {
        for (const auto& [key, port] : *setup->Entry(side, true)->Map()) {
            const std::string header = (side == std::string("inputs") ? "\nINPUT " : "\nOUTPUT ") + key.Text() + "\n";
            EXPECT_NE(text.find(header), std::string::npos) << header;
            EXPECT_TRUE(port->Meta().HasEntry("label", EnValType::String)) << side << key.Text();
            EXPECT_EQ(port->Meta().HasEntry("optional", EnValType::Bool), side == std::string("inputs"));
            EXPECT_EQ(CountOf(*port), port->GenericType() == EnValType::Map ? 0U : 1U);
        }
    }
}

TEST_P(AllNodes, GivesEveryParameterItsTextAndAValidDefault) {
    const std::string& name = GetParam();
    const auto setup = DescriptionOf(name);
    const std::map<EnValType, std::string> kinds{{EnValType::Bool, "bool"},
                                                 {EnValType::Long, "long"},
                                                 {EnValType::Double, "double"},
                                                 {EnValType::String, "string"}};
    for (const auto& [key, value] : *setup->Entry("parameters", true)->Map()) {
        const std::string entry = "parameters/" + key.Text();
        ASSERT_TRUE(kinds.contains(value->GenericType())) << entry;
        if (kWithoutText.contains(name + "/" + key.Text())) {
            EXPECT_EQ(MetaText(*setup, entry, "desc"), "(none)");
        } else {
            const std::string start = "The type of this parameter is of type " + kinds.at(value->GenericType()) + ". ";
            EXPECT_EQ(MetaText(*setup, entry, "desc").rfind(start, 0), 0U) << entry;
        }
        if (value->Meta().HasEntry("val/enValues")) {
            const std::vector<std::string> allowed = SplitList(MetaText(*setup, entry, "val/enValues"));
            EXPECT_NE(std::find(allowed.begin(), allowed.end(), value->String().Text()), allowed.end()) << entry;
        }
    }
    if (setup->HasEntry("gui/order")) {
        for (const auto& [number, key] : *setup->Entry("gui/order", true)->Map()) {
            EXPECT_TRUE(setup->HasEntry(CValue_Key("parameters/" + key->String().Text()))) << number.ToString();
        }
    }
}

TEST_P(AllNodes, DescribesItselfAlikeEveryTime) {
    const auto node = MakeNode(GetParam());
    CValueMap first;
    CValueMap second;
    node->GetPluginSetup(first);
    node->GetPluginSetup(second);
    EXPECT_TRUE(first.Entry("inputs", true)->Meta().IsEmpty());
    EXPECT_EQ(first.EntryString("description", "").Text(), second.EntryString("description", "").Text());
    EXPECT_TRUE(first.Entry("parameters", true)->EqualData(*second.Entry("parameters", true)));
}

TEST_P(AllNodes, FailsWithoutInputs) {
    CNodeUnderTest node(GetParam());
    const CCapturedOutput printed(std::cout);
    const StFailure failure = node.Failure();
    EXPECT_NE(failure.where.find(GetParam() == "Autocrop" ? "AutoCrop" : GetParam()), std::string::npos) << failure;
}

TEST_P(AllNodes, HasTheDefaultsOfItsDescriptionBeforeNodeInit) {
    const std::string& name = GetParam();
    const auto setup = DescriptionOf(name);
    for (const auto& type : AllTypes()) {
        const ImagePtr image = CodedImage(type, CSize(5, 4, 3));
        CNodeUnderTest made(name);
        CNodeUnderTest told(name);
        for (const auto& [key, value] : *setup->Entry("parameters", true)->Map()) {
            told.Node().Parameters().SetEntry(key, value->Clone(EnTfOwnership::Copy));
        }
        ExpectSame(RunOn(told, name, *image), RunOn(made, name, *image, &CNodeUnderTest::RunAgain));
    }
}

TEST_P(AllNodes, PrintsNothingByDefault) {
    const CCapturedOutput printed(std::cout);
    const CCapturedOutput warned(std::cerr);
    for (const auto& type : AllTypes()) {
        CNodeUnderTest node(GetParam());
        for (const int slot : ImageSlots(GetParam())) {
            node.Input(slot, CodedImage(type, CSize(4, 3)));
        }
        try {
            node.Run();
        } catch (const CException&) { // prints nothing either
        }
    }
    EXPECT_EQ(printed.Text(), "");
    EXPECT_EQ(warned.Text(), "");
}

TEST_P(AllNodes, RepeatsItsRunsAndAgreesWithOtherObjects) {
    const std::string& name = GetParam();
    std::mt19937 random(20);
    int served = 0;
    for (const auto& type : AllTypes()) {
        for (const CSize& size : {CSize(5, 4), CSize(4, 3, 2)}) {
            const ImagePtr image =
                type == IMAGE_GREY_F || type == IMAGE_GREY_D ? CodedImage(type, size) : RandomImage(type, size, random);
            CNodeUnderTest node(name);
            CNodeUnderTest other(name);
            const StResult first = RunOn(node, name, *image);
            served += first.failure.empty() ? 1 : 0;
            ExpectSame(first, RunOn(node, name, *image));
            ExpectSame(first, RunOn(other, name, *image));
        }
    }
    // A table of labels is too small for its own numbers, and a plane of features needs a plug-in.
    EXPECT_TRUE(served > 0 || name == "LabelToValue" || name == "LabelToFeature") << "no image was served";
}

TEST_P(AllNodes, GetsOverEmptyImagesOfAnyExtents) {
    const std::string& name = GetParam();
    constexpr std::int64_t huge = std::int64_t{1} << 40;
    for (const auto& type : AllTypes()) {
        for (const CSize& size : {CSize(0, 0), CSize(0, 3), CSize(3, 0), CSize(2, 2, 0), CSize(0, huge, huge),
                                  CSize(huge, 0, huge), CSize(huge, huge, 0)}) {
            CNodeUnderTest node(name);
            const ImagePtr image = ZeroImage(type, size);
            const StResult first = RunOn(node, name, *image);
            ExpectSame(first, RunOn(node, name, *image));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Module, AllNodes, testing::ValuesIn(Module().Names()),
                         [](const auto& node) { return node.param; });

} // namespace
} // namespace QUOR::test
