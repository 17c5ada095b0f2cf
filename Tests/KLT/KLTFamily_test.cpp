// The KLT kind from end to end: wrapper, data, item and computer, through the exported
// functions where a host would use them.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

#include "DP/DescriptorFactory.h"
#include "DP/IGreyImageDescriptor.h"
#include "DP/IKLTDescriptor.h"
#include "KLT/KLTSupport.h"
#include "KLTDescriptorComputer.h"
#include "KLTDescriptorData.h"
#include "KLTDescriptorWorkerItem.h"
#include "KLTWrapper.h"
#include "Support/Images.h"
#include "Support/Reports.h"

namespace {

using DP::IDescriptorData;
using DP::IKLTDescriptorData;
using DP::IKLTDescriptorWorkerItem;
using DP::KLTFeatureList;
using DP::Ref;
using Testing::CountLive;
using Testing::FeatureAt;
using Testing::ImageOf;
using Testing::ListOf;
using Testing::RecordedReports;
using Testing::SameFeatures;
using Testing::TexturedBytes;
using Testing::Wide;

constexpr int kCols = 200, kRows = 150;
constexpr unsigned int kFeatures = 40;

using GreyPtr = IP::ImagePtr<unsigned char>;

GreyPtr Frame(double inX, double inY, int inSeed = 1) {
    return ImageOf(kCols, kRows, TexturedBytes(kCols, kRows, inX, inY, inSeed));
}

class KLTFamily : public testing::Test {
protected:
    ~KLTFamily() override { DP::FlushAllDescriptorResources(); }

    static Ref<DP::IDescriptorComputer> Computer(unsigned int inFeatures = kFeatures,
                                                 int inStep = 1) {
        return DP::CreateDescriptorComputer(DP::CreateKLTDescriptorProperty(
            inFeatures, inStep, 10, 20, Wide("clip"), DP::kDescriptorDataTypeKLT));
    }
    static Ref<DP::IDescriptorDataKey> Key(long long inFrame, unsigned int inMinimum = 20) {
        return DP::CreateKLTDescriptorDataKey(Wide("clip"), inFrame, 1, kFeatures, kRows, kCols,
                                              10, inMinimum);
    }
    static Ref<DP::IDescriptorWorkerItem> Item(Ref<DP::IDescriptorDataKey> inKey,
                                               GreyPtr inPrevious, GreyPtr inCurrent,
                                               Ref<IDescriptorData> inPrevData) {
        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeKLT);
        item->SetDataKey(inKey);
        Ref<IKLTDescriptorWorkerItem>(item)->SetInputImages(inPrevious, inCurrent, inPrevData);
        return item;
    }
    static KLTFeatureList FeaturesOf(const Ref<IDescriptorData>& inData) {
        return *Ref<IKLTDescriptorData>(inData)->GetFeatureList();
    }
    static Ref<IDescriptorData> DataOf(KLTFeatureList inList) {
        const auto data = DP::CreateDescriptorData(DP::kDescriptorDataTypeKLT);
        Ref<DP::KLTDescriptorData>(data)->SetFeatureList(ListOf(inList));
        return data;
    }
};

// ---- A run ---------------------------------------------------------------------------

