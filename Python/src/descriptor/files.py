"""Tracks and rectangles as files: the tool's tables, and what editors read.

    frames = descriptor.files.read_points("track.csv")         # of descriptor-host
    motion = descriptor.files.motion_of(results, width=1280, height=720, frame_rate=25)
    descriptor.files.write_editor(motion, "nuke", "region.nuke.txt")

Tables are CSV or JSON by the ending of the path, with the rows and names of `descriptor-host`.
"""

from __future__ import annotations

import csv
import json
import math
import os
import re
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Callable, Iterable, NamedTuple, Sequence

import numpy as np

from ._errors import Error
from ._points import FramePoints
from ._region import RegionResult
from ._types import POINT_DTYPE, Array, Engine, PointStatus, Rect, RegionState



class FormatError(Error, ValueError):
    """A file that is none of those that are read here."""


FormatError.__module__ = "descriptor.files"

# The codes in the tables, by engine: what a lost point's status is called there.
_LOST_CODES = {
    Engine.APT: {-1: PointStatus.STATIONARY, -2: PointStatus.LOST, -3: PointStatus.CHANGED,
                 -4: PointStatus.LOW_CORRELATION},
    Engine.KLT: {-2: PointStatus.NO_TEXTURE, -3: PointStatus.UNSETTLED,
                 -4: PointStatus.OUT_OF_BOUNDS, -5: PointStatus.DIFFERENT},
}
# Where a slot was filled anew at once, no table says why its owner was lost.
_CODES = {e: {status: code for code, status in codes.items()} for e, codes in _LOST_CODES.items()}
_CODES[Engine.KLT][PointStatus.LOST] = -2

_HEAD = ["frame", "time", "state", "slot", "x", "y"]
_TAIL = ["age", "dx", "dy"]
_MARKS = {Engine.APT: ["status", "correlation"], Engine.KLT: ["value", "id"]}
_REGION = ["frame", "time", "state", "left", "top", "right", "bottom", "live_points"]


def _shortest(value: Any) -> float:
    """A float32 as the shortest decimal number that is read back as it."""
    return float(str(np.float32(value)))


def _text(value: Any) -> str:
    if value is None:
        return ""
    if isinstance(value, float):
        return repr(value)[:-2] if value.is_integer() and abs(value) < 1e16 else repr(value)
    return str(value)


def _point_row(point: Any, frame: FramePoints, engine: Engine) -> list[Any]:
    status = PointStatus(int(point["status"]))
    if status == PointStatus.FOUND:
        code = frame.frame + 1 if engine == Engine.APT else int(point["score"])
    else:
        code = 0 if status == PointStatus.TRACKED else _CODES[engine].get(status, -2)
    mark = _shortest(point["score"]) if engine == Engine.APT else int(point["id"])
    state = "held" if frame.is_repeated else "tracked"
    return [
        frame.frame, frame.time, state, int(point["slot"]), _shortest(point["x"]),
        _shortest(point["y"]), code, mark, int(point["age"]), _shortest(point["dx"]),
        _shortest(point["dy"]),
    ]


def _write_csv(path: Any, columns: Sequence[str], rows: Iterable[Sequence[Any]]) -> None:
    with open(path, "w", encoding="utf-8", newline="\n") as file:
        file.write(",".join(columns) + "\n")
        for row in rows:
            file.write(",".join(map(_text, row)) + "\n")


def write_points(
    path: str | os.PathLike[str], frames: Iterable[FramePoints], engine: Engine = Engine.APT
) -> None:
    """A row for each point that lives in a frame or was lost in it, in the order of slots."""
    columns = _HEAD + _MARKS[engine] + _TAIL

    def rows(frame: FramePoints) -> list[list[Any]]:
        points = np.concatenate((frame.lost, frame.live))
        return [
            _point_row(point, frame, engine)
            for point in points[np.argsort(points["slot"], kind="stable")]
        ]

    frames = list(frames)
    if Path(path).suffix.lower() != ".json":
        _write_csv(path, columns, (row for frame in frames for row in rows(frame)))
        return
    name = engine.text
    document = {
        "command": "track",
        "trackers": [{"tracker": name}],
        "frames": [
            {
                "frame": frame.frame,
                "time": frame.time,
                "trackers": [{
                    "tracker": name,
                    "state": "held" if frame.is_repeated else "tracked",
                    "live": len(frame),
                    "points": [dict(zip(columns[3:], row[3:])) for row in rows(frame)],
                }],
            }
            for frame in frames
        ],
        "cuts": [{"tracker": name, "frame": frame.frame} for frame in frames if frame.is_cut],
    }
    Path(path).write_text(json.dumps(document) + "\n", encoding="utf-8")


