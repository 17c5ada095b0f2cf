#!/bin/sh
# Makes the pictures of README and Docs by the tool: from the real clip of Examples/Footage, as
# JPEG, and a plot by the Python package. Then it prints the times that stand beside them, from
# one run of `bench`.
#
#   Tools/make_pictures.sh [BUILD_FOLDER]      default: build/release
#
# The same build gives the same pictures; each stays below 300 KB. Needs the program ffmpeg.

set -e
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/release}
host=$build/Tool/descriptor-host
clip=$root/Examples/Footage/car-park.mp4
rect=322,124,152,276  # the red car in the first frame
pictures=$root/Docs/pictures
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$pictures"

# take FOLDER FILE NAME [WIDTH]: keeps one file of a run as a picture, not wider than that.
take() {
    ffmpeg -v error -y -i "$work/$1/$2" -vf "scale='min(iw,${4:-1200})':-2" -q:v 3 \
        "$pictures/$3"
    size=$(wc -c <"$pictures/$3")
    echo "$pictures/$3: $size bytes"
    [ "$size" -lt 307200 ] || { echo "too large" >&2; exit 1; }
}

"$host" grey "$clip" -o "$work/grey" --no-video
take grey grey.png grey.jpg

"$host" track "$clip" -o "$work/track" --no-video --json "$work/track.json"
take track track.png track.jpg
PYTHONPATH=$build/Python/package /usr/bin/python3 -m descriptor.plot \
    "$work/track.json" -o "$pictures/points.png"

"$host" track "$clip" -o "$work/compare" --compare --no-video
take compare track.png compare.jpg

"$host" region "$clip" --rect $rect -o "$work/region" --no-video
take region region.png region.jpg

"$host" pyramid "$clip" -o "$work/pyramid"
take pyramid pyramid.png pyramid.jpg

"$host" select "$clip" --strokes "$root/Examples/Footage/red-car.json" -o "$work/select"
take select select.png select.jpg
take select regions.png regions.jpg 768

"$host" bench "$clip" --rect $rect
