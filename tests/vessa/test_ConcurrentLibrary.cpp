#include "MemoryLimit.h"
#include "NodeTest.h"
#include "Threads.h"

#include <array>
#include <atomic>

namespace QUOR::test {
namespace {

TEST(ConcurrentLibrary, BuffersNeverShareABlock) {
    constexpr std::size_t large = std::size_t{2} << 20;
    std::atomic<int> clashes = 0;
    InThreads([&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        std::vector<CBuffer> kept;
        for (int round = 0; round < 200; ++round) {
            CBuffer buffer((random() % 3 + 1) * large - random() % 100);
            auto* bytes = static_cast<unsigned char*>(buffer.Data());
            const auto mark = static_cast<unsigned char>(number);
            // Some bytes of every page would do for a clash; the ends are where blocks of other sizes meet.
            bytes[0] = mark;
            bytes[buffer.Size() / 2] = mark;
            bytes[buffer.Size() - 1] = mark;
            std::this_thread::yield();
            const bool mine = bytes[0] == mark && bytes[buffer.Size() / 2] == mark && bytes[buffer.Size() - 1] == mark;
            clashes += mine ? 0 : 1;
            kept.push_back(std::move(buffer));
            if (kept.size() > 5) {
                kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(random() % kept.size()));
            }
            if (round % 50 == 49) {
                CBuffer::ReleaseKept();
            }
        }
    });
    EXPECT_EQ(clashes, 0);
    CBuffer::ReleaseKept();
}

TEST(ConcurrentLibrary, BuffersNeverPassTheMemoryLimitTogether) {
    constexpr std::size_t bytes = 1000;
    std::atomic<std::size_t> live = 0; // after the fact and so never more than the library's own count
    std::atomic<int> refused = 0;
    std::atomic<bool> passed = false;
    const CRoomForImages room(5 * bytes + 999); // threads by buffers would need 12 of them
    InThreads([&](int /*number*/) {
        for (int round = 0; round < 5000; ++round) {
            try {
                const std::array<CBuffer, 3> buffers{CBuffer(bytes), CBuffer(bytes), CBuffer(bytes)};
                passed = passed || live.fetch_add(3) + 3 > 5 || ImageMemoryInUse() > ImageMemoryLimit();
                std::this_thread::yield();
                live -= 3;
            } catch (const CImageMemoryLimit&) {
                ++refused;
            }
        }
    });
    EXPECT_FALSE(passed);
    EXPECT_GT(refused, 0);
    EXPECT_EQ(ImageMemoryInUse(), 0U);
    const CBuffer all(5 * bytes + 999); // everything is free again
}

TEST(ConcurrentLibrary, ValuesOfEachThreadAreItsOwn) {
    InThreads([](int number) {
        for (int round = 0; round < 100; ++round) {
            CValueMap map;
            map.SetEntry("a/b", new CValueLong(number));
            EXPECT_TRUE(CValueLong(number).Equal(*map.Entry("a/b", true))) << "the empty side information is shared";
            EXPECT_EQ(CString("%1 %2").Arg(Long{number}, 0).Arg("x").Text(), std::to_string(number) + " x");
        }
    });
}

TEST(ConcurrentLibrary, ExceptionsAreCopiedAcrossThreads) {
    const CException failure("where", "what", nullptr);
    InThreads([&](int /*number*/) {
        for (int round = 0; round < 1000; ++round) {
            const CException copy(failure); // NOLINT(performance-unnecessary-copy-initialization)
            EXPECT_STREQ(copy.What(), "what");
        }
    });
}

TEST(ConcurrentLibrary, OneModuleMakesObjectsForAllThreads) {
    const CPluginModule module(TEST_PLUGIN_DIRECTORY "/SecondModule.so");
    InThreads([&](int number) {
        for (int round = 0; round < 50; ++round) {
            const std::unique_ptr<IPluginObject> plugin = module.Create("Number");
            auto& node = dynamic_cast<CPNode&>(*plugin);
            EXPECT_THROW(node.Run(), CException);
            node.Parameters().SetEntry("number", new CValueLong(number));
            node.Run();
            EXPECT_EQ(std::as_const(*node.StackOutput(0)).Long(), number);
        }
    });
}

TEST(ConcurrentLibrary, ModulesAreLoadedAndUnloadedAtOnce) {
    InThreads([](int /*number*/) {
        for (int round = 0; round < 20; ++round) {
            const CPluginModule module(TEST_PLUGIN_DIRECTORY "/OddLists.so");
            EXPECT_EQ(module.Names(), std::vector<std::string>{"Right"});
        }
    });
}

} // namespace
} // namespace QUOR::test
