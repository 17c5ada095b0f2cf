"""Many clips, on one machine or many, by Dask.

    from descriptor import batch
    from distributed import Client, LocalCluster

    with Client(LocalCluster(n_workers=2, threads_per_worker=1)) as client:
        for outcome in batch.map(clips, batch.points(), client, folder="results"):
            print(outcome)

Scheduling, retries and progress are Dask's (`distributed.progress`, its dashboard where Bokeh
is installed). A task has no state but its clip, and gives the same bits wherever and however
often it runs: Dask may run one again on another worker.
"""

from __future__ import annotations

import hashlib
import json
import os
import tempfile
import zipfile
from dataclasses import asdict, dataclass
from pathlib import Path
from typing import Any, Callable, Iterable, Iterator, Mapping, NamedTuple, Sequence, Union

import numpy as np

from . import clear_caches
from ._errors import Error
from ._grey import grey as _grey
from ._points import FramePoints, PointTracker
from ._region import RegionTracker
from ._types import Array, PointSettings, RegionSettings, rect_of
from ._video import frames

#: What a job gives for a clip: named arrays.
Result = Mapping[str, Array]


class Span(NamedTuple):
    """The frames of a clip from `start` to before `stop` (None: to its end)."""

    clip: str
    start: int = 0
    stop: Union[int, None] = None

    def __str__(self) -> str:
        if self.start == 0 and self.stop is None:
            return self.clip
        return f"{self.clip}[{self.start}:{'' if self.stop is None else self.stop}]"


#: A job takes a span and gives named arrays. It has to be a function that pickle can take.
Job = Callable[[Span], Result]


@dataclass(frozen=True, eq=False)
class Outcome:
    """What became of one clip, or of a span of one.

    span    which
    result  named arrays, or None where it failed
    error   what went wrong, beginning with the name of the error, or None
    """

    span: Span
    result: Result | None
    error: str | None = None

    def __repr__(self) -> str:
        if self.result is None:
            return f"<Outcome {self.span}: {self.error}>"
        return f"<Outcome {self.span}: {', '.join(self.result)}>"


def spans(clip: str | os.PathLike[str], total: int, length: int, overlap: int = 0) -> list[Span]:
    """Spans of `length` frames that cover a clip of `total` frames, each with `overlap` frames
    of the one after it.

    Grey images and selections need no overlap. Trackers do: the spans' points are joined in
    the frame that two of them share, see `join_points`.

    >>> [s[1:] for s in spans("a.mp4", 10, 4, overlap=1)]
    [(0, 5), (4, 9), (8, 10)]
    """
    if length < 1 or overlap < 0:
        raise ValueError("length, overlap: expected 1 frame or more, and 0 or more")
    return [
        Span(os.fspath(clip), start, min(total, start + length + overlap))
        for start in range(0, total, length)
    ]


def packed(array: Array) -> Array:
    """A structured array without gaps between its columns: equal points have equal bytes."""
    plain = np.empty(len(array), [(name, array.dtype[name]) for name in array.dtype.names or ()])
    for name in plain.dtype.names or ():
        plain[name] = array[name]
    return plain


@dataclass(frozen=True)
class PointJob:
    """Points of a clip: see `points`."""

    settings: PointSettings

    def __call__(self, span: Span) -> Result:
        live, lost, numbers, times, marks = [], [], [], [], []
        with PointTracker(self.settings) as tracker:
            for p in tracker.run(span.clip, start=span.start, stop=span.stop):
                live.append(packed(p.live))
                lost.append(packed(p.lost))
                numbers.append(p.frame)
                times.append(np.nan if p.time is None else p.time)
                marks.append((p.is_repeated, p.is_cut))
        return {
            "frame": np.array(numbers, np.int64),
            "time": np.array(times, np.float64),
            "is_repeated": np.array([m[0] for m in marks], bool),
            "is_cut": np.array([m[1] for m in marks], bool),
            "live": np.concatenate(live) if live else np.empty(0),
            "live_end": np.cumsum([len(a) for a in live]).astype(np.int64),
            "lost": np.concatenate(lost) if lost else np.empty(0),
            "lost_end": np.cumsum([len(a) for a in lost]).astype(np.int64),
        }


