// The identifiers of the classes, in the order of the whole table. A class is asked for by
// code that needs a member of another object of its own family.
//
// Two rows are not what one would expect, and stay so: the worker items of the grey image
// and of KLT share one identifier, and the KLT computer has no row of its own and answers
// to that of the plain computer. Whoever asks must already know the kind of the object.

#pragma once

#include "DP/InterfaceIDs.h"

namespace DP {

class DescriptorProperty;
class KLTDescriptorProperty;
class APTDescriptorProperty;
class RegionTrackerDescriptorProperty;
class DescriptorDataKey;
class ColourPyramidDescriptorDataKey;
class ImagePyramidDescriptorDataKey;
class KLTDescriptorDataKey;
class APTDescriptorDataKey;
class RegionTrackerDescriptorDataKey;
class DescriptorData;
class GreyImageDescriptorData;
class FloatGreyImageDescriptorData;
class KLTDescriptorData;
class APTDescriptorData;
class GraphCutDescriptorData;
class RegionTrackerDescriptorData;
class ImagePyramidDescriptorData;
class ColourPyramidDescriptorData;
class DescriptorWorkerItem;
class GreyImageDescriptorWorkerItem;
class FloatGreyImageDescriptorWorkerItem;
class KLTDescriptorWorkerItem;
class APTDescriptorWorkerItem;
class GraphCutDescriptorWorkerItem;
class RegionTrackerDescriptorWorkerItem;
class ImagePyramidDescriptorWorkerItem;
class ColourPyramidDescriptorWorkerItem;
class DescriptorComputer;
class APTDescriptorComputer;
class RegionTrackerDescriptorComputer;
class DescriptorComputerMgr;
class DescriptorDataCache;
class DescriptorDataCacheMgr;
class KLTDescriptorComputer;

}  // namespace DP

namespace TVK {

template <>
inline constexpr InterfaceID kIdentifierOf<DP::DescriptorProperty>{0xda118783593942a4,
                                                                   0x1509bb0a9bf13331};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::KLTDescriptorProperty>{0x12e1bc7656670b14,
                                                                      0xf5ec52ed01088475};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::APTDescriptorProperty>{0x3909406c2e416788,
                                                                      0x59ba1b0d5c906158};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::RegionTrackerDescriptorProperty>{
    0x3a095ee82bb29976, 0x5d32fe61985fb4e7};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::DescriptorDataKey>{0x1d8a4eace693ae2d,
                                                                  0x78b4aef73eaabe17};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::ColourPyramidDescriptorDataKey>{
    0x13e783e7eb04b39b, 0x142c836478068577};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::ImagePyramidDescriptorDataKey>{
    0x360df25453fe2e85, 0x3b041641178854f2};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::KLTDescriptorDataKey>{0x35c719c2add9ca88,
                                                                     0x10a154d85ed8abcc};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::APTDescriptorDataKey>{0x59ec8712e8e3574f,
                                                                     0xd0290103855dbf55};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::RegionTrackerDescriptorDataKey>{
    0xf7949b80dcb0b82e, 0x7e704245a4ff91e3};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::DescriptorData>{0x3cd552a09ddbef12,
                                                               0x5350cc1721e52f21};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::GreyImageDescriptorData>{0xf34acb115ee347dd,
                                                                        0x727bf3225fac9cb6};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::FloatGreyImageDescriptorData>{
    0x75927b0fe339d309, 0x53f2f1936e85df08};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::KLTDescriptorData>{0xfcc1c0c8b0cdf20a,
                                                                  0xf07cb5793e7fb97b};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::APTDescriptorData>{0x7b7e8913655c1d15,
                                                                  0x1dcd327f761e07cb};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::GraphCutDescriptorData>{0x5cbe4f50bdbcda98,
                                                                       0xd44a66f4cf25e346};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::RegionTrackerDescriptorData>{0x57e485b6761978dd,
                                                                            0x5f859933fdf0a45f};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::ImagePyramidDescriptorData>{0xd9855162fd0b00ea,
                                                                           0x3e460a9618949a23};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::ColourPyramidDescriptorData>{0x5ea9877af376bc25,
                                                                            0x310a853eec9a72f2};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::DescriptorWorkerItem>{0x7a674d0a5fd11a32,
                                                                     0xbbb3a32acf00377c};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::GreyImageDescriptorWorkerItem>{
    0x4df710cfcdb7d78a, 0xe78d613ee12fd7bc};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::FloatGreyImageDescriptorWorkerItem>{
    0xb4a37b2b926271f2, 0x30b81d7f8e9e7bb8};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::KLTDescriptorWorkerItem>{0x4df710cfcdb7d78a,
                                                                        0xe78d613ee12fd7bc};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::APTDescriptorWorkerItem>{0x5804abbec2b8c1c5,
                                                                        0x71796ac41055ab62};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::GraphCutDescriptorWorkerItem>{
    0xb64b88b0402db603, 0xf5600642060d5a21};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::RegionTrackerDescriptorWorkerItem>{
    0xb0cda0172bac7c60, 0xffdeed7f9f6f4756};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::ImagePyramidDescriptorWorkerItem>{
    0xba9153bde3221553, 0xfb474e95e2f04826};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::ColourPyramidDescriptorWorkerItem>{
    0x76d4d9b1cac733f4, 0x980f951ce3923fcd};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::DescriptorComputer>{0x7e127b35baaa7b43,
                                                                   0xf85a57fc9b3904c1};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::APTDescriptorComputer>{0xdc411c6db644c0fe,
                                                                      0x5e64eff0ad52b3c3};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::RegionTrackerDescriptorComputer>{
    0xddb88d09aca93b03, 0xbfbfc1d9fe279f1a};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::DescriptorComputerMgr>{0x1392e4527ea2fb2b,
                                                                      0xd1a1dbfdf0494dc0};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::DescriptorDataCache>{0x1f6592a5a30abf65,
                                                                    0x33c6a5a5b2b130da};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::DescriptorDataCacheMgr>{0x190da4fc0b39b779,
                                                                       0x7379e36933676dd4};
template <>
inline constexpr InterfaceID kIdentifierOf<DP::KLTDescriptorComputer> =
    kIdentifierOf<DP::DescriptorComputer>;

}  // namespace TVK
