#pragma once

#include "Command.h"
#include "vessa.h"

#include <memory>
#include <string>
#include <vector>

namespace vessa {

/// A file that an example names, and what it holds.
struct StExampleFile {
    std::string name; ///< as the example's line has it
    std::unique_ptr<QUOR::CValue> value;
};

/// An example that has been run.
struct StExampleRun {
    std::string line;
    std::vector<StExampleFile> inputs;
    std::vector<StExampleFile> outputs;
};

/// Runs an example's line in this process, by the command that it names; its outputs go to a folder that doesn't stay.
/// Raises a `CWorkError` that names the line if the run fails.
StExampleRun RunExample(const StContext& context, const std::vector<std::string>& plugins, const std::string& line);

} // namespace vessa
