#!/usr/bin/python3
"""What many hours of 1080p cost: measured frames a second of one core, and a price.

    PYTHONPATH=build/release/Python/package Python/benchmarks/cost_sheet.py
        [--hours 1e6] [--fps 25] [--price 0.04] [--efficiency 1.0]

The clip is the repository's, enlarged to 1920x1080 and encoded anew (H.264); decoding is part of
each figure. `--price` is of a core for an hour, in any currency; `--efficiency` what a core does
of its share when all cores of a machine are busy (see the part `processes` of peers.py).
"""

import argparse
import tempfile
import time
from pathlib import Path

import av
import descriptor
from descriptor import Engine, PointSettings, batch

CLIP = str(Path(__file__).resolve().parents[2] / "Examples/Footage/car-park.mp4")


def enlarged(folder):
    path = str(Path(folder) / "clip-1080p.mp4")
    with av.open(CLIP) as clip, av.open(path, "w") as file:
        stream = file.add_stream("libx264", rate=25)
        stream.width, stream.height, stream.pix_fmt = 1920, 1080, "yuv420p"
        for frame in clip.decode(video=0):
            frame = frame.reformat(1920, 1080, "yuv420p")
            frame.pts = None
            file.mux(stream.encode(frame))
        file.mux(stream.encode())
    return path


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--hours", type=float, default=1e6)
    parser.add_argument("--fps", type=float, default=25.0)
    parser.add_argument("--price", type=float, default=0.04)
    parser.add_argument("--efficiency", type=float, default=1.0)
    options = parser.parse_args()
    jobs = {
        "decoding alone": lambda span: sum(1 for _ in descriptor.frames(span.clip)),
        "one grey in 20": batch.grey(every=20),
        "points, APT, 500": batch.points(),
        "points, KLT, 500": batch.points(PointSettings(engine=Engine.KLT)),
        "region": batch.region((805, 310, 380, 690)),
    }
    frames = options.hours * 3600 * options.fps
    print(f"{options.hours:g} hours of 1080p at {options.fps:g} frames a second")
    print(f"{'job':20} {'frames/s':>9} {'core hours':>12} {'cost':>12} {'cores for 30 days':>18}")
    with tempfile.TemporaryDirectory() as folder:
        span = batch.Span(enlarged(folder))
        for name, job in jobs.items():
            best = 0.0
            for _ in range(2):
                descriptor.clear_caches()
                start = time.process_time()  # of all threads: a core's time, busy or not
                job(span)
                best = max(best, 20 / (time.process_time() - start))
            hours = frames / (best * options.efficiency) / 3600
            print(f"{name:20} {best:9.1f} {hours:12,.0f} {hours * options.price:12,.0f} "
                  f"{hours / 720:18,.0f}")


if __name__ == "__main__":
    main()
