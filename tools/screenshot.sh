#!/usr/bin/env bash
# Photographs the import options dialog under Wine on a virtual display: a region dragged on
# the preview with the mouse resting on it (import-dialog.png), and the same with the
# on-the-fly box checked (import-dialog-on-the-fly.png). Usage: tools/screenshot.sh [OUT_DIR]
# Needs the Debian packages wine64, xvfb, x11-utils and imagemagick.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
out=$(realpath -m "${1:-build/screenshots}")
mkdir -p "$out"
for tool in xvfb-run xwininfo import; do
    command -v "$tool" >/dev/null || { echo "screenshot: $tool is missing" >&2; exit 1; }
done
wine=/usr/lib/wine/wine64
[ -x "$wine" ] || wine=$(command -v wine64 || command -v wine)

[ -f build/win64/CMakeCache.txt ] ||
    cmake -S . -B build/win64 -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake >/dev/null
cmake --build build/win64 -j"$(nproc)" --target iosidwin >/dev/null
host=$root/build/win64/apps/iosid/iosidwin.exe

# The bundled sample: a georeferenced pyramid, so the read-out has a MAP line.
sample=$root/testdata/sample/relief.tif

export WINEDEBUG=-all WINEPREFIX=${WINEPREFIX:-$root/build/wineprefix}
if [ ! -d "$WINEPREFIX" ]; then
    xvfb-run -a "$wine" wineboot -u >/dev/null 2>&1
fi

# One shot inside its own virtual display. Wine draws the frame and caption itself inside its
# virtual desktop, as there is no window manager here.
shoot() {
    local pose=$1 png=$2 log
    log=$(mktemp)
    xvfb-run -a -s "-screen 0 1024x768x24" bash -c '
        set -eu
        "$0" explorer /desktop=iosid,640x520 "$1" import "$2" --interactive --pose "$3" \
            --hold 10 >"$4" 2>&1 &
        for _ in $(seq 1 120); do grep -q READY "$4" && break; sleep 0.5; done
        grep -q READY "$4" || { echo "screenshot: the dialog did not come up" >&2; cat "$4" >&2; exit 1; }
        sleep 2
        info=$(xwininfo -name "SID Image Import Options - $(basename "$2")")
        x=$(echo "$info" | sed -n "s/.*Absolute upper-left X: *//p")
        y=$(echo "$info" | sed -n "s/.*Absolute upper-left Y: *//p")
        w=$(echo "$info" | sed -n "s/.*Width: *//p")
        h=$(echo "$info" | sed -n "s/.*Height: *//p")
        import -window root -crop "${w}x${h}+${x}+${y}" +repage "$5"
        wait
    ' "$wine" "$host" "$sample" "$pose" "$log" "$png"
    rm -f "$log"
    echo "$png"
}

shoot region "$out/import-dialog.png"
shoot on-the-fly "$out/import-dialog-on-the-fly.png"
