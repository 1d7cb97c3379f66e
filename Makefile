# Front door: every target installs what is missing, then configures and builds through the
# CMake presets (build/<preset>).
SHELL := /bin/bash
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

# Debian packages the build, the tests and the benchmarks need (xmllint, from libxml2-utils,
# checks the archive's DTDs as an independent validator).
PACKAGES := cmake ninja-build g++ pkg-config libxerces-c-dev libboost-dev libtbb-dev \
            googletest libgtest-dev libgmock-dev libbenchmark-dev libxml2-utils
# JOBS=N builds and tests N at a time (by default the build uses every core, the tests 2).
JOBS ?=
BUILD_JOBS := $(if $(JOBS),--parallel $(JOBS))
TEST_JOBS := $(if $(JOBS),-j $(JOBS))
export JOBS

# Only the targets that need them install these.
MEMCHECK_PACKAGES := valgrind
FUZZ_PACKAGES := clang libclang-rt-14-dev
WINDOWS_PACKAGES := g++-mingw-w64-x86-64-posix wine64 wine dpkg-dev
DOCS_PACKAGES := doxygen
# cereal is only the yardstick of the stream benchmark.
BENCH_PACKAGES := libcereal-dev

.PHONY: deps install-packages build demo test asan tsan memcheck crash fuzz windows bench bench-instructions docs install clean

deps:
	@$(MAKE) --no-print-directory install-packages LIST="$(PACKAGES)"

install-packages:
	@missing=$$(for p in $(LIST); do dpkg -s $$p >/dev/null 2>&1 || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	    echo "Installing:" $$missing; \
	    $(SUDO) apt-get update -qq && \
	    $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $$missing; \
	fi

build: deps
	cmake --preset default
	cmake --build --preset default $(BUILD_JOBS)

# Only the library and the program: the demo itself runs in a moment, in a temporary folder
# that it removes.
demo: deps
	cmake --preset default
	cmake --build --preset default $(BUILD_JOBS) --target classxml_tool
	@dir=$$(mktemp -d) && build/default/tools/classxml demo "$$dir"; status=$$?; \
	    rm -rf "$$dir"; exit $$status

test: build
	ctest --preset default $(TEST_JOBS)

asan: deps
	cmake --preset asan
	cmake --build --preset asan $(BUILD_JOBS)
	ctest --preset asan $(TEST_JOBS)

# The concurrency tests under ThreadSanitizer.
tsan: deps
	cmake --preset tsan
	cmake --build --preset tsan $(BUILD_JOBS)
	ctest --preset tsan $(TEST_JOBS)

memcheck: deps
	@$(MAKE) --no-print-directory install-packages LIST="$(MEMCHECK_PACKAGES)"
	cmake --preset memcheck
	cmake --build --preset memcheck $(BUILD_JOBS)
	ctest --preset memcheck $(TEST_JOBS)

# Kills every save path, and the pre-read extraction, at each call that changes a file, and
# checks that nothing was lost, also after a power loss at that moment (Linux).
crash: build
	build/default/crash/crash_harness

# Each fuzz target runs FUZZ_SECONDS on its seeds (fuzz/corpus/<target>) and what it found
# before (build/fuzz/corpus/<target>); failing inputs land in build/fuzz/artifacts/.
FUZZ_SECONDS ?= 60
FUZZ_TARGETS := ReadDocument Preprocess Search ValueReaders StreamReader Archive Scanner DtdOverride Compat
# The leak that Xerces itself has is recognised by its frame, which needs exact unwinding.
FUZZ_ENV := LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp \
            ASAN_OPTIONS=fast_unwind_on_malloc=0:malloc_context_size=6
fuzz: deps
	@$(MAKE) --no-print-directory install-packages LIST="$(FUZZ_PACKAGES)"
	cmake --preset fuzz
	cmake --build --preset fuzz $(BUILD_JOBS)
	@mkdir -p build/fuzz/artifacts
	@for t in $(FUZZ_TARGETS); do \
	    mkdir -p build/fuzz/corpus/$$t; \
	    echo "== fuzz_$$t for $(FUZZ_SECONDS) s"; \
	    $(FUZZ_ENV) build/fuzz/fuzz/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 \
	        -artifact_prefix=build/fuzz/artifacts/$$t- build/fuzz/corpus/$$t fuzz/corpus/$$t \
	        > build/fuzz/$$t.log 2>&1; \
	    status=$$?; \
	    grep -E "DONE|stat::number_of_executed_units" build/fuzz/$$t.log; \
	    if [ $$status -ne 0 ]; then tail -n 60 build/fuzz/$$t.log; exit 1; fi; \
	done

# The same sources as a Windows DLL, tested under Wine. Xerces-C, oneTBB and GoogleTest are
# cross-built once into build/windows-deps.
windows: deps
	@$(MAKE) --no-print-directory install-packages LIST="$(WINDOWS_PACKAGES)"
	cmake/windows/build-dependencies.sh build/windows-deps
	cmake --preset windows
	cmake --build --preset windows $(BUILD_JOBS)
	cmake/windows/run-tests.sh build/windows build/windows-deps/prefix

bench: deps
	@$(MAKE) --no-print-directory install-packages LIST="$(BENCH_PACKAGES)"
	cmake --preset bench
	cmake --build --preset bench $(BUILD_JOBS)
	@for b in build/bench/bench/bench_*; do echo "== $$b"; $$b || exit 1; done

# The stream benchmark's targets counted in instructions, each side alone under callgrind, which
# the machine's load does not move as it moves times (RECORDS=N for a quicker count).
RECORDS ?= 100000
bench-instructions: deps
	@$(MAKE) --no-print-directory install-packages LIST="$(BENCH_PACKAGES) $(MEMCHECK_PACKAGES)"
	cmake --preset bench
	cmake --build --preset bench $(BUILD_JOBS) --target bench_stream
	build/bench/bench/bench_stream --instructions $(RECORDS)

# The API reference from the public headers, in build/docs/html; any Doxygen warning fails it,
# and so does a public header left out of it.
docs:
	@$(MAKE) --no-print-directory install-packages LIST="$(DOCS_PACKAGES)"
	CLASSXML_VERSION=$$(sed -n 's/^project(classxml VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt) \
	    doxygen docs/Doxyfile
	cmake -DSOURCE_DIR=$(CURDIR) -P docs/CheckReference.cmake

# An optimised build, installed stripped (no debug information) under PREFIX.
PREFIX ?= /usr/local
install: deps
	cmake --preset release
	cmake --build --preset release $(BUILD_JOBS)
	cmake --install build/release --prefix "$(PREFIX)" --strip

clean:
	rm -rf build
