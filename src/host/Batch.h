#pragma once

#include "GraphRun.h"
#include "Jobs.h"
#include "Progress.h"

#include <iosfwd>
#include <vector>

/// The runs of a graph on many files, by several workers.
namespace vessa {

struct StBatchOptions {
    StRunOptions run;
    unsigned workers = 1;
    bool stopOnError = false;
};

struct StBatchResult {
    std::size_t done = 0;
    std::size_t failed = 0;
    StGraphTimes times;
};

/// Runs the jobs. A job that fails is told on `talk`, in one line, and the others go on, unless the options say that
/// none may be begun after it. Each worker has one job at a time, so that memory is bounded by their number. A signal
/// is raised as `CInterrupted` once all workers have given up.
StBatchResult RunJobs(const StGraph& graph, const std::vector<StJob>& jobs, const StBatchOptions& options,
                      CProgress& progress, std::ostream& talk);

} // namespace vessa
