// The order of keys, one class after the other: which member decides, in which order; that
// it is an order at all; what happens with keys of another class and with NaN.

#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"
#include "DP/DescriptorFactory.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Support/Test.h"
#include "quillet/Error.h"

namespace {

using namespace DP;
using namespace Testing;
using Key = Ref<IDescriptorDataKey>;

// A key as a list of small numbers, one a member, in the order in which the class compares
// them; the last is the stationary limit and the switch of APT, which do not take part.
using Values = std::vector<int>;

quillet::WideString Source(int inNumber) {
    return Wide(("source" + std::to_string(inNumber)).c_str());
}

RegionPtr Region(int inLeft, int inTop, int inRight, int inBottom) {
    return TVK::MakeObject<TVK::ParamRect<float>>(
        TVK::ParamRect<float>{float(inLeft), float(inTop), float(inRight), float(inBottom)});
}

struct KeyClass {
    std::string mName;
    std::size_t mMembers;
    std::function<Key(const Values&)> mMake;
};

void PrintTo(const KeyClass& inClass, std::ostream* outStream) { *outStream << inClass.mName; }

const KeyClass kClasses[] = {
    {"Plain", 4,  // frame, rows, columns, source
     [](const Values& v) {
         return CreateDescriptorDataKey(Source(v[3]), v[0], v[1], v[2]);
     }},
    {"ImagePyramid", 9,
     [](const Values& v) {
         return CreateImagePyramidDescriptorDataKey(
             Source(v[8]), v[0], float(v[1]), float(v[6]), float(v[3]), v[7], v[2], v[5], v[4]);
     }},
    {"ColourPyramid", 7,
     [](const Values& v) {
         return CreateColourPyramidDescriptorDataKey(
             Source(v[0]), v[1], v[3], v[4], unsigned(v[5]), unsigned(v[2]), unsigned(v[6]));
     }},
    {"KLT", 8,  // features, step, distance, minimum, then the plain key's
     [](const Values& v) {
         return CreateKLTDescriptorDataKey(Source(v[7]), v[4], v[1], unsigned(v[0]), v[5], v[6],
                                           unsigned(v[2]), unsigned(v[3]));
     }},
    {"APT", 8,
     [](const Values& v) {
         return CreateAPTDescriptorDataKey(Source(v[7]), v[4], v[1], unsigned(v[0]), v[5], v[6],
                                           unsigned(v[2]), unsigned(v[3]), 0.5f, 1);
     }},
    {"RegionTracker", 13,  // left, right, top, bottom, tag, then the APT key's
     [](const Values& v) {
         return CreateRegionTrackerDescriptorDataKey(
             Source(v[12]), v[9], v[6], unsigned(v[5]), v[10], v[11],
             Region(v[0], v[2], v[1], v[3]), v[4], unsigned(v[7]), unsigned(v[8]));
     }},
};

class KeyOrder : public testing::TestWithParam<KeyClass> {
protected:
    Values Middle() const { return Values(GetParam().mMembers, 5); }
    Key Make(const Values& inValues) const { return GetParam().mMake(inValues); }
};

TEST_P(KeyOrder, NoKeyIsLessThanItselfOrItsEqual) {
    const Key key = Make(Middle());
    EXPECT_FALSE(key->IsLessThan(key));
    EXPECT_FALSE(key->IsLessThan(Make(Middle())));
}

// Member i is less and all members behind it are greater: the first one decides.
TEST_P(KeyOrder, FirstMemberThatDiffersDecides) {
    for (std::size_t i = 0; i < GetParam().mMembers; ++i) {
        SCOPED_TRACE("member " + std::to_string(i));
        Values values = Middle();
        values[i] = 4;
        for (std::size_t j = i + 1; j < values.size(); ++j)
            values[j] = 6;
        EXPECT_TRUE(Make(values)->IsLessThan(Make(Middle())));
        EXPECT_FALSE(Make(Middle())->IsLessThan(Make(values)));
    }
}

TEST_P(KeyOrder, IsThatOfTheMemberLists) {
    Random random(99);
    for (int round = 0; round < 300; ++round) {
        Values one(GetParam().mMembers);
        Values other(GetParam().mMembers);
        for (std::size_t i = 0; i < one.size(); ++i) {
            one[i] = random.Integer(1, 2);
            other[i] = random.Integer(1, 2);
        }
        ASSERT_EQ(Make(one)->IsLessThan(Make(other)), one < other);
    }
}

INSTANTIATE_TEST_SUITE_P(Classes, KeyOrder, testing::ValuesIn(kClasses),
                         [](const auto& inInfo) { return inInfo.param.mName; });

// ---- Keys that do not belong together ------------------------------------------------

TEST(KeyOrderAcrossClasses, AKeyOfAnotherClassIsNeverLess) {
    for (const KeyClass& mine : kClasses)
        for (const KeyClass& others : kClasses) {
            SCOPED_TRACE(mine.mName + " < " + others.mName);
            if (mine.mName == "Plain" || mine.mName == "RegionTracker") continue;
            if (mine.mName == others.mName) continue;
            if (mine.mName == "APT" && others.mName == "RegionTracker") continue;
            const Key key = mine.mMake(Values(mine.mMembers, 1));
            EXPECT_FALSE(key->IsLessThan(others.mMake(Values(others.mMembers, 9))));
        }
}

TEST(KeyOrderAcrossClasses, APlainKeyComparesItsOwnMembersWithAnyKey) {
    const Key plain = CreateDescriptorDataKey(Source(5), 1, 5, 5);
    const Key pyramid = CreateImagePyramidDescriptorDataKey(Source(5), 1, 1, 1, 1, 4, 2, 5, 5);
    EXPECT_FALSE(plain->IsLessThan(pyramid));
    EXPECT_FALSE(pyramid->IsLessThan(plain));
    EXPECT_TRUE(CreateDescriptorDataKey(Source(5), 0, 5, 5)->IsLessThan(pyramid));
}

TEST(KeyOrderAcrossClasses, ARegionKeyThrowsForAKeyOfAnotherClassAndForANullRegion) {
    const KeyClass& region = kClasses[5];
    const Key key = region.mMake(Values(region.mMembers, 5));
    EXPECT_THROW(key->IsLessThan(CreateDescriptorDataKey(Source(5), 5, 5, 5)),
                 TVK::NullInterfaceException);
    const Key null =
        CreateRegionTrackerDescriptorDataKey(Source(5), 5, 5, 5, 5, 5, nullptr, 5, 5, 5);
    EXPECT_THROW(key->IsLessThan(null), TVK::NullInterfaceException);
    EXPECT_THROW(null->IsLessThan(key), TVK::NullInterfaceException);
}

TEST(KeyOrderNull, DerivedKeysBreakTheContractAndThePlainOneDereferencesNull) {
    const RecordedReports reports;
    for (const KeyClass& any : kClasses) {
        const Key key = any.mMake(Values(any.mMembers, 1));
        if (any.mName == "Plain")
            EXPECT_THROW(key->IsLessThan(nullptr), TVK::NullInterfaceException);
        else
            EXPECT_THROW(key->IsLessThan(nullptr), quillet::config::ReportedError) << any.mName;
    }
    const auto contracts = reports.Contracts();
    ASSERT_EQ(contracts.size(), 5u);
    for (const auto& contract : contracts)
        EXPECT_EQ(contract.mText, "inDataKey != NULL");
    EXPECT_EQ(contracts[2].mFile, "Src/KLTDescriptorDataKey.cpp");
    EXPECT_EQ(contracts[3].mFile, "Src/APT/APTDescriptorDataKey.cpp");
}

TEST(DataKeyLess, NamesTheSideThatIsNull) {
    const RecordedReports reports;
    const Key key = CreateDescriptorDataKey(Wide("a"), 1, 1, 1);
    EXPECT_THROW(DataKeyLess()(nullptr, key), quillet::config::ReportedError);
    EXPECT_THROW(DataKeyLess()(key, nullptr), quillet::config::ReportedError);
    EXPECT_EQ(reports.Contracts()[0].mText, "inFirstDataKey != NULL");
    EXPECT_EQ(reports.Contracts()[1].mText, "inSecondDataKey != NULL");
}

// ---- What does not take part ---------------------------------------------------------

TEST(KeyOrderAPT, StationaryLimitAndVerificationDoNotTellKeysApart) {
    const auto make = [](float inLimit, unsigned int inVerify) {
        return CreateAPTDescriptorDataKey(Wide("a"), 1, 2, 3, 4, 5, 6, 7, inLimit, inVerify);
    };
    EXPECT_FALSE(make(0.0f, 0)->IsLessThan(make(1.0f, 1)));
    EXPECT_FALSE(make(1.0f, 1)->IsLessThan(make(0.0f, 0)));
}

TEST(KeyOrderNaN, ANaNIsEqualAndTheNextMemberDecides) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const auto make = [](float inGradientSigma, int inLevels) {
        return CreateImagePyramidDescriptorDataKey(Wide("a"), 1, inGradientSigma, 1, 1, 4,
                                                   inLevels, 8, 8);
    };
    EXPECT_TRUE(make(nan, 1)->IsLessThan(make(3.0f, 2)));
    EXPECT_TRUE(make(3.0f, 1)->IsLessThan(make(nan, 2)));
    EXPECT_FALSE(make(nan, 2)->IsLessThan(make(nan, 2)));
}

// Signed and unsigned members at the ends of their ranges.
TEST(KeyOrderSigns, EachMemberComparesByItsOwnSign) {
    const auto klt = [](int inStep, unsigned int inFeatures) {
        return CreateKLTDescriptorDataKey(Wide("a"), 1, inStep, inFeatures, 1, 1, 1, 1);
    };
    EXPECT_TRUE(klt(-1, 1)->IsLessThan(klt(1, 1)));
    EXPECT_TRUE(klt(1, 1)->IsLessThan(klt(1, 0xFFFFFFFFu)));
    const auto colour = [](unsigned int inLevels) {
        return CreateColourPyramidDescriptorDataKey(Wide("a"), 1, 1, 1, 1, inLevels, 1);
    };
    EXPECT_TRUE(colour(1)->IsLessThan(colour(0xFFFFFFFFu)));
    const auto pyramid = [](int inLevels) {
        return CreateImagePyramidDescriptorDataKey(Wide("a"), 1, 1, 1, 1, 4, inLevels, 8, 8);
    };
    EXPECT_TRUE(pyramid(-1)->IsLessThan(pyramid(1)));
}

}  // namespace
