"""Tables and editors' files: written, read again, and the same as the tool's."""

import os
import re
import subprocess

import descriptor
import numpy as np
import pytest
from conftest import moving, texture
from descriptor import Engine, PointSettings, Rect, files

WIDTH, HEIGHT, RATE = 768, 432, 12.5


def motion(scale=1.0):
    keys = [
        files.Key(n, n / RATE, Rect(100.25 + 3.5 * n, 80.5 - n, 60 + scale * n, 50 - scale * n))
        for n in range(6)
    ]
    return files.Motion(WIDTH, HEIGHT, RATE, keys)


@pytest.mark.parametrize("form", files.EDITORS)
def test_editors_files_are_read_back_to_their_digits(form, tmp_path):
    path = tmp_path / files.editor_file_name("region", form)
    files.write_editor(motion(), form, path)
    first = motion().keys[0].rect
    read = files.read_editor(path, form, WIDTH, HEIGHT, RATE, (first.width, first.height))
    assert len(read.keys) == 6
    for key, expected in zip(read.keys, motion(0.0 if form == "nuke" else 1.0).keys):
        assert key.frame == expected.frame
        assert key.time == pytest.approx(expected.time, abs=6e-4)
        centre = expected.rect.centre if form != "nuke" else motion().keys[key.frame].rect.centre
        assert key.rect.centre == pytest.approx(centre, abs=0.006)
        assert key.rect[2:] == pytest.approx(expected.rect[2:], abs=0.006)
    with pytest.raises(files.FormatError, match=path.name):
        path.write_text("nothing\n")
        files.read_editor(path, form, WIDTH, HEIGHT, RATE)


@pytest.mark.parametrize("engine", Engine)
@pytest.mark.parametrize("ending", ["csv", "json"])
def test_tables_of_points_are_read_back(engine, ending, tmp_path):
    video = moving(4)
    video += [video[3], texture(seed=8)]
    tracker = descriptor.PointTracker(PointSettings(engine=engine, max_points=90))
    run = [tracker.advance(frame, time=n / 25) for n, frame in enumerate(video)]
    path = tmp_path / f"track.{ending}"
    files.write_points(path, run, engine)
    read = files.read_points(path)
    assert [p.frame for p in read] == list(range(6)) and read[4].is_repeated
    names = {}
    for found, expected in zip(read, run):
        assert found.time == expected.time
        for column in ("slot", "x", "y", "dx", "dy", "age", "status"):
            assert np.array_equal(found[column], expected[column])
        if engine == Engine.KLT:
            assert np.array_equal(found["id"], expected["id"])
        for a, b in zip(found["id"].tolist(), expected["id"].tolist()):
            assert names.setdefault(b, a) == a  # the same points, under names of their own
        assert sorted(found.lost["slot"]) == sorted(expected.lost["slot"])
    assert len(set(names.values())) == len(names)


@pytest.mark.parametrize("ending", ["csv", "json"])
def test_tables_of_a_region_are_read_back(ending, tmp_path):
    tracker = descriptor.RegionTracker((100, 80, 60, 50))
    run = list(tracker.run(moving(4, width=320, height=240)))
    path = tmp_path / f"region.{ending}"
    files.write_region(path, run)
    for found, expected in zip(files.read_region(path), run):
        assert found.rect == pytest.approx(expected.rect, rel=1e-7)
        assert found.state == expected.state and found.frame == expected.frame
    with pytest.raises(files.FormatError, match=path.name):
        files.read_points(path)


def test_the_longest_paths_come_first():
    tracker = descriptor.PointTracker(PointSettings(max_points=60))
    run = list(tracker.run([*moving(4), *moving(3, seed=5)]))
    motions = files.longest_motions(run, 240, 180, 25, count=1000)
    counts = [len(m.keys) for m in motions]
    assert counts == sorted(counts, reverse=True) and counts[0] >= 4
    assert sum(counts) == sum(len(points) for points in run)
    steps = np.diff(files.positions(motions[0]), axis=0)
    assert np.abs(steps[:3] - (2, 1)).max() < 0.3  # what lives over the cut moved


NUMBER = re.compile(r"-?\d+(?:\.\d+)?(?:e-?\d+)?")
def assert_same(here, there, tolerance):
    assert NUMBER.sub("#", here) == NUMBER.sub("#", there)
    numbers = [[float(x) for x in NUMBER.findall(text)] for text in (here, there)]
    assert numbers[0] == pytest.approx(numbers[1], rel=1e-6 if tolerance > 1e-6 else 1e-14,
                                       abs=tolerance)


HOST = os.environ.get("DESCRIPTOR_HOST", "")


