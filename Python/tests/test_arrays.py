"""Arrays in: every layout gives the bits of a plain copy. Arrays out: shared, read-only."""

import gc

import descriptor
import numpy as np
import pytest
from conftest import moving, point_bytes
from descriptor import _core

COLOUR = np.random.default_rng(3).integers(0, 256, (37, 53, 4), dtype=np.uint8)
GREY = COLOUR[..., 0].copy()

# The array, and whether it is read where it lies.
LAYOUTS = {
    "plain": (COLOUR[..., :3].copy(), True),
    "four": (COLOUR, True),
    "padded rows": (COLOUR[:, :40], True),
    "upside down": (COLOUR[::-1], True),
    "every second row": (COLOUR[::2], True),
    "mirrored": (COLOUR[:, ::-1], False),
    "every second column": (COLOUR[:, ::2], False),
    "three of four": (COLOUR[..., :3], False),
    "three reversed": (COLOUR[..., :3].copy()[..., ::-1], True),
    "four reversed": (COLOUR[..., ::-1], False),
    "fortran": (np.asfortranarray(COLOUR), False),
    "repeated row": (np.broadcast_to(COLOUR[:1], COLOUR.shape), False),
    "one row": (COLOUR[:1], True),
    "one column": (COLOUR[:, :1], True),
    "grey": (GREY, True),
    "grey transposed": (GREY.T, False),
    "grey of colour": (COLOUR[..., 1], False),
    "float": (GREY.astype(np.float32), True),
    "float, odd address": (
        np.frombuffer(b"x" + GREY.astype(np.float32).tobytes(), np.float32, offset=1).reshape(
            GREY.shape
        ),
        True,
    ),
    "float in steps": (np.repeat(GREY.astype(np.float32), 2, axis=1)[:, ::2], False),
}


@pytest.mark.parametrize("name", LAYOUTS)
@pytest.mark.parametrize("channels", ["rgb", "bgr"])
@pytest.mark.parametrize("dtype", [np.uint8, np.float32])
def test_every_layout_gives_the_bits_of_a_copy(name, channels, dtype):
    array, is_viewed = LAYOUTS[name]
    plain = np.ascontiguousarray(array)
    expected = descriptor.grey(plain, dtype=dtype, channels=channels)
    assert np.array_equal(descriptor.grey(array, dtype=dtype, channels=channels), expected)
    assert _core.is_viewed(array) == is_viewed
    if array.ndim == 3:  # Rec. 601, and the order of the channels
        red, green, blue = (plain[..., 2 * (channels == "bgr")], plain[..., 1],
                            plain[..., 2 * (channels == "rgb")])
        luma = 0.299 * red + 0.587 * green + 0.114 * blue
        assert np.abs(expected - luma).max() <= 1.0
    else:
        assert np.array_equal(expected, plain)


@pytest.mark.parametrize(
    "array, error, text",
    [
        (GREY.astype(np.float64), TypeError, "frame: expected uint8.*got float64"),
        (GREY.astype(np.uint16), TypeError, "frame: expected uint8"),
        (GREY.astype(">f4"), TypeError, "frame: expected uint8"),
        (np.dstack([GREY.astype(np.float32)] * 3), ValueError, r"\(height, width\), got \(37"),
        (COLOUR[..., :2], ValueError, r"3 or 4 channels .* got \(37, 53, 2\)"),
        (COLOUR[None], ValueError, "got \\(1, 37, 53, 4\\)"),
        (GREY[0], ValueError, "got \\(53,\\)"),
        (GREY[:0], ValueError, "1 to 65535 rows"),
        (np.zeros((2, 65536), np.uint8), ValueError, "1 to 65535 rows"),
        ("clip.mp4", TypeError, "frame: expected uint8.*got <U8"),
        (None, TypeError, "frame: expected uint8.*got object"),
    ],
)
def test_what_cannot_be_a_frame_is_told_by_name(array, error, text):
    with descriptor.PointTracker() as tracker:
        with pytest.raises(error, match=text):
            tracker.advance(array)
        assert tracker.points is None


def test_numbers_that_are_none_are_refused_and_change_nothing():
    frame = GREY.astype(np.float32)
    frame[5, 7] = np.nan
    with descriptor.PointTracker() as tracker:
        with pytest.raises(ValueError, match=r"frame.pixels: the value at \(7, 5\)"):
            tracker.advance(frame)
        with pytest.raises(ValueError, match="channels: expected 'rgb' or 'bgr', got 'hsv'"):
            tracker.advance(COLOUR, channels="hsv")
        with pytest.raises(ValueError, match="time"):
            tracker.advance(GREY, time=float("inf"))
        assert tracker.advance(GREY).frame == 0


def test_results_share_memory_are_read_only_and_outlive_their_makers():
    frames = moving(2)
    tracker = descriptor.PointTracker()
    results = [tracker.advance(frame) for frame in frames]
    copies = [point_bytes(points.live) for points in results]
    selection = descriptor.Selection(frames[0])
    mask = selection.mask
    grey = descriptor.grey(COLOUR)
    for array in (results[1].live, results[1].lost, mask, grey):
        assert not array.flags.writeable and not array.flags.owndata
        with pytest.raises(ValueError):
            array.flags.writeable = True
    del tracker, selection
    descriptor.clear_caches()
    gc.collect()
    ballast = [np.full(results[0].live.nbytes, 255, np.uint8) for _ in range(50)]
    assert [point_bytes(points.live) for points in results] == copies and ballast
    assert not mask.any() and results[1].live.dtype == descriptor.POINT_DTYPE


def test_grey_of_a_named_source_is_kept_by_its_number():
    descriptor.clear_caches()
    first = descriptor.grey(COLOUR, source="kept", number=4)
    again = descriptor.grey(np.zeros_like(COLOUR), source="kept", number=4)
    assert np.shares_memory(first, again)
    assert descriptor.cache_figures(descriptor.Kind.GREY).hits >= 1
    other = descriptor.grey(np.zeros_like(COLOUR), source="kept", number=5)
    assert not other.any() and not np.shares_memory(first, other)
