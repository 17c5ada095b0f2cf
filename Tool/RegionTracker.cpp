#include "RegionTracker.h"

#include "Stopwatch.h"

namespace Host {
namespace {

constexpr int kTag = 1;
constexpr unsigned kMinFeatures = 0;  // the region tracker looks for points in each frame
constexpr int kMostMisses = 5;        // repeats that were compressed anew differ a little

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

const char* RegionStateName(RegionState inState) {
    switch (inState) {
        case RegionState::kTracked:
            return "tracked";
        case RegionState::kHeld:
            return "held";
        default:
            return "restarted";
    }
}

RegionTracker::RegionTracker(const std::string& inSource, const Box& inStart, int inRows,
                             const RegionSettings& inSettings)
    : mImages(inSource), mSource(SourceID(inSource)), mSettings(inSettings), mBox(inStart) {
    StartRun(inStart, inRows);
}

// Property and key name the rectangle that a run starts with: no two runs share results.
void RegionTracker::StartRun(const Box& inBox, int inRows) {
    mStart = ToRegion(inBox, inRows);
    mComputer = DP::CreateDescriptorComputer(DP::CreateRegionTrackerDescriptorProperty(
        mSettings.mFeatures, kTag, mSettings.mMinDistance, kMinFeatures, mSource, mStart, kTag,
        DP::kDescriptorDataTypeRegionTracker));
    mGoodData = DP::CreateRegionDescriptorData(mStart);
    mGoodImage = nullptr;
}

DP::Ref<DP::IDescriptorDataKey> RegionTracker::MakeKey(const IP::Image<float>& inImage,
                                                       long long inNumber) const {
    return DP::CreateRegionTrackerDescriptorDataKey(
        mSource, inNumber, kTag, mSettings.mFeatures, inImage.GetRows(), inImage.GetColumns(),
        mStart, kTag, mSettings.mMinDistance, kMinFeatures);
}

// Asks for one frame; what has no area is not kept.
bool RegionTracker::Request(const IP::ImagePtr<float>& inImage, long long inNumber) {
    const int rows = inImage->GetRows();
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeRegionTracker);
    item->SetDataKey(MakeKey(*inImage, inNumber));
    DP::Ref<DP::IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
        mGoodImage, inImage, mGoodData, unsigned(inImage->GetColumns()), unsigned(rows));
    const DP::Ref<DP::IDescriptorData> data = mComputer->GetDescriptorData(item, true);
    const Box box = ToBox(*DP::Ref<DP::IRegionTrackerDescriptorData>(data)->GetRegion(), rows);
    if (box.Area() <= 0.0) return false;
    mBox = box;
    mGoodData = data;
    mGoodImage = inImage;
    mPoints.clear();
    const auto features = DP::Ref<DP::IAPTDescriptorData>(data)->GetFeatures();
    for (const DP::APTFeature& feature : *features)
        if (feature.mStatus >= 0) mPoints.push_back({feature.mX, feature.mY});
    return true;
}

const Box& RegionTracker::Track(const Frame& inFrame, long long inNumber) {
    const IP::ImagePtr<float> image = mImages.Float(inFrame, inNumber);
    const bool repeats = mLastImage != nullptr && AreEqual(*image, *mLastImage);
    mLastImage = image;
    mState = RegionState::kHeld;
    if (repeats) return mBox;
    const WorkStopwatch tracking;
    if (Request(image, inNumber)) {
        mState = RegionState::kTracked;
        mMisses = 0;
    } else if (++mMisses > kMostMisses) {
        StartRun(mBox, inFrame.mHeight);
        if (Request(image, inNumber)) mState = RegionState::kRestarted;
        mMisses = 0;
    }
    mSeconds += tracking.Seconds();
    return mBox;
}

}  // namespace Host
