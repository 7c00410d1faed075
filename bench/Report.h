#pragma once

#include <benchmark/benchmark.h>
#include <ostream>
#include <string>
#include <vector>

namespace QUOR::bench {

/// Collects the measurements and writes them as one page of Markdown at the end; tells on standard error what is being
/// measured.
class CReport : public benchmark::BenchmarkReporter {
public:
    explicit CReport(std::ostream& page) : m_page(page) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct StRow {
        std::vector<std::string> cells;
        double ofPeer; ///< 0 without a peer
    };

    std::ostream& m_page;
    std::vector<StRow> m_rows;
};

} // namespace QUOR::bench
