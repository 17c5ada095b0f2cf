#include "Results.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <memory>

namespace descriptor_mlt {
namespace {

struct CloseProperties {
    void operator()(mlt_properties inProperties) const { mlt_properties_close(inProperties); }
};
using Properties = std::unique_ptr<mlt_properties_s, CloseProperties>;

// Animations are there once somebody has asked for a value.
mlt_animation AnimationOf(const Request& inRequest, const char* inName) {
    if (!mlt_properties_get(inRequest.mProperties, inName)) return nullptr;
    mlt_properties_anim_get_rect(inRequest.mProperties, inName, 0, inRequest.KeyCount());
    return mlt_properties_get_animation(inRequest.mProperties, inName);
}

bool IsPercent(const Request& inRequest, const char* inName) {
    return std::strchr(mlt_properties_get(inRequest.mProperties, inName), '%') != nullptr;
}

// MLT reads "50%" as 0.5.
descriptor::Rect RectOf(const Request& inRequest, const mlt_rect& inRect, bool inIsPercent) {
    const descriptor::Rect rect{inRect.x, inRect.y, inRect.w, inRect.h};
    return inIsPercent ? Rescaled(rect, {1, 1}, inRequest.mProfile) : rect;
}

// Two digits are enough for a pixel, and short to keep.
double Rounded(double inValue) { return std::round(inValue * 100) / 100; }

}  // namespace

std::vector<descriptor::KeyFrame> KeysOf(const Request& inRequest, const char* inName) {
    std::vector<descriptor::KeyFrame> keys;
    if (!mlt_properties_get(inRequest.mProperties, inName)) return keys;
    const bool isPercent = IsPercent(inRequest, inName);
    const auto add = [&](int inPosition) {
        const mlt_rect rect = mlt_properties_anim_get_rect(inRequest.mProperties, inName,
                                                           inPosition + inRequest.mKeyOffset,
                                                           inRequest.KeyCount());
        if (rect.w > DBL_MIN && rect.h > DBL_MIN)  // MLT's value for a side that is not there
            keys.push_back({inPosition, RectOf(inRequest, rect, isPercent)});
    };
    const mlt_animation animation = AnimationOf(inRequest, inName);
    const int count = animation ? mlt_animation_key_count(animation) : 0;
    for (int i = 0; i < count; ++i) {
        mlt_animation_item_s item{};
        item.property = mlt_property_init();
        const int error = mlt_animation_key_get(animation, &item, i);
        mlt_property_close(item.property);
        if (!error && item.frame >= inRequest.mKeyOffset)
            add(item.frame - inRequest.mKeyOffset);
    }
    if (keys.empty()) add(0);  // a plain rectangle, or one from before this part
    return keys;
}

std::optional<descriptor::Rect> ResultAt(const Request& inRequest) {
    const mlt_animation animation = AnimationOf(inRequest, "results");
    if (!animation) return std::nullopt;
    const int least = std::min(2, inRequest.mCount);
    if (mlt_animation_key_count(animation) < least) return std::nullopt;
    const mlt_rect rect = mlt_properties_anim_get_rect(
        inRequest.mProperties, "results", inRequest.mPosition + inRequest.mKeyOffset,
        inRequest.KeyCount());
    return RectOf(inRequest, rect, IsPercent(inRequest, "results"));
}

void Publish(const Request& inRequest, const std::vector<std::optional<RegionAt>>& inResults,
             int inSteps) {
    // Made aside and set as a whole: another thread must not take half of it for all.
    const Properties work(mlt_properties_new());
    mlt_properties_set_lcnumeric(work.get(),
                                 mlt_properties_get_lcnumeric(inRequest.mProperties));
    const int count = static_cast<int>(inResults.size());
    const auto isKey = [&](int inAt) {
        return inAt < count && inResults[static_cast<std::size_t>(inAt)].value().mIsKey;
    };
    const char* last = "";
    std::string states;
    for (int i = 0; i < count; ++i) {
        const RegionAt& at = inResults[static_cast<std::size_t>(i)].value();
        if (i % std::max(1, inSteps) == 0 || i + 1 == count || isKey(i) || isKey(i + 1))
            mlt_properties_anim_set_rect(work.get(), "results",
                                         {Rounded(at.mRect.x), Rounded(at.mRect.y),
                                          Rounded(at.mRect.width), Rounded(at.mRect.height), 1},
                                         i + inRequest.mKeyOffset, inRequest.KeyCount(),
                                         mlt_keyframe_smooth);
        if (std::strcmp(at.mState, last) != 0)
            states.append(states.empty() ? "" : ";")
                .append(std::to_string(i + inRequest.mKeyOffset))
                .append("|=")
                .append(at.mState);
        last = at.mState;
    }
    mlt_properties_set(inRequest.mProperties, "state", states.c_str());
    mlt_properties_set(inRequest.mProperties, "results",
                       mlt_properties_get(work.get(), "results"));
}

}  // namespace descriptor_mlt
