#pragma once

#include "plugin/PluginObject.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QUOR {

/// One loaded plug-in library.
///
/// A plug-in library exports, with C linkage:
///
///     IPluginObject* CreatePluginInstanceEx(const char* name);   // null: unknown name
///     CValueVector* ListPlugins();                               // the names, as text values
///     std::int64_t get_loading_timestamp();                      // seconds since 1970
///
/// Objects made by a library keep it loaded: their code is the library's, down to their destructors, so that a library
/// that has made an object stays until the process ends. One that has made none is unloaded with its `CPluginModule`.
class VESSA_API CPluginModule {
public:
    /// Loads the library. Raises a `CException` that names the file if it isn't there, is no library that can be loaded
    /// here, lacks one of the exports, or has a list of plug-ins that isn't one of names, each given once.
    explicit CPluginModule(const std::string& file);
    CPluginModule(CPluginModule&&) noexcept;
    CPluginModule& operator=(CPluginModule&&) noexcept;
    ~CPluginModule();

    /// The names of its plug-ins, in the library's order.
    const std::vector<std::string>& Names() const;
    /// A new plug-in; null for an unknown name.
    std::unique_ptr<IPluginObject> Create(const std::string& name) const;
    /// When the library was loaded, in seconds since 1970.
    std::int64_t LoadingTimestamp() const;
    const std::string& File() const;

private:
    struct StLibrary;
    std::unique_ptr<StLibrary> m_library;
};

/// A new plug-in object, which the caller owns. `path` is the file of a plug-in library, and after a `#` the name of a
/// plug-in in it: the first of its list without one. With a `module`, that is the library's file and `path` the name.
/// The object gets `parameters` through `Init`, unless they are null. Gives null if there is no such library or
/// plug-in, and if making it or its `Init` raises a `CException`.
VESSA_API IPluginObject* GetPluginObject(const char* module, const char* path, const CValueMap* parameters);

} // namespace QUOR
