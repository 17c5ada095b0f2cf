// RegionService: a filter that knows where a rectangle is in each frame.

#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "RegionAnalysis.h"
#include "Service.h"

namespace descriptor_mlt {

/// Its properties: `rect`, `backward` and `steps` go in, `results` and `state` come out.
class RegionService : public Service {
protected:
    /// Where the rectangle is: from `results` where an analysis has run, else as far as the
    /// frames that were there let it follow.
    std::optional<descriptor::Rect> Locate(const Request& inRequest, const Picture& inPicture);

    /// The same for any position, without a look at a picture.
    std::optional<descriptor::Rect> Known(const Request& inRequest, int inPosition);

    /// The key frames to begin with where `rect` has none.
    virtual std::vector<descriptor::KeyFrame> DefaultKeys(const Request& inRequest,
                                                          const Picture& inPicture);

private:
    /// Editors analyse in a copy of the filter, and set `results` of the one that is seen.
    void EndPreview(const Request& inRequest);

    std::mutex mMutex;
    std::optional<RegionAnalysis> mAnalysis;  // while one is under way
};

}  // namespace descriptor_mlt
