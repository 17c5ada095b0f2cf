#!/bin/sh
# Runs the example host as a person would, in a folder that is removed afterwards.
#
#   RunHost.sh PROGRAM SCENARIO [MAN_PAGE]

host=$1
scenario=$2
manual=$3
folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1

fail() {
    echo "FAILED: $*"
    [ -f errors ] && cat errors
    exit 1
}

# written FILE BYTES: the file is there and not smaller than that.
written() {
    [ -f "$1" ] || fail "$1 was not written"
    size=$(wc -c <"$1")
    [ "$size" -ge "$2" ] || fail "$1 has only $size bytes"
}

# says TEXT: the last run printed it.
says() {
    grep -q -- "$1" output || { cat output; fail "the output does not say '$1'"; }
}

# runs ARGUMENTS...: the program succeeds.
runs() {
    "$host" "$@" >output 2>errors || fail "exit code $? of: $*"
}

# holds FILE CONDITION: what the JSON file says, as `d` of a Python expression.
holds() {
    python3 -c "import csv, json, sys; d = json.load(open(sys.argv[1])); assert eval(sys.argv[2])" \
        "$1" "$(echo "$2" | tr '\n' ' ')" || fail "$1 does not hold: $2"
}

# refuses CODE ARGUMENTS...: exit code, one line on standard error, nothing on the other.
refuses() {
    expected=$1
    shift
    "$host" "$@" >output 2>errors
    code=$?
    [ "$code" -eq "$expected" ] || fail "exit code $code instead of $expected of: $*"
    [ "$(wc -l <errors)" -eq 1 ] || fail "not one line of: $*"
    [ ! -s output ] || fail "standard output of: $*"
}

case $scenario in
help)
    runs --version
    says "^descriptor-host [0-9.]*$"
    runs --help
    for command in $(sed -n '/Subcommands:/,/^$/s/^  \([a-z]\{1,\}\) .*/\1/p' output); do
        runs "$command" --help
        says "Example:  descriptor-host $command"
        # The manual knows every command and every option.
        grep -q "^\.B $command$" "$manual" || fail "no $command in the manual"
        for option in $(grep -o -e "^  -.*" output | grep -o -e "--[a-z-]*" | sort -u); do
            sed 's/\\-/-/g' "$manual" | grep -q -e "^\.B.* $option\b" ||
                fail "no $option of $command in the manual"
        done
    done
    if command -v man >/dev/null; then
        LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$manual" >page 2>errors
        [ ! -s errors ] || fail "the manual has warnings"
        grep -q "EXIT STATUS" page || fail "the manual came out empty"
    fi
    ;;
grey)
    runs grey -o out --frames 12 --size 160x120
    written out/grey.png 20000
    written out/grey.mp4 3000
    says "24 of 48 requests were cache hits"
    # A picture that was written can be read again, and so can the video.
    runs grey out/grey.png -o again --no-video
    says "1 frame$"
    [ ! -e again/grey.mp4 ] || fail "a video was written all the same"
    runs grey out/grey.mp4 -o again
    says "12 frames"
    ;;
raw)
    # Two frames and a half: the two are done, the rest is told, and the run has failed.
    head -c 48000 /dev/urandom >frames
    "$host" grey - --raw 160x120 --format gray8 --fps 10 --no-video -o out \
        <frames >output 2>errors
    code=$?
    [ "$code" -eq 1 ] || fail "exit code $code of a short last frame"
    says "standard input, 160x120, 2 frames"
    grep -q "ends inside frame 2: it has 9600 of 19200 bytes" errors || fail "not told"
    written out/grey.png 20000
    # A file does as well, and a whole number of frames is a success.
    head -c 38400 frames >whole
    runs grey whole --raw 160x120 --format gray8 -o again
    says "2 frames"
    refuses 1 grey - --raw 160x120 </dev/null
    refuses 1 grey whole --raw 160x1200
    refuses 1 grey whole --raw 160x120 --format yuv
    refuses 1 grey - <whole
    refuses 1 grey --raw 160x120
    refuses 1 grey nosuch --raw 160x120
    refuses 2 grey whole --format gray8
    ;;
json)
    runs track --size 240x180 --frames 4 --features 60 --compare --no-video --json track.json
    holds track.json 'd["command"] == "track" and d["width"] == 240 and not d["stopped"]'
    holds track.json '[f["frame"] for f in d["frames"]] == [0, 1, 2, 3]'
    holds track.json 'd["settings"]["features"] == 60 and d["cuts"] == []'
    # The points are the live rows of the table.
    holds track.json '[[p["slot"], p["x"], p["age"]]
        for f in d["frames"] for t in f["trackers"] if t["tracker"] == "klt"
        for p in t["points"]] == [[int(r["slot"]), float(r["x"]), int(r["age"])]
        for r in csv.DictReader(open("descriptor-out/track-klt.csv")) if int(r["value"]) >= 0]'
    runs region --size 240x180 --frames 5 --no-video --json region.json
    holds region.json '[[f["left"], f["bottom"]] for f in d["frames"]] == [
        [float(r["left"]), float(r["bottom"])]
        for r in csv.DictReader(open("descriptor-out/region.csv"))]'
    holds region.json 'min(f["overlap"] for f in d["frames"]) > 0.8'
    runs grey --size 240x180 --frames 5 --no-video --json grey.json
    holds grey.json 'd["frame_count"] == 5 and d["requests"] == 20 and d["cache_hits"] == 10'
    runs select --size 240x180 --json select.json
    holds select.json '[c["cut"] for c in d["cuts"]] == [0, 1]'
    holds select.json 'd["cuts"][1]["overlap"] > 0.9 and d["cuts"][0]["regions"] > 100'
    refuses 1 grey --frames 1 --json /proc/nowhere
    ;;
