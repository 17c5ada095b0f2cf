"""Tables and editors' files: written, read again, and the same as the tool's."""

import json
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


def test_rows_stay_when_the_frames_fail_and_json_has_frames_without_points(tmp_path):
    flat = [np.full((180, 240), grey, np.uint8) for grey in (10, 20)]
    run = list(descriptor.PointTracker().run([*moving(2), *flat, *moving(1)]))
    assert not len(run[3]) and not len(run[3].lost)
    files.write_points(tmp_path / "track.json", run)
    assert [p.frame for p in files.read_points(tmp_path / "track.json")] == list(range(5))

    def failing(results):
        yield from results
        raise OSError("the camera is gone")

    rect = descriptor.RegionTracker((100, 80, 60, 50)).run(moving(2))
    for kind, results in (("points", run[:2]), ("region", rect)):
        with pytest.raises(OSError, match="camera"):
            getattr(files, f"write_{kind}")(tmp_path / "a.csv", failing(results))
        read = getattr(files, f"read_{kind}")(tmp_path / "a.csv")
        assert [result.frame for result in read] == [0, 1]


POINT = {"slot": 0, "x": 1, "y": 1, "status": 1, "correlation": 1, "age": 0, "dx": 0, "dy": 0}
# As the tool's, with both trackers, and settings and a name to stumble over.
TRACK = {
    "command": "track", "source": "$\\frac$.mp4", "cuts": [],
    "trackers": [{"tracker": "apt", "settings": {"step": 1}},
                 {"tracker": "klt", "settings": {"step": 2}}],
    "frames": [{"frame": 0, "time": 0, "trackers": [
        {"tracker": name, "state": "tracked", "milliseconds": 1.5, "points": [POINT]}
        for name in ("apt", "klt")]}],
}


@pytest.mark.parametrize(
    "name, content, error",
    [
        ("track.json", b"\x89PNG" + bytes(100000), "UnicodeDecodeError"),
        ("track.csv", b"\x89PNG" + bytes(100000), "UnicodeDecodeError"),
        ("track.json", json.dumps(TRACK)[:-9], "is no table: JSONDecodeError"),
        ("track.json", "[" * 100000, "RecursionError"),
        ("track.json", "[]", "has no frames"),
        ("track.csv", "frame,time,state,slot,status\n0,0,tracked,0," + "x" * 1000, "of points"),
        ("track.json", {"frames": TRACK["frames"], "trackers": []}, "has no tracker$"),
        ("track.json", {**TRACK, "cuts": [{"frame": 1}]}, "of points: KeyError: 'tracker'"),
        ("track.json", {**TRACK, "source": 5}, None),
        ("select.json", {"command": "select", "cuts": []}, "no table of points, but of 'select'"),
    ],
    ids=["picture", "picture as CSV", "cut", "deep", "list", "long value", "no tracker", "cuts",
         "source", "selection"],
)
def test_other_files_are_refused_in_one_short_line(name, content, error, tmp_path, capsys):
    path = tmp_path / name
    content = json.dumps(content) if isinstance(content, dict) else content
    path.write_bytes(content if isinstance(content, bytes) else content.encode())
    with pytest.raises(files.FormatError, match=error) as caught:
        files.read_points(path) if error else files.describe(path)
    assert len(str(caught.value)) < len(str(path)) + 160
    pytest.importorskip("matplotlib")
    from descriptor import plot

    assert plot.main([str(path), "-o", str(tmp_path / "out.png")]) == 1
    line = capsys.readouterr().err
    assert line.count("\n") == line.count(str(path)) == 1


@pytest.mark.parametrize(
    "document, arguments, shown, hidden",
    [
        (TRACK, "--kind time", ["apt", "klt", "$\\frac$.mp4, apt, klt"], []),
        (TRACK, "--kind time --tracker klt", ["klt", "$\\frac$.mp4, klt, step 2"], ["apt"]),
        (TRACK, "", ["live", "$\\frac$.mp4, apt, step 1"], []),
        ({"command": "grey", "frames": [{"frame": 0, "grey_milliseconds": 1.0}]}, "",
         ["Time in the library", "grey"], []),
    ],
)
def test_a_plot_shows_what_is_asked_for_and_says_so(document, arguments, shown, hidden, tmp_path):
    pytest.importorskip("matplotlib")
    from descriptor import plot

    table, output = tmp_path / "table.json", tmp_path / "out.svg"
    table.write_text(json.dumps(document))
    assert plot.main([str(table), *arguments.split(), "-o", str(output)]) == 0
    texts = re.findall("<!-- (.*) -->", output.read_text())
    assert set(shown) <= set(texts) and not set(hidden) & set(texts)
    assert plot.main([str(table), "--tracker", "sift", "-o", str(output)]) == 1


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
