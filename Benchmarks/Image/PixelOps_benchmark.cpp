// Grey conversion of host frames, beside OpenCV on one thread, both into one output.
//
// The bound is memory: a 1920x1080 frame is 8.3 MB read and 2.1 MB (bytes) or 8.3 MB
// (floats) written. The peer's floats are rounded to bytes first; ours are not.

#include "image/PixelOps.h"

#include "Benchmarks/Support/Turns.h"
#include "image/IPImage.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using Bench::Clip;
using benchmark::State;

template <class T>
class Converter {
public:
    explicit Converter(const Clip& inClip)
        : mClip(inClip), mGrey(inClip.GetColumns(), inClip.GetRows()) {}
    void Convert() {
        const unsigned char* const pixels = mClip.Colour(0).data();
        const int rows = mClip.GetRows(), columns = mClip.GetColumns();
        if constexpr (sizeof(T) == 1)
            IP::GetGreyImage(pixels, rows, columns, columns * 4, mGrey.GetData());
        else
            IP::GetFloatGreyImage(pixels, rows, columns, columns * 4, mGrey.GetData());
    }
    // By at the most so much everywhere.
    template <class Peers>
    bool DiffersByAtMost(const Peers* inPeers, double inMost) {
        const std::size_t pixels = std::size_t(mGrey.GetColumns() * mGrey.GetRows());
        for (std::size_t i = 0; i < pixels; ++i)
            if (std::abs(double(mGrey.GetData()[i]) - double(inPeers[i])) > inMost)
                return false;
        return true;
    }

private:
    const Clip& mClip;
    IP::Image<T> mGrey;
};

#ifdef DP_HAVE_OPENCV

template <class T>
void Grey(State& ioState, const Clip& inClip) {
    Converter<T> ours(inClip);
    const cv::Mat colour(inClip.GetRows(), inClip.GetColumns(), CV_8UC4,
                         const_cast<unsigned char*>(inClip.Colour(0).data()));
    cv::Mat grey, floats;
    Bench::RunRounds(
        ioState, [&] { ours.Convert(); },
        [&] {
            cv::cvtColor(colour, grey, cv::COLOR_BGRA2GRAY);
            if (sizeof(T) > 1) grey.convertTo(floats, CV_32F);
        });
    const bool areEqual = sizeof(T) == 1 ? ours.DiffersByAtMost(grey.data, 0.0)
                                         : ours.DiffersByAtMost(floats.ptr<float>(), 0.51);
    if (!areEqual) ioState.SkipWithError("the two libraries differ");
}

#else

template <class T>
void Grey(State& ioState, const Clip& inClip) {
    Converter<T> ours(inClip);
    Bench::RunAlone(ioState, [&] { ours.Convert(); });
}

#endif

}  // namespace

int main(int inCount, char** inArguments) {
    return Bench::RunOverClips(inCount, inArguments,
                               {{"Grey", Grey<unsigned char>}, {"FloatGrey", Grey<float>}});
}
