// A computation that is stopped, at each of its checkpoints in turn, leaves nothing behind:
// the same request made again, and all that follow, give what they give undisturbed.

#include <stdexcept>
#include <thread>

#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IInterruptibleWorkerItem.h"
#include "DP/IKLTDescriptor.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "DP/Tracker.h"
#include "GraphCut/Scene.h"
#include "Scenarios/Digest.h"
#include "Support/Images.h"
#include "Support/Test.h"
#include "TVK/Object.h"

namespace {

class HostsPoints;

}  // namespace

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<HostsPoints>{0x7e57, 21};

namespace {

using namespace DP;
using namespace Testing;
using Scenarios::Digest;

constexpr int kCols = 64, kRows = 48, kFrames = 4, kPoints = 20;

using MakeItem = std::function<Ref<IDescriptorWorkerItem>()>;

// Makes requests, says stop once, at the checkpoint that it was made for, and asks again then.
class Host {
public:
    explicit Host(long inStopAt) : mStopAt(inStopAt) {}

    Ref<IDescriptorData> Request(const Ref<IDescriptorProperty>& inProperty,
                                 const MakeItem& inMake) {
        const auto computer = CreateDescriptorComputer(inProperty);
        for (;;) {
            const auto item = inMake();
            const Ref<IInterruptibleWorkerItem> interruptible(item);
            if (mStopAt != 0) interruptible->SetProgressCallback(&Host::GoesOn, this);
            mLastDone = -1;
            const auto result = computer->GetDescriptorData(item, true);
            if (result != NULL) return result;
            EXPECT_TRUE(interruptible->WasInterrupted());
            ExpectNothingHeld(inProperty->GetDescriptorDataType(), item->GetDataKey());
        }
    }

    long Asked() const { return mAsked; }

private:
    static bool GoesOn(void* inHost, double inDone) {
        Host& self = *static_cast<Host*>(inHost);
        EXPECT_TRUE(self.mLastDone >= 0 || inDone < 0.5) << "begins with " << inDone;
        EXPECT_GE(inDone, self.mLastDone);
        EXPECT_LE(inDone, 1.0);
        self.mLastDone = inDone;
        return ++self.mAsked != self.mStopAt;
    }

    // Another thread would wait for the key's mutex, which this one may take again.
    static void ExpectNothingHeld(DescriptorDataType inKind,
                                  const Ref<IDescriptorDataKey>& inKey) {
        std::thread([&] {
            const auto caches = CreateDescriptorDataCacheMgr();
            Ref<IDescriptorData> data;
            RecursiveMutexPtr mutex;
            EXPECT_FALSE(
                caches->GetDescriptorDataCache(inKind)->GetCachedData(inKey, data, mutex));
            mutex->Lock("Interruption_test");
            mutex->Unlock();
        }).join();
    }

    long mStopAt;  // 0: without a callback
    long mAsked = 0;
    double mLastDone = 0;
};

// ---- What is requested ---------------------------------------------------------------

struct Case {
    const char* mName;
    void (*mRun)(Host&, Digest&);
};
void PrintTo(const Case& inCase, std::ostream* outStream) { *outStream << inCase.mName; }

template <class List>
void AddPoints(const List& inList, Digest& ioDigest) {
    for (const auto& point : *inList) {
        ioDigest.AddFloat(point.mX);
        ioDigest.AddFloat(point.mY);
        ioDigest.AddInteger(point.mAge);
    }
}

IP::ImagePtr<float> Frame(int inNumber) {
    return ImageOf<float>(kCols, kRows,
                          TexturedFrame(kCols, kRows, 1.5 * inNumber, -0.5 * inNumber));
}

// Points that are lost are replaced at every step: all of them are wanted.
void RunKLT(Host& ioHost, Digest& ioDigest) {
    const auto property = CreateKLTDescriptorProperty(kPoints, 1, 5, kPoints, Wide("clip"),
                                                      kDescriptorDataTypeKLT);
    const auto frame = [](int inNumber) {
        return ImageOf<unsigned char>(kCols, kRows,
                                      TexturedBytes(kCols, kRows, 1.5 * inNumber, 0));
    };
    Ref<IDescriptorData> previous;
    for (int number = 0; number < kFrames; ++number) {
        previous = ioHost.Request(property, [&] {
            const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeKLT);
            item->SetDataKey(CreateKLTDescriptorDataKey(Wide("clip"), number, 1, kPoints, kRows,
                                                        kCols, 5, kPoints));
            Ref<IKLTDescriptorWorkerItem>(item)->SetInputImages(
                number > 0 ? frame(number - 1) : nullptr, frame(number), previous);
            return item;
        });
        AddPoints(Ref<IKLTDescriptorData>(previous)->GetFeatureList(), ioDigest);
    }
}

