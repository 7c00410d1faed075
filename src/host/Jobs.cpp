#include "Jobs.h"

#include "Errors.h"
#include "FileSystem.h"
#include "Text.h"

#include <algorithm>
#include <filesystem>
#include <fnmatch.h>
#include <map>
#include <set>

namespace vessa {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStem = "{stem}";

/// The files of an input.
struct StInputFiles {
    std::vector<StInputFile> files;
    bool areMany = false; ///< they are spread over jobs, even if there is only one
    bool isNamed = false; ///< by the command line, not by the graph
};

/// Splits NAME=FILE.
std::pair<std::string, std::string> NameAndFile(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
        throw CUseError("'" + text + "' is not of the form NAME=FILE");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

/// The place of the input or output that is called `name`.
template <class Ports> std::size_t IndexOf(const Ports& ports, const std::string& name, const std::string& what) {
    const auto found = std::find_if(ports.begin(), ports.end(), [&](const auto& port) { return port.name == name; });
    if (found == ports.end()) {
        std::vector<std::string> names;
        for (const auto& port : ports) {
            names.push_back(port.name);
        }
        throw CUseError("the graph has no " + what + " '" + name + "'" + NearestHint(name, names));
    }
    return static_cast<std::size_t>(found - ports.begin());
}

[[noreturn]] void FailToRead(const std::string& file, const std::error_code& failure) {
    throw CWorkError(file + ": can't be read: " + failure.message());
}

/// True for a regular file, and for a link that leads to nothing: what is wrong with it is told once it is read.
bool MayBeRead(const fs::path& file) {
    std::error_code ignored;
    const fs::file_type type = fs::status(file, ignored).type();
    return type == fs::file_type::regular || type == fs::file_type::none || type == fs::file_type::not_found;
}

std::vector<std::string> FilesInFolder(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code failure;
    for (const std::string& name : NamesIn(folder, failure)) {
        const fs::path file = fs::path(folder) / name;
        if (!name.starts_with('.') && FormatOf(name) && MayBeRead(file)) {
            files.push_back(file.string());
        }
    }
    if (failure) {
        FailToRead(folder, failure);
    }
    return files;
}

/// What is in a folder under names of this form. What can't be read holds nothing.
std::vector<fs::path> MatchesIn(const fs::path& folder, const std::string& form) {
    std::error_code ignored;
    std::vector<fs::path> matches;
    if (form.find_first_of("*?[\\") == std::string::npos) {
        if (fs::exists(fs::symlink_status(folder / form, ignored))) {
            matches.push_back(folder / form);
        }
        return matches;
    }
    for (const std::string& name : NamesIn(folder.empty() ? "." : folder.string(), ignored)) {
        if (::fnmatch(form.c_str(), name.c_str(), FNM_PERIOD) == 0) {
            matches.push_back(folder / name);
        }
    }
    return matches;
}

/// As `glob` gives them, which frees a block twice if it finds no memory.
std::vector<std::string> FilesOfPattern(const fs::path& pattern) {
    std::vector<fs::path> found{pattern.root_path()};
    for (const fs::path& form : pattern.relative_path()) {
        std::vector<fs::path> next;
        for (const fs::path& folder : found) {
            const std::vector<fs::path> matches = MatchesIn(folder, form.string());
            next.insert(next.end(), matches.begin(), matches.end());
        }
        found = std::move(next);
    }
    std::vector<std::string> files(found.begin(), found.end());
    std::sort(files.begin(), files.end());
    return files;
}

/// The files that the file of one "NAME=FILE" stands for.
StInputFiles Spread(const StInputFile& said) {
    std::error_code failure;
    std::error_code ignored;
    const bool isFolder = fs::is_directory(said.file, failure);
    const bool isPattern = said.file.find_first_of("*?[") != std::string::npos && !fs::exists(said.file, ignored);
    if (!isFolder && !isPattern) {
        const bool isFile = said.file.empty() || said.file == kStandardStream || FormatOf(said.file);
        if (!isFile && failure) { // it must be meant for a folder
            FailToRead(said.file, failure);
        }
        return {{said}};
    }
    StInputFiles spread;
    spread.areMany = true;
    for (const std::string& file : isFolder ? FilesInFolder(said.file) : FilesOfPattern(said.file)) {
        spread.files.push_back({file, said.type});
    }
    if (spread.files.empty()) {
        throw CUseError(said.file +
                        (isFolder ? ": the folder holds no image and no map" : ": no file has such a name"));
    }
    return spread;
}

/// The files of each input: those of the command line, or else the graph's own.
std::vector<StInputFiles> InputFiles(const StGraph& graph, const std::vector<std::string>& said) {
    std::vector<StInputFiles> inputs(graph.inputs.size());
    for (const std::string& text : said) {
        InTheNameOf("--input " + text, [&] {
            const auto [name, file] = NameAndFile(text);
            StInputFiles& input = inputs[IndexOf(graph.inputs, name, "input")];
            StInputFiles spread = Spread(ParseInput(file));
            input.areMany = input.areMany || spread.areMany || !input.files.empty();
            input.isNamed = true;
            input.files.insert(input.files.end(), spread.files.begin(), spread.files.end());
        });
    }
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        const StGraphInput& input = graph.inputs[index];
        if (inputs[index].files.empty() && input.file.file.empty()) {
            throw CUseError("the input '" + input.name + "' has no file: --input " + input.name + "=FILE names one");
        }
        if (inputs[index].files.empty()) {
            inputs[index].files.push_back(input.file);
        }
    }
    return inputs;
}

/// The part of a file's name that its job is called by.
std::string StemOf(const StInputFile& file) { return fs::path(file.file).stem().string(); }

/// Puts the inputs with many files together by stems; an input with one file gives it to each job.
std::map<std::string, StJob> JobsByStem(const StGraph& graph, const std::vector<StInputFiles>& inputs) {
    std::map<std::string, StJob> jobs;
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        for (const StInputFile& file : inputs[index].areMany ? inputs[index].files : std::vector<StInputFile>()) {
            StJob& job = jobs[StemOf(file)];
            job.files.inputs.resize(inputs.size());
            job.name = job.name.empty() ? file.file : job.name;
            StInputFile& place = job.files.inputs[index];
            if (!place.file.empty()) {
                throw CUseError(place.file + " and " + file.file + " have one stem, '" + StemOf(file) +
                                "': what is made of them can't be told apart");
            }
            place = file;
        }
    }
    for (auto& [stem, job] : jobs) {
        for (std::size_t index = 0; index < inputs.size(); ++index) {
            if (!inputs[index].areMany) {
                job.files.inputs[index] = inputs[index].files.front();
            } else if (job.files.inputs[index].file.empty()) {
                throw CUseError(job.name + ": the input '" + graph.inputs[index].name +
                                "' has no file of this stem, '" + stem + "'");
            }
        }
    }
    return jobs;
}

