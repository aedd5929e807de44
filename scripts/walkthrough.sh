#!/usr/bin/env bash
# Drives the real application in a real X session (Xvfb, no window manager) as a new learner would, and photographs
# each step: the Learn screen, a question before and after its answer is checked, a question with an official
# figure, the result and the progress.
# SCALE 2 runs it at 200 % (QT_SCALE_FACTOR).
#
#   scripts/walkthrough.sh OUTDIR [light|dark] [SCALE]
#
# The learner's folders are temporary (nothing of yours is read or changed) and the network is closed, so the pool
# and release checks fail quietly. Needs Xvfb, xdotool and ImageMagick's import; builds the application if needed.
set -euo pipefail
cd "$(dirname "$0")/.."
out="$(realpath -m "${1:?usage: scripts/walkthrough.sh OUTDIR [light|dark] [SCALE]}")"
scheme="${2:-light}"
scale="${3:-1}"
binary="${KESTOVAN_BINARY:-build/src/kestovan-aerowen}"
if [ ! -x "$binary" ]; then
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    cmake --build build --target kestovan-aerowen
fi
mkdir -p "$out"
home="$(mktemp -d)"
display=":$((90 + RANDOM % 100))"
cleanup() {
    [ -n "${app:-}" ] && kill "$app" 2>/dev/null || true
    [ -n "${xvfb:-}" ] && kill "$xvfb" 2>/dev/null || true
    rm -rf "$home"
}
trap cleanup EXIT

Xvfb "$display" -screen 0 "$((1500 * scale))x$((1100 * scale))x24" -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
export DISPLAY="$display"
for _ in $(seq 100); do xdotool getdisplaygeometry >/dev/null 2>&1 && break; sleep 0.1; done
xdotool getdisplaygeometry >/dev/null 2>&1 || { echo "Xvfb did not start on $display" >&2; exit 1; }

mkdir -p "$home/.config/Kestovan"
printf '[General]\nappearance=%s\n' "$scheme" >"$home/.config/Kestovan/Kestovan Aerowen.conf"
HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" XDG_RUNTIME_DIR="$home" \
    QT_SCALE_FACTOR="$scale" https_proxy=http://127.0.0.1:9 http_proxy=http://127.0.0.1:9 \
    "$binary" >"$out/application.log" 2>&1 &
app=$!
window=""
for _ in $(seq 100); do
    window="$(xdotool search --onlyvisible --name '^Kestovan Aerowen$' 2>/dev/null | head -1 || true)"
    [ -n "$window" ] && break
    sleep 0.1
done
[ -n "$window" ] || { echo "the window did not appear" >&2; exit 1; }
sleep 1.5

# Clicks at a point given in the window's own units at 100 %.
click() { xdotool mousemove --window "$window" "$(($1 * scale))" "$(($2 * scale))" click "${3:-1}"; sleep 0.6; }
keys() { xdotool key --window "$window" --delay 80 "$@"; sleep 0.6; }
shot() { import -window "$window" "$out/$1.png"; echo "$out/$1.png"; }

shot learn
click 383 481 && keys ctrl+a && xdotool type --delay 40 "Ada" && click 586 481  # name a profile and add it
click 745 437                                                                   # shuffle off: T1A01 comes first
click 297 553                                                                   # Start
sleep 1
keys c
shot question
click 105 665                                                                   # Check Answer
shot question-revealed
for letter in b d a c c b a d c a b; do keys Right "$letter"; done               # eleven more answers
xdotool key --window "$window" --repeat 210 --delay 15 Right                      # on to T6A09 and its figure
sleep 1
keys c
shot question-figure
click 1092 767                                                                  # Finish & Score
xdotool mousemove "$((510 * scale))" "$((407 * scale))" click 1                 # Submit, in the confirmation
sleep 1
shot result
click 1106 149                                                                  # Done
click 65 180                                                                    # Progress
shot progress
