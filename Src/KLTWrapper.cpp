// One frame of a KLT run: a first frame is selected in, a later one is tracked into, and its
// free slots are filled when fewer points than the key's minimum are left. The minimum of the
// key and not of the property: frames of one run may differ in it.

#include "KLTWrapper.h"

#include <algorithm>

#include "DP/IKLTDescriptor.h"
#include "Image.h"
#include "KLTDescriptorDataKey.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"

namespace DP {

KLTWrapper::KLTWrapper(int inRows, int inCols, KLTTrackerPtr inTracker)
    : mTracker(inTracker), mCols(inCols), mRows(inRows) {}

// Regions count y upward from the bottom; the whole frame is the same either way.
KLTTracker::Rects KLTWrapper::WholeFrame() const {
    return {{0.0f, 0.0f, static_cast<float>(mCols), static_cast<float>(mRows)}};
}

KLTFeatureListPtr KLTWrapper::UpdateTracking(const unsigned char* inPrevImage,
                                             const unsigned char* inCurrImage,
                                             Ref<IDescriptorData> inPrevData,
                                             Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inCurrImage != NULL, {});
    ContractCheck(mTracker != NULL, {});
    const auto result = TVK::MakeObject<KLTFeatureList>();
    KLTTracker::Lists results{result};

    if (inPrevData == NULL) {
        const long long frame = inDataKey->GetFrameNumber();
        mTracker->SetFirstFrame(frame);
        IP::EnterStage(0.2, 1.0);
        mTracker->SelectGoodFeatures(inCurrImage, mCols, mRows, frame, WholeFrame(), results);
        return result;
    }

    const auto previous = Ref<IKLTDescriptorData>(inPrevData)->GetFeatureList();
    if (previous == NULL) throw TVK::NullInterfaceException();
    IP::EnterStage(0.0, 0.6);
    const IP::ImagePtr<float> smoothed =
        mTracker->TrackFeatures(inPrevImage, inCurrImage, mCols, mRows,
                                inDataKey->GetFrameNumber(), {previous}, results);

    IP::EnterStage(0.6, 1.0);
    // One selection fills all lost slots; the live features keep theirs.
    const Ref<KLTDescriptorDataKey> key(inDataKey);
    if (key != NULL && CountTrackedFeatures(result) < key->GetMinFeatures())
        mTracker->ReplaceLostFeatures(inCurrImage, mCols, mRows, WholeFrame(), results, results,
                                      smoothed);
    return result;
}

unsigned int KLTWrapper::CountTrackedFeatures(KLTFeatureListPtr inFeatureList) {
    return static_cast<unsigned int>(
        std::count_if(inFeatureList->begin(), inFeatureList->end(),
                      [](const KLTFeature& inFeature) { return inFeature.mValue >= 0; }));
}

void KLTWrapper::WriteFeatureListToPPM(const unsigned char* inImage, int inCols, int inRows,
                                       const char* inPath, KLTFeatureListPtr inFeatureList) {
    CAFU::FeatureOverlay overlay(inImage, inCols, inRows);
    if (!overlay.HasPlanes())
        AssertWithMessage("DP::KLTWrapper::WriteFeatureListToPPM",
                          CAFU::FeatureOverlay::kOutOfMemory);
    for (std::size_t i = 0; i < inFeatureList->size(); ++i) {
        const KLTFeature& feature = (*inFeatureList)[i];
        if (feature.mValue >= 0)
            overlay.DrawFeature(static_cast<unsigned int>(i), feature.mX, feature.mY);
    }
    overlay.Write(inPath);
}

}  // namespace DP
