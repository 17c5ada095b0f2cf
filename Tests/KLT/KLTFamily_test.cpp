// What is special about the KLT kind: when its list is filled up, what it needs of earlier
// frames, and its dump. What it shares with the other trackers is tested in Tests/Kinds.

#include "DP/DescriptorFactory.h"
#include "DP/IKLTDescriptor.h"
#include "KLT/KLTSupport.h"
#include "KLTDescriptorComputer.h"
#include "KLTDescriptorData.h"
#include "KLTWrapper.h"
#include "Support/Images.h"
#include "Support/PictureFile.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

constexpr int kCols = 200, kRows = 150;
constexpr unsigned int kFeatures = 40;

using GreyPtr = IP::ImagePtr<unsigned char>;

GreyPtr Frame(double inX, double inY, int inSeed = 1) {
    return ImageOf(kCols, kRows, TexturedBytes(kCols, kRows, inX, inY, inSeed));
}

class KLTFamily : public testing::Test {
protected:
    ~KLTFamily() override { FlushAllDescriptorResources(); }

    static Ref<IDescriptorComputer> Computer(unsigned int inFeatures = kFeatures,
                                             int inStep = 1) {
        return CreateDescriptorComputer(CreateKLTDescriptorProperty(
            inFeatures, inStep, 10, 20, Wide("clip"), kDescriptorDataTypeKLT));
    }
    static Ref<IDescriptorDataKey> Key(long long inFrame, unsigned int inMinimum = 20) {
        return CreateKLTDescriptorDataKey(Wide("clip"), inFrame, 1, kFeatures, kRows, kCols, 10,
                                          inMinimum);
    }
    static Ref<IDescriptorWorkerItem> Item(Ref<IDescriptorDataKey> inKey, GreyPtr inPrevious,
                                           GreyPtr inCurrent, Ref<IDescriptorData> inPrevData) {
        const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeKLT);
        item->SetDataKey(inKey);
        Ref<IKLTDescriptorWorkerItem>(item)->SetInputImages(inPrevious, inCurrent, inPrevData);
        return item;
    }
    static KLTFeatureList FeaturesOf(const Ref<IDescriptorData>& inData) {
        return *Ref<IKLTDescriptorData>(inData)->GetFeatureList();
    }
    static Ref<IDescriptorData> DataOf(KLTFeatureList inList) {
        const auto data = CreateDescriptorData(kDescriptorDataTypeKLT);
        Ref<KLTDescriptorData>(data)->SetFeatureList(ListOf(inList));
        return data;
    }
};

// ---- A run ---------------------------------------------------------------------------

TEST_F(KLTFamily, TopUpHappensBelowTheMinimumOfAKLTKeyOnly) {
    // One good feature and one that the border loses.
    const auto run = [&](Ref<IDescriptorDataKey> inKey) {
        const auto frame = Frame(0, 0);
        FlushAllDescriptorResources();
        return FeaturesOf(Computer(4)->GetDescriptorData(
            Item(inKey, frame, frame,
                 DataOf({FeatureAt(100, 75), FeatureAt(5, 5), FeatureAt(-1, -1, -3),
                         FeatureAt(-1, -1, -1)})),
            true));
    };
    const auto exact = run(Key(1, 1));
    EXPECT_EQ(CountLive(exact), 1) << "as many as the minimum is enough";
    EXPECT_EQ(exact[1].mValue, kKLTOutOfBounds);
    EXPECT_EQ(exact[2].mValue, kKLTMaxIterations);
    const auto filled = run(Key(1, 2));
    EXPECT_EQ(CountLive(filled), 4);
    EXPECT_EQ(filled[0].mAge, 1) << "the live feature keeps its slot";
    EXPECT_GT(filled[1].mValue, 0);
    EXPECT_EQ(filled[1].mAge, 0);
    EXPECT_EQ(filled[1].mId, 1);
    EXPECT_EQ(CountLive(run(CreateDescriptorDataKey(Wide("clip"), 1, kRows, kCols))), 1);
}

