# Sourced by the screenshot scripts: starts the real application in a real X session (Xvfb, no window manager) for a
# learner whose folders are temporary, with the network closed so that the pool and release checks fail quietly, and
# gives the helpers that drive and photograph it. Needs Xvfb, xdotool and ImageMagick's import.
#
#   start_session OUTDIR SCHEME SCALE [PROGRESS_FILE]   SCHEME light or dark; SCALE 1 or 2 (QT_SCALE_FACTOR)
#   end_session                                         closes the application and the X server (also on exit)
# Points given to click, size and screen are in the window's own units at 100 % (the layout at 1180 by 800).

for tool in Xvfb xdotool import; do
    command -v "$tool" >/dev/null ||
        { echo "the screenshot scripts need $tool: sudo apt-get install xvfb xdotool imagemagick" >&2; exit 1; }
done
binary="${KESTOVAN_BINARY:-build/src/kestovan-aerowen}"
if [ ! -x "$binary" ]; then
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    cmake --build build --target kestovan-aerowen
fi

end_session() {
    [ -n "${app:-}" ] && kill "$app" 2>/dev/null || true
    [ -n "${xvfb:-}" ] && kill "$xvfb" 2>/dev/null || true
    [ -n "${home:-}" ] && rm -rf "$home"
    app="" xvfb="" home=""
    sleep 0.5
}
trap end_session EXIT

start_session() {
    out="$1" scheme="$2" scale="$3"
    mkdir -p "$out"
    home="$(mktemp -d)"
    local display=":$((90 + RANDOM % 100))"
    Xvfb "$display" -screen 0 "$((1500 * scale))x$((1100 * scale))x24" -nolisten tcp >/dev/null 2>&1 &
    xvfb=$!
    export DISPLAY="$display"
    for _ in $(seq 100); do xdotool getdisplaygeometry >/dev/null 2>&1 && break; sleep 0.1; done
    xdotool getdisplaygeometry >/dev/null 2>&1 || { echo "Xvfb did not start on $display" >&2; exit 1; }
    mkdir -p "$home/.config/Kestovan" "$home/.local/share/Kestovan Aerowen"
    printf '[General]\nappearance=%s\n' "$scheme" >"$home/.config/Kestovan/Kestovan Aerowen.conf"
    [ -z "${4:-}" ] || cp "$4" "$home/.local/share/Kestovan Aerowen/progress.json"
    HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" XDG_RUNTIME_DIR="$home" \
        QT_SCALE_FACTOR="$scale" https_proxy=http://127.0.0.1:9 http_proxy=http://127.0.0.1:9 \
        "$binary" >>"$out/application.log" 2>&1 &
    app=$!
    window=""
    for _ in $(seq 100); do
        window="$(xdotool search --onlyvisible --name '^Kestovan Aerowen$' 2>/dev/null | head -1 || true)"
        [ -n "$window" ] && break
        sleep 0.1
    done
    [ -n "$window" ] || { echo "the window did not appear" >&2; exit 1; }
    sleep 1.5
}

click() { xdotool mousemove --window "$window" "$(($1 * scale))" "$(($2 * scale))" click 1; sleep 0.6; }
keys() { xdotool key --window "$window" --delay 80 "$@"; sleep 0.6; }
typed() { xdotool key --window "$window" ctrl+a; xdotool type --window "$window" --delay 40 "$1"; sleep 0.5; }
size() { xdotool windowsize "$window" "$(($1 * scale))" "$(($2 * scale))"; sleep 1; }
shot() { import -window "$window" "$out/$1.png"; echo "$out/$1.png"; }
# Popups and dialogs are windows of their own: the screen's part where the main window is.
screen() { import -window root -crop "$((1180 * scale))x$((800 * scale))+0+0" +repage "$out/$1.png"; echo "$out/$1.png"; }
