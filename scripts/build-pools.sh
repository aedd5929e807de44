#!/usr/bin/env bash
# Remakes resources/pools.json from the official NCVEC pool documents with the project's pack builder.
# Usage: scripts/build-pools.sh [NCVEC_FOLDER] [BUILD_FOLDER]
#   NCVEC_FOLDER holds downloads/ with the official .docx files (default: ../shared/ncvec beside the checkout).
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
ncvec="${1:-$root/../shared/ncvec}"
build="${2:-$root/build}"
downloads="$ncvec/downloads"

technician="2026-2030 Technician Pool and Syllabus Public Release Feb 19 2026.docx"
general="General Class Pool and Syllabus 2023-2027 Public Release with 6th Errata Feb 4 2026.docx"
extra="2024-2028 Extra Class Question Pool and Syllabus Public Release with 4th Errata Feb 4 2026.docx"

# The official address of a file in the site's downloads folder: the file name with blanks as %20.
address() {
    python3 -c 'import sys, urllib.parse; print("https://www.ncvec.org/downloads/" + urllib.parse.quote(sys.argv[1]))' "$1"
}

[ -f "$build/CMakeCache.txt" ] || cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release
cmake --build "$build" --target aerowen-packbuilder

"$build/tools/aerowen-packbuilder" "$root/resources/pools.json" \
    technician "$downloads/$technician" "$(address "$technician")" \
    general "$downloads/$general" "$(address "$general")" \
    extra "$downloads/$extra" "$(address "$extra")"
echo "Wrote $root/resources/pools.json"
