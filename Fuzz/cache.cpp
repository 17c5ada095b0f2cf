// A cache beside a model of what its interface promises: which key hits, with which result;
// which mutex a key gets; when everything is dropped; how many bytes there are.

#include <map>
#include <optional>

#include "DescriptorDataCache.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "Support/Items.h"
#include "Support/Reports.h"

namespace {

using DP::IDescriptorData;
using DP::IDescriptorDataKey;
using DP::Ref;
using Fuzz::Require;
using Testing::CountedData;

constexpr int kNullKey = -1;

Ref<IDescriptorDataKey> KeyOf(int inNumber) {
    if (inNumber == kNullKey) return {};
    return DP::CreateDescriptorDataKey({}, inNumber / 4, inNumber % 4, 7);
}

// A map whose comparator throws on a null key: with one inside, no look-up comes through.
template <class Value>
struct ModelMap {
    bool Throws(int inKey) const {
        return !mEntries.empty() && (inKey == kNullKey || mEntries.contains(kNullKey));
    }
    std::map<int, Value> mEntries;
};

class Model {
public:
    explicit Model(unsigned int inMost) : mMost(static_cast<int>(inMost)) {
        mCache->SetMaxEntries(inMost);
    }

    void Get(int inKey) {
        Ref<IDescriptorData> data;
        DP::RecursiveMutexPtr mutex;
        const bool isFresh = !mResults.mEntries.contains(inKey);
        const bool throws = mResults.Throws(inKey) ||
                            (!isFresh && mResults.mEntries[inKey] == nullptr) ||
                            mMutexes.Throws(inKey);
        bool isHit = false;
        const bool came = Fuzz::ComesThrough(
            [&] { isHit = mCache->GetCachedData(KeyOf(inKey), data, mutex); });
        Require(came == !throws, "a look-up throws where the interface says so");
        if (!came) return;
        Require(isHit == !isFresh, "a hit where there is a result");
        if (isHit) Require(&*data.operator->() == mResults.mEntries[inKey], "the first result");
        Require(mutex != NULL, "a mutex on a hit and on a miss");
        const auto [entry, isNew] = mMutexes.mEntries.emplace(inKey, mutex);
        Require(entry->second == mutex, "one mutex until a result is stored");
    }

    void Store(int inKey, unsigned int inSize, bool inIsNull) {
        const Ref<IDescriptorData> data =
            inIsNull ? Ref<IDescriptorData>() : CountedData::Make(inSize);
        const bool came = Fuzz::ComesThrough([&] { mCache->StoreData(KeyOf(inKey), data); });
        if (mResults.Throws(inKey)) return Require(!came, "null key among results");
        if (!mResults.mEntries.contains(inKey)) {
            if (static_cast<int>(mResults.mEntries.size()) > mMost) Forget();
            mResults.mEntries[inKey] = inIsNull ? nullptr : &*data.operator->();
            if (inIsNull) return Require(!came, "a null result");
            mBytes += inSize;
        }
        Require(came == !mMutexes.Throws(inKey), "null key among mutexes");
        if (came) mMutexes.mEntries.erase(inKey);
    }

    void Clear() {
        Require(mCache->ClearCache() == 0, "returns 0");
        Forget();
    }

    void Check() const {
        int alive = 0;
        for (const auto& [key, data] : mResults.mEntries)
            alive += data != nullptr;
        Require(CountedData::Alive() == alive, "holds its results and no others");
        Require(mCache->GetTotalDataSize() == mBytes, "the sum of the bytes");
    }

private:
    void Forget() {
        mResults.mEntries.clear();
        mBytes = 0;
    }

    const Ref<DP::DescriptorDataCache> mCache = DP::DescriptorDataCache::Create();
    int mMost;
    ModelMap<IDescriptorData*> mResults;
    ModelMap<DP::RecursiveMutexPtr> mMutexes;
    unsigned int mBytes = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    const Testing::RecordedReports reports;
    Fuzz::Input input(inData, inSize);
    {
        Model model(input.Whole<unsigned int>());
        while (!input.IsAtEnd()) {
            const int operation = input.Byte();
            const int key = operation >= 0xf8 ? kNullKey : input.Between(0, 15);
            if (operation % 16 == 0)
                model.Clear();
            else if (operation % 2 == 0)
                model.Get(key);
            else
                model.Store(key, input.Whole<unsigned int>(), operation % 32 == 1);
            model.Check();
        }
    }
    Require(CountedData::Alive() == 0, "releases its results");
    return 0;
}