def write_region(path: str | os.PathLike[str], results: Iterable[RegionResult]) -> None:
    """A row for each frame."""
    rows = [
        [r.frame, r.time, r.state.text, _shortest(r.rect.x), _shortest(r.rect.y),
         _shortest(r.rect.x + r.rect.width), _shortest(r.rect.y + r.rect.height), len(r.points)]
        for r in results
    ]
    if Path(path).suffix.lower() != ".json":
        _write_csv(path, _REGION, rows)
        return
    document = {"command": "region", "frames": [dict(zip(_REGION, row)) for row in rows]}
    Path(path).write_text(json.dumps(document) + "\n", encoding="utf-8")


def _flat_rows(path: Any, tracker: str | None) -> list[dict[str, Any]]:
    """The rows of a table, whichever form it has."""
    try:
        if Path(path).suffix.lower() != ".json":
            with open(path, encoding="utf-8", newline="") as file:
                return list(csv.DictReader(file))
        frames = json.loads(Path(path).read_text(encoding="utf-8"))["frames"]
        rows = []
        for frame in frames:
            if "trackers" not in frame:
                rows.append(frame)
                continue
            head = {"frame": frame["frame"], "time": frame["time"]}
            for run in frame["trackers"]:
                if tracker in (None, run["tracker"]):
                    head["state"] = run["state"]
                    rows += [{**head, **point} for point in run["points"]]
                    break
        return rows
    except (ValueError, KeyError, TypeError, AttributeError) as error:
        raise FormatError(f"{path}: is no table: {error!r}") from None


def _document(path: Any) -> dict[str, Any]:
    """What a JSON says beside its frames; nothing of a CSV."""
    if Path(path).suffix.lower() != ".json":
        return {}
    try:
        document = json.loads(Path(path).read_text(encoding="utf-8"))
        return {name: value for name, value in document.items() if name != "frames"}
    except (ValueError, AttributeError) as error:
        raise FormatError(f"{path}: is no table: {error!r}") from None


def describe(path: str | os.PathLike[str], tracker: str | None = None) -> str:
    """What a table is of, in a line: the clip, the tracker and what it was asked for. A CSV says
    nothing of them, and is called by its own name."""
    head = _document(path)
    runs = [run for run in head.get("trackers", [{}]) if tracker in (None, run.get("tracker"))]
    run = runs[0] if runs else {}
    words = [Path(head.get("source", path)).name, run.get("tracker", head.get("command"))]
    for name, value in {**head.get("settings", {}), **run.get("settings", {})}.items():
        if isinstance(value, dict):
            value = ",".join(f"{part:g}" for part in value.values())
        words.append(f"{name} {str(value).lower() if isinstance(value, bool) else value}")
    return ", ".join(word for word in words if word)


def read_milliseconds(path: str | os.PathLike[str]) -> dict[str, list[tuple[int, float]]]:
    """The time that the library took, as (frame, milliseconds), of every run that a JSON of
    `descriptor-host` or a `region.csv` has. Points have it in JSON alone."""
    times: dict[str, list[tuple[int, float]]] = {}
    try:
        rows = (json.loads(Path(path).read_text(encoding="utf-8"))["frames"]
                if Path(path).suffix.lower() == ".json" else _flat_rows(path, None))
        for row in rows:
            for run in row.get("trackers", [row]):
                for name, value in run.items():
                    if name.endswith("milliseconds") and value not in (None, ""):
                        kind = name.removesuffix("milliseconds").strip("_").replace("_", " ")
                        label = run.get("tracker", kind or "region")
                        times.setdefault(label, []).append((int(row["frame"]), float(value)))
    except (ValueError, KeyError, TypeError, AttributeError) as error:
        raise FormatError(f"{path}: is no table: {error!r}") from None
    if not times:
        raise FormatError(f"{path}: says no milliseconds")
    return times


