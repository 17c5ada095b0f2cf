"""Frames of anything: paths, folders, PyAV, OpenCV, iterables of arrays."""

from __future__ import annotations

import os
import sys
import time as clock
from pathlib import Path
from typing import Any, Iterable, Iterator, NamedTuple, Sized, Union

from ._errors import Cancelled, VideoError
from ._types import Array, Channels, ProgressCallback

#: What frames can be read of; see `frames`.
Video = Union[str, "os.PathLike[str]", Iterable[Any], Any]
#: True shows a line on standard error; a function is called before each frame.
Progress = Union[bool, ProgressCallback, None]

PICTURES = (".bmp", ".jpeg", ".jpg", ".png", ".tif", ".tiff", ".webp")


class VideoFrame(NamedTuple):
    """One frame as it was read.

    pixels    uint8 (height, width), (height, width, 3) or (height, width, 4), or float32
    channels  the order of its channels
    number    in its clip, from 0; None: the trackers count
    time      when it is shown, in seconds, where that is known
    """

    pixels: Array
    channels: Channels
    number: int | None = None
    time: float | None = None


class Frames:
    """The frames of a video, once. An iterator of VideoFrame that knows how many there are.

    `total` is None where the video does not say.
    """

    def __init__(self, frames: Iterator[VideoFrame], total: int | None = None) -> None:
        self.total = total
        self._frames = frames

    def __iter__(self) -> Iterator[VideoFrame]:
        return self._frames

    def __next__(self) -> VideoFrame:
        return next(self._frames)


def frames(
    video: Video, *, channels: Channels = "rgb", start: int = 0, stop: int | None = None
) -> Frames:
    """The frames of a video, or those of them from `start` to before `stop`.

    video     a path of a clip, or a URL (PyAV reads it, and FFmpeg's libraries in it);
              a path of a folder of pictures, in the order of their names;
              a PyAV container, or an iterable of PyAV frames;
              an OpenCV capture (anything with `read()`; its channels are "bgr");
              an iterable of arrays.
    channels  the order of the channels in arrays; PyAV and OpenCV know theirs
    start     frames before it are read and not given: nothing is sought, so that frame 7 is
              the same frame whatever came before

    VideoError for a clip that cannot be read, and where PyAV is needed and not there. A clip
    that breaks off is told where its container counts its frames (MP4) or a packet is damaged;
    what ends between two frames of Matroska is a shorter clip.
    """
    if isinstance(video, (str, os.PathLike)):
        path = os.fspath(video)
        found = _folder(Path(path)) if os.path.isdir(path) else _clip(path)
    elif hasattr(video, "decode") and hasattr(video, "streams"):
        found = _container(video)
    elif hasattr(video, "read") and hasattr(video, "isOpened"):
        found = _capture(video)
    elif hasattr(video, "__iter__"):
        found = _iterable(video, channels)
    else:
        raise TypeError(
            "video: expected a path, a capture, a container or an iterable of arrays, got "
            + type(video).__name__
        )
    return found if start == 0 and stop is None else _span(found, start, stop)


def _span(found: Frames, start: int, stop: int | None) -> Frames:
    if start < 0 or (stop is not None and stop < start):
        raise ValueError(f"start, stop: {start} to {stop} is no span of frames")
    known = found.total
    total = None if stop is None and known is None else max(0, min(
        stop if stop is not None else sys.maxsize, known if known is not None else sys.maxsize
    ) - start)

    def between() -> Iterator[VideoFrame]:
        for number, frame in enumerate(found):
            if number >= start:
                yield frame
            if stop is not None and number + 1 >= stop:
                return

    return Frames(between() if stop is None or stop > start else iter(()), total)


def _keep_ffmpeg_quiet() -> None:
    # PyAV hands FFmpeg's messages to Python, and a decoder's thread then waits for the
    # interpreter's lock. OpenCV closes its decoders with that lock held and waits for their
    # threads: together they would stand still. Where both are loaded FFmpeg writes its
    # messages itself.
    if "cv2" in sys.modules and "av" in sys.modules:
        sys.modules["av"].logging.restore_default_callback()


def _import_av(what: str) -> Any:
    try:
        import av
    except ImportError:
        raise VideoError(
            f"{what}: reading it needs PyAV (python3-av); without it give an OpenCV capture or "
            "an iterable of arrays"
        ) from None
    _keep_ffmpeg_quiet()
    return av


def _pixels(frame: Any) -> VideoFrame:
    # BGRA is what the library takes as it lies. Grey clips stay grey.
    grey = frame.format.name in ("gray", "gray8")
    pixels = frame.to_ndarray(format="gray" if grey else "bgra")
    return VideoFrame(pixels, "bgr", None, frame.time)


