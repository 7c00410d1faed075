#pragma once

#include "Markup.h"
#include "vessa.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What a node tells of itself, in the form that the program works with: read from the node's description map and from
/// the sections of its text. All else stands on this, so that a node's description is the only source about it.
namespace vessa {

/// An input or output of a node.
struct StPort {
    CMarkup label;
    bool isMap = false; ///< it carries a map; all other ports carry an image
    bool optional = false;
};

/// A declared parameter of a node.
struct StParameter {
    std::string key;
    std::shared_ptr<const QUOR::CValue> standard; ///< the default, whose kind is the parameter's
    std::vector<std::string> allowed;             ///< the allowed texts; empty if any is
    std::optional<int> order;                     ///< its place in a form, where it has one
    std::string visibleIf;                        ///< the condition, in postfix notation, under which forms show it
    CMarkup text;

    QUOR::EnValType Kind() const { return standard->GenericType(); }
};

/// A key that the text tells of and that isn't declared.
struct StFurtherKey {
    std::string key;
    CMarkup text;
};

struct StNodeDescription {
    std::string name;
    std::string type;
    std::string subType;
    CMarkup brief; ///< the first paragraph
    CMarkup text;  ///< what follows it
    std::vector<StPort> inputs;
    std::vector<StPort> outputs;
    std::vector<StParameter> parameters; ///< those with a place in forms come first, by their places
    std::vector<StFurtherKey> furtherKeys;
    std::vector<CMarkup> notes;
    std::vector<std::string> keywords;
    CMarkup seeAlso;
    std::string page; ///< the file of its documentation, with `%NAME%` for environment variables
    std::shared_ptr<const QUOR::CValueMap> map; ///< the whole description, as the node gives it
};

/// What the node called `name` tells of itself.
StNodeDescription Describe(const std::string& name, QUOR::CPNode& node);

/// The parameter with this key; null if there is none.
const StParameter* FindParameter(const StNodeDescription& node, const std::string& key);

/// True if the parameter is an option of its own, `--KEY`: not if its key is the name of an option that every run has,
/// or none that can be typed as an option. `--set` reaches those.
bool HasOption(const StParameter& parameter);

/// The kind as it stands in a node's text, as in "long".
const char* KindWord(QUOR::EnValType kind);

} // namespace vessa
