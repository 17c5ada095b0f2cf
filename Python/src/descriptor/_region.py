"""RegionTracker: a rectangle carried from frame to frame."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Callable, Iterable, Iterator, Sequence

from . import _core
from ._handle import Handle
from ._types import (
    Array,
    Channels,
    KeyFrame,
    ProgressCallback,
    Rect,
    RegionSettings,
    RegionState,
    SourceLike,
    rect_of,
    source_of,
)
from ._video import Progress, Video, frames, reported


@dataclass(frozen=True, eq=False)
class RegionResult:
    """The rectangle in one frame, and the points that carry it.

    rect        y downward; may leave the picture
    state       how it came about
    lost_since  the first frame of those in which it is not seen, or None
    points      the live points: a read-only structured array (n,), POINT_DTYPE, that shares
                memory with the library and keeps it alive; empty where the rectangle is not
                seen
    frame       number in the clip
    time        of the frame in seconds, or None
    """

    rect: Rect
    state: RegionState
    lost_since: int | None
    points: Array = field(repr=False)
    frame: int
    time: float | None = None

    def __repr__(self) -> str:
        x, y, width, height = self.rect
        lost = "" if self.lost_since is None else f" since frame {self.lost_since}"
        return (
            f"<RegionResult frame {self.frame}: {self.state.text}{lost}, "
            f"{width:.1f}x{height:.1f} at ({x:.1f}, {y:.1f}), {len(self.points)} points>"
        )


def _result(values: Any) -> RegionResult:
    rect, state, lost_since, points, frame, time = values
    return RegionResult(Rect(*rect), RegionState(state), lost_since, points, frame, time)


class RegionTracker(Handle[_core.RegionTracker]):
    """Carries a rectangle through a run of frames by the points inside it.

    >>> import descriptor
    >>> descriptor.RegionTracker((322, 124, 152, 276))
    <RegionTracker before the first frame>

    A frame that is the one before once more holds the rectangle. A frame that shows nothing
    of it (a flash, somebody in front) does too: the next one is compared with the last that
    did. After some of them new points are looked for at the last good place.

    start     where the rectangle is in the first frame: x, y, width, height in pixels, y
              downward
    settings  see RegionSettings
    source    a name, or a Source: runs that are made again in the same way are then answered
              from the library's caches
    channels  "rgb" or "bgr": the order of the channels in arrays

    Threads and errors: as with PointTracker.
    """

    def __init__(
        self,
        start: Iterable[float],
        settings: RegionSettings | None = None,
        *,
        source: SourceLike = None,
        channels: Channels = "rgb",
    ) -> None:
        self._settings = RegionSettings() if settings is None else settings
        if not isinstance(self._settings, RegionSettings):
            raise TypeError(f"settings: expected RegionSettings, got {settings!r}")
        self._channels = channels
        self._core = _core.RegionTracker(
            rect_of(start, "start"), self._settings, source_of(source)
        )
        self._result: RegionResult | None = None

    @property
    def settings(self) -> RegionSettings:
        """As they were given."""
        return self._settings

    @property
    def result(self) -> RegionResult | None:
        """What the last `advance` returned; None before it."""
        return self._result

    def advance(
        self,
        frame: Any,
        rect: Iterable[float] | None = None,
        *,
        number: int | None = None,
        time: float | None = None,
        channels: Channels | None = None,
    ) -> RegionResult:
        """Carries the rectangle into the next frame.

        rect      makes it a key frame: says where the rectangle is in this frame
        frame, number, time, channels
                  as with PointTracker.advance, copies included
        """
        key = None if rect is None else rect_of(rect)
        values = self._open().advance(frame, key, channels or self._channels, number, time)
        self._result = _result(values)
        return self._result

    def correct(self, rect: Iterable[float]) -> RegionResult:
        """Corrects the frame of the last `advance`: the rectangle was there, and the next
        frame goes on from it. Before the first frame it takes the place of the start."""
        self._result = _result(self._open().correct(rect_of(rect)))
        return self._result

    def run(
        self,
        video: Video,
        *,
        progress: Progress = None,
        start: int = 0,
        stop: int | None = None,
    ) -> Iterator[RegionResult]:
        """Carries the rectangle through a video, as PointTracker.run follows points."""
        read = frames(video, channels=self._channels, start=start, stop=stop)
        for frame in reported(read, progress, "region"):
            yield self.advance(
                frame.pixels, number=frame.number, time=frame.time, channels=frame.channels
            )

    def __repr__(self) -> str:
        if self._core is None:
            return "<RegionTracker closed>"
        if self._result is None:
            return "<RegionTracker before the first frame>"
        return f"<RegionTracker {repr(self._result)[len('<RegionResult '):-1]}>"


def track_between(
    video: Sequence[Any] | Callable[[int], Any],
    keys: Iterable[tuple[int, Iterable[float]] | KeyFrame],
    settings: RegionSettings | None = None,
    *,
    channels: Channels = "rgb",
    progress: ProgressCallback | None = None,
) -> list[RegionResult]:
    """Follows a rectangle between key frames, from each to the next forward and from that back
    again, and blends the two: each weighs the more, the nearer its key frame is.

    video     gives any frame by its number: a sequence of arrays, or a function. Each frame
              from the first key frame to the last is asked for, some twice
    keys      (frame, rectangle) pairs, two or more, in the order of their frames
    progress  called before each step; False ends the run with Cancelled

    One result a frame, the key frames at both ends included. Ctrl-C ends it after the frame
    that is being tracked.
    """
    at = video if callable(video) else video.__getitem__
    pairs = [(int(frame), rect_of(rect, "keys")) for frame, rect in keys]
    settings = RegionSettings() if settings is None else settings
    return [_result(v) for v in _core.track_between(at, pairs, settings, channels, progress)]
