// The documentation as the program makes it: of the module, and of the test plug-in for what the module lacks.

#include "DocCatalogue.h"
#include "Html.h"
#include "Modules.h"
#include "NodeText.h"
#include "Program.h"
#include "ProgramTest.h"
#include "Text.h"
#include "ValueFile.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const std::string kPages = "nodeka/html/manipulation/";

StPlaces BuildPlaces() { return PlacesBeside(fs::path(VESSA_PROGRAM).parent_path()); }

/// The documentation of all nodes in the build tree, made once.
class DocCommand : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_folder = new CTestFolder;
        s_result = RunHere({"doc", *s_folder / "doc"});
    }
    static void TearDownTestSuite() {
        delete s_folder;
        s_folder = nullptr;
    }

    static fs::path Root() { return s_folder->Path() / "doc"; }
    static std::string Page(const std::string& name) { return TextOf(Root() / kPages / name); }

    static std::vector<fs::path> Files(const std::string& ending) {
        std::vector<fs::path> files;
        for (const auto& entry : fs::recursive_directory_iterator(Root())) {
            if (entry.path().extension() == ending) {
                files.push_back(entry.path());
            }
        }
        return files;
    }

    static CTestFolder* s_folder;
    static StResult s_result;
};

CTestFolder* DocCommand::s_folder = nullptr;
StResult DocCommand::s_result;

std::vector<StNodeDescription> Nodes() {
    std::ostringstream talk;
    std::vector<StNodeDescription> nodes;
    for (CModules::StModule& module : CModules(BuildPlaces(), {}, talk).All()) {
        std::move(module.nodes.begin(), module.nodes.end(), std::back_inserter(nodes));
    }
    return nodes;
}

/// What stands between `begin` and the next `end`, wherever that is in the text.
std::vector<std::string> Between(const std::string& text, const std::string& begin, const std::string& end) {
    std::vector<std::string> found;
    for (std::size_t at = 0; (at = text.find(begin, at)) != std::string::npos;) {
        at += begin.size();
        found.push_back(text.substr(at, text.find(end, at) - at));
    }
    return found;
}

