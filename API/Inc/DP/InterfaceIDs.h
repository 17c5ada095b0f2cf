// The identifiers of the public interfaces. They are binary interface and frozen.
//
// The classes behind the interfaces have rows too, in a table of the library's own; a
// host never asks for a class. Two things about that table show through to a host that
// does: the classes of the grey image and the KLT worker item share one identifier, and
// the region tracker's property and key do not answer to the plain base class.

#pragma once

#include "TVK/InterfaceID.h"
#include "TVK/TVKUnknown.h"

namespace DP {

class IDescriptorProperty;
class IDescriptorDataKey;
class IDescriptorData;
class IGreyImageDescriptorData;
class IFloatGreyImageDescriptorData;
class IKLTDescriptorData;
class IAPTDescriptorData;
class IGraphCutDescriptorData;
class IRegionTrackerDescriptorData;
class IDescriptorWorkerItem;
class IGreyImageDescriptorWorkerItem;
class IFloatGreyImageDescriptorWorkerItem;
class IKLTDescriptorWorkerItem;
class IAPTDescriptorWorkerItem;
class IGraphCutDescriptorWorkerItem;
class IRegionTrackerDescriptorWorkerItem;
class IDescriptorComputer;
class IDescriptorComputerMgr;
class IDescriptorDataCache;
class IDescriptorDataCacheMgr;

}  // namespace DP

namespace TVK {

template <>
inline constexpr InterfaceID kIdentifierOf<DP::IDescriptorProperty>{0x49500afe242f1416,
                                                                    0x19a36e9599958bad};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IDescriptorDataKey>{0x59e2d15364c7a500,
                                                                   0x9a1e40b458151a99};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IDescriptorData>{0x37a788d106762832,
                                                                0xde1b1471320a88ea};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IGreyImageDescriptorData>{0xb600e6129ec04ece,
                                                                         0x9ed89eddd6846325};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IFloatGreyImageDescriptorData>{
    0xfe889fe46f2c7a8c, 0xb930d55d9545f0f3};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IKLTDescriptorData>{0x150c86bd84e0164b,
                                                                   0x990d3cd8381df22f};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IAPTDescriptorData>{0xb5c34e7e77ca4499,
                                                                   0x78f6d82486ea0214};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IGraphCutDescriptorData>{0xb92fa271dbc52933,
                                                                        0x9672be1a7fed0bb9};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IRegionTrackerDescriptorData>{
    0x134b8db4b18fbdb1, 0x1e2ed6cb6470ff1f};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IDescriptorWorkerItem>{0x11f72b0a43c20f56,
                                                                      0x74e752cc93a9b8b6};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IGreyImageDescriptorWorkerItem>{
    0x505bdd8f4ed3d99e, 0x79ded9f207d3b36c};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IFloatGreyImageDescriptorWorkerItem>{
    0x79fa541c228a3129, 0x9e180bf5c37ee1e2};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IKLTDescriptorWorkerItem>{0xd7f336da84c6a400,
                                                                         0xbafaf84bafd838d3};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IAPTDescriptorWorkerItem>{0x7df3bae7d3f28783,
                                                                         0xd38cf73419a7bae4};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IGraphCutDescriptorWorkerItem>{
    0x3f28bbfa4dee94f9, 0x95655d03be61dea4};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IRegionTrackerDescriptorWorkerItem>{
    0xfee7a16b0a6bf830, 0x3c0eea6699181b1d};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IDescriptorComputer>{0xbd3f3fbf902456cf,
                                                                    0x7acfa1b61d3183ab};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IDescriptorComputerMgr>{0x1ff8330c4d719ec7,
                                                                       0x52eb80dca7c35599};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IDescriptorDataCache>{0x5e6833eb0bd47e27,
                                                                     0x98aaeb7cb3140f25};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::IDescriptorDataCacheMgr>{0x9c644f950d5e92c8,
                                                                        0x372c423587a2babd};

}  // namespace TVK
