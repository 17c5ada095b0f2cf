#!/bin/sh
# Runs the tool as a person would, in a folder that is removed afterwards.
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
    grep -q "ends inside frame 2 (0.200 s): it has 9600 of 19200 bytes" errors || fail "not told"
    written out/grey.png 20000
    # A file does as well, and a whole number of frames is a success.
    head -c 38400 frames >whole
    runs grey whole --raw 160x120 --format gray8 -o again
    says "2 frames"
    refuses 1 grey - --raw 160x120 </dev/null
    refuses 1 grey whole --raw 160x1200
    refuses 2 grey whole --raw 160x120 --format yuv
    refuses 2 grey - <whole
    refuses 2 grey --raw 160x120
    refuses 1 grey nosuch --raw 160x120
    refuses 2 grey whole --format gray8
    refuses 2 grey - --raw 0x0
    refuses 2 grey whole --raw 160x120 --fps nan
    ;;
json)
    runs track --size 240x180 --frames 4 --features 60 --compare --no-video --json track.json
    holds track.json 'd["command"] == "track" and d["width"] == 240 and not d["stopped"]'
    holds track.json '[f["frame"] for f in d["frames"]] == [0, 1, 2, 3]'
    holds track.json '[t["settings"].get("features") for t in d["trackers"]] == [60, 60]
        and "verify" not in d["trackers"][1]["settings"] and d["cuts"] == []'
    # The rows are those of the tables, and have the names of the columns.
    for number in 0 1; do
        holds track.json "(lambda t, name: [{'frame': f['frame'], 'time': f['time'],
            'state': f['trackers'][t]['state'], **p}
            for f in d['frames'] for p in f['trackers'][t]['points']] == [
            {k: v if k == 'state' else json.loads(v) for k, v in r.items()}
            for r in csv.DictReader(open('descriptor-out/track-' + name + '.csv'))])(
            $number, d['trackers'][$number]['tracker'])"
    done
    runs region --size 240x180 --frames 5 --no-video --json region.json
    holds region.json '[{k: v if k == "state" else json.loads(v) for k, v in r.items()}
        for r in csv.DictReader(open("descriptor-out/region.csv"))] == d["frames"]'
    holds region.json 'list(d["frames"][0]) == list(d["columns"])'
    holds region.json 'min(f["overlap"] for f in d["frames"]) > 0.8'
    holds region.json '[f["time"] for f in d["frames"]] == [0, 0.04, 0.08, 0.12, 0.16]'
    # Bytes of a name that are no UTF-8 leave the file valid.
    cp descriptor-out/region.png "$(printf 'b\344d".png')"
    runs grey "$(printf 'b\344d".png')" --no-video --json name.json
    holds name.json 'd["source"] == "b\ufffdd\".png"'
    runs grey --size 240x180 --frames 5 --no-video --json grey.json
    holds grey.json 'd["frame_count"] == 5 and d["requests"] == 20 and d["cache_hits"] == 10'
    runs select --size 240x180 --json select.json
    holds select.json '[c["cut"] for c in d["cuts"]] == [0, 1]'
    holds select.json 'd["cuts"][1]["overlap"] > 0.9 and d["cuts"][0]["regions"] > 100'
    refuses 1 grey --frames 1 --json /proc/nowhere
    ;;
plots)
    # The option is gone, and says where its work is done.
    for command in grey track region; do
        refuses 2 $command --size 240x180 --frames 2 --plots plots
        grep -q "python3 -m descriptor.plot" errors || fail "the new command is not named"
        [ ! -e descriptor-out ] || fail "something was written"
    done
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
results)
    # Bare frames in; what comes out, but for times, has one digest on all systems.
    python3 -c "
import random, sys
for frame in range(8):
    blocks = random.Random(5)
    rows = [bytes(v for _ in range(60) for v in (blocks.randrange(256), 9, blocks.randrange(256),
                                                 255) * 3) for _ in range(40)]
    out = sys.stdout.buffer
    out.write(b''.join(row[frame * 4:frame * 4 + 640] * 3 for row in rows))" >frames
    cat >strokes.json <<'END'
{"format": "descriptor-strokes", "version": 1, "width": 160, "height": 120, "cuts": [
 [{"label": "foreground", "radius": 5, "path": [[40, 40], [60, 70]]},
  {"label": "background", "radius": 5, "path": [[110, 20], [120, 110]]}],
 [{"label": "background", "radius": 3, "path": [[70, 50], [80, 60]]}]]}
