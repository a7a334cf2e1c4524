#!/usr/bin/env bash
# Builds what the Windows build needs and Debian doesn't have ready made, and a Wine prefix to start from.
# Both live in the cache, outside of the tree, under names that tell what went into them; build/deps and
# build/wineprefix-base lead there. Quick when nothing has changed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

norix_toolchain=$norix_root/cmake/mingw-w64-i686.cmake
jobs=$(nproc)

# --------------------------------------------------------------------------------------------------- One library each
# A function gets a folder to work in and installs into $prefix. `packages` names the Debian package whose source it
# takes, in the newest version that this machine's package lists know, so that security updates build the library anew.
# `results` is what has to be there afterwards.

libraries=(googletest benchmark ffmpeg libjpeg_turbo pugixml typelib)
declare -A packages=(
    [googletest]=googletest
    [benchmark]=libbenchmark-dev
    [ffmpeg]=libavcodec-dev
    [libjpeg_turbo]=libturbojpeg0-dev
    [pugixml]=libpugixml-dev
    [typelib]=mingw-w64-tools
)
declare -A results=(
    [googletest]='lib/libgtest.a lib/libgmock.a lib/libgtest_main.a lib/cmake/GTest/GTestConfig.cmake'
    [benchmark]='lib/libbenchmark.a lib/libbenchmark_main.a lib/cmake/benchmark/benchmarkConfig.cmake'
    [ffmpeg]='lib/libavcodec.a lib/libavutil.a lib/libswresample.a include/libavcodec/avcodec.h include/libavutil/frame.h'
    [libjpeg_turbo]='lib/libturbojpeg.a include/turbojpeg.h'
    [pugixml]='lib/libpugixml.a include/pugixml.hpp lib/cmake/pugixml/pugixml-config.cmake'
    [typelib]='typelib/stdole2.tlb'
)

googletest() {
    build_with_cmake /usr/src/googletest "$1" -DBUILD_GMOCK=ON -DINSTALL_GTEST=ON
}

benchmark() {
    fetch_source benchmark libbenchmark-dev "$1"
    # Under Wine, the processor's caches are only known where /sys is mounted; not knowing them is no reason to give up.
    sed -i '/!GetLogicalProcessorInformation(buff/{N;N;s/\n.*/ return res;/}' "$1/source/src/sysinfo.cc"
    grep -q '!GetLogicalProcessorInformation(buff.get(), &buffer_size)) return res;' "$1/source/src/sysinfo.cc"
    build_with_cmake "$1/source" "$1" -DGIT_VERSION="$(source_version libbenchmark-dev | sed 's/-.*//')" \
        -DHAVE_STD_REGEX=ON -DHAVE_STEADY_CLOCK=ON -DBENCHMARK_ENABLE_TESTING=OFF \
        -DBENCHMARK_ENABLE_GTEST_TESTS=OFF -DBENCHMARK_ENABLE_WERROR=OFF -DBENCHMARK_INSTALL_DOCS=OFF
}

# The decoders that a camera's streams need, what the operator's voice needs, and nothing else; under the LGPL. Threads are Windows' own.
ffmpeg() {
    fetch_source ffmpeg libavcodec-dev "$1"
    (
        cd "$1/source"
        ./configure --prefix="$prefix" --target-os=mingw32 --arch=i686 --cross-prefix=i686-w64-mingw32- \
            --cc=i686-w64-mingw32-gcc-posix --pkg-config=false --enable-static --disable-shared --disable-programs \
            --disable-doc --disable-debug --disable-autodetect --disable-everything --disable-network \
            --disable-avdevice --disable-avfilter --disable-avformat --disable-swscale \
            --disable-postproc --enable-decoder=h264,hevc,aac,mpeg4 --enable-parser=h264,hevc \
            --enable-encoder=aac --enable-swresample \
            --disable-pthreads --enable-w32threads --extra-ldflags=-fstack-protector-strong \
            --extra-cflags='-mstackrealign -ffunction-sections -fstack-protector-strong -D_FORTIFY_SOURCE=2'
        make -j "$jobs"
        make install
    )
}

libjpeg_turbo() {
    fetch_source libjpeg-turbo libturbojpeg0-dev "$1"
    export CFLAGS='-fstack-protector-strong -D_FORTIFY_SOURCE=2'
    build_with_cmake "$1/source" "$1" -DREQUIRE_SIMD=ON -DENABLE_SHARED=OFF -DWITH_JAVA=OFF
}

pugixml() {
    fetch_source pugixml libpugixml-dev "$1"
    export CXXFLAGS='-fstack-protector-strong -D_FORTIFY_SOURCE=2'
    build_with_cmake "$1/source" "$1"
}

# The type library that every other one refers to; a copy here spares the compiler a search through Wine.
typelib() {
    mkdir -p "$prefix/typelib"
    cp "$(wine_windows_files)/stdole2.tlb" "$prefix/typelib/"
}

# ---------------------------------------------------------------------------------------------------------- Machinery

# build_with_cmake SOURCE FOLDER OPTION...: cross-builds and installs a library that uses CMake itself.
build_with_cmake() {
    local source=$1 folder=$2
    shift 2
    cmake -G Ninja -S "$source" -B "$folder/build" -DCMAKE_TOOLCHAIN_FILE="$norix_toolchain" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR:PATH=lib -DBUILD_SHARED_LIBS=OFF "$@"
    cmake --build "$folder/build" --parallel "$jobs" --target install
}

# The source versions that installed packages were built from.
installed_version() {
    dpkg-query -W -f='${source:Version}\n' "$@"
}

