#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Filters.h"
#include "RegionService.h"
#include "Results.h"
#include "descriptor/strokes_json.h"

namespace descriptor_mlt {
namespace {

// From one rectangle to another, corner to corner.
class Carry {
public:
    Carry(const descriptor::Rect& inFrom, const descriptor::Rect& inTo)
        : mFrom(inFrom),
          mTo(inTo),
          mScaleX(inTo.width / inFrom.width),
          mScaleY(inTo.height / inFrom.height) {}

    // Positions count from the middle of the first pixel, rectangles from its corner.
    descriptor::Stroke operator()(descriptor::Stroke inStroke) const {
        for (descriptor::Position& point : inStroke.path) {
            point.x = mTo.x + (point.x + 0.5 - mFrom.x) * mScaleX - 0.5;
            point.y = mTo.y + (point.y + 0.5 - mFrom.y) * mScaleY - 0.5;
        }
        inStroke.radius = std::clamp(inStroke.radius * (mScaleX + mScaleY) / 2, 0.5, 10000.0);
        return inStroke;
    }

private:
    descriptor::Rect mFrom;
    descriptor::Rect mTo;
    double mScaleX;
    double mScaleY;
};

class SelectFilter final : public RegionService {
public:
    mlt_image_format Format(const Request&, mlt_image_format) const override {
        return mlt_image_rgba;
    }

    void Work(const Request& inRequest, Picture& ioPicture) override {
        const auto file = StrokesOf(inRequest);
        if (!file) return;
        const auto here = Locate(inRequest, ioPicture);
        const auto there =
            Known(inRequest, mlt_properties_get_int(inRequest.mProperties, "strokes_at") -
                                 inRequest.mKeyOffset);
        if (!here || !there) return;
        const Size drawn{file->width, file->height};
        const Carry carry(Rescaled(*there, inRequest.mProfile, drawn),
                          Rescaled(*here, inRequest.mProfile, ioPicture.Size()));
        std::vector<descriptor::Strokes> history = file->history;
        for (descriptor::Strokes& strokes : history)
            std::transform(strokes.begin(), strokes.end(), strokes.begin(), carry);
        descriptor::Selection selection(ioPicture.Colours(), {.take_turns = true});
        selection.replace(history);
        Apply(selection.mask(), mlt_properties_get_int(inRequest.mProperties, "invert") != 0,
              ioPicture);
    }

protected:
    // The box of the strokes for the foreground: what they touch is followed.
    std::vector<descriptor::KeyFrame> DefaultKeys(const Request& inRequest,
                                                  const Picture&) override {
        const auto file = StrokesOf(inRequest);
        if (!file) return {};
        double left = 1e9, top = 1e9, right = -1e9, bottom = -1e9;
        for (const descriptor::Strokes& strokes : file->history)
            for (const descriptor::Stroke& stroke : strokes) {
                if (stroke.label != descriptor::Label::foreground) continue;
                for (const descriptor::Position& point : stroke.path) {
                    left = std::min(left, point.x - stroke.radius);
                    top = std::min(top, point.y - stroke.radius);
                    right = std::max(right, point.x + stroke.radius);
                    bottom = std::max(bottom, point.y + stroke.radius);
                }
            }
        if (left > right) return {};
        return {
            {mlt_properties_get_int(inRequest.mProperties, "strokes_at") - inRequest.mKeyOffset,
             Rescaled({left, top, right - left + 1, bottom - top + 1},
                      {file->width, file->height}, inRequest.mProfile)}};
    }

private:
    static std::optional<descriptor::StrokeFile> StrokesOf(const Request& inRequest) {
        const char* text = mlt_properties_get(inRequest.mProperties, "strokes");
        if (!text || !*text) return std::nullopt;
        return descriptor::strokes_from_json(text);
    }

    static void Apply(const descriptor::Frame& inMask, bool inIsInverted,
                      const Picture& ioPicture) {
        for (int y = 0; y < inMask.height; ++y) {
            const std::uint8_t* mask = inMask.row(y);
            std::uint8_t* row = ioPicture.Row(y);
            for (int x = 0; x < inMask.width; ++x)
                if ((mask[x] != 0) == inIsInverted) row[4 * x + 3] = 0;
        }
    }
};

}  // namespace

mlt_filter MakeSelect() {
    const mlt_filter filter = Service::Wrap(std::make_unique<SelectFilter>());
    if (filter) mlt_properties_set_int(MLT_FILTER_PROPERTIES(filter), "steps", 1);
    return filter;
}

}  // namespace descriptor_mlt
