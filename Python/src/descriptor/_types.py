"""Settings, states and small values."""

from __future__ import annotations

import enum
import os
from dataclasses import dataclass
from typing import Any, Callable, Iterable, Literal, NamedTuple, Sequence, Union

import numpy as np
import numpy.typing as npt

from . import _core

#: A frame's pixels, a mask, or a structured array of points.
Array = npt.NDArray[Any]
#: The order of three or four channels in an array; the fourth is alpha, which nothing reads.
Channels = Literal["rgb", "bgr"]
#: Called with how many frames are done and of how many (None: not known); False stops.
ProgressCallback = Callable[[int, Union[int, None]], Union[bool, None]]

#: The columns of a point, all in pixels with y downward:
#:
#: id          stays with the point; no other of this tracker has it
#: slot        its place in the tracker's list, which others get after it
#: status      a PointStatus
#: x, y        where it is; the middle of a pixel is a whole number
#: dx, dy      its motion since the frame before; 0 where it is new
#: age         steps that it was tracked through
#: score       KLT: how well it could be tracked when found. APT: correlation with its first
#:             patch, 0 to 1, where that is verified, else 0
#: round_trip  how far from its old place the way back ended, in pixels; infinite where it was
#:             lost on the way, NaN where there was none
#: came_back   False: round_trip is over the threshold of the settings
POINT_DTYPE: np.dtype[np.void] = _core.point_dtype


class _Named(enum.IntEnum):
    """An enumeration with a text for people."""

    @property
    def text(self) -> str:
        """For people: 'key frame', 'left the usable part of the picture'."""
        return _core.texts[type(self).__name__][self.value]


class Engine(_Named):
    """Which point tracker."""

    APT = 0  #: patch alignment over a pyramid; drops what stands still, can verify
    KLT = 1  #: image gradients over smoothed pyramids


class PointStatus(_Named):
    """What became of a point.

    >>> PointStatus.UNSETTLED.text
    'search did not settle'
    """

    FOUND = 0  #: new in this frame
    TRACKED = 1  #: carried over from the frame before
    LOST = 2  #: not found again
    STATIONARY = 3  #: APT: dropped for not moving more than the stationary limit
    CHANGED = 4  #: APT: differs from its first patch
    LOW_CORRELATION = 5  #: APT: correlates too little with its first patch
    NO_TEXTURE = 6  #: KLT: too little texture to tell where it went
    UNSETTLED = 7  #: KLT: the search did not settle
    OUT_OF_BOUNDS = 8  #: KLT: left the usable part of the picture
    DIFFERENT = 9  #: KLT: nothing there looks like it


class RegionState(_Named):
    """How the rectangle of a frame came about."""

    KEY_FRAME = 0  #: given by the caller
    TRACKED = 1  #: carried over by its points
    HELD = 2  #: as it was: the frame repeats the one before, or could not be followed
    RESTARTED = 3  #: as it was, with new points of this frame, after hold_frames in vain
    LOST = 4  #: as it was: there is nothing to follow; each frame is tried anew


class Label(_Named):
    """Which side a stroke is for."""

    FOREGROUND = 0  #: belongs to the selection
    BACKGROUND = 1  #: does not


class Kind(enum.IntEnum):
    """What the library's caches hold."""

    KLT_POINTS = 0
    APT_POINTS = 1
    GREY = 2
    GREY_FLOAT = 3
    SELECTION = 4
    IMAGE_PYRAMID = 5
    COLOUR_PYRAMID = 6
    REGION = 7


class Rect(NamedTuple):
    """A rectangle in pixels: (x, y) is its left upper corner, y counts downward.

    It may leave the picture. Any four numbers will do where one is taken.
    """

    x: float
    y: float
    width: float
    height: float

    @property
    def centre(self) -> tuple[float, float]:
        """The middle, (x, y).

        >>> Rect(10, 20, 4, 6).centre
        (12.0, 23.0)
        """
        return (self.x + self.width / 2, self.y + self.height / 2)


