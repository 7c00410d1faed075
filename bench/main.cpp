// Measures the nodes of the module and writes a table of what it found to standard output.
//
//     bench_manipulation [--benchmark_filter=REGEX] [any other option of Google Benchmark]

#include "Case.h"
#include "Measure.h"
#include "Peers.h"
#include "Report.h"

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

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    try {
        SetUpPeers();
        const CPluginModule module(MANIPULATION_MODULE);
        RegisterCases(module, RegionCases());
        RegisterCases(module, GeometryCases());
        RegisterCases(module, RestackingCases());
        RegisterCases(module, LabelCases());
        CReport report(std::cout);
        benchmark::RunSpecifiedBenchmarks(&report);
    } catch (const CException& failure) {
        std::cerr << "bench_manipulation: " << failure.FormattedWhat() << '\n';
        return 1;
    }
}
