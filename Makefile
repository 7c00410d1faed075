# The usual jobs, each in one word. Everything is built by CMake with the presets of CMakePresets.json.

SOURCES = $(shell find include src tests bench examples -name '*.h' -o -name '*.cpp' 2>/dev/null)

.PHONY: help demo docs test test-large check-docs asan asan-clang tsan clang coverage mutants bench bench-growth bench-processes fuzz valgrind soak check-all check-format format tidy package clean

help:
	@echo "make demo          build the programs and run them on sample pictures"
	@echo "make docs          the documentation: build/doc/index.html"
	@echo "make test          build everything and run every test"
	@echo "make test-large    the tests that need 4 GiB of memory"
	@echo "make check-docs    the tests of the documentation in a browser"
	@echo "make asan          the tests under the address and undefined-behaviour sanitizers; make asan-clang by Clang"
	@echo "make tsan          the tests with several threads under the thread sanitizer"
	@echo "make clang         the tests, compiled by Clang"
	@echo "make coverage      the tests, then a report on the lines they reach"
	@echo "make mutants       break the module on purpose, SAMPLE=10 times a file, and tell what no test notices"
	@echo "make bench         measure every node beside its peers, into bench/RESULTS.md"
	@echo "make bench-growth  measure nodes of each class on work of growing size"
	@echo "make bench-processes  measure whole processes beside other shell tools"
	@echo "make fuzz          each fuzzer for SECONDS=60, on a corpus that grows in build-asan-clang/corpus"
	@echo "make valgrind      the quick tests under Valgrind, which tells of elements that nobody has written"
	@echo "make soak          many runs in one process, whose memory must stay what it is"
	@echo "make check-all     the checks that take too long for .ci/run: some hours"
	@echo "make check-format  tell which files clang-format would change; make format changes them"
	@echo "make tidy          clang-tidy over everything, or over FILES='regular expressions'"
	@echo "make package       build the Debian package build/vessa_VERSION_ARCHITECTURE.deb"
	@echo "make clean         remove what was built"

demo:
	@scripts/install_packages.sh build
	@cmake --preset release -DVESSA_TESTS=OFF
	@cmake --build --preset release --target vessa manipulation
	@scripts/demo.sh build

docs:
	@scripts/install_packages.sh build
	@cmake --preset release -DVESSA_TESTS=OFF
	@cmake --build --preset release --target docs

test:
	@scripts/install_packages.sh build tests
	@cmake --preset release -DVESSA_TESTS=ON -DVESSA_BROWSER_TESTS=OFF
	@cmake --build --preset release
	@ctest --preset release

test-large:
	@scripts/install_packages.sh build tests
	@cmake --preset release -DVESSA_TESTS=ON
	@cmake --build --preset release
	@ctest --test-dir build --output-on-failure -L large

check-docs:
	@scripts/install_packages.sh build tests browser
	@cmake --preset release -DVESSA_TESTS=ON -DVESSA_BROWSER_TESTS=ON
	@cmake --build --preset release --target docs
	@ctest --preset release -L browser

asan asan-clang tsan:
	@scripts/install_packages.sh build tests checks
	@cmake --preset $@
	@cmake --build --preset $@
	@ctest --preset $@

clang:
	@scripts/install_packages.sh build tests checks
	@cmake --preset release-clang
	@cmake --build --preset release-clang
	@ctest --preset release-clang

coverage:
	@scripts/install_packages.sh build tests coverage
	@cmake --preset coverage
	@cmake --build --preset coverage
	@find build-coverage -name '*.gcda' -delete
	@ctest --preset coverage
	@mkdir -p build-coverage/report
	@gcovr --root . --filter src/ --filter include/ --exclude-throw-branches --exclude-unreachable-branches \
	  --html-details build-coverage/report/index.html --print-summary build-coverage
	@echo "the report: build-coverage/report/index.html"

mutants:
	@scripts/install_packages.sh build tests
	@cmake --preset mutants
	@cmake --build --preset mutants
	@scripts/mutate.py build-mutants --sample $(or $(SAMPLE),10)

bench:
	@scripts/install_packages.sh build bench
	@cmake --preset release -DVESSA_TESTS=OFF -DVESSA_BENCH=ON
	@cmake --build --preset release --target bench_manipulation
	@build/bin/bench_manipulation >build/RESULTS.md
	@mv build/RESULTS.md bench/RESULTS.md
	@tail -n 2 bench/RESULTS.md

bench-growth:
	@scripts/install_packages.sh build bench
	@cmake --preset release -DVESSA_TESTS=OFF -DVESSA_BENCH=ON
	@cmake --build --preset release --target bench_manipulation
	@build/bin/bench_manipulation --growth

bench-processes:
	@scripts/install_packages.sh build
	@cmake --preset release -DVESSA_TESTS=OFF
	@cmake --build --preset release --target vessa manipulation
	@bench/processes.py build

fuzz:
	@scripts/install_packages.sh build tests checks
	@cmake --preset asan-clang
	@cmake --build --preset asan-clang --target fuzzers
	@scripts/fuzz.sh build-asan-clang $(or $(SECONDS),60)

valgrind:
	@scripts/install_packages.sh build tests checks
	@cmake --preset release -DVESSA_TESTS=ON
	@cmake --build --preset release
	@scripts/valgrind.sh build

soak:
	@scripts/install_packages.sh build tests
	@cmake --preset release -DVESSA_TESTS=ON
	@cmake --build --preset release --target soak
	@build/soak/soak

check-all: asan asan-clang tsan clang test-large valgrind mutants fuzz soak

check-format:
	@scripts/install_packages.sh checks
	@clang-format --dry-run -Werror $(SOURCES)

format:
	@scripts/install_packages.sh checks
	@clang-format -i $(SOURCES)

tidy:
	@scripts/install_packages.sh build tests checks
	@cmake --preset release-clang
	@run-clang-tidy -quiet -p build-clang $(FILES)

package:
	@scripts/install_packages.sh build package
	@cmake --preset release -DVESSA_TESTS=OFF
	@cmake --build --preset release --target package

clean:
	rm -rf build build-debug build-asan build-asan-clang build-tsan build-coverage build-clang build-mutants
