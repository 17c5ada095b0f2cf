// Grey conversion of host frames, beside OpenCV on one thread.
//
// The bound is memory: a 1920x1080 frame is 8.3 MB read and 2.1 MB (bytes) or 8.3 MB
// (floats) written. Read the bytes/s column.

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <vector>

#include "Support/Textures.h"
#include "image/IPImage.h"
#include "image/PixelOps.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

struct Frame {
    explicit Frame(const benchmark::State& inState)
        : mCols(static_cast<int>(inState.range(0))),
          mRows(static_cast<int>(inState.range(1))),
          mPixels(Testing::NoiseBytes(std::size_t(mCols) * std::size_t(mRows) * 4, 3)) {}
    int mCols;
    int mRows;
    std::vector<unsigned char> mPixels;
};

void CountBytes(benchmark::State& ioState, const Frame& inFrame, int inBytesPerPixel) {
    ioState.SetBytesProcessed(ioState.iterations() * inFrame.mCols * inFrame.mRows *
                              inBytesPerPixel);
}

void Grey(benchmark::State& ioState) {
    const Frame frame(ioState);
    IP::Image<unsigned char> grey(frame.mCols, frame.mRows);
    for (auto _ : ioState) {
        IP::GetGreyImage(frame.mPixels.data(), frame.mRows, frame.mCols, frame.mCols * 4,
                         grey.GetData());
        benchmark::ClobberMemory();
    }
    CountBytes(ioState, frame, 5);
}

void FloatGrey(benchmark::State& ioState) {
    const Frame frame(ioState);
    IP::Image<float> grey(frame.mCols, frame.mRows);
    for (auto _ : ioState) {
        IP::GetFloatGreyImage(frame.mPixels.data(), frame.mRows, frame.mCols, frame.mCols * 4,
                              grey.GetData());
        benchmark::ClobberMemory();
    }
    CountBytes(ioState, frame, 8);
}

#define DP_AT_FRAME_SIZES Args({640, 480})->Args({1920, 1080})->Unit(benchmark::kMicrosecond)

BENCHMARK(Grey)->DP_AT_FRAME_SIZES;
BENCHMARK(FloatGrey)->DP_AT_FRAME_SIZES;

#ifdef DP_HAVE_OPENCV

// The peer in its better case: one thread, the output kept from call to call.
struct Peer {
    explicit Peer(Frame& inFrame)
        : mColour(inFrame.mRows, inFrame.mCols, CV_8UC4, inFrame.mPixels.data()) {
        mallopt(M_MMAP_THRESHOLD, 1 << 30);
        mallopt(M_TRIM_THRESHOLD, 1 << 30);
        cv::setNumThreads(1);
    }
    cv::Mat mColour;
    cv::Mat mGrey;
    cv::Mat mFloats;
};

void OpenCVGrey(benchmark::State& ioState) {
    Frame frame(ioState);
    Peer peer(frame);
    for (auto _ : ioState) {
        cv::cvtColor(peer.mColour, peer.mGrey, cv::COLOR_BGRA2GRAY);
        benchmark::ClobberMemory();
    }
    std::vector<unsigned char> mine(peer.mGrey.total());
    IP::GetGreyImage(frame.mPixels.data(), frame.mRows, frame.mCols, frame.mCols * 4,
                     mine.data());
    if (!std::equal(mine.begin(), mine.end(), peer.mGrey.data))
        ioState.SkipWithError("the two libraries differ");
    CountBytes(ioState, frame, 5);
}

void OpenCVFloatGrey(benchmark::State& ioState) {
    Frame frame(ioState);
    Peer peer(frame);
    for (auto _ : ioState) {
        cv::cvtColor(peer.mColour, peer.mGrey, cv::COLOR_BGRA2GRAY);
        peer.mGrey.convertTo(peer.mFloats, CV_32F);
        benchmark::ClobberMemory();
    }
    CountBytes(ioState, frame, 8);
}

BENCHMARK(OpenCVGrey)->DP_AT_FRAME_SIZES;
BENCHMARK(OpenCVFloatGrey)->DP_AT_FRAME_SIZES;

#endif

}  // namespace
