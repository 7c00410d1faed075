#include "Examples.h"

#include <fstream>

namespace vessa {

namespace fs = std::filesystem;

namespace {

/// How the examples' lines call the folder that they stand in.
constexpr std::string_view kSamples = " samples/";

/// The folder as it is reached from the current one, if it lies below that, or else from the root.
std::string FolderFromHere(const fs::path& folder) {
    std::error_code failure;
    const fs::path whole = fs::weakly_canonical(folder, failure);
    const fs::path relative = fs::relative(whole, fs::current_path(failure), failure);
    const bool isBelow = !relative.empty() && *relative.begin() != "..";
    return (isBelow ? relative : whole).string();
}

std::string WithFolder(std::string line, const std::string& folder) {
    const std::string replacement = " " + folder + "/";
    for (std::size_t at = 0; (at = line.find(kSamples, at)) != std::string::npos; at += replacement.size()) {
        line.replace(at, kSamples.size(), replacement);
    }
    return line;
}

std::string PlainForm(const StNodeDescription& node) {
    std::string line = "vessa run " + node.name;
    for (const StPort& port : node.inputs) {
        if (!port.optional) {
            line += port.isMap ? " -i input.json" : " -i input.png";
        }
    }
    return line + (node.outputs.empty() ? "" : node.outputs.front().isMap ? " -o output.json" : " -o output.png");
}

} // namespace

std::vector<std::string> ExampleLines(const StPlaces& places, const std::string& node) {
    std::ifstream file(places.samples / "examples.txt");
    const std::string start = "vessa run " + node + " ";
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(start)) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string Example(const StPlaces& places, const StNodeDescription& node) {
    const std::vector<std::string> lines = ExampleLines(places, node.name);
    return lines.empty() ? PlainForm(node) : WithFolder(lines.front(), FolderFromHere(places.samples));
}

} // namespace vessa
