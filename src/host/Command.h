#pragma once

#include "Errors.h"
#include "Places.h"
#include "Text.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

/// What the commands share.
namespace vessa {

/// Where a command writes, and what it finds around it.
struct StContext {
    std::ostream& out;      ///< results
    std::ostream& err;      ///< all else
    std::size_t width = 80; ///< letters in a line of text for people
    StPlaces places;
    bool colours = false; ///< `out` is a terminal that shows bold letters and colours

    StTextStyle Style() const { return {width, colours}; }
};

using Arguments = std::vector<std::string>;

/// A command of the program.
struct StCommand {
    const char* name;
    const char* brief;
    /// Does the work. Failures are raised.
    void (*run)(const StContext& context, const Arguments& arguments);
};

void ListCommand(const StContext& context, const Arguments& arguments);
void DescribeCommand(const StContext& context, const Arguments& arguments);
void RunCommand(const StContext& context, const Arguments& arguments);
void DocCommand(const StContext& context, const Arguments& arguments);

/// A parser without options but `--help`, which the caller handles: CLI11's own raises.
class CArgumentParser {
public:
    /// `name` is what stands in the usage line, as in "vessa list".
    CArgumentParser(const std::string& name, const std::string& brief);

    CLI::App& App() { return m_app; }
    /// Adds `--plugin`, for the commands that look for nodes.
    void AddPluginOption(std::vector<std::string>& paths);
    /// Adds an option that may be given several times, one value each.
    CLI::Option* AddList(const std::string& names, std::vector<std::string>& values, const std::string& text);

    bool WantsHelp() const { return m_help; }
    std::string Help() const;
    /// The part of the help that shows the options of CLI11's usual group.
    std::string OptionsHelp() const;

    /// Parses what the parser knows, and leaves the rest to `RefuseRest`. Raises a `CUseError`.
    void Parse(const Arguments& arguments);
    /// Raises a `CUseError` about the first argument that the parser didn't know.
    void RefuseRest() const;

private:
    CLI::App m_app;
    bool m_help = false;
};

} // namespace vessa
