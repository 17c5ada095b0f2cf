// HidesName: a class that one of its bases' names does not lead to.

#pragma once

#include "TVK/Object.h"

namespace DP {

/// As `TVK::Object`, but that a query by the name of `Hidden`, a base of `Base`, finds nothing:
/// the region's property and key are no plain ones. By the name of APT's they are found.
template <class Class, class Base, class Hidden>
class HidesName : public TVK::Object<Class, Base> {
public:
    TVK::TVKResult QueryInterfaceNoAddRef(const TVK::InterfaceID& inID,
                                          void** outObject) override {
        if (inID != TVK::kIdentifierOf<Hidden>)
            return TVK::Object<Class, Base>::QueryInterfaceNoAddRef(inID, outObject);
        *outObject = nullptr;
        return TVK::kTVKErrorNoInterface;
    }
};

}  // namespace DP
