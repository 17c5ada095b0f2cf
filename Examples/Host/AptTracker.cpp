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
    explicit AptTracker(const std::string& inSource) : mImages(inSource) {}

    const std::vector<TrackedPoint>& Track(const Frame& inFrame, long long inNumber) override {
        const IP::ImagePtr<float> image = mImages.Float(inFrame, inNumber);
        const WorkStopwatch tracking;
        const DP::APTFeatureListPtr features = TrackImage(image, inNumber);
        mSeconds += tracking.Seconds();
        CopyPoints(*features, mPoints);
        return mPoints;
    }
    std::string StatusColumn() const override { return "status"; }
    std::string MarkColumn() const override { return "correlation"; }

private:
    virtual DP::APTFeatureListPtr TrackImage(const IP::ImagePtr<float>& inImage,
                                             long long inNumber) = 0;

    GreyImages mImages;
};

// The host hands the previous frame and its result back with each frame: the library's
// computer remembers no frame.
class AptDescriptorTracker final : public AptTracker {
public:
    AptDescriptorTracker(const std::string& inSource, const TrackSettings& inSettings)
        : AptTracker(inSource),
          mSource(SourceID(inSource)),
          mSettings(inSettings),
          mComputer(DP::CreateDescriptorComputer(DP::CreateAPTDescriptorProperty(
              inSettings.mFeatures, kTag, inSettings.mMinDistance, inSettings.mMinFeatures,
              mSource, DP::kDescriptorDataTypeAPT, inSettings.mStationaryLimit,
              inSettings.mVerify))) {}

    std::string Name() const override { return "apt"; }

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
    using AptTracker::AptTracker;

    std::string Name() const override { return "apt-exported"; }

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

    std::unique_ptr<DP::Tracker> mTracker;
};

}  // namespace

std::unique_ptr<PointTracker> MakeAptTracker(const std::string& inSource,
                                             const TrackSettings& inSettings) {
    return std::make_unique<AptDescriptorTracker>(inSource, inSettings);
}

std::unique_ptr<PointTracker> MakeExportedTracker(const std::string& inSource) {
    return std::make_unique<ExportedTracker>(inSource);
}

}  // namespace Host
