// Session: what a host does with a clip, step by step.

#pragma once

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "Clip.h"
#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IKLTDescriptor.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "Support/WideStrings.h"

namespace Endurance {

/// Both trackers, the region tracker and strokes on each frame of a clip that runs to and fro.
class Session {
public:
    enum Kind { kKlt, kApt, kRegion, kCut };

    /// Makes so many frames, of which there are two at least.
    Session(const Scenarios::Clip& inClip, int inFrames) : mClip(inClip), mFrames(inFrames) {
        for (int i = 0; i < mFrames; ++i) {
            mBytes.push_back(mClip.Bytes(i));
            mFloats.push_back(mClip.Floats(i));
        }
        mColour = mClip.Bgra(0);
        mStroke = Scenarios::MakeImage<unsigned char>(mClip.mColumns, mClip.mRows);
        std::fill_n(mStroke->GetData(), mClip.Pixels(), static_cast<unsigned char>(0));
        std::fill_n(mStroke->GetData(), 8, static_cast<unsigned char>(255));
    }

    /// The kinds that are named, all others left alone.
    void Step(long inStep, std::initializer_list<Kind> inKinds = {kKlt, kApt, kRegion, kCut}) {
        const long turn = inStep % (2 * mFrames - 2);
        const auto now =
            static_cast<std::size_t>(turn < mFrames ? turn : 2 * mFrames - 2 - turn);
        for (const Kind kind : inKinds) {
            if (kind == kKlt) Klt(inStep, mBytes[now]);
            if (kind == kApt) Apt(inStep, mFloats[now]);
            if (kind == kRegion) Region(inStep, mFloats[now]);
            if (kind == kCut) Cut(inStep);
        }
        mPrevious = static_cast<long>(now);
    }

    /// Drops the results that the next step would go on from: tracking starts anew.
    void LetGo() {
        mKlt = nullptr;
        mApt = nullptr;
        mRegion = nullptr;
        mLabels = nullptr;
        mPrevious = -1;
    }

private:
    template <class T>
    using Ref = DP::Ref<T>;

    template <class T>
    IP::ImagePtr<T> PreviousOf(const std::vector<IP::ImagePtr<T>>& inFrames) const {
        return mPrevious < 0 ? nullptr : inFrames[static_cast<std::size_t>(mPrevious)];
    }

    void Klt(long inStep, const IP::ImagePtr<unsigned char>& inImage) {
        const auto type = DP::kDescriptorDataTypeKLT;
        const auto item = DP::CreateDescriptorWorkerItem(type);
        item->SetDataKey(DP::CreateKLTDescriptorDataKey(Testing::Wide("clip"), inStep, 1, 40,
                                                        mClip.mRows, mClip.mColumns, 10, 30));
        Ref<DP::IKLTDescriptorWorkerItem>(item)->SetInputImages(PreviousOf(mBytes), inImage,
                                                                mKlt);
        mKlt = DP::CreateDescriptorComputer(
                   DP::CreateKLTDescriptorProperty(40, 1, 10, 30, Testing::Wide("clip"), type))
                   ->GetDescriptorData(item, true);
    }

    void Apt(long inStep, const IP::ImagePtr<float>& inImage) {
        const auto type = DP::kDescriptorDataTypeAPT;
        const auto item = DP::CreateDescriptorWorkerItem(type);
        item->SetDataKey(DP::CreateAPTDescriptorDataKey(
            Testing::Wide("clip"), inStep, 0, 40, mClip.mRows, mClip.mColumns, 6, 30, 0.0f, 1));
        Ref<DP::IAPTDescriptorWorkerItem>(item)->SetInputs(PreviousOf(mFloats), inImage, mApt,
                                                           unsigned(mClip.mColumns),
                                                           unsigned(mClip.mRows));
        mApt = Ref<DP::IAPTDescriptorData>(
            DP::CreateDescriptorComputer(DP::CreateAPTDescriptorProperty(40, 0, 6, 30,
                                                                         Testing::Wide("clip"),
                                                                         type, 0.0f, 1))
                ->GetDescriptorData(item, true));
    }

    void Region(long inStep, const IP::ImagePtr<float>& inImage) {
        const auto type = DP::kDescriptorDataTypeRegionTracker;
        const auto region =
            TVK::MakeObject<TVK::ParamRect<float>>(TVK::ParamRect<float>{20, 15, 70, 55});
        if (mRegion == NULL) mRegion = DP::CreateRegionDescriptorData(region);
        const auto item = DP::CreateDescriptorWorkerItem(type);
        item->SetDataKey(DP::CreateRegionTrackerDescriptorDataKey(
            Testing::Wide("clip"), inStep, 0, 40, mClip.mRows, mClip.mColumns, region, 0, 4,
            10));
        Ref<DP::IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
            PreviousOf(mFloats), inImage, mRegion, unsigned(mClip.mColumns),
            unsigned(mClip.mRows));
        mRegion = Ref<DP::IRegionTrackerDescriptorData>(
            DP::CreateDescriptorComputer(
                DP::CreateRegionTrackerDescriptorProperty(40, 0, 4, 10, Testing::Wide("clip"),
                                                          region, 0, type))
                ->GetDescriptorData(item, true));
    }

    // A new frame every 50 steps, strokes in between.
    void Cut(long inStep) {
        if (inStep % 50 == 0) mLabels = nullptr;
        const auto type = DP::kDescriptorDataTypeGraphCut;
        const auto background =
            Scenarios::MakeImage<unsigned char>(mClip.mColumns, mClip.mRows);
        std::fill_n(background->GetData(), mClip.Pixels(), static_cast<unsigned char>(0));
        background->GetData()[(inStep * 131) % long(mClip.Pixels())] = 255;
        const auto item = DP::CreateDescriptorWorkerItem(type);
        item->SetDataKey(DP::CreateDescriptorDataKey(Testing::Wide("clip"), inStep, mClip.mRows,
                                                     mClip.mColumns));
        Ref<DP::IGraphCutDescriptorWorkerItem>(item)->SetInputs(
            mColour.data(), unsigned(mClip.RowBytes()), mStroke, background, mLabels);
        mLabels = Ref<DP::IGraphCutDescriptorData>(
                      DP::CreateDescriptorComputer(
                          DP::CreateDescriptorProperty(Testing::Wide("clip"), type))
                          ->GetDescriptorData(item, false))
                      ->GetLabelImage();
    }

    Scenarios::Clip mClip;
    long mFrames;
    std::vector<IP::ImagePtr<unsigned char>> mBytes;
    std::vector<IP::ImagePtr<float>> mFloats;
    std::vector<unsigned char> mColour;
    IP::ImagePtr<unsigned char> mStroke;
    long mPrevious = -1;
    Ref<DP::IDescriptorData> mKlt;
    Ref<DP::IAPTDescriptorData> mApt;
    Ref<DP::IRegionTrackerDescriptorData> mRegion;
    IP::ImagePtr<unsigned char> mLabels;
};

}  // namespace Endurance
