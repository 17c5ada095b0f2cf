// Whole frames as a host asks for them: through the exported functions, the cache and all, on
// every clip and size, beside OpenCV in turns. What a run computed is compared with the peer's
// answer before its times are reported.
//
//     whole_frames_benchmark [--clips=PATH] [--size=WxH]... [--frames=N] [--benchmark_...]

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

#include "Benchmarks/Support/Turns.h"
#include "HostRuns.h"
#include "Parallel.h"
#include "Peers.h"
#include "TVK/MemoryRecycler.h"

namespace {

using Bench::AptRun;
using Bench::Clip;
using Bench::KltRun;
using Bench::Turns;
using benchmark::State;

// No two runs share a key.
std::string NewSource() {
    static int sRuns = 0;
    return "run " + std::to_string(++sRuns);
}

// The state of a process that has just begun, as far as memory goes.
void GoCold() {
    DP::FlushAllDescriptorResources();
    TVK::MemoryRecycler::Instance()->Trim();
    malloc_trim(0);
}

// ---- Points --------------------------------------------------------------------------

// One pass that does not count, and one that does, from its second frame on. The peer follows
// our points of the frame before, and selects anew where we do.
template <class Make>
void TrackPoints(State& ioState, const Clip& inClip, Make inMake, bool inRefills,
                 std::unique_ptr<Bench::PointPeer> ioPeer) {
    if (inClip.GetLength() < 2) return ioState.SkipWithError("one frame only");
    Turns turns;
    for (auto _ : ioState) {
        const auto warm = inMake(NewSource());
        for (int frame = 0; frame < Bench::TheOptions().mFrames; ++frame)
            warm->Step(frame);
        const auto ours = inMake(NewSource());
        ours->Step(0);
        if (ioPeer) ioPeer->Step(inClip, 0, false);
        ioState.counters["selected"] = Bench::CountLive(ours->GetPoints());
        double time = 0;
        for (int frame = 1; frame < Bench::TheOptions().mFrames; ++frame) {
            if (ioPeer) ioPeer->Take(ours->GetPoints());
            time += turns.Time("ours", [&] { ours->Step(frame); });
            if (!ioPeer) continue;
            turns.Time("peer", [&] { ioPeer->Step(inClip, frame, inRefills); });
            if (!inRefills && !Bench::Agree(ours->GetPoints(), ioPeer->GetPoints()))
                return ioState.SkipWithError("the points lie elsewhere than the peer's");
        }
        ioState.SetIterationTime(time / 1000.0);
        ioState.counters["kept"] = Bench::CountLive(ours->GetPoints());
    }
    turns.Report(ioState);
}

// With refilling every lost point is replaced at once, so that nearly every frame selects.
void TrackKlt(State& ioState, const Clip& inClip, bool inRefills) {
    TrackPoints(
        ioState, inClip,
        [&](const std::string& inSource) {
            return std::make_unique<KltRun>(inClip, inSource, inRefills ? Bench::kPoints : 0);
        },
        inRefills, Bench::MakePointPeer(7, 3));
}

void TrackApt(State& ioState, const Clip& inClip) {
    TrackPoints(
        ioState, inClip,
        [&](const std::string& inSource) {
            return std::make_unique<AptRun>(inClip, inSource, 0);
        },
        false, Bench::MakePointPeer(11, 3));
}

// The peer is the library itself, without the verification.
void TrackAptVerified(State& ioState, const Clip& inClip) {
    if (inClip.GetLength() < 2) return ioState.SkipWithError("one frame only");
    Turns turns;
    for (auto _ : ioState) {
        AptRun verified(inClip, NewSource(), 1), plain(inClip, NewSource(), 0);
        verified.Step(0), plain.Step(0);
        double time = 0;
        for (int frame = 1; frame < Bench::TheOptions().mFrames; ++frame) {
            time += turns.Time("ours", [&] { verified.Step(frame); });
            turns.Time("unverified", [&] { plain.Step(frame); });
        }
        ioState.SetIterationTime(time / 1000.0);
        ioState.counters["kept"] = Bench::CountLive(verified.GetPoints());
        if (Bench::CountLive(verified.GetPoints()) > Bench::CountLive(plain.GetPoints()))
            return ioState.SkipWithError("verification kept points that are lost");
    }
    turns.Report(ioState);
}

double ResidentMiB() {
    std::ifstream file("/proc/self/statm");
    double total = 0, resident = 0;
    file >> total >> resident;
    return resident * double(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

double PageFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_minflt);
}

// The first 17 frames of a process, beside those after the next 17.
// `MiB` is what the stream has made resident, `faults` are the page faults of a later frame.
template <class Run>
void StartCold(State& ioState, const Clip& inClip, Run inRun) {
    constexpr int kFrames = 17;
    if (inClip.GetLength() < 2) return ioState.SkipWithError("one frame only");
    Turns turns;
    for (auto _ : ioState) {
        GoCold();
        const double resident = ResidentMiB();
        double time = 0;
        for (const char* const name : {"ours", "warm", "steady"}) {
            const double faults = PageFaults();
            const auto run = inRun(NewSource());
            run->Step(0);
            for (int frame = 1; frame < kFrames; ++frame) {
                const double once = Bench::Milliseconds([&] { run->Step(frame); });
                if (name != std::string("warm")) turns.Add(name, once);
                time += once;
            }
            ioState.counters["faults"] = (PageFaults() - faults) / kFrames;
        }
        ioState.counters["MiB"] = ResidentMiB() - resident;
        ioState.SetIterationTime(time / 1000.0);
    }
    turns.Report(ioState);
}

// The first frame of a clip: selection and the frame's pyramids.
void SelectKlt(State& ioState, const Clip& inClip) {
    Turns turns;
    const auto peer = Bench::MakePointPeer(7, 3);
    for (auto _ : ioState) {
        double time = 0;
        for (int frame = 0; frame < Bench::TheOptions().mFrames; ++frame) {
            KltRun ours(inClip, NewSource(), 0);
            const double once = turns.Time("ours", [&] { ours.Step(frame); });
            if (peer) turns.Time("peer", [&] { peer->Select(inClip, frame); });
            time += once;
            ioState.counters["selected"] = Bench::CountLive(ours.GetPoints());
        }
        ioState.SetIterationTime(time / 1000.0);
    }
    turns.Report(ioState);
}

// ---- A region ------------------------------------------------------------------------

// With true boxes the means of the overlaps with them are told, of ours and of the peer's; a
// tracker may lose what it follows, each in its way.
void TrackRegion(State& ioState, const Clip& inClip) {
    if (inClip.GetLength() < 2) return ioState.SkipWithError("one frame only");
    Turns turns;
    const auto peer = Bench::MakeRegionPeer();
    const int frames = Bench::TheOptions().mFrames;
    for (auto _ : ioState) {
        Bench::RegionRun ours(inClip, NewSource());
        ours.Step(0);
        if (peer) peer->Start(inClip);
        double time = 0, overlap = 0, peers = 0;
        for (int frame = 1; frame < frames; ++frame) {
            time += turns.Time("ours", [&] { ours.Step(frame); });
            if (peer) turns.Time("peer", [&] { peer->Step(inClip, frame); });
            if (frame == 1 && Overlap(ours.GetBox(), inClip.GetBox(0)) < 0.5)
                return ioState.SkipWithError("the region was lost at once");
            overlap += Overlap(ours.GetBox(), inClip.GetBox(frame)) / (frames - 1);
            if (peer) peers += Overlap(peer->GetBox(), inClip.GetBox(frame)) / (frames - 1);
        }
        ioState.SetIterationTime(time / 1000.0);
        if (!inClip.HasTrueBoxes()) continue;
        ioState.counters["overlap"] = overlap;
        ioState.counters["peer_overlap"] = peers;
    }
    turns.Report(ioState);
}

// ---- Grey ----------------------------------------------------------------------------

constexpr std::size_t kGreyCache = 60;

void Grey(State& ioState, const Clip& inClip, bool inFloats) {
    Turns turns;
    const auto peer = Bench::MakeGreyPeer();
    const int frames = std::max(Bench::TheOptions().mFrames, 4);
    for (auto _ : ioState) {
        const std::string source = NewSource();
        double time = 0;
        for (int frame = 0; frame < 8 * frames; ++frame) {
            const double once = turns.Time("ours", [&] {
                if (inFloats)
                    Bench::RequestFloatGrey(inClip, source, frame);
                else
                    Bench::RequestGrey(inClip, source, frame);
            });
            time += once;
            if (!peer) continue;
            turns.Time("kept", [&] { peer->Kept(inClip, frame, inFloats, kGreyCache); });
            turns.Time("reused", [&] { peer->Reused(inClip, frame, inFloats); });
            if (frame == 0 &&
                !peer->Equals(Bench::RequestGrey(inClip, source, frame)->GetData()))
                return ioState.SkipWithError("the two libraries differ");
        }
        ioState.SetIterationTime(time / 1000.0);
    }
    turns.Report(ioState);
}

// ---- Cutting out ---------------------------------------------------------------------

IP::ImagePtr<unsigned char> Mask(const Clip& inClip, const Bench::Box& inBox, bool inIsRim) {
    const int columns = inClip.GetColumns(), rows = inClip.GetRows();
    auto mask = TVK::MakeObject<IP::Image<unsigned char>>(columns, rows);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x) {
            const bool isInside = x >= inBox.mX && x < inBox.mX + inBox.mWidth &&
                                  y >= inBox.mY && y < inBox.mY + inBox.mHeight;
            mask->GetData()[y * columns + x] = isInside != inIsRim ? 255 : 0;
        }
    return mask;
}

