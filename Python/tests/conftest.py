"""What the tests share: a texture that moves by a known amount, and the repository's clip."""

from pathlib import Path

import numpy as np
import pytest

REPOSITORY = Path(__file__).resolve().parents[2]


def texture(width=240, height=180, seed=1):
    """A smooth texture with something to follow everywhere: uint8 (height, width)."""
    noise = np.random.default_rng(seed).integers(0, 256, (height, width)).astype(np.float64)
    for axis in (0, 1):
        for _ in range(4):
            noise = (np.roll(noise, 1, axis) + 2 * noise + np.roll(noise, -1, axis)) / 4
    noise -= noise.min()
    return (noise * (255 / noise.max())).astype(np.uint8)


def moving(count, step=(2, 1), **size):
    """Frames of a texture that goes round at the edges, `step` pixels right and down."""
    first = texture(**size)
    return [np.roll(first, (n * step[1], n * step[0]), (0, 1)) for n in range(count)]


def point_bytes(array):
    """The columns' bytes: between them lie some that mean nothing."""
    return b"".join(array[name].tobytes() for name in array.dtype.names)


@pytest.fixture(scope="session")
def clip():
    pytest.importorskip("av")
    return str(REPOSITORY / "Examples/Footage/car-park.mp4")
