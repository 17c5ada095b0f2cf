// Smoothing, gradients and a frame's whole pyramids, each beside the same work in OpenCV on
// one thread: the same taps, 32-bit floats, outputs kept from round to round.

#include "image/IPConvolveImage.h"

#include <benchmark/benchmark.h>

#include "Benchmarks/Support/GreyFrames.h"
#include "Benchmarks/Support/Rounds.h"
#include "Support/Images.h"
#include "image/IPFramePyramids.h"
#include "image/IPRowKernels.h"

namespace {

struct Frame {
    explicit Frame(const benchmark::State& inState)
        : mCols(int(inState.range(0))),
          mRows(int(inState.range(1))),
          mBytes(Bench::GreyFrames(mCols, mRows)[0]),
          mImage(Testing::ImageOf<float>(mCols, mRows, {mBytes.begin(), mBytes.end()})) {
        Bench::KeepFreedBlocks();
    }
    IP::ImagePtr<float> NewImage() const {
        return TVK::MakeObject<IP::Image<float>>(mCols, mRows);
    }
    int mCols;
    int mRows;
    Bench::GreyFrame mBytes;
    IP::ImagePtr<float> mImage;
};

#ifdef DP_HAVE_OPENCV

// The taps of a kernel, read off an impulse: a row under the one kernel only.
cv::Mat TapsOf(float inSigma, bool inDerivative) {
    constexpr int kSide = 2 * IP::MAX_KERNEL_WIDTH + 1, kMiddle = IP::MAX_KERNEL_WIDTH;
    std::vector<float> pixels(kSide * kSide);
    std::fill_n(pixels.begin() + kMiddle, 1, 0.0f);
    for (int y = 0; y < kSide; ++y)
        pixels[std::size_t(y * kSide + kMiddle)] = 1.0f;  // a column: smoothing down it is 1
    const auto image = Testing::ImageOf(kSide, kSide, pixels);
    const auto x = Testing::StaleImage(kSide, kSide), y = Testing::StaleImage(kSide, kSide);
    if (inDerivative)
        IP::ComputeGradients(image, inSigma, x, y);
    else
        IP::ComputeSmoothedImage(image, inSigma, x);
    const float* const row = x->GetData() + kMiddle * kSide;
    int radius = kMiddle;
    while (row[kMiddle - radius] == 0.0f && row[kMiddle + radius] == 0.0f)
        --radius;
    // A filter of OpenCV's is a correlation: the taps run backwards.
    cv::Mat taps(1, 2 * radius + 1, CV_32F);
    for (int i = 0; i <= 2 * radius; ++i)
        taps.at<float>(i) = row[kMiddle + radius - i];
    return taps;
}

struct Peer {
    explicit Peer(const Frame& inFrame)
        : mBytes(inFrame.mRows, inFrame.mCols, CV_8U,
                 const_cast<unsigned char*>(inFrame.mBytes.data())) {
        cv::setNumThreads(1);
        mBytes.convertTo(mImage, CV_32F);
    }
    static void Filter(const cv::Mat& inImage, const cv::Mat& inX, const cv::Mat& inY,
                       cv::Mat& outImage) {
        cv::sepFilter2D(inImage, outImage, CV_32F, inX, inY, cv::Point(-1, -1), 0,
                        cv::BORDER_REPLICATE);
    }
    void Smooth(const cv::Mat& inTaps) { Filter(mImage, inTaps, inTaps, mOut[0]); }
    void Gradients(const cv::Mat& inGauss, const cv::Mat& inDerivative) {
        Filter(mImage, inDerivative, inGauss, mOut[0]);
        Filter(mImage, inGauss, inDerivative, mOut[1]);
    }
    void Pyramids(const cv::Mat& inSmooth, const cv::Mat& inLevel, const cv::Mat& inGauss,
                  const cv::Mat& inDerivative) {
        mBytes.convertTo(mImage, CV_32F);
        Filter(mImage, inSmooth, inSmooth, mSmoothed[0]);
        Filter(mSmoothed[0], inLevel, inLevel, mOut[0]);
        mSmoothed[1].create(mBytes.rows / 4, mBytes.cols / 4, CV_32F);
        for (int y = 0; y < mSmoothed[1].rows; ++y)
            for (int x = 0; x < mSmoothed[1].cols; ++x)
                mSmoothed[1].at<float>(y, x) = mOut[0].at<float>(4 * y + 2, 4 * x + 2);
        for (int level = 0; level < 2; ++level) {
            Filter(mSmoothed[level], inDerivative, inGauss, mGradX[level]);
            Filter(mSmoothed[level], inGauss, inDerivative, mGradY[level]);
        }
    }
    cv::Mat mBytes, mImage, mOut[2], mSmoothed[2], mGradX[2], mGradY[2];
};

void Smoothing(benchmark::State& ioState, float inSigma) {
    const Frame frame(ioState);
    Peer peer(frame);
    const auto out = frame.NewImage();
    const cv::Mat taps = TapsOf(inSigma, false);
    Bench::RunRounds(
        ioState, [&] { IP::ComputeSmoothedImage(frame.mImage, inSigma, out); },
        [&] { peer.Smooth(taps); });
}

void Gradients(benchmark::State& ioState) {
    const Frame frame(ioState);
    Peer peer(frame);
    const auto x = frame.NewImage(), y = frame.NewImage();
    const cv::Mat gauss = TapsOf(1.0f, false), derivative = TapsOf(1.0f, true);
    Bench::RunRounds(
        ioState, [&] { IP::ComputeGradients(frame.mImage, 1.0f, x, y); },
        [&] { peer.Gradients(gauss, derivative); });
}

void FramePyramids(benchmark::State& ioState) {
    const Frame frame(ioState);
    Peer peer(frame);
    const cv::Mat smooth = TapsOf(0.7f, false), level = TapsOf(3.6f, false);
    const cv::Mat gauss = TapsOf(1.0f, false), derivative = TapsOf(1.0f, true);
    Bench::RunRounds(
        ioState,
        [&] {
            IP::ComputeFramePyramids({frame.mBytes.data(), frame.mCols, frame.mRows},
                                     {1.0f, 0.7f, 0.9f, 4, 2});
        },
        [&] { peer.Pyramids(smooth, level, gauss, derivative); });
}

#else  // Ours alone.

template <class Ours>
void RunAlone(benchmark::State& ioState, Ours inOurs) {
    Bench::RunRounds(ioState, inOurs, [] {});
}

void Smoothing(benchmark::State& ioState, float inSigma) {
    const Frame frame(ioState);
    const auto out = frame.NewImage();
    RunAlone(ioState, [&] { IP::ComputeSmoothedImage(frame.mImage, inSigma, out); });
}

void Gradients(benchmark::State& ioState) {
    const Frame frame(ioState);
    const auto x = frame.NewImage(), y = frame.NewImage();
    RunAlone(ioState, [&] { IP::ComputeGradients(frame.mImage, 1.0f, x, y); });
}

void FramePyramids(benchmark::State& ioState) {
    const Frame frame(ioState);
    RunAlone(ioState, [&] {
        IP::ComputeFramePyramids({frame.mBytes.data(), frame.mCols, frame.mRows},
                                 {1.0f, 0.7f, 0.9f, 4, 2});
    });
}

#endif

#define DP_AT_FRAME_SIZES \
    Args({640, 480})->Args({1920, 1080})->UseManualTime()->Unit(benchmark::kMillisecond)

BENCHMARK_CAPTURE(Smoothing, sigma_0_7, 0.7f)->DP_AT_FRAME_SIZES;
BENCHMARK_CAPTURE(Smoothing, sigma_3_6, 3.6f)->DP_AT_FRAME_SIZES;
BENCHMARK(Gradients)->DP_AT_FRAME_SIZES;
BENCHMARK(FramePyramids)->DP_AT_FRAME_SIZES;

}  // namespace

int main(int inArgc, char** inArgv) { return Bench::RunWithFrames(inArgc, inArgv); }
