#!/usr/bin/env bash
# Checks the desktop integration and the Debian package: the desktop entry and AppStream metadata validate, the
# installation holds exactly the expected files, the modules find their libraries, the packaged binary answers
# --version, --help and a missing display without opening a window, and, started, loads its modules from where
# they were installed.
# Usage: check-package.sh SOURCE_DIR BUILD_DIR CPACK
set -euo pipefail
source_dir=$1 build_dir=$2 cpack=$3
id=org.kestovan.Aerowen
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

desktop-file-validate "$source_dir/resources/linux/$id.desktop" | grep -v ': hint:' && fail "desktop entry"
appstreamcli validate --no-net "$build_dir/$id.metainfo.xml" || fail "AppStream metadata"

expected="./usr/bin/kestovan-aerowen
./usr/lib/kestovan-aerowen/network.so
./usr/lib/kestovan-aerowen/pdf.so
./usr/lib/kestovan-aerowen/print.so
./usr/share/applications/$id.desktop
./usr/share/icons/hicolor/128x128/apps/$id.png
./usr/share/icons/hicolor/256x256/apps/$id.png
./usr/share/icons/hicolor/48x48/apps/$id.png
./usr/share/icons/hicolor/64x64/apps/$id.png
./usr/share/icons/hicolor/scalable/apps/$id.svg
./usr/share/man/man1/kestovan-aerowen.1.gz
./usr/share/metainfo/$id.metainfo.xml"

# cmake --install honours the prefix and DESTDIR.
DESTDIR="$work/destdir" cmake --install "$build_dir" --prefix /usr >/dev/null
installed=$(cd "$work/destdir" && find . -type f | sort)
[ "$installed" = "$expected" ] || fail "installed files differ:"$'\n'"$installed"

"$cpack" -G DEB -B "$work/package" --config "$build_dir/CPackConfig.cmake" >/dev/null
deb="$work/package/kestovan-aerowen_1.0.2_amd64.deb"
[ -f "$deb" ] || fail "no package named $(basename "$deb"): $(ls "$work/package")"
packaged=$(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $6}' | sort)
[ "$packaged" = "$expected" ] || fail "packaged files differ:"$'\n'"$packaged"
depends=$(dpkg-deb -f "$deb" Depends)
for need in curl unzip tesseract-ocr-eng libqt6widgets6 libqt6pdf6 libtesseract5 libssl3; do
    [[ ", $depends," == *", $need"[\ ,]* ]] || fail "Depends lacks $need: $depends"
done

dpkg-deb -x "$deb" "$work/root"
binary="$work/root/usr/bin/kestovan-aerowen"
# The modules, loaded on first use, must find every library they need once installed.
for module in "$work"/root/usr/lib/kestovan-aerowen/*.so; do
    ! ldd "$module" | grep -q 'not found' || fail "$(basename "$module") lacks libraries: $(ldd "$module" | grep 'not found')"
done
[ "$(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$binary" --version)" = "Kestovan Aerowen 1.0.2" ] ||
    fail "--version"
env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$binary" --help | grep -q -- '--version' || fail "--help"
set +e
message=$(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$binary" 2>&1)
status=$?
set -e
[ "$status" -eq 1 ] || fail "without a display the exit status is $status"
[ "$message" = "kestovan-aerowen: no graphical display found (DISPLAY and WAYLAND_DISPLAY are not set); start it from a desktop session." ] ||
    fail "without a display it said: $message"
# Installed, the application finds its modules beside it: the release check it makes at start loads the network
# module. A temporary home keeps the run away from real data, and a closed proxy away from the network.
home="$work/home"
mkdir -p "$home"
chmod 700 "$home"
env HOME="$home" XDG_DATA_HOME="$home/data" XDG_CONFIG_HOME="$home/config" XDG_CACHE_HOME="$home/cache" \
    XDG_RUNTIME_DIR="$home" QT_QPA_PLATFORM=offscreen https_proxy=http://127.0.0.1:9 http_proxy=http://127.0.0.1:9 \
    LD_DEBUG=files "$binary" 2>"$work/start.log" &
pid=$!
loaded="calling init: $work/root/usr/lib/kestovan-aerowen/network.so"
for _ in $(seq 150); do
    grep -qF "$loaded" "$work/start.log" && break
    sleep 0.1
done
kill "$pid" 2>/dev/null || true
wait "$pid" 2>/dev/null || true
grep -qF "$loaded" "$work/start.log" ||
    fail "the installed application did not load its network module: $(grep -v '^ *[0-9]*:' "$work/start.log" | head -3)"
echo "package checks passed"
