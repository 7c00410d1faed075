// The element types that nodes take, found out by trying.

#include "AcceptedTypes.h"

#include "ProgramTest.h"

#include <filesystem>
#include <new>
#include <sstream>

namespace vessa::test {
namespace {

using Names = std::vector<std::vector<std::string>>; ///< by inputs

Names TypesOf(const std::string& name, std::size_t usual) {
    std::ostringstream talk;
    CModules modules(PlacesBeside(std::filesystem::path(VESSA_PROGRAM).parent_path()), {HOSTILE_NODES}, talk);
    return AcceptedTypes(modules, modules.Make(name).Description(), usual);
}

TEST(AcceptedTypes, AreThoseThatANodeRunsOn) {
    EXPECT_EQ(TypesOf("GivesMap", 1),
              (Names{{"IMAGE_BINARY_FG", "IMAGE_BINARY_BG", "IMAGE_GREY_8", "IMAGE_GREY_16", "IMAGE_GREY_32",
                      "IMAGE_GREY_64", "IMAGE_GREY_F", "IMAGE_GREY_D", "IMAGE_RGB_8"}}));
    EXPECT_EQ(TypesOf("Autocrop", 1), (Names{{"IMAGE_BINARY_FG", "IMAGE_GREY_8", "IMAGE_GREY_F"}}));
}

TEST(AcceptedTypes, WhateverANodeRaisesIsARefusal) {
    for (const char* name : {"InitRaises", "RunRaisesStandard", "RunRaisesNumber", "RunRaisesText"}) {
        EXPECT_EQ(TypesOf(name, 1), Names(1)) << name;
    }
}

TEST(AcceptedTypes, WantOfMemoryIsNone) { EXPECT_THROW(TypesOf("RunRaisesBadAlloc", 1), std::bad_alloc); }

} // namespace
} // namespace vessa::test
