#pragma once

#include "Case.h"

#include <benchmark/benchmark.h>

namespace QUOR::bench {

/// What a measurement finds, under the names of the benchmark's counters.
/// @{
inline constexpr const char* kNanoseconds = "ns_per_element";
inline constexpr const char* kOfCopy = "of_memcpy"; ///< times the limit
inline constexpr const char* kOfPeer = "of_peer";   ///< times the best peer; none without one
/// @}

/// Measures a case in rounds: in each one the node, its limit and its peers run one after the other, so that what
/// disturbs the machine disturbs all of them. The counters are made of medians over the rounds; the label is the name
/// of the best peer.
void MeasureCase(benchmark::State& state, const CPluginModule& module, const CCase& measured, const StScale& scale);

} // namespace QUOR::bench