/// The stem of the only file that the command line names, or else the only one that the graph names; "" if there are
/// several.
std::string OnlyStem(const std::vector<StInputFiles>& inputs) {
    for (const bool isNamed : {true, false}) {
        std::vector<std::string> stems;
        for (const StInputFiles& input : inputs) {
            if (input.isNamed == isNamed && !input.files.front().file.empty()) {
                stems.push_back(StemOf(input.files.front()));
            }
        }
        if (!stems.empty()) {
            return stems.size() == 1 ? stems.front() : "";
        }
    }
    return "";
}

/// The only job of a graph whose inputs have one file each.
std::map<std::string, StJob> SingleJob(const std::vector<StInputFiles>& inputs) {
    StJob job;
    for (const StInputFiles& input : inputs) {
        job.files.inputs.push_back(input.files.front());
    }
    return {{OnlyStem(inputs), std::move(job)}};
}

/// The file of each output, as it is named for all jobs.
std::vector<std::string> OutputPatterns(const StGraph& graph, const std::vector<std::string>& said) {
    std::vector<std::string> patterns = OwnFiles(graph).outputs;
    std::set<std::size_t> named;
    for (const std::string& text : said) {
        InTheNameOf("--output " + text, [&] {
            const auto [name, file] = NameAndFile(text);
            const std::size_t index = IndexOf(graph.outputs, name, "output");
            if (!named.insert(index).second) {
                throw CUseError("the output is named twice");
            }
            patterns[index] = ParseOutput(file);
        });
    }
    for (std::size_t index = 0; index < patterns.size(); ++index) {
        if (patterns[index].empty() && !named.contains(index)) {
            const std::string& name = graph.outputs[index].name;
            throw CUseError("the output '" + name + "' has no file: --output " + name +
                            "=FILE names one, 'none' drops it");
        }
    }
    if (std::all_of(patterns.begin(), patterns.end(), [](const std::string& file) { return file.empty(); })) {
        throw CUseError("every output is dropped");
    }
    return patterns;
}

