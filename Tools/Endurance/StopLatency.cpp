// stop_latency: how long a host waits at the most for a computation that it stops.
//
//     stop_latency [columns rows]        7680 by 4320 unless told
//
// A row of the table is a computation, asked at each of its checkpoints: its processor time,
// the longest of it between two questions, to the beginning and the return included, the pages
// that were new to the process in that time (the system clears them), and behind which question
// that was.

#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "Clip.h"
#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IInterruptibleWorkerItem.h"
#include "DP/IKLTDescriptor.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "Support/WideStrings.h"

namespace {

using DP::Ref;
using Testing::Wide;

constexpr unsigned int kPoints = 1000, kDistance = 20;

class Gaps {
public:
    explicit Gaps(long inStopAt)
        : mStopAt(inStopAt), mBegin(Milliseconds()), mLast(mBegin), mPages(Pages()) {}

    static bool Ask(void* ioGaps, double) {
        Gaps& self = *static_cast<Gaps*>(ioGaps);
        self.Close();
        return self.mQuestions != self.mStopAt;
    }
    void Report(const char* inName) {
        Close();
        std::printf(
            "%-36s %6ld questions %9.1f ms, at the most %7.1f ms with %5ld pages, behind %ld\n",
            inName, mQuestions - 1, mLast - mBegin, mLongest, mPagesThen, mBehind);
    }

private:
    static double Milliseconds() {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
    }
    static long Pages() {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_minflt;
    }
    void Close() {
        const double now = Milliseconds();
        const long pages = Pages();
        if (now - mLast > mLongest) {
            mLongest = now - mLast;
            mPagesThen = pages - mPages;
            mBehind = mQuestions;
        }
        ++mQuestions;
        mLast = now;
        mPages = pages;
    }

    long mStopAt;  // 0: never
    double mBegin;
    double mLast;
    long mPages;
    double mLongest = 0;
    long mPagesThen = 0;
    long mBehind = 0;
    long mQuestions = 0;
};

Ref<DP::IDescriptorData> Run(const char* inName, const Ref<DP::IDescriptorProperty>& inProperty,
                             const Ref<DP::IDescriptorWorkerItem>& inItem, long inStopAt = 0) {
    const auto computer = DP::CreateDescriptorComputer(inProperty);
    Gaps gaps(inStopAt);
    Ref<DP::IInterruptibleWorkerItem>(inItem)->SetProgressCallback(&Gaps::Ask, &gaps);
    const auto data = computer->GetDescriptorData(inItem, true);
    gaps.Report(inName);
    return data;
}

Ref<DP::IDescriptorWorkerItem> NewItem(DP::DescriptorDataType inType,
                                       const Ref<DP::IDescriptorDataKey>& inKey) {
    const auto item = DP::CreateDescriptorWorkerItem(inType);
    item->SetDataKey(inKey);
    return item;
}

void TrackKLT(const Scenarios::Clip& inClip) {
    const auto type = DP::kDescriptorDataTypeKLT;
    const auto property =
        DP::CreateKLTDescriptorProperty(kPoints, 1, kDistance, kPoints, Wide("clip"), type);
    IP::ImagePtr<unsigned char> previous;
    Ref<DP::IDescriptorData> points;
    for (int frame = 0; frame < 3; ++frame) {
        const auto image = inClip.Bytes(frame);
        const auto item = NewItem(
            type, DP::CreateKLTDescriptorDataKey(Wide("clip"), frame, 1, kPoints, inClip.mRows,
                                                 inClip.mColumns, kDistance, kPoints));
        Ref<DP::IKLTDescriptorWorkerItem>(item)->SetInputImages(previous, image, points);
        points = Run(frame == 0 ? "KLT, first frame" : "KLT, step", property, item);
        previous = image;
    }
    DP::FlushAllDescriptorResources();
}

void TrackAPT(const Scenarios::Clip& inClip) {
    const auto type = DP::kDescriptorDataTypeAPT;
    const auto property = DP::CreateAPTDescriptorProperty(kPoints, 1, kDistance, kPoints,
                                                          Wide("clip"), type, 0.0f, 1);
    IP::ImagePtr<float> previous;
    Ref<DP::IDescriptorData> points;
    for (int frame = 0; frame < 3; ++frame) {
        const auto image = inClip.Floats(frame);
        const auto item = NewItem(
            type, DP::CreateAPTDescriptorDataKey(Wide("clip"), frame, 1, kPoints, inClip.mRows,
                                                 inClip.mColumns, kDistance, kPoints, 0.0f, 1));
        Ref<DP::IAPTDescriptorWorkerItem>(item)->SetInputs(
            previous, image, Ref<DP::IAPTDescriptorData>(points),
            static_cast<unsigned int>(inClip.mColumns),
            static_cast<unsigned int>(inClip.mRows));
        points = Run(frame == 0 ? "APT verified, first frame" : "APT verified, step", property,
                     item);
        previous = image;
    }
    DP::FlushAllDescriptorResources();
}

// Strokes over parts of the frame, from the top, and dabs.
class Cutter {
public:
    explicit Cutter(const Scenarios::Clip& inClip) : mClip(inClip), mPixels(inClip.Bgra(0)) {
        const auto none = Strokes(0, 0);
        mLabels = LabelsOf(Cut("cut, new frame", Strokes(0.4, 0.6), Strokes(0, 0.1), {}));
        Cut("cut, stroke of nothing", none, none, mLabels);
    }
    void Stroke(const char* inName, double inForegroundFrom, double inForegroundTo,
                double inBackgroundFrom, double inBackgroundTo) {
        mLabels = LabelsOf(Cut(inName, Strokes(inForegroundFrom, inForegroundTo),
                               Strokes(inBackgroundFrom, inBackgroundTo), mLabels));
    }

