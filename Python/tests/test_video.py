"""Frames of anything that a pipeline has at hand."""


import descriptor
import numpy as np
import pytest
from conftest import moving, point_bytes


def bits(results):
    return [point_bytes(points.live) for points in results]


def run(video, **options):
    with descriptor.PointTracker() as tracker:
        return list(tracker.run(video, **options))


def test_a_clip_a_container_a_folder_and_arrays_give_the_same_bits(clip, tmp_path):
    import av

    frames = list(descriptor.frames(clip, stop=5))
    assert [frame.number for frame in frames] == list(range(5))
    assert frames[2].time == pytest.approx(2 / 12.5) and frames[0].pixels.shape == (432, 768, 4)
    expected = bits(run(clip, stop=5))
    assert bits(run(frames)) == expected
    assert bits(run([frame.pixels[..., 2::-1] for frame in frames])) == expected
    with av.open(clip) as container:
        assert bits(run(container, stop=5)) == expected
    with av.open(clip) as container:
        assert bits(run(container.decode(video=0), stop=5)) == expected
    for n, frame in enumerate(frames):
        picture = av.VideoFrame.from_ndarray(frame.pixels[..., :3].copy(), format="bgr24")
        with av.open(str(tmp_path / f"{n:03}.png"), "w") as file:
            stream = file.add_stream("png", rate=1)
            stream.width, stream.height, stream.pix_fmt = 768, 432, "rgb24"
            for packet in [*stream.encode(picture), *stream.encode()]:
                file.mux(packet)
    assert bits(run(tmp_path)) == expected


def test_a_capture_of_opencv_is_read(clip):
    cv2 = pytest.importorskip("cv2")
    video = descriptor.frames(cv2.VideoCapture(clip), start=3, stop=6)
    frames = list(video)
    assert video.total == 3 and [frame.number for frame in frames] == [3, 4, 5]
    assert frames[0].channels == "bgr" and frames[0].pixels.shape == (432, 768, 3)
    with pytest.raises(descriptor.VideoError, match="not open"):
        descriptor.frames(cv2.VideoCapture("nothing.mp4"))


def test_spans_of_a_clip_are_its_frames(clip):
    whole = [frame.pixels for frame in descriptor.frames(clip)]
    assert descriptor.frames(clip).total == len(whole) == 20
    for start, stop in [(0, 0), (4, 9), (15, None), (18, 40), (30, None)]:
        span = descriptor.frames(clip, start=start, stop=stop)
        found = list(span)
        assert [f.number for f in found] == list(range(20))[start:stop]
        assert span.total == len(found)
        assert all(np.array_equal(f.pixels, whole[f.number]) for f in found)
    with pytest.raises(ValueError, match="no span"):
        descriptor.frames(clip, start=4, stop=3)


def test_what_cannot_be_read_is_told_by_name(clip, tmp_path):
    short = tmp_path / "short.mp4"
    data = open(clip, "rb").read()
    # The index first, so that the clip opens and breaks off.
    short.write_bytes(data[: len(data) * 2 // 3])
    text = tmp_path / "text.mp4"
    text.write_text("no video")
    (tmp_path / "empty").mkdir()
    for path in (short, text, tmp_path / "empty", tmp_path / "none.mp4"):
        with pytest.raises(descriptor.VideoError, match=path.name):
            run(path)
    with pytest.raises(TypeError, match="video: expected"):
        run(7)


def test_progress_is_told_and_stops_a_run(capsys):
    frames = moving(4, width=80, height=60)
    told = []
    run(frames, progress=lambda *step: told.append(step))
    assert told == [(n, 4) for n in range(5)]
    with pytest.raises(descriptor.Cancelled, match="stopped after 2 of 4"):
        run(frames, progress=lambda done, total: done < 2)
    told.clear()
    run(iter(frames), progress=lambda *step: told.append(step))
    assert told[-1] == (4, None)
    run(frames, progress=True)
    assert "points: 4 of 4 frames" in capsys.readouterr().err


def test_without_a_reader_it_says_what_is_needed(clip, monkeypatch):
    monkeypatch.setitem(__import__("sys").modules, "av", None)
    with pytest.raises(descriptor.VideoError, match="python3-av"):
        run(clip)
