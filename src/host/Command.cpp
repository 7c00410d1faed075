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

bool TakesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

/// CLI11 takes "--key=" for an option whose value is still to come; here it is an empty text.
Arguments WithEmptyValues(const CLI::App& app, const Arguments& arguments) {
    Arguments split;
    for (const std::string& argument : arguments) {
        const bool emptyValue = argument.starts_with("--") && argument.find('=') == argument.size() - 1;
        const std::string name = argument.substr(0, argument.size() - (emptyValue ? 1 : 0));
        const CLI::Option* option = emptyValue ? app.get_option_no_throw(name) : nullptr;
        if (option != nullptr && TakesValue(*option)) {
            split.insert(split.end(), {name, ""});
        } else {
            split.push_back(argument);
        }
    }
    return split;
}

/// What stands behind some arguments.
struct StPosition {
    const CLI::Option* value = nullptr; ///< the option whose value is to come
    std::size_t plain = 0;              ///< the number of arguments before it that belong to no option
    bool onlyPlain = false;             ///< there are no options any more, behind "--"
    std::set<const CLI::Option*> given; ///< the options before it
};

/// The option of "--name", "--name=VALUE" or "-n"; null for all else.
const CLI::Option* OptionOf(const CLI::App& app, const std::string& argument) {
    return argument.starts_with('-') ? app.get_option_no_throw(argument.substr(0, argument.find('='))) : nullptr;
}

StPosition PositionBehind(const CLI::App& app, const Arguments& before) {
    StPosition position;
    for (const std::string& argument : before) {
        if (position.value != nullptr) {
            position.value = nullptr; // this was the value
        } else if (position.onlyPlain || argument == "-" || !argument.starts_with('-')) {
            ++position.plain;
        } else if (argument == "--") {
            position.onlyPlain = true;
        } else if (const CLI::Option* option = OptionOf(app, argument)) {
            position.given.insert(option);
            position.value = TakesValue(*option) && argument.find('=') == std::string::npos ? option : nullptr;
        }
    }
    return position;
}

/// The argument without a name that has this number, from 0; null if there is none.
const CLI::Option* PlainArgument(const CLI::App& app, std::size_t number) {
    const auto plain = app.get_options([](const CLI::Option* option) { return option->get_positional(); });
    return number < plain.size() ? plain[number] : nullptr;
}

} // namespace

CArgumentParser::CArgumentParser(const std::string& name, const std::string& brief) : m_app(brief, name) {
    m_app.set_help_flag();
    m_app.allow_extras();
    m_app.add_flag("-h,--help", m_help, "Show this help and end");
}

CLI::Option* CArgumentParser::AddList(const std::string& names, std::vector<std::string>& values,
                                      const std::string& text) {
    CLI::Option* option = m_app.add_option(names, values, text)->expected(1)->allow_extra_args(false)->take_all();
    m_lists.insert(option);
    return option;
}

void CArgumentParser::AddPluginOption(std::vector<std::string>& paths) {
    const CLI::Option* option =
        AddList("--plugin", paths, "Plug-in library or folder of them to look into first")->type_name("PATH");
    SetOffers(option, [](CCompletion& completion) { completion.OfferFiles({"so"}); });
}

std::string CArgumentParser::Help() const {
    constexpr std::size_t width = 80; // as wide as the options are laid out
    std::string help = m_app.help();
    help.replace(0, m_app.get_description().size() + 1, Wrap(m_app.get_description(), 0, width));
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

bool CArgumentParser::ParseAll(const Arguments& arguments, std::ostream& out) {
    Parse(arguments);
    RefuseRest();
    if (m_help) {
        out << Help();
    }
    return !m_help;
}

void CArgumentParser::ParseBefore(Arguments before) {
    if (PositionBehind(m_app, before).value != nullptr) {
        before.pop_back(); // an option whose value is being typed
    }
    try {
        Parse(before);
    } catch (const CUseError&) {
        // What has been read up to there is all that there is to know.
    }
}

void CArgumentParser::Complete(const Arguments& before, CCompletion& completion) const {
    const StPosition position = PositionBehind(m_app, before);
    const std::string word = completion.Word();
    const bool hasValue = !position.onlyPlain && word.find('=') != std::string::npos;
    if (position.value != nullptr) {
        OfferFor(position.value, completion);
    } else if (const CLI::Option* option = hasValue ? OptionOf(m_app, word) : nullptr) {
        completion.Settle(word.find('=') + 1);
        OfferFor(option, completion);
    } else {
        const CLI::Option* plain = PlainArgument(m_app, position.plain);
        OfferFor(plain, completion);
        if (!position.onlyPlain && (plain == nullptr || !plain->get_required() || word.starts_with('-'))) {
            OfferOptions(position.given, completion);
        }
    }
}

void CArgumentParser::OfferFor(const CLI::Option* option, CCompletion& completion) const {
    if (const auto offers = m_offers.find(option); offers != m_offers.end()) {
        offers->second(completion);
    }
}

void CArgumentParser::OfferOptions(const std::set<const CLI::Option*>& given, CCompletion& completion) const {
    for (const CLI::Option* option : m_app.get_options()) {
        if (given.count(option) != 0 && m_lists.count(option) == 0) {
            continue;
        }
        for (const std::string& name : option->get_lnames()) {
            completion.Offer("--" + name, option->get_description());
        }
    }
}

} // namespace vessa
