#include <algorithm>
#include <memory>

#include "Filters.h"
#include "Paint.h"
#include "RegionService.h"

namespace descriptor_mlt {
namespace {

class TrackerFilter final : public RegionService {
public:
    mlt_image_format Format(const Request& inRequest,
                            mlt_image_format inWanted) const override {
        const Hiding hiding = HidingOf(inRequest);
        return hiding == Hiding::none || hiding == Hiding::fill ? inWanted : mlt_image_rgba;
    }

    void Work(const Request& inRequest, Picture& ioPicture) override {
        const auto found = Locate(inRequest, ioPicture);
        if (!found) return;
        const mlt_properties properties = inRequest.mProperties;
        const descriptor::Rect rect = Rescaled(*found, inRequest.mProfile, ioPicture.Size());
        const double scale = double(ioPicture.Width()) / inRequest.mProfile.mWidth;
        const auto shape =
            static_cast<Shape>(std::clamp(mlt_properties_get_int(properties, "shape"), 0, 2));
        const mlt_color colour = mlt_properties_get_color(properties, "shape_color");
        const int blur = mlt_properties_get_int(properties, "blur");
        Hide(ioPicture, rect, shape, std::max(1, int(std::min(blur, 200) * scale)),
             HidingOf(inRequest), colour);
        const double width = mlt_properties_get_int(properties, "shape_width");
        DrawShape(ioPicture, rect, shape, width > 0 ? std::max(1.0, width * scale) : width,
                  colour);
    }

private:
    static Hiding HidingOf(const Request& inRequest) {
        if (mlt_properties_get_int(inRequest.mProperties, "blur") <= 0) return Hiding::none;
        return static_cast<Hiding>(
            std::clamp(mlt_properties_get_int(inRequest.mProperties, "blur_type"), 0, 4));
    }
};

}  // namespace

mlt_filter MakeTracker() {
    const mlt_filter filter = Service::Wrap(std::make_unique<TrackerFilter>());
    if (!filter) return nullptr;
    const mlt_properties properties = MLT_FILTER_PROPERTIES(filter);
    mlt_properties_set_int(properties, "shape_width", 1);
    mlt_properties_set(properties, "shape_color", "0xffffffff");
    mlt_properties_set_int(properties, "steps", 5);
    return filter;
}

}  // namespace descriptor_mlt
