#!/usr/bin/env bash
# Photographs the Browse, Progress and History screens of the real application in a real X session (Xvfb), for a
# learner with a history: a progress file with a few weeks of Technician exams and practice is prepared first. Browse
# is shown searching an identifier (a question with a figure), then words on the Extra pool.
#
#   scripts/browse-walkthrough.sh OUTDIR [light|dark]
#
# The learner's folders are temporary (nothing of yours is read or changed) and the network is closed. Needs
# python3 besides what scripts/xvfb-session.sh needs.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/xvfb-session.sh
progress="$(mktemp)"
trap 'end_session; rm -f "$progress"' EXIT

# Ada's record on the current Technician pool: ten fresh exams over five weeks, getting better, and two practice
# sessions; her statistics follow from them. Two questions are bookmarked.
python3 - resources/pools.json "$progress" <<'PY'
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
results.sort(key=lambda r: r["finished"])  # stored in the order they were finished, as the application does
saved = {"profiles": [{"id": guest, "name": "Guest"}, {"id": ada, "name": "Ada"}], "selected": ada,
         "stats": stats, "bookmarks": [f"{ada}|{pool['id']}|T6C02", f"{ada}|{pool['id']}|T5A07"],
         "drafts": [], "results": results}
json.dump(saved, open(sys.argv[2], "w"))
PY

start_session "$(realpath -m "${1:?usage: scripts/browse-walkthrough.sh OUTDIR [light|dark]}")" "${2:-light}" 1 "$progress"
prefix=""
[ "$scheme" = dark ] && prefix="dark-"

click 65 170                                                                     # Browse
click 600 265 && typed T6C02 && shot "${prefix}browse"                           # the search field
typed impedance && shot "${prefix}browse-words"
click 65 208 && shot "${prefix}progress-charts"                                  # Progress
click 65 284 && shot "${prefix}history"                                          # History
