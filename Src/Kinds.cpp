// The table of the kinds, the one file that includes classes of all of them. Makers are
// pointers to functions, so nothing runs when the library is loaded.

#include "Kinds.h"

#include "APT/APTDescriptorComputer.h"
#include "APT/APTDescriptorData.h"
#include "APT/APTDescriptorWorkerItem.h"
#include "ColourPyramid/ColourPyramidDescriptorData.h"
#include "ColourPyramid/ColourPyramidDescriptorWorkerItem.h"
#include "DescriptorComputer.h"
#include "FloatGreyImage/FloatGreyImageDescriptorData.h"
#include "FloatGreyImage/FloatGreyImageDescriptorWorkerItem.h"
#include "GraphCut/GraphCutDescriptorData.h"
#include "GraphCut/GraphCutDescriptorWorkerItem.h"
#include "GreyImage/GreyImageDescriptorData.h"
#include "GreyImage/GreyImageDescriptorWorkerItem.h"
#include "KLTDescriptorComputer.h"
#include "KLTDescriptorData.h"
#include "KLTDescriptorWorkerItem.h"
#include "Pyramid/ImagePyramidDescriptorData.h"
#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"
#include "RegionTracker/RegionTrackerDescriptorComputer.h"
#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "RegionTracker/RegionTrackerDescriptorWorkerItem.h"

namespace DP {
namespace {

template <class Class, class Interface>
Ref<Interface> Make() {
    return Class::Create();
}

Ref<IDescriptorComputer> MakePlainComputer(const Ref<IDescriptorProperty>&) {
    return DescriptorComputer::Create();
}

// `inMakeComputer` is that of the kind's own computer, where it has one.
template <class Data, class Item>
constexpr Kind Row(DescriptorDataType inType, unsigned int inMaxCachedResults,
                   decltype(Kind::mMakeComputer) inMakeComputer = MakePlainComputer) {
    return {inType, Make<Data, IDescriptorData>, Make<Item, IDescriptorWorkerItem>,
            inMakeComputer, inMaxCachedResults};
}

constexpr Kind kKinds[] = {
    Row<KLTDescriptorData, KLTDescriptorWorkerItem>(kDescriptorDataTypeKLT, 500,
                                                    KLTDescriptorComputer::CreateFor),
    Row<APTDescriptorData, APTDescriptorWorkerItem>(kDescriptorDataTypeAPT, 500,
                                                    APTDescriptorComputer::CreateFor),
    Row<GreyImageDescriptorData, GreyImageDescriptorWorkerItem>(kDescriptorDataTypeGreyImage,
                                                                60),
    Row<FloatGreyImageDescriptorData, FloatGreyImageDescriptorWorkerItem>(
        kDescriptorDataTypeFloatGreyImage, 60),
    Row<GraphCutDescriptorData, GraphCutDescriptorWorkerItem>(kDescriptorDataTypeGraphCut, 500),
    Row<ImagePyramidDescriptorData, ImagePyramidDescriptorWorkerItem>(
        kDescriptorDataTypeImagePyramid, 15),
    Row<ColourPyramidDescriptorData, ColourPyramidDescriptorWorkerItem>(
        kDescriptorDataTypeColourPyramid, 15),
    Row<RegionTrackerDescriptorData, RegionTrackerDescriptorWorkerItem>(
        kDescriptorDataTypeRegionTracker, 500, RegionTrackerDescriptorComputer::CreateFor),
};

// A row for each kind, at the place of its number.
constexpr bool IsComplete() {
    int next = 0;
    for (const Kind& kind : kKinds)
        if (kind.mType != next++) return false;
    return next == kDescriptorDataTypeCount;
}
static_assert(IsComplete());

}  // namespace

const Kind* FindKind(DescriptorDataType inType) {
    return inType >= 0 && inType < kDescriptorDataTypeCount ? &kKinds[inType] : nullptr;
}

// Asked by the names of our classes: a host's may have been compiled without what `typeid`
// reads. The region's does not answer to the plain name. One of a host's that hands questions
// on to one of ours answers with an object that is not itself.
bool IsOwnProperty(const Ref<IDescriptorProperty>& inProperty) {
    IDescriptorProperty* const property = inProperty.operator->();
    const auto answers_to = [&](const TVK::InterfaceID& inClass) {
        void* found = nullptr;
        return property->QueryInterfaceNoAddRef(inClass, &found) == TVK::kTVKSuccess &&
               found == property;
    };
    return answers_to(TVK::kIdentifierOf<DescriptorProperty>) ||
           answers_to(TVK::kIdentifierOf<RegionTrackerDescriptorProperty>);
}

}  // namespace DP