// With the verification, whose references live in the engine.
void RunAPT(Host& ioHost, Digest& ioDigest) {
    const auto property = CreateAPTDescriptorProperty(kPoints, 1, 5, kPoints, Wide("clip"),
                                                      kDescriptorDataTypeAPT, 0.0f, 1);
    Ref<IDescriptorData> previous;
    for (int number = 0; number < kFrames; ++number) {
        previous = ioHost.Request(property, [&] {
            const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeAPT);
            item->SetDataKey(CreateAPTDescriptorDataKey(Wide("clip"), number, 1, kPoints, kRows,
                                                        kCols, 5, kPoints, 0.0f, 1));
            Ref<IAPTDescriptorWorkerItem>(item)->SetInputs(
                number > 0 ? Frame(number - 1) : nullptr, Frame(number),
                Ref<IAPTDescriptorData>(previous), kCols, kRows);
            return item;
        });
        const auto features = Ref<IAPTDescriptorData>(previous)->GetFeatures();
        AddPoints(features, ioDigest);
        for (const APTFeature& feature : *features)
            ioDigest.AddFloat(feature.mStatus == 0 ? feature.mCorrelation : 0.0f);
    }
}

void RunRegion(Host& ioHost, Digest& ioDigest) {
    const auto region = TVK::MakeObject<TVK::ParamRect<float>>(
        TVK::ParamRect<float>{14.0f, 10.0f, 50.0f, 38.0f});
    const auto property = CreateRegionTrackerDescriptorProperty(
        kPoints, 1, 5, kPoints, Wide("clip"), region, 1, kDescriptorDataTypeRegionTracker);
    Ref<IDescriptorData> previous = CreateRegionDescriptorData(region);
    for (int number = 0; number < kFrames; ++number) {
        previous = ioHost.Request(property, [&] {
            const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeRegionTracker);
            item->SetDataKey(CreateRegionTrackerDescriptorDataKey(
                Wide("clip"), number, 1, kPoints, kRows, kCols, region, 1, 5, kPoints));
            Ref<IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
                number > 0 ? Frame(number - 1) : nullptr, Frame(number),
                Ref<IRegionTrackerDescriptorData>(previous), kCols, kRows);
            return item;
        });
        const auto data = Ref<IRegionTrackerDescriptorData>(previous);
        for (const float side : {data->GetRegion()->mLeft, data->GetRegion()->mTop,
                                 data->GetRegion()->mRight, data->GetRegion()->mBottom})
            ioDigest.AddFloat(side);
        AddPoints(Ref<IAPTDescriptorData>(previous)->GetFeatures(), ioDigest);
    }
}

Ref<IDescriptorWorkerItem> CutItem(const Scene& inScene, int inNumber,
                                   const ByteImage& inForeground, const ByteImage& inBackground,
                                   const ByteImage& inLabels) {
    const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeGraphCut);
    item->SetDataKey(CreateDescriptorDataKey(Wide("clip"), inNumber, kRows, kCols));
    Ref<IGraphCutDescriptorWorkerItem>(item)->SetInputs(
        inScene.mPixels.data(), inScene.mRowBytes, inForeground, inBackground, inLabels);
    return item;
}

Ref<IDescriptorProperty> CutProperty() {
    return CreateDescriptorProperty(Wide("clip"), kDescriptorDataTypeGraphCut);
}

ByteImage LabelsOf(const Ref<IDescriptorData>& inData) {
    return Ref<IGraphCutDescriptorData>(inData)->GetLabelImage();
}