END
    for engine in apt klt; do
        cat frames | "$host" track - --raw 160x120 --engine $engine --features 80 --no-video \
            --fps 29.97 --json $engine.json -o $engine >output 2>errors || fail "track: $?"
        written $engine/track.png 10000
    done
    cat frames | "$host" region - --raw 160x120 --rect 30,30,60,50 --no-video -o region \
        >output 2>errors || fail "region: $?"
    head -c 76800 frames | "$host" select - --raw 160x120 --strokes strokes.json -o select \
        --json select.json >output 2>errors || fail "select: $?"
    written select/cutout.png 1000
    grep -h '^{"' apt.json klt.json select.json | sed 's/"milliseconds":[^,]*,//g' >rows
    cut -d, -f1-8 region/region.csv | cat apt/track.csv klt/track.csv - rows >all
    written all 100000
    [ "$(sha256sum <all)" = "d1e2d133b7774c6d19172c7ecfc0b93dd6d1068f1660c5b841a90b10ae1ad5cf  -" ] || fail "other results: $(sha256sum <all)"
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
    # A row for each point of each of 10 frames; the truth is met by half of a pixel.
    for way in "--engine apt" "--engine apt --verify" "--engine klt"; do
        runs track -o out --size 240x180 --frames 10 --features 60 --json track.json $way
        written out/track.png 10000
        written out/track.mp4 3000
        holds track.json "[len([p for p in f['trackers'][0]['points'] if list(p.values())[3] >= 0])
            for f in d['frames']] == [f['trackers'][0]['live'] for f in d['frames']] and
            all(40 < f['trackers'][0]['live'] <= 60 for f in d['frames'])"
        awk '/error a step/ { if ($4 > 0 && $4 < 0.5) good = 1 } END { exit !good }' output ||
            { cat output; fail "error of $way"; }
        awk '/kept/ { if ($2 > 80) good = 1 } END { exit !good }' output ||
            { cat output; fail "share kept of $way"; }
    done
    grep -q "^frame,time,state,slot,x,y,value,id,age,dx,dy$" out/track.csv || fail "head of track.csv"
    runs track -o out --size 240x180 --frames 4 --exported-tracker --no-video
    grep -q "^frame,time,state,slot,x,y,status,correlation,age,dx,dy$" out/track.csv || fail "head"
    [ "$(wc -l <out/track.csv)" -gt 300 ] || fail "the exported tracker has 500 slots"
    runs track -o both --size 240x180 --frames 4 --compare --png-every 2
    written both/track-apt.csv 1000
    written both/track-klt.csv 1000
    written both/track-000002.png 10000
    refuses 2 track --engine best
    refuses 2 track --engine klt --verify
    refuses 2 track --exported-tracker --features 9
    refuses 2 track --features 0
    refuses 2 track --stationary-limit nan
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
    refuses 2 select out/cutout.png
    refuses 2 select out/cutout.png --foreground out/labels.png
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
    awk '/mean overlap/ { if ($6 > 0.8) good = 1 } END { exit !good }' output ||
        { cat output; fail "overlap with the truth"; }
    # A truth from a file gives the start, and its own overlap.
    runs grey -o clip --size 320x240 --frames 6
    printf '0,0,100,80\n1,0,100,80\n' >boxes.txt
    runs region clip/grey.mp4 --truth boxes.txt -o again --no-video
    says "of 2 frames"
    refuses 2 region clip/grey.mp4
    refuses 2 region --rect 1,2,3
    refuses 2 region --rect 1,2,3,-4
    refuses 2 region --rect 1,2,3,4 --interactive
    refuses 1 region --rect 5000,2,3,4
    refuses 1 region --truth nosuch.txt
    ;;
same_file)
    # A run whose output is its input is refused before anything is written.
    runs track -o X --size 64x48 --frames 3
    cp X/track.mp4 before
    ln X/track.mp4 hard
    ln -s X/track.mp4 soft
    for input in X/track.mp4 ./X/../X/track.mp4 hard soft; do
        refuses 1 track $input -o X
    done
    refuses 1 grey X/track.mp4 --json soft --no-video
    mkdir Y && ln -s ../before Y/track-000001.png
    refuses 1 track ./before -o Y --png-every 1
    cmp before X/track.mp4 || fail "the input was changed"
    # Nor is a link in the output folder followed to any other file.
    echo precious >precious
    mkdir Z && ln -s ../precious Z/region.csv && ln -s ../precious Z/.descriptor-host-probe
    refuses 1 region before --rect 9,9,30,20 -o Z --no-video
    [ "$(cat precious)" = precious ] || fail "a link was followed"
    ;;
