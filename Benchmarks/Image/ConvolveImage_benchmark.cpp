// Smoothing, gradients and a frame's whole pyramids, each beside the same work in OpenCV on
// one thread: the same taps, 32-bit floats, outputs kept from round to round.

#include "image/IPConvolveImage.h"

#include "Benchmarks/Support/Turns.h"
#include "Support/Images.h"
#include "image/IPFramePyramids.h"
#include "image/IPRowKernels.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using Bench::Clip;
using benchmark::State;
using FloatImage = IP::ImagePtr<float>;

FloatImage NewImage(const Clip& inClip) {
    return TVK::MakeObject<IP::Image<float>>(inClip.GetColumns(), inClip.GetRows());
}

IP::FrameView ViewOf(const Clip& inClip) {
    return {inClip.Grey(0)->GetData(), inClip.GetColumns(), inClip.GetRows()};
}

constexpr IP::FramePyramidSettings kSettings{1.0f, 0.7f, 0.9f, 4, 2};

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
    explicit Peer(const Clip& inClip)
        : mBytes(inClip.GetRows(), inClip.GetColumns(), CV_8U, inClip.Grey(0)->GetData()) {
        mBytes.convertTo(mImage, CV_32F);
    }
    // Away from the border, where the two go different ways, the planes are the same but for
    // rounding.
    static bool IsSame(const FloatImage& inOurs, const cv::Mat& inPeers) {
        constexpr int kBorder = 40;
        for (int y = kBorder; y < inOurs->GetRows() - kBorder; ++y)
            for (int x = kBorder; x < inOurs->GetColumns() - kBorder; ++x)
                if (std::abs(inOurs->GetData()[y * inOurs->GetColumns() + x] -
                             inPeers.at<float>(y, x)) > 0.01f)
                    return false;
        return true;
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

void Smoothing(State& ioState, const Clip& inClip, float inSigma) {
    Peer peer(inClip);
    const FloatImage out = NewImage(inClip);
    const cv::Mat taps = TapsOf(inSigma, false);
    Bench::RunRounds(
        ioState, [&] { IP::ComputeSmoothedImage(inClip.FloatGrey(0), inSigma, out); },
        [&] { peer.Smooth(taps); });
    if (!Peer::IsSame(out, peer.mOut[0])) ioState.SkipWithError("the two libraries differ");
}

void Gradients(State& ioState, const Clip& inClip) {
    Peer peer(inClip);
    const FloatImage x = NewImage(inClip), y = NewImage(inClip);
    const cv::Mat gauss = TapsOf(1.0f, false), derivative = TapsOf(1.0f, true);
    Bench::RunRounds(
        ioState, [&] { IP::ComputeGradients(inClip.FloatGrey(0), 1.0f, x, y); },
        [&] { peer.Gradients(gauss, derivative); });
    if (!Peer::IsSame(x, peer.mOut[0])) ioState.SkipWithError("the two libraries differ");
}

void FramePyramids(State& ioState, const Clip& inClip) {
    Peer peer(inClip);
    const cv::Mat smooth = TapsOf(0.7f, false), level = TapsOf(3.6f, false);
    const cv::Mat gauss = TapsOf(1.0f, false), derivative = TapsOf(1.0f, true);
    IP::FramePyramids ours;
    Bench::RunRounds(
        ioState, [&] { ours = IP::ComputeFramePyramids(ViewOf(inClip), kSettings); },
        [&] { peer.Pyramids(smooth, level, gauss, derivative); });
    if (!Peer::IsSame(ours.mSmoothed->GetLevel(0), peer.mSmoothed[0]))
        ioState.SkipWithError("the two libraries differ");
}

#else  // Ours alone.

void Smoothing(State& ioState, const Clip& inClip, float inSigma) {
    const FloatImage out = NewImage(inClip);
    Bench::RunAlone(ioState,
                    [&] { IP::ComputeSmoothedImage(inClip.FloatGrey(0), inSigma, out); });
}

void Gradients(State& ioState, const Clip& inClip) {
    const FloatImage x = NewImage(inClip), y = NewImage(inClip);
    Bench::RunAlone(ioState, [&] { IP::ComputeGradients(inClip.FloatGrey(0), 1.0f, x, y); });
}

void FramePyramids(State& ioState, const Clip& inClip) {
    Bench::RunAlone(ioState, [&] { IP::ComputeFramePyramids(ViewOf(inClip), kSettings); });
}

#endif

}  // namespace

int main(int inCount, char** inArguments) {
    return Bench::RunOverClips(inCount, inArguments,
                               {{"Smoothing_0_7",
                                 [](State& s, const Clip& clip) {
                                     Smoothing(s, clip, 0.7f);
                                 }},
                                {"Smoothing_3_6",
                                 [](State& s, const Clip& clip) {
                                     Smoothing(s, clip, 3.6f);
                                 }},
                                {"Gradients", Gradients},
                                {"FramePyramids", FramePyramids}});
}