def _number(value: Any) -> float | None:
    return None if value in (None, "") else float(value)


def read_points(path: str | os.PathLike[str], tracker: str | None = None) -> list[FramePoints]:
    """The frames of a `track.csv` or of the JSON of a track; frames without points are not in
    CSV.

    tracker  of a JSON with two, the name of the one that is meant; else the first

    A table has no correlation of KLT and no way back, and a CSV no marks of cuts: those have the
    values of a tracker that was not asked. An id is counted where a table has none.
    """
    rows = _flat_rows(path, tracker)
    head = _document(path)
    meant = tracker or head.get("trackers", [{}])[0].get("tracker")
    cuts = {cut["frame"] for cut in head.get("cuts", []) if cut["tracker"] == meant}
    if rows and not {"slot", "x", "y", "age"} <= rows[0].keys():
        raise FormatError(f"{path}: has no columns slot, x, y and age")
    engine = Engine.KLT if rows and "value" in rows[0] else Engine.APT
    codes, mark = _LOST_CODES[engine], _MARKS[engine][0]
    owners: dict[int, int] = {}
    names = 0
    frames: list[FramePoints] = []
    lists: dict[int, tuple[list[Any], list[Any]]] = {}
    heads: dict[int, tuple[float | None, bool]] = {}
    try:
        for row in rows:
            number, slot, code = int(row["frame"]), int(row["slot"]), int(row[mark])
            heads[number] = (_number(row["time"]), row["state"] == "held")
            live, lost = lists.setdefault(number, ([], []))
            if code < 0 and slot not in owners:
                continue  # older tables have a row for each free slot as well
            if code > 0 and int(row["age"]) == 0:
                owners[slot] = names
                names += 1
            name = owners.setdefault(slot, names)
            names = max(names, name + 1)
            if engine == Engine.KLT:
                name = int(row["id"])
            status = (PointStatus.FOUND if code > 0 else PointStatus.TRACKED if code == 0
                      else codes.get(code, PointStatus.LOST))
            score = float(row["correlation"]) if engine == Engine.APT else 0.0
            point = (name, slot, int(status), float(row["x"]), float(row["y"]),
                     float(row["dx"]), float(row["dy"]), int(row["age"]), score, math.nan, True)
            (lost if code < 0 else live).append(point)
            if code < 0:
                del owners[slot]
    except (ValueError, KeyError, TypeError) as error:
        raise FormatError(f"{path}: is no table of points: {error!r}") from None
    for number, (live, lost) in lists.items():
        frames.append(FramePoints(
            np.array(live, POINT_DTYPE), np.array(lost, POINT_DTYPE), number, *heads[number],
            number in cuts,
        ))
    return frames


def read_region(path: str | os.PathLike[str]) -> list[RegionResult]:
    """The results of a `region.csv` or of the JSON of a region, without their points."""
    states = {state.text: state for state in RegionState}
    results = []
    try:
        for row in _flat_rows(path, None):
            left, top = float(row["left"]), float(row["top"])
            rect = Rect(left, top, float(row["right"]) - left, float(row["bottom"]) - top)
            results.append(RegionResult(
                rect, states[row["state"]], None, np.empty(0, POINT_DTYPE), int(row["frame"]),
                _number(row["time"]),
            ))
    except (ValueError, KeyError, TypeError) as error:
        raise FormatError(f"{path}: is no table of a region: {error!r}") from None
    return results


class Key(NamedTuple):
    """Where something is in a frame; a point has a rectangle without width and height."""

    frame: int
    time: float
    rect: Rect


@dataclass(frozen=True)
class Motion:
    """A run of a point or rectangle in a picture of a size; y downward, (0, 0) the picture's
    corner."""

    width: int
    height: int
    frame_rate: float
    keys: list[Key] = field(default_factory=list)


def motion_of(
    results: Iterable[RegionResult], width: int, height: int, frame_rate: float
) -> Motion:
    """The motion of a tracked rectangle."""
    keys = [
        Key(r.frame, r.frame / frame_rate if r.time is None else r.time, r.rect)
        for r in results
    ]
    return Motion(width, height, frame_rate, keys)


