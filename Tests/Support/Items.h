// Items, data, keys and properties of the tests' own, to see and to steer what is done with
// them.

#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

#include "DescriptorObjects.h"
#include "RegionTracker/HidesName.h"

namespace Testing {

/// Data that says how many of its class are alive.
class CountedData;

/// An item whose computation is a function of the test's.
class ScriptedItem;

/// A key and a property whose comparisons pass a `Crossing`.
class WatchedKey;
class WatchedProperty;

}  // namespace Testing

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Testing::CountedData>{0x7e57, 1};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Testing::ScriptedItem>{0x7e57, 2};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Testing::WatchedKey>{0x7e57, 3};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Testing::WatchedProperty>{0x7e57, 4};

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

/// Sees whether two threads are at one place at the same time. Who passes gives way often,
/// so that one whom no lock holds back comes in as well.
class Crossing {
public:
    void Pass() {
        if (++mInside > 1) mHaveMet = true;
        for (int i = 0; i < 20; ++i)
            std::this_thread::yield();
        --mInside;
    }
    bool HaveMet() const { return mHaveMet; }

private:
    std::atomic<int> mInside{0};
    std::atomic<bool> mHaveMet{false};
};

class WatchedKey : public TVK::Object<WatchedKey, DP::DescriptorDataKey> {
public:
    bool IsLessThan(DP::Ref<DP::IDescriptorDataKey> inKey) override {
        mCrossing->Pass();
        return DescriptorDataKey::IsLessThan(inKey);
    }
    Crossing* mCrossing = nullptr;
};

/// Calls itself equal to every other. It does not answer to the plain name, as no host's class
/// does.
class WatchedProperty
    : public DP::HidesName<WatchedProperty, DP::DescriptorProperty, DP::DescriptorProperty> {
public:
    bool IsEqual(DP::Ref<DP::IDescriptorProperty>) override {
        mCrossing->Pass();
        return true;
    }
    Crossing* mCrossing = nullptr;
};

}  // namespace Testing
