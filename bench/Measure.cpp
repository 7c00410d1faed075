#include "Measure.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <deque>
#include <iostream>

namespace QUOR::bench {

namespace {

/// Drops what nodes print.
class CSilence {
public:
    CSilence() : m_before(std::cout.rdbuf(nullptr)) {}
    CSilence(const CSilence&) = delete;
    CSilence& operator=(const CSilence&) = delete;
    ~CSilence() {
        std::cout.rdbuf(m_before);
        std::cout.clear();
    }

private:
    std::streambuf* m_before;
};

/// A node with its inputs, run as a host does.
class CMeasuredNode {
public:
    CMeasuredNode(const CPluginModule& module, const CCase& measured, const Images& inputs)
        : m_plugin(module.Create(measured.Node())), m_node(dynamic_cast<CPNode&>(*m_plugin)) {
        measured.PlaceParameters(m_node.Parameters(), *inputs.front());
        m_node.NodeInit();
        for (int slot = 0; const auto& input : inputs) {
            m_node.SetStackInput(slot++, &m_values.emplace_back(input.get()));
        }
    }

    /// `visit` is called for each output before it is freed.
    template <class Visit> void Run(Visit visit) {
        m_node.Run();
        for (int slot = 0; const auto output = m_node.TakeStackOutput(slot); ++slot) {
            visit(*output);
        }
    }

    /// The outputs of one run.
    Images Outputs() {
        Images outputs;
        Run([&](CValue& value) {
            if (value.GenericType() == EnValType::Pointer) {
                outputs.push_back(std::make_unique<CImage>(*UnwrapPointer<CImage>(&value)));
            }
        });
        return outputs;
    }

private:
    std::unique_ptr<IPluginObject> m_plugin;
    CPNode& m_node;
    std::deque<CValuePointer<CImage>> m_values; ///< which the node knows by their places
};

std::size_t Bytes(const Images& images) {
    std::size_t bytes = 0;
    for (const auto& image : images) {
        bytes += image->Buffer().Size();
    }
    return bytes;
}

std::size_t ElementCount(const Images& images) {
    std::size_t elements = 0;
    for (const auto& image : images) {
        elements += image->Size().Volume();
    }
    return elements;
}

/// One of those that are measured side by side.
class CContestant {
public:
    CContestant(std::string name, std::function<void()> work) : m_name(std::move(name)), m_work(std::move(work)) {
        constexpr double shortest = 1e6; // a batch takes so many nanoseconds at least, or the clock would count
        m_work();
        m_batch = std::max<std::int64_t>(1, static_cast<std::int64_t>(shortest / TimeOf(1)));
    }

    /// Measures once, in nanoseconds.
    double Measure() {
        m_times.push_back(TimeOf(m_batch));
        return m_times.back();
    }

    double Median() const {
        std::vector<double> times = m_times;
        const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        return *middle;
    }

    const std::string& Name() const { return m_name; }

private:
    /// The mean over so many calls, of the processor's time: what else runs on the machine takes none of it.
    double TimeOf(std::int64_t calls) const {
        const std::clock_t start = std::clock();
        for (std::int64_t call = 0; call < calls; ++call) {
            m_work();
        }
        const double time = static_cast<double>(std::clock() - start) * (1e9 / CLOCKS_PER_SEC);
        return std::max(1.0, time / static_cast<double>(calls));
    }

    std::string m_name;
    std::function<void()> m_work;
    std::int64_t m_batch;
    std::vector<double> m_times;
};

/// A copy of so many bytes within mapped memory.
class CCopy {
public:
    explicit CCopy(std::size_t bytes) : m_source(bytes), m_target(bytes) {
        m_source.Set(1);
        m_target.Set(0);
    }

    void Run() {
        std::memcpy(m_target.Data(), m_source.Data(), m_source.Size());
        benchmark::ClobberMemory();
    }

private:
    CBuffer m_source;
    CBuffer m_target;
};

/// The time of the node against those of the others.
void SetCounters(benchmark::State& state, const CContestant& node, const CContestant& copy,
                 const std::vector<CContestant>& peers, std::size_t elements) {
    const double time = node.Median();
    state.counters[kNanoseconds] = time / static_cast<double>(elements);
    state.counters[kOfCopy] = time / copy.Median();
    const auto best = std::min_element(
        peers.begin(), peers.end(), [](const CContestant& a, const CContestant& b) { return a.Median() < b.Median(); });
    if (best != peers.end()) {
        state.counters[kOfPeer] = time / best->Median();
        state.SetLabel(best->Name());
    }
}

} // namespace

void MeasureCase(benchmark::State& state, const CPluginModule& module, const CCase& measured, const StScale& scale) {
    const CSilence silence;
    const Images inputs = measured.InputsFor(scale);
    CMeasuredNode node(module, measured, inputs);
    const Images outputs = node.Outputs();
    const std::size_t written = Bytes(outputs);
    const std::size_t read = measured.Reads() == EnReads::AsMuchAsItWrites ? written : Bytes(inputs);
    CCopy copy((read + written) / 2); // a copy reads and writes each byte

    CContestant nodeTime("node", [&] { node.Run([](CValue& output) { benchmark::DoNotOptimize(&output); }); });
    CContestant copyTime("memcpy", [&] { copy.Run(); });
    std::vector<CContestant> peerTimes;
    for (const CCase::StPeer& peer : measured.Peers()) {
        peerTimes.emplace_back(peer.name, [&] { peer.work(inputs); });
    }
    for (auto round : state) {
        static_cast<void>(round);
        state.SetIterationTime(nodeTime.Measure() * 1e-9);
        copyTime.Measure();
        for (CContestant& peer : peerTimes) {
            peer.Measure();
        }
    }
    SetCounters(state, nodeTime, copyTime, peerTimes, std::max(inputs.front()->Size().Volume(), ElementCount(outputs)));
}

} // namespace QUOR::bench