def _clip(path: str) -> Frames:
    av = _import_av(path)
    try:
        container = av.open(path)
    except (OSError, ValueError) as error:  # av.AVError is an OSError or a ValueError
        raise VideoError(f"{path}: cannot be read: {error}") from None
    if not container.streams.video:
        container.close()
        raise VideoError(f"{path}: has no pictures")
    return Frames(_decoded(container, path, av, True), container.streams.video[0].frames or None)


def _container(container: Any) -> Frames:
    import av

    name = str(getattr(container, "name", "video"))
    return Frames(
        _decoded(container, name, av, False), container.streams.video[0].frames or None
    )


def _decoded(container: Any, path: str, av: Any, owned: bool) -> Iterator[VideoFrame]:
    promised = container.streams.video[0].frames if owned else 0
    number = packets = 0
    try:
        for packet in container.demux(video=0):
            packets += packet.size > 0
            if owned and packet.is_corrupt:
                raise VideoError(f"{path}: breaks off after frame {number - 1}")
            for frame in packet.decode():
                yield _pixels(frame)._replace(number=number)
                number += 1
    except av.AVError as error:
        raise VideoError(f"{path}: breaks off after frame {number - 1}: {error}") from None
    finally:
        if owned:
            container.close()
    if owned and number == 0:
        raise VideoError(f"{path}: has no picture that can be read")
    if packets < promised:
        raise VideoError(f"{path}: breaks off: {packets} of {promised} frames are there")


def _folder(folder: Path) -> Frames:
    names = sorted(path for path in folder.iterdir() if path.suffix.lower() in PICTURES)
    if not names:
        raise VideoError(f"{folder}: there are no pictures in it ({', '.join(PICTURES)})")
    av = _import_av(str(folder))

    def pictures() -> Iterator[VideoFrame]:
        for number, path in enumerate(names):
            try:
                with av.open(str(path)) as container:
                    frame = next(container.decode(video=0))
            except (OSError, ValueError, StopIteration) as error:
                raise VideoError(f"{path}: cannot be read: {error}") from None
            yield _pixels(frame)._replace(number=number, time=None)

    return Frames(pictures(), len(names))


def _capture(capture: Any) -> Frames:
    _keep_ffmpeg_quiet()
    if not capture.isOpened():
        raise VideoError("video: the capture is not open: OpenCV could not read its clip")
    count = int(capture.get(7)) if hasattr(capture, "get") else 0  # CAP_PROP_FRAME_COUNT

    def read() -> Iterator[VideoFrame]:
        number = 0
        while True:
            good, pixels = capture.read()
            if not good:
                return
            yield VideoFrame(pixels, "bgr", number, None)
            number += 1

    return Frames(read(), count if count > 0 else None)


def _iterable(video: Iterable[Any], channels: Channels) -> Frames:
    total = len(video) if isinstance(video, Sized) else None

    def each() -> Iterator[VideoFrame]:
        for frame in video:
            if isinstance(frame, VideoFrame):
                yield frame
            elif hasattr(frame, "to_ndarray"):
                yield _pixels(frame)
            else:
                yield VideoFrame(frame, channels)

    return Frames(each(), total)


class Reporter:
    """Says how far a run is, and stops it where its listener says so."""

    def __init__(self, progress: Progress, total: int | None, what: str) -> None:
        self._callback = progress if callable(progress) else None
        self._shows = progress is True
        self._total = total
        self._what = what
        self._start = clock.monotonic()
        self._shown = 0.0

    def step(self, done: int) -> None:
        """Before each frame. Cancelled where the callback says stop."""
        if self._callback is not None and self._callback(done, self._total) is False:
            of = "" if self._total is None else f" of {self._total}"
            raise Cancelled(f"stopped after {done}{of}")
        if self._shows and clock.monotonic() - self._shown > 0.2:
            self._shown = clock.monotonic()
            self._show(done, "\r")

    def end(self, done: int) -> None:
        """After the last frame."""
        if self._callback is not None:
            self._callback(done, self._total)
        if self._shows:
            self._show(done, "\n")

    def _show(self, done: int, end: str) -> None:
        rate = done / max(1e-9, clock.monotonic() - self._start)
        of = "" if self._total is None else f" of {self._total}"
        sys.stderr.write(f"\r{self._what}: {done}{of} frames, {rate:.1f}/s{end}")
        sys.stderr.flush()


def reported(read: Frames, progress: Progress, what: str) -> Iterator[VideoFrame]:
    """The frames, with a report before each and one behind the last."""
    reporter = Reporter(progress, read.total, what)
    done = 0
    for frame in read:
        reporter.step(done)
        yield frame
        done += 1
    reporter.end(done)