plots)
    runs track --size 240x180 --frames 12 --features 60 --compare --no-video --plots track
    for tracker in apt klt; do
        for plot in points lengths milliseconds; do
            written track/$tracker-$plot.png 4000
        done
    done
    runs region --size 240x180 --frames 6 --no-video --plots region
    for plot in path size milliseconds; do
        written region/$plot.png 4000
    done
    runs grey --size 240x180 --frames 6 --no-video --plots grey
    written grey/milliseconds.png 4000
    refuses 1 grey --frames 1 --plots /proc/nowhere
    ;;
cut)
    # Three frames of one texture that moves, and three of another.
    python3 -c "
import random, sys
for frame in range(6):
    blocks = random.Random(frame // 3)
    rows = [bytes(v for _ in range(18) for v in [blocks.randrange(256)] * 10) for _ in range(12)]
    sys.stdout.buffer.write(b''.join(row[frame:frame + 160] * 10 for row in rows))" |
        "$host" track - --raw 160x120 --format gray8 --features 60 --no-video \
            --json out.json >output 2>errors || fail "exit code $?"
    says "most points were lost at once in frame 3"
    [ "$(grep -c "lost at once" output)" -eq 1 ] || { cat output; fail "more than one cut"; }
    holds out.json 'd["cuts"] == [{"tracker": "apt", "frame": 3}]'
    ;;
selfcheck)
    runs selfcheck
    says "^PASS .* 0 differ$"
    says "threads  *1$"
    says "kernels  *[A-Za-z]"
    says "LAPACK  *the "
    [ "$(uname -m)" != x86_64 ] || says "x86-64-v[1-4]$"
    refuses 2 selfcheck --threads 0
    ;;
bench)
    # A time for each kind of work, and with OpenCV its own and the ratio of the two.
    runs bench --size 240x180 --frames 4 --features 60 --grabcut
    columns=1
    [ ! -e "$(dirname "$host")/descriptor-host-peers.so" ] || columns=3
    for work in "grey" "float grey" "APT selection" "APT step" "KLT selection" "KLT step" \
        "first cut"; do
        awk -v work="$work" -v columns=$columns '
            index($0, "  " work "  ") == 1 {
                split(substr($0, length(work) + 3), f)
                good = f[1] > 0 && (columns == 1 || (f[2] > 0 && f[3] > 0))
            }
            END { exit !good }' output || { cat output; fail "no row of $work"; }
    done
    grep -q "^  region step  *[0-9.]" output || fail "no row of the region"
    refuses 1 bench --frames 1
    ;;
pyramid)
    runs pyramid -o out --size 160x120 --frame 3 --levels 3 --subsampling 2
    written out/pyramid.png 20000
    says "3 levels"
    refuses 1 pyramid --size 64x64 --levels 8
    refuses 1 pyramid --frames 3 --frame 3
    refuses 2 pyramid --subsampling 3
    ;;
track)
    # 60 slots in each of 10 frames and a head; the truth is met by half of a pixel.
    for way in "--engine apt" "--engine apt --verify" "--engine klt"; do
        runs track -o out --size 240x180 --frames 10 --features 60 $way
        written out/track.png 10000
        written out/track.mp4 3000
        [ "$(wc -l <out/track.csv)" -eq 601 ] || fail "length of track.csv of $way"
        awk '/error a step/ { if ($4 > 0 && $4 < 0.5) good = 1 } END { exit !good }' output ||
            { cat output; fail "error of $way"; }
        awk '/kept/ { if ($2 > 80) good = 1 } END { exit !good }' output ||
            { cat output; fail "share kept of $way"; }
    done
    grep -q "^frame,slot,x,y,value,id,age,dx,dy$" out/track.csv || fail "head of track.csv"
    runs track -o out --size 240x180 --frames 4 --exported-tracker --no-video
    grep -q "^frame,slot,x,y,status,correlation,age,dx,dy$" out/track.csv || fail "head"
    [ "$(wc -l <out/track.csv)" -eq 2001 ] || fail "the exported tracker has 500 slots"
    runs track -o both --size 240x180 --frames 4 --compare --png-every 2
    written both/track-apt.csv 1000
    written both/track-klt.csv 1000
    written both/track-000002.png 10000
    refuses 2 track --engine best
    refuses 1 track --engine klt --verify
    refuses 1 track --exported-tracker --features 9
    refuses 2 track --features 0
    ;;
