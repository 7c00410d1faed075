// Works for long in one process, and tells whether its memory stays what it was: nodes on parameters and inputs of
// every kind, new objects and old ones, and files through graphs. Fails unless the memory at the end of each part is
// within one per cent of that after its first tenth.

#include "OutputFolder.h"
#include "Program.h"

#include "vessa.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <malloc.h>
#include <map>
#include <random>
#include <sstream>
#include <unistd.h>

using namespace QUOR;
namespace fs = std::filesystem;

// Of fuzz_nodes.cpp: runs a node that the bytes choose, one to three times on one object.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kTenths = 10;
constexpr int kWarmUp = 10; // tenths, before the first one: until then the heaps of the threads take their shape
constexpr int kNodeRuns = 100000;
constexpr int kBatches = 100;
constexpr int kFilesOfBatch = 100;

std::mt19937 s_random(2026);

std::int64_t Below(std::int64_t count) { return static_cast<std::int64_t>(s_random()) % count; }

/// The memory that the process has, in KiB.
struct StMemory {
    double all = 0.0;
    double own = 0.0; ///< without the parts of files, which come as code is first run
};

/// Without what the library and the allocator keep of what was freed: how much that is hangs on the sizes that came
/// last.
StMemory Resident() {
    CBuffer::ReleaseKept();
    ::malloc_trim(0);
    std::ifstream file("/proc/self/statm");
    const double page = static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1024;
    double reserved = 0.0;
    double resident = 0.0;
    double ofFiles = 0.0;
    file >> reserved >> resident >> ofFiles;
    return {resident * page, (resident - ofFiles) * page};
}

/// Does the work some times to warm up and then ten times, and tells the memory after each; false if it isn't flat.
bool StaysFlat(const char* name, const std::function<void()>& tenth) {
    StMemory first;
    StMemory last;
    for (int part = 1 - kWarmUp; part <= kTenths; ++part) {
        tenth();
        last = Resident();
        first = part <= 1 ? last : first;
        std::printf("%s: %d %%, %.0f KiB, %.0f KiB of its own\n", name, std::max(0, 100 * part / kTenths), last.all,
                    last.own);
        std::fflush(stdout);
    }
    const double change = 100.0 * (last.own - first.own) / first.all;
    std::printf("%s: its own memory has changed by %.2f %% of all\n", name, change);
    return std::abs(change) <= 1.0;
}

std::unique_ptr<CImage> MediumImage() {
    static const std::vector<IImage::CType> types{IMAGE_GREY_8,    IMAGE_GREY_16,   IMAGE_GREY_32,
                                                  IMAGE_GREY_F,    IMAGE_GREY_D,    IMAGE_GREY_64,
                                                  IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_RGB_8};
    const auto& type = types[static_cast<std::size_t>(Below(static_cast<std::int64_t>(types.size())))];
    auto image = std::make_unique<CImage>(type, CSize(1 + Below(400), 1 + Below(300)), CSize(0, 0, 0));
    auto* bytes = static_cast<unsigned char*>(image->Buffer().Data());
    std::generate_n(bytes, image->Buffer().Size(), [] { return static_cast<unsigned char>(s_random() & 63U); });
    return image;
}

/// A node of each name, which lives as long as the process.
std::map<std::string, std::unique_ptr<IPluginObject>> AllNodes(const CPluginModule& module) {
    std::map<std::string, std::unique_ptr<IPluginObject>> nodes;
    for (const std::string& name : module.Names()) {
        nodes[name] = module.Create(name);
        dynamic_cast<CPNode&>(*nodes[name]).NodeInit();
    }
    return nodes;
}

/// Runs an old node on an image that all inputs take.
void RunOnMediumImage(CPNode& node) {
    CValueOwnedPointer<CImage> input(MediumImage().release());
    for (int slot = 0; slot < 2; ++slot) {
        node.SetStackInput(slot, &input);
    }
    try {
        node.Run();
    } catch (const CException&) { // most images are refused by some node
    } catch (const std::bad_alloc&) {
    }
    node.ClearStack();
}

bool NodesStayFlat() {
    const CPluginModule module(MANIPULATION_MODULE);
    const auto nodes = AllNodes(module);
    std::vector<std::uint8_t> bytes;
    int runs = 0;
    return StaysFlat("nodes", [&] {
        for (const int end = runs + kNodeRuns / kTenths; runs < end; ++runs) {
            if (runs % 4 == 0) {
                const auto node = std::next(nodes.begin(), Below(static_cast<std::int64_t>(nodes.size())));
                RunOnMediumImage(dynamic_cast<CPNode&>(*node->second));
                continue;
            }
            bytes.resize(static_cast<std::size_t>(Below(4096)));
            std::generate(bytes.begin(), bytes.end(), [] { return static_cast<std::uint8_t>(s_random()); });
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        }
    });
}

/// Writes a grey image as npy, of one of many sizes.
void WriteInput(const fs::path& file, int number) {
    const int width = 20 + number;
    const int height = 120 - number;
    std::string header = "{'descr': '|u1', 'fortran_order': False, 'shape': (" + std::to_string(height) + ", " +
                         std::to_string(width) + "), }";
    header.resize(117, ' ');
    std::ofstream(file, std::ios::binary) << "\x93NUMPY" << '\1' << '\0' << 'v' << '\0' << header << '\n'
                                          << std::string(static_cast<std::size_t>(width * height), 'x');
}

bool PipelineStaysFlat(const fs::path& folder) {
    for (int number = 0; number < kFilesOfBatch; ++number) {
        WriteInput(folder / ("in" + std::to_string(number) + ".npy"), number);
    }
    std::ofstream(folder / "graph.json") << R"({"inputs": {"in": {}},
        "nodes": {"turn": {"node": "Rotate", "inputs": ["in"], "parameters": {"angle": 30.0, "resize": true}},
                  "crop": {"node": "Autocrop", "inputs": ["turn"]}},
        "outputs": {"png": {"from": "turn"}, "tif": {"from": "crop"}, "box": {"from": "crop.1"}}})";
    const vessa::Arguments arguments{"pipeline", folder / "graph.json",
                                     "--input",  "in=" + (folder / "*.npy").string(),
                                     "--output", "png=" + (folder / "{stem}.png").string(),
                                     "--output", "tif=" + (folder / "{stem}.tif").string(),
                                     "--output", "box=" + (folder / "{stem}.json").string(),
                                     "--jobs",   "2"};
    const vessa::StPlaces places = vessa::PlacesBeside(fs::path(VESSA_PROGRAM).parent_path());
    int failures = 0;
    const bool isFlat = StaysFlat("pipeline", [&] {
        for (int batch = 0; batch < kBatches / kTenths; ++batch) {
            std::ostringstream talk;
            failures += vessa::RunProgram({talk, talk, 80, places}, arguments) == 0 ? 0 : 1;
        }
    });
    if (failures > 0) {
        std::printf("pipeline: %d batches failed\n", failures);
    }
    return isFlat && failures == 0;
}

} // namespace

int main(int count, char** arguments) {
    const vessa::CInterimFolder folder(fs::temp_directory_path());
    LLVMFuzzerInitialize(&count, &arguments); // silences std::cout
    std::cerr.setstate(std::ios::failbit);    // where a node warns
    const bool nodes = NodesStayFlat();
    const bool pipeline = PipelineStaysFlat(folder.Path());
    return nodes && pipeline ? 0 : 1;
}
