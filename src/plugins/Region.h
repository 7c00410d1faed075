#pragma once

#include "Value/ValueMap.h"

#include <cstdint>
#include <span>
#include <vector>

namespace QUOR::shapefeatures {

/// The columns from `first` to the one before `end`.
struct StRun {
    std::int64_t first;
    std::int64_t end;

    std::int64_t Length() const { return end - first; }
};

/// The runs of region elements in a row, from left to right, with a gap between any two.
using Runs = std::vector<StRun>;

/// A plane whose elements are the region where the mask isn't 0, and the grey values under it. It borrows both.
class CRegion {
public:
    /// Reads "image-0" and "image-mask". Raises a `CException` tagged `where` unless both are planes of one size and of
    /// type `IMAGE_GREY_F`. Empty images, as those of a label that isn't there, are a plane without elements.
    CRegion(const CValueMap& data, const char* where);

    /// Calls `visit(y, runs)` for each row that has elements of the region, from the top.
    template <class Visit> void ForEachRow(Visit visit) const {
        Runs runs;
        for (std::int64_t y = 0; y < m_height; ++y) {
            FindRuns(y, runs);
            if (!runs.empty()) {
                visit(y, runs);
            }
        }
    }

    /// Calls `visit(values)` for the grey values under each run of the region, in storage order.
    template <class Visit> void ForEachGreyRun(Visit visit) const {
        ForEachRow([&](std::int64_t y, const Runs& runs) {
            for (const StRun& run : runs) {
                visit(std::span(m_grey + m_width * y + run.first, static_cast<std::size_t>(run.Length())));
            }
        });
    }

private:
    void FindRuns(std::int64_t y, Runs& runs) const;

    const float* m_grey = nullptr;
    const float* m_mask = nullptr;
    std::int64_t m_width = 0;
    std::int64_t m_height = 0;
};

} // namespace QUOR::shapefeatures