# The newest source version of a package that apt knows, security updates included; without lists, the installed one.
source_version() {
    local version
    version=$(apt-cache show --no-all-versions "$1" 2>/dev/null |
        awk '/^Source:/ && NF > 2 { source = $3; gsub(/[()]/, "", source) } /^Version:/ { version = $2 }
            END { print source ? source : version }')
    if [ -n "$version" ]; then printf '%s\n' "$version"; else installed_version "$1"; fi
}

# fetch_source SOURCE PACKAGE FOLDER: unpacks the Debian source of PACKAGE into FOLDER/source. Uses lists of its own, so the machine's apt set-up stays as it is.
fetch_source() {
    local source=$1 version folder=$3 apt=$3/apt keys=
    version=$(source_version "$2")
    mkdir -p "$apt/lists/partial"
    if [ -f /usr/share/keyrings/debian-archive-keyring.gpg ]; then
        keys='[signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] '
    fi
    {
        apt_mirrors | while read -r mirror; do printf 'deb-src %s%s %s main\n' "$keys" "$mirror" "$norix_release"; done
        security_mirrors | while read -r mirror; do
            printf 'deb-src %s%s %s-security main\n' "$keys" "$mirror" "$norix_release"
        done
    } >"$apt/sources.list"
    local options=(-o "Dir::Etc::sourcelist=$apt/sources.list" -o Dir::Etc::sourceparts=-
        -o "Dir::State::lists=$apt/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
        -o APT::Sandbox::User=root -o Acquire::Retries=3)
    # What counts is whether the source is found: one index that is out of step with its signature spoils nothing.
    apt-get "${options[@]}" update || true
    (cd "$folder" && apt-get "${options[@]}" --only-source source "$source=$version")
    mv "$folder/$source"-*/ "$folder/source"
}

key_of() {
    sha256sum | cut -c1-16
}

# point NAME FOLDER FUNCTION: makes build/NAME lead to FOLDER, which FUNCTION fills if it isn't there.
point() {
    make_once "$2" "build/$1" "$3"
    touch "$2.used"
    mkdir -p "$norix_root/build"
    [ "$(readlink "$norix_root/build/$1" 2>/dev/null)" = "$2" ] || ln -sfn "$2" "$norix_root/build/$1"
}

# Libraries and prefixes that no tree has asked for in two weeks, and work that was broken off.
remove_unused() {
    local used
    find "$norix_cache" -maxdepth 1 -name '*.used' -mtime +14 | while read -r used; do
        rm -rf "${used%.used}" "$used"
    done
    find "$norix_cache" -maxdepth 1 -name '.work-*' -mmin +180 -exec rm -rf {} +
}

# make_once FOLDER NAME FUNCTION: has FUNCTION fill a temporary folder, then gives it its final name.
make_once() {
    local folder=$1 name=$2 work
    [ -d "$folder" ] && return
    work=$(mktemp -d "$norix_cache/.work-XXXXXX")
    if ! "$3" "$work" || ! mv -T "$work/result" "$folder"; then
        rm -rf "$work"
        die "could not make $name"
    fi
    rm -rf "$work"
}

# build_library FOLDER: builds $library into FOLDER/result.
build_library() {
    local work=$1 result
    export prefix=$work/result
    mkdir -p "$prefix"
    say "building $library"
    # A shell of its own, because errexit is off in everything that `if` calls.
    quietly "deps-$library" bash -euo pipefail -c "$(functions "$library"); $library '$work'" || return 1
    for result in ${results[$library]}; do
        [ -s "$prefix/$result" ] || { say "not there after the build of $library: $result"; return 1; }
    done
}

# The functions that building the named library may use, as text: for the shell that builds, and for the key.
functions() {
    declare -f "$1" build_with_cmake fetch_source source_version installed_version apt_uris apt_mirrors security_mirrors \
        wine_windows_files wine_kind system_wine die
}

# version_of LIBRARY: the source version that it is built from; GoogleTest's sources and the type library are installed.
version_of() {
    case $1 in
    googletest | typelib) installed_version "${packages[$1]}" ;;
    *) source_version "${packages[$1]}" ;;
    esac
}

# All libraries under one folder, with hard links.
merge_libraries() {
    local work=$1 folder
    mkdir -p "$work/result"
    for folder in "${built[@]}"; do
        cp -al "$folder/." "$work/result/"
    done
    for library in ffmpeg libjpeg_turbo pugixml; do
        printf '%s %s\n' "$library" "$(version_of "$library")"
    done >"$work/result/versions"
}

build_wine_prefix() {
    local work=$1
    say "making a Wine prefix"
    quietly wine-prefix "$norix_root/scripts/wine-prefix" "$work/result" || return 1
    [ -s "$work/result/system.reg" ] && [ -s "$work/result/drive_c/windows/system32/kernel32.dll" ]
}

main() {
    local key folder library
    built=()
    for library in "${libraries[@]}"; do
        key=$({
            functions "$library"
            cat "$norix_toolchain"
            version_of "$library"
            installed_version g++-mingw-w64-i686-posix mingw-w64-i686-dev
        } | key_of)
        folder=$norix_cache/$library-$key
        make_once "$folder" "$library" build_library
        touch "$folder.used"
        built+=("$folder")
    done
    point deps "$norix_cache/deps-$(printf '%s\n' "${built[@]}" | key_of)" merge_libraries

    key=$({
        cat "$norix_root/scripts/wine-prefix"
        wine_kind
        sha256sum "$(wine_windows_files)/ntdll.dll"
    } | key_of)
    point wineprefix-base "$norix_cache/wineprefix-$key" build_wine_prefix
    remove_unused
}

mkdir -p "$norix_cache"
export norix_toolchain jobs norix_release norix_wine_root
with_lock "$norix_cache/.lock" main
