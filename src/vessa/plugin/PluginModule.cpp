#include "plugin/PluginModule.h"

#include "ElfFile.h"
#include "Value/ValueMap.h"
#include "Value/ValueVector.h"
#include "base/Exception.h"

#include <cerrno>
#include <dlfcn.h>
#include <new>
#include <set>
#include <string_view>

namespace QUOR {

namespace {

[[noreturn]] void Raise(const std::string& file, const std::string& message) {
    throw CException("CPluginModule", (file + ": " + message).c_str(), nullptr);
}

[[noreturn]] void RaiseUnloadable(const std::string& file, const std::string& reason) {
    Raise(file, "the plug-in library can't be loaded: " + reason);
}

std::string LoaderMessage() {
    const char* message = ::dlerror();
    return message == nullptr ? "no reason known" : message;
}

struct StCloseLibrary {
    void operator()(void* handle) const { ::dlclose(handle); }
};

using LibraryHandle = std::unique_ptr<void, StCloseLibrary>;

/// The path as the loader takes it: it would look for a plain name in the system's folders.
std::string LoaderPath(const std::string& file) { return file.find('/') == std::string::npos ? "./" + file : file; }

/// Raises `std::bad_alloc` if there was no memory for the library.
LibraryHandle Open(const std::string& file, int mode) {
    const std::string path = LoaderPath(file);
    errno = 0;
    LibraryHandle handle(::dlopen(path.c_str(), mode));
    if (!handle && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    if (!handle) {
        RaiseUnloadable(file, LoaderMessage());
    }
    return handle;
}

LibraryHandle Load(const std::string& file) {
    if (const std::string defect = DefectOfLibrary(file); !defect.empty()) {
        RaiseUnloadable(file, defect);
    }
    return Open(file, RTLD_NOW | RTLD_LOCAL);
}

template <class Function> Function* Export(const std::string& file, const LibraryHandle& library, const char* name) {
    void* address = ::dlsym(library.get(), name);
    if (address == nullptr) {
        Raise(file, std::string("the library is no plug-in library: it doesn't export ") + name);
    }
    return reinterpret_cast<Function*>(address);
}

} // namespace

struct CPluginModule::StLibrary {
    explicit StLibrary(const std::string& path)
        : file(path), handle(Load(file)),
          create(Export<IPluginObject*(const char*)>(file, handle, "CreatePluginInstanceEx")),
          list(Export<CValueVector*()>(file, handle, "ListPlugins")),
          timestamp(Export<std::int64_t()>(file, handle, "get_loading_timestamp")), names(ReadNames()) {}

    /// The library's own list, null if it gives none. What it raises goes no further: it may be of a class of the
    /// library's, which is unloaded then.
    std::unique_ptr<const CValueVector> List() const {
        const std::string start = "the library's list of plug-ins can't be made: ";
        try {
            return std::unique_ptr<const CValueVector>(list());
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const CException& failure) {
            Raise(file, start + failure.FormattedWhat());
        } catch (const std::exception& failure) {
            Raise(file, start + failure.what());
        } catch (...) {
            Raise(file, start + "a failure of unknown kind");
        }
    }

    std::vector<std::string> ReadNames() const {
        const std::unique_ptr<const CValueVector> values = List();
        if (!values) {
            Raise(file, "the library gives no list of its plug-ins");
        }
        std::vector<std::string> texts;
        std::set<std::string> known;
        for (int index = 0; index < static_cast<int>(values->Size()); ++index) {
            const std::string entry = "entry " + std::to_string(index) + " of the library's list of plug-ins ";
            if (!values->HasEntry(index, EnValType::String)) {
                Raise(file, entry + "is no text");
            }
            texts.push_back(values->Entry(index, true)->String().Text());
            if (texts.back().empty() || !known.insert(texts.back()).second) {
                Raise(file, entry + (texts.back().empty() ? "is empty" : "is '" + texts.back() + "' again"));
            }
        }
        return texts;
    }

    /// The code of an object, or of what was raised in its making, is the library's, down to its destructor, so that
    /// there is no moment after which the library could be unloaded safely.
    void StayLoaded() const { Open(file, RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD | RTLD_NODELETE); }

    std::string file;
    LibraryHandle handle;
    IPluginObject* (*create)(const char* name);
    CValueVector* (*list)();
    std::int64_t (*timestamp)();
    std::vector<std::string> names;
};

CPluginModule::CPluginModule(const std::string& file) : m_library(std::make_unique<StLibrary>(file)) {}

CPluginModule::CPluginModule(CPluginModule&&) noexcept = default;

CPluginModule& CPluginModule::operator=(CPluginModule&&) noexcept = default;

CPluginModule::~CPluginModule() = default;

const std::vector<std::string>& CPluginModule::Names() const { return m_library->names; }

std::unique_ptr<IPluginObject> CPluginModule::Create(const std::string& name) const {
    try {
        std::unique_ptr<IPluginObject> object(m_library->create(name.c_str()));
        if (object) {
            m_library->StayLoaded();
        }
        return object;
    } catch (...) {
        m_library->StayLoaded();
        throw;
    }
}

std::int64_t CPluginModule::LoadingTimestamp() const { return m_library->timestamp(); }

const std::string& CPluginModule::File() const { return m_library->file; }

IPluginObject* GetPluginObject(const char* module, const char* path, const CValueMap* parameters) {
    const std::string_view text(path == nullptr ? "" : path);
    const std::size_t sharp = module == nullptr ? text.rfind('#') : std::string_view::npos;
    const std::string file(module == nullptr ? text.substr(0, sharp) : std::string_view(module));
    std::string name(module != nullptr ? text : sharp == std::string_view::npos ? "" : text.substr(sharp + 1));
    try {
        const CPluginModule library(file);
        const bool named = module != nullptr ? !name.empty() : sharp != std::string_view::npos;
        if (!named) {
            if (library.Names().empty()) {
                return nullptr;
            }
            name = library.Names().front();
        }
        std::unique_ptr<IPluginObject> object = library.Create(name);
        if (object && parameters != nullptr) {
            object->Init(parameters);
        }
        return object.release();
    } catch (const CException&) {
        return nullptr;
    }
}

} // namespace QUOR
