// The APT tracker, frame by frame.

#pragma once

#include <optional>
#include <vector>

#include "DP/IAPTDescriptor.h"
#include "descriptor/Points.h"
#include "descriptor/detail/GreyImages.h"
#include "descriptor/detail/PointEngine.h"

namespace descriptor::detail {

inline PointStatus status_of(const DP::APTFeature& inFeature) {
    switch (inFeature.mStatus) {
        case DP::kAPTFeatureInactive:
            return PointStatus::stationary;
        case DP::kAPTFeatureVerifyFailed:
            return PointStatus::changed;
        case DP::kAPTFeatureLowCorrelation:
            return PointStatus::low_correlation;
        default:
            return PointStatus::lost;
    }
}

inline std::vector<Slot> slots_of(const DP::APTFeatureList& inFeatures) {
    std::vector<Slot> slots;
    slots.reserve(inFeatures.size());
    for (const DP::APTFeature& feature : inFeatures)
        slots.push_back({feature.mX, feature.mY, feature.mDeltaX, feature.mDeltaY, feature.mAge,
                         feature.mCorrelation, status_of(feature), feature.mStatus >= 0});
    return slots;
}

/// Makes the property of one engine. Trackers are told apart by its source alone.
inline constexpr int kTag = 1;
inline auto apt_property(const PointSettings& inSettings, float inLimit, bool inVerify) {
    return [&inSettings, inLimit, inVerify](const quillet::WideString& inSource) {
        return DP::CreateAPTDescriptorProperty(inSettings.points(), kTag, inSettings.distance(),
                                               inSettings.least(), inSource,
                                               DP::kDescriptorDataTypeAPT, inLimit, inVerify);
    };
}

class AptEngine final : public PointEngine {
public:
    AptEngine(const Source& inSource, const PointSettings& inSettings)
        : mSettings(inSettings),
          mImages(inSource),
          mForward("an APT tracker", quillet::utility::UTF8ToUTF16(unique_text("apt ")),
                   apt_property(inSettings, inSettings.stationary_limit, inSettings.verify)) {}

    bool holds(const Frame& inFrame) override {
        mNext = mImages.of(inFrame);
        return mData != NULL && same_pixels(mImage, mNext);
    }
    std::vector<Slot> step(const RunName& inRun, long long inNumber) override {
        const auto data = ask_for(
            mForward, inRun.text("apt"), inNumber,
            {mSettings.least(), mSettings.stationary_limit, mSettings.verify}, mImage, mNext);
        mBefore = mImage;
        mImage = mNext;
        mData = data;
        return slots_of(*mData->GetFeatures());
    }
    // Nothing is dropped for standing still on the way back, nor looked for.
    std::vector<Slot> step_back(const RunName& inRun, long long inNumber) override {
        if (!mBackward)
            mBackward.emplace("an APT tracker",
                              quillet::utility::UTF8ToUTF16(unique_text("apt ")),
                              apt_property(mSettings, -1.0f, false));
        const auto data = ask_for(*mBackward, inRun.text("apt back"), inNumber,
                                  {0, -1.0f, false}, mImage, mBefore);
        return slots_of(*data->GetFeatures());
    }
    void restart() override {
        mData = nullptr;
        mImage = nullptr;
    }

private:
    using Image = IP::ImagePtr<float>;
    using Data = DP::Ref<DP::IAPTDescriptorData>;

    struct Rules {
        unsigned mLeast;
        float mStationaryLimit;
        bool mVerify;
    };

    // Carries the list on from one image to the next.
    Data ask_for(const OwnComputer& inComputer, const quillet::WideString& inName,
                 long long inNumber, const Rules& inRules, const Image& inFrom,
                 const Image& inTo) const {
        const int rows = inTo->GetRows();
        const int columns = inTo->GetColumns();
        const auto key = DP::CreateAPTDescriptorDataKey(
            inName, inNumber, kTag, mSettings.points(), rows, columns, mSettings.distance(),
            inRules.mLeast, inRules.mStationaryLimit, inRules.mVerify);
        return Data(ask("an APT step", inComputer, DP::kDescriptorDataTypeAPT, key, true,
                        [&](const DP::Ref<DP::IDescriptorWorkerItem>& ioItem) {
                            DP::Ref<DP::IAPTDescriptorWorkerItem>(ioItem)->SetInputs(
                                inFrom, inTo, mData, static_cast<unsigned>(columns),
                                static_cast<unsigned>(rows));
                        }));
    }

    PointSettings mSettings;
    GreyImages<float> mImages;
    OwnComputer mForward;
    std::optional<OwnComputer> mBackward;
    Image mBefore;  // the last frame but one that differs
    Image mImage;   // the last frame that differs
    Image mNext;
    Data mData;
};

}  // namespace descriptor::detail
