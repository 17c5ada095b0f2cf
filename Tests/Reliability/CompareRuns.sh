#!/bin/sh
# CompareRuns.sh DIGEST: `digest --compare` passes a run that is the same, and no other: one
# that is shorter or longer, that has another status, a float beyond the bound, or no number.
set -eu
digest=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$digest" --save "$work/saved"

# expect STATUS WHAT: of the comparison with $work/other.
expect() {
    status=0
    "$digest" --compare "$work/other" 0.01 >"$work/said" || status=$?
    [ "$status" -eq "$1" ] || { echo "$2: $status instead of $1"; cat "$work/said"; exit 1; }
}

cp "$work/saved" "$work/other"
expect 0 "the same run"
sed '$d' "$work/saved" >"$work/other"
expect 1 "a line less"
{ cat "$work/saved"; tail -n 1 "$work/saved"; } >"$work/other"
expect 1 "a line more"
sed '0,/^i 0$/s//i 1/' "$work/saved" >"$work/other"
expect 1 "another status"
sed '0,/^f 0x1\.[0-9a-f]*p+5$/s//f 0x1.8p+8/' "$work/saved" >"$work/other"
expect 1 "a float beyond the bound"
sed '0,/^f 0x1\.[0-9a-f]*p+5$/s//f nan/' "$work/saved" >"$work/other"
expect 1 "no number"
sed '0,/^f 0x0p+0$/s//f 0x1p-10/' "$work/saved" >"$work/other"
expect 0 "a float within the bound"
