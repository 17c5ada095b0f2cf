"""Trackers and selections: known motion, states, errors, threads, interrupts."""

import os
import signal
import threading

import descriptor
import numpy as np
import pytest
from conftest import moving, point_bytes, texture
from descriptor import Engine, Label, PointSettings, RegionSettings, RegionState, Stroke


@pytest.mark.parametrize("engine", Engine)
def test_points_follow_the_motion_under_names_that_stay(engine):
    places = {}
    with descriptor.PointTracker(PointSettings(engine=engine, max_points=80)) as tracker:
        for points in tracker.run(moving(5)):
            assert set(points["id"]).isdisjoint(points.lost["id"])
            assert set(points.lost["id"]) <= set(places)
            carried = points.live[points["age"] > 0]
            inside = (carried["x"] > 30) & (carried["y"] > 30)  # what came round at an edge
            inside &= (carried["x"] < 210) & (carried["y"] < 150)
            for point in carried[inside]:
                x, y = places[point["id"]]
                assert point["x"] - x == pytest.approx(2, abs=0.1)
                assert point["y"] - y == pytest.approx(1, abs=0.1)
            assert points.frame == 0 or np.count_nonzero(inside) > 10
            places = {point["id"]: (point["x"], point["y"]) for point in points.live}
    with pytest.raises(ValueError, match="closed"):
        tracker.advance(texture())
    assert repr(tracker) == "<PointTracker closed>" and len(tracker.points) == len(places)


def test_a_table_has_a_row_for_each_point():
    pytest.importorskip("pandas")
    tracker = descriptor.PointTracker()
    tracker.advance(texture(seed=1), time=0.5)
    points = tracker.advance(texture(seed=2), time=0.75)  # a cut
    table = points.to_pandas()
    assert points.is_cut and len(table) == len(points) + len(points.lost) > 0
    assert set(table["time"]) == {0.75} and set(table["frame"]) == {1}
    assert (table["status"] == "FOUND").sum() == (points["status"] == 0).sum()
    assert "cut" in repr(points)


@pytest.mark.parametrize(
    "settings, error, text",
    [
        (PointSettings(max_points=0), ValueError, "^settings.max_points: 0 is not in 1 to"),
        (PointSettings(max_points="many"), TypeError, "settings.max_points: expected int, got"),
        (PointSettings(max_points=3.5), TypeError, "settings.max_points: expected int, got 3.5"),
        (PointSettings(round_trip=float("nan")), ValueError, "settings.round_trip: nan"),
        (PointSettings(engine=Engine.KLT, verify=True), ValueError, "settings.verify: is for"),
        (PointSettings(engine=7), ValueError, "settings.engine"),
        ({"max_points": 3}, TypeError, "settings: expected PointSettings"),
    ],
)
def test_settings_that_cannot_be_are_told_by_name(settings, error, text):
    with pytest.raises(error, match=text):
        descriptor.PointTracker(settings)


def test_the_way_back_and_the_cache_are_at_hand():
    descriptor.clear_caches()
    frames = moving(3)
    settings = PointSettings(engine=Engine.KLT, round_trip=0.5)

    def run():
        with descriptor.PointTracker(settings, source="a name") as tracker:
            return [tracker.advance(frame, number=n) for n, frame in enumerate(frames)][-1]

    first = run()
    before = descriptor.cache_figures(descriptor.Kind.KLT_POINTS)
    again = run()
    after = descriptor.cache_figures(descriptor.Kind.KLT_POINTS)
    assert after.misses == before.misses and after.hits >= before.hits + 3
    carried = first.live[first["age"] > 0]
    assert np.isfinite(carried["round_trip"]).any() and carried["came_back"].any()
    assert point_bytes(first.live) == point_bytes(again.live)


