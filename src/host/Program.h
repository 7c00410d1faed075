#pragma once

#include "Command.h"

namespace vessa {

/// The whole program: picks the command, runs it, tells of its failure, and returns the exit status.
int RunProgram(const StContext& context, const Arguments& arguments);

} // namespace vessa
