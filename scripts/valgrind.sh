#!/bin/sh
# Runs tests of a build folder under Valgrind's memcheck, those that are quick enough for it: of the library, the nodes
# and the readers of files, with what the fuzzers have found. A branch that hangs on an element that nobody has written
# fails the run, and so do a fault and a leak.
#
#     scripts/valgrind.sh BUILD
set -eu
cd "$(dirname "$0")/.."
build=$1
failed=""

check() {
    echo "== $*"
    valgrind --quiet --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
        --suppressions=tests/valgrind.supp "$@" >"$log" 2>&1 || {
        cat "$log"
        failed="$failed $(basename "$1")"
    }
}

log=$(mktemp)
trap 'rm -f "$log"' EXIT
for source in tests/vessa/test_*.cpp tests/module/test_*.cpp tests/host/test_JsonValue.cpp tests/host/test_NpyFile.cpp \
    tests/host/test_ValueFile.cpp; do
    name=$(basename "$source" .cpp)
    case $name in
    *ShortOfMemory) ;; # has an allocator of its own
    *Concurrent*) ;;   # the thread sanitizer's
    test_LabelToSize) ;; # a table of 1 GB, which costs memory there
    # Valgrind gives up over a library that is cut off.
    test_PluginModules) check "$build/tests/$name" --gtest_brief=1 --gtest_filter='-*CutOff*' ;;
    *) check "$build/tests/$name" --gtest_brief=1 ;;
    esac
done
check "$build/fuzz/fuzz_nodes" tests/fuzz/corpus/nodes
check "$build/fuzz/fuzz_map" tests/fuzz/corpus/maps
for format in png tiff npy; do
    check "$build/fuzz/fuzz_$format" samples
done
if [ -n "$failed" ]; then
    echo "failed under Valgrind:$failed" >&2
    exit 1
fi
