#pragma once

#include <thread>
#include <vector>

namespace QUOR::test {

/// Runs `work` in four threads at once, with the numbers 0 to 3.
template <class Work> void InThreads(const Work& work) {
    constexpr int count = 4;
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&work, number] { work(number); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace QUOR::test
