// APT as a descriptor: wrapper, item, data and computer, and a clip through the cache.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "APT/APTDescriptorComputer.h"
#include "APT/APTDescriptorData.h"
#include "APT/APTDescriptorDataKey.h"
#include "APT/APTDescriptorWorkerItem.h"
#include "APT/APTWrapper.h"
#include "APTFrames.h"
#include "DP/DescriptorFactory.h"
#include "Support/Images.h"
#include "Support/Reports.h"
#include "Support/WideStrings.h"

namespace {

using DP::APTDescriptorComputer;
using DP::APTDescriptorData;
using DP::APTFeature;
using DP::APTFeatureListPtr;
using DP::APTWrapper;
using DP::IAPTDescriptorData;
using DP::IAPTDescriptorWorkerItem;
using DP::IDescriptorData;
using DP::Ref;
using Testing::MakeEngine;
using Testing::MovingClip;
using Testing::RecordedReports;
using Testing::Wide;

constexpr unsigned int kFeatures = 120;

Ref<DP::IDescriptorProperty> Property(float inStationaryLimit = 0.0f, unsigned int inVerify = 0,
                                      unsigned int inDistance = 8) {
    return DP::CreateAPTDescriptorProperty(kFeatures, 3, inDistance, 60, Wide("clip"),
                                           DP::kDescriptorDataTypeAPT, inStationaryLimit,
                                           inVerify);
}

Ref<DP::IDescriptorDataKey> Key(long long inFrame, unsigned int inMinFeatures = 60) {
    return DP::CreateAPTDescriptorDataKey(Wide("clip"), inFrame, 3, kFeatures, 120, 160, 8,
                                          inMinFeatures, 0.0f, 0);
}

IP::ImagePtr<float> FrameImage(const MovingClip& inClip, int inFrame) {
    return Testing::ImageOf(inClip.mCols, inClip.mRows, inClip.Frame(inFrame));
}

Ref<IDescriptorData> DataOf(const APTFeatureListPtr& inList) {
    const auto data = APTDescriptorData::Create();
    data->SetFeatures(inList);
    return data;
}

class APTDescriptor : public testing::Test {
protected:
    ~APTDescriptor() override { DP::FlushAllDescriptorResources(); }

    // One request of a host.
    Ref<IAPTDescriptorData> Request(const Ref<DP::IDescriptorComputer>& inComputer, int inFrame,
                                    const Ref<IAPTDescriptorData>& inPrevious,
                                    unsigned int inMinFeatures = 60) {
        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeAPT);
        item->SetDataKey(Key(inFrame, inMinFeatures));
        Ref<IAPTDescriptorWorkerItem>(item)->SetInputs(
            inPrevious != NULL ? FrameImage(mClip, inFrame - 1) : IP::ImagePtr<float>(),
            FrameImage(mClip, inFrame), inPrevious, static_cast<unsigned int>(mClip.mCols),
            static_cast<unsigned int>(mClip.mRows));
        return inComputer->GetDescriptorData(item, true);
    }

    MovingClip mClip;
};

// ---- The road of a clip --------------------------------------------------------------

TEST_F(APTDescriptor, AClipIsTrackedThroughComputerAndCache) {
    const auto computer = DP::CreateDescriptorComputer(Property());
    Ref<IAPTDescriptorData> data = Request(computer, 0, {});
    ASSERT_TRUE(data != NULL);
    ASSERT_EQ(data->GetFeatures()->size(), kFeatures);
    for (int frame = 1; frame <= 5; ++frame) {
        const auto before = data->GetFeatures();
        data = Request(computer, frame, data);
        ASSERT_TRUE(data != NULL);
        unsigned int tracked = 0;
        for (const APTFeature& feature : *data->GetFeatures()) {
            if (feature.mStatus != 0) continue;
            ++tracked;
            EXPECT_NEAR(feature.mDeltaX, mClip.mStepX, 0.5);
        }
        EXPECT_GE(DP::CountLiveFeatures(*data->GetFeatures()), 50u);
        EXPECT_GT(tracked, 30u);
        EXPECT_FALSE(data->GetFeatures() == before) << "a list of its own";
    }
    // A hit does not read the inputs.
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeAPT);
    item->SetDataKey(Key(5));
    EXPECT_EQ(Ref<IAPTDescriptorData>(computer->GetDescriptorData(item, true)), data);
}