def longest_motions(
    frames: Iterable[FramePoints], width: int, height: int, frame_rate: float, count: int = 4
) -> list[Motion]:
    """The motions of the points that were followed longest, the longest first."""
    paths: dict[int, list[Key]] = {}
    slots: dict[int, int] = {}
    ended: list[int] = []
    for frame in frames:
        ended += [int(name) for name in frame.lost["id"]]
        time = frame.frame / frame_rate if frame.time is None else frame.time
        for point in frame.live:
            rect = Rect(float(point["x"]) + 0.5, float(point["y"]) + 0.5, 0.0, 0.0)
            slots[int(point["id"])] = int(point["slot"])
            paths.setdefault(int(point["id"]), []).append(Key(frame.frame, time, rect))
    alive = sorted(set(paths) - set(ended), key=lambda name: slots[name])
    order = sorted([*ended, *alive], key=lambda name: -len(paths[name]))
    return [Motion(width, height, frame_rate, paths[name]) for name in order[:count]]


# What editors read. Blender counts frames from 1, over a plane of one unit's width, y upward.
_BLENDER_END = """]
import bpy
track = bpy.data.objects.new('track', None)
bpy.context.collection.objects.link(track)
for frame, x, y, width, height in keys:
    track.location = (x, y, 0.0)
    track.scale = (width, height, 1.0)
    track.keyframe_insert('location', frame=frame)
    track.keyframe_insert('scale', frame=frame)
"""


def _blender(motion: Motion) -> str:
    text = (
        "# Run in Blender's text editor: makes an empty that moves as the track does.\n"
        "# frame, x and y of the centre, width, height; y upward, the picture 1 unit wide\n"
        "keys = [\n"
    )
    for key in motion.keys:
        x, y = key.rect.centre
        text += "    (%d, %.7f, %.7f, %.7f, %.7f),\n" % (
            key.frame + 1, x / motion.width - 0.5, (0.5 * motion.height - y) / motion.width,
            key.rect.width / motion.width, key.rect.height / motion.width)
    return text + _BLENDER_END


def _after_effects(motion: Motion) -> str:
    text = "Adobe After Effects 8.0 Keyframe Data\n\n"
    text += "\tUnits Per Second\t%.6g\n" % motion.frame_rate
    text += "\tSource Width\t%d\n\tSource Height\t%d\n" % (motion.width, motion.height)
    text += "\tSource Pixel Aspect Ratio\t1\n\tComp Pixel Aspect Ratio\t1\n\n"
    text += "Transform\tPosition\n\tFrame\tX pixels\tY pixels\tZ pixels\n"
    for key in motion.keys:
        text += "\t%d\t%.4f\t%.4f\t0\n" % (key.frame, *key.rect.centre)
    text += "\nTransform\tScale\n\tFrame\tX percent\tY percent\tZ percent\n"
    for key in motion.keys:
        first = motion.keys[0].rect
        text += "\t%d\t%.4f\t%.4f\t100\n" % (
            key.frame,
            100.0 * key.rect.width / first.width if first.width > 0 else 100.0,
            100.0 * key.rect.height / first.height if first.height > 0 else 100.0)
    return text + "\nEnd of Keyframe Data\n"


def _nuke(motion: Motion) -> str:
    return "".join(
        "%d %.4f %.4f\n" % (k.frame, k.rect.centre[0], motion.height - k.rect.centre[1])
        for k in motion.keys)


def _mlt(motion: Motion) -> str:
    return ";".join("%d=%.2f %.2f %.2f %.2f 1" % (k.frame, *k.rect) for k in motion.keys) + "\n"


