// A KLT computer over frames with hostile pixels, sizes, numbers and lists handed back. A
// feature that it says it tracked lies in the image; a lost one says where by -1.

#include <cmath>

#include "DP/DescriptorFactory.h"
#include "DP/IKLTDescriptor.h"
#include "Fuzz/Frames.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "KLTDescriptorData.h"
#include "Support/Reports.h"

namespace {

using DP::Ref;
using Fuzz::Input;
using Fuzz::Require;
using BytesImage = IP::ImagePtr<unsigned char>;

DP::KLTFeature ReadFeature(Input& ioInput) {
    DP::KLTFeature feature;
    feature.mX = ioInput.Float();
    feature.mY = ioInput.Float();
    feature.mValue = ioInput.Whole<int>();
    feature.mAge = ioInput.Whole<int>();
    return feature;
}

class Run {
public:
    explicit Run(Input& ioInput) : mInput(ioInput) {
        mMaxFeatures = static_cast<unsigned int>(ioInput.Between(0, 15));
        mStep = ioInput.Flag() ? 1 : ioInput.Whole<int>();
        mSize = Fuzz::ReadSize(ioInput, ioInput.Byte() < 0xe0 ? 24 : 80);
        mComputer = DP::CreateDescriptorComputer(DP::CreateKLTDescriptorProperty(
            mMaxFeatures, mStep, 10, 5, {}, DP::kDescriptorDataTypeKLT));
    }

    void Step() {
        const int kind = mInput.Byte();
        const bool isFirst = kind % 8 == 0;
        if (isFirst || kind % 16 == 4)
            mSize = Fuzz::ReadSize(mInput, mInput.Byte() < 0xe0 ? 24 : 80);
        if (kind % 8 == 1) mPrevData = SpoiltData();
        if (kind % 16 == 2) mPrevImage = {};
        mFrame += kind % 32 == 3 ? mInput.Whole<std::uint64_t>() : std::uint64_t(mStep);
        const BytesImage image = Fuzz::ReadBytesImage(mInput, mSize);

        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeKLT);
        item->SetDataKey(DP::CreateKLTDescriptorDataKey(
            {}, static_cast<long long>(mFrame), mStep, mMaxFeatures, mSize.mRows, mSize.mCols,
            10, mInput.Whole<unsigned int>()));
        Ref<DP::IKLTDescriptorWorkerItem>(item)->SetInputImages(
            mPrevImage, image, isFirst ? Ref<DP::IDescriptorData>() : mPrevData);
        Ref<DP::IDescriptorData> result;
        Fuzz::ComesThrough([&] { result = mComputer->GetDescriptorData(item, kind < 0xc0); });
        mPrevImage = image;
        if (result == NULL) return;
        mPrevData = result;
        // A frame number may come again, and then a spoilt result out of the cache.
        if (!mIsSpoilt) Check(*Ref<DP::IKLTDescriptorData>(result)->GetFeatureList());
    }

private:
    // As a host may hand it back: no list, or one of another length, with its own records.
    Ref<DP::IDescriptorData> SpoiltData() {
        mIsSpoilt = true;
        const auto data = DP::KLTDescriptorData::Create();
        if (mInput.Byte() % 16 == 0) return data;
        const auto list = TVK::MakeObject<DP::KLTFeatureList>();
        for (int i = mInput.Between(0, 7); i > 0; --i)
            list->push_back(ReadFeature(mInput));
        data->SetFeatureList(list);
        return data;
    }

    void Check(const DP::KLTFeatureList& inList) const {
        Require(inList.size() == mMaxFeatures, "a slot for each feature");
        for (const DP::KLTFeature& feature : inList)
            if (feature.mValue < 0)
                Require(feature.mX == -1.0f && feature.mY == -1.0f, "a lost feature");
            else
                Require(feature.mX >= 0 && feature.mX < static_cast<float>(mSize.mCols) &&
                            feature.mY >= 0 && feature.mY < static_cast<float>(mSize.mRows),
                        "a live feature lies in the image");
    }

    Input& mInput;
    unsigned int mMaxFeatures;
    int mStep;
    Fuzz::Size mSize;
    std::uint64_t mFrame = 0;  // wraps
    bool mIsSpoilt = false;
    Ref<DP::IDescriptorComputer> mComputer;
    BytesImage mPrevImage;
    Ref<DP::IDescriptorData> mPrevData;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    const Testing::RecordedReports reports;
    Input input(inData, inSize);
    {
        Run run(input);
        for (int frames = 0; frames < 8 && !input.IsAtEnd(); ++frames)
            run.Step();
    }
    DP::FlushAllDescriptorResources();
    return 0;
}
