#include "Report.h"

#include "Measure.h"
#include "Peers.h"

#include <cmath>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace QUOR::bench {

namespace {

using Cells = std::vector<std::string>;

const Cells kHeadings = {"node", "type", "size", "ns per element", "times memcpy", "times best peer", "best peer"};

/// "Flip/x/GREY_8/4096x4096/..." as the cells "Flip x", "GREY_8" and "4096x4096 ...".
Cells NameCells(const std::string& name) {
    Cells cells;
    std::istringstream stream(name);
    for (std::string part; std::getline(stream, part, '/');) {
        const bool isUnit = part.find(':') != std::string::npos; // Google Benchmark's "iterations:1" and the like
        if (!isUnit && part != "manual_time") {
            cells.push_back(part);
        }
    }
    std::string size;
    for (std::size_t k = 3; k < cells.size(); ++k) {
        size += (k > 3 ? ", " : "") + cells[k];
    }
    return {cells.at(0) + " " + cells.at(1), cells.at(2), size};
}

std::string Number(double number) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(number < 10 ? 2 : 1) << number;
    return text.str();
}

/// The value of a counter; 0 if it isn't there.
double Counter(const benchmark::BenchmarkReporter::Run& run, const char* name) {
    const auto found = run.counters.find(name);
    return found == run.counters.end() ? 0.0 : static_cast<double>(found->second);
}

std::string Processor() {
    std::ifstream stream("/proc/cpuinfo");
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown";
}

std::string Compiler() {
#if defined(__clang__)
    return "Clang " + std::to_string(__clang_major__) + "." + std::to_string(__clang_minor__);
#else
    return std::string("GCC ") + __VERSION__;
#endif
}

void WriteMachine(std::ostream& page) {
    const benchmark::CPUInfo& info = benchmark::CPUInfo::Get();
    page << "- Processor: " << Processor() << ", " << info.num_cpus << " of its cores";
    for (const auto& cache : info.caches) {
        if (cache.type != "Instruction") {
            page << ", L" << cache.level << " " << cache.size / 1024 << " KiB";
        }
    }
    page << "\n- Compiler: " << Compiler() << "\n- Peers: " << PeersFound() << "\n";
}

void WriteRow(std::ostream& page, const Cells& cells, const std::vector<std::size_t>& widths) {
    for (std::size_t k = 0; k < cells.size(); ++k) {
        page << "| " << std::left << std::setw(static_cast<int>(widths[k])) << cells[k] << ' ';
    }
    page << "|\n";
}

constexpr const char* kIntroduction = R"(# How fast the nodes are

Written by `make bench`, which measures everything again. For some of the cases:

    build/bin/bench_manipulation --benchmark_filter=Flip

Each line is a whole `Run` of a node of the module, with its output made and freed, as a host does it. The node, the
limit and the peers take turns, each on one thread, and what is compared are the medians over these rounds.

- ns per element: the time for each element of the first input or of the outputs, whichever are more.
- times memcpy: against the limit, `memcpy` into mapped memory of as many bytes as the node must move: half of all that
  it reads and writes.
- times best peer: against the fastest of the other ways to get the like result, its output made and freed, too; below
  1 the node is faster. Where no other does the like there is none.

)";

} // namespace

bool CReport::ReportContext(const Context&) { return true; }

void CReport::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration) {
            continue;
        }
        StRow row{NameCells(run.benchmark_name()), Counter(run, kOfPeer)};
        row.cells.push_back(Number(Counter(run, kNanoseconds)));
        row.cells.push_back(Number(Counter(run, kOfCopy)));
        row.cells.push_back(row.ofPeer > 0.0 ? Number(row.ofPeer) : "");
        row.cells.push_back(run.report_label);
        for (const std::string& cell : row.cells) {
            std::cerr << cell << "  ";
        }
        std::cerr << '\n';
        m_rows.push_back(std::move(row));
    }
}

void CReport::Finalize() {
    std::vector<std::size_t> widths;
    for (std::size_t k = 0; k < kHeadings.size(); ++k) {
        widths.push_back(kHeadings[k].size());
        for (const StRow& row : m_rows) {
            widths[k] = std::max(widths[k], row.cells[k].size());
        }
    }
    m_page << kIntroduction;
    WriteMachine(m_page);
    m_page << '\n';
    WriteRow(m_page, kHeadings, widths);
    Cells rule;
    for (const std::size_t width : widths) {
        rule.emplace_back(width, '-');
    }
    WriteRow(m_page, rule, widths);

    std::size_t compared = 0;
    std::size_t notSlower = 0;
    double logarithms = 0.0;
    for (const StRow& row : m_rows) {
        WriteRow(m_page, row.cells, widths);
        if (row.ofPeer > 0.0) {
            ++compared;
            notSlower += row.ofPeer <= 1.0 ? 1 : 0;
            logarithms += std::log(row.ofPeer);
        }
    }
    if (compared > 0) {
        m_page << "\nOf " << compared << " lines with a peer, " << notSlower
               << " take at most its time; the geometric mean of the ratios is "
               << Number(std::exp(logarithms / static_cast<double>(compared))) << ".\n";
    }
}

} // namespace QUOR::bench
