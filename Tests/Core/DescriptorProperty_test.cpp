// Which properties are equal, class by class.

#include "DP/DescriptorFactory.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;
using Property = Ref<IDescriptorProperty>;

quillet::WideString Source(int inNumber) {
    return Wide(("clip" + std::to_string(inNumber)).c_str());
}

DescriptorDataType Kind(int inKind) { return static_cast<DescriptorDataType>(inKind); }

RegionPtr Region(float inLeft, float inTop, float inRight, float inBottom) {
    return TVK::MakeObject<TVK::ParamRect<float>>(
        TVK::ParamRect<float>{inLeft, inTop, inRight, inBottom});
}

// Each member of a property is a small number; all of them take part in the comparison.
struct PropertyClass {
    std::string mName;
    std::size_t mMembers;
    std::function<Property(const std::vector<int>&)> mMake;
};

const PropertyClass kClasses[] = {
    {"Plain", 2,
     [](const auto& v) {
         return CreateDescriptorProperty(Source(v[0]), Kind(v[1]));
     }},
    {"KLT", 6,
     [](const auto& v) {
         return CreateKLTDescriptorProperty(unsigned(v[0]), v[1], unsigned(v[2]),
                                            unsigned(v[3]), Source(v[4]), Kind(v[5]));
     }},
    {"APT", 8,
     [](const auto& v) {
         return CreateAPTDescriptorProperty(unsigned(v[0]), v[1], unsigned(v[2]),
                                            unsigned(v[3]), Source(v[4]), Kind(v[5]),
                                            float(v[6]), unsigned(v[7]));
     }},
    {"RegionTracker", 10,
     [](const auto& v) {
         return CreateRegionTrackerDescriptorProperty(
             unsigned(v[0]), v[1], unsigned(v[2]), unsigned(v[3]), Source(v[4]),
             Region(float(v[5]), 0.0f, 10.0f, float(v[6]) + 20.0f), v[7], Kind(v[8]));
     }},
};

TEST(DescriptorProperty, EqualMembersAreEqualAndEveryMemberCounts) {
    for (const PropertyClass& any : kClasses) {
        SCOPED_TRACE(any.mName);
        const std::vector<int> middle(any.mMembers, 3);
        const std::size_t used = any.mName == "RegionTracker" ? 9 : any.mMembers;
        EXPECT_TRUE(any.mMake(middle)->IsEqual(any.mMake(middle)));
        for (std::size_t i = 0; i < used; ++i) {
            auto values = middle;
            values[i] = 4;
            EXPECT_FALSE(any.mMake(values)->IsEqual(any.mMake(middle))) << "member " << i;
        }
    }
}

TEST(DescriptorProperty, APlainPropertyLooksAtSourceAndKindOnlyAndADerivedOneAtTheClassToo) {
    const Property plain = CreateDescriptorProperty(Source(1), Kind(0));
    const Property klt = CreateKLTDescriptorProperty(1, 1, 1, 1, Source(1), Kind(0));
    const Property apt = CreateAPTDescriptorProperty(1, 1, 1, 1, Source(1), Kind(0), 0.0f, 0);
    EXPECT_TRUE(plain->IsEqual(klt));
    EXPECT_FALSE(klt->IsEqual(plain));
    EXPECT_FALSE(klt->IsEqual(apt));
    EXPECT_FALSE(apt->IsEqual(klt));
}

TEST(DescriptorProperty, NullThrows) {
    for (const PropertyClass& any : kClasses)
        EXPECT_THROW(any.mMake(std::vector<int>(any.mMembers, 1))->IsEqual(nullptr),
                     TVK::NullInterfaceException)
            << any.mName;
}

TEST(RegionTrackerProperty, RegionsOfOneWidthAndHeightAreEqualAtAnyHeight) {
    const auto make = [](RegionPtr inRegion) {
        return CreateRegionTrackerDescriptorProperty(1, 1, 1, 1, Source(1), inRegion, 1,
                                                     Kind(7));
    };
    const Property low = make(Region(10, 0, 30, 20));
    EXPECT_TRUE(low->IsEqual(make(Region(10, 100, 30, 120))));
    EXPECT_FALSE(low->IsEqual(make(Region(10, 0, 30, 21))));
    EXPECT_FALSE(low->IsEqual(make(Region(11, 0, 31, 20))));
    EXPECT_THROW(low->IsEqual(make(nullptr)), TVK::NullInterfaceException);
    EXPECT_THROW(make(nullptr)->IsEqual(low), TVK::NullInterfaceException);
}

}  // namespace
