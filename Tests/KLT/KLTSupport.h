// What the tests of the KLT engine share: lists, clips with known motion, comparison.

#pragma once

#include "DP/DescriptorFactory.h"
#include "KLT/KLTTracker.h"
#include "Support/Test.h"

namespace Testing {

inline DP::KLTFeatureListPtr ListOf(DP::KLTFeatureList inList) {
    return TVK::MakeObject<DP::KLTFeatureList>(std::move(inList));
}

inline DP::KLTFeature FeatureAt(float inX, float inY, int inValue = 0) {
    DP::KLTFeature feature;
    feature.mX = inX;
    feature.mY = inY;
    feature.mValue = inValue;
    return feature;
}

inline TVK::ParamRect<float> WholeFrame(int inCols, int inRows) {
    return {0.0f, 0.0f, float(inCols), float(inRows)};
}

inline testing::AssertionResult SameFeatures(const DP::KLTFeatureList& inActual,
                                             const DP::KLTFeatureList& inExpected) {
    if (inActual.size() != inExpected.size())
        return testing::AssertionFailure()
               << inActual.size() << " slots instead of " << inExpected.size();
    for (std::size_t i = 0; i < inActual.size(); ++i) {
        const DP::KLTFeature &a = inActual[i], &b = inExpected[i];
        if (BitsOf(a.mX) != BitsOf(b.mX) || BitsOf(a.mY) != BitsOf(b.mY) ||
            a.mValue != b.mValue || a.mId != b.mId || a.mAge != b.mAge ||
            BitsOf(a.mDeltaX) != BitsOf(b.mDeltaX) || BitsOf(a.mDeltaY) != BitsOf(b.mDeltaY))
            return testing::AssertionFailure()
                   << "slot " << i << ": (" << a.mX << ", " << a.mY << ") value " << a.mValue
                   << " id " << a.mId << " age " << a.mAge << " instead of (" << b.mX << ", "
                   << b.mY << ") value " << b.mValue << " id " << b.mId << " age " << b.mAge;
    }
    return testing::AssertionSuccess();
}

inline int CountLive(const DP::KLTFeatureList& inList) {
    int live = 0;
    for (const DP::KLTFeature& feature : inList)
        live += feature.mValue >= 0;
    return live;
}

/// A tracker whose pyramids go through the caches, which are flushed behind it.
class KLTTrackerTest : public testing::Test {
protected:
    explicit KLTTrackerTest(unsigned int inMaxFeatures = 60) : mTracker(inMaxFeatures) {
        mTracker.SetSourceID(Wide("clip"));
        mTracker.SetFrameStep(1);
    }
    ~KLTTrackerTest() override { DP::FlushAllDescriptorResources(); }

    DP::KLTFeatureList Select(const std::vector<unsigned char>& inFrame, int inCols,
                              int inRows) {
        DP::KLTTracker::Lists lists{ListOf({})};
        mTracker.SelectGoodFeatures(inFrame.data(), inCols, inRows, 0,
                                    {WholeFrame(inCols, inRows)}, lists);
        return *lists[0];
    }
    DP::KLTFeatureList Track(const unsigned char* inPrevious, const unsigned char* inCurrent,
                             int inCols, int inRows, long long inFrame,
                             const DP::KLTFeatureList& inList) {
        DP::KLTTracker::Lists lists{ListOf({})};
        mTracker.TrackFeatures(inPrevious, inCurrent, inCols, inRows, inFrame, {ListOf(inList)},
                               lists);
        return *lists[0];
    }

    DP::KLTTracker mTracker;
};

}  // namespace Testing
