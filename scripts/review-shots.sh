#!/usr/bin/env bash
# Photographs the Learn screen's due counts and the Progress screen's predicted scores, light and dark, from the real
# window under Xvfb (as scripts/walkthrough.sh does). The learner, Ada, has a month of simulated study of the
# built-in pools in a progress file written into a temporary HOME; nothing of yours is read or changed.
#
#   scripts/review-shots.sh OUTDIR
set -euo pipefail
cd "$(dirname "$0")/.."
out="$(realpath -m "${1:?usage: scripts/review-shots.sh OUTDIR}")"
source scripts/xvfb-session.sh
progress="$(mktemp)"
trap 'end_session; rm -f "$progress"' EXIT
# A month of answers: each studied question is answered again whenever it falls due, right with its chance of recall
# (the memory model's formulas, default weights).
python3 - "$progress" <<'PY'
import json, math, random, sys, time, uuid
W=[0.40255,1.18385,3.173,15.69105,7.1949,0.5345,1.4604,0.0046,1.54575,0.1192,1.01925,1.9395,0.11,0.29605,2.2698,0.2315,2.9898,0.51655,0.6621]
F=19/81
def initD(g): return W[4]-math.exp(W[5]*(g-1))+1
def step(st,t,g):
    if st is None: return (W[g-1], min(max(initD(g),1),10))
    S,D=st; R=(1+F*max(t,0)/S)**-0.5
    if t<1: nS=S*math.exp(W[17]*(g-3+W[18]))
    elif g==1: nS=min(W[11]*D**-W[12]*((S+1)**W[13]-1)*math.exp(W[14]*(1-R)),S)
    else: nS=S*(1+math.exp(W[8])*(11-D)*S**-W[9]*(math.exp(W[10]*(1-R))-1))
    nD=D-W[6]*(g-3)*(10-D)/9; nD=W[7]*initD(4)+(1-W[7])*nD
    return (min(max(nS,0.01),36500), min(max(nD,1),10))
random.seed(7)
pack=json.load(open('resources/pools.json'))
now=time.time()-978307200; day=86400
ada=str(uuid.uuid4()).upper(); guest=str(uuid.uuid4()).upper()
stats={}
for pool,share in zip(pack['pools'],(0.85,0.45,0.12)):
    for q in pool['questions']:
        if random.random()>share: continue
        at=now-random.uniform(5,40)*day; st=None; a=c=0; last=False; due=at
        right=random.random()<0.7
        while at<now:
            t=(at-rev)/day if st else 0
            st=step(st,t,3 if right else 1); a+=1; c+=right; last=right; rev=at
            due=at+(max(1,round(st[0]))*day if right else 600)
            at=due+random.uniform(0,2)*day
            R=(1+F*((at-rev)/day)/st[0])**-0.5
            right=random.random()<R
        stats[f"{ada}|{pool['id']}|{q['id']}"]={"attempts":a,"correct":c,"lastCorrect":last,"stability":st[0],"difficulty":st[1],"reviewed":rev,"due":due}
saved={"profiles":[{"id":guest,"name":"Guest"},{"id":ada,"name":"Ada"}],"selected":ada,"stats":stats,"bookmarks":[],"drafts":[],"results":[]}
json.dump(saved,open(sys.argv[1],'w'))
PY
for scheme in light dark; do
    start_session "$out" "$scheme" 1 "$progress"
    prefix=""
    [ "$scheme" = dark ] && prefix="dark-"
    shot "${prefix}learn-review"
    click 65 208 && sleep 1 && shot "${prefix}progress-prediction" # Progress
    end_session
done
