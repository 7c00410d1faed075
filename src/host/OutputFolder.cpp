#include "OutputFolder.h"

#include "Errors.h"
#include "FileSystem.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

namespace vessa {

namespace fs = std::filesystem;

namespace {

/// Calls `work` and turns what it raises about files into a failure of the folder `name`.
template <class Work> auto About(const std::string& name, const Work& work) {
    try {
        return work();
    } catch (const fs::filesystem_error& failure) {
        FailToWrite(name, failure.code().message());
    }
}

/// The files below a folder, as they are named from there, in the order of their names.
std::vector<std::string> FilesBelow(const fs::path& folder) {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_symlink() || !entry.is_directory()) {
            files.push_back(entry.path().lexically_relative(folder).generic_string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// The place that a name leads to, without a slash at its end.
fs::path PlaceOf(const std::string& name) {
    return About(name, [&] {
        const fs::path place = fs::weakly_canonical(fs::absolute(name));
        return place.has_filename() ? place : place.parent_path();
    });
}

} // namespace

CInterimFolder::CInterimFolder(const fs::path& parent) {
    std::string pattern = (parent / ".vessa-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        FailToWrite((parent / "").string(), SystemMessage(errno));
    }
    m_path = pattern;
}

CInterimFolder::~CInterimFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

COutputFolder::COutputFolder(const std::string& name, const std::string& kind)
    : m_name(name), m_place(PlaceOf(name)), m_interim(m_place.parent_path()), m_folder(m_interim.Path() / "new"),
      m_list(".vessa-" + kind) {
    RequireReplaceable();
    About(m_name, [&] { fs::create_directory(m_folder); });
}

std::vector<std::string> COutputFolder::OwnFiles() const {
    std::ifstream list(m_place / m_list);
    std::vector<std::string> files;
    for (std::string file; std::getline(list, file);) {
        files.push_back(file);
    }
    files.push_back(m_list);
    std::sort(files.begin(), files.end());
    return files;
}

void COutputFolder::RequireReplaceable() const {
    About(m_name, [&] {
        const fs::file_status status = fs::status(m_place);
        if (!fs::exists(status)) {
            return;
        }
        if (!fs::is_directory(status)) {
            FailToWrite(m_name, "it is no folder");
        }
        const std::vector<std::string> own = OwnFiles();
        for (const std::string& file : FilesBelow(m_place)) {
            if (!std::binary_search(own.begin(), own.end(), file)) {
                FailToWrite(m_name, "it holds '" + file +
                                        "', which wasn't written by this command: name a new folder, "
                                        "an empty one, or one that it has written");
            }
        }
    });
}

std::string COutputFolder::Prepare(const fs::path& file) const {
    const fs::path whole = m_folder / file;
    About(m_name, [&] { fs::create_directories(whole.parent_path()); });
    return whole.string();
}

void COutputFolder::Write(const fs::path& file, const std::string& text) const {
    std::ofstream stream(Prepare(file), std::ios::binary);
    if (!(stream << text) || !stream.flush()) {
        FailToWrite(m_name, SystemMessage(errno));
    }
}

void COutputFolder::Commit() {
    std::string list;
    for (const std::string& file : FilesBelow(m_folder)) {
        list += file + "\n";
    }
    Write(m_list, list);
    RequireReplaceable();
    About(m_name, [&] {
        const fs::path old = m_interim.Path() / "old";
        const bool replaces = fs::exists(m_place);
        if (replaces) {
            fs::rename(m_place, old);
        }
        std::error_code failure;
        fs::rename(m_folder, m_place, failure);
        if (failure && replaces) {
            fs::rename(old, m_place);
        }
        if (failure) {
            FailToWrite(m_name, failure.message());
        }
    });
}

} // namespace vessa
