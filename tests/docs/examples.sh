#!/bin/bash
# Runs the examples over a file: what one changes and saves in an encoding, the others must see.
#
#   examples.sh <folder of the examples> <file>
set -euo pipefail

examples=$1 file=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The output is UTF-8 in any locale.
export LC_ALL=C
value='Müller^Jörg'

for encoding in implicit explicit big; do
    saved=$work/$encoding.dcm
    "$examples/edit" "$file" "$saved" "0010,0010=$value" "$encoding"
    "$examples/dump" "$saved" | grep "^(0010,0010) PN .*= $value\$"
    "$examples/compare" "$file" "$saved" 0010,0010
    if "$examples/compare" "$file" "$saved"; then exit 1; fi
done
"$examples/dump" "$file" | grep '^    (0008,1155) UI 8 Referenced SOP Instance UID = 1\.2\.3\.'
"$examples/edit" "$file" "$work/rows.dcm" 0028,0010=512 big
"$examples/dump" "$work/rows.dcm" | grep '^(0028,0010) US 2 Rows = 512$'

printf 'no image' >"$work/text"
"$examples/survey" "$work" | tail -n1 | grep '^5 files, 4 loaded, 1 refused$'
