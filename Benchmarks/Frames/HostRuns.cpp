#include "HostRuns.h"

#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "quillet/WideString.h"

namespace Bench {
namespace {

using DP::Ref;

quillet::WideString Wide(const std::string& inText) {
    return quillet::utility::AsciiToUTF16(inText.c_str());
}

template <class Item>
Ref<DP::IDescriptorData> RequestImage(DP::DescriptorDataType inType, const Clip& inClip,
                                      const std::string& inSource, int inFrame) {
    const auto item = DP::CreateDescriptorWorkerItem(inType);
    item->SetDataKey(DP::CreateDescriptorDataKey(Wide(inSource), inFrame, inClip.GetRows(),
                                                 inClip.GetColumns()));
    Ref<Item>(item)->SetInputImage(inClip.Colour(inFrame).data(), inClip.GetRows(),
                                   inClip.GetColumns(), inClip.GetColumns() * 4);
    return DP::CreateDescriptorComputer(DP::CreateDescriptorProperty(Wide(inSource), inType))
        ->GetDescriptorData(item, true);
}

}  // namespace

KltRun::KltRun(const Clip& inClip, const std::string& inSource, unsigned int inMinFeatures)
    : mClip(inClip),
      mSource(Wide(inSource)),
      mMinFeatures(inMinFeatures),
      mComputer(DP::CreateDescriptorComputer(DP::CreateKLTDescriptorProperty(
          kPoints, 1, 10, inMinFeatures, mSource, DP::kDescriptorDataTypeKLT))) {}

void KltRun::Step(int inFrame) {
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeKLT);
    item->SetDataKey(DP::CreateKLTDescriptorDataKey(
        mSource, inFrame, 1, kPoints, mClip.GetRows(), mClip.GetColumns(), 10, mMinFeatures));
    const bool isFirst = mPrevious == NULL;
    Ref<DP::IKLTDescriptorWorkerItem>(item)->SetInputImages(
        isFirst ? IP::ImagePtr<unsigned char>() : mClip.Grey(inFrame - 1), mClip.Grey(inFrame),
        mPrevious);
    mPrevious = mComputer->GetDescriptorData(item, true);
}

std::vector<Point> KltRun::GetPoints() const {
    std::vector<Point> points;
    for (const auto& feature : *Ref<DP::IKLTDescriptorData>(mPrevious)->GetFeatureList())
        points.push_back({feature.mX, feature.mY, feature.mValue >= 0});
    return points;
}

AptRun::AptRun(const Clip& inClip, const std::string& inSource, unsigned int inVerify)
    : mClip(inClip),
      mSource(Wide(inSource)),
      mVerify(inVerify),
      mComputer(DP::CreateDescriptorComputer(DP::CreateAPTDescriptorProperty(
          kPoints, 1, 10, 0, mSource, DP::kDescriptorDataTypeAPT, 0.0f, inVerify))) {}

void AptRun::Step(int inFrame) {
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeAPT);
    item->SetDataKey(DP::CreateAPTDescriptorDataKey(mSource, inFrame, 1, kPoints,
                                                    mClip.GetRows(), mClip.GetColumns(), 10, 0,
                                                    0.0f, mVerify));
    const bool isFirst = mPrevious == NULL;
    Ref<DP::IAPTDescriptorWorkerItem>(item)->SetInputs(
        isFirst ? IP::ImagePtr<float>() : mClip.FloatGrey(inFrame - 1),
        mClip.FloatGrey(inFrame), mPrevious, static_cast<unsigned int>(mClip.GetColumns()),
        static_cast<unsigned int>(mClip.GetRows()));
    mPrevious = Ref<DP::IAPTDescriptorData>(mComputer->GetDescriptorData(item, true));
}

std::vector<Point> AptRun::GetPoints() const {
    std::vector<Point> points;
    for (const auto& feature : *mPrevious->GetFeatures())
        points.push_back({feature.mX, feature.mY, feature.mStatus >= 0});
    return points;
}