def test_a_rectangle_is_carried_held_lost_and_corrected():
    frames = moving(4, width=320, height=240)
    black = np.zeros_like(frames[0])
    tracker = descriptor.RegionTracker((100, 80, 60, 50), RegionSettings(hold_frames=1))
    results = list(tracker.run([*frames, frames[3], black, black, black]))
    assert [result.state for result in results] == [
        RegionState.KEY_FRAME, *[RegionState.TRACKED] * 3, RegionState.HELD,
        RegionState.HELD, RegionState.LOST, RegionState.LOST,
    ]
    assert results[3].rect.x == pytest.approx(106, abs=0.3)
    assert results[3].rect.y == pytest.approx(83, abs=0.3)
    assert results[4].rect == results[3].rect and results[4].lost_since is None
    assert results[5].lost_since == 5 and len(results[5].points) == 0
    corrected = tracker.correct((10, 10, 60, 50))
    assert corrected.state is RegionState.KEY_FRAME and corrected.rect == (10, 10, 60, 50)
    assert "key frame" in repr(tracker)
    for rect, error in [((1, 2, 3), TypeError), ((0, 0, 0, 5), ValueError), ("abcd", TypeError),
                        ((0, 0, float("nan"), 5), ValueError), (7, TypeError)]:
        with pytest.raises(error, match="rect|start"):
            descriptor.RegionTracker(rect).advance(black)