class KeyFrame(NamedTuple):
    """Somebody says where the rectangle is in a frame."""

    frame: int
    rect: Rect


@dataclass(frozen=True)
class PointSettings:
    """All that can be set of a PointTracker. It is checked where it is used.

    engine            which tracker
    max_points        as many at most; 1 to 100000
    min_points        new ones are looked for below so many; -1: nine tenths of max_points
    min_distance      APT: pixels between new points, 0 to 10000; KLT: always 10
    stationary_limit  APT: drops what moves no more than so many pixels; -1: drops nothing
    verify            APT: compares each point with its first patch
    round_trip        above 0: each point is also followed back into the frame before, and
                      came_back is False for those that end farther from where they were, in
                      pixels. Costs a second step.
    """

    engine: Engine = Engine.APT
    max_points: int = 500
    min_points: int = -1
    min_distance: int = 10
    stationary_limit: float = 0.0
    verify: bool = False
    round_trip: float = 0.0


@dataclass(frozen=True)
class RegionSettings:
    """All that can be set of a RegionTracker.

    max_points    points in the rectangle, at most; 1 to 100000
    min_distance  pixels between new points; 0 to 10000
    hold_frames   so many frames in a row may fail to show the rectangle's points before new
                  ones are looked for where it was last; 0 to 1000
    """

    max_points: int = 500
    min_distance: int = 3
    hold_frames: int = 2


@dataclass(frozen=True)
class Stroke:
    """A line of any number of points, drawn with a round brush; one point is a disc.

    path    (x, y) pairs in the frame's pixels, y downward; may leave it
    radius  in pixels, 0.5 to 10000: pixels whose middle is no farther are painted
    label   which side it is for
    """

    path: Sequence[tuple[float, float]]
    radius: float = 5.0
    label: Label = Label.FOREGROUND


@dataclass(frozen=True)
class CacheFigures:
    """Figures of one cache, or of all.

    bytes   held now, as the library's caches tell
    hits    requests that were answered from the cache
    misses  requests that were computed
    """

    bytes: int
    hits: int
    misses: int


class Source:
    """The name of a clip. It decides what the library's caches may answer with.

    Two sources of one name are one source: whoever gives a name says that name and frame
    number stand for the same pixels, and what was computed for one user is there for the
    next. A source without a name is like no other; that is the default everywhere.

    >>> Source("clip.mp4")
    Source('clip.mp4')
    """

    def __init__(self, name: str | os.PathLike[str] | None = None) -> None:
        #: The name, or None.
        self.name = None if name is None else os.fspath(name)
        self._core = _core.Source() if self.name is None else _core.Source(os.fsencode(self.name))

    def __repr__(self) -> str:
        return "Source()" if self.name is None else f"Source({self.name!r})"

    def __reduce__(self) -> tuple[Any, ...]:
        return (Source, (self.name,))


#: Wherever a source is taken, its name will do.
SourceLike = Union[Source, str, "os.PathLike[str]", None]


def source_of(source: SourceLike) -> _core.Source:
    """The library's source of what a caller gives."""
    return (source if isinstance(source, Source) else Source(source))._core


def rect_of(rect: Iterable[float], name: str = "rect") -> Rect:
    """A rectangle of any four numbers.

    >>> rect_of([1, 2, 3])
    Traceback (most recent call last):
    TypeError: rect: expected x, y, width and height, got [1, 2, 3]
    """
    try:
        x, y, width, height = rect
        return Rect(float(x), float(y), float(width), float(height))
    except (TypeError, ValueError):
        raise TypeError(f"{name}: expected x, y, width and height, got {rect!r}") from None


def cache_figures(kind: Kind | None = None) -> CacheFigures:
    """Figures of one kind, or of all together. Any thread may ask at any time."""
    return CacheFigures(*_core.cache_figures(None if kind is None else int(kind)))


def clear_caches() -> None:
    """Gives everything back that the library keeps: between clips, or at the end.

    Results and trackers that somebody holds stay good. BusyError while another thread is at
    work in the library.
    """
    _core.clear_caches()
