#include "Service.h"

#include <exception>
#include <utility>

namespace descriptor_mlt {

mlt_filter Service::Wrap(std::unique_ptr<Service> inService) {
    const mlt_filter filter = mlt_filter_new();
    if (!filter) return nullptr;
    filter->process = [](mlt_filter inFilter, mlt_frame ioFrame) {
        mlt_frame_push_service(ioFrame, inFilter);
        mlt_frame_push_get_image(ioFrame, &Service::GetImage);
        return ioFrame;
    };
    filter->child = inService.get();
    // A name that begins so is not saved with a project.
    mlt_properties_set_data(
        MLT_FILTER_PROPERTIES(filter), "_descriptor_service", inService.release(), 0,
        [](void* inPointer) { delete static_cast<Service*>(inPointer); }, nullptr);
    return filter;
}

int Service::GetImage(mlt_frame ioFrame, std::uint8_t** outImage, mlt_image_format* ioFormat,
                      int* ioWidth, int* ioHeight, int) {
    const auto filter = static_cast<mlt_filter>(mlt_frame_pop_service(ioFrame));
    auto& service = *static_cast<Service*>(filter->child);
    const mlt_profile profile = mlt_service_profile(MLT_FILTER_SERVICE(filter));
    // Who asks for no format wants to know what there is, before there is a profile even.
    if (*ioFormat == mlt_image_none || !profile)
        return mlt_frame_get_image(ioFrame, outImage, ioFormat, ioWidth, ioHeight, 0);

    Request request{filter,
                    MLT_FILTER_PROPERTIES(filter),
                    static_cast<int>(mlt_filter_get_position(filter, ioFrame)),
                    static_cast<int>(mlt_filter_get_length2(filter, ioFrame)),
                    {profile->width, profile->height}};
    // Kdenlive counts key frames by the frames of the source, and analyses a part alone.
    if (mlt_properties_get_int(request.mProperties, "source_positions"))
        request.mKeyOffset =
            static_cast<int>(mlt_frame_original_position(ioFrame)) - request.mPosition;
    *ioFormat = service.Format(request, *ioFormat);
    Picture picture;
    const int error = picture.Get(ioFrame, outImage, ioFormat, ioWidth, ioHeight);
    if (error) return error;
    try {
        service.Work(request, picture);
    } catch (const std::exception& problem) {
        service.Say(request, problem.what());
    }
    return 0;
}

std::string Service::MissingFrame(int inPosition) {
    return "analysis: frame " + std::to_string(inPosition) +
           " has not come, but frames far behind it; the analysis waits for it, and writes no "
           "results without it. Play from the first frame on, and without dropping frames "
           "(real_time=-1)";
}

void Service::Say(const Request& inRequest, const std::string& inText) {
    const std::scoped_lock lock(mSaying);
    if (mSaid.insert(inText).second)
        mlt_log_warning(MLT_FILTER_SERVICE(inRequest.mFilter), "%s\n", inText.c_str());
}

}  // namespace descriptor_mlt
