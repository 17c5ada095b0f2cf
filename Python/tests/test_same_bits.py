"""The same runs in C++ (same_bits.cpp) and here give the same bytes, and so one digest."""

import hashlib
import os
import struct
import subprocess

import descriptor
import numpy as np
import pytest
from conftest import moving, point_bytes
from descriptor import Engine, Label, PointSettings, RegionSettings, Stroke

START = (60, 50, 70, 60)


def clip():
    """Moving colour; one frame twice, then another picture, then black."""
    frames = moving(6, width=240, height=180)
    frames += [frames[5], moving(1, width=240, height=180, seed=9)[0], frames[5] * 0]
    return [np.dstack((f, np.roll(f, 40, 0), 255 - f)) for f in frames]


def points(frames, settings):
    tracker = descriptor.PointTracker(settings, channels="bgr")
    for n, frame in enumerate(frames):
        p = tracker.advance(frame, time=n / 8)
        yield point_bytes(p.live) + point_bytes(p.lost)
        yield struct.pack("=qd??", p.frame, p.time, p.is_repeated, p.is_cut)


def region_bytes(result):
    lost = -1 if result.lost_since is None else result.lost_since
    return struct.pack("=4diq", *result.rect, result.state, lost) + point_bytes(result.points)


def region(frames):
    settings = RegionSettings(max_points=200, hold_frames=0)
    tracker = descriptor.RegionTracker(START, settings, channels="bgr")
    yield from map(region_bytes, tracker.run(frames))
    yield region_bytes(tracker.correct((20.5, 30.25, 80, 70)))
    yield region_bytes(tracker.advance(frames[0]))


def between(frames):
    keys = [(0, START), (3, (66, 53, 70, 60)), (5, (70, 55, 70, 60))]
    yield from map(region_bytes, descriptor.track_between(frames, keys, channels="bgr"))


def selection(frames):
    with descriptor.Selection(frames[0], channels="bgr") as cut:
        cut.add([Stroke([(60.5, 50), (90, 70.25)], 6),
                 Stroke([(5, 5), (200, 5)], 4.5, Label.BACKGROUND)])
        yield cut.mask.tobytes()
        cut.add(Stroke([(120, 100)], 9))
        yield cut.mask.tobytes()
        cut.undo()
        cut.add(Stroke([(100, 40)], 3, Label.BACKGROUND))
        yield cut.mask.tobytes()
        yield from (line.tobytes() for line in cut.outline())


def grey(frames):
    for frame in frames:
        for dtype in (np.uint8, np.float32):
            yield descriptor.grey(frame, dtype=dtype, channels="bgr").tobytes()


RUNS = {
    "apt": lambda frames: points(frames, PointSettings()),
    "apt verified": lambda frames: points(frames, PointSettings(
        max_points=60, min_points=10, min_distance=5, stationary_limit=0.5, verify=True,
        round_trip=0.25)),
    "klt": lambda frames: points(frames, PointSettings(
        engine=Engine.KLT, max_points=90, round_trip=0.5)),
    "region": region,
    "between": between,
    "selection": selection,
    "grey": grey,
}


@pytest.fixture(scope="module")
def made_in_cpp(tmp_path_factory):
    folder = tmp_path_factory.mktemp("cpp")
    frames = clip()
    height, width, _ = frames[0].shape
    with open(folder / "clip", "wb") as file:
        file.write(f"{width} {height} {len(frames)}\n".encode())
        for frame in frames:
            file.write(frame.tobytes())
    subprocess.run([os.environ["SAME_BITS"], folder / "clip", folder], check=True)
    return folder


@pytest.mark.parametrize("name", RUNS)
def test_one_digest(name, made_in_cpp):
    here = b"".join(RUNS[name](clip()))
    there = (made_in_cpp / name).read_bytes()
    assert len(here) > 1000
    assert hashlib.sha256(here).hexdigest() == hashlib.sha256(there).hexdigest()
