#pragma once

#include "NodeDescription.h"

#include <string>

/// The parameters of a node's run, from texts and from values. What isn't allowed raises a `CUseError`.
namespace vessa {

/// The parameters that `node` declares, with their defaults: what its help tells is what a run gets.
void PlaceDefaults(const StNodeDescription& node, QUOR::CValueMap& parameters);

/// Places one parameter from its text, checked by the description.
void PlaceParameter(const StParameter& parameter, const std::string& text, QUOR::CValueMap& parameters);

/// Places one parameter from a value, checked by the description. A whole number serves for a floating one, too.
void PlaceParameter(const StParameter& parameter, const QUOR::CValue& value, QUOR::CValueMap& parameters);

/// Places a parameter given as KEY=VALUE or KEY:KIND=VALUE, declared or not, and returns its key. Without a kind, a
/// declared one is checked by the description, and the value of another shows its kind.
std::string PlaceAssignment(const StNodeDescription& node, const std::string& assignment, QUOR::CValueMap& parameters);

} // namespace vessa
