// The objects that a request is made of: property, key, data and worker item. All kinds
// derive from these four classes.
//
// What each adds to its interface's operations is `GetUnknown`, in the slot behind them,
// which the layer `TVK::Object` declares. Its own state is behind its own count.

#pragma once

#include <atomic>
#include <utility>

#include "ClassIDs.h"
#include "DP/DescriptorFactory.h"
#include "DP/IDescriptorData.h"
#include "DP/IDescriptorDataKey.h"
#include "DP/IDescriptorProperty.h"
#include "DP/IDescriptorWorkerItem.h"
#include "TVK/Object.h"
#include "TVK/ObjectPtr.h"

namespace DP {

class DescriptorProperty : public TVK::Object<DescriptorProperty, IDescriptorProperty> {
public:
    /// The kind is stored as it is: nothing checks that it fits the class.
    void Init(quillet::WideString inSourceID, DescriptorDataType inType);

    quillet::WideString GetSourceID() override;
    DescriptorDataType GetDescriptorDataType() override;

    /// Source and kind; the class of `inOther` does not matter.
    bool IsEqual(Ref<IDescriptorProperty> inOther) override;

private:
    quillet::WideString mSourceID;
    DescriptorDataType mDataType{};
};

class DescriptorDataKey : public TVK::Object<DescriptorDataKey, IDescriptorDataKey> {
public:
    void Init(quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inCols);

    TVK::HashValue GetHash() override;
    quillet::WideString GetSourceID() override;
    long long GetFrameNumber() override;
    int GetRows() override;
    int GetColumns() override;

    /// Frame, rows, columns, source.
    bool IsLessThan(Ref<IDescriptorDataKey> inDataKey) override;

protected:
    long long mFrameNumber = 0;
    quillet::WideString mSourceID;
    int mRows = 0;
    int mCols = 0;

private:
    void ComputeHash();

    TVK::HashValue mHash;
};

class DescriptorData : public TVK::Object<DescriptorData, IDescriptorData> {
public:
    void GetHash(TVK::HashValue& outHash) override;
    void SetHash(const TVK::HashValue& inHash) override;
    void GetTimeStamp(unsigned int& outTime) override;
    void SetTimeStamp(const unsigned int& inTime) override;
    unsigned int GetDataSize() override;
    Ref<IDescriptorData> CloneData() override;

private:
    TVK::HashValue mHash;
    std::atomic<unsigned int> mTimeStamp{0};  // the cache writes, anyone may read
};

class DescriptorWorkerItem : public TVK::Object<DescriptorWorkerItem, IDescriptorWorkerItem> {
public:
    void SetDataKey(Ref<IDescriptorDataKey> inKey) override;
    Ref<IDescriptorDataKey> GetDataKey() override;

    /// Runs the kind's algorithm. Null where the inputs are of no use. Not on the public
    /// interface: the computer reaches it by the identifier of this class.
    virtual Ref<IDescriptorData> ComputeData();

private:
    Ref<IDescriptorDataKey> mKey;
};

/// What every property and key is made by: the object, then its initialising operation.
template <class Class, class... Args>
Ref<Class> MakeInitialised(Args&&... inArgs) {
    auto object = Class::Create();
    object->Init(std::forward<Args>(inArgs)...);
    return object;
}

/// What `ComputeData` of most kinds ends with: puts a new data object of `inType` into
/// `outResult` and hands it to `inFill` as its class.
/// @throws TVK::NullInterfaceException if the object is not of class `Data`.
template <class Data, class Fill>
void FillNewData(DescriptorDataType inType, Ref<IDescriptorData>& outResult, Fill inFill) {
    outResult = CreateDescriptorData(inType);
    if (outResult == NULL) return;
    const Ref<Data> data(outResult);
    inFill(*data.operator->());
}

/// The bytes of a list's elements; 0 for no list.
template <class List>
unsigned int SizeOfList(const TVK::ObjectPtr<List>& inList) {
    if (inList == NULL) return 0;
    return static_cast<unsigned int>(inList->size() * sizeof(typename List::value_type));
}

/// A copy of an object that is shared; null for none.
template <class T>
TVK::ObjectPtr<T> CopyOf(const TVK::ObjectPtr<T>& inObject) {
    return inObject != NULL ? TVK::MakeObject<T>(*inObject) : TVK::ObjectPtr<T>();
}

/// Formats a line of progress with the key's frame number, for a developer to see in the
/// debugger; it is written nowhere. `inFormat` holds one "%d".
/// @throws TVK::NullInterfaceException for a null key.
void FormatProgressText(const char* inFormat, const Ref<IDescriptorDataKey>& inKey);

}  // namespace DP