    // Says stop at the first question, where all rows of the strokes are still to be kept.
    void StopAtOnce(const char* inName) {
        Cut(inName, Strokes(0, 0.33), Strokes(0.33, 0.67), mLabels, 1);
    }

private:
    using Image = IP::ImagePtr<unsigned char>;

    Image Strokes(double inFrom, double inTo) const {
        const auto image = Scenarios::MakeImage<unsigned char>(mClip.mColumns, mClip.mRows);
        const auto at = [&](double inShare) {
            return static_cast<std::ptrdiff_t>(inShare * mClip.mRows) * mClip.mColumns;
        };
        std::fill_n(image->GetData(), mClip.Pixels(), static_cast<unsigned char>(0));
        std::fill(image->GetData() + at(inFrom), image->GetData() + at(inTo),
                  static_cast<unsigned char>(255));
        return image;
    }
    Ref<DP::IDescriptorData> Cut(const char* inName, const Image& inForeground,
                                 const Image& inBackground, const Image& inLabels,
                                 long inStopAt = 0) {
        const auto type = DP::kDescriptorDataTypeGraphCut;
        const auto item = NewItem(
            type,
            DP::CreateDescriptorDataKey(Wide("clip"), mNumber++, mClip.mRows, mClip.mColumns));
        Ref<DP::IGraphCutDescriptorWorkerItem>(item)->SetInputs(
            mPixels.data(), static_cast<unsigned int>(mClip.RowBytes()), inForeground,
            inBackground, inLabels);
        return Run(inName, DP::CreateDescriptorProperty(Wide("clip"), type), item, inStopAt);
    }
    static Image LabelsOf(const Ref<DP::IDescriptorData>& inData) {
        return Ref<DP::IGraphCutDescriptorData>(inData)->GetLabelImage();
    }

    const Scenarios::Clip& mClip;
    std::vector<unsigned char> mPixels;
    Image mLabels;
    int mNumber = 0;
};

void CutFrame(const Scenarios::Clip& inClip) {
    Cutter cutter(inClip);
    cutter.Stroke("cut, stroke of 1/64", 0.6, 0.6 + 1.0 / 64, 0, 0);
    cutter.Stroke("cut, background over half", 0, 0, 0.5, 1);
    cutter.Stroke("cut, foreground over that half", 0.5, 1, 0, 0);
    cutter.Stroke("cut, both over two thirds", 0, 0.33, 0.33, 0.67);
    cutter.StopAtOnce("cut, the same, stopped at once");
    DP::FlushAllDescriptorResources();
}

}  // namespace

int main(int inCount, char** inArguments) {
    Scenarios::Clip clip{.mColumns = 7680, .mRows = 4320, .mNoise = 2};
    const char* const only = inCount > 3 ? inArguments[3] : "";
    if (inCount > 2) {
        clip.mColumns = std::atoi(inArguments[1]);
        clip.mRows = std::atoi(inArguments[2]);
    }
    if (!std::strcmp(only, "") || !std::strcmp(only, "klt")) TrackKLT(clip);
    if (!std::strcmp(only, "") || !std::strcmp(only, "apt")) TrackAPT(clip);
    if (!std::strcmp(only, "") || !std::strcmp(only, "cut")) CutFrame(clip);
}
