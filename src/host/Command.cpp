#include "Command.h"

#include "Text.h"

#include <algorithm>

namespace vessa {

namespace {

/// The names of all options, as they are typed.
std::vector<std::string> OptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
        for (const std::string& name : option->get_snames()) {
            names.push_back("-" + name);
        }
    }
    return names;
}

/// CLI11 takes "--key=" for an option whose value is still to come; here it is an empty text.
Arguments WithEmptyValues(const CLI::App& app, const Arguments& arguments) {
    Arguments split;
    for (const std::string& argument : arguments) {
        const bool emptyValue = argument.starts_with("--") && argument.find('=') == argument.size() - 1;
        const std::string name = argument.substr(0, argument.size() - (emptyValue ? 1 : 0));
        const CLI::Option* option = emptyValue ? app.get_option_no_throw(name) : nullptr;
        if (option != nullptr && option->get_items_expected_max() > 0) {
            split.insert(split.end(), {name, ""});
        } else {
            split.push_back(argument);
        }
    }
    return split;
}

} // namespace

CArgumentParser::CArgumentParser(const std::string& name, const std::string& brief) : m_app(brief, name) {
    m_app.set_help_flag();
    m_app.allow_extras();
    m_app.add_flag("-h,--help", m_help, "Show this help and end");
}

CLI::Option* CArgumentParser::AddList(const std::string& names, std::vector<std::string>& values,
                                      const std::string& text) {
    return m_app.add_option(names, values, text)->expected(1)->allow_extra_args(false)->take_all();
}

void CArgumentParser::AddPluginOption(std::vector<std::string>& paths) {
    AddList("--plugin", paths, "Plug-in library or folder of them to look into first")->type_name("PATH");
}

std::string CArgumentParser::Help() const {
    std::string help = m_app.help();
    help.insert(help.find("Usage:"), "\n");
    help.pop_back(); // the blank line at its end
    return help;
}

std::string CArgumentParser::OptionsHelp() const {
    const auto isCommon = [](const CLI::Option* option) {
        return option->get_group() == "Options" && option->nonpositional();
    };
    return CLI::Formatter().make_group("Options", false, m_app.get_options(isCommon));
}

void CArgumentParser::Parse(const Arguments& arguments) {
    Arguments reversed = WithEmptyValues(m_app, arguments); // CLI11 takes them from the back
    std::reverse(reversed.begin(), reversed.end());
    try {
        m_app.parse(std::move(reversed));
    } catch (const CLI::ArgumentMismatch& failure) {
        const std::string text = failure.what(); // "--option: ..."
        throw CUseError(text.substr(0, text.find(':')) + ": its value is missing");
    } catch (const CLI::RequiredError& failure) {
        if (!m_help) {
            throw CUseError(std::string(failure.what()) + ": see '" + m_app.get_name() + " --help'");
        }
    } catch (const CLI::ParseError& failure) {
        throw CUseError(failure.what());
    }
}

void CArgumentParser::RefuseRest() const {
    const std::vector<std::string> rest = m_app.remaining();
    if (rest.empty()) {
        return;
    }
    const std::string& first = rest.front();
    if (first.size() < 2 || first.front() != '-') {
        throw CUseError("unexpected argument '" + first + "'");
    }
    const std::string name = first.substr(0, first.find('='));
    throw CUseError("unknown option '" + name + "'" + NearestHint(name, OptionNames(m_app)));
}

} // namespace vessa
