#!/usr/bin/env bash
# Photographs the Browse, Progress and History screens of the real application in a real X session (Xvfb), for a
# learner with a history: a progress file with a few weeks of Technician exams and practice is prepared first. Browse
# is shown searching an identifier (a question with a figure), then words on the Extra pool.
#
#   scripts/browse-walkthrough.sh OUTDIR [light|dark]
#
# The learner's folders are temporary (nothing of yours is read or changed) and the network is closed. Needs Xvfb,
# xdotool, ImageMagick's import and python3; builds the application if needed.
set -euo pipefail
cd "$(dirname "$0")/.."
for tool in Xvfb xdotool import python3; do
    command -v "$tool" >/dev/null || { echo "browse-walkthrough needs $tool" >&2; exit 1; }
done
out="$(realpath -m "${1:?usage: scripts/browse-walkthrough.sh OUTDIR [light|dark]}")"
scheme="${2:-light}"
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

# Ada's record on the current Technician pool: ten fresh exams over five weeks, getting better, and two practice
# sessions; her statistics follow from them. Two questions are bookmarked.
data="$home/.local/share/Kestovan Aerowen"
mkdir -p "$data"
python3 - resources/pools.json "$data/progress.json" <<'PY'
import json, sys, time, uuid
pack = json.load(open(sys.argv[1]))
today = time.strftime("%Y-%m-%d")
pool = next(p for p in pack["pools"] if p["level"] == "technician" and p["validFrom"] <= today < p["validUntil"])
epoch = 978307200  # 2001-01-01 in Unix seconds
ada = str(uuid.uuid4()).upper()
guest = str(uuid.uuid4()).upper()
groups = {}
for q in pool["questions"]:
    groups.setdefault(q["group"], []).append(q)
stats, results = {}, []
def finish(questions, mode, right, days_ago, seconds, n):
    answers = {}
    for i, q in enumerate(questions):
        ok = i < right
        answers[q["id"]] = q["correct"] if ok else (q["correct"] + 1) % 4
        s = stats.setdefault(f"{ada}|{pool['id']}|{q['id']}", {"attempts": 0, "correct": 0, "lastCorrect": False})
        s["attempts"] += 1
        s["correct"] += 1 if ok else 0
        s["lastCorrect"] = ok
    finished = time.time() - epoch - days_ago * 86400
    session = {"id": str(uuid.uuid4()).upper(), "profile": ada, "name": "Ada", "pool": pool, "mode": mode,
               "challenge": "", "questions": questions, "answers": answers, "flags": [], "revealed": [],
               "index": 0, "started": finished - seconds, "elapsed": seconds, "eligible": True}
    results.append({"id": str(uuid.uuid4()).upper(), "session": session, "finished": finished, "seconds": seconds})
# Weaker in the later subelements, which the first exams show most.
for n, (right, days) in enumerate([(19, 35), (22, 31), (21, 27), (24, 23), (25, 19), (27, 15), (26, 11),
                                   (29, 7), (28, 4), (31, 1)]):
    exam = [g[(n * 7 + k) % len(g)] for k, g in enumerate(groups.values())]
    exam = exam[n % 5:] + exam[:n % 5]
    finish(exam, "Exam", right, days, 1500 + 60 * n, n)
finish(pool["questions"][:40], "Study All", 34, 20, 1900, 20)
finish([q for q in pool["questions"] if q["group"].startswith("T5")][:30], "Weak Topics", 21, 6, 1400, 21)
saved = {"profiles": [{"id": guest, "name": "Guest"}, {"id": ada, "name": "Ada"}], "selected": ada,
         "stats": stats, "bookmarks": [f"{ada}|{pool['id']}|T6C02", f"{ada}|{pool['id']}|T5A07"],
         "drafts": [], "results": results}
json.dump(saved, open(sys.argv[2], "w"))
PY

Xvfb "$display" -screen 0 1500x1100x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
export DISPLAY="$display"
for _ in $(seq 100); do xdotool getdisplaygeometry >/dev/null 2>&1 && break; sleep 0.1; done
mkdir -p "$home/.config/Kestovan"
printf '[General]\nappearance=%s\n' "$scheme" >"$home/.config/Kestovan/Kestovan Aerowen.conf"
HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" XDG_RUNTIME_DIR="$home" \
    https_proxy=http://127.0.0.1:9 http_proxy=http://127.0.0.1:9 "$binary" >"$out/application.log" 2>&1 &
app=$!
window=""
for _ in $(seq 100); do
    window="$(xdotool search --onlyvisible --name '^Kestovan Aerowen$' 2>/dev/null | head -1 || true)"
    [ -n "$window" ] && break
    sleep 0.1
done
[ -n "$window" ] || { echo "the window did not appear" >&2; exit 1; }
sleep 1.5

# Points are in the window's own units, for the layout at 1180 by 800.
click() { xdotool mousemove --window "$window" "$1" "$2" click 1; sleep 0.6; }
typed() { xdotool key --window "$window" ctrl+a; xdotool type --window "$window" --delay 40 "$1"; sleep 0.5; }
shot() { import -window "$window" "$out/$1.png"; echo "$out/$1.png"; }
prefix=""
[ "$scheme" = dark ] && prefix="dark-"

click 65 170                                                                     # Browse
click 600 265 && typed T6C02 && shot "${prefix}browse"                           # the search field
typed impedance && shot "${prefix}browse-words"
click 65 208 && shot "${prefix}progress-charts"                                  # Progress
click 65 284 && shot "${prefix}history"                                          # History
