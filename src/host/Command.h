#pragma once

#include "Completion.h"
#include "Errors.h"
#include "Places.h"
#include "Text.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <map>
#include <set>
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
    bool colours = false;       ///< `out` is a terminal that shows bold letters and colours
    bool isErrTerminal = false; ///< progress may be drawn on `err`

    StTextStyle Style() const { return {width, colours}; }
};

using Arguments = std::vector<std::string>;

/// A command of the program.
struct StCommand {
    const char* name;
    const char* brief;
    /// Does the work. Failures are raised.
    void (*run)(const StContext& context, const Arguments& arguments);
    /// Offers what may follow the arguments `before`. It may raise anything: nothing is offered then.
    void (*complete)(const StContext& context, const Arguments& before, CCompletion& completion);
};

void ListCommand(const StContext& context, const Arguments& arguments);
void CompleteList(const StContext& context, const Arguments& before, CCompletion& completion);
void DescribeCommand(const StContext& context, const Arguments& arguments);
void CompleteDescribe(const StContext& context, const Arguments& before, CCompletion& completion);
void RunCommand(const StContext& context, const Arguments& arguments);
void CompleteRun(const StContext& context, const Arguments& before, CCompletion& completion);
void PipelineCommand(const StContext& context, const Arguments& arguments);
void CompletePipeline(const StContext& context, const Arguments& before, CCompletion& completion);
void DocCommand(const StContext& context, const Arguments& arguments);
void CompleteDoc(const StContext& context, const Arguments& before, CCompletion& completion);

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

    /// Offers values of one option.
    using Offers = std::function<void(CCompletion& completion)>;
    /// Says what can be completed in the place of the option's value; without it, nothing.
    void SetOffers(const CLI::Option* option, Offers offers) { m_offers[option] = std::move(offers); }

    bool WantsHelp() const { return m_help; }
    std::string Help() const;
    /// The part of the help that shows the options of CLI11's usual group.
    std::string OptionsHelp() const;

    /// Parses what the parser knows, and leaves the rest to `RefuseRest`. Raises a `CUseError`.
    void Parse(const Arguments& arguments);
    /// Raises a `CUseError` about the first argument that the parser didn't know.
    void RefuseRest() const;
    /// Parses arguments that the parser must know. False if they ask for help, which it writes. Raises a `CUseError`.
    bool ParseAll(const Arguments& arguments, std::ostream& out);

    /// Parses the arguments in front of one that is being typed, as far as they are right.
    void ParseBefore(Arguments before);
    /// Offers what may follow the arguments `before`: options, values of one, or those of an argument without a name.
    void Complete(const Arguments& before, CCompletion& completion) const;

private:
    void OfferFor(const CLI::Option* option, CCompletion& completion) const;
    void OfferOptions(const std::set<const CLI::Option*>& given, CCompletion& completion) const;

    CLI::App m_app;
    bool m_help = false;
    std::set<const CLI::Option*> m_lists; ///< those that may be given several times
    std::map<const CLI::Option*, Offers> m_offers;
};

} // namespace vessa
