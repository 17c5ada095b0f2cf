// The region tracker, step by step.

#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "DP/IAPTDescriptor.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "descriptor/detail/AptEngine.h"
#include "descriptor/detail/GreyImages.h"
#include "descriptor/detail/Request.h"

namespace descriptor::detail {

/// The library counts a region's y upward from the foot of the picture. These two are the
/// only places that know.
/// @{
inline DP::RegionPtr region_of(const Rect& inRect, int inRows) {
    return TVK::MakeObject<TVK::ParamRect<float>>(TVK::ParamRect<float>{
        static_cast<float>(inRect.x), static_cast<float>(inRows - inRect.y - inRect.height),
        static_cast<float>(inRect.x + inRect.width), static_cast<float>(inRows - inRect.y)});
}
inline Rect rect_of(const TVK::ParamRect<float>& inRegion, int inRows) {
    return {static_cast<double>(inRegion.mLeft), inRows - static_cast<double>(inRegion.mBottom),
            static_cast<double>(inRegion.mRight) - static_cast<double>(inRegion.mLeft),
            static_cast<double>(inRegion.mBottom) - static_cast<double>(inRegion.mTop)};
}
/// @}

/// What came of one frame. Until it is accepted, the engine goes on from the one before.
struct RegionStep {
    Rect mRect;  // without area where the region was lost
    std::vector<Slot> mSlots;
    IP::ImagePtr<float> mImage;
    DP::Ref<DP::IRegionTrackerDescriptorData> mData;
    DP::RegionPtr mStart;
    RunName mRun;

    bool is_seen() const { return mRect.width > 0.0 && mRect.height > 0.0; }
    bool has_points() const {
        for (const Slot& slot : mSlots)
            if (slot.mIsLive) return true;
        return false;
    }
};

class RegionEngine {
public:
    RegionEngine(const Source& inSource, int inPoints, int inDistance)
        : mSource(inSource),
          mPoints(static_cast<unsigned>(inPoints)),
          mDistance(static_cast<unsigned>(inDistance)),
          mImages(inSource),
          mComputer("a region tracker", quillet::utility::UTF8ToUTF16(unique_text("region ")),
                    [&](const quillet::WideString& inText) {
                        return DP::CreateRegionTrackerDescriptorProperty(
                            mPoints, kTag, mDistance, kLeast, inText, region_of({}, 0), kTag,
                            DP::kDescriptorDataTypeRegionTracker);
                    }) {}

    IP::ImagePtr<float> image_of(const Frame& inFrame) const { return mImages.of(inFrame); }
    /// Whether it is the image of the last accepted step.
    bool is_last(const IP::ImagePtr<float>& inImage) const {
        return mLast && same_pixels(mLast->mImage, inImage);
    }

    /// A first frame: points are looked for inside the rectangle.
    RegionStep start(const IP::ImagePtr<float>& inImage, std::int64_t inNumber,
                     const Rect& inRect) const {
        const DP::RegionPtr region = region_of(inRect, inImage->GetRows());
        return step({inRect,
                     {},
                     nullptr,
                     DP::CreateRegionDescriptorData(region),
                     region,
                     RunName(mSource, "region", true)},
                    inImage, inNumber);
    }
    /// The frame after the last accepted one.
    RegionStep follow(const IP::ImagePtr<float>& inImage, std::int64_t inNumber) {
        RegionStep next = step(*mLast, inImage, inNumber);
        mLast->mRun = next.mRun;  // a frame that was asked for has its number
        return next;
    }
    void accept(RegionStep inStep) { mLast.emplace(std::move(inStep)); }

private:
    static constexpr unsigned kLeast = 0;  // points are looked for in each frame

    RegionStep step(const RegionStep& inFrom, const IP::ImagePtr<float>& inImage,
                    std::int64_t inNumber) const {
        RegionStep next = inFrom;
        next.mImage = inImage;
        const long long number = next.mRun.next(inNumber);
        const int rows = inImage->GetRows();
        const int columns = inImage->GetColumns();
        const auto key = DP::CreateRegionTrackerDescriptorDataKey(
            next.mRun.text("region"), number, kTag, mPoints, rows, columns, inFrom.mStart, kTag,
            mDistance, kLeast);
        next.mData = ask("a region step", mComputer, DP::kDescriptorDataTypeRegionTracker, key,
                         true, [&](const DP::Ref<DP::IDescriptorWorkerItem>& ioItem) {
                             DP::Ref<DP::IRegionTrackerDescriptorWorkerItem>(ioItem)->SetInputs(
                                 inFrom.mImage, inImage, inFrom.mData,
                                 static_cast<unsigned>(columns), static_cast<unsigned>(rows));
                         });
        next.mRect = rect_of(*next.mData->GetRegion(), rows);
        next.mSlots = slots_of(*DP::Ref<DP::IAPTDescriptorData>(next.mData)->GetFeatures());
        return next;
    }

    Source mSource;
    unsigned mPoints;
    unsigned mDistance;
    GreyImages<float> mImages;
    OwnComputer mComputer;
    std::optional<RegionStep> mLast;  // the last that showed the rectangle
};

}  // namespace descriptor::detail
