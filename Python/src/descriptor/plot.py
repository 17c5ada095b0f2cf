"""Figures of tracks, ages, paths and masks, by matplotlib.

    descriptor.plot.tracks(frames, picture=picture).savefig("tracks.png")

and as a command over the tables of `descriptor-host` and of `descriptor.files`:

    python3 -m descriptor.plot track.csv -o points.png
    python3 -m descriptor.plot track.csv --kind tracks --video clip.mp4 -o tracks.png
    python3 -m descriptor.plot region.json --kind path -o path.png

A JSON names the clip, the tracker and its settings, which then stand below the figure, and the
cuts; `captioned` writes such a line below any figure.

Every function gives a matplotlib Figure, which belongs to the caller and to no window.
Pictures are arrays (height, width), or RGB; y counts downward as everywhere.
"""

from __future__ import annotations

import argparse
import sys
from typing import TYPE_CHECKING, Any, Mapping, Sequence

import numpy as np

from . import files
from ._errors import Error
from ._points import FramePoints
from ._region import RegionResult
from ._selection import outline
from ._types import Array, RegionState
from ._video import Video, VideoFrame, frames

if TYPE_CHECKING:
    from matplotlib.figure import Figure

# Readable for those who tell colours apart by lightness alone.
_BLUE, _ORANGE, _GREEN, _GREY = "#0072b2", "#d55e00", "#009e73", "#777777"


def _figure(width: float, height: float, panels: int = 1) -> tuple[Figure, list[Any]]:
    from matplotlib.backends.backend_agg import FigureCanvasAgg
    from matplotlib.figure import Figure

    figure = Figure(figsize=(width, height), dpi=100, layout="constrained")
    FigureCanvasAgg(figure)
    return figure, list(np.atleast_1d(figure.subplots(panels, 1)))


def _lined(axes: Any, title: str, x: str, y: str, legend: str = "best") -> None:
    from matplotlib.ticker import MaxNLocator

    axes.set(title=title, xlabel=x, ylabel=y)
    axes.xaxis.set_major_locator(MaxNLocator(integer=True))  # frames are counted
    axes.spines[["top", "right"]].set_visible(False)
    axes.grid(alpha=0.25)
    if axes.get_legend_handles_labels()[0]:
        axes.legend(frameon=False, loc=legend)


def rgb(picture: Array | VideoFrame) -> Array:
    """A picture as matplotlib shows it, of an array or of a frame that `frames` gave."""
    if isinstance(picture, VideoFrame):
        pixels = picture.pixels
        if pixels.ndim == 3:
            return pixels[..., 2::-1] if picture.channels == "bgr" else pixels[..., :3]
        return pixels
    return picture


def picture_of(video: Video, number: int = 0) -> Array:
    """One frame of a video, as these functions take it."""
    for frame in frames(video, start=number, stop=number + 1):
        return rgb(frame)
    raise ValueError(f"video: has no frame {number}")


def _stage(picture: Array | None, width: float, height: float, title: str) -> tuple[Figure, Any]:
    if picture is not None:
        height, width = picture.shape[:2]
    figure, (axes,) = _figure(8.0, 8.0 * height / width + 0.4)
    if picture is not None:
        axes.imshow(picture, cmap="gray", vmin=0, vmax=255)
    axes.set(xlim=(-0.5, width - 0.5), ylim=(height - 0.5, -0.5), aspect="equal", title=title)
    axes.set_axis_off()
    return figure, axes


def captioned(figure: Figure, text: str) -> Figure:
    """The figure with a line below it: what it is of. A long one is made smaller."""
    room = 150.0 * figure.get_figwidth() / 8.0
    figure.supxlabel(text, fontsize=9.0 * min(1.0, room / max(len(text), 1)), color=_GREY,
                     x=0.01, horizontalalignment="left", parse_math=False)  # a name may have $
    return figure


def tracks(
    run: Sequence[FramePoints], picture: Array | VideoFrame | None = None, trail: int = 40
) -> Figure:
    """The points of the last frame with their trails over the last frames, coloured by age."""
    from matplotlib.collections import LineCollection

    if not run:
        raise ValueError("run: has no frames")
    last = run[-1]
    shown = set(last["id"].tolist())
    paths: dict[int, list[tuple[float, float]]] = {name: [] for name in shown}
    extent = 1.0, 1.0
    for points in run[-trail:]:
        for name, x, y in zip(points["id"].tolist(), points["x"], points["y"]):
            if name in shown:
                paths[name].append((x, y))
            extent = max(extent[0], x + 20), max(extent[1], y + 20)
    text = f"frame {last.frame}: {len(last)} points"
    figure, axes = _stage(None if picture is None else rgb(picture), *extent, text)
    ages = last["age"].astype(np.float64)
    lines = LineCollection(
        [paths[name] for name in last["id"].tolist()], array=ages, cmap="viridis", linewidths=1.4
    )
    axes.add_collection(lines)
    axes.scatter(last["x"], last["y"], c=ages, s=12, cmap="viridis", edgecolors="black",
                 linewidths=0.4, zorder=3)
    figure.colorbar(lines, ax=axes, label="age in frames", shrink=0.8)
    return figure


