#!/usr/bin/env bash
# Installs what building and testing need, as Debian packages. Does nothing, quickly, where all of it is there.
# Nothing is ever removed: what apt would have to remove for is not installed.
#
# 32-bit Wine comes as this machine's own package. Where that can't be had (a library of this machine is newer than the
# 32-bit one on offer), a small i386 Debian in the cache runs Wine instead. NORIX_WINE=chroot asks for that one,
# NORIX_WINE=system refuses it.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

packages=(
    # Compilers and tools, for Windows and for the checks on the build machine
    g++-mingw-w64-i686-posix mingw-w64-tools binutils-mingw-w64-i686 nasm cmake ninja-build make ccache
    g++ clang-14 libclang-rt-14-dev llvm-14 clang-format-14 clang-tidy-14 shellcheck
    git ca-certificates python3 dpkg-dev xz-utils util-linux
    # Libraries: for the checks, and as the version that is cross-built
    googletest libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
    libavcodec-dev libavutil-dev libswresample-dev libswscale-dev libturbojpeg0-dev libxvidcore-dev libpugixml-dev ffmpeg
    # A server that isn't ours, to receive from; the simulated camera is made of it
    python3-gi gir1.2-gst-rtsp-server-1.0 gir1.2-gst-plugins-base-1.0 fonts-dejavu-core
    gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-libav gstreamer1.0-x
    # Clients and a network for it, when it is tested
    curl iproute2
    # Sound, and ears for it
    pulseaudio pulseaudio-utils
    # Installers and archives
    msitools wixl gcab
    # A screen, and hands and eyes for it
    xvfb xauth x11-utils x11-apps xdotool imagemagick procps
)
wine_packages=(wine wine32:i386)

apt_options=(-t "$norix_release" --no-install-recommends -o DPkg::Lock::Timeout=600 -o Acquire::Retries=3)

# Prints those of the packages that are not installed; one query for all, because this runs before every test run.
missing() {
    local package installed
    installed=$(dpkg-query -W -f='${db:Status-Abbrev}${binary:Package}\n' 2>/dev/null | sed -n 's/^ii \([^:]*\).*/\1/p')
    for package in "$@"; do
        grep -qxF -- "$package" <<<"$installed" || printf '%s\n' "$package"
    done
}

# can_install PACKAGE...: would apt install these without removing anything?
can_install() {
    local plan
    plan=$(apt-get install -s "${apt_options[@]}" --no-remove "$@" 2>&1) && ! grep -q '^Remv ' <<<"$plan"
}

install() {
    local size
    # Told "no", apt ends with 1.
    size=$(LC_ALL=C apt-get install --assume-no "${apt_options[@]}" --no-remove "$@" 2>/dev/null |
        sed -n 's/^Need to get \(.*\) of archives\.$/\1 to fetch/p; s/^After this operation, \(.*\) of additional disk.*/\1 on the disk/p') || true
    say "packages: ${size//$'\n'/, }"
    LC_ALL=C DEBIAN_FRONTEND=noninteractive quietly setup-install apt-get install -y "${apt_options[@]}" --no-remove "$@"
}

# The index of the security suite is at times out of step with its signature; apt reports that, and goes on with the
# others. What counts is what can be installed afterwards.
update() {
    mkdir -p "$norix_logs"
    apt-get update >"$norix_logs/setup-update.log" 2>&1 || say "not every package index could be fetched; going on"
}

as_root() {
    [ "$(id -u)" -eq 0 ] || die "packages are missing, and installing them takes root: $*"
}

make_wine_root() {
    as_root "an i386 system with Wine"
    say "making a small i386 system for Wine in $norix_wine_root"
    # debootstrap verifies what it fetches by the same key that apt trusts here.
    local work
    work=$(mktemp -d "$norix_cache/.work-XXXXXX")
    if ! quietly setup-wine-root debootstrap --arch=i386 --variant=minbase --include=wine,wine32,libpulse0 \
        "$norix_release" "$work" "$(debian_mirror)"; then
        rm -rf "$work"
        die "no Wine: neither this machine's packages nor an i386 system"
    fi
    chmod 755 "$work"
    rm -rf "$work"/var/cache/apt/archives/*.deb "$work"/var/lib/apt/lists/*
    mv -T "$work" "$norix_wine_root"
}

have_wine() {
    case $(wine_kind) in
    system) system_wine ;;
    chroot) [ -x "$norix_wine_root/usr/lib/wine/wine" ] ;;
    esac
}

main() {
    local wanted=() lacking
    mapfile -t lacking < <(missing "${packages[@]}")
    if [ ${#lacking[@]} -eq 0 ] && have_wine; then return; fi

    as_root "${lacking[*]:-wine}"
    if [ "${NORIX_WINE:-auto}" != chroot ] && ! system_wine; then
        dpkg --print-foreign-architectures | grep -qx i386 || dpkg --add-architecture i386
        wanted=("${wine_packages[@]}")
    fi
    say "installing: ${lacking[*]} ${wanted[*]}"
    update

    # All in one go, so that both architectures come out at the same versions.
    if [ ${#wanted[@]} -gt 0 ] && can_install "${lacking[@]}" "${wanted[@]}"; then
        install "${lacking[@]}" "${wanted[@]}"
    else
        [ ${#lacking[@]} -eq 0 ] || install "${lacking[@]}"
    fi

    [ "$(wine_kind)" = chroot ] || have_wine || die "32-bit Wine can't be installed on this machine"
    if ! have_wine; then
        mapfile -t lacking < <(missing debootstrap)
        [ ${#lacking[@]} -eq 0 ] || install "${lacking[@]}"
        make_wine_root
    fi
}

mkdir -p "$norix_cache"
with_lock "$norix_cache/.setup-lock" main
