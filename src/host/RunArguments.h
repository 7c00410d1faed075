#pragma once

#include "Command.h"
#include "GraphRun.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace vessa {

/// What the command line says of a run, be it of a node, a chain or a graph.
struct StRunArguments {
    std::vector<std::string> plugins;
    std::string format;
    std::string maxMemory;
    int pngLevel = StWriteOptions().pngLevel;
    bool dryRun = false;
    bool timing = false;
};

void AddRunOptions(CArgumentParser& parser, StRunArguments& said);

/// How values are to be written. Raises a `CUseError` for what isn't allowed.
StWriteOptions WriteOptions(const StRunArguments& said);

/// Limits the memory of all images while it lives, as the command line says: without a word, to that of the machine.
class CLimitedMemory {
public:
    explicit CLimitedMemory(const StRunArguments& said);
    CLimitedMemory(const CLimitedMemory&) = delete;
    CLimitedMemory& operator=(const CLimitedMemory&) = delete;
    ~CLimitedMemory();

private:
    std::size_t m_before;
};

/// What nodes print goes to standard error while this lives if one of `outputs` is standard output: it would stand in
/// the midst of an image there.
class CNodesTalkAside {
public:
    explicit CNodesTalkAside(const std::vector<std::string>& outputs);
    CNodesTalkAside(const CNodesTalkAside&) = delete;
    CNodesTalkAside& operator=(const CNodesTalkAside&) = delete;
    ~CNodesTalkAside();

private:
    std::streambuf* m_before = nullptr;
};

} // namespace vessa
