// KindTable: what the tests know about each kind, in one row. Suites over all kinds, the
// run with many threads and the list of scenarios are taken from it, so that a kind without
// a row is an error of the compiler.

#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <ostream>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "ClassIDs.h"
#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"
#include "ColourPyramid/ColourPyramidDescriptorWorkerItem.h"
#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "DP/IKLTDescriptor.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"
#include "Support/Images.h"
#include "Support/Textures.h"
#include "Support/WideStrings.h"

namespace Testing {

using ItemRef = DP::Ref<DP::IDescriptorWorkerItem>;
using DataRef = DP::Ref<DP::IDescriptorData>;

/// Identifiers of an object: its interface (all zero for none of its own) and its class.
struct KindNames {
    TVK::InterfaceID mInterface;
    TVK::InterfaceID mClass;
};

/// The blocks of memory that a result consists of; empty for one that holds none.
using Payload = std::vector<std::span<std::byte>>;

struct KindRow {
    std::string mName;
    DP::DescriptorDataType mType{};
    KindNames mData;
    KindNames mItem;
    /// The scenarios that run it at its smallest.
    std::vector<std::string> mScenarios;
    std::function<DP::Ref<DP::IDescriptorProperty>()> mMakeProperty{};
    std::function<DP::Ref<DP::IDescriptorDataKey>(long long)> mMakeKey{};
    /// Gives the inputs of one frame to an item of the kind, and none of a frame before.
    std::function<void(const ItemRef&)> mSetInputs{};
    /// None for a kind that does not clone.
    std::function<Payload(const DataRef&)> mPayloadOf{};
};

inline void PrintTo(const KindRow& inRow, std::ostream* outStream) {
    *outStream << inRow.mName;
}

// ---- Inputs --------------------------------------------------------------------------

inline constexpr int kKindCols = 64;
inline constexpr int kKindRows = 48;

inline const std::vector<unsigned char>& ColourFrame() {
    static const auto sFrame = NoiseBytes(kKindCols * kKindRows * 4 + 1, 21);
    return sFrame;
}
inline const std::vector<unsigned char>& GreyBytes() {
    static const auto sFrame = TexturedBytes(kKindCols, kKindRows, 0, 0);
    return sFrame;
}
inline const std::vector<float>& GreyFloats() {
    static const auto sFrame = TexturedFrame(kKindCols, kKindRows, 0, 0);
    return sFrame;
}
/// One stroke pixel.
inline IP::ImagePtr<unsigned char> StrokeAt(int inX, int inY) {
    std::vector<unsigned char> pixels(std::size_t(kKindCols * kKindRows), 0);
    pixels[std::size_t(inY * kKindCols + inX)] = 255;
    return ImageOf(kKindCols, kKindRows, pixels);
}
inline DP::RegionPtr RegionAt(const TVK::ParamRect<float>& inRect) {
    return TVK::MakeObject<TVK::ParamRect<float>>(inRect);
}
inline DP::Ref<DP::IDescriptorDataKey> PlainKey(long long inFrame) {
    return DP::CreateDescriptorDataKey(Wide("clip"), inFrame, kKindRows, kKindCols);
}

// ---- Payloads ------------------------------------------------------------------------

template <class T>
std::span<std::byte> BytesOf(T* inBegin, std::size_t inCount) {
    return std::as_writable_bytes(std::span(inBegin, inCount));
}
template <class Pixel>
Payload PayloadOfImage(const IP::ImagePtr<Pixel>& inImage) {
    if (inImage == NULL) return {};
    return {BytesOf(inImage->GetData(),
                    std::size_t(inImage->GetColumns()) * std::size_t(inImage->GetRows()))};
}
template <class List>
Payload PayloadOfList(const TVK::ObjectPtr<List>& inList) {
    if (inList == NULL) return {};
    return {BytesOf(inList->data(), inList->size())};
}

// ---- The rows ------------------------------------------------------------------------

template <class Interface, class Class>
constexpr KindNames NamesOf() {
    return {TVK::kIdentifierOf<Interface>, TVK::kIdentifierOf<Class>};
}
template <class Class>
constexpr KindNames NamesOf() {
    return {{}, TVK::kIdentifierOf<Class>};
}

/// A kind with a plain property and a plain key.
inline KindRow PlainRow(std::string inName, DP::DescriptorDataType inType, KindNames inData,
                        KindNames inItem, std::vector<std::string> inScenarios) {
    KindRow row{inName, inType, inData, inItem, inScenarios};
    row.mMakeProperty = [inType] {
        return DP::CreateDescriptorProperty(Wide("clip"), inType);
    };
    row.mMakeKey = PlainKey;
    return row;
}

inline KindRow KLTRow() {
    using namespace DP;
    KindRow row = PlainRow(
        "KLT", kDescriptorDataTypeKLT, NamesOf<IKLTDescriptorData, KLTDescriptorData>(),
        NamesOf<IKLTDescriptorWorkerItem, KLTDescriptorWorkerItem>(), {"klt/small"});
    row.mMakeProperty = [] {
        return CreateKLTDescriptorProperty(20, 1, 10, 10, Wide("clip"), kDescriptorDataTypeKLT);
    };
    row.mMakeKey = [](long long inFrame) {
        return CreateKLTDescriptorDataKey(Wide("clip"), inFrame, 1, 20, kKindRows, kKindCols,
                                          10, 10);
    };
    row.mSetInputs = [](const ItemRef& inItem) {
        Ref<IKLTDescriptorWorkerItem>(inItem)->SetInputImages(
            nullptr, ImageOf(kKindCols, kKindRows, GreyBytes()), nullptr);
    };
    row.mPayloadOf = [](const DataRef& inData) {
        return PayloadOfList(Ref<IKLTDescriptorData>(inData)->GetFeatureList());
    };
    return row;
}

inline KindRow APTRow() {
    using namespace DP;
    KindRow row = PlainRow("APT", kDescriptorDataTypeAPT,
                           NamesOf<IAPTDescriptorData, APTDescriptorData>(),
                           NamesOf<IAPTDescriptorWorkerItem, APTDescriptorWorkerItem>(),
                           {"apt/small", "tracker/64x48"});
    row.mMakeProperty = [] {
        return CreateAPTDescriptorProperty(20, 0, 5, 10, Wide("clip"), kDescriptorDataTypeAPT,
                                           0.0f, 0);
    };
    row.mMakeKey = [](long long inFrame) {
        return CreateAPTDescriptorDataKey(Wide("clip"), inFrame, 0, 20, kKindRows, kKindCols, 5,
                                          10, 0.0f, 0);
    };
    row.mSetInputs = [](const ItemRef& inItem) {
        Ref<IAPTDescriptorWorkerItem>(inItem)->SetInputs(
            nullptr, ImageOf(kKindCols, kKindRows, GreyFloats()), nullptr, kKindCols,
            kKindRows);
    };
    row.mPayloadOf = [](const DataRef& inData) {
        return PayloadOfList(Ref<IAPTDescriptorData>(inData)->GetFeatures());
    };
    return row;
}

template <class Item>
void SetColourFrame(const ItemRef& inItem) {
    DP::Ref<Item>(inItem)->SetInputImage(ColourFrame().data(), kKindRows, kKindCols,
                                         kKindCols * 4);
}

inline KindRow GreyImageRow() {
    using namespace DP;
    KindRow row =
        PlainRow("GreyImage", kDescriptorDataTypeGreyImage,
                 NamesOf<IGreyImageDescriptorData, GreyImageDescriptorData>(),
                 NamesOf<IGreyImageDescriptorWorkerItem, GreyImageDescriptorWorkerItem>(),
                 {"grey/33x17"});
    row.mSetInputs = SetColourFrame<IGreyImageDescriptorWorkerItem>;
    row.mPayloadOf = [](const DataRef& inData) {
        return PayloadOfImage(Ref<IGreyImageDescriptorData>(inData)->GetGreyImageData());
    };
    return row;
}

inline KindRow FloatGreyImageRow() {
    using namespace DP;
    KindRow row = PlainRow(
        "FloatGreyImage", kDescriptorDataTypeFloatGreyImage,
        NamesOf<IFloatGreyImageDescriptorData, FloatGreyImageDescriptorData>(),
        NamesOf<IFloatGreyImageDescriptorWorkerItem, FloatGreyImageDescriptorWorkerItem>(),
        {"float-grey/33x17"});
    row.mSetInputs = SetColourFrame<IFloatGreyImageDescriptorWorkerItem>;
    row.mPayloadOf = [](const DataRef& inData) {
        return PayloadOfImage(
            Ref<IFloatGreyImageDescriptorData>(inData)->GetFloatGreyImageData());
    };
    return row;
}

inline KindRow GraphCutRow() {
    using namespace DP;
    KindRow row =
        PlainRow("GraphCut", kDescriptorDataTypeGraphCut,
                 NamesOf<IGraphCutDescriptorData, GraphCutDescriptorData>(),
                 NamesOf<IGraphCutDescriptorWorkerItem, GraphCutDescriptorWorkerItem>(),
                 {"graph-cut/one-row", "graph-cut/brief"});
    row.mSetInputs = [](const ItemRef& inItem) {
        Ref<IGraphCutDescriptorWorkerItem>(inItem)->SetInputs(
            ColourFrame().data(), kKindCols * 4, StrokeAt(10, 10), StrokeAt(50, 40), nullptr);
    };
    row.mPayloadOf = [](const DataRef& inData) {
        return PayloadOfImage(Ref<IGraphCutDescriptorData>(inData)->GetLabelImage());
    };
    return row;
}

inline KindRow ImagePyramidRow() {
    using namespace DP;
    KindRow row = PlainRow("ImagePyramid", kDescriptorDataTypeImagePyramid,
                           NamesOf<ImagePyramidDescriptorData>(),
                           NamesOf<ImagePyramidDescriptorWorkerItem>(), {"image-pyramid/odd"});
    row.mMakeKey = [](long long inFrame) {
        return CreateImagePyramidDescriptorDataKey(Wide("clip"), inFrame, 1.0f, 0.7f, 0.9f, 4,
                                                   2, kKindCols, kKindRows);
    };
    row.mSetInputs = [](const ItemRef& inItem) {
        Ref<ImagePyramidDescriptorWorkerItem>(inItem)->SetPyramidImage(GreyBytes().data());
    };
    return row;
}

inline KindRow ColourPyramidRow() {
    using namespace DP;
    KindRow row =
        PlainRow("ColourPyramid", kDescriptorDataTypeColourPyramid,
                 NamesOf<ColourPyramidDescriptorData>(),
                 NamesOf<ColourPyramidDescriptorWorkerItem>(), {"colour-pyramid/64x33"});
    row.mMakeKey = [](long long inFrame) {
        return CreateColourPyramidDescriptorDataKey(Wide("clip"), inFrame, kKindRows, kKindCols,
                                                    0, 2, 1);
    };
    row.mSetInputs = [](const ItemRef& inItem) {
        Ref<ColourPyramidDescriptorWorkerItem>(inItem)->SetCurrImage(GreyFloats().data());
    };
    return row;
}

inline KindRow RegionTrackerRow() {
    using namespace DP;
    const auto region = [] {
        return RegionAt({8, 8, 56, 40});
    };
    KindRow row = PlainRow(
        "RegionTracker", kDescriptorDataTypeRegionTracker,
        NamesOf<IRegionTrackerDescriptorData, RegionTrackerDescriptorData>(),
        NamesOf<IRegionTrackerDescriptorWorkerItem, RegionTrackerDescriptorWorkerItem>(),
        {"region/brief"});
    row.mMakeProperty = [=] {
        return CreateRegionTrackerDescriptorProperty(20, 0, 5, 10, Wide("clip"), region(), 0,
                                                     kDescriptorDataTypeRegionTracker);
    };
    row.mMakeKey = [=](long long inFrame) {
        return CreateRegionTrackerDescriptorDataKey(Wide("clip"), inFrame, 0, 20, kKindRows,
                                                    kKindCols, region(), 0, 5, 10);
    };
    row.mSetInputs = [=](const ItemRef& inItem) {
        Ref<IRegionTrackerDescriptorWorkerItem>(inItem)->SetInputs(
            nullptr, ImageOf(kKindCols, kKindRows, GreyFloats()),
            CreateRegionDescriptorData(region()), kKindCols, kKindRows);
    };
    row.mPayloadOf = [](const DataRef& inData) {
        Payload payload = PayloadOfList(Ref<IAPTDescriptorData>(inData)->GetFeatures());
        const auto held = Ref<IRegionTrackerDescriptorData>(inData)->GetRegion();
        if (held != NULL) payload.push_back(BytesOf(held.Get(), 1));
        return payload;
    };
    return row;
}

/// Row i is that of kind i.
inline const auto& KindTable() {
    static const std::array sRows = {
        KLTRow(),      APTRow(),          GreyImageRow(),     FloatGreyImageRow(),
        GraphCutRow(), ImagePyramidRow(), ColourPyramidRow(), RegionTrackerRow()};
    static_assert(std::tuple_size_v<decltype(sRows)> == DP::kDescriptorDataTypeCount);
    return sRows;
}

}  // namespace Testing
