// Keys of one class: the order of the caches' maps. Two keys are equivalent if and only if
// all members are equal that count, and the order is a strict weak one. Keys with a NaN, and
// keys of two classes, have no order to speak of: for them it must only answer.

#include <cmath>
#include <limits>
#include <tuple>

#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"
#include "DP/DescriptorFactory.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"

namespace {

using DP::IDescriptorDataKey;
using DP::Ref;
using Fuzz::Input;
using Fuzz::Require;

constexpr int kClasses = 6;

struct Key {
    Ref<IDescriptorDataKey> mKey;
    std::tuple<long long, int, int, quillet::WideString> mPlain;
    std::tuple<unsigned, int, unsigned, unsigned, int> mWhole;  // of the kind; unused ones 0
    std::tuple<float, float, float, float> mReal;
    bool mHasNaN = false;
};

quillet::WideString ReadName(Input& ioInput) {
    quillet::WideString name(static_cast<std::size_t>(ioInput.Between(0, 11)), u'a');
    if (!name.empty()) name.back() = static_cast<char16_t>(ioInput.Whole<std::uint16_t>());
    return name;
}

Key ReadKey(Input& ioInput, int inClass) {
    const auto frame = ioInput.Whole<long long>();
    const int rows = ioInput.Whole<int>(), cols = ioInput.Whole<int>();
    const auto a = ioInput.Whole<unsigned>(), b = ioInput.Whole<unsigned>(),
               c = ioInput.Whole<unsigned>();
    const int d = ioInput.Whole<int>(), e = ioInput.Whole<int>();
    const float f[] = {ioInput.Float(), ioInput.Float(), ioInput.Float(), ioInput.Float()};
    const quillet::WideString name = ReadName(ioInput);

    Key key{{}, {frame, rows, cols, name}, {}, {}, false};
    const auto region =
        TVK::MakeObject<TVK::ParamRect<float>>(TVK::ParamRect<float>{f[0], f[1], f[2], f[3]});
    switch (inClass) {
        case 0:
            key.mKey = DP::CreateDescriptorDataKey(name, frame, rows, cols);
            break;
        case 1:
            key.mKey = DP::CreateKLTDescriptorDataKey(name, frame, d, a, rows, cols, b, c);
            key.mWhole = {a, d, b, c, 0};
            break;
        case 2:  // the limit and the check by reference do not tell keys apart
            key.mKey = DP::CreateAPTDescriptorDataKey(name, frame, d, a, rows, cols, b, c, f[0],
                                                      static_cast<unsigned>(e));
            key.mWhole = {a, d, b, c, 0};
            break;
        case 3:
            key.mKey = DP::CreateRegionTrackerDescriptorDataKey(name, frame, d, a, rows, cols,
                                                                region, e, b, c);
            key.mWhole = {a, d, b, c, e};
            key.mReal = {f[0], f[1], f[2], f[3]};
            break;
        case 4:
            key.mKey = DP::CreateImagePyramidDescriptorDataKey(name, frame, f[0], f[1], f[2], d,
                                                               e, cols, rows);
            key.mWhole = {0, d, 0, 0, e};
            key.mReal = {f[0], f[1], f[2], 0.0f};
            break;
        default:
            key.mKey =
                DP::CreateColourPyramidDescriptorDataKey(name, frame, rows, cols, a, b, c);
            key.mWhole = {a, 0, b, c, 0};
    }
    for (const float value : {std::get<0>(key.mReal), std::get<1>(key.mReal),
                              std::get<2>(key.mReal), std::get<3>(key.mReal)})
        key.mHasNaN = key.mHasNaN || std::isnan(value);
    return key;
}

bool IsLess(const Key& inLeft, const Key& inRight) {
    return DP::DataKeyLess{}(inLeft.mKey, inRight.mKey);
}

bool IsEquivalent(const Key& inLeft, const Key& inRight) {
    return !IsLess(inLeft, inRight) && !IsLess(inRight, inLeft);
}

void CheckOrder(const Key& inA, const Key& inB, const Key& inC) {
    Require(!IsLess(inA, inA), "irreflexive");
    Require(!IsLess(inA, inB) || !IsLess(inB, inA), "asymmetric");
    if (IsLess(inA, inB) && IsLess(inB, inC)) Require(IsLess(inA, inC), "transitive");
    if (IsEquivalent(inA, inB) && IsEquivalent(inB, inC))
        Require(IsEquivalent(inA, inC), "equivalence is transitive");
    const bool isEqual =
        inA.mPlain == inB.mPlain && inA.mWhole == inB.mWhole && inA.mReal == inB.mReal;
    Require(IsEquivalent(inA, inB) == isEqual, "equivalent if equal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    Input input(inData, inSize);
    const int kind = input.Between(0, kClasses - 1);
    const int other = input.Byte() < 0xf0 ? kind : input.Between(0, kClasses - 1);
    // The third key repeats one of the others, up to what the input changes behind it.
    const Input start = input;
    const Key a = ReadKey(input, kind);
    Input again = input.Flag() ? start : input;
    const Key b = ReadKey(input, other);
    const Key c = ReadKey(again, kind);

    if (other == kind && !a.mHasNaN && !b.mHasNaN && !c.mHasNaN) {
        CheckOrder(a, b, c);
        CheckOrder(c, a, b);
        CheckOrder(b, c, a);
        return 0;
    }
    for (const Key* const left : {&a, &b, &c})
        for (const Key* const right : {&a, &b, &c})
            Fuzz::ComesThrough([&] { IsLess(*left, *right); });
    return 0;
}
