#include "RunArguments.h"

#include "Errors.h"
#include "ParameterValue.h"
#include "Text.h"

#include <algorithm>
#include <iostream>
#include <unistd.h>

namespace vessa {

namespace {

std::size_t MachineMemory() {
    return static_cast<std::size_t>(::sysconf(_SC_PHYS_PAGES)) * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

} // namespace

void AddRunOptions(CArgumentParser& parser, StRunArguments& said) {
    CLI::App& app = parser.App();
    const CLI::Option* format =
        app.add_option("--format", said.format, "Format of standard output, '-': " + Join(FormatNames(), ", "))
            ->type_name("FORMAT")
            ->take_last();
    parser.SetOffers(format, [](CCompletion& completion) {
        for (const std::string& name : FormatNames()) {
            completion.Offer(name);
        }
    });
    app.add_option("--png-level", said.pngLevel, "Compression of PNG files, 0 (fast) to 9 (small)")
        ->type_name("NUMBER")
        ->check(CLI::Range(0, 9).description(""))
        ->take_last();
    app.add_option("--max-memory", said.maxMemory, "Most memory that all images together may take, as in 512M or 4G")
        ->type_name("SIZE")
        ->take_last();
    app.add_flag("-n,--dry-run", said.dryRun, "Show what would be done, and do nothing");
    app.add_flag("--timing", said.timing, "Tell on standard error what has taken how long");
    parser.AddPluginOption(said.plugins);
}

StWriteOptions WriteOptions(const StRunArguments& said) {
    StWriteOptions options;
    options.pngLevel = said.pngLevel;
    if (!said.format.empty()) {
        options.format = FormatByName(said.format);
        if (!options.format) {
            throw CUseError("--format: unknown format '" + said.format + "': one of " + Join(FormatNames(), ", "));
        }
    }
    return options;
}

CLimitedMemory::CLimitedMemory(const StRunArguments& said) : m_before(QUOR::ImageMemoryLimit()) {
    const bool isSaid = !said.maxMemory.empty();
    QUOR::SetImageMemoryLimit(isSaid ? InTheNameOf("--max-memory", [&] { return ParseByteSize(said.maxMemory); })
                                     : MachineMemory());
}

CLimitedMemory::~CLimitedMemory() { QUOR::SetImageMemoryLimit(m_before); }

CNodesTalkAside::CNodesTalkAside(const std::vector<std::string>& outputs) {
    if (std::find(outputs.begin(), outputs.end(), kStandardStream) != outputs.end()) {
        m_before = std::cout.rdbuf(std::cerr.rdbuf());
    }
}

CNodesTalkAside::~CNodesTalkAside() {
    if (m_before != nullptr) {
        std::cout.rdbuf(m_before);
    }
}

} // namespace vessa
