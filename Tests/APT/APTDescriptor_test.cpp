// What is special about the APT kind: its computer's numbers, and its wrapper. What it shares
// with the other trackers is tested in Tests/Kinds.

#include "APT/APTDescriptorComputer.h"
#include "APT/APTDescriptorData.h"
#include "APT/APTWrapper.h"
#include "APTFrames.h"
#include "DP/DescriptorFactory.h"
#include "Support/Images.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

constexpr unsigned int kFeatures = 120;

Ref<IDescriptorProperty> Property(float inStationaryLimit = 0.0f, unsigned int inVerify = 0,
                                  unsigned int inDistance = 8) {
    return CreateAPTDescriptorProperty(kFeatures, 3, inDistance, 60, Wide("clip"),
                                       kDescriptorDataTypeAPT, inStationaryLimit, inVerify);
}

Ref<IDescriptorDataKey> Key(long long inFrame, unsigned int inMinFeatures = 60) {
    return CreateAPTDescriptorDataKey(Wide("clip"), inFrame, 3, kFeatures, 120, 160, 8,
                                      inMinFeatures, 0.0f, 0);
}

IP::ImagePtr<float> FrameImage(const MovingClip& inClip, int inFrame) {
    return ImageOf(inClip.mCols, inClip.mRows, inClip.Frame(inFrame));
}

Ref<IDescriptorData> DataOf(const APTFeatureListPtr& inList) {
    const auto data = APTDescriptorData::Create();
    data->SetFeatures(inList);
    return data;
}

class APTDescriptor : public testing::Test {
protected:
    ~APTDescriptor() override { FlushAllDescriptorResources(); }

    // One request of a host.
    Ref<IAPTDescriptorData> Request(const Ref<IDescriptorComputer>& inComputer, int inFrame,
                                    const Ref<IAPTDescriptorData>& inPrevious,
                                    unsigned int inMinFeatures = 60) {
        const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeAPT);
        item->SetDataKey(Key(inFrame, inMinFeatures));
        Ref<IAPTDescriptorWorkerItem>(item)->SetInputs(
            inPrevious != NULL ? FrameImage(mClip, inFrame - 1) : IP::ImagePtr<float>(),
            FrameImage(mClip, inFrame), inPrevious, unsigned(mClip.mCols),
            unsigned(mClip.mRows));
        return inComputer->GetDescriptorData(item, true);
    }

    MovingClip mClip;
};

// ---- The road of a clip --------------------------------------------------------------

TEST_F(APTDescriptor, TheComputerTakesItsNumbersFromTheProperty) {
    const Ref<APTDescriptorComputer> computer(CreateDescriptorComputer(Property(0.25f, 7, 11)));
    ASSERT_TRUE(computer != NULL);
    const APTTracker& engine = *computer->GetTracker();
    EXPECT_EQ(engine.mParams.mMaxFeatures, kFeatures);
    EXPECT_EQ(engine.mParams.mMinFeatureDistance, 11u);
    EXPECT_EQ(engine.mParams.mStationaryLimit, 0.25);
    EXPECT_TRUE(engine.mParams.mVerifyAgainstReference);
    EXPECT_EQ(engine.mTrackerTag, 3);
    EXPECT_EQ(engine.mSourceID, Wide("clip"));
    EXPECT_FALSE(computer->GetTracker()->mParams.mVerifyAgainstReference == false);

    computer->SetMaxFeatures(1);
    computer->SetTrackerTag(-4);
    computer->SetMinFeatureDistance(2);
    computer->SetStationaryLimit(1.5f);
    computer->SetVerifyAgainstReference(0);
    EXPECT_EQ(engine.mParams.mMaxFeatures, 1u);
    EXPECT_EQ(engine.mTrackerTag, -4);
    EXPECT_EQ(engine.mParams.mMinFeatureDistance, 2u);
    EXPECT_EQ(engine.mParams.mStationaryLimit, 1.5);
    EXPECT_FALSE(engine.mParams.mVerifyAgainstReference);
    EXPECT_EQ(Request(Ref<IDescriptorComputer>(computer), 0, {})->GetFeatures()->size(),
              kFeatures)
        << "what was copied stays";
}

// ---- Bad input -----------------------------------------------------------------------

TEST_F(APTDescriptor, TheWrapperSaysWhatItMisses) {
    const auto frame = mClip.Frame(0);
    const auto engine = MakeEngine();
    const auto previous = Ref<IAPTDescriptorData>(DataOf(EmptyList()));
    APTWrapper wrapper(120, 160, engine);
    {
        const RecordedReports reports;
        EXPECT_ANY_THROW(wrapper.ComputeFeatures(nullptr, nullptr, {}, Key(0)));
        EXPECT_ANY_THROW(
            APTWrapper(120, 160, {}).ComputeFeatures(nullptr, frame.data(), {}, Key(0)));
        EXPECT_EQ(reports.Broken(),
                  "Src/APT/APTWrapper.cpp: inCurrImage != NULL\n"
                  "Src/APT/APTWrapper.cpp: mTracker != NULL\n");
    }
    const auto refuses = [&](const float* inFrom, const Ref<IAPTDescriptorData>& inData,
                             const Ref<IDescriptorDataKey>& inKey) {
        EXPECT_THROW(wrapper.ComputeFeatures(inFrom, frame.data(), inData, inKey),
                     TVK::NullInterfaceException);
    };
    refuses(nullptr, {}, {});
    refuses(frame.data(), previous, {});
    refuses(nullptr, previous, Key(1));
    refuses(frame.data(), Ref<IAPTDescriptorData>(DataOf(nullptr)), Key(1));
    refuses(frame.data(), previous, CreateDescriptorDataKey(Wide("clip"), 1, 120, 160));
    EXPECT_EQ(APTWrapper::CountLiveFeatures(ListOf({NewPoint(1, 1), APTFeature()})), 1u);
    EXPECT_EQ(APTWrapper::CountLiveFeatures(nullptr), 0u);
}

TEST_F(APTDescriptor, AnEngineRemembersTheFirstFrameAndStampsAreCutTo32Bits) {
    const auto frame = mClip.Frame(0);
    const auto engine = MakeEngine();
    APTWrapper wrapper(120, 160, engine);
    const auto list = wrapper.ComputeFeatures(nullptr, frame.data(), {}, Key((1LL << 40) + 6));
    EXPECT_EQ(engine->mStartFrame, (std::uint64_t{1} << 40) + 6);
    EXPECT_EQ((*list)[0].mStatus, 7);
    for (const long long number : {LLONG_MIN, LLONG_MAX, -1LL})
        EXPECT_EQ(wrapper.ComputeFeatures(nullptr, frame.data(), {}, Key(number))->size(),
                  500u);
}

}  // namespace
