"""Many clips on Dask: every clip once, the bits of a serial run, whatever breaks."""

import itertools
import os
import signal

import descriptor
import numpy as np
import pytest
from conftest import moving
from descriptor import PointSettings, batch

distributed = pytest.importorskip("distributed")
SETTINGS = PointSettings(max_points=40)


@pytest.fixture(scope="module")
def clips(tmp_path_factory):
    """Sixty short clips, all different."""
    av = pytest.importorskip("av")
    folder = tmp_path_factory.mktemp("clips")
    for n in range(60):
        with av.open(str(folder / f"{n:02}.mkv"), "w") as file:
            stream = file.add_stream("ffv1", rate=25)
            stream.width, stream.height, stream.pix_fmt = 96, 80, "gray"
            for frame in moving(5, width=96, height=80, seed=n):
                picture = av.VideoFrame.from_ndarray(frame, format="gray")
                file.mux(stream.encode(picture))
            file.mux(stream.encode())
    return sorted(map(str, folder.iterdir()))


def bits(outcomes):
    """Every clip with the bytes of its result; that each came once is checked."""
    found = {}
    for outcome in outcomes:
        assert outcome.span not in found
        found[outcome.span] = outcome.error or {
            name: array.tobytes() for name, array in outcome.result.items()
        }
    return found


@pytest.fixture(scope="module")
def serial(clips):
    found = bits(batch.map(clips, batch.points(SETTINGS)))
    assert [span.clip for span in found] == clips
    assert len({result["live"] for result in found.values()}) == 60
    return found


@pytest.fixture(scope="module")
def cluster():
    with distributed.LocalCluster(
        n_workers=3, threads_per_worker=1, processes=True, dashboard_address=None,
        silence_logs="CRITICAL",
    ) as made:
        yield made


def test_a_killed_worker_changes_nothing(clips, serial, cluster):
    with distributed.Client(cluster) as client:
        workers = client.run(os.getpid)
        outcomes = batch.map(clips, batch.points(SETTINGS), client)
        found = list(itertools.islice(outcomes, 15))
        os.kill(next(iter(workers.values())), signal.SIGKILL)
        found += outcomes
        assert set(client.run(os.getpid).values()) != set(workers.values())
    assert bits(found) == serial


def test_clips_that_fail_are_told_and_the_rest_goes_on(clips, serial, cluster, tmp_path):
    data = open(clips[3], "rb").read()
    short, text = tmp_path / "short.mkv", tmp_path / "text.mkv"
    short.write_bytes(data[: len(data) // 20])
    text.write_text("no video")
    bad = [str(short), str(text), str(tmp_path / "none.mkv")]
    with distributed.Client(cluster) as client:
        found = bits(batch.map([*bad, *clips[:4]], batch.points(SETTINGS), client))
        refused = list(batch.map(clips[:1], batch.points(PointSettings(max_points=0)), client))
    for path in bad:
        assert found.pop(batch.Span(path)).startswith(f"VideoError: {path}")
    assert found == dict(itertools.islice(serial.items(), 4))
    assert refused[0].error.startswith("ArgumentError: settings.max_points")


def test_a_broken_run_goes_on_where_it_stopped(clips, serial, tmp_path):
    job = batch.points(SETTINGS)
    assert len(list(itertools.islice(batch.map(clips, job, folder=tmp_path), 20))) == 20
    written = sorted(tmp_path.iterdir())
    assert len(written) in (20, 21)
    times = {path: path.stat().st_mtime_ns for path in written}
    written[0].write_bytes(written[0].read_bytes()[:100])  # half a file is no result
    assert bits(batch.map(clips, job, folder=tmp_path)) == serial
    again = {path: path.stat().st_mtime_ns for path in written}
    assert [p for p in written if again[p] != times[p]] == [written[0]]
    assert len(list(tmp_path.iterdir())) == 60
    other = batch.points(PointSettings(max_points=39))
    list(batch.map(clips[:2], other, folder=tmp_path))
    assert len(list(tmp_path.iterdir())) == 62, "other settings are another question"


def test_spans_of_grey_are_the_clip(clips):
    spans = batch.spans(clips[7], 5, 2)
    parts = [outcome.result for outcome in batch.map(spans, batch.grey())]
    whole = next(batch.map(clips[7:8], batch.grey())).result
    assert np.array_equal(np.concatenate([part["grey"] for part in parts]), whole["grey"])
    assert np.array_equal(np.concatenate([part["frame"] for part in parts]), whole["frame"])


def test_overlapping_spans_of_points_are_joined_by_position(clip):
    settings = PointSettings(max_points=150)
    runs = [
        batch.frame_points(outcome.result)
        for outcome in batch.map(batch.spans(clip, 20, 7, overlap=1), batch.points(settings))
    ]
    assert [len(run) for run in runs] == [8, 8, 6]
    joined = batch.join_points(runs)
    assert [p.frame for p in joined] == list(range(20))
    carried = 0
    before = {}
    for p in joined:
        places = {i: (x, y) for i, x, y in zip(p["id"].tolist(), p["x"], p["y"])}
        assert len(places) == len(p)
        steps = dict(zip(p["id"].tolist(), zip(p["dx"], p["dy"])))
        for name in places.keys() & before.keys():  # each goes on from where it was
            jump = np.subtract(np.subtract(places[name], before[name]), steps[name])
            assert np.hypot(*jump) < (1.001 if p.frame in (8, 15) else 0.001)
        carried += p.frame in (8, 15) and len(places.keys() & before.keys())
        before = places
    # Where spans meet, points go on under their names; a span finds others of its own, too.
    assert carried > 50
    with pytest.raises(ValueError, match="do not have frame 7"):
        batch.join_points([runs[0], runs[2]])


def resident():
    for line in open("/proc/self/status"):
        if line.startswith("VmRSS"):
            return int(line.split()[1])


def test_memory_stays_flat_over_two_hundred_clips(clips):
    job = batch.points(SETTINGS)
    sizes = []
    for _ in batch.map([batch.Span(c, 0, stop) for stop in (5, 4, 3, 2) for c in clips][:200], job):
        sizes.append(resident())
    assert max(sizes[150:]) - max(sizes[30:50]) < 4096, "KiB"
    assert descriptor.cache_figures().bytes == 0
