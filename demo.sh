#!/bin/bash
# Builds the library and the examples, and runs them over real files:
#
#   ./demo.sh [file or folder]
#
# Without an argument the files are those that Debian's python3-pydicom installs. Ends with
# status 0 only if everything worked.
set -euo pipefail
caller=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")"

build=build/demo
packages=(g++ cmake ninja-build pkgconf libjpeg62-turbo-dev libopenjp2-7-dev libpng-dev)

sample_files() {
    dpkg -L python3-pydicom | grep /pydicom/data/ | grep -Ev '\.(py|json|txt|md|dump|gz)$|/README$' |
        while read -r path; do [[ ! -f $path ]] || echo "$path"; done
}

# The file that is shown and edited: CT_small.dcm, else the first with a transfer syntax or a class.
# What has neither may load, but is hardly DICOM.
choose() {
    local file
    for file in "$@"; do
        [[ $file != */CT_small.dcm ]] || { echo "$file"; return; }
    done
    for file in "$@"; do
        if "$build/examples/dump" "$file" 2>/dev/null |
            grep -E '^\((0002,0010|0008,0016)\)' >/dev/null; then
            echo "$file"
            return
        fi
    done
    echo "none of the files is DICOM" >&2
    return 1
}

if (( $# == 0 )); then
    .ci/packages "${packages[@]}" python3-pydicom
    mapfile -t files < <(sample_files)
else
    given=$(cd "$caller" && realpath -e -- "$1")
    .ci/packages "${packages[@]}"
    mapfile -t files < <(find "$given" -type f | sort)
fi

echo "== build =="
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DMDICOM_BUILD_EXAMPLES=ON >/dev/null
cmake --build "$build" --parallel "$(nproc)"

echo
echo "== ${#files[@]} files =="
"$build/examples/survey" "${files[@]}"

echo
echo "== a contact sheet of the images among them =="
# Files without an image are left out.
"$build/examples/image" --sheet "$build/contact-sheet.png" "${files[@]}"

file=$(choose "${files[@]}")
echo
echo "== the tree of $file =="
"$build/examples/dump" "$file"

element=0010,0010
value='Demonstration^Change'
echo
echo "== ($element) becomes $value, in three encodings =="
for encoding in implicit explicit big; do
    saved=$build/changed-$encoding.dcm
    "$build/examples/edit" "$file" "$saved" "$element=$value" "$encoding"
    "$build/examples/dump" "$saved" | grep "^($element).*= $value\$"
    compared=$("$build/examples/compare" "$file" "$saved" "$element")
    echo "  the others in $saved: $compared"
done
