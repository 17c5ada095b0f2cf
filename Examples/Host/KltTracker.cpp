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
    std::string StatusColumn() const override { return "value"; }
    std::string MarkColumn() const override { return "id"; }

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