TEST_F(KLTFamily, FeaturesAreSelectedTrackedLostAndReplaced) {
    const auto computer = Computer();
    Ref<IDescriptorData> data;
    GreyPtr previous;
    int replaced = 0;
    for (int frame = 0; frame < 12; ++frame) {
        const GreyPtr current = Frame(-5.0 * frame, 2.0 * frame);
        const auto next =
            computer->GetDescriptorData(Item(Key(frame), previous, current, data), true);
        const auto features = FeaturesOf(next);
        ASSERT_EQ(features.size(), kFeatures);
        EXPECT_GE(CountLive(features), 20) << "frame " << frame;
        if (frame > 0) {
            const auto before = FeaturesOf(data);
            for (std::size_t i = 0; i < kFeatures; ++i) {
                if (features[i].mValue != 0) continue;
                EXPECT_EQ(features[i].mAge, before[i].mAge + 1);
                EXPECT_EQ(features[i].mX, before[i].mX + features[i].mDeltaX);
            }
            for (const auto& feature : features)
                replaced += feature.mValue > 0;
        }
        data = next;
        previous = current;
    }
    EXPECT_GT(replaced, 0);
    EXPECT_EQ(DP::CreateDescriptorDataCacheMgr()
                  ->GetDescriptorDataCache(DP::kDescriptorDataTypeKLT)
                  ->GetTotalDataSize(),
              12 * kFeatures * 40);
}

TEST_F(KLTFamily, TopUpHappensBelowTheMinimumOfAKLTKeyOnly) {
    // One good feature and one that the border loses.
    const auto run = [&](Ref<DP::IDescriptorDataKey> inKey) {
        const auto frame = Frame(0, 0);
        DP::FlushAllDescriptorResources();
        return FeaturesOf(Computer(4)->GetDescriptorData(
            Item(inKey, frame, frame,
                 DataOf({FeatureAt(100, 75), FeatureAt(5, 5), FeatureAt(-1, -1, -3),
                         FeatureAt(-1, -1, -1)})),
            true));
    };
    const auto exact = run(Key(1, 1));
    EXPECT_EQ(CountLive(exact), 1) << "as many as the minimum is enough";
    EXPECT_EQ(exact[1].mValue, DP::kKLTOutOfBounds);
    EXPECT_EQ(exact[2].mValue, DP::kKLTMaxIterations);
    const auto filled = run(Key(1, 2));
    EXPECT_EQ(CountLive(filled), 4);
    EXPECT_EQ(filled[0].mAge, 1) << "the live feature keeps its slot";
    EXPECT_GT(filled[1].mValue, 0);
    EXPECT_EQ(filled[1].mAge, 0);
    EXPECT_EQ(filled[1].mId, 1);
    EXPECT_EQ(CountLive(run(DP::CreateDescriptorDataKey(Wide("clip"), 1, kRows, kCols))), 1);
}

TEST_F(KLTFamily, TopUpWithoutCandidatesEmptiesTheLostSlots) {
    const auto black = ImageOf(kCols, kRows, std::vector<unsigned char>(kCols * kRows, 0));
    const auto features = FeaturesOf(Computer()->GetDescriptorData(
        Item(Key(1), black, black, DataOf(KLTFeatureList(kFeatures, FeatureAt(100, 75)))),
        true));
    for (const auto& feature : features)
        EXPECT_EQ(feature.mValue, DP::kKLTNotFound);
}

TEST_F(KLTFamily, FirstFrameTakesAKeyOfAnyKindAndNoMinimum) {
    const auto key = DP::CreateDescriptorDataKey(Wide("clip"), 7, kRows, kCols);
    const auto data =
        Computer()->GetDescriptorData(Item(key, nullptr, Frame(0, 0), nullptr), true);
    EXPECT_GT(CountLive(FeaturesOf(data)), 20);
}

// ---- Computers -----------------------------------------------------------------------

TEST_F(KLTFamily, EqualPropertiesShareAComputerAndEachMemberTellsThemApart) {
    const auto make = [](unsigned a, int b, unsigned c, unsigned d, const char* inSource) {
        return DP::CreateDescriptorComputer(DP::CreateKLTDescriptorProperty(
            a, b, c, d, Wide(inSource), DP::kDescriptorDataTypeKLT));
    };
    const auto computer = make(5, 1, 10, 3, "a");
    EXPECT_TRUE(computer == make(5, 1, 10, 3, "a"));
    EXPECT_FALSE(computer == make(6, 1, 10, 3, "a"));
    EXPECT_FALSE(computer == make(5, 2, 10, 3, "a"));
    EXPECT_FALSE(computer == make(5, 1, 11, 3, "a"));
    EXPECT_FALSE(computer == make(5, 1, 10, 4, "a"));
    EXPECT_FALSE(computer == make(5, 1, 10, 3, "b"));
    // The distance and the minimum of the property do not reach the tracker.
    const auto data = make(3, 1, 100, 3, "a")
                          ->GetDescriptorData(Item(Key(1), nullptr, Frame(0, 0), {}), true);
    EXPECT_EQ(FeaturesOf(data).size(), 3u);
    EXPECT_EQ(CountLive(FeaturesOf(data)), 3) << "they lie 10 and not 100 apart";
}

