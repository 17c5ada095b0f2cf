// The APT tracker by its two roads.

#include "DP/IAPTDescriptor.h"
#include "DP/Tracker.h"
#include "GreyImages.h"
#include "PointTracker.h"
#include "Stopwatch.h"

namespace Host {
namespace {

void CopyPoints(const DP::APTFeatureList& inFeatures, std::vector<TrackedPoint>& outPoints) {
    outPoints.clear();
    for (const DP::APTFeature& feature : inFeatures)
        outPoints.push_back({feature.mX, feature.mY, feature.mStatus, feature.mCorrelation,
                             feature.mAge, feature.mDeltaX, feature.mDeltaY});
}

// What both roads have in common.
class AptTracker : public PointTracker {
public:
    /// @param inHolds  whether points that do not move are dropped.
    AptTracker(const std::string& inSource, bool inHolds)
        : mImages(inSource), mHolds(inHolds) {}

    const std::vector<TrackedPoint>& Track(const Frame& inFrame, long long inNumber) override {
        const IP::ImagePtr<float> image = mImages.Float(inFrame, inNumber);
        mHeld = mHolds && mLastImage != nullptr && AreEqual(*image, *mLastImage);
        if (mHeld) return mPoints;
        mLastImage = image;
        const WorkStopwatch tracking;
        const DP::APTFeatureListPtr features = TrackImage(image, inNumber);
        mSeconds += tracking.Seconds();
        CopyPoints(*features, mPoints);
        return mPoints;
    }
    Columns PointColumns() const override {
        return PointColumnsWith(
            {"status", "code", "see status_codes"},
            {"correlation", "-1 to 1", "with the patch the point was selected with"});
    }
    Json StatusCodes() const override {
        return {{">=1", "selected in this frame; the value is its number + 1"},
                {"0", "carried over from the frame before"},
                {"-1", "no point here, or dropped for not moving"},
                {"-2", "lost: the patch was not found again"},
                {"-3", "lost: differs from its first patch"},
                {"-4", "lost: correlates too little with its first patch"}};
    }

private:
    virtual DP::APTFeatureListPtr TrackImage(const IP::ImagePtr<float>& inImage,
                                             long long inNumber) = 0;

    GreyImages mImages;
    bool mHolds;
    IP::ImagePtr<float> mLastImage;
};

// The host hands the previous frame and its result back with each frame: the library's
// computer remembers no frame.
class AptDescriptorTracker final : public AptTracker {
public:
    AptDescriptorTracker(const std::string& inSource, const TrackSettings& inSettings)
        : AptTracker(inSource, inSettings.mStationaryLimit >= 0.0f),
          mSource(SourceID(inSource)),
          mSettings(inSettings),
          mComputer(DP::CreateDescriptorComputer(DP::CreateAPTDescriptorProperty(
              inSettings.mFeatures, kTag, inSettings.mMinDistance, inSettings.mMinFeatures,
              mSource, DP::kDescriptorDataTypeAPT, inSettings.mStationaryLimit,
              inSettings.mVerify))) {}

    std::string Name() const override { return "apt"; }
    Json Settings() const override {
        return {{"step", mSettings.mStep},
                {"features", mSettings.mFeatures},
                {"min_features", mSettings.mMinFeatures},
                {"min_distance", mSettings.mMinDistance},
                {"stationary_limit", Shortest(mSettings.mStationaryLimit)},
                {"verify", mSettings.mVerify}};
    }

private:
    static constexpr int kTag = 1;

    DP::APTFeatureListPtr TrackImage(const IP::ImagePtr<float>& inImage,
                                     long long inNumber) override {
        const int rows = inImage->GetRows();
        const int columns = inImage->GetColumns();
        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeAPT);
        item->SetDataKey(DP::CreateAPTDescriptorDataKey(
            mSource, inNumber, kTag, mSettings.mFeatures, rows, columns, mSettings.mMinDistance,
            mSettings.mMinFeatures, mSettings.mStationaryLimit, mSettings.mVerify));
        DP::Ref<DP::IAPTDescriptorWorkerItem>(item)->SetInputs(
            mPrevImage, inImage, mPrevData, unsigned(columns), unsigned(rows));
        mPrevData = mComputer->GetDescriptorData(item, true);
        mPrevImage = inImage;
        return mPrevData->GetFeatures();
    }

    quillet::WideString mSource;
    TrackSettings mSettings;
    DP::Ref<DP::IDescriptorComputer> mComputer;
    IP::ImagePtr<float> mPrevImage;
    DP::Ref<DP::IAPTDescriptorData> mPrevData;
};

class ExportedTracker final : public AptTracker {
public:
    ExportedTracker(const std::string& inSource, int inStep)
        : AptTracker(inSource, true), mStep(inStep) {}

    std::string Name() const override { return "apt-exported"; }
    Json Settings() const override { return {{"step", mStep}}; }  // all others are fixed

private:
    DP::APTFeatureListPtr TrackImage(const IP::ImagePtr<float>& inImage,
                                     long long inNumber) override {
        if (!mTracker)
            mTracker.reset(DP::Tracker::CreateTracker(unsigned(inImage->GetColumns()),
                                                      unsigned(inImage->GetRows())));
        DP::APTFeatureListPtr features;
        mTracker->TrackFeatures(inImage, unsigned(inNumber), features);
        return features;
    }

    int mStep;
    std::unique_ptr<DP::Tracker> mTracker;
};

}  // namespace

Columns PointColumnsWith(const Column& inStatus, const Column& inMark) {
    return {{"slot", "number", "one point until its age starts again"},
            {"x", "pixel", "to the right; 0 is the centre of the first column"},
            {"y", "pixel", "downward; 0 is the centre of the top row"},
            inStatus,
            inMark,
            {"age", "frame", "tracked frames since the point was selected"},
            {"dx", "pixel", "the last step"},
            {"dy", "pixel", "the last step"}};
}

std::unique_ptr<PointTracker> MakeAptTracker(const std::string& inSource,
                                             const TrackSettings& inSettings) {
    return std::make_unique<AptDescriptorTracker>(inSource, inSettings);
}

std::unique_ptr<PointTracker> MakeExportedTracker(const std::string& inSource, int inStep) {
    return std::make_unique<ExportedTracker>(inSource, inStep);
}

}  // namespace Host
