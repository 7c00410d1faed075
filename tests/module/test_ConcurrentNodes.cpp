#include "NodeTest.h"
#include "Threads.h"

namespace QUOR::test {
namespace {

TEST(ConcurrentNodes, SeparateNodesShareNothing) {
    const ImagePtr shared = CodedImage(IMAGE_GREY_16, CSize(64, 48, 3));
    CNodeUnderTest alone("Flip");
    alone.Set("flip_x", true).Set("flip_z", true).Input(0, std::make_unique<CImage>(*shared)).Run();
    const CImage& expected = alone.Output();
    InThreads([&](int /*number*/) {
        for (int round = 0; round < 20; ++round) {
            // All threads read the same input.
            CNodeUnderTest node("Flip");
            node.Set("flip_x", true).Set("flip_z", true);
            node.Input(0, std::make_unique<CValuePointer<CImage>>(shared.get())).Run();
            EXPECT_TRUE(SameImage(expected, node.Output()));
            node.NoInput(0);
            EXPECT_THROW(node.Run(), CException);
        }
    });
}

TEST(ConcurrentNodes, AreDescribedAtOnce) {
    InThreads([](int /*number*/) {
        for (const std::string& name : Module().Names()) {
            const auto setup = DescriptionOf(name);
            EXPECT_EQ(setup->EntryString("name", "").Text(), name);
        }
    });
}

} // namespace
} // namespace QUOR::test