std::string WithStem(std::string pattern, const std::string& stem) {
    for (std::size_t at = 0; (at = pattern.find(kStem, at)) != std::string::npos; at += stem.size()) {
        if (stem.empty()) {
            throw CUseError(pattern + ": '{stem}' stands for the name of one file, and there are several or none");
        }
        pattern.replace(at, kStem.size(), stem);
    }
    return pattern;
}

/// The one name of a file that may have several, by links and by ways through the folders.
fs::path PlaceOf(const std::string& file) {
    std::error_code failure;
    const fs::path place = fs::weakly_canonical(file, failure);
    return failure ? fs::path(file).lexically_normal() : place;
}

/// Checks that jobs keep out of each other's way.
void RequireApart(const std::vector<StJob>& jobs) {
    std::set<fs::path> read;
    for (const StJob& job : jobs) {
        for (const StInputFile& input : job.files.inputs) {
            if (input.file == kStandardStream) {
                throw CUseError("standard input can't be read for several files");
            }
            read.insert(PlaceOf(input.file));
        }
    }
    std::set<fs::path> written;
    for (const StJob& job : jobs) {
        for (const std::string& output : job.files.outputs) {
            const fs::path place = PlaceOf(output);
            if (!output.empty() && read.contains(place)) {
                throw CUseError(output + ": the output would replace an input");
            }
            if (!output.empty() && !written.insert(place).second) {
                throw CUseError(output + ": two outputs can't go to one file");
            }
        }
    }
}

} // namespace

std::vector<StJob> PlanJobs(const StGraph& graph, const std::vector<std::string>& inputs,
                            const std::vector<std::string>& outputs) {
    const std::vector<StInputFiles> files = InputFiles(graph, inputs);
    const std::vector<std::string> patterns = OutputPatterns(graph, outputs);
    const bool areMany =
        std::any_of(files.begin(), files.end(), [](const StInputFiles& input) { return input.areMany; });
    auto byStem = areMany ? JobsByStem(graph, files) : SingleJob(files);
    std::vector<StJob> jobs;
    for (auto& [stem, job] : byStem) {
        for (const std::string& pattern : patterns) {
            if (byStem.size() > 1 && !pattern.empty() && pattern.find(kStem) == std::string::npos) {
                throw CUseError(pattern + ": the outputs of several files need names with '{stem}'");
            }
            job.files.outputs.push_back(WithStem(pattern, stem));
        }
        jobs.push_back(std::move(job));
    }
    if (jobs.size() > 1) {
        RequireApart(jobs);
    }
    return jobs;
}

bool IsUpToDate(const StJob& job, const std::string& graphFile) {
    std::error_code failure;
    fs::file_time_type newest = fs::last_write_time(graphFile, failure);
    for (const StInputFile& input : job.files.inputs) {
        if (!input.file.empty() && !failure) {
            newest = std::max(newest, fs::last_write_time(input.file, failure));
        }
    }
    if (failure) {
        return false; // the run will tell what isn't there
    }
    return std::all_of(job.files.outputs.begin(), job.files.outputs.end(), [&](const std::string& output) {
        return output.empty() || fs::last_write_time(output, failure) > newest; // no file has the smallest time
    });
}

} // namespace vessa
