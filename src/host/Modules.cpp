#include "Modules.h"

#include "Errors.h"
#include "FileSystem.h"
#include "Text.h"

#include <algorithm>
#include <ostream>

namespace vessa {

namespace fs = std::filesystem;
using QUOR::CException;
using QUOR::CPluginModule;
using QUOR::CPNode;

/// A library in reach, loaded at the first question to it.
struct CModules::StLibrary {
    std::string file;
    bool asked = false; ///< the caller named this very file
    bool tried = false;
    std::optional<CPluginModule> module; ///< nothing for a file that is no plug-in library
    std::string failure;                 ///< why it is none

    void Load() {
        if (tried) {
            return;
        }
        tried = true;
        try {
            module.emplace(file);
        } catch (const CException& exception) {
            failure = exception.What();
        }
        if (asked && !failure.empty()) {
            throw CWorkError(failure);
        }
    }

    bool Has(const std::string& name) {
        Load();
        return module && std::find(module->Names().begin(), module->Names().end(), name) != module->Names().end();
    }

    /// A new node; null if the library has none of this name.
    std::unique_ptr<CPNode> Make(const std::string& name) {
        if (!Has(name)) {
            return nullptr;
        }
        std::unique_ptr<QUOR::IPluginObject> object =
            InTheNameOf(file + ": " + name, [&] { return module->Create(name); });
        auto* node = dynamic_cast<CPNode*>(object.get());
        if (node != nullptr) {
            static_cast<void>(object.release());
        }
        return std::unique_ptr<CPNode>(node);
    }

    std::vector<std::string> Names() {
        Load();
        return module ? module->Names() : std::vector<std::string>();
    }
};

StNodeDescription CModules::StNode::Description() const {
    return InTheNameOf(file + ": " + name, [this] { return Describe(name, *node); });
}

CModules::CModules(const StPlaces& places, const std::vector<std::string>& asked, std::ostream& talk) : m_talk(talk) {
    for (const std::string& path : asked) {
        std::error_code failure;
        if (!fs::exists(path, failure)) {
            throw CWorkError(path + ": there is no such plug-in library or folder" +
                             (failure ? ": " + failure.message() : ""));
        }
        AddPath(path, true);
    }
    for (const std::string& path : PathList("VESSA_PLUGIN_PATH")) {
        AddPath(path, false);
    }
    AddPath(places.plugins, false);
}

CModules::~CModules() = default;

void CModules::AddPath(const fs::path& path, bool asked) {
    m_searched.push_back(path.string());
    std::error_code failure; // a place that can't be looked at holds nothing
    if (fs::is_directory(path, failure)) {
        AddFolder(path);
    } else if (fs::exists(path, failure)) {
        AddFile(path, asked);
    }
}

void CModules::AddFolder(const fs::path& folder) {
    std::error_code ignored; // a folder that can't be read holds nothing
    for (const fs::path name : NamesIn(folder.string(), ignored)) {
        if (name.extension() == ".so") {
            AddFile(folder / name, false);
        }
    }
}

void CModules::AddFile(const fs::path& file, bool asked) {
    const bool known = std::any_of(m_libraries.begin(), m_libraries.end(), [&](const auto& library) {
        std::error_code failure;
        return fs::equivalent(library->file, file, failure);
    });
    if (!known) {
        m_libraries.push_back(std::make_unique<StLibrary>());
        m_libraries.back()->file = file.string();
        m_libraries.back()->asked = asked;
    }
}

CModules::StNode CModules::Make(const std::string& name) {
    for (const auto& library : m_libraries) {
        if (auto node = library->Make(name)) {
            return {name, std::move(node), library->file};
        }
    }
    RaiseUnknown(name);
}

void CModules::RaiseUnknown(const std::string& name) {
    for (const auto& library : m_libraries) {
        if (library->Has(name)) {
            throw CUseError(library->file + ": the plug-in '" + name + "' is no node");
        }
    }
    throw CUseError("unknown node '" + name + "'" + NearestHint(name, NodeNames()));
}

std::vector<CModules::StModule> CModules::All() {
    std::vector<StModule> modules;
    for (const auto& library : m_libraries) {
        StModule module{fs::path(library->file).stem().string(), library->file, {}};
        for (const std::string& name : library->Names()) {
            if (StNode node{name, library->Make(name), library->file}; node.node) {
                module.nodes.push_back(node.Description());
            }
        }
        if (!module.nodes.empty()) {
            modules.push_back(std::move(module));
        } else if (library->asked) {
            m_talk << FailureLine(library->file + ": none of its plug-ins is a node: " + Join(library->Names(), ", "));
        }
    }
    if (modules.empty()) {
        RaiseNoNodes();
    }
    return modules;
}

std::vector<std::string> CModules::NodeNames() {
    std::vector<std::string> names;
    for (const auto& library : m_libraries) {
        for (const std::string& name : library->Names()) {
            try {
                if (library->Make(name)) {
                    names.push_back(name);
                }
            } catch (const CWorkError&) { // a node that can't be made is told of where it is asked for
            }
        }
    }
    if (names.empty()) {
        RaiseNoNodes();
    }
    return names;
}

void CModules::RaiseNoNodes() const {
    std::string message = "no nodes found in " + Join(m_searched, ", ");
    for (const auto& library : m_libraries) {
        message += library->failure.empty() ? "" : "; " + library->failure;
    }
    throw CWorkError(message);
}

} // namespace vessa