TEST_F(KLTFamily, PropertyOfAnotherClassThrows) {
    EXPECT_THROW(DP::CreateDescriptorComputer(
                     DP::CreateDescriptorProperty(Wide("clip"), DP::kDescriptorDataTypeKLT)),
                 TVK::NullInterfaceException);
}

// The grey item answers to the class identifier of the KLT item. It must not be taken for
// one: it is smaller.
TEST_F(KLTFamily, GreyItemOnAKLTComputerIsComputedAsGrey) {
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage);
    item->SetDataKey(DP::CreateDescriptorDataKey(Wide("clip"), 1, 2, 2));
    const unsigned char pixels[16] = {};
    Ref<DP::IGreyImageDescriptorWorkerItem>(item)->SetInputImage(pixels, 2, 2, 8);
    const auto data = Computer()->GetDescriptorData(item, false);
    EXPECT_TRUE(Ref<DP::IGreyImageDescriptorData>(data) != NULL);
}

TEST_F(KLTFamily, SettersReachTheTrackerAndOneComputerKeepsOneTracker) {
    const auto computer = DP::KLTDescriptorComputer::Create();
    const auto tracker = computer->GetTracker();
    EXPECT_EQ(tracker->GetContext().mMinDist, 10);
    computer->SetMinDist(4);
    EXPECT_EQ(tracker->GetContext().mMinDist, 4);
    EXPECT_TRUE(computer->GetTracker() == tracker);
}

TEST_F(KLTFamily, StepOfThePropertyLeadsToThePreviousFrame) {
    const auto computer = Computer(kFeatures, 5);
    const auto a = Frame(0, 0), b = Frame(-1, 0);
    const auto first = computer->GetDescriptorData(Item(Key(10), nullptr, a, nullptr), true);
    const auto second = computer->GetDescriptorData(Item(Key(15), a, b, first), true);
    // The pyramids of 15 are there for frame 20 without the image, those of 12 are not.
    EXPECT_NO_THROW(computer->GetDescriptorData(Item(Key(20), nullptr, a, second), true));
    EXPECT_THROW(computer->GetDescriptorData(Item(Key(17), nullptr, a, second), true),
                 TVK::NullInterfaceException);
}

// ---- Data ----------------------------------------------------------------------------

TEST_F(KLTFamily, SizeCountsAllRecordsAndTheCloneSharesNone) {
    const auto data = DataOf({FeatureAt(1, 2, 3), FeatureAt(-1, -1, -1)});
    EXPECT_EQ(data->GetDataSize(), 80u);
    const auto clone = data->CloneData();
    EXPECT_TRUE(SameFeatures(FeaturesOf(clone), FeaturesOf(data)));
    EXPECT_FALSE(Ref<IKLTDescriptorData>(clone)->GetFeatureList() ==
                 Ref<IKLTDescriptorData>(data)->GetFeatureList());
    const auto empty = DP::CreateDescriptorData(DP::kDescriptorDataTypeKLT);
    EXPECT_TRUE(Ref<IKLTDescriptorData>(empty->CloneData())->GetFeatureList() == NULL);
}