// A frame, and strokes of background right across it that move the cut far.
void RunCut(Host& ioHost, Digest& ioDigest) {
    const Scene scene(kCols, kRows);
    const ByteImage none = FlatImage(kCols, kRows, 0);
    ByteImage labels;
    for (int number = 0; number < kFrames; ++number) {
        const ByteImage background = FlatImage(kCols, kRows, 0);
        for (int x = 4; x < kCols; x += 8)
            if (number > 0) PaintDab(background, x, 12 * number, 1);
        const ByteImage given = labels;
        const auto data = ioHost.Request(CutProperty(), [&] {
            return CutItem(scene, number, number == 0 ? scene.ForegroundStrokes() : none,
                           background, given);
        });
        labels = LabelsOf(data);
        ioDigest.AddPixels(labels->GetData(), std::size_t(kCols * kRows));
    }
}

constexpr Case kCases[] = {
    {"KLT", &RunKLT}, {"APT", &RunAPT}, {"Region", &RunRegion}, {"GraphCut", &RunCut}};

struct Outcome {
    std::uint64_t mDigest;
    long mAsked;
};

Outcome RunCase(const Case& inCase, long inStopAt) {
    FlushAllDescriptorResources();
    Host host(inStopAt);
    Digest digest;
    inCase.mRun(host, digest);
    FlushAllDescriptorResources();
    return {digest.Value(), host.Asked()};
}

class Interruption : public testing::TestWithParam<Case> {};

TEST_P(Interruption, AtAnyCheckpointLeavesNoTrace) {
    constexpr long kNever = std::numeric_limits<long>::max();
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr long kStride = 23;
#else
    constexpr long kStride = 3;
#endif
    const Outcome undisturbed = RunCase(GetParam(), 0);
    const Outcome asked = RunCase(GetParam(), kNever);
    EXPECT_EQ(asked.mDigest, undisturbed.mDigest);
    ASSERT_GT(asked.mAsked, 50);
    for (long stopAt = 1; stopAt <= asked.mAsked && !HasFailure(); stopAt += kStride)
        EXPECT_EQ(RunCase(GetParam(), stopAt).mDigest, undisturbed.mDigest) << stopAt;
}

INSTANTIATE_TEST_SUITE_P(EveryKind, Interruption, testing::ValuesIn(kCases),
                         [](const auto& inInfo) { return inInfo.param.mName; });

// ---- Requests within a computation -----------------------------------------------------

/// A host's own result of KLT, which calls the library when the next step asks for it.
class HostsPoints : public TVK::Object<HostsPoints, IDescriptorData, IKLTDescriptorData> {
public:
    void GetHash(TVK::HashValue&) override {}
    void SetHash(const TVK::HashValue&) override {}
    void GetTimeStamp(unsigned int& outTime) override { outTime = 0; }
    void SetTimeStamp(const unsigned int&) override {}
    unsigned int GetDataSize() override { return 0; }
    Ref<IDescriptorData> CloneData() override { return {}; }
    KLTFeatureListPtr GetFeatureList() override {
        mOnGet();
        return mPoints;
    }
    std::function<void()> mOnGet;
    KLTFeatureListPtr mPoints;
};

// A cut, a step of APT, and one of the exported tracker, none with a callback.
void ComputeWithoutCallback() {
    Host host(0);
    Digest digest;
    RunCut(host, digest);
    RunAPT(host, digest);
    const std::unique_ptr<DP::Tracker> tracker(DP::Tracker::CreateTracker(kCols, kRows));
    APTFeatureListPtr points;
    for (int number = 0; number < 2; ++number)
        tracker->TrackFeatures(Frame(number), unsigned(number), points);
}

