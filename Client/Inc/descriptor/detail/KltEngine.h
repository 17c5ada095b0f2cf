// The KLT tracker, frame by frame.

#pragma once

#include <optional>
#include <vector>

#include "DP/IKLTDescriptor.h"
#include "descriptor/Points.h"
#include "descriptor/detail/GreyImages.h"
#include "descriptor/detail/PointEngine.h"

namespace descriptor::detail {

inline PointStatus status_of(const DP::KLTFeature& inFeature) {
    switch (inFeature.mValue) {
        case DP::kKLTSmallDet:
            return PointStatus::no_texture;
        case DP::kKLTMaxIterations:
            return PointStatus::unsettled;
        case DP::kKLTOutOfBounds:
            return PointStatus::out_of_bounds;
        case DP::kKLTLargeResidue:
            return PointStatus::different;
        default:
            return PointStatus::lost;
    }
}

inline std::vector<Slot> slots_of(const DP::KLTFeatureList& inFeatures) {
    std::vector<Slot> slots;
    slots.reserve(inFeatures.size());
    for (const DP::KLTFeature& feature : inFeatures)
        slots.push_back({feature.mX, feature.mY, feature.mDeltaX, feature.mDeltaY,
                         static_cast<std::uint32_t>(feature.mAge),
                         static_cast<float>(feature.mValue), status_of(feature),
                         feature.mValue >= 0});
    return slots;
}

inline auto klt_property(const PointSettings& inSettings, int inStep) {
    return [&inSettings, inStep](const quillet::WideString& inSource) {
        return DP::CreateKLTDescriptorProperty(inSettings.points(), inStep,
                                               inSettings.distance(), inSettings.least(),
                                               inSource, DP::kDescriptorDataTypeKLT);
    };
}

class KltEngine final : public PointEngine {
public:
    KltEngine(const Source& inSource, const PointSettings& inSettings)
        : mSettings(inSettings), mImages(inSource) {
        begin_pyramids();
    }

    // It keeps its points on equal frames by itself, and finds the pyramids of the frame
    // before by the number of this one less one: no frame may be skipped.
    bool holds(const Frame& inFrame) override {
        mNext = mImages.of(inFrame);
        mIsRepeated = mData != NULL && same_pixels(mImage, mNext);
        return false;
    }
    bool is_repeated() const override { return mIsRepeated; }

    std::vector<Slot> step(const RunName& inRun, long long inNumber) override {
        if (!mArePyramidsOurs) begin_pyramids();
        mArePyramidsOurs = false;
        const auto data = ask_for(*mForward, inRun.text("klt"), inNumber, 1, mSettings.least(),
                                  mImage, mNext);
        mArePyramidsOurs = true;
        mBefore = mImage;
        mImage = mNext;
        mData = data;
        return slots();
    }
    // A step of -1 from this frame to the one before: both pyramids are there.
    std::vector<Slot> step_back(const RunName& inRun, long long inNumber) override {
        if (!mBackward)
            mBackward.emplace("a KLT tracker", mPyramids, klt_property(mSettings, -1));
        const auto data =
            ask_for(*mBackward, inRun.text("klt back"), inNumber - 1, -1, 0, mImage, mBefore);
        return slots_of(*DP::Ref<DP::IKLTDescriptorData>(data)->GetFeatureList());
    }
    void restart() override {
        mData = nullptr;
        mImage = nullptr;
        mArePyramidsOurs = false;
    }

private:
    using Image = IP::ImagePtr<unsigned char>;

    std::vector<Slot> slots() const {
        return slots_of(*DP::Ref<DP::IKLTDescriptorData>(mData)->GetFeatureList());
    }

    // Pyramids are found by this name and a frame's number. Where the numbers begin anew, or a
    // step that was stopped may have left the pyramid of a frame that another one takes the
    // place of, they need another name.
    void begin_pyramids() {
        mPyramids = quillet::utility::UTF8ToUTF16(unique_text("klt "));
        mBackward.reset();
        mForward.emplace("a KLT tracker", mPyramids, klt_property(mSettings, 1));
        mArePyramidsOurs = true;
    }

    DP::Ref<DP::IDescriptorData> ask_for(const OwnComputer& inComputer,
                                         const quillet::WideString& inName, long long inNumber,
                                         int inStep, unsigned inLeast, const Image& inFrom,
                                         const Image& inTo) const {
        const auto key = DP::CreateKLTDescriptorDataKey(
            inName, inNumber, inStep, mSettings.points(), inTo->GetRows(), inTo->GetColumns(),
            mSettings.distance(), inLeast);
        return ask("a KLT step", inComputer, DP::kDescriptorDataTypeKLT, key, true,
                   [&](const DP::Ref<DP::IDescriptorWorkerItem>& ioItem) {
                       DP::Ref<DP::IKLTDescriptorWorkerItem>(ioItem)->SetInputImages(
                           inFrom, inTo, mData);
                   });
    }

    PointSettings mSettings;
    GreyImages<unsigned char> mImages;
    quillet::WideString mPyramids;  // what the frames' pyramids are called
    bool mArePyramidsOurs = false;  // each of that name is of a frame of this run
    std::optional<OwnComputer> mForward;
    std::optional<OwnComputer> mBackward;
    Image mBefore;
    Image mImage;
    Image mNext;
    DP::Ref<DP::IDescriptorData> mData;
    bool mIsRepeated = false;
};

}  // namespace descriptor::detail
