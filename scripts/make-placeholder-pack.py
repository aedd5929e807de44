#!/usr/bin/env python3
"""Writes a small, valid placeholder pool pack (generated questions, no figures).

Used only until the pack builder produces resources/pools.json from the official documents.
"""
import json
import string
import sys


def groups(letter, count):
    names = []
    for subelement in "1234567890":
        for group in string.ascii_uppercase:
            names.append(f"{letter}{subelement}{group}")
            if len(names) == count:
                return names
    return names


def pool(level, letter, name, start, exam, passing):
    questions = []
    for g in groups(letter, exam):
        for n in range(1, 11):
            qid = f"{g}{n:02d}"
            questions.append({
                "id": qid, "group": g, "prompt": f"Placeholder question {qid}?",
                "answers": [f"Answer {c} of {qid}" for c in "ABCD"], "correct": n % 4, "reference": "",
            })
    return {
        "id": f"{level}-{start}-placeholder", "level": level, "name": name,
        "validFrom": f"{start}-07-01", "validUntil": f"{start + 4}-07-01", "revision": f"{start}-01-01",
        "examCount": exam, "passCount": passing, "source": "placeholder",
        "topics": {f"{letter}1": "Placeholder topic"}, "questions": questions,
    }


pack = {"schema": 1, "assets": {}, "pools": [
    pool("technician", "T", "Technician", 2026, 35, 26),
    pool("general", "G", "General", 2023, 35, 26),
    pool("extra", "E", "Amateur Extra", 2024, 50, 37),
]}
json.dump(pack, open(sys.argv[1] if len(sys.argv) > 1 else "resources/pools.json", "w"), separators=(",", ":"))
