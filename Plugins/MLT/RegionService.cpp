#include "RegionService.h"

#include "Results.h"

namespace descriptor_mlt {

std::optional<descriptor::Rect> RegionService::Locate(const Request& inRequest,
                                                      const Picture& inPicture) {
    if (const auto result = ResultAt(inRequest)) {
        EndPreview(inRequest);
        return result;
    }
    RegionTask task;
    task.mKeys = KeysOf(inRequest, "rect");
    if (task.mKeys.empty()) task.mKeys = DefaultKeys(inRequest, inPicture);
    task.mIsBackward = mlt_properties_get_int(inRequest.mProperties, "backward") != 0;
    task.mCount = inRequest.mCount;
    task.mProfile = inRequest.mProfile;
    const descriptor::Frame grey = inPicture.Grey();

    const std::scoped_lock lock(mMutex);
    // Another thread may have finished it meanwhile.
    if (const auto result = ResultAt(inRequest)) return result;
    if (!mAnalysis) {
        mAnalysis.emplace();
        if (!task.mKeys.empty())
            mlt_properties_set(inRequest.mProperties, "state", "unfinished");
    }
    mAnalysis->Set(task, {grey.width, grey.height});
    if (!mAnalysis->Take(inRequest.mPosition, grey))
        Say(inRequest, MissingFrame(mAnalysis->Next()));
    const auto at = mAnalysis->At(inRequest.mPosition);
    if (mAnalysis->IsDone()) {
        const char* steps = mlt_properties_get(inRequest.mProperties, "steps");
        Publish(inRequest, mAnalysis->Results(),
                steps ? mlt_properties_get_int(inRequest.mProperties, "steps") : 5);
        mAnalysis.reset();
    }
    if (!at) return std::nullopt;
    return at->mRect;
}

void RegionService::EndPreview(const Request& inRequest) {
    const std::scoped_lock lock(mMutex);
    if (!mAnalysis) return;
    mAnalysis.reset();
    mlt_properties_set(inRequest.mProperties, "state", nullptr);
}

std::optional<descriptor::Rect> RegionService::Known(const Request& inRequest, int inPosition) {
    Request request = inRequest;
    request.mPosition = inPosition;
    if (const auto result = ResultAt(request)) return result;
    const std::scoped_lock lock(mMutex);
    if (const auto result = ResultAt(request)) return result;
    const auto at = mAnalysis ? mAnalysis->At(inPosition) : std::nullopt;
    if (!at) return std::nullopt;
    return at->mRect;
}

std::vector<descriptor::KeyFrame> RegionService::DefaultKeys(const Request& inRequest,
                                                             const Picture&) {
    return KeysOf(inRequest, "results");
}

}  // namespace descriptor_mlt
