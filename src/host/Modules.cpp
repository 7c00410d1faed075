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
            if (asked) {
                throw CWorkError(failure);
            }
        }
    }

    /// A new node; null if the library has none of this name.
    std::unique_ptr<CPNode> Make(const std::string& name) {
        Load();
        if (!module || std::find(module->Names().begin(), module->Names().end(), name) == module->Names().end()) {
            return nullptr;
        }
        std::unique_ptr<QUOR::IPluginObject> object = module->Create(name);
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

CModules::CModules(const StPlaces& places, const std::vector<std::string>& asked, std::ostream& talk) : m_talk(talk) {
    for (const std::string& path : asked) {
        if (!fs::exists(path)) {
            throw CWorkError(path + ": there is no such plug-in library or folder");
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
    if (fs::is_directory(path)) {
        AddFolder(path);
    } else if (fs::exists(path)) {
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
            return {std::move(node), library->file};
        }
    }
    throw CUseError("unknown node '" + name + "'" + NearestHint(name, NodeNames()));
}

std::vector<CModules::StModule> CModules::All() {
    std::vector<StModule> modules;
    for (const auto& library : m_libraries) {
        StModule module{fs::path(library->file).stem().string(), library->file, {}};
        for (const std::string& name : library->Names()) {
            if (const auto node = library->Make(name)) {
                module.nodes.push_back(Describe(name, *node));
            }
        }
        if (!module.nodes.empty()) {
            modules.push_back(std::move(module));
        } else if (library->asked) {
            m_talk << "vessa: " << library->file << ": none of its plug-ins is a node: " << Join(library->Names(), ", ")
                   << '\n';
        }
    }
    if (modules.empty()) {
        RaiseNoNodes();
    }
    return modules;
}

std::vector<std::string> CModules::NodeNames() {
    std::vector<std::string> names;
    for (const StModule& module : All()) {
        for (const StNodeDescription& node : module.nodes) {
            names.push_back(node.name);
        }
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