TEST_F(APTDescriptor, TheSameListAsFromTheEngineItself) {
    const auto data = Request(DP::CreateDescriptorComputer(Property()), 0, {});
    DP::APTTrackerParams params;
    params.mMaxFeatures = kFeatures;
    params.mMinFeatureDistance = 8;
    const auto list = Testing::EmptyList();
    MakeEngine(params)->SelectFeatures(mClip.Frame(0).data(), mClip.mCols, mClip.mRows, 0,
                                       {Testing::FullFrame(mClip.mCols, mClip.mRows)}, {list});
    for (std::size_t i = 0; i < kFeatures; ++i) {
        EXPECT_EQ((*data->GetFeatures())[i].mX, (*list)[i].mX);
        EXPECT_EQ((*data->GetFeatures())[i].mStatus, (*list)[i].mStatus);
    }
}

TEST_F(APTDescriptor, TheKeysMinimumSteersTheFillingUp) {
    const auto few = TVK::MakeObject<DP::APTFeatureList>(kFeatures);
    (*few)[0] = Testing::NewPoint(80.0f, 60.0f);
    const auto computer = DP::CreateDescriptorComputer(Property());
    EXPECT_EQ(DP::CountLiveFeatures(*Request(computer, 1, DataOf(few), 0)->GetFeatures()), 1u);
    EXPECT_EQ(DP::CountLiveFeatures(*Request(computer, 1, DataOf(few), 1)->GetFeatures()), 1u);
    EXPECT_GT(DP::CountLiveFeatures(*Request(computer, 1, DataOf(few), 2)->GetFeatures()), 30u);
    EXPECT_GT(DP::CountLiveFeatures(*Request(computer, 1, DataOf(few), 9999)->GetFeatures()),
              30u);
    EXPECT_EQ(DP::CountLiveFeatures(*few), 1u) << "only read";
}

TEST_F(APTDescriptor, TheComputerTakesItsNumbersFromTheProperty) {
    const Ref<APTDescriptorComputer> computer(
        DP::CreateDescriptorComputer(Property(0.25f, 7, 11)));
    ASSERT_TRUE(computer != NULL);
    const DP::APTTracker& engine = *computer->GetTracker();
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
    EXPECT_EQ(Request(Ref<DP::IDescriptorComputer>(computer), 0, {})->GetFeatures()->size(),
              kFeatures)
        << "what was copied stays";
}

TEST_F(APTDescriptor, EqualPropertiesShareAnEngineAndThoseWithAnotherLimitDoNot) {
    const Ref<APTDescriptorComputer> a(DP::CreateDescriptorComputer(Property(0.5f)));
    const Ref<APTDescriptorComputer> b(DP::CreateDescriptorComputer(Property(0.5f)));
    const Ref<APTDescriptorComputer> c(DP::CreateDescriptorComputer(Property(0.75f)));
    EXPECT_EQ(a->GetTracker(), b->GetTracker());
    EXPECT_FALSE(a->GetTracker() == c->GetTracker());
}

TEST_F(APTDescriptor, AVerifiedTrackHoldsCorrelations) {
    const auto computer = DP::CreateDescriptorComputer(Property(0.0f, 1));
    const auto first = Request(computer, 0, {});
    const auto second = Request(computer, 1, first);
    unsigned int verified = 0;
    for (const APTFeature& feature : *second->GetFeatures())
        verified += feature.mStatus == 0 && feature.mCorrelation > 0.9f;
    EXPECT_GT(verified, 30u);
}

// ---- Data ----------------------------------------------------------------------------

TEST_F(APTDescriptor, SizeCountsEveryRecordAndACloneHasAListOfItsOwn) {
    const auto list = TVK::MakeObject<DP::APTFeatureList>(500);
    (*list)[3] = Testing::NewPoint(1.0f, 2.0f);
    const auto data = DataOf(list);
    EXPECT_EQ(data->GetDataSize(), 500u * 40u);
    const Ref<IAPTDescriptorData> clone(data->CloneData());
    ASSERT_TRUE(clone != NULL);
    (*list)[3].mX = 9.0f;
    EXPECT_EQ((*clone->GetFeatures())[3].mX, 1.0f);
    EXPECT_EQ(clone->GetFeatures()->size(), 500u);
    const auto empty = DataOf(nullptr);
    EXPECT_EQ(empty->GetDataSize(), 0u);
    EXPECT_TRUE(Ref<IAPTDescriptorData>(empty->CloneData())->GetFeatures() == NULL);
}

