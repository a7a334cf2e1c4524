#!/usr/bin/env bash
# Compiles what is written against live555's interface, the files of include/RTSP, with the real library's headers. Nothing is linked or installed; the headers are unpacked into the cache.
# Ends with 77 (skipped) where they are not to be had.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../../.." && pwd)
cache=${NORIX_CACHE:-$HOME/.cache/norixsdk}/live555-headers
compiler=${CXX:-i686-w64-mingw32-g++-posix}

skip() { echo "skipped: $1"; exit 77; }

# The package is in Debian's development suite: a list of its own, made from the machine's.
fetch() {
    local work=$cache.new.$$ sources=/etc/apt/sources.list.d/debian.sources uri key
    [ -r "$sources" ] || skip "no package sources to fetch live555's headers from"
    uri=$(awk '/^URIs:/ { print $2; exit }' "$sources")
    key=$(awk '/^Signed-By:/ { print $2; exit }' "$sources")
    rm -rf "$work"
    mkdir -p "$work/lists/partial"
    echo "deb ${key:+[signed-by=$key] }$uri sid main" >"$work/sid.list"
    local apt=(apt-get -qq -o Dir::Etc::sourcelist="$work/sid.list" -o Dir::Etc::sourceparts=-
        -o Dir::State::lists="$work/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
        -o APT::Sandbox::User=root -o APT::Architectures=amd64)
    timeout 120 "${apt[@]}" update >/dev/null 2>&1 || true
    (cd "$work" && timeout 60 "${apt[@]}" download liblivemedia-dev >/dev/null 2>&1) ||
        { rm -rf "$work"; skip "the package with live555's headers is not to be had"; }
    dpkg-deb -x "$work"/liblivemedia-dev_*.deb "$work/root"
    rm -rf "$work/lists" "$cache"
    mv -T "$work" "$cache"
}

[ -d "$cache/root/usr/include/liveMedia" ] || fetch
command -v "$compiler" >/dev/null || skip "no $compiler"

failed=0
for source in "$root"/include/RTSP/*.cpp; do
    # The real directories come first: the same names must not be found in live/. The real headers' own narrowing
    # and deprecations are none of ours.
    if "$compiler" -std=c++20 -fsyntax-only -D_WIN32_WINNT=0x0601 -DWINVER=0x0601 -DUNICODE -D_UNICODE -DNO_OPENSSL=1 \
        -isystem "$cache/root/usr/include/UsageEnvironment" -isystem "$cache/root/usr/include/groupsock" \
        -isystem "$cache/root/usr/include/BasicUsageEnvironment" -isystem "$cache/root/usr/include/liveMedia" \
        -I"$root" "$source"; then
        echo "ok  ${source#"$root"/}"
    else
        echo "FAILED  ${source#"$root"/}"
        failed=1
    fi
done
exit $failed