/// The value of an attribute of an element; "" if it has none.
std::string Attribute(const std::string& element, const std::string& name) {
    const std::vector<std::string> values = Between(element, " " + name + "=\"", "\"");
    return values.empty() ? "" : values.front();
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(DocCommand, NamesTheTopPage) { EXPECT_EQ(s_result, (StResult{0, (Root() / "index.html").string() + "\n", ""})); }

TEST_F(DocCommand, EveryNodeHasItsPageWhereItsDescriptionSays) {
    const std::vector<StNodeDescription> nodes = Nodes();
    EXPECT_EQ(nodes.size(), 31U);
    for (const StNodeDescription& node : nodes) {
        ASSERT_EQ(node.page.find("%QUORDIR%/doc/"), 0U) << node.page;
        const std::string page = TextOf(Root() / node.page.substr(14));
        EXPECT_TRUE(Has(page, "<h1>" + node.name + "</h1>\n")) << node.name;
        EXPECT_TRUE(Has(page, "<pre class=\"command\"><code><span>vessa</span> <span>run</span> <span>" + node.name))
            << node.name;
        for (const StParameter& parameter : node.parameters) {
            const std::string name = "parameter-" + parameter.key;
            EXPECT_TRUE(Has(page, "<dt id=\"" + name + "\"><a href=\"#" + name + "\">" + Code(OptionForm(parameter)) +
                                      "</a> <span class=\"kind\">" + KindWord(parameter.Kind())))
                << node.name << " " << parameter.key;
        }
        for (const char* mark : {"\\a ", "\\f$", "\\\n"}) {
            EXPECT_FALSE(Has(page, mark)) << node.name;
        }
    }
}

TEST_F(DocCommand, EveryNodeHasPicturesOfBeforeAndAfter) {
    for (const StNodeDescription& node : Nodes()) {
        const std::string page = TextOf(Root() / node.page.substr(14));
        const std::size_t before = page.find("<h3>Before</h3>");
        const std::size_t after = page.find("<h3>After</h3>");
        ASSERT_NE(after, std::string::npos) << node.name;
        EXPECT_TRUE(Has(page.substr(before, after - before), "<img src=\"../../../../assets/samples/")) << node.name;
        EXPECT_TRUE(Has(page.substr(after), "<img src=\"" + node.name + "-example-1/")) << node.name;
    }
}

TEST_F(DocCommand, PicturesHaveTheirSizeAndAText) {
    std::set<fs::path> shown;
    for (const fs::path& page : Files(".html")) {
        for (const std::string& element : Between(TextOf(page), "<img", ">")) {
            const fs::path file = fs::weakly_canonical(page.parent_path() / Attribute(element, "src"));
            const auto value = ReadValue(file.string(), {});
            const auto& size = QUOR::UnwrapPointer<QUOR::CImage>(value.get())->Size();
            EXPECT_EQ(Attribute(element, "width"), std::to_string(size.x)) << page << element;
            EXPECT_EQ(Attribute(element, "height"), std::to_string(size.y)) << page << element;
            EXPECT_TRUE(Has(Attribute(element, "alt"), ", IMAGE_")) << page << element;
            shown.insert(file);
        }
    }
    EXPECT_GT(shown.size(), 31U);
    EXPECT_EQ(shown.size(), Files(".png").size()) << "pictures that no page shows";
}

TEST_F(DocCommand, APictureIsWhatTheCommandMakes) {
    const auto value = ReadValue((Root() / kPages / "PFlip/Flip-example-1/flipped.png").string(), {});
    const auto sample = ReadValue(SAMPLES_DIRECTORY "/particles.png", {});
    const auto& after = *QUOR::UnwrapPointer<QUOR::CImage>(value.get());
    const auto& before = *QUOR::UnwrapPointer<QUOR::CImage>(sample.get());
    ASSERT_EQ(after.Size(), before.Size());
    const auto* out = static_cast<const unsigned char*>(after.Buffer().Data());
    const auto* in = static_cast<const unsigned char*>(before.Buffer().Data());
    EXPECT_NE(in[0], in[359]);
    EXPECT_EQ(out[0], in[359]);
    EXPECT_EQ(out[359], in[0]);
}

/// Checks one link of a page.
void CheckLink(const fs::path& root, const fs::path& page, const std::string& link) {
    EXPECT_FALSE(Has(link, ":")) << page << " " << link;
    const std::size_t hash = std::min(link.find('#'), link.size());
    const fs::path file = hash == 0 ? page : page.parent_path() / link.substr(0, hash);
    ASSERT_TRUE(fs::is_regular_file(file)) << page << " " << link;
    EXPECT_NE(*fs::relative(file, root).begin(), "..") << page << " " << link;
    const std::string id = link.substr(std::min(hash + 1, link.size()));
    EXPECT_TRUE(id.empty() || Has(TextOf(file), " id=\"" + id + "\"")) << page << " " << link;
}

TEST_F(DocCommand, LinksLeadToFilesOfTheDocumentation) {
    std::size_t count = 0;
    for (const fs::path& page : Files(".html")) {
        const std::string text = TextOf(page);
        for (const char* attribute : {"href", "src", "action"}) {
            for (const std::string& link : Between(text, " " + std::string(attribute) + "=\"", "\"")) {
                CheckLink(Root(), page, link);
                ++count;
            }
        }
    }
    EXPECT_GT(count, 31U * 31U) << "every node's page leads to all others";
}

TEST_F(DocCommand, NothingIsTakenFromOutside) {
    for (const char* ending : {".html", ".css", ".js"}) {
        for (const fs::path& file : Files(ending)) {
            const std::string text = TextOf(file);
            EXPECT_FALSE(Has(text, "http:") || Has(text, "https:") || Has(text, "url(") || Has(text, "@import"))
                << file;
            EXPECT_FALSE(Has(text, "fetch(") || Has(text, "XMLHttpRequest") || Has(text, "\"//")) << file;
        }
    }
}

TEST_F(DocCommand, TheIndexesHoldWhatTheSearchReads) {
    for (const std::string index : {"index.html", "nodeka/html/manipulation/index.html"}) {
        const std::string page = TextOf(Root() / index);
        for (const StNodeDescription& node : Nodes()) {
            std::string keywords;
            for (const std::string& keyword : node.keywords) {
                keywords += (keywords.empty() ? "" : ", ") + keyword;
            }
            EXPECT_TRUE(
                Has(page, "<li class=\"node\" data-name=\"" + node.name + "\" data-keywords=\"" + keywords + "\">"))
                << index << " " << node.name;
        }
        for (const char* id : {"search", "query", "found", "count", "results", "all"}) { // which the script looks for
            EXPECT_TRUE(Has(page, " id=\"" + std::string(id) + "\"")) << index << " " << id;
            EXPECT_TRUE(Has(TextOf(Root() / "assets/search.js"), "getElementById(\"" + std::string(id) + "\")")) << id;
        }
    }
}

TEST_F(DocCommand, PagesAreValidHtml) {
    std::string line = TIDY_PROGRAM " -errors -quiet --warn-proprietary-attributes no";
    for (const fs::path& page : Files(".html")) {
        line += " '" + page.string() + "'";
    }
    const std::string report = (Root() / "tidy.txt").string();
    EXPECT_EQ(std::system((line + " > '" + report + "' 2>&1").c_str()), 0) << TextOf(report);
    fs::remove(report);
}

TEST_F(DocCommand, TextsStandWithTheirMarksRendered) {
    EXPECT_TRUE(Has(Page("PVolumeToPlane/index.html"),
                    "a 2d image, where <math><mi>n</mi></math> slices are arranged next to each other"));
    EXPECT_TRUE(Has(Page("PAppend/index.html"), "behind the first one in the direction <em>along</em>.\n"));
    EXPECT_TRUE(Has(Page("PAppend/index.html"), "<p>One of <code>X</code>, <code>Y</code>, <code>Z</code>.</p>\n"));
    EXPECT_TRUE(
        Has(Page("PShrink/index.html"), "<br>\nSKIP takes the first element of each block,<br>\nMAX and MIN take"));
    EXPECT_TRUE(Has(Page("PRotate/index.html"), "<h2 id=\"section-See_also\">See also</h2>\n"
                                                "<p><a href=\"../PReorient/index.html\">Reorient</a></p>\n"));
    EXPECT_TRUE(Has(Page("PExtract/index.html"), "<p><a href=\"../PAutocrop/index.html\">AutoCrop</a>, whose second"));
    EXPECT_TRUE(
        Has(Page("PShrink/index.html"), "<a href=\"../PResize/index.html\">Resize</a> a scaled image resize. <a"));
    EXPECT_TRUE(Has(Page("PBorder/index.html"), "<p class=\"remark\">Forms show it if <code>border 0 &gt;</code>, in "
                                                "postfix notation.</p>\n"));
    EXPECT_TRUE(Has(Page("PAutocrop/index.html"), "<pre><code>{\n  &quot;offset_x&quot;: 43,\n"));
}

TEST_F(DocCommand, TypesAreThoseThatTheNodeTakes) {
    const std::string row = "<tr><td>0</td><td>image</td><td>Input image of type IMAGE_GREY_F or IMAGE_GREY_8.</td>"
                            "<td class=\"types\"><code>IMAGE_GREY_8</code>, <code>IMAGE_GREY_F</code></td></tr>\n";
    EXPECT_TRUE(Has(Page("PShrink/index.html"), row));
    EXPECT_TRUE(Has(Page("PSerialize/index.html"), "<td>Input image</td><td class=\"types\">all</td></tr>\n"));
    EXPECT_TRUE(Has(Page("PLabelToColor/index.html"),
                    "<td>color map</td><td class=\"types\"><code>IMAGE_GREY_8</code>, <code>IMAGE_GREY_F</code>, "
                    "<code>IMAGE_RGB_8</code></td></tr>\n"));
}

TEST_F(DocCommand, KindsOfWorkNameAllNodesOnce) {
    std::ifstream file(SAMPLES_DIRECTORY "/groups.txt");
    std::multiset<std::string> named;
    for (std::string line; std::getline(file, line);) {
        for (const std::string& name : SplitList(line.substr(line.find(':') + 1))) {
            named.insert(name);
        }
    }
    std::multiset<std::string> known;
    for (const StNodeDescription& node : Nodes()) {
        known.insert(node.name);
    }
    EXPECT_EQ(named, known);
    EXPECT_TRUE(Has(Page("index.html"), "<h2>Polar coordinates</h2>\n<ul class=\"nodes\">\n<li class=\"node\" "
                                        "data-name=\"CartesianToPolar\""));
}

TEST_F(DocCommand, MakesTheSameAgain) {
    std::map<std::string, std::string> before;
    for (const auto& entry : fs::recursive_directory_iterator(Root())) {
        before[entry.path().string()] = entry.is_directory() ? "" : TextOf(entry.path());
    }
    EXPECT_EQ(RunHere({"doc", Root().string()}).status, 0);
    std::map<std::string, std::string> after;
    for (const auto& entry : fs::recursive_directory_iterator(Root())) {
        after[entry.path().string()] = entry.is_directory() ? "" : TextOf(entry.path());
    }
    EXPECT_TRUE(before == after);
    EXPECT_EQ(s_folder->Files(), "doc");
}

TEST(Doc, PagesOfOtherPluginsFindTheirPlaces) {
    const CTestFolder folder;
    EXPECT_EQ(RunHere({"doc", "--plugin", TEST_NODES, folder / "doc"}).status, 0);
    const std::string probe = TextOf(folder / "doc/probe.html");
    EXPECT_TRUE(Has(probe, "<title>Probe - TestNodes</title>\n")) << probe;
    EXPECT_TRUE(Has(probe, "<p>Prints its <em>parameters</em>, in the order <math><msub><mi>k</mi><mn>1</mn></msub>"
                           "<mo>&lt;</mo><msub><mi>k</mi><mn>2</mn></msub></math> of their keys, \n"
                           "and hands its first input on.</p>\n<p>- an item<br>\n- another one</p>\n"));
    EXPECT_TRUE(Has(probe, "<dt id=\"parameter-slice-wise\"><a href=\"#parameter-slice-wise\"><code>--slice-wise=false"
                           "</code></a> <span class=\"kind\">bool</span> <span class=\"default\">default "
                           "<code>true</code></span></dt>\n"));
    EXPECT_TRUE(Has(probe, "<h2 id=\"section-Notes\">Notes</h2>\n<div class=\"notes\">\n<p>First remark.</p>\n"
                           "<p>Second remark.</p>\n</div>\n"));
    EXPECT_TRUE(Has(probe, "<tr><td>1</td><td>map, optional</td><td>The map.</td></tr>\n"));
    EXPECT_TRUE(Has(probe, "<p><a href=\"TestNodes/Silent/index.html\">Silent</a></p>\n"));
    EXPECT_TRUE(Has(probe, "<dt><code>further</code></dt>\n<dd>\n<p>is not declared.</p>\n</dd>\n"));
    const std::string index = TextOf(folder / "doc/TestNodes/index.html");
    EXPECT_TRUE(Has(index, "<h2>Further nodes</h2>\n")) << index;
    EXPECT_TRUE(Has(index, "<h2>Test</h2>\n<ul class=\"nodes\">\n<li class=\"node\" data-name=\"Probe\" "
                           "data-keywords=\"probe, test\"><a href=\"../probe.html\">Probe</a>"));
    EXPECT_TRUE(fs::exists(folder / "doc/nodeka/html/manipulation/PFlip/index.html"));
}

TEST(Doc, RefusesWrongUse) {
    EXPECT_EQ(RunHere({"doc"}), (StResult{2, "", "vessa: DIR is required: see 'vessa doc --help'\n"}));
    EXPECT_EQ(RunHere({"doc", ""}), (StResult{2, "", "vessa: DIR: an empty text names no folder\n"}));
    EXPECT_EQ(RunHere({"doc", "a", "b"}), (StResult{2, "", "vessa: unexpected argument 'b'\n"}));
}

TEST(Doc, KeepsFilesThatItHasNotMade) {
    const CTestFolder folder;
    folder.Write("mine.txt", "mine");
    const StResult result = RunHere({"doc", folder.Path().string()});
    EXPECT_EQ(result, (StResult{1, "",
                                "vessa: " + folder.Path().string() +
                                    ": can't be written: it holds 'mine.txt', which wasn't written by this command: "
                                    "name a new folder, an empty one, or one that it has written\n"}));
    EXPECT_EQ(folder.Files(), "mine.txt");
}

TEST(Doc, AnExampleThatFailsIsNamedAndLeavesNothing) {
    const CTestFolder folder;
    fs::create_directory(folder / "samples");
    folder.Write("samples/examples.txt", "vessa run Failing -o out.png\n");
    StPlaces places = BuildPlaces();
    places.samples = folder / "samples";
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunProgram({out, err, 80, places}, {"doc", folder / "doc", "--plugin", TEST_NODES}), 1);
    EXPECT_EQ(err.str(), "vessa: the example 'vessa run Failing -o out.png' fails: vessa: Failing: (test) Failing: no "
                         "luck: try again\n");
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(folder.Files(), "samples");
}

} // namespace
} // namespace vessa::test
