#include "Batch.h"

#include "Errors.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <ostream>
#include <thread>

namespace vessa {

namespace {

/// The work on all jobs. The workers take the next one each; the caller's thread tells how far they are.
class CBatch {
public:
    CBatch(const StGraph& graph, const std::vector<StJob>& jobs, const StBatchOptions& options, CProgress& progress,
           std::ostream& talk)
        : m_graph(graph), m_jobs(jobs), m_options(options), m_progress(progress), m_talk(talk) {
        m_result.times.nodes.resize(graph.nodes.size()); // a job that is done needs no more memory to be counted
    }

    StBatchResult Run() {
        {
            std::vector<std::jthread> workers; // joined at the end of the block, whatever happens
            workers.reserve(m_options.workers);
            while (workers.size() < m_options.workers && Start(workers)) {
            }
            Watch();
        }
        if (m_signal != 0) {
            throw CInterrupted(m_signal);
        }
        return m_result;
    }

private:
    /// Starts a worker. Where the system gives no thread for it those that there are do the work, or else the caller's
    /// does, and it gives false.
    bool Start(std::vector<std::jthread>& workers) {
        std::unique_lock lock(m_mutex);
        ++m_working;
        lock.unlock();
        try {
            workers.emplace_back([this] { Work(); });
            return true;
        } catch (const std::exception&) {
            if (workers.empty()) {
                Work();
            } else {
                lock.lock();
                --m_working;
            }
            return false;
        }
    }

    void Work() {
        while (const StJob* job = Next()) {
            try {
                const StGraphTimes times = RunGraph(m_graph, job->files, m_options.run);
                const std::lock_guard lock(m_mutex);
                m_result.times.Add(times);
                ++m_result.done;
            } catch (const CInterrupted& interrupted) {
                const std::lock_guard lock(m_mutex);
                m_signal = interrupted.Signal();
            } catch (...) {
                Fail(*job);
            }
        }
        const std::lock_guard lock(m_mutex);
        --m_working;
        m_changed.notify_one();
    }

    /// The next job; null if there is none to begin any more.
    const StJob* Next() {
        const std::lock_guard lock(m_mutex);
        const bool isStopped = m_signal != 0 || (m_options.stopOnError && m_result.failed > 0);
        return isStopped || m_next == m_jobs.size() ? nullptr : &m_jobs[m_next++];
    }

    /// Counts the failure that is being handled, and tells of it.
    void Fail(const StJob& job) {
        const std::lock_guard lock(m_mutex);
        ++m_result.failed;
        m_progress.Clear();
        try {
            Tell(job, HandledFailure());
        } catch (const std::bad_alloc&) { // not even the words find room
            m_talk << "vessa: a file failed, since there is not enough memory\n" << std::flush;
        }
    }

    void Tell(const StJob& job, const StFailure& failure) {
        const bool isNamed = failure.message.find(job.name) != std::string::npos; // by what can't be read or written
        m_talk << FailureLine((isNamed ? "" : job.name + ": ") + failure.message) << std::flush;
    }

    /// Draws the progress until no worker is left.
    void Watch() {
        constexpr std::chrono::milliseconds pause(100);
        std::unique_lock lock(m_mutex);
        while (!m_changed.wait_for(lock, pause, [this] { return m_working == 0; })) {
            m_progress.Draw(m_result.done + m_result.failed);
        }
        m_progress.Clear();
    }

    const StGraph& m_graph;
    const std::vector<StJob>& m_jobs;
    const StBatchOptions& m_options;
    std::mutex m_mutex; ///< guards all that follows
    std::condition_variable m_changed;
    CProgress& m_progress;
    std::ostream& m_talk;
    std::size_t m_next = 0;
    unsigned m_working = 0;
    int m_signal = 0;
    StBatchResult m_result;
};

} // namespace

StBatchResult RunJobs(const StGraph& graph, const std::vector<StJob>& jobs, const StBatchOptions& options,
                      CProgress& progress, std::ostream& talk) {
    return CBatch(graph, jobs, options, progress, talk).Run();
}

} // namespace vessa