video)
    # What phones and editors write: sound, a quarter turn, pixels that are not square, and
    # frames that do not come evenly.
    ffmpeg -v error -f lavfi -i testsrc2=size=160x120:rate=25:duration=2 \
        -f lavfi -i sine=duration=2 -vf "select=not(mod(n\,5))+lt(n\,10),setsar=4/3" \
        -vsync vfr -c:v libx264 -c:a aac uneven.mp4 || fail ffmpeg
    ffmpeg -v error -i uneven.mp4 -c copy -metadata:s:v rotate=90 turned.mp4 || fail ffmpeg
    for name in uneven turned; do
        runs track $name.mp4 -o $name --features 40 --json $name.json
        python3 - $name <<'END' || fail "times or sound of $name"
import csv, json, subprocess, sys
def shown(file, stream, entry):
    text = subprocess.check_output(["ffprobe", "-v", "error", "-select_streams", stream,
        "-show_entries", entry, "-of", "csv=p=0", file], text=True)
    return sorted(line.strip(",") for line in text.split())
name = sys.argv[1]
times = [round(float(t), 5) for t in shown(name + ".mp4", "v", "packet=pts_time")]
assert len(times) == 18 and len(set(b - a for a, b in zip(times, times[1:]))) > 1
rows = sorted({round(float(r["time"]), 5) for r in csv.DictReader(open(name + "/track.csv"))})
assert rows == times, rows
d = json.load(open(name + ".json"))
assert [round(f["time"], 5) for f in d["frames"]] == times
written = [round(float(t), 5) for t in shown(name + "/track.mp4", "v", "packet=pts_time")]
assert written == times, written
assert len(shown(name + "/track.mp4", "a", "packet=size")) > 50
assert shown(name + "/track.mp4", "a", "packet=size") == shown(name + ".mp4", "a", "packet=size")
assert [d["width"], d["height"]] == ([213, 120] if name == "uneven" else [120, 213])
END
    done
    # The turned picture is the one that FFmpeg shows.
    ffmpeg -v error -i turned.mp4 -frames:v 1 -vf scale=120:213,setsar=1 shown.png || fail ffmpeg
    for name in turned.mp4 shown.png; do
        runs select $name --foreground shown.png --background shown.png -o from-$name
    done
    python3 - <<'END' || fail "the turned picture"
import subprocess
pixels = [subprocess.check_output(["ffmpeg", "-v", "error", "-i", "from-" + name + "/cutout.png",
    "-f", "rawvideo", "-pix_fmt", "gray", "-"]) for name in ("turned.mp4", "shown.png")]
assert len(pixels[0]) == 120 * 213
assert sum(abs(a - b) for a, b in zip(*pixels)) / len(pixels[0]) < 6
END
    ;;
turned)
    # The eight ways in which a camera may have been held, as its pictures say (EXIF).
    ffmpeg -v error -f lavfi -i "color=gray:size=320x240,format=gray,
        geq=lum='200-50*gte(X,160)-100*gte(Y,120)'" -frames:v 1 -q:v 2 plain.jpg || fail ffmpeg
    python3 - <<'END'
plain = open("plain.jpg", "rb").read()
for way in range(1, 9):
    tiff = b"MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0" + bytes([way]) + b"\0" * 6
    exif = b"Exif\0\0" + tiff
    open("way%d.jpg" % way, "wb").write(
        plain[:2] + b"\xff\xe1" + (len(exif) + 2).to_bytes(2, "big") + exif + plain[2:])
END
    for way in 1 2 3 4 5 6 7 8; do
        runs grey way$way.jpg --no-video -o way$way
    done
    python3 - <<'END' || fail "the turned pictures"