def test_between_key_frames_both_ways_are_blended():
    frames = moving(5, width=320, height=240)
    keys = [(0, (100, 80, 60, 50)), descriptor.KeyFrame(4, descriptor.Rect(108, 84, 60, 50))]
    told = []
    results = descriptor.track_between(
        frames, keys, progress=lambda done, total: told.append((done, total))
    )
    assert [result.frame for result in results] == list(range(5))
    for n, result in enumerate(results):
        assert result.rect.x == pytest.approx(100 + 2 * n, abs=0.3)
    assert told == [(n, 10) for n in range(11)]
    with pytest.raises(descriptor.Cancelled):
        descriptor.track_between(frames, keys, progress=lambda done, total: done < 3)
    with pytest.raises(ZeroDivisionError):  # what a caller's function raises comes through
        descriptor.track_between(lambda n: frames[n // (3 - n)], keys)


def disc():
    picture = np.full((90, 120, 3), (40, 60, 50), np.uint8)
    y, x = np.mgrid[:90, :120]
    inside = (x - 60) ** 2 + (y - 45) ** 2 < 25**2
    picture[inside] = (200, 180, 60)
    return picture, inside


STROKES = [Stroke([(50, 45), (70, 45)], 4), Stroke([(5, 5), (115, 5)], 4, Label.BACKGROUND)]


def test_a_selection_finds_the_disc_and_goes_back_and_forth(tmp_path):
    picture, inside = disc()
    with descriptor.Selection(picture) as selection:
        with pytest.raises(descriptor.BusyError, match="another one"):
            descriptor.Selection(picture)
        assert not selection.mask.any() and not selection.undo()
        selection.add(STROKES)
        first = selection.mask
        assert np.count_nonzero((first > 0) != inside) < 0.02 * inside.sum()
        selection.add(Stroke([(60, 20)], 3, Label.BACKGROUND))
        second = selection.mask.copy()
        assert not np.array_equal(first, second)
        assert selection.undo() and np.array_equal(selection.mask, first)
        assert selection.can_redo and selection.redo()
        assert np.array_equal(selection.mask, second)
        assert len(selection.history) == 2 and selection.history[0] == STROKES
        selection.save(tmp_path / "strokes.json")
        area = sum(
            0.5 * np.sum(p[:, 0] * np.roll(p[:, 1], -1) - np.roll(p[:, 0], -1) * p[:, 1])
            for p in selection.outline()
        )
        assert area == np.count_nonzero(second)  # clockwise with y downward is positive
        assert selection.to_svg().startswith("<svg") and "2 cuts" in repr(selection)
    with descriptor.Selection(picture) as selection:
        selection.load(tmp_path / "strokes.json")
        assert np.array_equal(selection.mask, second)
    with descriptor.Selection(picture[1:]) as selection:
        with pytest.raises(ValueError, match="120x90"):
            selection.load(tmp_path / "strokes.json")


@pytest.mark.parametrize(
    "strokes, error, text",
    [
        ([], ValueError, "strokes: there are none"),
        (Stroke([]), ValueError, r"strokes\[0\].path: it has no points"),
        (Stroke([(1, 2, 3)]), TypeError, r"strokes\[0\].path: expected \(x, y\) pairs"),
        (Stroke([(1, float("nan"))]), ValueError, r"strokes\[0\].path: a point is no number"),
        (Stroke([(1, 2)], radius=0.1), ValueError, r"strokes\[0\].radius: 0.1 is not in"),
        (Stroke([(1, 2)], label=5), TypeError, r"strokes\[0\]"),
        ([(1, 2)], TypeError, r"strokes\[0\]: expected a Stroke"),
    ],
)
def test_strokes_that_cannot_be_are_told_by_name(strokes, error, text):
    with descriptor.Selection(disc()[0]) as selection:
        with pytest.raises(error, match=text):
            selection.add(strokes)
        assert selection.history == []


def test_enumerations_have_the_values_of_the_library():
    from descriptor import _core

    for enum in (Engine, descriptor.PointStatus, RegionState, Label):
        assert [member.value for member in enum] == list(range(len(_core.texts[enum.__name__])))
    assert [engine.text for engine in Engine] == ["apt", "klt"]
    words = {"FOUND": "found", "STATIONARY": "stationary", "UNSETTLED": "settle",
             "OUT_OF_BOUNDS": "out of bounds", "NO_TEXTURE": "no texture"}
    for name, word in words.items():
        assert word in descriptor.PointStatus[name].text
    assert RegionState.RESTARTED.text == "restarted" and Label.BACKGROUND.text == "background"


def test_a_second_thread_is_told_and_other_threads_run_meanwhile():
    """Were the interpreter's lock held during the work, no thread could come in between."""
    frame = texture(1600, 1200)
    tracker = descriptor.PointTracker()
    begun = threading.Event()
    refused = []

    def advance():
        begun.set()
        try:
            tracker.advance(frame)
        except descriptor.BusyError:
            refused.append(1)

    thread = threading.Thread(target=advance)
    thread.start()
    begun.wait()
    while thread.is_alive() and not refused:
        try:
            tracker.advance(frame)
        except descriptor.BusyError:
            refused.append(2)
    thread.join()
    assert refused


def test_threads_on_clips_of_their_own_give_the_bits_of_one():
    clips = [moving(4, seed=seed) for seed in range(3)]

    def run(frames):
        with descriptor.PointTracker() as tracker:
            return b"".join(point_bytes(points.live) for points in tracker.run(frames))

    results = [None] * len(clips)

    def work(n):
        results[n] = run(clips[n])

    threads = [threading.Thread(target=work, args=(n,)) for n in range(len(clips))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [run(frames) for frames in clips]


@pytest.fixture
def interruptible():
    """As at a terminal: who is started in the background ignores the signal."""
    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, before)


def test_an_interrupt_ends_a_run_between_two_cuts(interruptible):
    """The signal comes while the library cuts, and no callback of Python's is there."""
    picture, _ = disc()
    history = [STROKES] + [[Stroke([(60 + n % 9, 45)], 3)] for n in range(400)]
    with descriptor.Selection(picture) as selection:
        go = threading.Event()

        def interrupt():
            go.wait()
            os.kill(os.getpid(), signal.SIGINT)

        thread = threading.Thread(target=interrupt)
        thread.start()
        with pytest.raises(KeyboardInterrupt):
            go.set()
            selection.replace(history)
        thread.join()
        assert selection.history == []
        selection.add(STROKES)  # and it goes on


def test_an_interrupt_ends_a_run_after_the_frame(interruptible):
    frames = moving(6)
    done = []

    def with_interrupt():
        for n, frame in enumerate(frames):
            if n == 3:
                os.kill(os.getpid(), signal.SIGINT)
            yield frame

    tracker = descriptor.PointTracker()
    with pytest.raises(KeyboardInterrupt):
        for points in tracker.run(with_interrupt()):
            done.append(points.frame)
    assert done == [0, 1, 2]
    assert tracker.advance(frames[3]).frame in (3, 4)