select)
    runs select -o out --size 320x240
    for name in select labels cutout regions; do
        written out/$name.png 700
    done
    says "stroke 2"
    awk '/stroke 2/ { if ($NF > 0.9) good = 1 } END { exit !good }' output ||
        { cat output; fail "overlap with the truth"; }
    # The same by files, as a person has them: labels and cut of the first run.
    refuses 1 select out/cutout.png
    refuses 1 select out/cutout.png --foreground out/labels.png
    runs select out/cutout.png --foreground out/labels.png --background out/regions.png -o again
    written again/labels.png 100
    runs grey -o small --size 64x48 --frames 1 --no-video
    refuses 1 select out/cutout.png --foreground small/grey.png --background small/grey.png
    refuses 1 select nosuch.png --foreground out/labels.png --background out/labels.png
    ;;
region)
    runs region -o out --size 320x240 --frames 20
    written out/region.png 10000
    written out/region.mp4 3000
    [ "$(wc -l <out/region.csv)" -eq 21 ] || fail "length of region.csv"
    grep -q "^frame,left,top,right,bottom,live points$" out/region.csv || fail "head"
    awk '/mean overlap/ { if ($6 > 0.8) good = 1 } END { exit !good }' output ||
        { cat output; fail "overlap with the truth"; }
    # A truth from a file gives the start, and its own overlap.
    runs grey -o clip --size 320x240 --frames 6
    printf '0,0,100,80\n1,0,100,80\n' >boxes.txt
    runs region clip/grey.mp4 --truth boxes.txt -o again --no-video
    says "of 2 frames"
    # A picture that does not change loses the region, and is said to.
    mkdir still
    cp out/region.png still/1.png
    cp out/region.png still/2.png
    runs region still --rect 100,80,90,70 -o lost --no-video
    says "the region was lost in frame 1"
    refuses 1 region clip/grey.mp4
    refuses 1 region --rect 1,2,3
    refuses 1 region --rect 1,2,3,-4
    refuses 1 region --rect 5000,2,3,4
    refuses 1 region --truth nosuch.txt
    ;;
window)
    runs select --interactive --demo -o out --size 320x240
    for name in window labels cutout; do
        written out/$name.png 700
    done
    [ "$(grep -c "cut in" output)" -eq 11 ] || fail "not a cut for each stroke"
    ;;
bad_input)
    refuses 2
    refuses 1 gray
    refuses 2 grey --bogus
    refuses 2 grey --frames 0
    refuses 2 grey --frames many
    refuses 1 grey --size 640
    refuses 1 grey nosuch.mp4
    refuses 1 grey 'nosuch%d.png'
    echo "no picture" >text.png
    refuses 1 grey text.png
    refuses 1 grey text.png --size 64x64
    mkdir empty
    refuses 1 grey empty
    refuses 1 grey --frames 1 -o text.png/out
    refuses 1 grey --frames 1 -o /proc/nowhere
    ;;
interrupt)
    "$host" grey -o out --frames 100000 --size 160x120 >output 2>errors &
    process=$!
    tries=0
    until [ -s out/grey.mp4 ] || [ $tries -ge 200 ]; do
        sleep 0.1
        tries=$((tries + 1))
    done
    sleep 0.5
    kill -INT $process
    wait $process
    code=$?
    [ "$code" -eq 130 ] || fail "exit code $code"
    grep -q "stopped after" errors || fail "no last line"
    written out/grey.png 20000
    runs grey out/grey.mp4 -o again --no-video
    ;;
interrupt_pipe)
    # Three frames come, and then nothing, while the pipe stays open.
    mkfifo pipe
    { head -c 57600 /dev/urandom; exec sleep 250; } >pipe &
    feeder=$!
    trap 'kill $feeder; rm -rf "$folder"' EXIT
    "$host" track - --raw 160x120 --format gray8 --features 20 --png-every 1 -o out \
        --json out.json <pipe >output 2>errors &
    process=$!
    tries=0
    until [ -s out/track-000002.png ] || [ $tries -ge 600 ]; do
        sleep 0.1
        tries=$((tries + 1))
    done
    kill -INT $process
    wait $process
    code=$?
    [ "$code" -eq 130 ] || fail "exit code $code"
    kill -0 $feeder || fail "the run waited for the end of the pipe"
    [ "$(cat errors)" = "stopped after 3 frames; the files hold what was done until then" ] ||
        fail "the last line"
    [ "$(wc -l <out/track.csv)" -eq 61 ] || fail "length of track.csv"
    holds out.json 'len(d["frames"]) == 3 and d["stopped"]'
    runs grey out/track.mp4 -o again --no-video
    says "3 frames"
    ;;
*)
    fail "no scenario $scenario"
    ;;
esac
exit 0