TEST_F(KLTFamily, PreviousDataIsNotChangedByTheNextFrame) {
    const auto frame = Frame(0, 0);
    const auto computer = Computer();
    const auto first = computer->GetDescriptorData(Item(Key(0), nullptr, frame, nullptr), true);
    const auto before = FeaturesOf(first);
    computer->GetDescriptorData(Item(Key(1), frame, Frame(-9, 4), first), true);
    EXPECT_TRUE(SameFeatures(FeaturesOf(first), before));
}

// ---- Bad input -----------------------------------------------------------------------

TEST_F(KLTFamily, NullImagesTrackersAndKeysAreToldApart) {
    const RecordedReports reports;
    const auto frame = Frame(0, 0);
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeKLT);
    EXPECT_ANY_THROW(
        Ref<IKLTDescriptorWorkerItem>(item)->SetInputImages(frame, nullptr, nullptr));
    EXPECT_ANY_THROW(Ref<DP::KLTDescriptorWorkerItem>(item)->SetTracker(nullptr));
    EXPECT_ANY_THROW(Computer()->GetDescriptorData(nullptr, true));
    DP::KLTWrapper wrapper(kRows, kCols, TVK::MakeObject<DP::KLTTracker>(5u));
    EXPECT_ANY_THROW(wrapper.UpdateTracking(nullptr, nullptr, nullptr, Key(1)));
    DP::KLTWrapper trackerless(kRows, kCols, nullptr);
    EXPECT_ANY_THROW(trackerless.UpdateTracking(nullptr, frame->GetData(), nullptr, Key(1)));
    std::vector<std::string> texts;
    for (const auto& report : reports.Contracts())
        texts.push_back(report.mFile + ": " + report.mText);
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "Src/KLTDescriptorWorkerItem.cpp: inCurrImage != NULL",
                         "Src/KLTDescriptorWorkerItem.cpp: inKLTTracker != NULL",
                         "Src/KLTDescriptorComputer.cpp: inDescriptorWorkerItem != NULL",
                         "Src/KLTWrapper.cpp: inCurrImage != NULL",
                         "Src/KLTWrapper.cpp: mTracker != NULL"}));

    EXPECT_THROW(wrapper.UpdateTracking(nullptr, frame->GetData(), nullptr, nullptr),
                 TVK::NullInterfaceException);
    EXPECT_THROW(wrapper.UpdateTracking(nullptr, frame->GetData(), DataOf({}), nullptr),
                 TVK::NullInterfaceException);
    const Ref<DP::DescriptorWorkerItem> keyless(item);
    EXPECT_THROW(keyless->ComputeData(), TVK::NullInterfaceException);
}

TEST_F(KLTFamily, ItemWithoutTrackerOrImageGivesNull) {
    const auto item = Item(Key(1), nullptr, Frame(0, 0), nullptr);
    EXPECT_TRUE(Ref<DP::DescriptorWorkerItem>(item)->ComputeData() == NULL);
    const auto imageless = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeKLT);
    imageless->SetDataKey(Key(1));
    EXPECT_TRUE(Computer()->GetDescriptorData(imageless, true) == NULL);
}

TEST_F(KLTFamily, PreviousDataOfAnotherKindOrWithoutAListThrows) {
    const auto frame = Frame(0, 0);
    for (const auto type : {DP::kDescriptorDataTypeGreyImage, DP::kDescriptorDataTypeKLT})
        EXPECT_THROW(Computer()->GetDescriptorData(
                         Item(Key(1), frame, frame, DP::CreateDescriptorData(type)), true),
                     TVK::NullInterfaceException);
}

TEST_F(KLTFamily, MissingPreviousFrameIsCachedUntilTheCachesAreFlushed) {
    const auto frame = Frame(0, 0);
    const auto live = DataOf({FeatureAt(100, 75)});
    EXPECT_THROW(Computer()->GetDescriptorData(Item(Key(1), nullptr, frame, live), true),
                 TVK::NullInterfaceException);
    EXPECT_THROW(Computer()->GetDescriptorData(Item(Key(1), frame, frame, live), true),
                 TVK::NullInterfaceException)
        << "with the right image too";
    DP::FlushAllDescriptorResources();
    const auto data = Computer()->GetDescriptorData(Item(Key(1), frame, frame, live), true);
    EXPECT_GE(FeaturesOf(data).at(0).mValue, 0);
}

