#pragma once

#include "Graph.h"

#include <atomic>
#include <string>
#include <vector>

/// The run of a graph on files.
namespace vessa {

/// How long a kind of work has taken, and how often it was done.
struct StTime {
    double seconds = 0.0;
    std::size_t count = 0;
};

/// The times of a graph's runs.
struct StGraphTimes {
    StTime reading;
    StTime writing;
    std::vector<StTime> nodes; ///< in the order of the graph's nodes

    void Add(const StGraphTimes& other);
};

struct StRunOptions {
    StWriteOptions write;
    bool isSynced = false;                    ///< the outputs are on the disk before they have their names
    const std::atomic<int>* signal = nullptr; ///< not 0 once the work is to be given up: the number of a signal
};

/// Runs a graph: reads each input when the first node needs it, frees each value when its last reader has run, writes
/// the outputs as soon as they are there, and moves them to their places once all nodes have succeeded, so that a run
/// that fails leaves none. Failures are raised with the names of the nodes, a signal as `CInterrupted`.
///
/// Every run has node objects of its own: several runs of one graph may go on at a time.
StGraphTimes RunGraph(const StGraph& graph, const StGraphFiles& files, const StRunOptions& options);

/// The times as a table for people.
std::string TimesText(const StGraph& graph, const StGraphTimes& times);

} // namespace vessa
