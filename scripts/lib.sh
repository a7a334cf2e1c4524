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

# progress_of LOG: how far the program is that writes this log, as far as the log tells.
progress_of() {
    tail -c 20000 "$1" 2>/dev/null | awk '
        match($0, /\[ *[0-9]+\/[0-9]+\]/) { known = substr($0, RSTART + 1, RLENGTH - 2) }
        match($0, /^ *[0-9]+\/[0-9]+ Test/) { known = substr($0, 1, RLENGTH - 5) " tests" }
        END { if (known != "") { gsub(/^ +/, "", known); sub(/\//, " of ", known); printf ", %s", known } }'
    # apt tells how much there is to do before it begins.
    awk '/ newly installed/ { for (i = 2; i <= NF; i++) if ($i == "newly") all += $(i - 1) }
        / upgraded,/ { all += $1 }
        /^Get:/ { fetched++ } /^Setting up / { ready++ }
        END { if (all) printf ", %s %d of %d packages", ready ? "set up" : "fetched", ready ? ready : fetched, all }' \
        "$1" 2>/dev/null
}

# watch_log NAME LOG: a line every 30 seconds about how far it is, until it is killed.
watch_log() {
    local begun=$SECONDS pause=
    trap 'kill "$pause" 2>/dev/null; exit' TERM
    while true; do
        sleep 30 &
        pause=$!
        wait "$pause" || true
        say "$1: $((SECONDS - begun)) s$(progress_of "$2")"
    done
}

# watched NAME LOG COMMAND...: runs a command with its output in a log, and says from time to time how far it is.
watched() {
    local name=$1 log=$2 status=0 watcher
    shift 2
    mkdir -p "${log%/*}"
    : >"$log"
    watch_log "$name" "$log" &
    watcher=$!
    "$@" >"$log" 2>&1 </dev/null || status=$?
    kill "$watcher" 2>/dev/null || true
    wait "$watcher" 2>/dev/null || true
    return "$status"
}

# quietly NAME COMMAND...: the same with its output in build/logs/NAME.log, whose end is shown when it fails.
quietly() {
    local name=$1 log=$norix_logs/$1.log status=0
    shift
    watched "$name" "$log" "$@" || status=$?
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
        flock --nonblock 9 || {
            say "waiting for another tree, which has $file"
            flock 9
        }
        # Let go explicitly: processes left in the background may have inherited the lock.
        trap 'flock -u 9' EXIT
        "$@"
    ) 9>"$file"
}

# project_files PATTERN...: the project's own files, by git where the tree is a checkout, whoever it belongs to.
project_files() {
    if [ -e "$norix_root/.git" ]; then
        git -C "$norix_root" -c safe.directory='*' ls-files -- "$@"
        return
    fi
    local file pattern
    (cd "$norix_root" && find . -path ./build -prune -o -path ./demo-out -prune -o -type f -printf '%P\n') | sort |
        while read -r file; do
            for pattern in "$@"; do
                # shellcheck disable=SC2053  # it is a pattern
                if [[ $file == $pattern || $file == $pattern/* ]]; then printf '%s\n' "$file"; fi
            done
        done
}

# owner_of PATH: whose it is, or will be when it is made.
owner_of() {
    local path=$1
    until [ -e "$path" ]; do path=$(dirname "$path"); done
    stat -c '%u:%g' "$path"
}

# For a run as root in somebody's tree, or with somebody's home: what is made there becomes theirs when the run ends.
# Everything a program keeps for itself goes below these folders. Sets the trap for EXIT.
keep_to_owner() {
    local folder tree_owner cache_owner
    norix_made=()
    mkdir -p "$norix_root/build" 2>/dev/null || true
    [ -w "$norix_root/build" ] || die "no permission to write in $norix_root"
    export NORIX_CACHE=$norix_cache XDG_CACHE_HOME=$norix_cache/xdg PYTHONPYCACHEPREFIX=$norix_root/build/pycache
    [ "$(id -u)" -eq 0 ] || return 0
    tree_owner=$(owner_of "$norix_root")
    cache_owner=$(owner_of "$(dirname "$(dirname "$norix_cache")")")
    for folder in "$norix_root/build" "$norix_root/demo-out"; do
        [ "${tree_owner%:*}" = 0 ] || norix_made+=("$tree_owner" "$folder")
    done
    [ "${cache_owner%:*}" = 0 ] || norix_made+=("$cache_owner" "$norix_cache")
    trap 'give_back "${norix_made[@]}"' EXIT
}

# give_back OWNER FOLDER ...: the small i386 system stays root's, which alone can run it.
give_back() {
    while [ $# -gt 1 ]; do
        if [ -e "$2" ]; then
            find "$2" -path "$norix_wine_root" -prune -o -uid 0 -exec chown -h "$1" {} +
            # A home may not have had the folder above the cache.
            find "$(dirname "$2")" -maxdepth 0 -uid 0 -exec chown "$1" {} +
        fi
        shift 2
    done
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

# Where this machine's packages come from; one-line and deb822 sources alike.
apt_uris() {
    find /etc/apt -maxdepth 2 \( -name '*.sources' -o -name '*.list' \) -exec awk '
        FILENAME ~ /\.sources$/ { if ($1 == "URIs:") for (i = 2; i <= NF; i++) print $i; next }
        $1 == "deb" { i = 2; if ($i ~ /^\[/) { while ($i !~ /\]$/) i++; i++ } print $i }' {} +
}

# The Debian mirrors this machine is set up with, the main archive first, and those of security updates.
apt_mirrors() {
    apt_uris | awk '/debian/ && !/security/ { sub(/\/+$/, ""); if (!seen[$0]++) print }'
}
security_mirrors() {
    apt_uris | awk '/debian/ && /security/ { sub(/\/+$/, ""); if (!seen[$0]++) print }'
}

debian_mirror() {
    local mirror
    mirror=$(apt_mirrors | head -n 1)
    [ -n "$mirror" ] || die "no Debian mirror in /etc/apt"
    printf '%s\n' "$mirror"
}