// A dab of a fifth of the start's sides in its middle, and a rim of the frame.
struct Strokes {
    explicit Strokes(const Clip& inClip) : Strokes(inClip, inClip.GetBox(0)) {}
    Strokes(const Clip& inClip, const Bench::Box& inBox)
        : mFront(Mask(inClip,
                      {inBox.mX + 0.4 * inBox.mWidth, inBox.mY + 0.4 * inBox.mHeight,
                       0.2 * inBox.mWidth, 0.2 * inBox.mHeight},
                      false)),
          mBack(
              Mask(inClip, {8, 8, inClip.GetColumns() - 16.0, inClip.GetRows() - 16.0}, true)),
          mNone(Mask(inClip, {}, false)) {}

    // Every pixel of a stroke has its label.
    bool AreIn(const IP::ImagePtr<unsigned char>& inLabels) const {
        const std::size_t pixels =
            std::size_t(inLabels->GetColumns()) * std::size_t(inLabels->GetRows());
        for (std::size_t i = 0; i < pixels; ++i) {
            if (mFront->GetData()[i] && !inLabels->GetData()[i]) return false;
            if (mBack->GetData()[i] && !mFront->GetData()[i] && inLabels->GetData()[i])
                return false;
        }
        return true;
    }

    IP::ImagePtr<unsigned char> mFront, mBack, mNone;
};

