#include "NodeTest.h"

#include <chrono>
#include <cstdlib>
#include <dlfcn.h>
#include <utility>

namespace QUOR::test {
namespace {

const std::string kPlugins = TEST_PLUGIN_DIRECTORY "/";
const std::string kSecond = kPlugins + "SecondModule.so";
const std::string kLacking = kPlugins + "LackingExport.so";
const std::string kOddLists = kPlugins + "OddLists.so";

StFailure LoadingFailure(const std::string& file) {
    return FailureOf([&] { const CPluginModule module(file); });
}

bool IsLoaded(const std::string& file) {
    void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        ::dlclose(handle);
    }
    return handle != nullptr;
}

std::int64_t Now() {
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

TEST(PluginModules, TellTheirNamesInOrder) {
    const CPluginModule module(kSecond);
    EXPECT_EQ(module.Names(), (std::vector<std::string>{"Number", "Refusing", "Raising"}));
    EXPECT_EQ(module.File(), kSecond);
    EXPECT_EQ(module.LoadingTimestamp(), 1234567890123);
}

TEST(PluginModules, TellWhenTheyWereLoaded) {
    const std::int64_t before = Now();
    const CPluginModule module(MANIPULATION_MODULE);
    const std::int64_t loaded = module.LoadingTimestamp();
    EXPECT_GE(loaded, before);
    EXPECT_LE(loaded, Now());
    static_cast<void>(module.Create("Flip"));
    EXPECT_EQ(CPluginModule(MANIPULATION_MODULE).LoadingTimestamp(), loaded) << "a second handle loads nothing anew";
}

TEST(PluginModules, MakePluginsByName) {
    const CPluginModule module(kSecond);
    const std::unique_ptr<IPluginObject> plugin = module.Create("Number");
    auto* node = dynamic_cast<CPNode*>(plugin.get());
    ASSERT_NE(node, nullptr);
    node->Parameters().SetEntry("number", new CValueLong(5));
    node->Run();
    EXPECT_EQ(std::as_const(*node->StackOutput(0)).Long(), 5);
    for (const char* name : {"", "number", "Number ", "Flip"}) {
        EXPECT_EQ(module.Create(name), nullptr) << name;
    }
}

TEST(PluginModules, RaiseExceptionsThatTheHostCatches) {
    const CPluginModule module(kSecond);
    const std::unique_ptr<IPluginObject> plugin = module.Create("Number");
    EXPECT_EQ(FailureOf([&] { dynamic_cast<CPNode&>(*plugin).Run(); }),
              (StFailure{"(second module) Number", "there is no number"}));
    EXPECT_EQ(FailureOf([&] { module.Create("Raising"); }),
              (StFailure{"(second module)", "this plug-in can't be made"}));
    try {
        dynamic_cast<CPNode&>(*plugin).Run();
        ADD_FAILURE() << "nothing was raised";
    } catch (const IVectorizable& failure) {
        EXPECT_NE(dynamic_cast<const CException*>(&failure), nullptr);
    }
}

TEST(PluginModules, AreMovedWithTheirLibrary) {
    CPluginModule first(kSecond);
    CPluginModule second(std::move(first));
    EXPECT_EQ(second.Names().size(), 3U);
    CPluginModule third(MANIPULATION_MODULE);
    third = std::move(second);
    EXPECT_EQ(third.Names().front(), "Number");
    EXPECT_NE(third.Create("Number"), nullptr);
}

TEST(PluginModules, AreFoundByAPlainNameInTheCurrentFolder) {
    const StFailure failure = LoadingFailure("no_such_library.so");
    EXPECT_NE(failure.what.find("./no_such_library.so"), std::string::npos)
        << "not in the folders of the system: " << failure.what;
}

TEST(PluginModules, RefuseAFileThatIsNotThere) {
    const std::string file = kPlugins + "absent.so";
    const StFailure failure = LoadingFailure(file);
    EXPECT_EQ(failure.where, "CPluginModule");
    const std::string start = file + ": the plug-in library can't be loaded: ";
    EXPECT_EQ(failure.what.substr(0, start.size()), start);
    EXPECT_NE(failure.what.find("No such file"), std::string::npos) << failure.what;
    EXPECT_EQ(LoadingFailure("").where, "CPluginModule");
}

TEST(PluginModules, RefuseAFileThatIsNoLibrary) {
    const std::string file = SAMPLES_DIRECTORY "/particles.png";
    const std::string start = file + ": the plug-in library can't be loaded: ";
    EXPECT_EQ(LoadingFailure(file).what.substr(0, start.size()), start);
}

TEST(PluginModules, RefuseALibraryWithoutAnExport) {
    EXPECT_EQ(LoadingFailure(kLacking),
              (StFailure{"CPluginModule", kLacking + ": the library is no plug-in library: it doesn't export "
                                                     "get_loading_timestamp"}));
    EXPECT_FALSE(IsLoaded(kLacking)) << "a failure leaves nothing loaded";
}

TEST(PluginModules, RefuseAListThatIsMissingOrHoldsNoTexts) {
    ::setenv("VESSA_TEST_LIST", "missing", 1);
    EXPECT_EQ(LoadingFailure(kOddLists),
              (StFailure{"CPluginModule", kOddLists + ": the library gives no list of its plug-ins"}));
    ::setenv("VESSA_TEST_LIST", "wrong", 1);
    EXPECT_EQ(LoadingFailure(kOddLists),
              (StFailure{"CPluginModule", kOddLists + ": entry 1 of the library's list of plug-ins is no text"}));
    ::setenv("VESSA_TEST_LIST", "empty", 1);
    EXPECT_TRUE(CPluginModule(kOddLists).Names().empty());
    EXPECT_EQ(GetPluginObject(nullptr, kOddLists.c_str(), nullptr), nullptr);
    ::unsetenv("VESSA_TEST_LIST");
}

TEST(PluginModules, AreUnloadedIfTheyMadeNoObject) {
    ASSERT_FALSE(IsLoaded(kOddLists));
    {
        const CPluginModule module(kOddLists);
        EXPECT_TRUE(IsLoaded(kOddLists));
        EXPECT_EQ(module.Create("Unknown"), nullptr);
    }
    EXPECT_FALSE(IsLoaded(kOddLists));
}

TEST(PluginModules, StayLoadedForTheObjectsThatOutliveThem) {
    std::unique_ptr<IPluginObject> plugin;
    std::unique_ptr<CValue> output;
    {
        const CPluginModule module(kSecond);
        plugin = module.Create("Number");
    }
    EXPECT_TRUE(IsLoaded(kSecond));
    auto& node = dynamic_cast<CPNode&>(*plugin);
    node.Parameters().SetEntry("number", new CValueLong(6));
    node.Run();
    output = node.TakeStackOutput(0);
    plugin.reset();
    EXPECT_TRUE(IsLoaded(kSecond));
    EXPECT_EQ(std::as_const(*output).Long(), 6);
}

TEST(PluginModules, StandBesideOneAnother) {
    const CPluginModule first(MANIPULATION_MODULE);
    const CPluginModule second(kSecond);
    const std::unique_ptr<IPluginObject> flip = first.Create("Flip");
    const std::unique_ptr<IPluginObject> number = second.Create("Number");
    auto* flipNode = dynamic_cast<CPNode*>(flip.get());
    auto* numberNode = dynamic_cast<CPNode*>(number.get());
    ASSERT_NE(flipNode, nullptr);
    ASSERT_NE(numberNode, nullptr);
    EXPECT_NE(typeid(*flipNode), typeid(*numberNode));
    EXPECT_EQ(first.Create("Number"), nullptr);
    EXPECT_EQ(second.Create("Flip"), nullptr);
    EXPECT_EQ(FailureOf([&] { flipNode->Run(); }).where, "(manipulation plugins) Flip");
    EXPECT_EQ(FailureOf([&] { numberNode->Run(); }).where, "(second module) Number");
}

std::unique_ptr<IPluginObject> PluginObject(const char* module, const std::string& path,
                                            const CValueMap* parameters = nullptr) {
    return std::unique_ptr<IPluginObject>(GetPluginObject(module, path.c_str(), parameters));
}

TEST(GetPluginObject, GivesThePluginThatThePathNames) {
    EXPECT_NE(dynamic_cast<CPNode*>(PluginObject(nullptr, kSecond + "#Number").get()), nullptr);
    EXPECT_NE(dynamic_cast<CPNode*>(PluginObject(nullptr, kSecond).get()), nullptr) << "the first of the list";
    const auto refusing = PluginObject(nullptr, kSecond + "#Refusing");
    ASSERT_NE(refusing, nullptr);
    EXPECT_EQ(dynamic_cast<CPNode*>(refusing.get()), nullptr);
}

TEST(GetPluginObject, TakesTheFileAndTheNameApartFromOneAnother) {
    EXPECT_NE(PluginObject(kSecond.c_str(), "Refusing"), nullptr);
    EXPECT_NE(PluginObject(kSecond.c_str(), ""), nullptr) << "the first of the list";
    EXPECT_EQ(PluginObject(kSecond.c_str(), "Unknown"), nullptr);
    EXPECT_EQ(PluginObject(kSecond.c_str(), "#Number"), nullptr);
}

TEST(GetPluginObject, HandsOverParameters) {
    CValueMap parameters;
    parameters.SetEntry("number", new CValueLong(8));
    const auto plugin = PluginObject(nullptr, kSecond, &parameters);
    auto& node = dynamic_cast<CPNode&>(*plugin);
    node.Run();
    EXPECT_EQ(std::as_const(*node.StackOutput(0)).Long(), 8);
}

TEST(GetPluginObject, GivesNullWithoutSuchAPlugin) {
    EXPECT_EQ(GetPluginObject(nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(PluginObject(nullptr, ""), nullptr);
    EXPECT_EQ(PluginObject(nullptr, kPlugins + "absent.so"), nullptr);
    EXPECT_EQ(PluginObject(nullptr, kLacking), nullptr);
    EXPECT_EQ(PluginObject(nullptr, SAMPLES_DIRECTORY "/particles.png"), nullptr);
    EXPECT_EQ(PluginObject(nullptr, kSecond + "#Unknown"), nullptr);
    EXPECT_EQ(PluginObject(nullptr, kSecond + "#"), nullptr);
    EXPECT_EQ(PluginObject(nullptr, kSecond + "#Raising"), nullptr);
    EXPECT_EQ(PluginObject(nullptr, "#Number"), nullptr);
    CValueMap parameters;
    EXPECT_EQ(PluginObject(nullptr, kSecond + "#Refusing", &parameters), nullptr);
}

} // namespace
} // namespace QUOR::test
