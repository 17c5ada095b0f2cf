"""Frames in grey, as the trackers see them."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core
from ._types import Array, Channels, Source, SourceLike, source_of

_unnamed = _core.GreyFrames(_core.Source())


def grey(
    frame: Any,
    *,
    dtype: npt.DTypeLike = np.uint8,
    channels: Channels = "rgb",
    source: SourceLike = None,
    number: int | None = None,
) -> Array:
    """A frame in grey, 0 to 255, by Rec. 601.

    frame   as with PointTracker.advance, copies included; what is grey keeps its values
    dtype   uint8 or float32
    source  with `number`: the result is kept in the library's cache, and the next one who asks
            for that number of that source gets the same pixels; the frame is then not read

    A read-only array (height, width) that shares memory with the library and keeps it alive.

    >>> import numpy as np
    >>> grey(np.full((2, 2, 3), 100, dtype=np.uint8))
    array([[100, 100],
           [100, 100]], dtype=uint8)
    """
    kind = np.dtype(dtype)
    if kind not in (np.dtype(np.uint8), np.dtype(np.float32)):
        raise TypeError(f"dtype: expected uint8 or float32, got {kind}")
    greys = _unnamed
    if source is not None and not (isinstance(source, Source) and source.name is None):
        greys = _core.GreyFrames(source_of(source))
    return greys.convert(frame, kind == np.float32, channels, number)
