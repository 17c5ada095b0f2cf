// What MLT calls when it opens the module: which filters there are, and what they say of
// themselves.

#include <framework/mlt.h>

#include <exception>
#include <string>

#include "Filters.h"

namespace {

using Maker = mlt_filter (*)();

template <Maker kMake>
void* Make(mlt_profile, mlt_service_type, const char*, const void*) {
    try {
        return kMake();
    } catch (const std::exception&) {  // without memory
        return nullptr;
    }
}

mlt_properties Describe(mlt_service_type, const char*, void* inFile) {
    std::string path(mlt_environment("MLT_DATA"));
    path.append("/descriptor/filter_").append(static_cast<const char*>(inFile)).append(".yml");
    return mlt_properties_parse_yaml(path.c_str());
}

template <Maker kMake>
void Enter(mlt_repository ioRepository, const char* inName, const char* inDescribedAs) {
    mlt_repository_register(ioRepository, mlt_service_filter_type, inName, &Make<kMake>);
    mlt_repository_register_metadata(ioRepository, mlt_service_filter_type, inName, &Describe,
                                     const_cast<char*>(inDescribedAs));
}

template <Maker kMake>
void Enter(mlt_repository ioRepository, const char* inName) {
    Enter<kMake>(ioRepository, inName, inName);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void mlt_register(mlt_repository repository) {
    using namespace descriptor_mlt;
    Enter<&MakeTracker>(repository, "descriptor.tracker");
    Enter<&MakePoints>(repository, "descriptor.points");
    Enter<&MakeSelect>(repository, "descriptor.select");
    // Projects and effects made for MLT's own tracker work where its module is missing. Where
    // it is there it keeps its name: it has it already, or takes it when it is opened.
    if (!mlt_properties_get_data(mlt_repository_filters(repository), "opencv.tracker", nullptr))
        Enter<&MakeTracker>(repository, "opencv.tracker", "descriptor.tracker");
}
