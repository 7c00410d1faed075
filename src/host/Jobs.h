#pragma once

#include "Graph.h"

#include <string>
#include <vector>

/// A graph's runs on files: what the command line names is spread over one job for each file.
namespace vessa {

/// One run of a graph.
struct StJob {
    std::string name; ///< the first of its files, by which messages call it; "" unless files are spread over jobs
    StGraphFiles files;
};

/// The jobs that "NAME=FILE" of the command line make. An input's file may be a folder, whose image files and maps are
/// meant, or a pattern with `*`, `?` and `[...]`; an input may be named several times. Inputs with many files are put
/// together by the files' names without folder and ending, their stems. An output's file may hold "{stem}", which
/// stands for the stem of the job's files, and must if there are several jobs.
///
/// Raises a `CUseError` for names that the graph doesn't have, inputs and outputs without files, stems that differ or
/// occur twice, and an output that would replace an input, and a `CWorkError` for a folder that can't be read.
std::vector<StJob> PlanJobs(const StGraph& graph, const std::vector<std::string>& inputs,
                            const std::vector<std::string>& outputs);

/// True if all the job's outputs are there and newer than its inputs and than `graphFile`.
bool IsUpToDate(const StJob& job, const std::string& graphFile);

} // namespace vessa
