#include "NodeTest.h"

#include <chrono>
#include <cstdlib>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace QUOR::test {
namespace {

const std::string kPlugins = TEST_PLUGIN_DIRECTORY "/";
const std::string kSecond = kPlugins + "SecondModule.so";
const std::string kLacking = kPlugins + "LackingTimestamp.so";
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

class PluginFiles : public testing::Test {
protected:
    PluginFiles() : m_library(kSecond), m_bytes(std::istreambuf_iterator<char>(m_library), {}) {}
    ~PluginFiles() override { std::filesystem::remove(m_file); }
    PluginFiles(const PluginFiles&) = delete;
    PluginFiles& operator=(const PluginFiles&) = delete;

    /// Why a library of these bytes isn't loaded, without the file's name; "" if it is.
    std::string Refusal(const std::string& bytes) {
        std::filesystem::remove(m_file); // never written over: it may be loaded
        std::ofstream(m_file, std::ios::binary) << bytes;
        const std::string start = m_file + ": the plug-in library can't be loaded: ";
        try {
            const CPluginModule module(m_file);
            return "";
        } catch (const CException& failure) {
            const std::string what = failure.What();
            return what.starts_with(start) ? what.substr(start.size()) : what;
        }
    }

    std::string m_file =
        (std::filesystem::temp_directory_path() / ("vessa-plugin-" + std::to_string(::getpid()) + ".so")).string();
    std::ifstream m_library;
    std::string m_bytes;
};

TEST_F(PluginFiles, OfAnotherProcessorAreToldAsSuch) {
    ASSERT_EQ(Refusal(m_bytes), "");
    for (const std::size_t place :
         std::initializer_list<std::size_t>{EI_CLASS, EI_DATA, 18, 19}) { // the last two hold the machine
        std::string other = m_bytes;
        other[place] = static_cast<char>(other[place] ^ 3);
        EXPECT_EQ(Refusal(other), "it is made for another kind of processor") << place;
    }
}

TEST_F(PluginFiles, ThatAreCutOffAreToldAsSuch) {
    std::size_t cutOff = 0;
    for (std::size_t length = 0; length < m_bytes.size(); length += m_bytes.size() / 97) {
        const std::string refusal = Refusal(m_bytes.substr(0, length));
        cutOff += refusal == "it is cut off" ? 1 : 0;
        EXPECT_TRUE(refusal == "it is cut off" || length < 64 || refusal.empty()) << length << ": " << refusal;
    }
    EXPECT_GT(cutOff, 20U) << "what stands behind the mapped segments may be missing";
    EXPECT_EQ(Refusal(m_bytes.substr(0, 4096)), "it is cut off");
    EXPECT_EQ(Refusal(m_bytes.substr(0, 100)), "it is cut off") << "in the midst of the table of segments";
    EXPECT_EQ(Refusal(""), m_file + ": file too short");
}

TEST_F(PluginFiles, MustBeRegular) {
    ASSERT_EQ(::mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_EQ(LoadingFailure(m_file).what, m_file + ": the plug-in library can't be loaded: it is no regular file");
    EXPECT_EQ(LoadingFailure("/dev/zero").what,
              "/dev/zero: the plug-in library can't be loaded: it is no regular file");
    EXPECT_EQ(LoadingFailure("/tmp").what, "/tmp: the plug-in library can't be loaded: it is no regular file");
}

TEST(PluginModules, RefuseALibraryWithoutAnExport) {
    const std::vector<std::pair<std::string, std::string>> lacking{
        {kPlugins + "LackingCreate.so", "CreatePluginInstanceEx"},
        {kPlugins + "LackingList.so", "ListPlugins"},
        {kLacking, "get_loading_timestamp"}};
    for (const auto& [file, name] : lacking) {
        EXPECT_EQ(
            LoadingFailure(file),
            (StFailure{"CPluginModule", file + ": the library is no plug-in library: it doesn't export " + name}));
        EXPECT_FALSE(IsLoaded(file)) << "a failure leaves nothing loaded";
    }
}

TEST(PluginModules, RefuseAListThatIsMissingOrNoListOfNames) {
    const std::vector<std::pair<std::string, std::string>> lists{
        {"missing", "the library gives no list of its plug-ins"},
        {"raising", "the library's list of plug-ins can't be made: (odd lists) ListPlugins: no list"},
        {"raising its own", "the library's list of plug-ins can't be made: a failure of its own"},
        {"raising a number", "the library's list of plug-ins can't be made: a failure of unknown kind"},
        {"wrong", "entry 1 of the library's list of plug-ins is no text"},
        {"hole", "entry 1 of the library's list of plug-ins is no text"},
        {"nameless", "entry 1 of the library's list of plug-ins is empty"},
        {"twice", "entry 2 of the library's list of plug-ins is 'Right' again"}};
    for (const auto& [list, failure] : lists) {
        ::setenv("VESSA_TEST_LIST", list.c_str(), 1);
        EXPECT_EQ(LoadingFailure(kOddLists), (StFailure{"CPluginModule", kOddLists + ": " + failure})) << list;
    }
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

TEST(GetPluginObject, PassesOnWhatIsRaisedWhileItsCodeIsThere) {
    try {
        PluginObject(nullptr, kOddLists + "#Raising");
        ADD_FAILURE() << "nothing was raised";
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "a failure of its own");
    }
}

} // namespace
} // namespace QUOR::test