TEST_F(KLTFamily, PreviousImageOfAnotherSizeIsNeverReadOutside) {
    const auto small = ImageOf(20, 20, Testing::NoiseBytes(400, 1));
    const auto live = DataOf({FeatureAt(100, 75)});
    EXPECT_THROW(Computer()->GetDescriptorData(Item(Key(1), small, Frame(0, 0), live), true),
                 TVK::NullInterfaceException);
    const auto large = ImageOf(300, 300, Testing::NoiseBytes(90000, 1));
    EXPECT_NO_THROW(
        Computer()->GetDescriptorData(Item(Key(5), large, Frame(0, 0), live), true));
}

TEST_F(KLTFamily, StrangeListsAreCarriedThrough) {
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    const auto frame = Frame(0, 0);
    const auto features = FeaturesOf(Computer()->GetDescriptorData(
        Item(Key(1, 3), frame, frame,
             DataOf({FeatureAt(kNaN, 5), FeatureAt(1e30f, kNaN), FeatureAt(100, 75)})),
        true));
    ASSERT_EQ(features.size(), kFeatures) << "topped up, and so resized";
    EXPECT_GT(features[0].mValue, 0);
    EXPECT_EQ(features[2].mAge, 1);
}

// ---- The dump ------------------------------------------------------------------------

TEST(KLTDump, AnOverlayWithoutPixelsIsReportedAndThrows) {
    const Testing::RecordedReports reports;
    DP::KLTWrapper wrapper(6, 8, nullptr);
    EXPECT_ANY_THROW(wrapper.WriteFeatureListToPPM(
        nullptr, -1, 6, (testing::TempDir() + "klt_dump_none.ppm").c_str(),
        ListOf({FeatureAt(3, 2)})));
    ASSERT_EQ(reports.Asserts().size(), 1u);
    EXPECT_EQ(reports.Asserts()[0].mFunction, "DP::KLTWrapper::WriteFeatureListToPPM");
}

TEST(KLTDump, DrawsTheLiveFeaturesInTheColoursOfTheirSlots) {
    const std::string path =
        testing::TempDir() + "klt_dump_" + std::to_string(::getpid()) + ".ppm";
    const std::vector<unsigned char> grey(8 * 6, 7);
    DP::KLTWrapper wrapper(6, 8, nullptr);
    wrapper.WriteFeatureListToPPM(
        grey.data(), 8, 6, path.c_str(),
        ListOf({FeatureAt(3.6f, 2.4f), FeatureAt(6, 4, -1), FeatureAt(0, 5, 30)}));
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::remove(path.c_str());
    ASSERT_EQ(bytes.substr(0, 11), "P6\n8 6\n255\n");
    const auto at = [&](int x, int y) {  // the file starts with the last row
        const auto* p =
            reinterpret_cast<const unsigned char*>(bytes.data()) + 11 + ((5 - y) * 8 + x) * 3;
        return std::vector<int>{p[0], p[1], p[2]};
    };
    const std::vector<int> slot0{75, 215, 65}, slot2{175, 0, 145}, none{7, 7, 7};
    EXPECT_EQ(at(4, 2), slot0);
    EXPECT_EQ(at(3, 1), slot0);
    EXPECT_EQ(at(5, 3), slot0);
    EXPECT_EQ(at(2, 2), none);
    EXPECT_EQ(at(6, 4), none) << "lost";
    EXPECT_EQ(at(0, 5), slot2);
    EXPECT_EQ(at(1, 4), slot2);
}

}  // namespace
