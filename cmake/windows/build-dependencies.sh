#!/usr/bin/env bash
# Cross-builds Xerces-C and oneTBB for x86_64-w64-mingw32 from Debian's own source packages,
# and GoogleTest from /usr/src/googletest, into CACHE/prefix. What is built is kept: a second
# run only checks the stamps.
#   build-dependencies.sh CACHE
set -euo pipefail
cache=$(realpath -m "$1")
here=$(cd "$(dirname "$0")" && pwd)
prefix=$cache/prefix
toolchain=$here/mingw-w64.cmake
jobs=${JOBS:-$(nproc)}
mkdir -p "$cache/src" "$prefix"

# Boost is header-only here; a folder holding nothing but a link keeps /usr/include itself
# off the cross compiler's path.
mkdir -p "$cache/boost-include"
ln -sfn /usr/include/boost "$cache/boost-include/boost"

# Debian's source packages through a private deb-src list; the system's apt setup is untouched.
fetch_sources() {
    local uri suite
    uri=$(grep -hs '^URIs:' /etc/apt/sources.list.d/*.sources | grep -v security | awk '{print $2}' | head -n1)
    [ -n "$uri" ] || uri=$(grep -hs '^deb ' /etc/apt/sources.list | grep -v security | awk '{print $2}' | head -n1)
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    mkdir -p "$cache/apt/lists/partial"
    echo "deb-src $uri $suite main" > "$cache/apt/sources.list"
    local options=(-o "Dir::Etc::SourceList=$cache/apt/sources.list" -o "Dir::Etc::SourceParts=/dev/null"
                   -o "Dir::State::Lists=$cache/apt/lists")
    apt-get -qq "${options[@]}" update
    (cd "$cache/src" && apt-get -qq "${options[@]}" source xerces-c onetbb)
}
if ! ls -d "$cache"/src/xerces-c-*/ "$cache"/src/onetbb-*/ > /dev/null 2>&1; then
    fetch_sources
fi

cross_cmake() { # source build [options...]
    local source=$1 build=$2
    shift 2
    cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_INSTALL_PREFIX="$prefix" "$@" > "$build.log" 2>&1 ||
        { tail -n 40 "$build.log"; exit 1; }
    cmake --build "$build" -j "$jobs" >> "$build.log" 2>&1 || { tail -n 40 "$build.log"; exit 1; }
    cmake --install "$build" >> "$build.log" 2>&1 || { tail -n 40 "$build.log"; exit 1; }
}

if [ ! -f "$cache/xerces.done" ]; then
    echo "Cross-building Xerces-C (a few minutes)..."
    source=$(ls -d "$cache"/src/xerces-c-*/ | head -n1)
    # Debian's repack has no doc/html, which the install step wants; tests and samples are
    # not needed.
    sed -i -E 's/^ *add_subdirectory\((doc|tests|samples)\)/# &/' "$source/CMakeLists.txt"
    cross_cmake "$source" "$cache/xerces-build" -DBUILD_SHARED_LIBS=ON -Dnetwork=OFF \
        -Dtranscoder=windows -Dmessage-loader=inmemory -Dxmlch-type=wchar_t
    touch "$cache/xerces.done"
fi

if [ ! -f "$cache/tbb.done" ]; then
    echo "Cross-building oneTBB..."
    source=$(ls -d "$cache"/src/onetbb-*/ | head -n1)
    # GCC 12's warnings would be errors with TBB_STRICT.
    cross_cmake "$source" "$cache/tbb-build" -DTBB_STRICT=OFF -DTBB_TEST=OFF \
        -DTBB_EXAMPLES=OFF -DTBBMALLOC_BUILD=OFF
    touch "$cache/tbb.done"
fi

if [ ! -f "$cache/gtest.done" ]; then
    echo "Cross-building GoogleTest..."
    cross_cmake /usr/src/googletest "$cache/gtest-build" -DBUILD_GMOCK=OFF
    touch "$cache/gtest.done"
fi
echo "Windows dependencies ready in $prefix"
