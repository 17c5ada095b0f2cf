// A host that is compiled without run-time type information.

#include "DP/DescriptorFactory.h"
#include "Support/Test.h"
#include "TVK/Object.h"

class PlainHostProperty;
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<PlainHostProperty>{0x7e57, 77};

class PlainHostProperty : public TVK::Object<PlainHostProperty, DP::IDescriptorProperty> {
public:
    quillet::WideString GetSourceID() override { return u"clip"; }
    DP::DescriptorDataType GetDescriptorDataType() override {
        return DP::kDescriptorDataTypeGreyImage;
    }
    bool IsEqual(DP::Ref<DP::IDescriptorProperty> inOther) override {
        return inOther->GetSourceID() == u"clip";
    }
};

TEST(HostWithoutTypeInformation, MakesAComputerOfItsOwnProperty) {
    const auto computer = DP::CreateDescriptorComputer(PlainHostProperty::Create());
    ASSERT_TRUE(computer != NULL);
    EXPECT_EQ(DP::CreateDescriptorComputer(PlainHostProperty::Create()), computer);
    DP::FlushAllDescriptorResources();
}
