#include "DescriptorObjects.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include "KeyOrder.h"
#include "TVK/Allocator.h"
#include "TVK/MixHash.h"

namespace DP {

// ---- Property ------------------------------------------------------------------------

void DescriptorProperty::Init(quillet::WideString inSourceID, DescriptorDataType inType) {
    mSourceID = std::move(inSourceID);
    mDataType = inType;
}

quillet::WideString DescriptorProperty::GetSourceID() { return mSourceID; }

DescriptorDataType DescriptorProperty::GetDescriptorDataType() { return mDataType; }

bool DescriptorProperty::IsEqual(Ref<IDescriptorProperty> inOther) {
    return mSourceID.compare(inOther->GetSourceID()) == 0 &&
           mDataType == inOther->GetDescriptorDataType();
}

// ---- Key -----------------------------------------------------------------------------

namespace {

constexpr std::size_t kHashBlockSize = 100;

using StringBytes = unsigned char[sizeof(quillet::WideString)];
static_assert(sizeof(StringBytes) + sizeof(long long) <= kHashBlockSize);

// The bytes of the string object itself. A short string keeps its characters inside and
// points at itself; its own address and the stale units behind the terminator are blanked,
// so that equal short strings give equal bytes. A long one keeps the address of its
// characters.
// NOLINTBEGIN(bugprone-sizeof-container, bugprone-undefined-memory-manipulation): read only
void CopyStringObject(const quillet::WideString& inString, unsigned char* outBytes) {
    std::memcpy(outBytes, &inString, sizeof(inString));

    const auto object = reinterpret_cast<std::uintptr_t>(&inString);
    const auto characters = reinterpret_cast<std::uintptr_t>(inString.data());
    if (characters < object || characters >= object + sizeof(inString)) {
#if defined(__GLIBCXX__)
        // Address, size, capacity, and eight bytes that nobody wrote.
        static_assert(sizeof(inString) == 32);
        std::memset(outBytes + 24, 0, 8);
#endif
        return;
    }

    for (std::size_t at = 0; at + sizeof(characters) <= sizeof(inString);
         at += sizeof(characters))
        if (std::memcmp(outBytes + at, &characters, sizeof(characters)) == 0)
            std::memset(outBytes + at, 0, sizeof(characters));
    const std::size_t used = characters - object + (inString.size() + 1) * sizeof(char16_t);
    const std::size_t end = characters - object + (inString.capacity() + 1) * sizeof(char16_t);
    std::memset(outBytes + used, 0, end - used);
}
// NOLINTEND(bugprone-sizeof-container, bugprone-undefined-memory-manipulation)

}  // namespace

void DescriptorDataKey::Init(quillet::WideString inSourceID, long long inFrameNumber,
                             int inRows, int inCols) {
    mSourceID = std::move(inSourceID);
    mFrameNumber = inFrameNumber;
    mRows = inRows;
    mCols = inCols;
    ComputeHash();
}

void DescriptorDataKey::ComputeHash() {
    auto* const block = static_cast<unsigned char*>(TVK::Allocator::Allocate(kHashBlockSize));
    if (!block) return;
    CopyStringObject(mSourceID, block);
    std::memcpy(block + sizeof(StringBytes), &mFrameNumber, sizeof(mFrameNumber));
    TVK::MixHash::MixInData(mHash, block, sizeof(StringBytes) + sizeof(mFrameNumber));
    TVK::Allocator::Dispose(block, kHashBlockSize);
}

TVK::HashValue DescriptorDataKey::GetHash() { return mHash; }
quillet::WideString DescriptorDataKey::GetSourceID() { return mSourceID; }
long long DescriptorDataKey::GetFrameNumber() { return mFrameNumber; }
int DescriptorDataKey::GetRows() { return mRows; }
int DescriptorDataKey::GetColumns() { return mCols; }

bool DescriptorDataKey::IsLessThan(Ref<IDescriptorDataKey> inDataKey) {
    const int order = Order(mFrameNumber, inDataKey->GetFrameNumber(),  //
                            mRows, inDataKey->GetRows(),                //
                            mCols, inDataKey->GetColumns());
    if (order != 0) return order < 0;
    return mSourceID.compare(inDataKey->GetSourceID()) < 0;
}

// ---- Data ----------------------------------------------------------------------------

void DescriptorData::GetHash(TVK::HashValue& outHash) { outHash = mHash; }
void DescriptorData::SetHash(const TVK::HashValue& inHash) { mHash = inHash; }
void DescriptorData::GetTimeStamp(unsigned int& outTime) { outTime = mTimeStamp.load(); }
void DescriptorData::SetTimeStamp(const unsigned int& inTime) { mTimeStamp.store(inTime); }
unsigned int DescriptorData::GetDataSize() { return 0; }
Ref<IDescriptorData> DescriptorData::CloneData() { return {}; }

// ---- Worker item ---------------------------------------------------------------------

void DescriptorWorkerItem::SetDataKey(Ref<IDescriptorDataKey> inKey) { mKey = inKey; }
Ref<IDescriptorDataKey> DescriptorWorkerItem::GetDataKey() { return mKey; }
Ref<IDescriptorData> DescriptorWorkerItem::ComputeData() { return {}; }

void FormatProgressText(const char* inFormat, const Ref<IDescriptorDataKey>& inKey) {
    char text[128];
    std::snprintf(text, sizeof(text), inFormat, static_cast<int>(inKey->GetFrameNumber()));
}

}  // namespace DP
