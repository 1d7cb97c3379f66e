# Front door: every target installs what is missing, then configures and builds through the
# CMake presets (build/<preset>).
SHELL := /bin/bash
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

# Debian packages the build, the tests and the benchmarks need.
PACKAGES := cmake ninja-build g++ pkg-config libxerces-c-dev libboost-dev libtbb-dev \
            googletest libgtest-dev libgmock-dev libbenchmark-dev

.PHONY: deps build demo test asan bench clean

deps:
	@missing=$$(for p in $(PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	    echo "Installing:" $$missing; \
	    $(SUDO) apt-get update -qq && \
	    $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $$missing; \
	fi

build: deps
	cmake --preset default
	cmake --build --preset default

demo: build
	@dir=$$(mktemp -d) && build/default/tools/classxml demo "$$dir"

test: build
	ctest --preset default

asan: deps
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan

bench: deps
	cmake --preset bench
	cmake --build --preset bench
	@for b in build/bench/bench/bench_*; do echo "== $$b"; $$b || exit 1; done

clean:
	rm -rf build
