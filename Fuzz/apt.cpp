// The APT engine over frames with hostile pixels, sizes and lists. Whatever it is given: the
// lists have their full length, and a point that it says it tracked lies in the image.

#include <cmath>
#include <vector>

#include "APT/APTTracker.h"
#include "Fuzz/Frames.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"

namespace {

using DP::APTFeatureListPtr;
using Fuzz::Input;
using Fuzz::Require;

DP::APTFeature ReadFeature(Input& ioInput) {
    DP::APTFeature feature;
    feature.mX = ioInput.Float();
    feature.mY = ioInput.Float();
    feature.mStatus = ioInput.Whole<int>();
    feature.mAge = ioInput.Whole<unsigned int>();
    return feature;
}

class Run {
public:
    explicit Run(Input& ioInput) : mInput(ioInput), mSize(Fuzz::ReadSize(ioInput, 48)) {
        DP::APTTrackerParams& params = mEngine.mParams;
        params.mMaxFeatures = static_cast<unsigned>(ioInput.Between(0, 15));
        params.mMinFeatureDistance = ioInput.Whole<unsigned int>();
        params.mStationaryLimit = ioInput.Flag() ? 0.0 : double{ioInput.Float()};
        params.mVerifyAgainstReference = ioInput.Flag();
        mEngine.ApplyParams();
        mPrevious = Fuzz::ReadFloatImage(mInput, mSize);
    }

    void Step() {
        const int kind = mInput.Byte();
        if (kind % 16 == 0) {
            mSize = Fuzz::ReadSize(mInput, 48);
            mPrevious = Fuzz::ReadFloatImage(mInput, mSize);
        }
        if (kind % 8 == 1) SpoilList();
        const auto current = Fuzz::ReadFloatImage(mInput, mSize);
        const auto frame = mInput.Whole<unsigned int>();
        if (kind % 4 == 2)
            Select(*current, frame);
        else
            Track(*current, frame);
        mPrevious = current;
    }

private:
    // As a host may hand a list back: of another length, with records of its own.
    void SpoilList() {
        mList = TVK::MakeObject<DP::APTFeatureList>(*mList);
        mList->resize(static_cast<std::size_t>(mInput.Between(0, 20)));
        for (int i = mInput.Between(0, 3); i > 0 && !mList->empty(); --i)
            (*mList)[static_cast<std::size_t>(mInput.Byte()) % mList->size()] =
                ReadFeature(mInput);
    }

    TVK::ParamRect<float> ReadRect() {
        if (mInput.Flag())
            return {0.0f, 0.0f, static_cast<float>(mSize.mCols),
                    static_cast<float>(mSize.mRows)};
        return {mInput.Float(), mInput.Float(), mInput.Float(), mInput.Float()};
    }

    void Select(IP::Image<float>& inCurrent, unsigned int inFrame) {
        const auto list = TVK::MakeObject<DP::APTFeatureList>();
        mEngine.SelectFeatures(inCurrent.GetData(), mSize.mCols, mSize.mRows, inFrame,
                               {ReadRect()}, {list});
        Check(*list, static_cast<int>(inFrame + 1u));
        mList = list;
    }

    void Track(IP::Image<float>& inCurrent, unsigned int inFrame) {
        const auto list = TVK::MakeObject<DP::APTFeatureList>();
        mEngine.TrackFeatures(mPrevious->GetData(), inCurrent.GetData(), mSize.mCols,
                              mSize.mRows, inFrame, {mList}, {list});
        Check(*list, 0);
        mEngine.ReplenishFeatures(inCurrent.GetData(), mSize.mCols, mSize.mRows, inFrame,
                                  {ReadRect()}, {list});
        Require(list->size() == mEngine.mParams.mMaxFeatures, "the list keeps its length");
        mList = list;
    }

    void Check(const DP::APTFeatureList& inList, int inStatus) const {
        Require(inList.size() == mEngine.mParams.mMaxFeatures, "a slot for each point");
        for (const DP::APTFeature& feature : inList) {
            if (feature.mStatus < 0) continue;
            Require(feature.mStatus == inStatus, "a live point is new or tracked");
            Require(feature.mX >= 0 && feature.mX <= static_cast<float>(mSize.mCols - 1) &&
                        feature.mY >= 0 && feature.mY <= static_cast<float>(mSize.mRows - 1),
                    "a live point lies in the image");
        }
    }

    Input& mInput;
    Fuzz::Size mSize;
    DP::APTTracker mEngine;
    IP::ImagePtr<float> mPrevious;
    APTFeatureListPtr mList = TVK::MakeObject<DP::APTFeatureList>();
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    Input input(inData, inSize);
    Run run(input);
    for (int frames = 0; frames < 8 && !input.IsAtEnd(); ++frames)
        run.Step();
    return 0;
}
