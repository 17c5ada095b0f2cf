// The image pyramid kind: what its data holds, and what becomes of missing inputs. That
// the pyramids are right is the business of the image layer's tests.

#include <thread>

#include "DP/DescriptorFactory.h"
#include "Pyramid/ImagePyramidDescriptorData.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"
#include "Support/Images.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

class ImagePyramidDescriptor : public testing::Test {
protected:
    ~ImagePyramidDescriptor() override { FlushAllDescriptorResources(); }

    static Ref<IDescriptorDataKey> Key(int inLevels, float inGradientSigma = 1.0f) {
        return CreateImagePyramidDescriptorDataKey(Wide("clip"), 3, inGradientSigma, 0.7f, 0.9f,
                                                   4, inLevels, 40, 30);
    }
    Ref<ImagePyramidDescriptorData> Request(Ref<IDescriptorDataKey> inKey,
                                            const unsigned char* inPixels) {
        const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeImagePyramid);
        item->SetDataKey(inKey);
        Ref<ImagePyramidDescriptorWorkerItem>(item)->SetPyramidImage(inPixels);
        return mComputer->GetDescriptorData(item, true);
    }

    const std::vector<unsigned char> mFrame = NoiseBytes(40 * 30, 2);
    const Ref<IDescriptorComputer> mComputer = CreateDescriptorComputer(
        CreateDescriptorProperty(Wide("clip"), kDescriptorDataTypeImagePyramid));
};

TEST_F(ImagePyramidDescriptor, HoldsThreePyramidsInTheShapeOfTheKey) {
    const auto data = Request(Key(2), mFrame.data());
    EXPECT_EQ(data->GetDataSize(), (40 * 30 + 10 * 7) * 3 * 4u);
    for (const auto& pyramid : {data->GetSmoothedPyramid(), data->GetGradientXPyramid(),
                                data->GetGradientYPyramid()}) {
        EXPECT_EQ(pyramid->GetLevelCount(), 2);
        EXPECT_EQ(pyramid->GetLevel(1)->GetColumns(), 10);
        EXPECT_EQ(pyramid->GetLevel(1)->GetRows(), 7);
    }
    EXPECT_EQ(Request(Key(1), mFrame.data())->GetDataSize(), 40 * 30 * 3 * 4u);
    EXPECT_TRUE(data->CloneData() == NULL);
}

// Those of level 0 are made when the first asks for a gradient pyramid; nobody can tell.
TEST_F(ImagePyramidDescriptor, GradientsThatComeLaterAreTheSameForAllWhoAsk) {
    const auto data = Request(Key(2), mFrame.data());
    EXPECT_TRUE(data->MakesGradientsLater());
    const auto early = data->GetFramePyramids();
    EXPECT_TRUE(IP::LacksLevelZeroGradients(early));
    std::vector<const float*> seen(8);
    std::vector<std::thread> threads;
    for (std::size_t k = 0; k < seen.size(); ++k)
        threads.emplace_back([&, k] {
            data->GetDataSize();
            const auto pyramid =
                k % 2 ? data->GetGradientXPyramid() : data->GetGradientYPyramid();
            seen[k] = pyramid->GetLevel(0)->GetData();
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 2u);
    EXPECT_TRUE(data->GetGradientXPyramid() == early.mGradientX);
    EXPECT_EQ(data->GetDataSize(), (40 * 30 + 10 * 7) * 3 * 4u);
    const auto whole = IP::ComputeFramePyramids({mFrame.data(), 40, 30}, {1, 0.7f, 0.9f, 4, 2});
    EXPECT_EQ(PixelsOf(data->GetGradientXPyramid()->GetLevel(0)),
              PixelsOf(whole.mGradientX->GetLevel(0)));
    EXPECT_EQ(PixelsOf(data->GetGradientYPyramid()->GetLevel(0)),
              PixelsOf(whole.mGradientY->GetLevel(0)));
    EXPECT_FALSE(Request(Key(2, 1.5f), mFrame.data())->MakesGradientsLater());
}

TEST_F(ImagePyramidDescriptor, MissingFrameIsStoredAsEmptyData) {
    const auto data = Request(Key(2), nullptr);
    EXPECT_EQ(data->GetDataSize(), 0u);
    EXPECT_TRUE(data->GetSmoothedPyramid() == NULL);
    EXPECT_TRUE(Request(Key(2), mFrame.data()) == data);
}

TEST_F(ImagePyramidDescriptor, KeyOfAnotherClassGivesEmptyData) {
    const auto data = Request(CreateDescriptorDataKey(Wide("clip"), 3, 30, 40), mFrame.data());
    EXPECT_EQ(data->GetDataSize(), 0u);
}

}  // namespace
