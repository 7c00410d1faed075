// Measures the nodes of the module and writes a table of what it found to standard output.
//
//     bench_manipulation [--growth] [--benchmark_filter=REGEX] [any other option of Google Benchmark]
//
// With --growth it measures one node of each class on work of growing size instead.

#include "Case.h"
#include "Measure.h"
#include "Peers.h"
#include "Report.h"

#include <algorithm>
#include <cstring>
#include <iostream>

namespace {

using namespace QUOR;
using namespace QUOR::bench;

constexpr int kRounds = 15;

void RegisterCases(const CPluginModule& module, const std::vector<CCase>& cases) {
    for (const CCase& measured : cases) {
        for (const StScale& scale : measured.Scales()) {
            const std::string name = measured.Name() + "/" + scale.Name();
            benchmark::RegisterBenchmark(
                name.c_str(),
                [&module, measured, scale](benchmark::State& state) { MeasureCase(state, module, measured, scale); })
                ->UseManualTime()
                ->Iterations(kRounds);
        }
    }
}

/// Takes the word out of the command line; false if it isn't there.
bool TakeOption(int& argc, char** argv, const char* option) {
    char** const end = argv + argc;
    char** const rest = std::remove_if(argv, end, [&](const char* word) { return std::strcmp(word, option) == 0; });
    const bool isGiven = rest != end;
    argc = static_cast<int>(rest - argv);
    return isGiven;
}

std::vector<std::vector<CCase>> Groups(bool growth) {
    if (growth) {
        return {GrowthCases()};
    }
    return {RegionCases(), GeometryCases(), RestackingCases(), LabelCases()};
}

} // namespace

int main(int argc, char** argv) {
    const bool growth = TakeOption(argc, argv, "--growth");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    try {
        SetUpPeers();
        const CPluginModule module(MANIPULATION_MODULE);
        for (const std::vector<CCase>& cases : Groups(growth)) {
            RegisterCases(module, cases);
        }
        CReport report(std::cout);
        benchmark::RunSpecifiedBenchmarks(&report);
    } catch (const CException& failure) {
        std::cerr << "bench_manipulation: " << failure.FormattedWhat() << '\n';
        return 1;
    }
}
