#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vessa {

/// A folder of its own for as long as the object lives, below `parent`.
class CInterimFolder {
public:
    /// Raises a `CFileError` if it can't be made.
    explicit CInterimFolder(const std::filesystem::path& parent);
    CInterimFolder(const CInterimFolder&) = delete;
    CInterimFolder& operator=(const CInterimFolder&) = delete;
    ~CInterimFolder();

    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

/// A folder that appears whole under its name or not at all: it is filled beside its place, and `Commit` moves it
/// there.
///
/// It replaces what isn't there, an empty folder, or an earlier one of its kind to which nobody has added a file: it
/// leaves a list of its files in it to know it by.
class COutputFolder {
public:
    /// `kind` names the list. Raises a `CFileError` if the folder can't be made, or what stands there isn't replaced.
    COutputFolder(const std::string& name, const std::string& kind);

    /// Writes a file below the folder whole, and makes the folders on its way.
    void Write(const std::filesystem::path& file, const std::string& text) const;
    /// Makes the folders on the way to a file below the folder, and gives the name under which it is to be made.
    std::string Prepare(const std::filesystem::path& file) const;

    void Commit();

private:
    void RequireReplaceable() const;
    std::vector<std::string> OwnFiles() const;

    std::string m_name;
    std::filesystem::path m_place; ///< where the folder belongs: behind all links
    CInterimFolder m_interim;
    std::filesystem::path m_folder;
    std::string m_list;
};

} // namespace vessa
