// One suite for all kinds: what each kind of descriptor must do because it is one. A kind
// adds a row to the table and is tested like the others.

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "ClassIDs.h"
#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"
#include "ColourPyramid/ColourPyramidDescriptorWorkerItem.h"
#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "DP/IKLTDescriptor.h"
#include "DescriptorObjects.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"
#include "Support/Images.h"
#include "Support/Reports.h"
#include "Support/Textures.h"
#include "Support/WideStrings.h"
#include "TVK/Object.h"

namespace {

using DP::DescriptorDataType;
using DP::IDescriptorData;
using DP::IDescriptorWorkerItem;
using DP::Ref;
using Testing::RecordedReports;
using Testing::Wide;
using TVK::InterfaceID;
using TVK::kIdentifierOf;

constexpr int kCols = 64;
constexpr int kRows = 48;

struct Kind {
    std::string mName;
    DescriptorDataType mType;
    InterfaceID mDataInterface;  // all zero for a kind without an interface of its own
    InterfaceID mDataClass;
    InterfaceID mItemInterface;
    InterfaceID mItemClass;
    std::function<Ref<DP::IDescriptorProperty>()> mMakeProperty;
    std::function<Ref<DP::IDescriptorDataKey>(long long)> mMakeKey;
    // Gives the inputs of one frame to an item of the kind.
    std::function<void(const Ref<IDescriptorWorkerItem>&)> mSetInputs;
    bool mClones;
};

void PrintTo(const Kind& inKind, std::ostream* outStream) { *outStream << inKind.mName; }

// ---- The inputs ----------------------------------------------------------------------

const std::vector<unsigned char>& ColourFrame() {
    static const auto sFrame = Testing::NoiseBytes(kCols * kRows * 4 + 1, 21);
    return sFrame;
}

template <class Interface>
void SetColourFrame(const Ref<IDescriptorWorkerItem>& inItem) {
    Ref<Interface>(inItem)->SetInputImage(ColourFrame().data(), kRows, kCols, kCols * 4);
}

const std::vector<unsigned char>& GreyBytes() {
    static const auto sFrame = Testing::TexturedBytes(kCols, kRows, 0, 0);
    return sFrame;
}

const std::vector<float>& GreyFloats() {
    static const auto sFrame = Testing::TexturedFrame(kCols, kRows, 0, 0);
    return sFrame;
}

// One stroke pixel in the corner named.
IP::ImagePtr<unsigned char> Stroke(int inX, int inY) {
    std::vector<unsigned char> pixels(std::size_t(kCols * kRows), 0);
    pixels[std::size_t(inY * kCols + inX)] = 255;
    return Testing::ImageOf(kCols, kRows, pixels);
}

void SetKLTInputs(const Ref<IDescriptorWorkerItem>& inItem) {
    Ref<DP::IKLTDescriptorWorkerItem>(inItem)->SetInputImages(
        nullptr, Testing::ImageOf(kCols, kRows, GreyBytes()), nullptr);
}

void SetAPTInputs(const Ref<IDescriptorWorkerItem>& inItem) {
    Ref<DP::IAPTDescriptorWorkerItem>(inItem)->SetInputs(
        nullptr, Testing::ImageOf(kCols, kRows, GreyFloats()), nullptr, kCols, kRows);
}

void SetGraphCutInputs(const Ref<IDescriptorWorkerItem>& inItem) {
    Ref<DP::IGraphCutDescriptorWorkerItem>(inItem)->SetInputs(
        ColourFrame().data(), kCols * 4, Stroke(10, 10), Stroke(50, 40), nullptr);
}

void SetImagePyramidInputs(const Ref<IDescriptorWorkerItem>& inItem) {
    Ref<DP::ImagePyramidDescriptorWorkerItem>(inItem)->SetPyramidImage(GreyBytes().data());
}

void SetColourPyramidInputs(const Ref<IDescriptorWorkerItem>& inItem) {
    Ref<DP::ColourPyramidDescriptorWorkerItem>(inItem)->SetCurrImage(GreyFloats().data());
}

DP::RegionPtr Region() {
    return TVK::MakeObject<TVK::ParamRect<float>>(TVK::ParamRect<float>{8, 8, 56, 40});
}

void SetRegionTrackerInputs(const Ref<IDescriptorWorkerItem>& inItem) {
    Ref<DP::IRegionTrackerDescriptorWorkerItem>(inItem)->SetInputs(
        nullptr, Testing::ImageOf(kCols, kRows, GreyFloats()),
        DP::CreateRegionDescriptorData(Region()), kCols, kRows);
}

Ref<DP::IDescriptorDataKey> PlainKey(long long inFrame) {
    return DP::CreateDescriptorDataKey(Wide("clip"), inFrame, kRows, kCols);
}

std::function<Ref<DP::IDescriptorProperty>()> PlainProperty(DescriptorDataType inType) {
    return [inType] {
        return DP::CreateDescriptorProperty(Wide("clip"), inType);
    };
}

// ---- The table -----------------------------------------------------------------------

constexpr InterfaceID kNone{};

const Kind kKinds[] = {
    {"GreyImage", DP::kDescriptorDataTypeGreyImage, kIdentifierOf<DP::IGreyImageDescriptorData>,
     kIdentifierOf<DP::GreyImageDescriptorData>,
     kIdentifierOf<DP::IGreyImageDescriptorWorkerItem>,
     kIdentifierOf<DP::GreyImageDescriptorWorkerItem>,
     PlainProperty(DP::kDescriptorDataTypeGreyImage), PlainKey,
     SetColourFrame<DP::IGreyImageDescriptorWorkerItem>, true},
    {"FloatGreyImage", DP::kDescriptorDataTypeFloatGreyImage,
     kIdentifierOf<DP::IFloatGreyImageDescriptorData>,
     kIdentifierOf<DP::FloatGreyImageDescriptorData>,
     kIdentifierOf<DP::IFloatGreyImageDescriptorWorkerItem>,
     kIdentifierOf<DP::FloatGreyImageDescriptorWorkerItem>,
     PlainProperty(DP::kDescriptorDataTypeFloatGreyImage), PlainKey,
     SetColourFrame<DP::IFloatGreyImageDescriptorWorkerItem>, true},
    {"KLT", DP::kDescriptorDataTypeKLT, kIdentifierOf<DP::IKLTDescriptorData>,
     kIdentifierOf<DP::KLTDescriptorData>, kIdentifierOf<DP::IKLTDescriptorWorkerItem>,
     kIdentifierOf<DP::KLTDescriptorWorkerItem>,
     [] {
         return DP::CreateKLTDescriptorProperty(20, 1, 10, 10, Wide("clip"),
                                                DP::kDescriptorDataTypeKLT);
     },
     [](long long inFrame) {
         return DP::CreateKLTDescriptorDataKey(Wide("clip"), inFrame, 1, 20, kRows, kCols, 10,
                                               10);
     },
     SetKLTInputs, true},
    {"APT", DP::kDescriptorDataTypeAPT, kIdentifierOf<DP::IAPTDescriptorData>,
     kIdentifierOf<DP::APTDescriptorData>, kIdentifierOf<DP::IAPTDescriptorWorkerItem>,
     kIdentifierOf<DP::APTDescriptorWorkerItem>,
     [] {
         return DP::CreateAPTDescriptorProperty(20, 0, 5, 10, Wide("clip"),
                                                DP::kDescriptorDataTypeAPT, 0.0f, 0);
     },
     [](long long inFrame) {
         return DP::CreateAPTDescriptorDataKey(Wide("clip"), inFrame, 0, 20, kRows, kCols, 5,
                                               10, 0.0f, 0);
     },
     SetAPTInputs, true},
    {"GraphCut", DP::kDescriptorDataTypeGraphCut, kIdentifierOf<DP::IGraphCutDescriptorData>,
     kIdentifierOf<DP::GraphCutDescriptorData>,
     kIdentifierOf<DP::IGraphCutDescriptorWorkerItem>,
     kIdentifierOf<DP::GraphCutDescriptorWorkerItem>,
     PlainProperty(DP::kDescriptorDataTypeGraphCut), PlainKey, SetGraphCutInputs, true},
    {"ImagePyramid", DP::kDescriptorDataTypeImagePyramid, kNone,
     kIdentifierOf<DP::ImagePyramidDescriptorData>, kNone,
     kIdentifierOf<DP::ImagePyramidDescriptorWorkerItem>,
     PlainProperty(DP::kDescriptorDataTypeImagePyramid),
     [](long long inFrame) {
         return DP::CreateImagePyramidDescriptorDataKey(Wide("clip"), inFrame, 1.0f, 0.7f, 0.9f,
                                                        4, 2, kCols, kRows);
     },
     SetImagePyramidInputs, false},
    {"ColourPyramid", DP::kDescriptorDataTypeColourPyramid, kNone,
     kIdentifierOf<DP::ColourPyramidDescriptorData>, kNone,
     kIdentifierOf<DP::ColourPyramidDescriptorWorkerItem>,
     PlainProperty(DP::kDescriptorDataTypeColourPyramid),
     [](long long inFrame) {
         return DP::CreateColourPyramidDescriptorDataKey(Wide("clip"), inFrame, kRows, kCols, 0,
                                                         2, 1);
     },
     SetColourPyramidInputs, false},
    {"RegionTracker", DP::kDescriptorDataTypeRegionTracker,
     kIdentifierOf<DP::IRegionTrackerDescriptorData>,
     kIdentifierOf<DP::RegionTrackerDescriptorData>,
     kIdentifierOf<DP::IRegionTrackerDescriptorWorkerItem>,
     kIdentifierOf<DP::RegionTrackerDescriptorWorkerItem>,
     [] {
         return DP::CreateRegionTrackerDescriptorProperty(
             20, 0, 5, 10, Wide("clip"), Region(), 0, DP::kDescriptorDataTypeRegionTracker);
     },
     [](long long inFrame) {
         return DP::CreateRegionTrackerDescriptorDataKey(Wide("clip"), inFrame, 0, 20, kRows,
                                                         kCols, Region(), 0, 5, 10);
     },
     SetRegionTrackerInputs, true},
};

template <class I>
void* Find(const Ref<I>& inObject, const InterfaceID& inID) {
    void* found = nullptr;
    inObject->QueryInterfaceNoAddRef(inID, &found);
    return found;
}

class Kinds : public testing::TestWithParam<Kind> {
protected:
    ~Kinds() override { DP::FlushAllDescriptorResources(); }

