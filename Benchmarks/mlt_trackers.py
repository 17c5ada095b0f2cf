#!/usr/bin/env python3
"""The trackers of MLT beside each other, on clips with known rectangles.

usage: mlt_trackers.py TREE CLIPS [--steps N] [--library FOLDER ...]

TREE is build/release/Plugins/MLT/tree. CLIPS is a folder of clips, each a folder with frames
0001.jpg and on and boxes.txt, a line X,Y,W,H a frame. Each tracker gets the rectangle of the
first frame, and runs as `melt ... -consumer xml` in a process that sees the modules core,
avformat, xml and the one it is in. Needs melt and ffmpeg, and MLT's OpenCV module.

Prints for each tracker the mean overlap with the truth (shared area by the area of both), by
clip and over all, frames a second of the whole process, the time of a run over one frame, the
processor's time of that run beyond one without a tracker (in a process that sees core, avformat
and xml alone), and the most memory.
"""
import argparse
import os
import pathlib
import re
import subprocess
import tempfile
import time
import xml.etree.ElementTree as ElementTree

MODULES = pathlib.Path("/usr/lib/x86_64-linux-gnu/mlt-7")
TRACKERS = [("descriptor", "descriptor.tracker", [])] + [
    (name, "opencv.tracker", [f"algo={name}"]) for name in ("KCF", "CSRT", "MOSSE", "MEDIANFLOW")]
ONE_FRAME = ("in=0", "out=0")


def overlap(one, other):
    width = min(one[0] + one[2], other[0] + other[2]) - max(one[0], other[0])
    height = min(one[1] + one[3], other[1] + other[3]) - max(one[1], other[1])
    if width <= 0 or height <= 0:
        return 0.0
    both = width * height
    return both / (one[2] * one[3] + other[2] * other[3] - both)


def measured(command, environment):
    """Seconds, the processor's, and the most memory in MB, of a process of its own."""
    start = time.monotonic()
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    _, _, usage = os.wait4(process.pid, 0)
    return (time.monotonic() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024)


def least(runs):
    """The least time, and the least of the processor's, of runs as `measured` tells them."""
    return tuple(min(values) for values in list(zip(*runs))[:2])


class Bench:
    def __init__(self, arguments, folder):
        self.folder, self.steps = folder, arguments.steps
        self.environment = {}
        for module in ("descriptor", "opencv", ""):
            tree = folder / f"modules-{module}"
            tree.mkdir()
            for name in filter(None, ("core", "avformat", "xml", module)):
                home = arguments.tree / "modules" if name == "descriptor" else MODULES
                (tree / f"libmlt{name}.so").symlink_to((home / f"libmlt{name}.so").resolve())
            self.environment[module] = {
                **os.environ, "MLT_REPOSITORY": str(tree),
                "LD_LIBRARY_PATH": ":".join(arguments.library or [])}

    def melt(self, module, clip, *more):
        out = self.folder / "out.mlt"
        out.unlink(missing_ok=True)
        return measured(["melt", "-silent", str(clip), *more, "-consumer", f"xml:{out}", "all=1",
                         "real_time=-1"], self.environment[module])

    def run(self, clip, tracker, rectangle, *more):
        _, service, properties = tracker
        figures = self.melt(
            service.split(".")[0], clip, *more, "-filter", service,
            "rect=" + " ".join(map(str, rectangle)), f"steps={self.steps}", "shape_width=1",
            *properties)
        node = ElementTree.parse(self.folder / "out.mlt").find(
            ".//filter/property[@name='results']")
        text = "" if node is None else node.text
        found = {int(key[0]): tuple(map(float, key[1:])) for key in re.findall(
            r"(\d+)~=([-\d.]+) ([-\d.]+) ([-\d.]+) ([-\d.]+)", text)}
        return found, *figures


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tree", type=pathlib.Path)
    parser.add_argument("clips", type=pathlib.Path)
    parser.add_argument("--steps", type=int, default=1)
    parser.add_argument("--library", action="append")
    arguments = parser.parse_args()
    arguments.tree = arguments.tree.resolve()
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        bench = Bench(arguments, folder)
        clips = {}
        for boxes in sorted(arguments.clips.glob("*/boxes.txt")):
            clip = folder / f"{boxes.parent.name}.mkv"
            subprocess.run(["ffmpeg", "-v", "error", "-i", f"{boxes.parent}/%04d.jpg", "-c:v",
                            "ffv1", "-pix_fmt", "yuv420p", str(clip)], check=True)
            clips[clip] = [tuple(map(float, line.split(","))) for line in
                           boxes.read_text("ascii").split()]
        print("| tracker | " + " | ".join(clip.stem for clip in clips) +
              " | mean | frames/s | one frame, s | tracker's share, s | memory, MB |")
        print("|---" * (len(clips) + 6) + "|")
        alone = sum(least(bench.melt("", clip, *ONE_FRAME) for _ in range(5))[1]
                    for clip in clips) / len(clips)
        for tracker in TRACKERS:
            means, frames, seconds, memory, starts = [], 0, 0.0, 0.0, []
            for clip, truth in clips.items():
                first = tuple(round(value) for value in truth[0])
                found, time_used, _, most = bench.run(clip, tracker, first)
                means.append(sum(overlap(found[at], truth[at]) for at in found) / len(truth))
                frames += len(truth)
                seconds += time_used
                memory = max(memory, most)
                starts.append(least(bench.run(clip, tracker, first, *ONE_FRAME)[1:]
                                    for _ in range(5)))
            cells = [f"{value:.3f}" for value in [*means, sum(means) / len(means)]]
            start, busy = (sum(values) / len(starts) for values in zip(*starts))
            print(f"| {tracker[0]} | {' | '.join(cells)} | {frames / seconds:.1f} | {start:.2f} | "
                  f"{busy - alone:.3f} | {memory:.0f} |", flush=True)


if __name__ == "__main__":
    main()
