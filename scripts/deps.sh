#!/usr/bin/env bash
# Builds what the Windows build needs and Debian doesn't have ready made, and a Wine prefix to start from.
# Both live in the cache, outside of the tree, under names that tell what went into them; build/deps and
# build/wineprefix-base lead there. Quick when nothing has changed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

toolchain=$norix_root/cmake/mingw-w64-i686.cmake
jobs=$(nproc)

# --------------------------------------------------------------------------------------------------- One library each
# A function gets the folder to work in; it installs into $prefix. Add its name to `libraries`, what it must leave
# behind to `results`, and the Debian package that carries the same source version to `versioned_by`.

libraries=(googletest benchmark typelib)
versioned_by=(googletest libbenchmark-dev g++-mingw-w64-i686-posix mingw-w64-i686-dev)
results=(
    lib/libgtest.a lib/libgmock.a lib/libgtest_main.a lib/cmake/GTest/GTestConfig.cmake include/gmock/gmock.h
    lib/libbenchmark.a lib/libbenchmark_main.a lib/cmake/benchmark/benchmarkConfig.cmake
    typelib/stdole2.tlb
)

googletest() {
    build_with_cmake /usr/src/googletest "$1" -DBUILD_GMOCK=ON -DINSTALL_GTEST=ON
}

benchmark() {
    fetch_source benchmark libbenchmark-dev "$1"
    build_with_cmake "$1/source" "$1" -DGIT_VERSION="$(source_version libbenchmark-dev | sed 's/-.*//')" \
        -DHAVE_STD_REGEX=ON -DHAVE_STEADY_CLOCK=ON -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF \
        -DBENCHMARK_ENABLE_WERROR=OFF -DBENCHMARK_INSTALL_DOCS=OFF
}

# The type library that every other one refers to; its copy here spares the compiler a search through Wine.
typelib() {
    mkdir -p "$prefix/typelib"
    cp "$(wine_windows_files)/stdole2.tlb" "$prefix/typelib/"
}

# ---------------------------------------------------------------------------------------------------------- Machinery

# build_with_cmake SOURCE FOLDER OPTION...: cross-builds and installs a library that uses CMake itself.
build_with_cmake() {
    local source=$1 folder=$2
    shift 2
    cmake -G Ninja -S "$source" -B "$folder/build" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR:PATH=lib -DBUILD_SHARED_LIBS=OFF "$@"
    cmake --build "$folder/build" --parallel "$jobs" --target install
}

# The source version that an installed package was built from.
source_version() {
    dpkg-query -W -f='${source:Version}' "$1"
}

# fetch_source SOURCE PACKAGE FOLDER: unpacks the Debian source that the installed PACKAGE was built from into
# FOLDER/source. Uses lists of its own, so the machine's apt set-up stays as it is.
fetch_source() {
    local source=$1 version folder=$3 apt=$3/apt keys=
    version=$(source_version "$2")
    mkdir -p "$apt/lists/partial"
    if [ -f /usr/share/keyrings/debian-archive-keyring.gpg ]; then
        keys='[signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] '
    fi
    apt_mirrors | while read -r mirror; do
        printf 'deb-src %s%s %s main\n' "$keys" "$mirror" "$norix_release"
    done >"$apt/sources.list"
    local options=(-o "Dir::Etc::sourcelist=$apt/sources.list" -o Dir::Etc::sourceparts=-
        -o "Dir::State::lists=$apt/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
        -o APT::Sandbox::User=root -o Acquire::Retries=3)
    apt-get "${options[@]}" update
    (cd "$folder" && apt-get "${options[@]}" --only-source source "$source=$version")
    mv "$folder/$source"-*/ "$folder/source"
}

key_of() {
    sha256sum | cut -c1-16
}

# point NAME FOLDER: makes build/NAME lead to FOLDER, and notes that it is in use.
point() {
    mkdir -p "$norix_root/build"
    touch "$2.used"
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

build_libraries() {
    local work=$1 library result
    prefix=$work/result
    mkdir -p "$prefix"
    export prefix
    for library in "${libraries[@]}"; do
        say "building $library"
        mkdir -p "$work/$library"
        # A shell of its own, because errexit is off in everything that `if` calls.
        export -f "$library" build_with_cmake fetch_source source_version apt_mirrors wine_windows_files wine_kind \
            system_wine die
        export toolchain jobs norix_release norix_wine_root
        quietly "deps-$library" bash -euo pipefail -c "$library '$work/$library'" || return 1
    done
    for result in "${results[@]}"; do
        [ -s "$prefix/$result" ] || { say "missing after the build: $result"; return 1; }
    done
}

build_wine_prefix() {
    local work=$1
    say "making a Wine prefix"
    quietly wine-prefix "$norix_root/scripts/wine-prefix" "$work/result" || return 1
    [ -s "$work/result/system.reg" ] && [ -s "$work/result/drive_c/windows/system32/kernel32.dll" ]
}

main() {
    local libraries_key prefix_key
    libraries_key=$({
        cat "$norix_root/scripts/deps.sh" "$toolchain"
        for package in "${versioned_by[@]}"; do source_version "$package"; done
    } | key_of)
    prefix_key=$({
        cat "$norix_root/scripts/wine-prefix"
        wine_kind
        sha256sum "$(wine_windows_files)/ntdll.dll"
    } | key_of)

    make_once "$norix_cache/deps-$libraries_key" "the libraries" build_libraries
    make_once "$norix_cache/wineprefix-$prefix_key" "the Wine prefix" build_wine_prefix
    point deps "$norix_cache/deps-$libraries_key"
    point wineprefix-base "$norix_cache/wineprefix-$prefix_key"
    remove_unused
}

mkdir -p "$norix_cache"
export norix_cache
with_lock "$norix_cache/.lock" main