def points(run: Sequence[FramePoints]) -> Figure:
    """How many points live and are lost in each frame, and the ages of the live ones: a band
    that eight tenths of them are in, and the median. Cuts are marked in both."""
    numbers = [p.frame for p in run]
    figure, (above, below) = _figure(8.0, 6.0, 2)
    above.plot(numbers, [len(p) for p in run], color=_BLUE, label="live")
    above.plot(numbers, [len(p.lost) for p in run], color=_ORANGE, label="lost")
    above.set_ylim(bottom=0)
    _lined(above, "Live points", "frame", "points")
    ages = np.array([
        np.percentile(p["age"], (10, 50, 90)) if len(p) else (np.nan,) * 3 for p in run
    ]).reshape(-1, 3)
    below.fill_between(numbers, ages[:, 0], ages[:, 2], color=_BLUE, alpha=0.25, linewidth=0,
                       label="all but the youngest and the oldest tenth")
    below.plot(numbers, ages[:, 1], color=_BLUE, linewidth=2.5, label="median")
    below.set_ylim(bottom=0)
    _lined(below, "Ages of the live points", "frame", "age in frames", "upper left")
    for axes in (above, below):
        for cut in (p.frame for p in run if p.is_cut):
            axes.axvline(cut, color=_GREY, linestyle="--", linewidth=1.2)
            axes.annotate("cut?", (cut, 1.0), (3, -10), xycoords=("data", "axes fraction"),
                          textcoords="offset points", color=_GREY, fontsize=9)
    return figure


def lengths(run: Sequence[FramePoints]) -> Figure:
    """How many frames each point was seen in, those that live at the end included."""
    seen: dict[int, int] = {}
    for frame in run:
        for name in frame["id"].tolist():
            seen[name] = seen.get(name, 0) + 1
    figure, (axes,) = _figure(8.0, 4.0)
    most = max(seen.values(), default=1)
    axes.hist(list(seen.values()), bins=np.linspace(0.5, most + 0.5, min(60, most) + 1),
              color=_BLUE, edgecolor="white", linewidth=0.5)
    # Most tracks are short, and it is the few long ones that one looks for.
    if seen:
        axes.set_yscale("log")
    axes.yaxis.set_major_formatter("{x:g}")
    axes.set_ylim(bottom=0.7)
    _lined(axes, "Lengths of the tracks, those that live at the end too",
           "frames that a point was seen in", "tracks")
    return figure


def _ends(axes: Any, run: Sequence[RegionResult], centres: Array) -> None:
    """Where a path begins and ends, and when; the text on the side with more room."""
    middle = np.mean(axes.get_xlim())
    for name, result, (x, y) in zip(("start", "end"), (run[0], run[-1]), centres[[0, -1]]):
        text = name if result.time is None else f"{name}, {result.time:.2f} s"
        axes.plot([x], [y], marker="o", markersize=7, color=_ORANGE, markeredgecolor="white")
        left = x < middle
        axes.annotate(text, (x, y), (9 if left else -9, 0), textcoords="offset points", va="center",
                      ha="left" if left else "right", color="white", fontsize=10,
                      bbox={"boxstyle": "round,pad=0.2", "color": "black", "alpha": 0.6})


def path(run: Sequence[RegionResult], picture: Array | VideoFrame | None = None) -> Figure:
    """The way of the rectangle's centre with its start and end and their times, and the
    rectangle of the last frame with its points."""
    from matplotlib.patches import Rectangle

    if not run:
        raise ValueError("run: has no frames")
    last = run[-1]
    extent = (max(r.rect.x + r.rect.width for r in run) + 20,
              max(r.rect.y + r.rect.height for r in run) + 20)
    figure, axes = _stage(None if picture is None else rgb(picture), *extent,
                          f"frame {last.frame}: {last.state.text}")
    centres = np.array([r.rect.centre for r in run]) - 0.5
    axes.plot(*centres.T, color=_ORANGE, linewidth=2)
    _ends(axes, run, centres)
    if len(last.points):
        axes.scatter(last.points["x"], last.points["y"], s=6, color="yellow", linewidths=0)
    seen = last.state in (RegionState.KEY_FRAME, RegionState.TRACKED)
    for result, colour, line in ((run[0], _GREY, 1.0), (last, _ORANGE if seen else _GREY, 2.5)):
        x, y, width, height = result.rect
        axes.add_patch(Rectangle((x - 0.5, y - 0.5), width, height, fill=False,
                                 edgecolor=colour, linewidth=line))
    return figure