// ---- Bad input -----------------------------------------------------------------------

TEST_F(APTDescriptor, ANullCurrentImageBreaksTheContractAndLeavesTheInputs) {
    const RecordedReports reports;
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeAPT);
    const Ref<IAPTDescriptorWorkerItem> inputs(item);
    inputs->SetInputs({}, FrameImage(mClip, 0), {}, 160, 120);
    EXPECT_ANY_THROW(inputs->SetInputs({}, {}, {}, 1, 1));
    ASSERT_EQ(reports.Contracts().size(), 1u);
    EXPECT_EQ(reports.Contracts()[0].mText, "inCurrImage != NULL");
    EXPECT_EQ(reports.Contracts()[0].mFile, "Src/APT/APTDescriptorWorkerItem.cpp");
    item->SetDataKey(Key(0));
    const Ref<IAPTDescriptorData> data(
        DP::CreateDescriptorComputer(Property())->GetDescriptorData(item, true));
    EXPECT_GT(DP::CountLiveFeatures(*data->GetFeatures()), 30u);
}

TEST_F(APTDescriptor, AnItemWithoutEngineOrImageGivesNull) {
    const Ref<DP::APTDescriptorWorkerItem> item(
        DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeAPT));
    EXPECT_TRUE(item->ComputeData() == NULL);
    item->SetTracker(MakeEngine());
    EXPECT_TRUE(item->ComputeData() == NULL);
    const RecordedReports reports;
    EXPECT_ANY_THROW(item->SetTracker({}));
    EXPECT_EQ(reports.Contracts()[0].mText, "inAPTTracker != NULL");
    EXPECT_ANY_THROW(DP::CreateDescriptorComputer(Property())->GetDescriptorData({}, true));
    EXPECT_EQ(reports.Contracts()[1].mText, "inDescriptorWorkerItem != NULL");
    EXPECT_EQ(reports.Contracts()[1].mFile, "Src/APT/APTDescriptorComputer.cpp");
}

TEST_F(APTDescriptor, TheWrapperSaysWhatItMisses) {
    const auto frame = mClip.Frame(0);
    const auto engine = MakeEngine();
    const auto previous = Ref<IAPTDescriptorData>(DataOf(Testing::EmptyList()));
    APTWrapper wrapper(120, 160, engine);
    {
        const RecordedReports reports;
        EXPECT_ANY_THROW(wrapper.ComputeFeatures(nullptr, nullptr, {}, Key(0)));
        EXPECT_ANY_THROW(
            APTWrapper(120, 160, {}).ComputeFeatures(nullptr, frame.data(), {}, Key(0)));
        ASSERT_EQ(reports.Contracts().size(), 2u);
        EXPECT_EQ(reports.Contracts()[0].mText, "inCurrImage != NULL");
        EXPECT_EQ(reports.Contracts()[0].mFile, "Src/APT/APTWrapper.cpp");
        EXPECT_EQ(reports.Contracts()[1].mText, "mTracker != NULL");
    }
    const auto refuses = [&](const float* inFrom, const Ref<IAPTDescriptorData>& inData,
                             const Ref<DP::IDescriptorDataKey>& inKey) {
        EXPECT_THROW(wrapper.ComputeFeatures(inFrom, frame.data(), inData, inKey),
                     TVK::NullInterfaceException);
    };
    refuses(nullptr, {}, {});
    refuses(frame.data(), previous, {});
    refuses(nullptr, previous, Key(1));
    refuses(frame.data(), Ref<IAPTDescriptorData>(DataOf(nullptr)), Key(1));
    refuses(frame.data(), previous, DP::CreateDescriptorDataKey(Wide("clip"), 1, 120, 160));
    EXPECT_EQ(APTWrapper::CountLive(Testing::ListOf({Testing::NewPoint(1, 1), APTFeature()})),
              1u);
    EXPECT_EQ(APTWrapper::CountLive(nullptr), 0u);
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
