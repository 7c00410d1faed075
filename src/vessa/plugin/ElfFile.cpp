#include "ElfFile.h"

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <link.h>

namespace QUOR {

namespace {

namespace fs = std::filesystem;

using FileHeader = ElfW(Ehdr);
using SegmentHeader = ElfW(Phdr);

/// The header of the library that this code is in, as the loader has placed it in memory.
const FileHeader& OwnHeader() {
    static const char place = 0;
    Dl_info library{};
    ::dladdr(&place, &library);
    return *static_cast<const FileHeader*>(library.dli_fbase);
}

template <class Record> bool ReadAt(std::ifstream& file, std::uint64_t offset, Record& record) {
    return static_cast<bool>(file.seekg(static_cast<std::streamoff>(offset))
                                 .read(reinterpret_cast<char*>(&record), static_cast<std::streamsize>(sizeof record)));
}

bool IsOfThisMachine(const FileHeader& header) {
    const FileHeader& own = OwnHeader();
    return header.e_ident[EI_CLASS] == own.e_ident[EI_CLASS] && header.e_ident[EI_DATA] == own.e_ident[EI_DATA] &&
           header.e_machine == own.e_machine;
}

/// True if the file holds all bytes that are mapped into memory.
bool IsWhole(std::ifstream& file, const FileHeader& header, std::uint64_t size) {
    for (unsigned index = 0; index < header.e_phnum; ++index) {
        SegmentHeader segment{};
        if (!ReadAt(file, header.e_phoff + index * sizeof segment, segment)) {
            return false;
        }
        if (segment.p_type == PT_LOAD && (segment.p_offset > size || segment.p_filesz > size - segment.p_offset)) {
            return false;
        }
    }
    return true;
}

} // namespace

std::string DefectOfLibrary(const std::string& path) {
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    if (!fs::exists(status)) {
        return "";
    }
    if (!fs::is_regular_file(status)) {
        return "it is no regular file";
    }
    std::ifstream file(path, std::ios::binary);
    FileHeader header{};
    if (!ReadAt(file, 0, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        return "";
    }
    if (!IsOfThisMachine(header)) {
        return "it is made for another kind of processor";
    }
    return IsWhole(file, header, fs::file_size(path, failure)) ? "" : "it is cut off";
}

} // namespace QUOR
