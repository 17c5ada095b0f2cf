#include "Selection.h"

#include "Planes.h"
#include "Stopwatch.h"

namespace Host {

Selection::Selection(const Frame& inPicture, const std::string& inName)
    : mPicture(inPicture),
      mSource(SourceID(inName)),
      mComputer(DP::CreateDescriptorComputer(
          DP::CreateDescriptorProperty(mSource, DP::kDescriptorDataTypeGraphCut))),
      mMask(inPicture.mWidth, inPicture.mHeight) {}

void Selection::Cut(const Strokes& inStrokes) {
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGraphCut);
    item->SetDataKey(
        DP::CreateDescriptorDataKey(mSource, mRequests++, mPicture.mHeight, mPicture.mWidth));
    // The library writes strokes into the label image that goes in, and the last result is
    // one that its cache holds: a copy goes in.
    IP::ImagePtr<unsigned char> current;
    if (mLabels != nullptr) current = ToImage(mMask);
    DP::Ref<DP::IGraphCutDescriptorWorkerItem>(item)->SetInputs(
        mPicture.mPixels.data(), unsigned(mPicture.RowBytes()), ToImage(inStrokes.mForeground),
        ToImage(inStrokes.mBackground), current);

    const WorkStopwatch cutting;
    const auto data = mComputer->GetDescriptorData(item, true);
    mMilliseconds = cutting.Seconds() * 1e3;
    mLabels = DP::Ref<DP::IGraphCutDescriptorData>(data)->GetLabelImage();
    mMask = ToMask(*mLabels);
}

}  // namespace Host
