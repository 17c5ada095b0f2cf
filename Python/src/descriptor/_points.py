"""PointTracker: points followed from frame to frame."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, Iterator

import numpy as np

from . import _core
from ._handle import Handle
from ._types import Array, Channels, PointSettings, PointStatus, SourceLike, source_of
from ._video import Progress, Video, frames, reported

if TYPE_CHECKING:
    import pandas


@dataclass(frozen=True, eq=False)
class FramePoints:
    """The points of one frame. Its length is the number of live ones.

    live         those found or tracked: a read-only structured array (n,), POINT_DTYPE
    lost         those that ended in this frame: where they were last, and why
    frame        number in the clip
    time         of the frame in seconds, or None
    is_repeated  the frame is the one before once more
    is_cut       most points were lost at once, and not at an edge

    The arrays share memory with the library and keep it alive; copy them to write in them.
    """

    live: Array = field(repr=False)
    lost: Array = field(repr=False)
    frame: int
    time: float | None = None
    is_repeated: bool = False
    is_cut: bool = False

    def __len__(self) -> int:
        return len(self.live)

    def __getitem__(self, column: str) -> Array:
        """A column of the live points, as `points["x"]`."""
        values: Array = self.live[column]
        return values

    @property
    def xy(self) -> Array:
        """The places of the live points: float32 (n, 2), a copy."""
        return np.column_stack((self.live["x"], self.live["y"]))

    def __repr__(self) -> str:
        time = "" if self.time is None else f", {self.time:.3f} s"
        marks = ", repeated" * self.is_repeated + ", cut" * self.is_cut
        return (
            f"<FramePoints frame {self.frame}{time}: {len(self.live)} live, "
            f"{len(self.lost)} lost{marks}>"
        )

    def to_pandas(self) -> pandas.DataFrame:
        """A row for each point, live and lost, with the frame's number and time.

        `status` is the name of a PointStatus. ImportError where pandas is not there.
        """
        import pandas

        rows = np.concatenate((self.live, self.lost))
        table = pandas.DataFrame({name: rows[name] for name in rows.dtype.names or ()})
        table.insert(0, "frame", self.frame)
        table.insert(1, "time", np.nan if self.time is None else self.time)
        table["status"] = [PointStatus(code).name for code in rows["status"]]
        return table


class PointTracker(Handle[_core.PointTracker]):
    """Follows points through a run of frames.

    >>> import numpy as np, descriptor
    >>> noise = np.random.default_rng(1).integers(0, 255, (20, 30), dtype=np.uint8)
    >>> picture = np.kron(noise, np.ones((8, 8), dtype=np.uint8))
    >>> with descriptor.PointTracker(descriptor.PointSettings(max_points=40)) as tracker:
    ...     for points in tracker.run([picture, np.roll(picture, 2, axis=1)]):
    ...         print(points.frame, len(points) > 10)
    0 True
    1 True

    A frame that is the one before once more is noticed and loses nothing. The KLT engine
    loses, at its first step, the points within 24 pixels of an edge.

    settings  see PointSettings
    source    a name, or a Source: runs that are made again in the same way are then answered
              from the library's caches
    channels  "rgb" or "bgr": the order of the channels in arrays

    Threads: one at a time in a tracker, any number of trackers; the interpreter's lock is
    released while the library works.
    Errors: ArgumentError (a ValueError) and TypeError for settings and frames that cannot be,
    BusyError for a second thread; the tracker then stands where it stood.
    """

    def __init__(
        self,
        settings: PointSettings | None = None,
        *,
        source: SourceLike = None,
        channels: Channels = "rgb",
    ) -> None:
        self._settings = PointSettings() if settings is None else settings
        if not isinstance(self._settings, PointSettings):
            raise TypeError(f"settings: expected PointSettings, got {settings!r}")
        self._channels = channels
        self._core = _core.PointTracker(self._settings, source_of(source))
        self._points: FramePoints | None = None

    @property
    def settings(self) -> PointSettings:
        """As they were given."""
        return self._settings

    @property
    def points(self) -> FramePoints | None:
        """What the last `advance` returned; None before it."""
        return self._points

    def advance(
        self,
        frame: Any,
        *,
        number: int | None = None,
        time: float | None = None,
        channels: Channels | None = None,
    ) -> FramePoints:
        """Follows the points into the next frame; in the first one they are found.

        frame     uint8 (height, width), (height, width, 3) or (height, width, 4), or float32
                  (height, width) of finite values from 0 to 255; row 0 is the top row. Rows
                  whose pixels lie side by side are read where they are, whatever their
                  distance and direction, also with three channels reversed; another layout is
                  copied once. Channels become grey in the library's memory, BGRA without
                  a step between. The array may not be written to meanwhile.
        number    in its clip; without one the tracker counts
        time      in seconds, handed through
        channels  for this frame alone
        """
        result = self._open().advance(frame, channels or self._channels, number, time)
        self._points = FramePoints(*result)
        return self._points

    def restart(self) -> None:
        """Ends all points: the next frame, of any size, is a first one."""
        self._open().restart()
        self._points = None

    def run(
        self,
        video: Video,
        *,
        progress: Progress = None,
        start: int = 0,
        stop: int | None = None,
    ) -> Iterator[FramePoints]:
        """Follows the points through a video, frame by frame as it is asked for.

        video     a path or URL, a folder of pictures, a PyAV container, an OpenCV capture, or
                  an iterable of arrays or PyAV frames; see `descriptor.frames`
        progress  True: a line on standard error. A function: called before each frame with
                  how many are done and of how many (None: not known); False ends the run with
                  Cancelled
        start     the first frame of the video that is tracked; `stop` the one after the last

        Ctrl-C ends it after the frame that is being tracked.
        """
        read = frames(video, channels=self._channels, start=start, stop=stop)
        for frame in reported(read, progress, "points"):
            yield self.advance(
                frame.pixels, number=frame.number, time=frame.time, channels=frame.channels
            )

    def __repr__(self) -> str:
        if self._core is None:
            return "<PointTracker closed>"
        state = "before the first frame" if self._points is None else repr(self._points)[1:-1]
        return f"<PointTracker {self._settings.engine.name}, {state}>"
