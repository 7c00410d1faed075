#!/bin/sh
# Runs each fuzzer of a build folder for so many seconds, one after the other. What they learn is kept beside them in
# corpus/, and what breaks the code in found/.
#
#     scripts/fuzz.sh BUILD SECONDS
set -eu
cd "$(dirname "$0")/.."
build=$PWD/$1 # a fuzzer may go to another folder
seconds=$2

# What a fuzzer begins with, beside what it has learnt.
seeds() {
    case $1 in
    fuzz_nodes) echo tests/fuzz/corpus/nodes ;;
    fuzz_map) echo tests/fuzz/corpus/maps ;;
    fuzz_graph) echo examples/graphs ;;
    fuzz_command_line) echo tests/fuzz/corpus/command_lines ;;
    *) echo samples ;;
    esac
}

mkdir -p "$build/found"
for fuzzer in "$build"/fuzz/fuzz_*; do
    name=$(basename "$fuzzer")
    mkdir -p "$build/corpus/$name"
    echo "== $name"
    "$fuzzer" -max_total_time="$seconds" -max_len=4096 -len_control=0 -timeout=20 -rss_limit_mb=4096 -verbosity=0 \
        -print_final_stats=1 -artifact_prefix="$build/found/$name-" "$build/corpus/$name" "$PWD/$(seeds "$name")"
done
