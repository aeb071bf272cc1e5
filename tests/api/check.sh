#!/bin/bash
# Compares what the libraries export with the lists of this folder:
#
#   check.sh [--update] <libmdicom.so> <further libraries...>
#
# libmdicom has the flat functions of functions.tsv that pending.txt does not name, and no others.
# What else users of a library can call stands in exports/<library>.txt; private members, which
# come and go, do not. --update writes these lists.
set -euo pipefail
export LC_ALL=C
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
update=false
if [[ ${1-} == --update ]]; then
    update=true
    shift
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# Weak symbols and tables of types are the compiler's.
exports() {
    nm -DC --defined-only "$1" | sed -nE '/ (typeinfo|vtable) /d; s/^[0-9a-f]+ [ABDRT] //p' | sort -u
}

# Class::name( of every private member function, but for overloads of public ones
private_members() {
    awk '/^class MDICOM_API / { class = $3; private = 0 }
        /^  (public|protected):/ { private = 0 }
        /^  private:/ { private = 1 }
        class == "" || /^ *(\/|\*)/ || !match($0, /[A-Za-z0-9]+\(/) { next }
        { name = class "::" substr($0, RSTART, RLENGTH) }
        private { hidden[name] = 1; next }
        { open[name] = 1 }
        END { for (name in hidden) if (!(name in open)) print name }' "$here"/../../include/*.h
}

# compare <what> <expected> <found>
compare() {
    if ! diff -u --label "$1: listed" --label "$1: found" "$2" "$3"; then
        status=1
    fi
}

is_flat='^(M_Dicom|flt)[A-Za-z0-9]*$'
exports "$1" | grep -E "$is_flat" >"$work/found"
tail -n +2 "$here/functions.tsv" | cut -f2 | sort >"$work/all"
if [[ $(sort -u "$work/all" | wc -l) != 513 || $(wc -l <"$work/all") != 513 ]]; then
    echo "functions.tsv does not have 513 names" >&2
    status=1
fi
awk -F'\t' 'NR == FNR { split($0, words, " "); later[words[2]] = 1; next }
    FNR > 1 && !($1 in later) && !($2 in later) { print $2 }' \
    "$here/pending.txt" "$here/functions.tsv" | sort >"$work/due"
compare "flat functions" "$work/due" "$work/found"

# What the headers declare is not pending.
headers=("$here"/../../include/*.h "$here"/../../kernel/Mvkrnx*.h)
while read -r kind name; do
    declared="(struct|class MDICOM_API) $name( : .*)? *\{|^ *$name =|[ *]$name\("
    if grep -HnE "$declared" "${headers[@]}"; then
        echo "pending.txt still names the $kind $name" >&2
        status=1
    fi
done < <(grep -E '^(record|class|member|constant) ' "$here/pending.txt")

for library in "$@"; do
    name=$(basename "$library")
    name=${name%%.so*}
    exports "$library" >"$work/list"
    if [[ $name == libmdicom ]]; then
        private_members >"$work/private"
        grep -vE "$is_flat" "$work/list" | grep -vFf "$work/private" >"$work/public"
        mv "$work/public" "$work/list"
    fi
    if $update; then
        cp "$work/list" "$here/exports/$name.txt"
    else
        compare "$name" "$here/exports/$name.txt" "$work/list"
    fi
done
exit $status