def _clock(seconds: float) -> str:
    ms = math.floor(max(0.0, seconds) * 1e3 + 0.5)
    return "%02d:%02d:%02d.%03d" % (ms // 3600000, ms // 60000 % 60, ms // 1000 % 60, ms % 1000)


def _webvtt(motion: Motion) -> str:
    text = "WEBVTT\n"
    ends = [k.time for k in motion.keys[1:]] + [
        k.time + 1.0 / motion.frame_rate for k in motion.keys[-1:]]
    for key, end in zip(motion.keys, ends):
        cue = {"frame": key.frame, **key.rect._asdict()}
        text += f"\n{_clock(key.time)} --> {_clock(end)}\n"
        text += json.dumps(cue, separators=(",", ":")) + "\n"
    return text


_WRITERS: dict[str, tuple[str, Callable[[Motion], str]]] = {
    "blender": (".blender.py", _blender),
    "ae": (".ae.txt", _after_effects),
    "nuke": (".nuke.txt", _nuke),
    "mlt": (".mlt.txt", _mlt),
    "webvtt": (".vtt", _webvtt),
}
#: blender  a Python script: an empty with key frames, in Blender's text editor
#: ae       Adobe After Effects key-frame text: position and scale, for the clipboard
#: nuke     tracker ASCII of Nuke and Natron: frame, x, y, with y upward
#: mlt      MLT's animation string of a rectangle (Kdenlive, Shotcut)
#: webvtt   WebVTT metadata cues with a JSON rectangle each
EDITORS = tuple(_WRITERS)


def editor_file_name(stem: str, form: str) -> str:
    """As "region.vtt" for "region" and "webvtt"."""
    if form not in _WRITERS:
        raise ValueError(f"form: expected one of {', '.join(EDITORS)}, got {form!r}")
    return stem + _WRITERS[form][0]


def write_editor(motion: Motion, form: str, path: str | os.PathLike[str]) -> None:
    """The motion as an editor reads it: the file that `descriptor-host --editors` writes."""
    editor_file_name("", form)
    with open(path, "w", encoding="utf-8", newline="\n") as file:
        file.write(_WRITERS[form][1](motion))


def read_editor(
    path: str | os.PathLike[str],
    form: str,
    width: int,
    height: int,
    frame_rate: float,
    size: tuple[float, float] = (0.0, 0.0),
) -> Motion:
    """The motion of an editor's file, for a picture of a size.

    size  of the rectangle in the first frame, which "ae" and "nuke" do not say

    Coordinates have the digits of the file.
    """
    editor_file_name("", form)
    text = Path(path).read_text(encoding="utf-8")
    number = r"(-?[\d.]+(?:e[-+]?\d+)?)"
    keys = []

    def add(frame: str, x: float, y: float, w: float, h: float) -> None:
        n = int(frame)
        keys.append(Key(n, n / frame_rate, Rect(x - w / 2, y - h / 2, w, h)))

    if form == "blender":
        for f, *rest in re.findall(r"^    \((\d+), " + ", ".join([number] * 4) + r"\),$", text,
                                   re.MULTILINE):
            x, y, w, h = (float(v) * width for v in rest)
            add(str(int(f) - 1), x + width / 2, height / 2 - y, w, h)
    elif form == "ae":
        position, _, scale = text.partition("Transform\tScale")
        row = rf"^\t(\d+)\t{number}\t{number}\t\d+$"
        scales = {f: (float(x), float(y)) for f, x, y in re.findall(row, scale, re.MULTILINE)}
        for f, x, y in re.findall(row, position, re.MULTILINE):
            sx, sy = scales.get(f, (100.0, 100.0))
            add(f, float(x), float(y), size[0] * sx / 100, size[1] * sy / 100)
    elif form == "nuke":
        for f, x, y in re.findall(rf"^(\d+) {number} {number}$", text, re.MULTILINE):
            add(f, float(x), height - float(y), *size)
    elif form == "mlt":
        for f, *rest in re.findall(r"(\d+)=" + " ".join([number] * 4) + " 1", text):
            x, y, w, h = map(float, rest)
            add(f, x + w / 2, y + h / 2, w, h)
    else:
        cue = r"^(\d+):(\d+):(\d+)\.(\d+) --> .*\n(\{.*\})$"
        for hours, minutes, seconds, ms, body in re.findall(cue, text, re.MULTILINE):
            c = json.loads(body)
            time = int(hours) * 3600 + int(minutes) * 60 + int(seconds) + int(ms) / 1000
            keys.append(Key(c["frame"], time, Rect(c["x"], c["y"], c["width"], c["height"])))
    if not keys:
        raise FormatError(f"{path}: has no key frames of the form {form!r}")
    return Motion(width, height, frame_rate, keys)


def positions(motion: Motion) -> Array:
    """The centres: float64 (n, 2)."""
    return np.array([key.rect.centre for key in motion.keys], np.float64).reshape(-1, 2)
