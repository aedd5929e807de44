#!/usr/bin/env bash
# Drives the real application in a real X session (Xvfb, no window manager) as a new learner would, and photographs
# each step: the Learn screen; ticking and unticking each completed level and switching learners; a checked wrong
# answer; the list of a 409-question session; a figure question at 1180 by 800 and 900 by 670; leaving, the Learn
# screen with the saved session at both sizes, and resuming it; the result and the progress. SCALE 2 runs it at
# 200 % (QT_SCALE_FACTOR).
#
#   scripts/walkthrough.sh OUTDIR [light|dark] [SCALE]
#
# The learner's folders are temporary (nothing of yours is read or changed) and the network is closed, so the pool
# and release checks fail quietly (see scripts/xvfb-session.sh); builds the application if needed.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/xvfb-session.sh
start_session "$(realpath -m "${1:?usage: scripts/walkthrough.sh OUTDIR [light|dark] [SCALE]}")" "${2:-light}" "${3:-1}"

shot learn
click 354 461 && typed Ada && click 526 461                                      # add Ada
click 568 461 && typed Ben && click 741 461                                      # add Ben, now the learner
# Completed levels: tick each of Ben's, switch to Ada (none completed) and back, untick them again.
click 306 320
click 246 367 && shot completed-technician
keys Tab space && shot completed-general
keys Tab space && shot completed-all
click 1052 58 && keys Up Return && shot completed-other-learner
click 1052 58 && keys Down Return && shot completed-back
click 246 246 && click 246 393 && click 246 419 && shot completed-none          # the row of cards comes back
click 306 320                                                                    # close the panel
# A practice session in pool order: a wrong answer checked, then the list of questions and a figure.
click 745 417                                                                    # shuffle off: T1A01 first
click 297 533                                                                    # Start
keys a
click 105 583 && shot question-wrong                                             # Check Answer
click 227 767 && screen jump-list                                                # Jump To
xdotool type --delay 40 "T6A09" && xdotool key Return && sleep 0.8
keys c && shot question-figure
size 900 670 && shot question-figure-small && size 1180 800
click 1099 137 && screen leave-confirmation                                      # Save & Leave
xdotool mousemove "$((524 * scale))" "$((392 * scale))" click 1 && sleep 1          # Save & Leave, in the confirmation
shot learn-saved
size 900 670 && shot learn-small && size 1180 800
click 1025 648 && shot resumed                                                   # Resume
for letter in b d a c c b a d c a b; do keys Right "$letter"; done                 # eleven more answers
click 1092 767 && screen submit-confirmation                                     # Finish & Score
xdotool mousemove "$((510 * scale))" "$((406 * scale))" click 1 && sleep 1          # Submit, in the confirmation
shot result
click 1106 139                                                                   # Done
click 65 208 && shot progress                                                    # Progress
