#!/usr/bin/env bash
# Runs the Windows build's test suite under Wine in a prefix of its own.
#   run-tests.sh BUILD_DIR DEPENDENCY_PREFIX
set -uo pipefail
build=$(realpath "$1")
deps=$(realpath "$2")
export WINEPREFIX=$build/wine-prefix
export WINEDEBUG=-all
# A crashing test must not end in the debugger, which sometimes makes it exit 0.
export WINEDLLOVERRIDES="winedbg.exe=d"
# Where the DLLs are: the library, the dependencies, the mingw runtime.
export WINEPATH="$build;$deps/bin;/usr/lib/gcc/x86_64-w64-mingw32/12-posix;/usr/x86_64-w64-mingw32/lib"
mkdir -p "$WINEPREFIX"
# One server for the whole run: starting one for every test process costs seconds each.
wineserver -p
wineboot -i > "$build/wineboot.log" 2>&1 # never piped: Wine's services keep a pipe open
ctest --test-dir "$build" --output-on-failure -j "${JOBS:-2}" --timeout 900
status=$?
wineserver -k
exit $status