@pytest.mark.skipif(not os.path.exists(HOST), reason="descriptor-host is not built")
def test_the_tool_writes_the_same_files_for_editors(clip, tmp_path):
    forms = [word for form in files.EDITORS for word in ("--editors", form)]
    subprocess.run(
        [HOST, "region", clip, "--rect", "322,124,152,276", "--no-video", *forms, "--json",
         tmp_path / "region.json", "-o", tmp_path],
        check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    results = files.read_region(tmp_path / "region.csv")
    assert [r.rect for r in results] == [
        r.rect for r in files.read_region(tmp_path / "region.json")]
    made = files.motion_of(results, WIDTH, HEIGHT, RATE)
    for form in files.EDITORS:
        name = files.editor_file_name("region", form)
        files.write_editor(made, form, tmp_path / "here")
        here, there = ((tmp_path / n).read_text() for n in ("here", name))
        assert_same(here, there, 2e-4)  # the table has the tool's numbers as floats
    subprocess.run(
        [HOST, "track", clip, "--features", "80", "--no-video", *forms, "-o", tmp_path],
        check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    run = files.read_points(tmp_path / "track.csv")
    assert len(run) == 20 and len(run[-1]) > 20
    for number, path in enumerate(files.longest_motions(run, WIDTH, HEIGHT, RATE), 1):
        for form in files.EDITORS:
            name = files.editor_file_name(f"track-{number}", form)
            files.write_editor(path, form, tmp_path / "here")
            here, there = ((tmp_path / n).read_text() for n in ("here", name))
            if form == "webvtt":  # all digits of a double, of which the last may differ
                assert_same(here, there, 1e-11)
            else:
                assert here == there, name


def test_a_plot_has_what_was_tracked(clip, tmp_path):
    pytest.importorskip("matplotlib")
    from descriptor import plot

    tracker = descriptor.PointTracker(PointSettings(max_points=60))
    run = list(tracker.run(clip, stop=6))
    picture = plot.picture_of(clip, 5)
    assert picture.shape == (432, 768, 3)
    figure = plot.tracks(run, picture)
    lines = figure.axes[0].collections[0].get_segments()
    assert len(lines) == len(run[-1])
    assert {tuple(line[-1]) for line in lines} == set(zip(run[-1]["x"], run[-1]["y"]))
    live, lost = figure_lines(plot.points(run))[:2]
    assert live.tolist() == [len(p) for p in run] and lost.tolist() == [len(p.lost) for p in run]
    assert plot.lengths(run).axes[0].get_yscale() == "log"
    bars = plot.lengths(run).axes[0].patches
    assert sum(bar.get_height() for bar in bars) == len({i for p in run for i in p["id"]})
    table, output = tmp_path / "track.csv", tmp_path / "out.png"
    files.write_points(table, run)
    for kind in ("points", "tracks", "lengths"):
        arguments = [str(table), "--kind", kind, "--video", clip, "-o", str(output)]
        assert plot.main(arguments) == 0
        assert output.read_bytes().startswith(b"\x89PNG")
    assert plot.main([str(table), "--kind", "size", "-o", str(output)]) == 1
    assert plot.main([str(tmp_path / "none.csv"), "-o", str(output)]) == 1


@pytest.mark.skipif(not os.path.exists(HOST), reason="descriptor-host is not built")
def test_plots_of_the_tool_s_files_name_clip_settings_cuts_and_ends(clip, tmp_path):
    pytest.importorskip("matplotlib")
    from descriptor import plot

    table = tmp_path / "track.json"
    frames = [np.random.default_rng(n // 3).integers(0, 256, (120, 160), np.uint8)
              for n in range(6)]
    (tmp_path / "raw").write_bytes(b"".join(np.roll(f, n, 1) for n, f in enumerate(frames)))
    run_tool = [HOST, "track", tmp_path / "raw", "--raw", "160x120", "--format", "gray8",
                "--features", "80", "--no-video", "--json", table, "-o", tmp_path]
    subprocess.run(run_tool, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    assert [p.frame for p in files.read_points(table) if p.is_cut] == [3]
    above, below = plot.points(files.read_points(table)).axes
    assert [t.get_text() for t in (*above.texts, *below.texts)] == ["cut?", "cut?"]
    assert files.describe(table).startswith("raw, apt, step 1, features 80, ")
    steps = files.read_milliseconds(table)["apt"]
    assert [frame for frame, _ in steps] == list(range(6)) and min(ms for _, ms in steps) > 0
    region = tmp_path / "region.json"
    subprocess.run(
        [HOST, "region", clip, "--rect", "322,124,152,276", "--no-video", "--json", region,
         "-o", tmp_path],
        check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    assert "rect 322,124,152,276" in files.describe(region)
    ends = [t.get_text() for t in plot.path(files.read_region(region)).axes[0].texts]
    assert ends == ["start, 0.00 s", "end, 1.52 s"]
    for kind in ("path", "time"):
        assert plot.main([str(region), "--kind", kind, "-o", str(tmp_path / "out.png")]) == 0
    assert plot.main([str(tmp_path / "track.csv"), "--kind", "time", "-o", "out.png"]) == 1


def figure_lines(figure):
    return [line.get_ydata() for axes in figure.axes for line in axes.lines]
