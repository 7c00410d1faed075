#!/bin/sh
# Runs each fuzzer of a build folder for so many seconds, one after the other, and tells what each has done. What they
# learn is kept beside them in corpus/, and what breaks the code in found/.
#
#     scripts/fuzz.sh BUILD SECONDS
set -eu
build=$(cd "$1" && pwd) # a fuzzer may go to another folder
cd "$(dirname "$0")/.."
seconds=$2
# Most runs read a file that they have just written: in memory they do so up to four times as often.
[ ! -w /dev/shm ] || export TMPDIR="${TMPDIR:-/dev/shm}"

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

# One line out of a log. Edges are branches of the machine code.
summary() {
    awk -v name="$1" '
        /number_of_executed_units/ { runs = $2 }
        / cov: / { sub(/.* cov: /, ""); edges = $1 }
        END { printf "%-18s %9d runs, %6d edges\n", name, runs, edges }' "$2"
}

mkdir -p "$build/found" "$build/logs"
scripts/fuzz_dictionary.py "$build" >"$build/dictionary"
for fuzzer in "$build"/fuzz/fuzz_*; do
    name=$(basename "$fuzzer")
    log=$build/logs/$name
    mkdir -p "$build/corpus/$name"
    if ! "$fuzzer" -max_total_time="$seconds" -max_len=4096 -len_control=0 -timeout=20 -rss_limit_mb=4096 \
        -dict="$build/dictionary" -print_final_stats=1 -artifact_prefix="$build/found/$name-" \
        "$build/corpus/$name" "$PWD/$(seeds "$name")" >"$log" 2>&1; then
        tail -n 40 "$log"
        exit 1
    fi
    summary "$name" "$log"
done