TEST_F(KLTFamily, TopUpWithoutCandidatesEmptiesTheLostSlots) {
    const auto black = ImageOf(kCols, kRows, std::vector<unsigned char>(kCols * kRows, 0));
    const auto features = FeaturesOf(Computer()->GetDescriptorData(
        Item(Key(1), black, black, DataOf(KLTFeatureList(kFeatures, FeatureAt(100, 75)))),
        true));
    for (const auto& feature : features)
        EXPECT_EQ(feature.mValue, kKLTNotFound);
}

TEST_F(KLTFamily, FirstFrameTakesAKeyOfAnyKindAndNoMinimum) {
    const auto key = CreateDescriptorDataKey(Wide("clip"), 7, kRows, kCols);
    const auto data =
        Computer()->GetDescriptorData(Item(key, nullptr, Frame(0, 0), nullptr), true);
    EXPECT_GT(CountLive(FeaturesOf(data)), 20);
}

// ---- Computers -----------------------------------------------------------------------

TEST_F(KLTFamily, SettersReachTheTrackerAndOneComputerKeepsOneTracker) {
    const auto computer = KLTDescriptorComputer::Create();
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

// ---- Bad input -----------------------------------------------------------------------

TEST_F(KLTFamily, MissingPreviousFrameIsCachedUntilTheCachesAreFlushed) {
    const auto frame = Frame(0, 0);
    const auto live = DataOf({FeatureAt(100, 75)});
    EXPECT_THROW(Computer()->GetDescriptorData(Item(Key(1), nullptr, frame, live), true),
                 TVK::NullInterfaceException);
    EXPECT_THROW(Computer()->GetDescriptorData(Item(Key(1), frame, frame, live), true),
                 TVK::NullInterfaceException)
        << "with the right image too";
    FlushAllDescriptorResources();
    const auto data = Computer()->GetDescriptorData(Item(Key(1), frame, frame, live), true);
    EXPECT_GE(FeaturesOf(data).at(0).mValue, 0);
}

TEST_F(KLTFamily, PreviousImageOfAnotherSizeIsNeverReadOutside) {
    const auto small = ImageOf(20, 20, NoiseBytes(400, 1));
    const auto live = DataOf({FeatureAt(100, 75)});
    EXPECT_THROW(Computer()->GetDescriptorData(Item(Key(1), small, Frame(0, 0), live), true),
                 TVK::NullInterfaceException);
    const auto large = ImageOf(300, 300, NoiseBytes(90000, 1));
    EXPECT_NO_THROW(
        Computer()->GetDescriptorData(Item(Key(5), large, Frame(0, 0), live), true));
}

TEST_F(KLTFamily, StrangeListsAreCarriedThrough) {
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
    const RecordedReports reports;
    KLTWrapper wrapper(6, 8, nullptr);
    EXPECT_ANY_THROW(wrapper.WriteFeatureListToPPM(nullptr, -1, 6, PictureFile().Path(),
                                                   ListOf({FeatureAt(3, 2)})));
    ASSERT_EQ(reports.Asserts().size(), 1u);
    EXPECT_EQ(reports.Asserts()[0].mFunction, "DP::KLTWrapper::WriteFeatureListToPPM");
}

TEST(KLTDump, DrawsTheLiveFeaturesInTheColoursOfTheirSlots) {
    const PictureFile file;
    const std::vector<unsigned char> grey(8 * 6, 7);
    KLTWrapper wrapper(6, 8, nullptr);
    wrapper.WriteFeatureListToPPM(
        grey.data(), 8, 6, file.Path(),
        ListOf({FeatureAt(3.6f, 2.4f), FeatureAt(6, 4, -1), FeatureAt(0, 5, 30)}));
    const auto at = [&](int inX, int inY) {
        return file.At(inX, inY, 8, 6);
    };
    const Bytes slot0{75, 215, 65}, slot2{175, 0, 145}, none{7, 7, 7};
    EXPECT_EQ(at(4, 2), slot0);
    EXPECT_EQ(at(3, 1), slot0);
    EXPECT_EQ(at(5, 3), slot0);
    EXPECT_EQ(at(2, 2), none);
    EXPECT_EQ(at(6, 4), none) << "lost";
    EXPECT_EQ(at(0, 5), slot2);
    EXPECT_EQ(at(1, 4), slot2);
}

}  // namespace
