# shellcheck shell=bash
# What the scripts share: places, messages, and how Wine is reached. To be sourced.

norix_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
norix_cache=${NORIX_CACHE:-${HOME:-/root}/.cache/norixsdk}
norix_logs=$norix_root/build/logs
# The root folder of a small i386 system with Wine, for machines that can't have 32-bit Wine themselves.
norix_wine_root=$norix_cache/wine-root
norix_release=bookworm

say() { printf '%s\n' "== $*" >&2; }
die() {
    printf '%s\n' "${0##*/}: $*" >&2
    exit 1
}

# quietly NAME COMMAND...: runs a command with its output in build/logs/NAME.log, which is shown when it fails.
quietly() {
    local log=$norix_logs/$1.log status=0
    shift
    mkdir -p "$norix_logs"
    "$@" >"$log" 2>&1 </dev/null || status=$?
    if [ "$status" -ne 0 ]; then
        printf '%s\n' "-- the end of $log:" >&2
        tail -n 60 "$log" >&2
    fi
    return "$status"
}

# with_lock FILE COMMAND...: one at a time for all who use the same lock file.
with_lock() {
    local file=$1
    shift
    mkdir -p "${file%/*}"
    (
        flock 9
        # Let go explicitly: processes left in the background may have inherited the lock.
        trap 'flock -u 9' EXIT
        "$@"
    ) 9>"$file"
}

# system_wine: can this machine run 32-bit Windows programs by itself?
system_wine() {
    [ -x /usr/lib/wine/wine ] && [ -x /usr/lib/wine/wineserver32 ] && [ -f "/usr/lib/i386-linux-gnu/wine/i386-windows/stdole2.tlb" ]
}

# Prints "system" or "chroot"; NORIX_WINE overrides what is found.
wine_kind() {
    case ${NORIX_WINE:-auto} in
    system | chroot) printf '%s\n' "$NORIX_WINE" ;;
    auto) if system_wine; then echo system; else echo chroot; fi ;;
    *) die "NORIX_WINE is '$NORIX_WINE', not system, chroot or auto" ;;
    esac
}

# The folder with Wine's own 32-bit Windows files.
wine_windows_files() {
    local top=
    [ "$(wine_kind)" = system ] || top=$norix_wine_root
    printf '%s\n' "$top/usr/lib/i386-linux-gnu/wine/i386-windows"
}

# The Debian mirrors this machine is set up with, the main archive first; one-line and deb822 sources alike.
apt_mirrors() {
    find /etc/apt -maxdepth 2 \( -name '*.sources' -o -name '*.list' \) -exec awk '
        FILENAME ~ /\.sources$/ { if ($1 == "URIs:") for (i = 2; i <= NF; i++) print $i; next }
        $1 == "deb" { i = 2; if ($i ~ /^\[/) { while ($i !~ /\]$/) i++; i++ } print $i }' {} + |
        awk '/debian/ && !/security/ { sub(/\/+$/, ""); if (!seen[$0]++) print }'
}

debian_mirror() {
    local mirror
    mirror=$(apt_mirrors | head -n 1)
    [ -n "$mirror" ] || die "no Debian mirror in /etc/apt"
    printf '%s\n' "$mirror"
}
