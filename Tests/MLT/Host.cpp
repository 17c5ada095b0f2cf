#include "Host.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>

// What MLT's decoder leaves behind at each clip.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libmltavformat\nleak:libavutil\n";
}
#endif

namespace Testing {
namespace {

std::mutex gLogMutex;
std::string gLog;

void KeepLog(void*, int inLevel, const char* inFormat, va_list inArguments) {
    if (inLevel > MLT_LOG_WARNING) return;
    std::string text(1000, 0);
    const int length = std::vsnprintf(text.data(), text.size(), inFormat, inArguments);
    text.resize(static_cast<std::size_t>(std::clamp(length, 0, 999)));
    const std::scoped_lock lock(gLogMutex);
    gLog.append(text);
}

}  // namespace

void OpenMlt() {
    static const bool sIsOpen = [] {
        setenv("MLT_DATA", TREE "/data", 1);
        setenv("MLT_PROFILES_PATH", TREE "/data/profiles", 1);
        mlt_log_set_callback(&KeepLog);
        mlt_factory_init(TREE "/modules");
#if defined(__SANITIZE_ADDRESS__)
        // Before MLT ends and unloads its modules: a leak could not be told from theirs after.
        std::atexit(&__lsan_do_leak_check);
#endif
        return true;
    }();
    (void)sIsOpen;
}

std::string TakeLog() {
    const std::scoped_lock lock(gLogMutex);
    return std::exchange(gLog, {});
}

Image RenderOf(mlt_producer inProducer, int inPosition, mlt_image_format inFormat, int inWidth,
               int inHeight) {
    static std::mutex sProducing;
    mlt_frame frame = nullptr;
    {
        const std::scoped_lock lock(sProducing);
        mlt_producer_seek(inProducer, inPosition);
        mlt_service_get_frame(MLT_PRODUCER_SERVICE(inProducer), &frame, 0);
    }
    // Consumers say what they want of a frame; without it nobody would scale.
    mlt_properties_set(MLT_FRAME_PROPERTIES(frame), "consumer.rescale", "bilinear");
    Image image{inWidth, inHeight, {}, {}};
    std::uint8_t* pixels = nullptr;
    mlt_image_format format = inFormat;
    const int error =
        mlt_frame_get_image(frame, &pixels, &format, &image.mWidth, &image.mHeight, 1);
    if (!error && format == inFormat) {
        const int bytes = inFormat == mlt_image_rgba ? 4 : inFormat == mlt_image_rgb ? 3 : 2;
        image.mPixels.assign(pixels,
                             pixels + std::ptrdiff_t{image.mWidth} * image.mHeight * bytes);
    }
    mlt_frame_close(frame);
    return image;
}

Clip::Clip(const std::string& inFilter,
           const std::vector<std::pair<std::string, std::string>>& inProperties,
           int inFramesASecondTimesTwo, int inIn, int inOut) {
    OpenMlt();
    mProfile.reset(mlt_profile_init(nullptr));
    mProfile->width = 768;
    mProfile->height = 432;
    mProfile->progressive = 1;
    mProfile->sample_aspect_num = mProfile->sample_aspect_den = 1;
    mProfile->display_aspect_num = 16;
    mProfile->display_aspect_den = 9;
    mProfile->frame_rate_num = inFramesASecondTimesTwo;
    mProfile->frame_rate_den = 2;
    mProfile->colorspace = 601;
    mProducer.reset(mlt_factory_producer(mProfile.get(), nullptr, CLIP));
    if (inOut >= 0) mlt_producer_set_in_and_out(mProducer.get(), inIn, inOut);
    if (inFilter.empty()) return;
    mFilter.reset(mlt_factory_filter(mProfile.get(), inFilter.c_str(), nullptr));
    for (const auto& [name, value] : inProperties)
        Set(name.c_str(), value);
    mlt_service_attach(MLT_PRODUCER_SERVICE(mProducer.get()), mFilter.get());
}

int Clip::Count() const { return mlt_producer_get_playtime(mProducer.get()); }

Image Clip::Render(int inPosition, mlt_image_format inFormat, int inWidth, int inHeight) {
    return RenderOf(mProducer.get(), inPosition, inFormat,
                    inWidth > 0 ? inWidth : mProfile->width,
                    inHeight > 0 ? inHeight : mProfile->height);
}

void Clip::Play() {
    for (int i = 0; i < Count(); ++i)
        Render(i);
}

void Clip::Consume(int inPauseAt) {
    const Consumer consumer(mlt_factory_consumer(mProfile.get(), "null", nullptr));
    const mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer.get());
    mlt_properties_set_int(properties, "real_time", -1);
    mlt_properties_set_int(properties, "buffer", 1);
    mlt_properties_set_int(properties, "terminate_on_pause", 1);
    std::pair<mlt_producer, int> pause{mProducer.get(), inPauseAt};
    const mlt_listener pauseThere = [](mlt_properties, void* inPause, mlt_event_data inFrame) {
        const auto& [producer, at] = *static_cast<std::pair<mlt_producer, int>*>(inPause);
        if (mlt_frame_get_position(mlt_event_data_to_frame(inFrame)) == at)
            mlt_producer_set_speed(producer, 0);
    };
    mlt_events_listen(properties, &pause, "consumer-frame-show", pauseThere);
    mlt_producer_seek(mProducer.get(), 0);
    mlt_producer_set_speed(mProducer.get(), 1);
    mlt_consumer_connect(consumer.get(), MLT_PRODUCER_SERVICE(mProducer.get()));
    mlt_consumer_start(consumer.get());
    while (!mlt_consumer_is_stopped(consumer.get()))
        std::this_thread::yield();
    mlt_consumer_stop(consumer.get());
}

std::string Clip::Get(const char* inName) const {
    const char* text = mlt_properties_get(MLT_FILTER_PROPERTIES(mFilter.get()), inName);
    return text ? text : "";
}

void Clip::Set(const char* inName, const std::string& inValue) {
    mlt_properties_set(MLT_FILTER_PROPERTIES(mFilter.get()), inName, inValue.c_str());
}

descriptor::Rect Clip::Result(int inPosition) const {
    const mlt_rect rect = mlt_properties_anim_get_rect(MLT_FILTER_PROPERTIES(mFilter.get()),
                                                       "results", inPosition, Count());
    return {rect.x, rect.y, rect.w, rect.h};
}

descriptor::Frame LumaOf(const Image& inImage) {
    const auto bytes = std::make_shared<std::vector<std::uint8_t>>();
    for (std::size_t i = 0; i < inImage.mPixels.size(); i += 2)
        bytes->push_back(inImage.mPixels[i]);
    return {.pixels = bytes->data(),
            .format = descriptor::PixelFormat::grey8,
            .width = inImage.mWidth,
            .height = inImage.mHeight,
            .owner = bytes};
}

}  // namespace Testing