RegionRun::RegionRun(const Clip& inClip, const std::string& inSource)
    : mClip(inClip), mSource(Wide(inSource)) {
    const Box box = inClip.GetBox(0);
    const auto x = static_cast<float>(box.mX);
    const auto top = static_cast<float>(inClip.GetRows() - box.mY);
    const auto width = static_cast<float>(box.mWidth);
    const auto height = static_cast<float>(box.mHeight);
    const TVK::ParamRect<float> start{x, top - height, x + width, top};  // y upward
    mStart = TVK::MakeObject<TVK::ParamRect<float>>(start);
    mComputer = DP::CreateDescriptorComputer(DP::CreateRegionTrackerDescriptorProperty(
        kPoints, 1, 10, 10, mSource, mStart, 1, DP::kDescriptorDataTypeRegionTracker));
    mPrevious = DP::CreateRegionDescriptorData(TVK::MakeObject<TVK::ParamRect<float>>(start));
}

void RegionRun::Step(int inFrame) {
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeRegionTracker);
    item->SetDataKey(DP::CreateRegionTrackerDescriptorDataKey(
        mSource, inFrame, 1, kPoints, mClip.GetRows(), mClip.GetColumns(), mStart, 1, 10, 10));
    Ref<DP::IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
        inFrame == 0 ? IP::ImagePtr<float>() : mClip.FloatGrey(inFrame - 1),
        mClip.FloatGrey(inFrame), mPrevious, static_cast<unsigned int>(mClip.GetColumns()),
        static_cast<unsigned int>(mClip.GetRows()));
    mPrevious = Ref<DP::IRegionTrackerDescriptorData>(mComputer->GetDescriptorData(item, true));
}

Box RegionRun::GetBox() const {
    const auto region = mPrevious->GetRegion();
    return {double(region->mLeft), mClip.GetRows() - double(region->mBottom),
            double(region->mRight) - double(region->mLeft),
            double(region->mBottom) - double(region->mTop)};
}

IP::ImagePtr<unsigned char> RequestGrey(const Clip& inClip, const std::string& inSource,
                                        int inFrame) {
    return Ref<DP::IGreyImageDescriptorData>(
               RequestImage<DP::IGreyImageDescriptorWorkerItem>(
                   DP::kDescriptorDataTypeGreyImage, inClip, inSource, inFrame))
        ->GetGreyImageData();
}

IP::ImagePtr<float> RequestFloatGrey(const Clip& inClip, const std::string& inSource,
                                     int inFrame) {
    return Ref<DP::IFloatGreyImageDescriptorData>(
               RequestImage<DP::IFloatGreyImageDescriptorWorkerItem>(
                   DP::kDescriptorDataTypeFloatGreyImage, inClip, inSource, inFrame))
        ->GetFloatGreyImageData();
}

IP::ImagePtr<unsigned char> RequestCut(const Clip& inClip, const std::string& inSource,
                                       int inNumber, const IP::ImagePtr<unsigned char>& inFront,
                                       const IP::ImagePtr<unsigned char>& inBack,
                                       const IP::ImagePtr<unsigned char>& ioLabels) {
    const auto type = DP::kDescriptorDataTypeGraphCut;
    const auto item = DP::CreateDescriptorWorkerItem(type);
    item->SetDataKey(DP::CreateDescriptorDataKey(Wide(inSource), inNumber, inClip.GetRows(),
                                                 inClip.GetColumns()));
    Ref<DP::IGraphCutDescriptorWorkerItem>(item)->SetInputs(
        inClip.Colour(0).data(), static_cast<unsigned int>(inClip.GetColumns()) * 4, inFront,
        inBack, ioLabels);
    return Ref<DP::IGraphCutDescriptorData>(
               DP::CreateDescriptorComputer(DP::CreateDescriptorProperty(Wide(inSource), type))
                   ->GetDescriptorData(item, true))
        ->GetLabelImage();
}

}  // namespace Bench
