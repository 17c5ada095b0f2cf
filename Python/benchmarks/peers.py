#!/usr/bin/python3
"""Whole calls as a user writes them, beside OpenCV's and scikit-image's, in one run.

    PYTHONPATH=build/release/Python/package Python/benchmarks/peers.py [--seconds 1] [PART ...]

Parts: points, region, selection, binding, threads, processes. Each figure is the median of
rounds in which the candidates take turns; `cv2` keeps to one thread, as this library does.
What a peer finds is not what this library finds: the counts stand beside the times.
"""

import argparse
import statistics
import threading
import time
from pathlib import Path

import descriptor
import numpy as np
from descriptor import Engine, Label, PointSettings, Stroke, _core, plot

CLIP = str(Path(__file__).resolve().parents[2] / "Examples/Footage/car-park.mp4")


def rounds(candidates, seconds):
    """Milliseconds of each candidate, by its name; `candidates` are functions."""
    times = {name: [] for name in candidates}
    end = time.perf_counter() + seconds * len(candidates)
    while time.perf_counter() < end or min(map(len, times.values())) < 3:
        for name, call in candidates.items():
            start = time.perf_counter()
            call()
            times[name].append((time.perf_counter() - start) * 1e3)
    return {name: statistics.median(values) for name, values in times.items()}


def show(title, times, note=""):
    print(f"\n{title}")
    for name, value in times.items():
        print(f"  {name:44} {value:9.3f} ms")
    if note:
        print(f"  {note}")


def resized(frames, width, height):
    import cv2

    return [cv2.resize(frame, (width, height), interpolation=cv2.INTER_AREA) for frame in frames]


def clip_frames():
    return [plot.rgb(f)[..., ::-1].copy() for f in descriptor.frames(CLIP, stop=10)]


def points(seconds):
    import cv2

    cv2.setNumThreads(1)
    frames = resized(clip_frames(), 854, 480)
    counts = {}

    def ours(engine):
        with descriptor.PointTracker(
            PointSettings(engine=engine, max_points=300), channels="bgr"
        ) as tracker:
            counts[engine.text] = sum((p["age"] > 0).sum() for p in tracker.run(frames))

    def peer():
        before, places, found = None, None, 0
        for frame in frames:
            grey = cv2.cvtColor(frame, cv2.COLOR_BGR2GRAY)
            if before is not None and len(places):
                places, status, _ = cv2.calcOpticalFlowPyrLK(before, grey, places, None)
                places = places[status.ravel() == 1].reshape(-1, 1, 2)
                found += len(places)
            if before is None or len(places) < 270:
                mask = np.full(grey.shape, 255, np.uint8)
                for x, y in places.reshape(-1, 2) if places is not None else ():
                    cv2.circle(mask, (int(x), int(y)), 10, 0, -1)
                more = cv2.goodFeaturesToTrack(
                    grey, 300 - (0 if places is None else len(places)), 0.01, 10, mask=mask)
                if more is not None:
                    places = more if places is None else np.vstack((places, more))
            before = grey
        counts["cv2"] = found

    times = rounds({"descriptor, APT": lambda: ours(Engine.APT),
                    "descriptor, KLT": lambda: ours(Engine.KLT),
                    "cv2 goodFeaturesToTrack + calcOpticalFlowPyrLK": peer}, seconds)
    show("Points, 300 at most, 854x480, a frame",
         {name: value / len(frames) for name, value in times.items()},
         f"steps of points: {counts}")


def region(seconds):
    import cv2

    frames = resized(clip_frames(), 854, 480)
    start = tuple(int(v * 854 / 768) for v in (322, 124, 152, 276))

    def ours():
        with descriptor.RegionTracker(start, channels="bgr") as tracker:
            list(tracker.run(frames))

    candidates = {"descriptor": ours}
    legacy = getattr(cv2, "legacy", cv2)
    for name in ("TrackerCSRT", "TrackerMedianFlow", "TrackerKCF", "TrackerMIL"):
        make = getattr(cv2, name + "_create", None) or getattr(legacy, name + "_create", None)
        if make is None:
            print(f"  cv2 {name}: this OpenCV has none")
            continue

        def peer(make=make):
            tracker = make()
            tracker.init(frames[0], start)
            for frame in frames[1:]:
                tracker.update(frame)

        candidates["cv2 " + name] = peer
    times = rounds(candidates, seconds)
    show("A rectangle, 854x480, a frame", {n: t / len(frames) for n, t in times.items()})


