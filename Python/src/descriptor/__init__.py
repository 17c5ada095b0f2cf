"""Content descriptors of video frames: points and rectangles that are followed through a clip,
and foreground that is cut out by strokes.

    import descriptor
    with descriptor.PointTracker() as tracker:
        for points in tracker.run("clip.mp4", progress=True):
            print(points)

Everything counts y downward from the top row, in pixels; whole numbers are the middles of
pixels. The same input gives the same bits on every machine, and the same as in C++.
"""

from ._core import version as __version__
from ._errors import ArgumentError, BusyError, Cancelled, Error, LibraryError, VideoError
from ._grey import grey
from ._points import FramePoints, PointTracker
from ._region import RegionResult, RegionTracker, track_between
from ._selection import Selection, outline
from ._types import (
    POINT_DTYPE,
    CacheFigures,
    Engine,
    KeyFrame,
    Kind,
    Label,
    PointSettings,
    PointStatus,
    Rect,
    RegionSettings,
    RegionState,
    Source,
    Stroke,
    cache_figures,
    clear_caches,
)
from ._video import Frames, VideoFrame, frames

__all__ = [
    "ArgumentError",
    "BusyError",
    "CacheFigures",
    "Cancelled",
    "Engine",
    "Error",
    "FramePoints",
    "Frames",
    "KeyFrame",
    "Kind",
    "Label",
    "LibraryError",
    "POINT_DTYPE",
    "PointSettings",
    "PointStatus",
    "PointTracker",
    "Rect",
    "RegionResult",
    "RegionSettings",
    "RegionState",
    "RegionTracker",
    "Selection",
    "Source",
    "Stroke",
    "VideoError",
    "VideoFrame",
    "__version__",
    "cache_figures",
    "clear_caches",
    "frames",
    "grey",
    "outline",
    "track_between",
]
