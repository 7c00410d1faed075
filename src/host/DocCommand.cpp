#include "AcceptedTypes.h"
#include "Command.h"
#include "DocAssets.h"
#include "DocFrame.h"
#include "DocPage.h"
#include "ExampleRun.h"
#include "Examples.h"
#include "Modules.h"
#include "OutputFolder.h"
#include "Text.h"
#include "ValueFile.h"

#include <iostream>
#include <set>
#include <sstream>

namespace vessa {

namespace fs = std::filesystem;

namespace {

/// Takes what is written to standard output, where nodes write, for as long as it lives.
class CQuietOutput {
public:
    CQuietOutput() : m_before(std::cout.rdbuf(m_text.rdbuf())) {}
    CQuietOutput(const CQuietOutput&) = delete;
    CQuietOutput& operator=(const CQuietOutput&) = delete;
    ~CQuietOutput() { std::cout.rdbuf(m_before); }

private:
    std::ostringstream m_text;
    std::streambuf* m_before;
};

std::string PictureName(const std::string& file) { return EndsWithAnyCase(file, ".png") ? file : file + ".png"; }

/// Makes the files of the documentation.
class CDocBuilder {
public:
    CDocBuilder(const StContext& context, const std::vector<std::string>& plugins, const COutputFolder& folder)
        : m_context(context), m_plugins(plugins), m_folder(folder), m_modules(context.places, plugins, context.err) {}

    void Build() {
        const DocCatalogue catalogue = MakeCatalogue(m_context.places, m_modules.All());
        m_folder.Write(kDocStyle, kStyleText);
        m_folder.Write(kDocSearch, kSearchText);
        m_folder.Write(kDocTop, TopPage(catalogue));
        for (const StDocModule& module : catalogue) {
            m_folder.Write(module.index, ModulePage(module));
            for (const StDocGroup& group : module.groups) {
                for (const StDocNode& node : group.nodes) {
                    m_folder.Write(node.page, NodePage(catalogue, module, node, Trials(node)));
                }
            }
        }
    }

private:
    StDocTrials Trials(const StDocNode& node) {
        StDocTrials trials;
        for (const std::string& line : ExampleLines(m_context.places, node.description.name)) {
            const StExampleRun run = RunExample(m_context, m_plugins, line);
            if (trials.examples.empty()) {
                trials.acceptedTypes = AcceptedTypes(m_modules, node.description, run.inputs.size());
            }
            const std::string number = std::to_string(trials.examples.size() + 1);
            const fs::path outputs = node.page.parent_path() / (node.description.name + "-example-" + number);
            trials.examples.push_back({line, Shown(run.inputs, "assets"), Shown(run.outputs, outputs)});
        }
        return trials;
    }

    /// The files of an example, with their pictures below `folder`. A sample that several pages show has one picture.
    std::vector<StDocFile> Shown(const std::vector<StExampleFile>& files, const fs::path& folder) {
        std::vector<StDocFile> shown;
        for (const StExampleFile& file : files) {
            if (file.value == nullptr) {
                continue;
            }
            StDocFile entry{file.name, ViewOf(*file.value), folder / PictureName(file.name)};
            if (entry.view.picture != nullptr && m_written.insert(entry.picture).second) {
                const QUOR::CValuePointer<QUOR::CImage> picture(entry.view.picture.get());
                WriteValue(m_folder.Prepare(entry.picture), picture);
            }
            shown.push_back(std::move(entry));
        }
        return shown;
    }

    const StContext& m_context;
    const std::vector<std::string>& m_plugins;
    const COutputFolder& m_folder;
    CModules m_modules;
    std::set<fs::path> m_written;
};

struct StDocArguments {
    std::string folder;
    std::vector<std::string> plugins;
};

void AddDocOptions(CArgumentParser& parser, StDocArguments& said) {
    const CLI::Option* folder =
        parser.App()
            .add_option("DIR", said.folder,
                        "Folder to make: a new one, an empty one, or one made by this command before")
            ->type_name("")
            ->required();
    parser.SetOffers(folder, [](CCompletion& completion) { completion.OfferFolders(); });
    parser.AddPluginOption(said.plugins);
}

} // namespace

void DocCommand(const StContext& context, const Arguments& arguments) {
    CArgumentParser parser("vessa doc",
                           "Makes the documentation of all nodes as HTML. The pictures show what the nodes "
                           "make of the samples.");
    StDocArguments said;
    AddDocOptions(parser, said);
    if (!parser.ParseAll(arguments, context.out)) {
        return;
    }
    if (said.folder.empty()) {
        throw CUseError("DIR: an empty text names no folder");
    }
    COutputFolder folder(said.folder, "doc");
    {
        const CQuietOutput quiet;
        CDocBuilder(context, said.plugins, folder).Build();
    }
    folder.Commit();
    context.out << (fs::path(said.folder) / "index.html").string() << '\n';
}

void CompleteDoc(const StContext& /*context*/, const Arguments& before, CCompletion& completion) {
    CArgumentParser parser("vessa doc", "");
    StDocArguments said;
    AddDocOptions(parser, said);
    parser.Complete(before, completion);
}

} // namespace vessa
