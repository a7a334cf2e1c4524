# shellcheck shell=bash
# How Wine is called. To be sourced after lib.sh; sets WINEPREFIX and the words in_wine that go before a Wine command.

export WINEPREFIX=${NORIX_WINEPREFIX:-$norix_root/build/wineprefix}
export WINEARCH=win32
export WINEDEBUG=${WINEDEBUG--all}
# Neither .NET nor a browser engine is wanted, and no menu entries on the machine's desktop.
export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe=d${WINEDLLOVERRIDES:+;$WINEDLLOVERRIDES}"
export LC_ALL=C.UTF-8

# Wine is this machine's, or that of the small i386 system kept for it. For the latter, everything a program may want to
# see is mounted at the same path, in a mount namespace of its own: the mounts are gone when the last process is.
in_wine=()
if [ "$(wine_kind)" = chroot ]; then
    [ -x "$norix_wine_root/usr/lib/wine/wine" ] || die "no Wine here; run scripts/setup.sh first"
    in_wine=(unshare --mount --propagation unchanged "$norix_root/scripts/wine-chroot" "$norix_wine_root")
else
    system_wine || die "no 32-bit Wine here; run scripts/setup.sh first"
fi
