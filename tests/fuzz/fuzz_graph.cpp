// Reads a graph file: it is a graph, which can be shown, or it is refused with a message that names it.

#include "Errors.h"
#include "FuzzInput.h"
#include "GraphFile.h"
#include "GraphText.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

using namespace vessa;

namespace {

const std::string& File() {
    static const std::string file = fuzz::OwnFile(".json");
    return file;
}

CModules& Modules() {
    static std::ostringstream talk;
    static CModules modules(PlacesBeside(std::filesystem::path(VESSA_PROGRAM).parent_path()), {}, talk);
    return modules;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::ofstream(File(), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        const StGraph graph = ReadGraph(File(), Modules());
        PlanText(graph, OwnFiles(graph));
        DotText(graph);
    } catch (...) {
        const StFailure failure = HandledFailure();
        if (failure.message.find(File()) != 0) {
            std::cerr << "broken: the message doesn't begin with the file: " << failure.message << std::endl;
            std::abort();
        }
    }
    return 0;
}