import subprocess
# Upper left, upper right, lower left, lower right; of the picture as it is stored 200, 150,
# 100 and 50.
shown = {1: (200, 150, 100, 50), 2: (150, 200, 50, 100), 3: (50, 100, 150, 200),
         4: (100, 50, 200, 150), 5: (200, 100, 150, 50), 6: (100, 200, 50, 150),
         7: (50, 150, 100, 200), 8: (150, 50, 200, 100)}
for way, expected in shown.items():
    width, height = (320, 240) if way < 5 else (240, 320)
    pixels = subprocess.check_output(["ffmpeg", "-v", "error", "-i", "way%d/grey.png" % way,
                                      "-f", "rawvideo", "-pix_fmt", "gray", "-"])
    stride = 3 * width + 12
    assert len(pixels) == stride * height, way
    found = [pixels[y * stride + x] for y in (height // 4, height * 3 // 4)
             for x in (width // 4, width * 3 // 4)]
    assert all(abs(f - e) < 8 for f, e in zip(found, expected)), (way, found, expected)
END
    ;;
truncated)
    ffmpeg -v error -f lavfi -i testsrc2=size=160x120:rate=25:duration=4 -c:v libx264 \
        -movflags +faststart -bf 0 whole.mp4 || fail ffmpeg
    ffmpeg -v error -i whole.mp4 -c copy whole.mkv || fail ffmpeg
    runs grey whole.mp4 --no-video
    runs grey whole.mkv --no-video
    for ending in mp4 mkv; do
        head -c $(($(wc -c <whole.$ending) * 6 / 10)) whole.$ending >cut.$ending
        "$host" grey cut.$ending --json cut.json -o cut >output 2>errors
        code=$?
        [ $code -eq 1 ] || fail "exit code $code of cut.$ending"
        grep -q "ends early: at [0-9.]* s of 4.000 s" errors || fail "not told of cut.$ending"
        holds cut.json '20 < len(d["frames"]) < 90 and "ends early" in d["trouble"]'
        written cut/grey.mp4 3000
    done
    python3 -c "
b = bytearray(open('whole.mp4', 'rb').read())
for i in range(len(b) // 2, len(b) // 2 + 2000): b[i] = i * 7919 % 251
open('damaged.mp4', 'wb').write(b)"
    "$host" grey damaged.mp4 -o cut >output 2>errors
    code=$?
    [ $code -eq 1 ] || fail "exit code $code of damage"
    grep -q "is damaged .*[0-9]\.[0-9]* s" errors || fail "damage was not told"
    says "^  whole run"
    # A broadcast: what was lost has no packets, so nothing but the times tells of it. The
    # counters go on where a multiple of 16 packets is gone.
    ffmpeg -v error -i whole.mp4 -c copy whole.ts || fail ffmpeg
    ffmpeg -v error -i whole.mp4 -c copy -output_ts_offset 1000 later.ts || fail ffmpeg
    # Frames that come unevenly, or without times of their own, miss none.
    ffmpeg -v error -i whole.mp4 -vf "select=not(mod(n\,5))+lt(n\,20)" -vsync vfr uneven.ts ||
        fail ffmpeg
    ffmpeg -v error -f lavfi -i testsrc2=size=160x120:duration=4 -c:v libx264 -f mpegts - |
        ffmpeg -v error -i - -c copy untimed.mpg || fail ffmpeg
    for name in whole.ts uneven.ts untimed.mpg; do
        runs grey $name --no-video
    done
    python3 -c "
b = open('whole.ts', 'rb').read()
p = [b[i:i + 188] for i in range(0, len(b), 188)]
n = len(p) // 2
open('gone.ts', 'wb').write(b''.join(p[:n] + p[n + 48:]))
open('zeros.ts', 'wb').write(b''.join(p[:n] + [bytes(188)] * 48 + p[n + 48:]))"
    for name in gone zeros; do
        "$host" grey $name.ts --no-video --json cut.json >output 2>errors
        code=$?
        [ $code -eq 1 ] || fail "exit code $code of $name.ts"
        holds cut.json "'%d frames are missing between ' % (100 - len(d['frames'])) in d['trouble']"
        holds cut.json "(lambda t, s: s.split(' between ')[1].startswith(
            next('%.3f s and %.3f s' % (a, b) for a, b in zip(t, t[1:]) if b - a > 0.06)))(
            [f['time'] for f in d['frames']], d['trouble'])"
    done
    cat whole.ts later.ts >jump.ts
    "$host" grey jump.ts --no-video >output 2>errors && fail "exit code of a jump"
    grep -q "jumps in time from 5[0-9.]* s to 100[0-9.]* s$" errors || fail "the jump"
    ;;
repeats)
    # Every second frame repeats the one before, as in a clip that was re-timed.
    python3 - <<'END'
