#pragma once

#include "NodeDescription.h"
#include "Places.h"

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace vessa {

/// The plug-in libraries in reach and the nodes in them. A library is loaded when it is first needed.
///
/// The first of several nodes with one name is taken. The order is: what the caller asked for, what the environment
/// names in VESSA_PLUGIN_PATH, what stands beside the program. What is no plug-in library and what is no node is passed
/// over, in silence unless the caller asked for that very file.
class CModules {
public:
    /// A node with its name and the library that it comes from.
    struct StNode {
        std::string name;
        std::unique_ptr<QUOR::CPNode> node;
        std::string file;

        /// What the node tells of itself. A failure of the node is raised with the file's name and its own.
        StNodeDescription Description() const;
    };
    /// The nodes of one library.
    struct StModule {
        std::string name; ///< the file's name without its ending
        std::string file;
        std::vector<StNodeDescription> nodes;
    };

    /// `asked` are files and folders. Raises a `CWorkError` if one isn't there. `talk` takes what there is to say about
    /// them.
    CModules(const StPlaces& places, const std::vector<std::string>& asked, std::ostream& talk);
    CModules(const CModules&) = delete;
    CModules& operator=(const CModules&) = delete;
    ~CModules();

    /// A new node. Raises a `CUseError` that offers the nearest name if there is none of this name. What a library
    /// raises in its making is raised with the file's name and the node's.
    StNode Make(const std::string& name);
    /// All libraries that hold nodes. Raises a `CWorkError` if there is none.
    std::vector<StModule> All();

private:
    struct StLibrary;

    void AddPath(const std::filesystem::path& path, bool asked);
    void AddFolder(const std::filesystem::path& folder);
    void AddFile(const std::filesystem::path& file, bool asked);
    [[noreturn]] void RaiseUnknown(const std::string& name);
    std::vector<std::string> NodeNames();
    [[noreturn]] void RaiseNoNodes() const;

    std::ostream& m_talk;
    std::vector<std::unique_ptr<StLibrary>> m_libraries;
    std::vector<std::string> m_searched;
};

} // namespace vessa
