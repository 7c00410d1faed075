#include "NodeTest.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <dlfcn.h>
#include <set>
#include <thread>

namespace QUOR::test {
namespace {

/// The module as the loader sees it, for its bare exports.
void* Library() {
    static void* library = ::dlopen(MANIPULATION_MODULE, RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(library, nullptr);
    return library;
}

template <class Function> Function* Export(const char* name) {
    auto* function = reinterpret_cast<Function*>(::dlsym(Library(), name));
    EXPECT_NE(function, nullptr) << name;
    return function;
}

std::unique_ptr<IPluginObject> Created(const char* name) {
    return std::unique_ptr<IPluginObject>(Export<IPluginObject*(const char*)>("CreatePluginInstanceEx")(name));
}

std::string LinesOf(const std::string& command) {
    std::FILE* pipe = ::popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    std::string text;
    std::array<char, 256> part{};
    while (pipe != nullptr && std::fgets(part.data(), static_cast<int>(part.size()), pipe) != nullptr) {
        text += part.data();
    }
    EXPECT_EQ(pipe == nullptr ? -1 : ::pclose(pipe), 0) << command;
    return text;
}

const std::vector<std::string>& AllNodes() {
    static const std::vector<std::string> names{"Flip",          "Emplace",      "Extract",          "Border",
                                                "Shrink",        "Translate",    "Expand",           "VolumeToPlane",
                                                "PlaneToVolume", "SelectRays",   "SwitchAxes",       "LabelToValue",
                                                "Append",        "Rotate",       "Resize",           "Resample",
                                                "Autocrop",      "ComposeImage", "CartesianToPolar", "PolarToCartesian",
                                                "LabelToColor",  "LabelToSize",  "LabelToFeature",   "Reorient",
                                                "Pad",           "Serialize",    "Deserialize",      "Scale",
                                                "Split",         "Replicate",    "DeleteDuplicate"};
    return names;
}

// The first test, since any other one has the module make a node.
TEST(Module, IsUnloadedIfItMadeNoNode) {
    const auto isLoaded = [] {
        void* handle = ::dlopen(MANIPULATION_MODULE, RTLD_NOW | RTLD_NOLOAD);
        return handle != nullptr && ::dlclose(handle) == 0;
    };
    ASSERT_FALSE(isLoaded());
    {
        const CPluginModule module(MANIPULATION_MODULE);
        EXPECT_TRUE(isLoaded());
        EXPECT_EQ(module.Names().size(), 31U);
    }
    EXPECT_FALSE(isLoaded());
}

TEST(Module, ExportsFourFunctionsAndNothingElse) {
    std::istringstream lines(LinesOf("nm -D --defined-only " MANIPULATION_MODULE));
    std::set<std::string> names;
    std::string address;
    std::string kind;
    std::string name;
    while (lines >> address >> kind >> name) {
        EXPECT_EQ(kind, "T") << name;
        names.insert(name);
    }
    EXPECT_EQ(names,
              (std::set<std::string>{"CreatePluginInstanceEx", "DllMain", "ListPlugins", "get_loading_timestamp"}));
}

TEST(Module, ListsItsNodesInOrder) {
    EXPECT_EQ(Module().Names(), AllNodes());
    const auto list = Export<CValueVector*()>("ListPlugins");
    const std::unique_ptr<CValueVector> first(list());
    const std::unique_ptr<CValueVector> second(list());
    ASSERT_NE(first, second);
    EXPECT_TRUE(first->Equal(*second));
    ASSERT_EQ(first->Size(), 31U);
    for (int index = 0; index < 31; ++index) {
        ASSERT_TRUE(first->HasEntry(index, EnValType::String));
        EXPECT_EQ(first->Entry(index, true)->String(), AllNodes()[static_cast<std::size_t>(index)].c_str());
        EXPECT_NE(first->Entry(index, true), second->Entry(index, true));
    }
}

TEST(Module, MakesEachNodeAnewByItsName) {
    for (const std::string& name : AllNodes()) {
        const auto first = Created(name.c_str());
        const auto second = Created(name.c_str());
        ASSERT_NE(dynamic_cast<CPNode*>(first.get()), nullptr) << name;
        EXPECT_NE(first, second) << name;
        EXPECT_TRUE(first->TestInterface("CPNode")) << name;
        EXPECT_NE(dynamic_cast<IVectorizable*>(first.get()), nullptr) << name;
    }
}

TEST(Module, GivesNullInSilenceForAnUnknownName) {
    const CCapturedOutput out(std::cout);
    const CCapturedOutput err(std::cerr);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const char* name : {static_cast<const char*>(nullptr), "", "flip", "AutoCrop", "Flip ", " Flip", "PFlip",
                             "Fli", "Flips", "Unknown"}) {
        EXPECT_EQ(Created(name), nullptr) << (name == nullptr ? "null" : name);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(out.Text(), "");
    EXPECT_EQ(err.Text(), "");
}

TEST(Module, KeepsTheTimeAtWhichItWasLoaded) {
    const auto timestamp = Export<std::int64_t()>("get_loading_timestamp");
    const std::int64_t loaded = timestamp();
    EXPECT_GT(loaded, 0);
    static_cast<void>(Created("Flip"));
    EXPECT_EQ(timestamp(), loaded);
    const auto entry = Export<int(void*, std::uint32_t, void*)>("DllMain");
    for (const std::uint32_t reason : {0U, 2U, 3U, 99U}) {
        EXPECT_EQ(entry(nullptr, reason, nullptr), 1);
        EXPECT_EQ(timestamp(), loaded);
    }
    while (std::time(nullptr) == loaded) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(entry(nullptr, 1U, nullptr), 1);
    EXPECT_GT(timestamp(), loaded) << "an attachment sets it";
}

TEST(Module, DescribesANodeBesideEarlierKeywords) {
    CValueMap setup;
    setup.SetEntry("keywords", new CValueVector);
    setup.Entry("keywords", true)->Vector()->PushBack(new CValueString(CString("earlier")));
    MakeNode("Flip")->GetPluginSetup(setup);
    EXPECT_EQ(KeywordsOf(setup), "earlier|flip axes|axis|left to right|mirror|reflect");
}

TEST(Module, RaisesExceptionsThatItsHostCatches) {
    const auto node = MakeNode("Flip");
    EXPECT_THROW(node->Run(), CException);
    EXPECT_THROW(node->Run(), IVectorizable);
    try {
        node->Run();
        ADD_FAILURE() << "nothing was raised";
    } catch (const std::exception&) {
        ADD_FAILURE() << "a CException is no std::exception";
    } catch (const CException& failure) {
        EXPECT_STREQ(failure.FormattedWhat(), "(manipulation plugins) Flip: input image is NULL");
    }
}

} // namespace
} // namespace QUOR::test
