#include "GraphRun.h"

#include "Errors.h"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <sstream>

using namespace QUOR;

namespace vessa {

namespace {

/// Adds the time from its making to its end to a time.
class CStopwatch {
public:
    explicit CStopwatch(StTime& time) : m_time(time) {}
    CStopwatch(const CStopwatch&) = delete;
    CStopwatch& operator=(const CStopwatch&) = delete;
    ~CStopwatch() {
        m_time.seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
        ++m_time.count;
    }

private:
    StTime& m_time;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/// One run of a graph, with the values that are there at the time.
class CGraphRun {
public:
    CGraphRun(const StGraph& graph, const StGraphFiles& files, const StRunOptions& options)
        : m_graph(graph), m_files(files), m_options(options), m_values(graph.sources.size()) {
        m_times.nodes.resize(graph.nodes.size());
        CountReaders();
    }

    StGraphTimes Run() {
        for (std::size_t index = 0; index < m_graph.nodes.size(); ++index) {
            RequireNoSignal();
            InTheNameOf(m_graph.nodes[index].label, [&] { RunNode(index); });
        }
        for (const StGraphOutput& output : m_graph.outputs) { // the inputs that go to outputs only
            Require(output.value);
        }
        RequireNoSignal();
        Commit();
        return std::move(m_times);
    }

private:
    /// A value of the graph. It is freed once all its readers have had it.
    struct StSlot {
        std::unique_ptr<CValue> value;
        std::size_t readers = 0;          ///< nodes and outputs that are still to have it
        std::vector<std::size_t> outputs; ///< of the graph, which have a file
    };

    void CountReaders() {
        for (const StGraphNode& node : m_graph.nodes) {
            for (const auto& value : node.inputs) {
                if (value) {
                    ++m_values[*value].readers;
                }
            }
        }
        for (std::size_t index = 0; index < m_graph.outputs.size(); ++index) {
            if (!m_files.outputs[index].empty()) {
                StSlot& slot = m_values[m_graph.outputs[index].value];
                ++slot.readers;
                slot.outputs.push_back(index);
            }
        }
    }

    void RequireNoSignal() const {
        const int signal = m_options.signal == nullptr ? 0 : m_options.signal->load();
        if (signal != 0) {
            throw CInterrupted(signal);
        }
    }

    void RunNode(std::size_t index) {
        const StGraphNode& node = m_graph.nodes[index];
        std::unique_ptr<CPNode> object = node.make();
        object->Init(node.parameters.get());
        object->NodeInit();
        for (std::size_t port = 0; port < node.inputs.size(); ++port) {
            if (node.inputs[port]) {
                Require(*node.inputs[port]);
                object->SetStackInput(static_cast<int>(port), m_values[*node.inputs[port]].value.get());
            }
        }
        {
            const CStopwatch watch(m_times.nodes[index]);
            object->Run();
        }
        TakeOutputs(*object, node);
        object.reset(); // the inputs may end now
        for (const auto& value : node.inputs) {
            if (value) {
                Release(*value);
            }
        }
        for (std::size_t port = 0; port < node.description->outputs.size(); ++port) {
            Write(node.firstOutput + port);
        }
    }

    void TakeOutputs(CPNode& object, const StGraphNode& node) {
        for (std::size_t port = 0; port < node.description->outputs.size(); ++port) {
            StSlot& slot = m_values[node.firstOutput + port];
            if (slot.readers == 0) {
                continue;
            }
            slot.value = object.TakeStackOutput(static_cast<int>(port));
            if (slot.value == nullptr || !slot.value->IsValid()) {
                throw CWorkError("output " + std::to_string(port) + ": the node has left it empty, so that " +
                                 Loss(node.firstOutput + port));
            }
        }
    }

    /// What can't be done without a value.
    std::string Loss(std::size_t value) const {
        if (!m_values[value].outputs.empty()) {
            return m_files.outputs[m_values[value].outputs.front()] + " is not written";
        }
        const auto reader = std::find_if(m_graph.nodes.begin(), m_graph.nodes.end(), [&](const StGraphNode& node) {
            return std::find(node.inputs.begin(), node.inputs.end(), value) != node.inputs.end();
        });
        return reader->label + " can't run";
    }

    /// Reads the value if it is that of an input and not there yet.
    void Require(std::size_t value) {
        const std::optional<std::size_t> input = InputIndex(m_graph, value);
        if (!input || m_values[value].value != nullptr || m_values[value].readers == 0) {
            return;
        }
        const StInputFile& file = m_files.inputs[*input];
        if (!file.file.empty()) {
            {
                const CStopwatch watch(m_times.reading);
                m_values[value].value = ReadValue(file.file, {.type = file.type});
            }
            Write(value);
        }
    }

    /// Writes a value that has just come to all outputs that take it.
    void Write(std::size_t value) {
        for (const std::size_t index : m_values[value].outputs) {
            const std::string& file = m_files.outputs[index];
            const CStopwatch watch(m_times.writing);
            StWriteOptions options = m_options.write;
            if (file != kStandardStream) {
                options.format.reset(); // its name tells
            }
            m_written.push_back(StageValue(file, *m_values[value].value, options));
            Release(value);
        }
    }

    void Commit() {
        for (const auto& file : m_written) {
            if (m_options.isSynced) {
                file->Sync();
            }
            file->Prepare();
        }
        for (const auto& file : m_written) {
            file->Commit();
        }
    }

    void Release(std::size_t value) {
        if (--m_values[value].readers == 0) {
            m_values[value].value.reset();
        }
    }

    const StGraph& m_graph;
    const StGraphFiles& m_files;
    const StRunOptions& m_options;
    std::vector<StSlot> m_values;
    std::vector<std::unique_ptr<COutputFile>> m_written; ///< not yet in their places
    StGraphTimes m_times;
};

void AddTime(StTime& sum, const StTime& time) {
    sum.seconds += time.seconds;
    sum.count += time.count;
}

} // namespace

void StGraphTimes::Add(const StGraphTimes& other) {
    AddTime(reading, other.reading);
    AddTime(writing, other.writing);
    nodes.resize(std::max(nodes.size(), other.nodes.size()));
    for (std::size_t index = 0; index < other.nodes.size(); ++index) {
        AddTime(nodes[index], other.nodes[index]);
    }
}

StGraphTimes RunGraph(const StGraph& graph, const StGraphFiles& files, const StRunOptions& options) {
    return CGraphRun(graph, files, options).Run();
}

std::string TimesText(const StGraph& graph, const StGraphTimes& times) {
    std::vector<std::pair<std::string, StTime>> rows{{"reading", times.reading}};
    for (std::size_t index = 0; index < times.nodes.size(); ++index) {
        rows.emplace_back(graph.nodes[index].label, times.nodes[index]);
    }
    rows.emplace_back("writing", times.writing);
    std::size_t widest = 0;
    for (const auto& [name, time] : rows) {
        widest = std::max(widest, name.size());
    }
    std::ostringstream text;
    text.exceptions(std::ios::badbit); // raises what it would swallow: that there is no memory
    text << std::fixed << std::left << std::setw(static_cast<int>(widest)) << "work" << std::right << "    total s"
         << "   times    mean ms\n";
    for (const auto& [name, time] : rows) {
        const double mean = time.count == 0 ? 0.0 : time.seconds / static_cast<double>(time.count);
        text << std::left << std::setw(static_cast<int>(widest)) << name << std::right << std::setprecision(3)
             << std::setw(11) << time.seconds << std::setw(8) << time.count << std::setw(11) << mean * 1e3 << '\n';
    }
    return text.str();
}

} // namespace vessa
