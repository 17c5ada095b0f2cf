"""Selection: a foreground cut out of a picture, stroke by stroke."""

from __future__ import annotations

import os
from typing import Any, Iterable, Sequence

import numpy as np
import numpy.typing as npt

from . import _core
from ._handle import Handle
from ._types import Array, Channels, Label, ProgressCallback, Stroke

#: Strokes that are drawn together, and undone together. Where two overlap, the later counts.
Strokes = Sequence[Stroke]


def _lowered(strokes: Stroke | Iterable[Stroke]) -> list[tuple[Array, float, int]]:
    if isinstance(strokes, Stroke):
        strokes = [strokes]
    lowered = []
    for index, stroke in enumerate(strokes):
        if not isinstance(stroke, Stroke):
            raise TypeError(f"strokes[{index}]: expected a Stroke, got {stroke!r}")
        try:
            path = np.asarray(stroke.path, dtype=np.float64)
            path = path.reshape(0, 2) if path.size == 0 else path
            radius, label = float(stroke.radius), Label(stroke.label)
        except (TypeError, ValueError) as error:
            raise TypeError(f"strokes[{index}]: {error}") from None
        if path.ndim != 2 or path.shape[1] != 2:
            raise TypeError(f"strokes[{index}].path: expected (x, y) pairs, got {stroke.path!r}")
        lowered.append((path, radius, int(label)))
    return lowered


def _raised(history: list[list[Any]]) -> list[list[Stroke]]:
    return [
        [Stroke(path, radius, Label(label)) for path, radius, label in strokes]
        for strokes in history
    ]


class Selection(Handle[_core.Selection]):
    """Selects what strokes say, in one picture.

    >>> import numpy as np, descriptor
    >>> picture = np.full((60, 80, 3), 40, dtype=np.uint8)
    >>> picture[20:40, 30:60] = 200
    >>> with descriptor.Selection(picture) as selection:
    ...     selection.add([
    ...         descriptor.Stroke([(35, 30), (50, 30)], radius=3),
    ...         descriptor.Stroke([(5, 5), (75, 5)], radius=3, label=descriptor.Label.BACKGROUND),
    ...     ])
    ...     np.unique(selection.mask[25:35, 35:55])
    array([255], dtype=uint8)

    The first strokes cut the picture, further ones go on from there and cost a fraction of
    it. Undo and redo have no limit and cost nothing.

    frame       as with PointTracker.advance; it is copied once into the library's memory
    take_turns  the library has room for one selection in the process. False: a second one is
                refused with BusyError. True: those that say so wait for each other's cuts,
                and whoever finds the room taken over cuts its picture anew, to the same bits
    progress    called between cuts where several are made; False stops with Cancelled

    Leave it by `with` or `close()`, so that the room is free for the next.

    Threads: one at a time in a selection; the interpreter's lock is released during cuts.
    Errors: ArgumentError, TypeError, BusyError, Cancelled. What was selected stays selected.
    """

    def __init__(
        self,
        frame: Any,
        *,
        take_turns: bool = False,
        progress: ProgressCallback | None = None,
        channels: Channels = "rgb",
    ) -> None:
        self._core = _core.Selection(frame, channels, take_turns, progress)

    def add(self, strokes: Stroke | Iterable[Stroke]) -> None:
        """Adds strokes and cuts. What was undone before can no longer be redone."""
        self._open().add(_lowered(strokes))

    def replace(self, history: Iterable[Iterable[Stroke]]) -> None:
        """Takes the place of all strokes: cut by cut, as they were made."""
        self._open().replace([_lowered(strokes) for strokes in history])

    def undo(self) -> bool:
        """One step back; False where there is none."""
        return self._open().undo()

    def redo(self) -> bool:
        """One step forward; False where there is none."""
        return self._open().redo()

    @property
    def can_undo(self) -> bool:
        """Whether `undo` has a step."""
        return self._open().can_undo()

    @property
    def can_redo(self) -> bool:
        """Whether `redo` has a step."""
        return self._open().can_redo()

    @property
    def history(self) -> list[list[Stroke]]:
        """The strokes that count, by the cut that they were added with."""
        return _raised(self._open().history())

    @property
    def mask(self) -> npt.NDArray[np.uint8]:
        """255 where a pixel is selected, else 0: (height, width), read-only, shared with the
        library. It stays as it is when the selection changes."""
        return self._open().mask()

    @property
    def last_cut_seconds(self) -> float:
        """How long the last `add` or `replace` cut; waiting for others left out."""
        return self._open().last_cut_seconds()

    def outline(self) -> list[npt.NDArray[np.float64]]:
        """The border of the mask; see `descriptor.outline`."""
        return _core.outline(self.mask)

    def to_svg(self) -> str:
        """An SVG picture of the outline."""
        return _core.to_svg(self.mask)

    def save(self, path: str | os.PathLike[str]) -> None:
        """Keeps the strokes that count as JSON, to be loaded into a selection of the same
        picture."""
        with open(path, "w", encoding="utf-8", newline="\n") as file:
            file.write(self._open().to_json() + "\n")

    def load(self, path: str | os.PathLike[str]) -> None:
        """Takes the strokes of a file of `save`, or of the client layer in C++, and cuts.

        ValueError for a file that is none, or of a picture of another size.
        """
        with open(path, encoding="utf-8") as file:
            width, height, history = _core.strokes_from_json(file.read())
        if (height, width) != self.mask.shape:
            raise ValueError(f"{path}: its strokes are of a picture of {width}x{height}")
        self.replace(_raised(history))

    def __repr__(self) -> str:
        if self._core is None:
            return "<Selection closed>"
        height, width = self.mask.shape
        share = 100.0 * np.count_nonzero(self.mask) / self.mask.size
        cuts = len(self._core.history())
        return f"<Selection of {width}x{height}: {cuts} cuts, {share:.1f} % selected>"


def outline(mask: npt.NDArray[np.uint8]) -> list[npt.NDArray[np.float64]]:
    """The border of a mask (uint8, set above 127) along the edges of its pixels.

    Closed lines, each float64 (n, 2) of x and y, clockwise round the mask and anticlockwise
    round its holes. Whole numbers are the middles of pixels, so that corners lie at halves.

    >>> import numpy as np
    >>> outline(np.array([[255]], dtype=np.uint8))[0].tolist()
    [[-0.5, -0.5], [0.5, -0.5], [0.5, 0.5], [-0.5, 0.5]]
    """
    return _core.outline(mask)
