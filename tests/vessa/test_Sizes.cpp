#include "NodeTest.h"

namespace QUOR::test {
namespace {

TEST(Sizes, HaveTwoOrThreeDimensions) {
    const CSize flat(4, 3);
    EXPECT_EQ(flat.x, 4);
    EXPECT_EQ(flat.y, 3);
    EXPECT_EQ(flat.z, 1);
    EXPECT_EQ(flat.dim, 2);
    const CSize deep(4, 3, 2);
    EXPECT_EQ(deep.z, 2);
    EXPECT_EQ(deep.dim, 3);
    EXPECT_EQ(CSize(4, 3, 1).dim, 3);
    EXPECT_EQ(CSize().Volume(), 0U);
    EXPECT_EQ(CSize().dim, 3);
}

TEST(Sizes, CountTheirElements) {
    EXPECT_EQ(CSize(0, 0, 0).Volume(), 0U);
    EXPECT_EQ(CSize(4, 3).Volume(), 12U);
    EXPECT_EQ(CSize(4, 3, 2).Volume(), 24U);
    EXPECT_EQ(CSize(4, 3, 2).Elements(), 24U);
    EXPECT_EQ(CSize(1LL << 31, 1LL << 31, 2).Volume(), 1ULL << 63);
    EXPECT_EQ(CSize(1LL << 32, 1LL << 32, 1).Volume(), 0U) << "what is beyond 64 bits is lost";
    EXPECT_EQ(CSize(0, 1LL << 62, 1LL << 62).Volume(), 0U);
}

TEST(Sizes, ChangeTheirDimensionCountAlone) {
    CSize size(4, 3, 2);
    size.SetDim(2);
    EXPECT_EQ(size.dim, 2);
    EXPECT_EQ(size.z, 2);
    EXPECT_EQ(size.Volume(), 24U);
}

TEST(Sizes, AreWrittenByTheirDimensionCount) {
    EXPECT_EQ(CSize(4, 3).ToString(), "(4, 3)");
    EXPECT_EQ(CSize(4, 3, 1).ToString(), "(4, 3, 1)");
    EXPECT_EQ(CPos(-1, 2).ToString(), "(-1, 2)");
    EXPECT_EQ(CPos(-1, 2, -9223372036854775807LL - 1).ToString(), "(-1, 2, -9223372036854775808)");
    CPos position(1, 2, 3);
    position.SetDim(2);
    EXPECT_EQ(position.ToString(), "(1, 2)");
    position.SetDim(4);
    EXPECT_EQ(position.ToString(), "(1, 2, 3)");
    EXPECT_EQ(CPos().ToString(), "(0, 0, 0)");
}

TEST(Sizes, AreEqualByExtentsAndDimensionCount) {
    EXPECT_TRUE(CSize(4, 3) == CSize(4, 3));
    EXPECT_FALSE(CSize(4, 3) == CSize(4, 3, 1));
    EXPECT_FALSE(CSize(4, 3) == CSize(3, 4));
    EXPECT_FALSE(CSize(4, 3, 2) == CSize(4, 3, 1));
}

TEST(Sizes, AreCopiedAsPositions) {
    const CPos position = CSize(4, 3);
    EXPECT_EQ(position.ToString(), "(4, 3)");
    CPos assigned;
    assigned = CSize(1, 2, 3);
    EXPECT_EQ(assigned.ToString(), "(1, 2, 3)");
}

TEST(Sizes, RegionsHaveTwoCorners) {
    const CRect rectangle(1, 2, 3, 5);
    EXPECT_EQ(rectangle.first.ToString(), "(1, 2)");
    EXPECT_EQ(rectangle.second.ToString(), "(3, 5)");
    const CBox box(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(box.first.ToString(), "(1, 2, 3)");
    EXPECT_EQ(box.second.ToString(), "(4, 5, 6)");
}

} // namespace
} // namespace QUOR::test
