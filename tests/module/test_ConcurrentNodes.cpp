#include "PropertyTest.h"
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

class ConcurrentNode : public testing::TestWithParam<std::string> {};

TEST_P(ConcurrentNode, DoesInManyThreadsWhatItDoesInOne) {
    const auto run = [](const StCase& given) {
        CNodeUnderTest node(GetParam());
        Place(node, given);
        return OutcomeOf(node, [&] { node.Run(); });
    };
    const rc::Gen<StCase> anyCase = AnyCaseOf(GetParam());
    std::vector<StCase> cases;
    std::vector<StOutcome> expected;
    for (std::uint64_t seed = 0; cases.size() < 6; ++seed) {
        StCase given = anyCase(rc::Random(seed), rc::kNominalSize).value();
        given.settings.erase("verbose"); // the lines of several threads would mix
        StOutcome outcome = run(given);
        if (outcome.failure.empty()) {
            cases.push_back(std::move(given));
            expected.push_back(std::move(outcome));
        }
    }
    InThreads([&](int first) {
        for (std::size_t round = 0; round < 2 * cases.size(); ++round) {
            const std::size_t number = (static_cast<std::size_t>(first) + round) % cases.size();
            EXPECT_TRUE(SameOutcome(expected[number], run(cases[number])));
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Module, ConcurrentNode, testing::ValuesIn(Module().Names()),
                         [](const auto& node) { return node.param; });

} // namespace
} // namespace QUOR::test
