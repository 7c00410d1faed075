#include "Batch.h"
#include "GraphFile.h"
#include "GraphText.h"
#include "Interrupt.h"
#include "RunArguments.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <set>
#include <thread>

namespace vessa {

namespace {

namespace fs = std::filesystem;

struct StPipelineArguments {
    std::string graph;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    unsigned workers = std::max(std::thread::hardware_concurrency(), 1U);
    bool resume = false;
    bool stopOnError = false;
    bool dot = false;
    StRunArguments run;
};

/// Offers NAME= for each of these, and files behind it.
template <class Ports> void OfferPorts(const Ports& ports, CCompletion& completion) {
    const std::size_t equals = completion.Word().find('=');
    if (equals == std::string::npos) {
        for (const auto& port : ports) {
            completion.Offer(port.name + "=");
        }
    } else {
        completion.Settle(equals + 1);
        completion.OfferFiles(KnownEndings());
    }
}

void AddPipelineOptions(CArgumentParser& parser, StPipelineArguments& said) {
    constexpr unsigned mostWorkers = 1024;
    CLI::App& app = parser.App();
    const CLI::Option* graph =
        app.add_option("GRAPH", said.graph, "The graph, a .json file")->type_name("")->required();
    parser.SetOffers(graph, [](CCompletion& completion) { completion.OfferFiles({"json"}); });
    parser.AddList("-i,--input", said.inputs, "File of an input; a folder or a pattern stands for many")
        ->type_name("NAME=FILE[@TYPE]");
    parser
        .AddList("-o,--output", said.outputs, "File of an output, with '{stem}' for the input's name; 'none' drops it")
        ->type_name("NAME=FILE");
    app.add_option("-j,--jobs", said.workers, "Files that are worked on at a time")
        ->type_name("NUMBER")
        ->check(CLI::Range(1U, mostWorkers).description(""))
        ->take_last();
    app.add_flag("--resume", said.resume,
                 "Pass over files whose outputs are there and newer; sync those that are written");
    app.add_flag("--stop-on-error", said.stopOnError, "Begin no further file once one has failed");
    app.add_flag("--dot", said.dot, "Print the graph for Graphviz, and do nothing");
    AddRunOptions(parser, said.run);
}

/// Raises a `CWorkError` if the folder of an output isn't there: better now than after an hour's work.
void RequireFolders(const std::vector<StJob>& jobs) {
    std::set<fs::path> folders;
    for (const StJob& job : jobs) {
        for (const std::string& output : job.files.outputs) {
            folders.insert(fs::path(output).parent_path());
        }
    }
    for (const fs::path& folder : folders) {
        std::error_code failure;
        if (!folder.empty() && !fs::is_directory(folder, failure)) {
            const bool isHidden = failure && failure != std::errc::no_such_file_or_directory;
            throw CWorkError(folder.string() + (isHidden ? ": the outputs can't go there: " + failure.message()
                                                         : ": there is no such folder for the outputs"));
        }
    }
}

void WritePlan(std::ostream& out, const StGraph& graph, const std::vector<StJob>& jobs) {
    for (const StJob& job : jobs) {
        out << (&job == &jobs.front() ? "" : "\n") << PlanText(graph, job.files);
    }
}

std::string Seconds(std::chrono::steady_clock::duration duration) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", std::chrono::duration<double>(duration).count());
    return text;
}

void WriteTimes(const StContext& context, const StGraph& graph, const StGraphTimes& times, bool areWanted) {
    if (areWanted) {
        context.err << TimesText(graph, times);
    }
}

/// Runs the only job: its failure is the program's.
void RunSingle(const StContext& context, const StGraph& graph, const StJob& job, const StRunOptions& options,
               bool wantsTimes) {
    const CNodesTalkAside aside(job.files.outputs);
    WriteTimes(context, graph, RunGraph(graph, job.files, options), wantsTimes);
}

/// Runs the jobs, sums up, and raises a `CWorkError` if some failed.
void RunMany(const StContext& context, const StGraph& graph, const std::vector<StJob>& jobs,
             const StBatchOptions& options, std::size_t skipped, bool wantsTimes) {
    const auto start = std::chrono::steady_clock::now();
    CProgress progress(context.err, context.isErrTerminal, context.width, jobs.size());
    const StBatchResult result = RunJobs(graph, jobs, options, progress, context.err);
    const std::size_t left = jobs.size() - result.done - result.failed;
    context.err << result.done << " done, " << result.failed << " failed, " << skipped << " up to date"
                << (left == 0 ? "" : ", " + std::to_string(left) + " not begun") << ", "
                << Seconds(std::chrono::steady_clock::now() - start) << '\n';
    WriteTimes(context, graph, result.times, wantsTimes);
    if (result.failed > 0) {
        throw CWorkError(std::to_string(result.failed) + " of " + std::to_string(jobs.size()) + " files failed");
    }
}

void RunPipeline(const StContext& context, const StPipelineArguments& said) {
    const CLimitedMemory limited(said.run); // for the graph's own values, too
    CModules modules(context.places, said.run.plugins, context.err);
    const StGraph graph = ReadGraph(said.graph, modules);
    if (said.dot) {
        context.out << DotText(graph);
        return;
    }
    std::vector<StJob> jobs = PlanJobs(graph, said.inputs, said.outputs);
    // Resuming trusts the names of outputs, which a power failure must not part from the content. Others needn't wait.
    StBatchOptions options{{WriteOptions(said.run), said.resume, nullptr}, said.workers, said.stopOnError};
    for (const StJob& job : jobs) {
        CheckFiles(graph, job.files, options.run.write);
    }
    const bool areMany = jobs.size() > 1;
    const std::size_t all = jobs.size();
    if (said.resume) {
        std::erase_if(jobs, [&](const StJob& job) { return IsUpToDate(job, said.graph); });
    }
    if (said.run.dryRun) {
        WritePlan(context.out, graph, jobs);
        return;
    }
    RequireFolders(jobs);
    const CInterruptGuard guard;
    options.run.signal = &CInterruptGuard::Signal();
    options.workers = std::min(options.workers, static_cast<unsigned>(std::max<std::size_t>(jobs.size(), 1)));
    if (areMany) {
        RunMany(context, graph, jobs, options, all - jobs.size(), said.run.timing);
    } else if (!jobs.empty()) {
        RunSingle(context, graph, jobs.front(), options.run, said.run.timing);
    }
}

} // namespace

void PipelineCommand(const StContext& context, const Arguments& arguments) {
    CArgumentParser parser("vessa pipeline",
                           "Runs a graph of nodes on one file or on many. Each file has a run of its own; "
                           "one that fails is told of and passed over.");
    StPipelineArguments said;
    AddPipelineOptions(parser, said);
    if (parser.ParseAll(arguments, context.out)) {
        RunPipeline(context, said);
    }
}

void CompletePipeline(const StContext& context, const Arguments& before, CCompletion& completion) {
    CArgumentParser parser("vessa pipeline", "");
    StPipelineArguments said;
    AddPipelineOptions(parser, said);
    parser.ParseBefore(before);
    const auto offer = [&](auto StGraph::*ports, CCompletion& offers) {
        CModules modules(context.places, said.run.plugins, context.err);
        const StGraph graph = ReadGraph(said.graph, modules);
        OfferPorts(graph.*ports, offers);
    };
    parser.SetOffers(parser.App().get_option("--input"), [&](CCompletion& offers) { offer(&StGraph::inputs, offers); });
    parser.SetOffers(parser.App().get_option("--output"),
                     [&](CCompletion& offers) { offer(&StGraph::outputs, offers); });
    parser.Complete(before, completion);
}

} // namespace vessa
