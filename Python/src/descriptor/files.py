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
from contextlib import contextmanager
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Callable, Iterable, Iterator, NamedTuple, Sequence, Union

import numpy as np

from ._errors import Error
from ._points import FramePoints
from ._region import RegionResult
from ._types import POINT_DTYPE, Array, Engine, PointStatus, Rect, RegionState



class FormatError(Error, ValueError):
    """A file that is none of those that are read here."""


FormatError.__module__ = "descriptor.files"


@contextmanager
def _reading(path: Any, what: str = "table") -> Iterator[None]:
    """What goes wrong with the contents of a file becomes a FormatError, in a short line."""
    try:
        yield
    except FormatError:
        raise
    except (ValueError, LookupError, TypeError, AttributeError, OverflowError, RecursionError,
            csv.Error) as error:
        text = f"{type(error).__name__}: {error}"
        if len(text) > 120:  # some repeat all that they could not read
            text = text[:120] + "..."
        raise FormatError(f"{path}: is no {what}: {text}") from None


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


def _is_json(path: Any) -> bool:
    return Path(path).suffix.lower() == ".json"


def _write_csv(path: Any, columns: Sequence[str], rows: Iterable[Sequence[Any]]) -> None:
    with open(path, "w", encoding="utf-8", newline="\n") as file:
        file.write(",".join(columns) + "\n")
        for row in rows:
            file.write(",".join(map(_text, row)) + "\n")


def write_points(
    path: str | os.PathLike[str], frames: Iterable[FramePoints], engine: Engine = Engine.APT
) -> None:
    """A row for each point that lives in a frame or was lost in it, in the order of slots.

    A CSV is written frame by frame, and has those that came before one that raises.
    """
    columns = _HEAD + _MARKS[engine] + _TAIL

    def rows(frame: FramePoints) -> list[list[Any]]:
        points = np.concatenate((frame.lost, frame.live))
        return [
            _point_row(point, frame, engine)
            for point in points[np.argsort(points["slot"], kind="stable")]
        ]

    if not _is_json(path):
        _write_csv(path, columns, (row for frame in frames for row in rows(frame)))
        return
    frames = list(frames)
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
    rows = (
        [r.frame, r.time, r.state.text, _shortest(r.rect.x), _shortest(r.rect.y),
         _shortest(r.rect.x + r.rect.width), _shortest(r.rect.y + r.rect.height), len(r.points)]
        for r in results
    )
    if not _is_json(path):
        _write_csv(path, _REGION, rows)
        return
    document = {"command": "region", "frames": [dict(zip(_REGION, row)) for row in rows]}
    Path(path).write_text(json.dumps(document) + "\n", encoding="utf-8")


class Table(NamedTuple):
    """A table that `open_table` has opened, for several readings."""

    path: str
    head: dict[str, Any]  #: what a JSON says beside its frames; nothing of a CSV
    rows: list[dict[str, Any]]  #: of a CSV; the frames of a JSON

    @property
    def command(self) -> str:
        """The command of `descriptor-host` that such a table is of: what a JSON says, else by
        the columns, and "" where there are none."""
        first = self.rows[0] if self.rows else {}
        by_columns = ("track" if "slot" in first or "trackers" in first else
                      "region" if "left" in first else "")
        return str(self.head.get("command", by_columns))


AnyTable = Union[str, "os.PathLike[str]", Table]


def open_table(path: AnyTable) -> Table:
    """A table as it stands in its file, which is read once."""
    if isinstance(path, Table):
        return path
    with _reading(path):
        if not _is_json(path):
            with open(path, encoding="utf-8", newline="") as file:
                return Table(str(path), {}, list(csv.DictReader(file)))
        head = json.loads(Path(path).read_text(encoding="utf-8"))
        rows = None
        if isinstance(head, dict):
            rows = head.pop("frames", [] if "command" in head else None)
        if not isinstance(rows, list) or not all(isinstance(row, dict) for row in rows):
            raise FormatError(f"{path}: is no table: has no frames")
        return Table(str(path), head, rows)


def _expect(table: Table, command: str, what: str) -> None:
    if table.command != command and (table.command or table.rows):
        of = f", but of {table.command!r}" if table.command else ""
        raise FormatError(f"{table.path}: is no table of {what}{of}")


def _is_meant(run: dict[str, Any], tracker: str | None) -> bool:
    return tracker in (None, run.get("tracker", tracker))


def _trackers(table: Table, tracker: str | None) -> list[dict[str, Any]]:
    """What a JSON says of its trackers, or of the one that is meant: at least one."""
    runs = [run for run in table.head.get("trackers", [{}]) if _is_meant(run, tracker)]
    if not runs:
        raise FormatError(f"{table.path}: has no tracker {tracker or ''}".rstrip())
    return runs


def describe(path: AnyTable, tracker: str | None = None, every: bool = False) -> str:
    """What a table is of, in a line: the clip, the tracker and what it was asked for. A CSV says
    nothing of them, and is called by its own name.

    tracker  of a JSON with two, the name of the one that is meant; else the first
    every    all trackers are meant: of two, the names without what each was asked for
    """
    table = open_table(path)
    with _reading(table.path):
        runs = _trackers(table, tracker)[: None if every else 1]
        words = [Path(table.head.get("source", table.path)).name]
        words += [run.get("tracker", table.head.get("command")) for run in runs]
        own = runs[0].get("settings", {}) if len(runs) == 1 else {}
        for name, value in {**table.head.get("settings", {}), **own}.items():
            if isinstance(value, dict):
                value = ",".join(f"{part:g}" for part in value.values())
            words.append(f"{name} {str(value).lower() if isinstance(value, bool) else value}")
        return ", ".join(word for word in words if word)


