#pragma once

// What the tests of the host program share: a folder of a test's own, and runs of the program, built or in this
// process.

#include <filesystem>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace vessa::test {

/// An empty folder that goes away with the object.
class CTestFolder {
public:
    CTestFolder();
    CTestFolder(const CTestFolder&) = delete;
    CTestFolder& operator=(const CTestFolder&) = delete;
    ~CTestFolder();

    const std::filesystem::path& Path() const { return m_path; }
    /// The path of a file in it.
    std::string operator/(const std::string& name) const { return (m_path / name).string(); }
    /// The names of all files in it, sorted, with blanks between them.
    std::string Files() const;
    void Write(const std::string& name, const std::string& text) const;

private:
    std::filesystem::path m_path;
};

std::string TextOf(const std::filesystem::path& file);

/// What a run of the program gives.
struct StResult {
    int status = -1;
    std::string out;
    std::string err;
    friend bool operator==(const StResult&, const StResult&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const StResult& result) {
        return stream << "status " << result.status << "\n--- out\n" << result.out << "--- err\n" << result.err;
    }
};

/// The built program with these arguments, in `folder`, with the environment's `variables` ("NAME=VALUE") on top.
StResult RunBuilt(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& variables = {});

/// The built program with a terminal of 80 columns as its standard output, with the environment's `variables` on top of
/// none: the status and what the terminal was sent, with plain line ends.
StResult RunOnTerminal(const std::vector<std::string>& arguments, const std::vector<std::string>& variables);

/// The program in this process, with the plug-in libraries of the build tree.
StResult RunHere(const std::vector<std::string>& arguments);

} // namespace vessa::test