import random
def texture():
    noise = random.Random(1)
    block = [[noise.randrange(256) for _ in range(51)] for _ in range(26)]
    def pixel(x, y):
        i, j, a, b = x // 8, y // 8, x % 8, y % 8
        return ((block[j][i] * (8 - a) + block[j][i + 1] * a) * (8 - b) +
                (block[j + 1][i] * (8 - a) + block[j + 1][i + 1] * a) * b) // 64
    return [bytes(pixel(x, y) for x in range(400)) for y in range(200)]
def write(name, frames):
    with open(name, "wb") as f:
        for world, x, y in frames:
            f.write(b"".join(world[y + row][x:x + 240] for row in range(160)))
one = texture()
flat = [[bytes([18 * n] * 400)] * 200 for n in range(14)]
write("frames", [(one, n // 2 * 2, n // 2) for n in range(24)])
write("cut", [(one if n < 5 else flat[n], 2 * n, n) for n in range(14)])
END
    for way in "track --engine apt" "region --rect 90,50,80,60"; do
        runs $way frames --raw 240x160 --format gray8 --no-video --json out.json
        says "held"
        holds out.json '[(f if "state" in f else f["trackers"][0])["state"]
            for f in d["frames"]][1:] == ["held", "tracked"] * 11 + ["held"]'
    done
    # Nothing was lost: the rectangle went with the texture, 22 pixels left and 11 up.
    holds out.json 'abs(d["frames"][23]["left"] - 68) < 1 and abs(d["frames"][23]["top"] - 39) < 1'
    runs track --engine klt frames --raw 240x160 --format gray8 --no-video --json out.json
    holds out.json 'all(f["trackers"][0]["state"] == "tracked" for f in d["frames"])'
    # A scene that is gone for good: after a few frames there is nothing left to follow.
    runs region cut --raw 240x160 --format gray8 --rect 90,50,80,60 --no-video --json out.json
    holds out.json '[f["state"][0] for f in d["frames"]] == list("ktttthhhhhllll")'
    ;;
editors)
    # Each form, read back as its program would, says what the table says.
    runs region -o out --size 320x240 --frames 8 --no-video \
        --editors blender,ae,nuke,mlt,webvtt
    # The longest tracks too, whose motion has no size.
    runs track -o out --size 320x240 --frames 8 --no-video \
        --editors blender,ae,nuke,mlt,webvtt
    python3 - <<'END' || fail "what editors read"
import csv, json, re, sys, types
def check(found, expected, tolerance):
    assert len(found) == len(expected) == 8, found
    for f, e in zip(found, expected):
        assert len(f) == len(e) and all(abs(float(a) - b) <= tolerance for a, b in zip(f, e)), (f, e)

# What an empty of Blender is told, run as Blender would.
class Empty:
    def __init__(self, keys):
        self.keys = keys
    def keyframe_insert(self, what, frame):
        self.keys.setdefault(frame, {})[what] = getattr(self, what)
def run_in_blender(script):
    keys = {}
    bpy = types.ModuleType("bpy")
    bpy.data = types.SimpleNamespace(
        objects=types.SimpleNamespace(new=lambda name, data: Empty(keys)))
    bpy.context = types.SimpleNamespace(collection=types.SimpleNamespace(
        objects=types.SimpleNamespace(link=lambda made: None)))
    sys.modules["bpy"] = bpy
    exec(script)
    return keys

def read_back(stem, boxes):
    centres = [(x + w / 2, y + h / 2) for x, y, w, h in boxes]
    lines = open(stem + ".nuke.txt").read().splitlines()
    check([l.split() for l in lines], [(n, x, 240 - y) for n, (x, y) in enumerate(centres)], 1e-3)
    text = open(stem + ".mlt.txt").read().strip()
    keys = [re.fullmatch(r"(\d+)=(.*) 1", k) for k in text.split(";")]
    check([k[2].split() for k in keys], boxes, 0.006)
    assert [int(k[1]) for k in keys] == list(range(8))
    text = open(stem + ".ae.txt").read()
    assert text.startswith("Adobe After Effects 8.0 Keyframe Data\n")
    assert text.endswith("End of Keyframe Data\n") and "Units Per Second\t25\n" in text
    assert "Source Width\t320\n" in text and "Source Height\t240\n" in text
    position, scale = [[l.split("\t")[2:4] for l in re.findall(r"^\t\d+\t.*$", part, re.M)]
                       for part in text.split("Transform\t")[1:]]
    check(position, centres, 1e-3)
    check(scale, [(100 * w / (boxes[0][2] or w or 1) or 100, 100 * h / (boxes[0][3] or h or 1) or 100)
                  for _, _, w, h in boxes], 1e-3)
    cues = open(stem + ".vtt").read().split("\n\n")
    assert cues[0] == "WEBVTT"
    values = [json.loads(c.splitlines()[1]) for c in cues[1:]]
    check([(v["x"], v["y"], v["width"], v["height"]) for v in values], boxes, 1e-3)
    assert [v["frame"] for v in values] == list(range(8))
    assert cues[3].startswith("00:00:00.080 --> 00:00:00.120\n"), cues[3]
    made = run_in_blender(open(stem + ".blender.py").read())
    assert sorted(made) == list(range(1, 9))
    check([made[n + 1]["location"][:2] for n in range(8)],
          [(x / 320 - 0.5, (120 - y) / 320) for x, y in centres], 1e-5)
    check([made[n + 1]["scale"][:2] for n in range(8)],
          [(w / 320, h / 320) for _, _, w, h in boxes], 1e-5)

rows = [{k: v if k == "state" else float(v) for k, v in r.items()}
        for r in csv.DictReader(open("out/region.csv"))]
read_back("out/region", [(r["left"], r["top"], r["right"] - r["left"], r["bottom"] - r["top"])
                         for r in rows])
# The four longest tracks are points that lived in all of the frames, each of one slot.
slots = {}
for r in csv.DictReader(open("out/track.csv")):
    if int(r["status"]) >= 0:
        slots.setdefault((r["slot"], int(r["frame"]) - int(r["age"])), []).append(
            (float(r["x"]) + 0.5, float(r["y"]) + 0.5, 0.0, 0.0))
whole = [boxes for boxes in slots.values() if len(boxes) == 8]
for number in range(1, 5):
    stem = "out/track-%d" % number
    first = json.loads(open(stem + ".vtt").read().split("\n\n")[1].splitlines()[1])
    found = [b for b in whole if abs(b[0][0] - first["x"]) + abs(b[0][1] - first["y"]) < 1e-3]
    assert len(found) == 1, first
    read_back(stem, found[0])
END
    refuses 2 region --editors flame
    ;;
progress)
    "$host" grey --frames 5 --size 64x48 --no-video --progress json >output 2>errors || fail
    python3 -c "