def read_milliseconds(
    path: AnyTable, tracker: str | None = None
) -> dict[str, list[tuple[int, float]]]:
    """The time that the library took, as (frame, milliseconds), of every run that a JSON of
    `descriptor-host` or a `region.csv` has. Points have it in JSON alone.

    tracker  of a JSON with two, the name of the only one that is meant
    """
    table = open_table(path)
    times: dict[str, list[tuple[int, float]]] = {}
    with _reading(table.path):
        _trackers(table, tracker)
        for row in table.rows:
            for run in row.get("trackers", [row]):
                for name, value in run.items() if _is_meant(run, tracker) else ():
                    if name.endswith("milliseconds") and value not in (None, ""):
                        kind = name.removesuffix("milliseconds").strip("_").replace("_", " ")
                        label = run.get("tracker", kind or "region")
                        times.setdefault(label, []).append((int(row["frame"]), float(value)))
    if not times:
        raise FormatError(f"{table.path}: says no milliseconds")
    return times


def _number(value: Any) -> float | None:
    return None if value in (None, "") else float(value)


def _frames_of_points(
    table: Table, tracker: str | None
) -> Iterator[tuple[dict[str, Any], list[dict[str, Any]]]]:
    """What is said of a frame, and rows of it: in a JSON all, which may be none."""
    for row in table.rows:
        if not _is_json(table.path):
            yield row, [row]
            continue
        for run in row["trackers"]:
            if _is_meant(run, tracker):
                yield {**row, **run}, run["points"]
                break


def _point_of(row: dict[str, Any], name: int, code: int, engine: Engine) -> tuple[Any, ...]:
    status = (PointStatus.FOUND if code > 0 else PointStatus.TRACKED if code == 0
              else _LOST_CODES[engine].get(code, PointStatus.LOST))
    score = float(row["correlation"]) if engine == Engine.APT else 0.0
    return (name, int(row["slot"]), int(status), float(row["x"]), float(row["y"]),
            float(row["dx"]), float(row["dy"]), int(row["age"]), score, math.nan, True)


def read_points(path: AnyTable, tracker: str | None = None) -> list[FramePoints]:
    """The frames of a `track.csv` or of the JSON of a track; frames without points are not in
    CSV.

    tracker  of a JSON with two, the name of the one that is meant; else the first

    A table has no correlation of KLT and no way back, and a CSV no marks of cuts: those have the
    values of a tracker that was not asked. An id is counted where a table has none.
    """
    table = open_table(path)
    owners: dict[int, int] = {}
    names = 0
    lists: dict[int, tuple[list[Any], list[Any]]] = {}
    heads: dict[int, tuple[float | None, bool]] = {}
    with _reading(table.path, "table of points"):
        _expect(table, "track", "points")
        meant = _trackers(table, tracker)[0].get("tracker", tracker)
        cuts = {cut["frame"] for cut in table.head.get("cuts", []) if cut["tracker"] == meant}
        for head, rows in _frames_of_points(table, meant):
            number = int(head["frame"])
            heads[number] = (_number(head["time"]), head["state"] == "held")
            live, lost = lists.setdefault(number, ([], []))
            for row in rows:
                engine = Engine.KLT if "value" in row else Engine.APT
                slot, code = int(row["slot"]), int(row[_MARKS[engine][0]])
                if code < 0 and slot not in owners:
                    continue  # older tables have a row for each free slot as well
                if code > 0 and int(row["age"]) == 0:
                    owners[slot] = names
                    names += 1
                name = owners.setdefault(slot, names)
                names = max(names, name + 1)
                if engine == Engine.KLT:
                    name = int(row["id"])
                (lost if code < 0 else live).append(_point_of(row, name, code, engine))
                if code < 0:
                    del owners[slot]
        return [
            FramePoints(np.array(live, POINT_DTYPE), np.array(lost, POINT_DTYPE), number,
                        *heads[number], number in cuts)
            for number, (live, lost) in lists.items()
        ]


def read_region(path: AnyTable) -> list[RegionResult]:
    """The results of a `region.csv` or of the JSON of a region, without their points."""
    table = open_table(path)
    states = {state.text: state for state in RegionState}
    results = []
    with _reading(table.path, "table of a region"):
        _expect(table, "region", "a region")
        for row in table.rows:
            left, top = float(row["left"]), float(row["top"])
            rect = Rect(left, top, float(row["right"]) - left, float(row["bottom"]) - top)
            results.append(RegionResult(
                rect, states[row["state"]], None, np.empty(0, POINT_DTYPE), int(row["frame"]),
                _number(row["time"]),
            ))
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


def _keys_of(
    text: str, form: str, width: int, height: int, frame_rate: float, size: tuple[float, float]
) -> list[Key]:
    number = r"(-?[\d.]+(?:e[-+]?\d+)?)"
    keys: list[Key] = []

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
    return keys


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
    with _reading(path, f"file of the form {form}"):
        text = Path(path).read_text(encoding="utf-8")
        keys = _keys_of(text, form, width, height, frame_rate, size)
    if not keys:
        raise FormatError(f"{path}: has no key frames of the form {form!r}")
    return Motion(width, height, frame_rate, keys)


def positions(motion: Motion) -> Array:
    """The centres: float64 (n, 2)."""
    return np.array([key.rect.centre for key in motion.keys], np.float64).reshape(-1, 2)