@dataclass(frozen=True)
class RegionJob:
    """A rectangle through a clip: see `region`."""

    start: tuple[float, float, float, float]
    settings: RegionSettings

    def __call__(self, span: Span) -> Result:
        tracker = RegionTracker(self.start, self.settings)
        run = list(tracker.run(span.clip, start=span.start, stop=span.stop))
        return {
            "frame": np.array([r.frame for r in run], np.int64),
            "time": np.array([np.nan if r.time is None else r.time for r in run]),
            "rect": np.array([r.rect for r in run], np.float64).reshape(-1, 4),
            "state": np.array([r.state for r in run], np.int32),
            "points": np.array([len(r.points) for r in run], np.int64),
        }


@dataclass(frozen=True)
class GreyJob:
    """Grey frames of a clip: see `grey`."""

    every: int

    def __call__(self, span: Span) -> Result:
        kept = [
            (frame.number or 0, _grey(frame.pixels, channels=frame.channels))
            for frame in frames(span.clip, start=span.start, stop=span.stop)
            if (frame.number or 0) % self.every == 0
        ]
        return {
            "frame": np.array([number for number, _ in kept], np.int64),
            "grey": np.array([pixels for _, pixels in kept], np.uint8),
        }


def points(settings: PointSettings | None = None) -> PointJob:
    """A job: the points of a clip. `frame_points` makes FramePoints of its result."""
    return PointJob(PointSettings() if settings is None else settings)


def region(start: Iterable[float], settings: RegionSettings | None = None) -> RegionJob:
    """A job: a rectangle through a clip, with `rect` (n, 4), `state` and counts of points."""
    return RegionJob(rect_of(start, "start"), settings or RegionSettings())


def grey(every: int = 1) -> GreyJob:
    """A job: every so many frames in grey, `grey` (n, height, width)."""
    return GreyJob(every)


def frame_points(result: Result) -> list[FramePoints]:
    """The frames of a result of `points`."""
    run = []
    begin = lost_begin = 0
    for n, number in enumerate(result["frame"].tolist()):
        end, lost_end = int(result["live_end"][n]), int(result["lost_end"][n])
        time = float(result["time"][n])
        run.append(FramePoints(
            result["live"][begin:end], result["lost"][lost_begin:lost_end], number,
            None if np.isnan(time) else time, bool(result["is_repeated"][n]),
            bool(result["is_cut"][n]),
        ))
        begin, lost_begin = end, lost_end
    return run


def join_points(
    runs: Iterable[Sequence[FramePoints]], tolerance: float = 1.0
) -> list[FramePoints]:
    """The runs of overlapping spans as one, in the order of their frames.

    A point of a later span goes on under the name of the point that the earlier one has at its
    place, no farther than `tolerance` pixels, in the last frame that both have: the nearest
    pairs first, each point once. All others get names of their own. Up to that frame the
    earlier span counts, from the next one on the later. What lived in the earlier one and has
    no partner ends there, without being listed as lost.

    The result is that of spans, not of one run: a span finds its points anew.
    """
    joined: list[FramePoints] = []
    next_name = 0
    for run in runs:
        if not run:
            continue
        shared = joined[-1].frame if joined else None
        names: dict[int, int] = {}
        if shared is not None:
            here = next((p for p in run if p.frame == shared), None)
            if here is None:
                raise ValueError(
                    f"runs: frames {run[0].frame} to {run[-1].frame} do not have frame {shared}, "
                    "the last of the span before"
                )
            names = _matches(joined[-1].live, here.live, tolerance)
        for p in run:
            if shared is not None and p.frame <= shared:
                continue
            live, lost = p.live.copy(), p.lost.copy()
            for array in (lost, live):
                for index, name in enumerate(array["id"].tolist()):
                    if name not in names:
                        names[name] = next_name
                    next_name = max(next_name, names[name] + 1)
                    array["id"][index] = names[name]
            joined.append(FramePoints(live, lost, p.frame, p.time, p.is_repeated, p.is_cut))
    return joined