void FirstCut(State& ioState, const Clip& inClip) {
    const Strokes strokes(inClip);
    Turns turns;
    for (auto _ : ioState) {
        double time = 0;
        for (int round = 0; round < std::max(Bench::TheOptions().mFrames / 4, 2); ++round) {
            IP::ImagePtr<unsigned char> labels;
            time += turns.Time("ours", [&] {
                labels = Bench::RequestCut(inClip, NewSource(), 0, strokes.mFront,
                                           strokes.mBack, {});
            });
            bool hasPeer = false;
            const double peers =
                Bench::Milliseconds([&] { hasPeer = Bench::RunWatershed(inClip, 6); });
            if (hasPeer) turns.Add("watershed", peers);
            if (!strokes.AreIn(labels))
                return ioState.SkipWithError("a stroke has the other label");
        }
        ioState.SetIterationTime(time / 1000.0);
    }
    turns.Report(ioState);
}

// The same foreground stroke again: nothing changes.
void StrokeWithoutEffect(State& ioState, const Clip& inClip) {
    const Strokes strokes(inClip);
    Turns turns;
    for (auto _ : ioState) {
        const std::string source = NewSource();
        auto labels = Bench::RequestCut(inClip, source, 0, strokes.mFront, strokes.mBack, {});
        double time = 0;
        for (int stroke = 1; stroke < Bench::TheOptions().mFrames; ++stroke) {
            auto copy = TVK::MakeObject<IP::Image<unsigned char>>(inClip.GetColumns(),
                                                                  inClip.GetRows());
            copy->CopyPixelsFrom(labels);
            time += turns.Time("ours", [&] {
                labels = Bench::RequestCut(inClip, source, stroke, strokes.mFront,
                                           strokes.mNone, copy);
            });
        }
        if (!strokes.AreIn(labels)) return ioState.SkipWithError("a stroke was lost");
        ioState.SetIterationTime(time / 1000.0);
    }
    turns.Report(ioState);
}

// ---- Two at once -----------------------------------------------------------------------

// Wall time of two clips on two threads, and on two processes. In each round both.
void TwoThreads(State& ioState, const Clip& inClip) {
    if (inClip.GetLength() < 2) return ioState.SkipWithError("one frame only");
    Turns turns;
    for (auto _ : ioState) {
        double time = 0;
        for (int round = 0; round < 3; ++round) {
            turns.Add("processes", Bench::TwoProcesses(inClip));
            const double once = Bench::TwoThreads(inClip);
            turns.Add("ours", once);
            time += once;
        }
        ioState.SetIterationTime(time / 1000.0);
    }
    turns.Report(ioState);
}

template <class Run>
void StartRunCold(State& ioState, const Clip& inClip) {
    StartCold(ioState, inClip, [&](const std::string& inSource) {
        return std::make_unique<Run>(inClip, inSource, 0);
    });
}

}  // namespace

int main(int inCount, char** inArguments) {
    return Bench::RunOverClips(inCount, inArguments,
                               {{"KLT",
                                 [](State& s, const Clip& clip) {
                                     TrackKlt(s, clip, false);
                                 }},
                                {"KLTRefilled",
                                 [](State& s, const Clip& clip) {
                                     TrackKlt(s, clip, true);
                                 }},
                                {"KLTFirstFrame", SelectKlt},
                                {"KLTCold", StartRunCold<KltRun>},
                                {"APT", TrackApt},
                                {"APTVerified", TrackAptVerified},
                                {"APTCold", StartRunCold<AptRun>},
                                {"Region", TrackRegion},
                                {"Grey",
                                 [](State& s, const Clip& clip) {
                                     Grey(s, clip, false);
                                 }},
                                {"FloatGrey",
                                 [](State& s, const Clip& clip) {
                                     Grey(s, clip, true);
                                 }},
                                {"FirstCut", FirstCut},
                                {"StrokeWithoutEffect", StrokeWithoutEffect},
                                {"TwoThreads", TwoThreads}});
}
