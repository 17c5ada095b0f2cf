#include "RegionTracker.h"

#include "Stopwatch.h"

namespace Host {
namespace {

constexpr int kTag = 1;
constexpr unsigned kMinFeatures = 0;  // the region tracker looks for points in each frame

DP::RegionPtr ToRegion(const Box& inBox, int inRows) {
    return TVK::MakeObject<TVK::ParamRect<float>>(
        TVK::ParamRect<float>{float(inBox.mX), float(inRows - inBox.Bottom()),
                              float(inBox.Right()), float(inRows - inBox.mY)});
}

Box ToBox(const TVK::ParamRect<float>& inRegion, int inRows) {
    return {double(inRegion.mLeft), inRows - double(inRegion.mBottom),
            double(inRegion.mRight) - inRegion.mLeft, double(inRegion.mBottom) - inRegion.mTop};
}

}  // namespace

RegionTracker::RegionTracker(const std::string& inSource, const Box& inStart, int inRows,
                             const RegionSettings& inSettings)
    : mImages(inSource),
      mSource(SourceID(inSource)),
      mSettings(inSettings),
      mStart(ToRegion(inStart, inRows)),
      mComputer(DP::CreateDescriptorComputer(DP::CreateRegionTrackerDescriptorProperty(
          inSettings.mFeatures, kTag, inSettings.mMinDistance, kMinFeatures, mSource, mStart,
          kTag, DP::kDescriptorDataTypeRegionTracker))),
      mPrevData(DP::CreateRegionDescriptorData(mStart)),
      mBox(inStart) {}

DP::Ref<DP::IDescriptorDataKey> RegionTracker::MakeKey(const Frame& inFrame,
                                                       long long inNumber) const {
    return DP::CreateRegionTrackerDescriptorDataKey(
        mSource, inNumber, kTag, mSettings.mFeatures, inFrame.mHeight, inFrame.mWidth, mStart,
        kTag, mSettings.mMinDistance, kMinFeatures);
}

const Box& RegionTracker::Track(const Frame& inFrame, long long inNumber) {
    const IP::ImagePtr<float> image = mImages.Float(inFrame, inNumber);
    const WorkStopwatch tracking;
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeRegionTracker);
    item->SetDataKey(MakeKey(inFrame, inNumber));
    DP::Ref<DP::IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
        mPrevImage, image, mPrevData, unsigned(inFrame.mWidth), unsigned(inFrame.mHeight));
    mPrevData = mComputer->GetDescriptorData(item, true);
    mPrevImage = image;
    mSeconds += tracking.Seconds();

    mBox = ToBox(*DP::Ref<DP::IRegionTrackerDescriptorData>(mPrevData)->GetRegion(),
                 inFrame.mHeight);
    mPoints.clear();
    const auto features = DP::Ref<DP::IAPTDescriptorData>(mPrevData)->GetFeatures();
    for (const DP::APTFeature& feature : *features)
        if (feature.mStatus >= 0) mPoints.push_back({feature.mX, feature.mY});
    return mBox;
}

}  // namespace Host