def _matches(before: Array, after: Array, tolerance: float) -> dict[int, int]:
    if len(before) == 0 or len(after) == 0:
        return {}
    distance = np.hypot(
        after["x"][:, None].astype(np.float64) - before["x"][None, :],
        after["y"][:, None].astype(np.float64) - before["y"][None, :],
    )
    names: dict[int, int] = {}
    taken: set[int] = set()
    for flat in np.argsort(distance, axis=None, kind="stable"):
        a, b = divmod(int(flat), len(before))
        if distance[a, b] > tolerance:
            break
        if int(after["id"][a]) not in names and b not in taken:
            names[int(after["id"][a])] = int(before["id"][b])
            taken.add(b)
    return names


def _file_name(span: Span, job: Job) -> str:
    """One name for one question: other settings are another file."""
    described = [type(job).__name__, asdict(job)] if hasattr(job, "__dataclass_fields__") else [
        getattr(job, "__module__", ""), getattr(job, "__qualname__", repr(type(job)))]
    text = json.dumps([list(span), described], default=str, sort_keys=True)
    return f"{Path(span.clip).stem[:60]}-{hashlib.sha256(text.encode()).hexdigest()[:16]}.npz"


def save(path: str | os.PathLike[str], result: Result) -> None:
    """Writes a result beside its place and moves it there: nobody ever finds half of it."""
    folder = os.path.dirname(os.path.abspath(path))
    handle, temporary = tempfile.mkstemp(prefix=".", suffix=".part", dir=folder)
    try:
        with os.fdopen(handle, "wb") as file:
            np.savez(file, **result)
            file.flush()
            os.fsync(file.fileno())
        os.chmod(temporary, 0o644)
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise


def load(path: str | os.PathLike[str]) -> Result:
    """A result that `save` has written."""
    with np.load(path, allow_pickle=False) as file:
        return {name: file[name] for name in file.files}


def _run(job: Job, span: Span, path: str | None) -> Outcome:
    """The task: on a worker, or here."""
    try:
        result = job(span)
        if path is not None:
            save(path, result)
        return Outcome(span, result)
    except (Error, OSError, ValueError) as error:  # of this clip alone; what else there is, ends
        return Outcome(span, None, f"{type(error).__name__}: {error}")
    finally:
        if not _shares_process():
            clear_caches()


def _shares_process() -> bool:
    # A worker with several threads may have another task in the library.
    try:
        from distributed import get_worker

        return int(get_worker().state.nthreads) > 1
    except (ImportError, ValueError):
        return False


def _kept(path: str | None) -> Result | None:
    try:
        return None if path is None or not os.path.exists(path) else load(path)
    except (OSError, ValueError, KeyError, EOFError, zipfile.BadZipFile):
        return None  # damaged: made once more


def map(
    clips: Iterable[str | os.PathLike[str] | Span],
    job: Job,
    client: Any = None,
    folder: str | os.PathLike[str] | None = None,
) -> Iterator[Outcome]:
    """Runs a job over clips and gives an Outcome for each, as they come.

    clips   paths or URLs that every worker can read, or Spans of them. A clip that is named
            twice is run once, and comes once
    job     `points()`, `region(start)`, `grey()`, or a function of a Span that gives named
            arrays
    client  a `distributed.Client`; None runs here, one after the other, in their order
    folder  each result is also written there as .npz, and one that is there is read in place
            of being made: a run that was broken off goes on where it stopped. Workers must
            see the folder under the same path

    A clip that fails (VideoError, OSError, ValueError: missing, truncated, no such settings)
    comes with its error, and the others go on. What else is raised ends the run. Workers that
    die are Dask's business: their tasks run again elsewhere, to the same bits.
    """
    todo: dict[Span, str | None] = {}
    if folder is not None:
        os.makedirs(folder, exist_ok=True)
    for clip in clips:
        span = clip if isinstance(clip, Span) else Span(os.fspath(clip))
        todo[span] = None if folder is None else os.path.abspath(
            os.path.join(folder, _file_name(span, job)))
    left = []
    for span, path in todo.items():
        kept = _kept(path)
        if kept is not None:
            yield Outcome(span, kept)
        else:
            left.append((span, path))
    if client is None:
        for span, path in left:
            yield _run(job, span, path)
        return

    import distributed

    as_completed: Any = distributed.as_completed
    futures = [client.submit(_run, job, span, path, pure=False) for span, path in left]
    try:
        for future in as_completed(futures):
            yield future.result()
            future.release()
    finally:
        client.cancel([future for future in futures if not future.done()])
