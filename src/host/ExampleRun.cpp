#include "ExampleRun.h"

#include "OutputFolder.h"
#include "PortFile.h"
#include "Program.h"
#include "Text.h"
#include "ValueFile.h"

#include <sstream>
#include <string_view>

namespace vessa {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> Words(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

StExampleFile FileOf(const std::string& name, const std::string& place) {
    const StInputFile input = ParseInput(place);
    return {name, input.file.empty() ? nullptr : ReadValue(input.file, {.type = input.type})};
}

/// Runs the program with the arguments behind its name.
void RunLine(const StContext& context, const std::string& line, const Arguments& arguments) {
    std::ostringstream talk;
    if (RunProgram({talk, talk, context.width, context.places}, arguments) != kDone) {
        throw CWorkError("the example '" + line + "' fails: " + OneLine(talk.str()));
    }
}

/// An example's arguments as they reach the samples and the folder for the outputs.
Arguments Placed(const StPlaces& places, const fs::path& outputs, const std::vector<std::string>& words) {
    constexpr std::string_view samples = "samples/";
    Arguments arguments;
    for (std::size_t index = 1; index < words.size(); ++index) { // behind the program's name
        const std::string& word = words[index];
        if (words[index - 1] == "-o" && !ParseOutput(word).empty()) {
            arguments.push_back((outputs / word).string());
        } else if (word.starts_with(samples)) {
            arguments.push_back((places.samples / word.substr(samples.size())).string());
        } else {
            arguments.push_back(word);
        }
    }
    return arguments;
}

} // namespace

StExampleRun RunExample(const StContext& context, const std::vector<std::string>& plugins, const std::string& line) {
    const CInterimFolder outputs(fs::temp_directory_path());
    const std::vector<std::string> words = Words(line);
    Arguments arguments = Placed(context.places, outputs.Path(), words);
    for (const std::string& plugin : plugins) {
        arguments.insert(arguments.end(), {"--plugin", plugin});
    }
    RunLine(context, line, arguments);
    StExampleRun run{line, {}, {}};
    for (std::size_t index = 1; index < words.size(); ++index) {
        if (words[index - 1] == "-i") {
            run.inputs.push_back(FileOf(words[index], arguments[index - 1]));
        } else if (words[index - 1] == "-o") {
            run.outputs.push_back(FileOf(words[index], arguments[index - 1]));
        }
    }
    return run;
}

} // namespace vessa