TEST(InterruptionWithin, ARequestWithoutACallbackIsNoPartOfTheOuterOne) {
    struct Asked {
        bool mIsWithin = false;
        long mWithin = 0, mBehind = 0;
    } asked;
    const auto image = ImageOf<unsigned char>(kCols, kRows, TexturedBytes(kCols, kRows, 0, 0));
    const Ref<HostsPoints> points = HostsPoints::Create();
    points->mPoints = TVK::MakeObject<KLTFeatureList>(1);
    points->mOnGet = [&] {
        asked.mIsWithin = true;
        EXPECT_NO_THROW(ComputeWithoutCallback());
        asked.mIsWithin = false;
    };
    const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeKLT);
    item->SetDataKey(
        CreateKLTDescriptorDataKey(Wide("own"), 1, 1, kPoints, kRows, kCols, 5, kPoints));
    Ref<IKLTDescriptorWorkerItem>(item)->SetInputImages(image, image, points);
    Ref<IInterruptibleWorkerItem>(item)->SetProgressCallback(
        [](void* ioAsked, double) {
            Asked& all = *static_cast<Asked*>(ioAsked);
            ++(all.mIsWithin ? all.mWithin : all.mBehind);
            return !all.mIsWithin;
        },
        &asked);
    const auto property = CreateKLTDescriptorProperty(kPoints, 1, 5, kPoints, Wide("own"),
                                                      kDescriptorDataTypeKLT);
    CreateDescriptorComputer(property)->GetDescriptorData(item, false);
    EXPECT_EQ(asked.mWithin, 0);
    EXPECT_GT(asked.mBehind, 0) << "the step's own pyramids are";
    FlushAllDescriptorResources();
}

// ---- The graph cut's two states ------------------------------------------------------

class CutInterruption : public testing::Test {
protected:
    ~CutInterruption() override { FlushAllDescriptorResources(); }

    // Null if stopped at the checkpoint; 0 is never.
    Ref<IDescriptorData> Cut(int inNumber, const ByteImage& inForeground,
                             const ByteImage& inBackground, const ByteImage& inLabels,
                             long inStopAt = 0) {
        long left = inStopAt;
        const auto item = CutItem(mScene, inNumber, inForeground, inBackground, inLabels);
        Ref<IInterruptibleWorkerItem>(item)->SetProgressCallback(
            [](void* inLeft, double) { return --*static_cast<long*>(inLeft) != 0; }, &left);
        const auto data =
            CreateDescriptorComputer(CutProperty())->GetDescriptorData(item, false);
        mAsked = inStopAt - left;
        return data;
    }

    static bool Same(const ByteImage& inA, const ByteImage& inB) {
        return std::equal(inA->GetData(), inA->GetData() + kCols * kRows, inB->GetData());
    }

    long mAsked = 0;  // by the last cut
    const Scene mScene{kCols, kRows};
    const ByteImage mNone = FlatImage(kCols, kRows, 0);
    const ByteImage mForeground = mScene.ForegroundStrokes();
};

TEST_F(CutInterruption, ANewFrameIsNoKeptFrame) {
    const auto labels = LabelsOf(Cut(0, mForeground, mNone, {}));
    EXPECT_TRUE(Cut(1, mForeground, mNone, {}, mAsked) == NULL) << "at the last checkpoint";
    const RecordedReports reports;
    EXPECT_ANY_THROW(Cut(2, mNone, mNone, labels)) << "its graph is dropped";
    EXPECT_FALSE(Cut(3, mForeground, mNone, {}) == NULL);
}

TEST_F(CutInterruption, AStrokeStaysAndIsCutByTheNextCall) {
    const ByteImage wall = FlatImage(kCols, kRows, 0);
    for (int y = 0; y < kRows; ++y)
        PaintDab(wall, kCols / 2 + 8, y, 1);
    const auto first = LabelsOf(Cut(0, mForeground, mNone, {}));
    const auto expected = LabelsOf(Cut(1, mNone, wall, first));
    ASSERT_FALSE(Same(first, expected));

    const auto again = LabelsOf(Cut(2, mForeground, mNone, {}));
    ASSERT_TRUE(Cut(3, mNone, wall, again, 1) == NULL) << "it asks at least once";
    const auto resumed = LabelsOf(Cut(4, mNone, mNone, again));
    EXPECT_TRUE(Same(resumed, expected));
}

TEST_F(CutInterruption, WhatTheCallbackThrowsPassesThrough) {
    const auto item = CutItem(mScene, 0, mForeground, mNone, {});
    Ref<IInterruptibleWorkerItem>(item)->SetProgressCallback(
        [](void*, double) -> bool { throw std::runtime_error("no more"); }, nullptr);
    const auto computer = CreateDescriptorComputer(CutProperty());
    EXPECT_THROW(computer->GetDescriptorData(item, true), std::runtime_error);
    EXPECT_FALSE(Ref<IInterruptibleWorkerItem>(item)->WasInterrupted());
    EXPECT_FALSE(Cut(0, mForeground, mNone, {}) == NULL);
}

}  // namespace
