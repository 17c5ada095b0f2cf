# Small things that the tools beside it share. Read by them.

# quietly LOG COMMAND ...: what it says goes into LOG, whose end is shown where it fails.
quietly() {
    quiet_log=$1
    shift
    "$@" >"$quiet_log" 2>&1 || { tail -40 "$quiet_log" >&2; exit 1; }
}

# Shows the head of the script, to who calls it wrongly.
usage() {
    sed -n '2,/^$/s/^# \{0,1\}//p' "$0" >&2
    exit 2
}