import json
lines = [json.loads(line) for line in open('errors')]
assert lines[-1]['frames'] == lines[-1]['total'] == 5 and lines[0]['progress'] == 'grey'" ||
        fail "progress"
    ;;
window)
    runs select --interactive --demo -o out --size 320x240
    for name in window labels cutout; do
        written out/$name.png 700
    done
    [ "$(grep -c "cut in" output)" -eq 11 ] || fail "not a cut for each stroke"
    # The library takes nothing back: the strokes that remain are made again.
    says "undo changed the selection: yes; redo brought it back: yes"
    holds out/strokes.json 'len(d["cuts"]) == 11 and len(d["cuts"][0][0]["path"]) == 21'
    # The strokes that were saved select the same without a window. (The scene is the window's.)
    "$host" select --size 320x240 -o scene >/dev/null && cp out/labels.png painted.png
    refuses 1 select painted.png --strokes scene/select.png
    runs select painted.png --strokes out/strokes.json -o from-file
    says "stroke 11"
    # Saved strokes are made again, and with the same ones on top nothing changes.
    runs select --interactive --demo -o out --size 320x240
    says "made 11 saved strokes again"
    holds out/strokes.json 'd["cuts"][:11] == d["cuts"][11:]'
    ;;
window_region)
    # A rectangle, the end of the clip by the bar, and a correction half way. What is written
    # begins with the one and meets the other, and is the same when it is opened once more.
    runs region --interactive --demo -o out --size 320x240 --frames 20 --editors mlt --json out.json
    holds out.json '{f["milliseconds"] for f in d["frames"]} == {None}'
    written out/window.png 10000
    written out/region.mp4 3000
    says "undo took a key frame away: yes; redo brought it back: yes"
    holds out/keys.json '[k["frame"] for k in d["keys"]] == [0, 10]'
    awk '/mean overlap/ { if ($6 > 0.85) good = 1 } END { exit !good }' output ||
        { cat output; fail "overlap with the truth"; }
    python3 - <<'END' || fail "the two key frames"