def size(run: Sequence[RegionResult]) -> Figure:
    """Width and height of the rectangle, with the frames in which it is not carried."""
    numbers = [r.frame for r in run]
    figure, (axes,) = _figure(8.0, 4.0)
    axes.plot(numbers, [r.rect.width for r in run], color=_BLUE, label="width")
    axes.plot(numbers, [r.rect.height for r in run], color=_ORANGE, label="height")
    for result in run:
        if result.state not in (RegionState.KEY_FRAME, RegionState.TRACKED):
            axes.axvspan(result.frame - 0.5, result.frame + 0.5, color=_GREY, alpha=0.2,
                         linewidth=0)
    _lined(axes, "Size of the region", "frame", "pixels")
    return figure


def mask(picture: Array | VideoFrame, selected: Array) -> Figure:
    """A picture with what is not selected made grey and light, and the border of the mask."""
    shown = rgb(picture)
    colour = np.dstack([shown] * 3) if shown.ndim == 2 else shown
    light = 160 + 0.3 * colour.mean(axis=2, keepdims=True)
    blend = np.where(selected[..., None] > 127, colour, light).astype(np.uint8)
    share = 100.0 * np.count_nonzero(selected > 127) / selected.size
    figure, axes = _stage(blend, 1, 1, f"{share:.1f} % selected")
    for line in outline(selected):
        closed = np.vstack((line, line[:1]))
        axes.plot(*closed.T, color=_ORANGE, linewidth=1.2)
    return figure


def time(times: Mapping[str, Sequence[tuple[int, float]]]) -> Figure:
    """The time that the library took for each frame, of each run of `files.read_milliseconds`."""
    figure, (axes,) = _figure(8.0, 4.0)
    for (name, steps), colour in zip(times.items(), (_BLUE, _ORANGE, _GREEN, _GREY)):
        axes.plot(*zip(*steps), color=colour, label=name)
    axes.set_ylim(bottom=0)
    _lined(axes, "Time in the library", "frame", "milliseconds")
    return figure


_KINDS: dict[str, Any] = {
    "points": points, "tracks": tracks, "lengths": lengths, "path": path, "size": size,
    "time": time,
}
# Of the tables of each command, the default first.
_KINDS_OF = {
    "track": ("points", "tracks", "lengths", "time"),
    "region": ("path", "size", "time"),
    "grey": ("time",),
}


def main(arguments: Sequence[str] | None = None) -> int:
    """The command. 0, or 1 with one line on standard error."""
    parser = argparse.ArgumentParser(
        prog="python3 -m descriptor.plot",
        description="Draws a table of tracked points, of a tracked rectangle or of times.",
    )
    parser.add_argument("table", help="track.csv, region.csv, or a JSON of track, region or grey")
    parser.add_argument("-o", "--output", required=True, help="a .png, .svg or .pdf")
    parser.add_argument("--kind", choices=_KINDS, help="points (the default), tracks or lengths "
                        "of points; path (the default) or size of a rectangle; time a frame of "
                        "either, or of grey images")
    parser.add_argument("--video", help="the clip, whose last frame stands behind tracks and path")
    parser.add_argument("--tracker", help="which one, of a JSON with two")
    options = parser.parse_args(arguments)
    try:
        _draw(options).savefig(options.output)
    except (Error, OSError, ValueError, ImportError) as error:
        print(f"descriptor.plot: {error}", file=sys.stderr)
        return 1
    return 0


def _draw(options: argparse.Namespace) -> Figure:
    table = files.open_table(options.table)
    kinds = _KINDS_OF.get(table.command, ())
    if not kinds:
        what = f"is of {table.command}, and has no plot" if table.command else "has no rows to plot"
        raise ValueError(f"{table.path}: {what}")
    kind = options.kind or kinds[0]
    if kind not in kinds:
        raise ValueError(f"{table.path}: has {' and '.join(kinds)}, and no {kind}")
    if options.tracker and "trackers" not in table.head:
        raise ValueError(f"{table.path}: names no trackers")
    run: Any
    if kind == "time":
        run = files.read_milliseconds(table, options.tracker)
    elif table.command == "track":
        run = files.read_points(table, options.tracker)
    else:
        run = files.read_region(table)
    if not run:
        raise ValueError(f"{table.path}: has no rows")
    behind = [picture_of(options.video, run[-1].frame)] if (
        kind in ("tracks", "path") and options.video) else []
    caption = files.describe(table, options.tracker, every=kind == "time")
    return captioned(_KINDS[kind](run, *behind), caption)


if __name__ == "__main__":
    sys.exit(main())
