// Worker items of the tests' own, to see and to steer what a computer does with an item.

#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "DescriptorObjects.h"

namespace Testing {

/// Data that says how many of its class are alive.
class CountedData;

/// An item whose computation is a function of the test's.
class ScriptedItem;

}  // namespace Testing

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Testing::CountedData>{0x7e57, 1};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Testing::ScriptedItem>{0x7e57, 2};

namespace Testing {

class CountedData : public TVK::Object<CountedData, DP::DescriptorData> {
public:
    CountedData() { ++sAlive; }
    ~CountedData() override { --sAlive; }

    unsigned int GetDataSize() override { return mSize; }

    static DP::Ref<DP::IDescriptorData> Make(unsigned int inSize = 1) {
        auto data = Create();
        data->mSize = inSize;
        return data;
    }
    static int Alive() { return sAlive.load(); }

private:
    unsigned int mSize = 0;
    static inline std::atomic<int> sAlive{0};
};

class ScriptedItem : public TVK::Object<ScriptedItem, DP::DescriptorWorkerItem> {
public:
    using Script = std::function<DP::Ref<DP::IDescriptorData>()>;

    ScriptedItem() { ++sAlive; }
    ~ScriptedItem() override { --sAlive; }

    DP::Ref<DP::IDescriptorData> ComputeData() override { return mScript(); }

    static DP::Ref<DP::IDescriptorWorkerItem> Make(DP::Ref<DP::IDescriptorDataKey> inKey,
                                                   Script inScript) {
        auto item = Create();
        item->mScript = std::move(inScript);
        item->SetDataKey(inKey);
        return item;
    }
    static int Alive() { return sAlive.load(); }

private:
    Script mScript;
    static inline std::atomic<int> sAlive{0};
};

}  // namespace Testing