    Ref<IDescriptorData> MakeData() const { return DP::CreateDescriptorData(GetParam().mType); }
    Ref<IDescriptorWorkerItem> MakeItem(long long inFrame) const {
        const auto item = DP::CreateDescriptorWorkerItem(GetParam().mType);
        item->SetDataKey(GetParam().mMakeKey(inFrame));
        return item;
    }
    Ref<IDescriptorWorkerItem> MakeItemWithInputs(long long inFrame) const {
        const auto item = MakeItem(inFrame);
        GetParam().mSetInputs(item);
        return item;
    }
    Ref<DP::IDescriptorComputer> Computer() const {
        return DP::CreateDescriptorComputer(GetParam().mMakeProperty());
    }
};

INSTANTIATE_TEST_SUITE_P(All, Kinds, testing::ValuesIn(kKinds),
                         [](const auto& inInfo) { return inInfo.param.mName; });

// ---- Identity ------------------------------------------------------------------------

TEST_P(Kinds, DataIsItsInterfaceAndAnswersToEveryName) {
    const auto data = MakeData();
    ASSERT_TRUE(data != NULL);
    void* const root = Find(data, kIdentifierOf<TVK::TVKUnknown>);
    EXPECT_NE(Find(data, kIdentifierOf<DP::DescriptorData>), nullptr);
    EXPECT_NE(Find(data, GetParam().mDataClass), nullptr);
    if (GetParam().mDataInterface == kNone) {
        EXPECT_EQ(root, Find(data, kIdentifierOf<IDescriptorData>));
    } else {
        EXPECT_EQ(root, Find(data, GetParam().mDataInterface));
        EXPECT_EQ(root, Find(data, GetParam().mDataClass)) << "the primary base";
        EXPECT_NE(root, Find(data, kIdentifierOf<IDescriptorData>));
    }
    EXPECT_EQ(Find(data, kIdentifierOf<DP::IDescriptorProperty>), nullptr);
}

TEST_P(Kinds, ItemIsItsInterfaceAndItsClassIsThePrimaryBase) {
    const auto item = MakeItem(0);
    ASSERT_TRUE(item != NULL);
    void* const root = Find(item, kIdentifierOf<TVK::TVKUnknown>);
    void* const primary = Find(item, kIdentifierOf<IDescriptorWorkerItem>);
    EXPECT_EQ(primary, Find(item, kIdentifierOf<DP::DescriptorWorkerItem>));
    EXPECT_EQ(primary, Find(item, GetParam().mItemClass));
    if (GetParam().mItemInterface == kNone) {
        EXPECT_EQ(root, primary);
    } else {
        EXPECT_EQ(root, Find(item, GetParam().mItemInterface));
        EXPECT_NE(root, primary);
    }
}

// ---- Through computer and cache ------------------------------------------------------

TEST_P(Kinds, ARequestIsComputedOnceAndServedFromTheCache) {
    const auto computer = Computer();
    const auto first = computer->GetDescriptorData(MakeItemWithInputs(1), true);
    ASSERT_TRUE(first != NULL);
    EXPECT_GT(first->GetDataSize(), 0u);
    EXPECT_EQ(DP::CreateDescriptorDataCacheMgr()
                  ->GetDescriptorDataCache(GetParam().mType)
                  ->GetTotalDataSize(),
              first->GetDataSize());
    // No inputs: a hit does not read them.
    EXPECT_EQ(computer->GetDescriptorData(MakeItem(1), true), first);
    EXPECT_FALSE(computer->GetDescriptorData(MakeItemWithInputs(2), true) == first);
}

TEST_P(Kinds, ResultOutlivesCacheComputerAndItem) {
    Ref<IDescriptorData> data = Computer()->GetDescriptorData(MakeItemWithInputs(1), true);
    DP::FlushAllDescriptorResources();
    const unsigned int size = data->GetDataSize();
    EXPECT_GT(size, 0u);
    data = nullptr;
}

TEST_P(Kinds, CloneIsAnotherObjectOfTheSameSizeOrNull) {
    const auto data = Computer()->GetDescriptorData(MakeItemWithInputs(1), true);
    const auto clone = data->CloneData();
    if (!GetParam().mClones) {
        EXPECT_TRUE(clone == NULL);
        return;
    }
    ASSERT_TRUE(clone != NULL);
    EXPECT_FALSE(clone == data);
    EXPECT_EQ(clone->GetDataSize(), data->GetDataSize());
    unsigned int stamp = 1;
    clone->GetTimeStamp(stamp);
    EXPECT_EQ(stamp, 0u);
}

TEST_P(Kinds, EmptyDataHasNoSizeAndItsCloneIsEmpty) {
    const auto data = MakeData();
    EXPECT_EQ(data->GetDataSize(), 0u);
    const auto clone = data->CloneData();
    EXPECT_TRUE(clone == NULL || clone->GetDataSize() == 0u);
}

// ---- What is special about the grey kinds --------------------------------------------

TEST(GreyKinds, ImagesHoldTheLumaOfTheFrameAndClonesHaveTheirOwnPixels) {
    for (std::size_t i = 0; i < 2; ++i) {
        const Kind& kind = kKinds[i];
        SCOPED_TRACE(kind.mName);
        const auto item = DP::CreateDescriptorWorkerItem(kind.mType);
        item->SetDataKey(PlainKey(1));
        kind.mSetInputs(item);
        const auto data =
            DP::CreateDescriptorComputer(kind.mMakeProperty())->GetDescriptorData(item, true);
        const auto clone = data->CloneData();
        const unsigned char* const p = ColourFrame().data() + (5 * kCols + 7) * 4;
        const std::size_t at = 5 * kCols + 7;
        if (const Ref<DP::IGreyImageDescriptorData> grey(data); grey != NULL) {
            const auto image = grey->GetGreyImageData();
            const auto copy = Ref<DP::IGreyImageDescriptorData>(clone)->GetGreyImageData();
            EXPECT_EQ(image->GetColumns(), kCols);
            EXPECT_EQ(image->GetRows(), kRows);
            EXPECT_EQ(image->GetData()[at],
                      (3735 * p[0] + 19235 * p[1] + 9798 * p[2] + 16384) >> 15);
            EXPECT_NE(copy->GetData(), image->GetData());
            EXPECT_EQ(copy->GetData()[at], image->GetData()[at]);
            EXPECT_EQ(data->GetDataSize(), unsigned(kCols * kRows));
        } else {
            const Ref<DP::IFloatGreyImageDescriptorData> floats(data);
            const auto image = floats->GetFloatGreyImageData();
            const auto copy =
                Ref<DP::IFloatGreyImageDescriptorData>(clone)->GetFloatGreyImageData();
            EXPECT_NEAR(image->GetData()[at], 0.114 * p[0] + 0.587 * p[1] + 0.299 * p[2], 1e-4);
            EXPECT_NE(copy->GetData(), image->GetData());
            EXPECT_EQ(copy->GetData()[at], image->GetData()[at]);
            EXPECT_EQ(data->GetDataSize(), unsigned(kCols * kRows * 4));
        }
        DP::FlushAllDescriptorResources();
    }
}

TEST(GreyKinds, AFrameThatCannotBeConvertedGivesNullAndStoresNothing) {
    for (std::size_t i = 0; i < 2; ++i) {
        const Kind& kind = kKinds[i];
        SCOPED_TRACE(kind.mName);
        const auto computer = DP::CreateDescriptorComputer(kind.mMakeProperty());
        const auto item = DP::CreateDescriptorWorkerItem(kind.mType);
        item->SetDataKey(PlainKey(1));
        if (const Ref<DP::IGreyImageDescriptorWorkerItem> grey(item); grey != NULL)
            grey->SetInputImage(ColourFrame().data(), kRows, kCols, kCols * 4 - 1);
        else
            Ref<DP::IFloatGreyImageDescriptorWorkerItem>(item)->SetInputImage(
                ColourFrame().data(), kRows, kCols, kCols * 4 - 1);
        EXPECT_TRUE(computer->GetDescriptorData(item, true) == NULL);
        kind.mSetInputs(item);
        EXPECT_TRUE(computer->GetDescriptorData(item, true) != NULL);
        DP::FlushAllDescriptorResources();
    }
}

TEST(GreyKinds, TheGreyItemReadsItsKeyAndTheFloatGreyItemDoesNot) {
    for (std::size_t i = 0; i < 2; ++i) {
        const auto item = DP::CreateDescriptorWorkerItem(kKinds[i].mType);
        kKinds[i].mSetInputs(item);
        const Ref<DP::DescriptorWorkerItem> computing(item);
        if (kKinds[i].mType == DP::kDescriptorDataTypeGreyImage)
            EXPECT_THROW(computing->ComputeData(), TVK::NullInterfaceException);
        else
            EXPECT_TRUE(computing->ComputeData() != NULL);
    }
}

TEST(GreyKinds, AnItemKeepsItsEarlierResultWhenALaterConversionFails) {
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage);
    item->SetDataKey(PlainKey(1));
    const Ref<DP::DescriptorWorkerItem> computing(item);
    const Ref<DP::IGreyImageDescriptorWorkerItem> grey(item);
    grey->SetInputImage(ColourFrame().data(), kRows, kCols, kCols * 4);
    const auto first = computing->ComputeData();
    grey->SetInputImage(ColourFrame().data(), kRows, kCols, 1);
    EXPECT_EQ(computing->ComputeData(), first);
    EXPECT_TRUE(first != NULL);
}

TEST(GreyKinds, NullFrameBreaksTheContract) {
    const RecordedReports reports;
    const Ref<DP::IGreyImageDescriptorWorkerItem> grey(
        DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage));
    const Ref<DP::IFloatGreyImageDescriptorWorkerItem> floats(
        DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeFloatGreyImage));
    EXPECT_ANY_THROW(grey->SetInputImage(nullptr, 1, 1, 4));
    EXPECT_ANY_THROW(floats->SetInputImage(nullptr, 1, 1, 4));
    ASSERT_EQ(reports.Contracts().size(), 2u);
    EXPECT_EQ(reports.Contracts()[0].mText, "inCurrImage != NULL");
    EXPECT_EQ(reports.Contracts()[0].mFile, "Src/GreyImage/GreyImageDescriptorWorkerItem.cpp");
}

}  // namespace
