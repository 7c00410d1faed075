#include "Peers.h"

namespace QUOR::bench {

void SetUpPeers() {
#if defined(BENCH_OPENCV)
    cv::setNumThreads(1);
#endif
#if defined(BENCH_VIPS)
    VIPS_INIT("bench_manipulation");
    vips_concurrency_set(1);
    vips_cache_set_max(0);
#endif
}

std::string PeersFound() {
    std::string names;
#if defined(BENCH_OPENCV)
    names += "OpenCV " CV_VERSION ", ";
#endif
#if defined(BENCH_VIPS)
    names += "libvips " VIPS_VERSION ", ";
#endif
    return names + "loops in plain C++";
}

} // namespace QUOR::bench
