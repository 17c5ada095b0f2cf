// Service: what the filters share of being a filter of MLT.

#pragma once

#include <framework/mlt.h>

#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "Picture.h"
#include "Size.h"

namespace descriptor_mlt {

/// One frame that a filter is asked for.
struct Request {
    mlt_filter mFilter = nullptr;
    mlt_properties mProperties = nullptr;  // of the filter
    int mPosition = 0;                     // from the filter's first frame on
    int mCount = 0;                        // frames that the filter lies on
    Size mProfile;                         // what rectangles are given in
    int mKeyOffset = 0;  // from positions to those that key frames are counted by

    /// The end of the animations, as MLT wants it told.
    int KeyCount() const { return mCount + mKeyOffset; }
};

/// A filter: the state of one instance of it in a project.
///
/// Threads: hosts may ask for several frames at once. Errors: what is thrown is told in MLT's
/// log, each text once for each instance, and the frame passes as it is.
class Service {
public:
    Service() = default;
    virtual ~Service() = default;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Makes the filter that MLT keeps, which owns the service.
    static mlt_filter Wrap(std::unique_ptr<Service> inService);

    /// The format that it wants to work on; what is wanted already where it does not care.
    virtual mlt_image_format Format(const Request&, mlt_image_format inWanted) const {
        return inWanted;
    }
    /// Looks at the picture and paints on it.
    virtual void Work(const Request& inRequest, Picture& ioPicture) = 0;

protected:
    /// What to tell where a frame did not come.
    static std::string MissingFrame(int inPosition);
    /// Tells the user something in MLT's log, as a warning, the first time.
    void Say(const Request& inRequest, const std::string& inText);

private:
    static int GetImage(mlt_frame ioFrame, std::uint8_t** outImage, mlt_image_format* ioFormat,
                        int* ioWidth, int* ioHeight, int inIsWritable);

    std::mutex mSaying;
    std::set<std::string> mSaid;
};

}  // namespace descriptor_mlt