def selection(seconds):
    import cv2

    picture = clip_frames()[0]
    strokes = [Stroke([(395, 170), (395, 330)], 8),
               Stroke([(20, 20), (748, 20), (748, 410), (20, 410), (20, 20)], 6,
                      Label.BACKGROUND)]
    seeds = np.zeros(picture.shape[:2], np.int32)
    for label, stroke in ((1, strokes[0]), (2, strokes[1])):
        cv2.polylines(seeds, [np.int32(stroke.path)], False, label, int(2 * stroke.radius))
    grab = np.select([seeds == 1, seeds == 2], [cv2.GC_FGD, cv2.GC_BGD], cv2.GC_PR_BGD)

    def ours():
        with descriptor.Selection(picture, channels="bgr") as cut:
            cut.add(strokes)

    candidates = {
        "descriptor": ours,
        "cv2 grabCut, one iteration": lambda: cv2.grabCut(
            picture, grab.astype(np.uint8), None, np.zeros((1, 65)), np.zeros((1, 65)), 1,
            cv2.GC_INIT_WITH_MASK),
        "cv2 watershed": lambda: cv2.watershed(picture, seeds.copy()),
    }
    try:
        from skimage.segmentation import watershed

        grey = cv2.cvtColor(picture, cv2.COLOR_BGR2GRAY)
        candidates["skimage watershed"] = lambda: watershed(cv2.Sobel(grey, 5, 1, 1), seeds)
    except ImportError:
        print("  skimage: not here (python3-skimage)")
    show("A selection, 768x432, first strokes", rounds(candidates, seconds))


def binding(seconds):
    """A frame of 1x1 is a call with hardly any work: what is left is the way there and back."""
    tiny = np.zeros((1, 1), np.uint8)
    tracker, region_tracker = descriptor.PointTracker(), descriptor.RegionTracker((0, 0, 1, 1))
    core, source = _core.GreyFrames(_core.Source()), descriptor.PointTracker()
    source.advance(tiny)

    def many(call):
        def thousand():
            for _ in range(1000):
                call()

        return thousand

    calls = {
        "grey of 1x1": lambda: descriptor.grey(tiny),
        "its work in C++ and the array": lambda: core.convert(tiny, False, "rgb", None),
        "PointTracker.advance of 1x1": lambda: tracker.advance(tiny),
        "RegionTracker.advance of 1x1": lambda: region_tracker.advance(tiny),
    }
    times = rounds({name: many(call) for name, call in calls.items()}, seconds)
    print("\nA call, with the library's work on one pixel (which is more than nothing)")
    for name, value in times.items():
        print(f"  {name:44} {value:9.3f} us")
    frames = resized(clip_frames(), 854, 480)

    def steps():
        with descriptor.PointTracker() as one:
            for frame in frames:
                one.advance(frame, channels="bgr")

    frame = rounds({"a": steps}, seconds)["a"] / len(frames)
    most = max(times.values())
    print(f"  the largest is {most / 10 / frame:.2f} % of a frame of 854x480, {frame:.2f} ms")


def threads(seconds):
    frames = clip_frames()

    def run():
        with descriptor.PointTracker(channels="bgr") as tracker:
            list(tracker.run(frames))

    def two():
        workers = [threading.Thread(target=run) for _ in range(2)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()

    times = rounds({"one clip in one thread": run, "two clips in two threads": two}, seconds)
    one, both = times.values()
    show("Threads", times, f"two threads do {2 * one / both:.2f} of one")


def processes(seconds):
    from descriptor import batch
    from distributed import Client, LocalCluster

    rates = {}
    for count in (1, 2):
        with LocalCluster(n_workers=count, threads_per_worker=1, dashboard_address=None,
                          silence_logs="CRITICAL") as cluster, Client(cluster) as client:
            work = [batch.Span(CLIP, 0, 20 - n % 3) for n in range(3)]
            list(batch.map(work, batch.points(), client))  # imports and first pages
            done, start = 0, time.perf_counter()
            while time.perf_counter() - start < 3 * seconds:
                work = [batch.Span(CLIP, n % 4, 20 - n // 4) for n in range(12)]
                done += sum(len(o.result["frame"]) for o in batch.map(work, batch.points(), client))
            rates[count] = done / (time.perf_counter() - start)
    print("\nProcesses: frames a second of 768x432 with decoding, 500 points")
    for count, rate in rates.items():
        print(f"  {count} {rate:9.1f}")
    print(f"  two do {rates[2] / rates[1]:.2f} of one")


def main():
    parts = {f.__name__: f for f in (points, region, selection, binding, threads, processes)}
    parser = argparse.ArgumentParser()
    parser.add_argument("--seconds", type=float, default=1.0, help="for each candidate")
    parser.add_argument("parts", nargs="*", choices=[[], *parts], default=[])
    options = parser.parse_args()
    for name, part in parts.items():
        if not options.parts or name in options.parts:
            part(options.seconds)


if __name__ == "__main__":
    main()
