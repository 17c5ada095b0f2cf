// The KLT tracker.

#include "DP/IKLTDescriptor.h"
#include "GreyImages.h"
#include "PointTracker.h"
#include "Stopwatch.h"

namespace Host {
namespace {

class KltTracker final : public PointTracker {
public:
    KltTracker(const std::string& inSource, const TrackSettings& inSettings)
        : mImages(inSource),
          mSource(SourceID(inSource)),
          mSettings(inSettings),
          mComputer(DP::CreateDescriptorComputer(DP::CreateKLTDescriptorProperty(
              inSettings.mFeatures, inSettings.mStep, inSettings.mMinDistance,
              inSettings.mMinFeatures, mSource, DP::kDescriptorDataTypeKLT))) {}

    const std::vector<TrackedPoint>& Track(const Frame& inFrame, long long inNumber) override {
        const IP::ImagePtr<unsigned char> image = mImages.Grey(inFrame, inNumber);
        const WorkStopwatch tracking;
        const DP::KLTFeatureListPtr features = TrackImage(image, inNumber);
        mSeconds += tracking.Seconds();
        mPoints.clear();
        for (const DP::KLTFeature& feature : *features)
            mPoints.push_back({feature.mX, feature.mY, feature.mValue, double(feature.mId),
                               unsigned(feature.mAge), feature.mDeltaX, feature.mDeltaY});
        return mPoints;
    }
    std::string Name() const override { return "klt"; }
    Columns PointColumns() const override {
        return PointColumnsWith({"value", "code", "see status_codes"},
                                {"id", "number", "of the point, counted over the run"});
    }
    Json StatusCodes() const override {
        return {{">=1", "selected in this frame; how well it can be tracked"},
                {"0", "carried over from the frame before"},
                {"-1", "empty slot: selection found nothing for it"},
                {"-2", "lost: too little texture"},
                {"-3", "lost: the search did not settle"},
                {"-4", "lost: left the usable part of the image"},
                {"-5", "lost: nothing looks like it"}};
    }
    Json Settings() const override {
        return {{"step", mSettings.mStep},
                {"features", mSettings.mFeatures},
                {"min_features", mSettings.mMinFeatures}};
    }

private:
    DP::KLTFeatureListPtr TrackImage(const IP::ImagePtr<unsigned char>& inImage,
                                     long long inNumber) {
        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeKLT);
        item->SetDataKey(DP::CreateKLTDescriptorDataKey(
            mSource, inNumber, mSettings.mStep, mSettings.mFeatures, inImage->GetRows(),
            inImage->GetColumns(), mSettings.mMinDistance, mSettings.mMinFeatures));
        DP::Ref<DP::IKLTDescriptorWorkerItem>(item)->SetInputImages(mPrevImage, inImage,
                                                                    mPrevData);
        mPrevData = mComputer->GetDescriptorData(item, true);
        mPrevImage = inImage;
        return DP::Ref<DP::IKLTDescriptorData>(mPrevData)->GetFeatureList();
    }

    GreyImages mImages;
    quillet::WideString mSource;
    TrackSettings mSettings;
    DP::Ref<DP::IDescriptorComputer> mComputer;
    IP::ImagePtr<unsigned char> mPrevImage;
    DP::Ref<DP::IDescriptorData> mPrevData;
};

}  // namespace

std::unique_ptr<PointTracker> MakeKltTracker(const std::string& inSource,
                                             const TrackSettings& inSettings) {
    return std::make_unique<KltTracker>(inSource, inSettings);
}

}  // namespace Host
