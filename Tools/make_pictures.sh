#!/bin/sh
# Makes the pictures of README and Docs from the tool's own rendered clips.
#
#   Tools/make_pictures.sh [BUILD_FOLDER]      default: build
#
# The same build gives the same pictures; each stays below 300 KB.

set -e
root=$(cd "$(dirname "$0")/.." && pwd)
host=${1:-$root/build}/Tool/descriptor-host
pictures=$root/Docs/pictures
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$pictures"

# take FOLDER FILE NAME: keeps one file of a run as a picture.
take() {
    cp "$work/$1/$2" "$pictures/$3"
    size=$(wc -c <"$pictures/$3")
    echo "$pictures/$3: $size bytes"
    [ "$size" -lt 307200 ] || { echo "too large" >&2; exit 1; }
}

"$host" grey -o "$work/grey" --size 352x264 --frames 40 --no-video
take grey grey.png grey.png

"$host" track -o "$work/track" --size 480x360 --frames 90 --no-video --plots "$work/plots"
take track track.png track.png
take plots points.png points.png

"$host" track -o "$work/compare" --size 400x300 --frames 90 --features 250 --compare --no-video
take compare track.png compare.png

"$host" region -o "$work/region" --size 480x360 --frames 90 --min-distance 7 --no-video
take region region.png region.png

"$host" pyramid -o "$work/pyramid" --size 272x204 --frame 40
take pyramid pyramid.png pyramid.png

"$host" select -o "$work/select" --size 352x264
take select select.png select.png
take select regions.png regions.png
