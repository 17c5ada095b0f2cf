// IDescriptorDataKey: the name of one result.

#pragma once

#include "DP/Ref.h"
#include "TVK/ContractCheck.h"
#include "TVK/HashValue.h"
#include "quillet/WideString.h"

namespace DP {

/// Names one result: which source, which frame, at which size, computed with which
/// parameters. Keys are the map keys of the caches, so their order decides what counts as
/// the same result. The creation functions of DP/DescriptorFactory.h make keys.
///
/// Ownership: counted; references travel by value.
/// Threads: immutable once made; any thread may call any operation.
/// Callbacks: what a host's own key may not call from `IsLessThan` and its destructor stands
///   in IDescriptorDataCache.h.
/// Errors: see `IsLessThan`.
/// Frozen: the order of the virtual operations is binary interface.
class IDescriptorDataKey : public TVK::TVKUnknown {
public:
    /// A hash of source and frame number. Nothing in the library reads it, equality and
    /// order never use it. Equal keys with a source of eight units or more may hash
    /// differently; rows, columns and parameters are not in it.
    virtual TVK::HashValue GetHash() = 0;

    /// What the key was made with.
    /// @{
    virtual quillet::WideString GetSourceID() = 0;
    virtual long long GetFrameNumber() = 0;
    virtual int GetRows() = 0;
    virtual int GetColumns() = 0;
    /// @}

    /// Lexicographic order over the members of this key's class. Only meaningful among
    /// keys of one class. Against a key of another class a plain key compares its own four
    /// members all the same, an APT key does so with a region tracker's, a region
    /// tracker's throws TVK::NullInterfaceException, and all others answer false. Floats
    /// that are NaN compare as equal.
    ///
    /// **Ask each cache with keys of its kind's own class only.** A plain key in a cache of
    /// APT keys compares its four members alone, finds an entry that is equal in them and
    /// hits it, whatever that entry's parameters are.
    /// @throws the contract error for a null key; a plain key TVK::NullInterfaceException.
    virtual bool IsLessThan(Ref<IDescriptorDataKey> inDataKey) = 0;
};

/// The order in which the caches keep their keys, for maps of a host's own.
/// @throws the contract error for a null key on either side.
struct DataKeyLess {
    /// What a report names as its source.
    static constexpr char kThisFile[] = "API/Inc/DP/IDescriptorDataKey.h";

    /// Whether the first key comes before the second, as the first one says.
    bool operator()(Ref<IDescriptorDataKey> inFirstDataKey,
                    Ref<IDescriptorDataKey> inSecondDataKey) const {
        ContractCheckIn(kThisFile, inFirstDataKey != NULL, false);
        ContractCheckIn(kThisFile, inSecondDataKey != NULL, false);
        return inFirstDataKey->IsLessThan(inSecondDataKey);
    }
};

}  // namespace DP
