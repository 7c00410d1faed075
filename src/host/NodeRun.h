#pragma once

#include "Completion.h"
#include "NodeDescription.h"

#include <optional>
#include <string>
#include <vector>

/// One run of a node on files.
namespace vessa {

/// What an input reads: a file, as an element type if one is given. An input without a file stays empty.
struct StInputFile {
    std::string file;
    std::optional<QUOR::IImage::CType> type;
};

/// All that a run needs beside the node. An output without a file isn't written.
struct StNodeRun {
    QUOR::CValueMap parameters;
    std::vector<StInputFile> inputs;
    std::vector<std::string> outputs;
};

/// The parameters that `node` declares, with their defaults: what its help tells is what a run gets.
void PlaceDefaults(const StNodeDescription& node, QUOR::CValueMap& parameters);

/// Places one parameter from its text, checked by the description.
void PlaceParameter(const StParameter& parameter, const std::string& text, QUOR::CValueMap& parameters);

/// Places a parameter given as KEY=VALUE or KEY:KIND=VALUE, declared or not, and returns its key. Without a kind, a
/// declared one is checked by the description, and the value of another shows its kind.
std::string PlaceAssignment(const StNodeDescription& node, const std::string& assignment, QUOR::CValueMap& parameters);

/// The input that FILE, FILE@TYPE or "none" names. What follows an `@` is a type if it is a plain word: no file that
/// can be read ends in one.
StInputFile ParseInput(const std::string& text);

/// The file that FILE or "none" names.
std::string ParseOutput(const std::string& text);

/// What the shells offer in the place of these.
/// @{
void OfferInputs(CCompletion& completion);
void OfferOutputs(CCompletion& completion);
/// @}

/// Checks all that can be told before a file is read: numbers of inputs and outputs, formats, files named twice.
/// Raises a `CUseError`.
void CheckFiles(const StNodeDescription& node, const StNodeRun& run);

/// Runs the node: reads the inputs and, once the node has succeeded and set every output that has a file, writes the
/// outputs. Failures of the node and of files are raised as they come.
void RunNode(QUOR::CPNode& node, const StNodeRun& run);

} // namespace vessa