import csv, json
rows = list(csv.DictReader(open("out/region.csv")))
assert len(rows) == 20
for key in json.load(open("out/keys.json"))["keys"]:
    row = rows[key["frame"]]
    assert row["state"] == "key frame" and abs(float(row["left"]) - key["x"]) < 0.01, row
assert [r["state"] for r in rows].count("tracked") == 18
END
    cp out/region.csv before.csv
    runs region --interactive --demo -o out --size 320x240 --frames 20
    says "took 2 saved key frames"
    cut -d, -f1-8 before.csv >before && cut -d, -f1-8 out/region.csv | cmp - before || fail "anew"
    refuses 2 region --demo
    ;;
window_track)
    # The points of the rectangle stay on the panel; a second one ends them and begins anew.
    for engine in apt klt; do
        runs track --interactive --demo -o $engine --size 320x240 --frames 20 --engine $engine \
            --editors nuke --json $engine.json
        written $engine/track.mp4 3000
        written $engine/window.png 10000
        python3 - $engine <<'END' || fail "the points of $engine"
import json, sys
d = json.load(open(sys.argv[1] + ".json"))
keys = {k["frame"]: k for k in json.load(open(sys.argv[1] + "/keys.json"))["keys"]}
assert sorted(keys) == [0, 10]
status = "status" if sys.argv[1] == "apt" else "value"
for f in d["frames"]:
    points = [p for p in f["trackers"][0]["points"] if p[status] >= 0]
    assert len(points) > 5, f["frame"]
    if f["frame"] in keys:
        k = keys[f["frame"]]
        assert all(k["x"] <= p["x"] + 0.5 <= k["x"] + k["width"] and
                   k["y"] <= p["y"] + 0.5 <= k["y"] + k["height"] for p in points)
        assert {p["age"] for p in points} == {0}
    else:
        assert max(p["age"] for p in points) == f["frame"] % 10
END
    done
    refuses 2 track --interactive --compare
    ;;
bad_input)
    refuses 2
    refuses 2 gray
    refuses 2 grey --bogus
    refuses 2 grey --frames 0
    refuses 2 grey --frames many
    refuses 2 grey --size 640
    refuses 1 grey nosuch.mp4
    refuses 1 grey 'nosuch%d.png'
    echo "no picture" >text.png
    refuses 1 grey text.png
    refuses 2 grey text.png --size 64x64
    mkdir empty
    refuses 1 grey empty
    refuses 1 grey --frames 1 -o text.png/out
    refuses 1 grey --frames 1 -o /proc/nowhere
    ;;
full)
    "$host" grey --frames 2 --size 64x48 --no-video >/dev/full 2>errors
    code=$?
    [ "$code" -eq 1 ] && grep -q "standard output cannot be written" errors || fail "code $code"
    ;;
fifo)
    # Nobody feeds the pipe; a signal ends the wait for them.
    mkfifo pipe
    for way in "grey pipe" "grey pipe --raw 16x16" "region --truth pipe"; do
        "$host" $way >output 2>errors &
        process=$!
        sleep 0.5
        kill -TERM $process
        wait $process
        code=$?
        [ "$code" -eq 130 ] || fail "exit code $code of: $way"
    done
    # One that is fed is read like any file.
    ffmpeg -v error -f lavfi -i testsrc2=size=64x48:duration=1 -f mpegts -y pipe &
    runs grey pipe --no-video
    says "25 frames"
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
    [ "$(cut -d, -f1 out/track.csv | uniq | tr '\n' ' ')" = "frame 0 1 2 " ] ||
        fail "the frames of track.csv"
    holds out.json 'len(d["frames"]) == 3 and d["stopped"]'
    runs grey out/track.mp4 -o again --no-video
    says "3 frames"
    ;;
*)
    fail "no scenario $scenario"
    ;;
esac
exit 0
