#include "DescriptorComputerMgr.h"

#include <algorithm>

#include "DP/DescriptorFactory.h"
#include "DescriptorComputer.h"
#include "Kinds.h"
#include "TVK/ContractCheck.h"
#include "quillet/ScopeLock.h"

namespace DP {
namespace {

constinit TVK::KeptRef<IDescriptorComputerMgr> sComputerMgr;

// A new computer set up from its property, or null for a kind that there is not.
Ref<IDescriptorComputer> MakeComputer(const Ref<IDescriptorProperty>& inProperty) {
    if (const Kind* const kind = FindKind(inProperty->GetDescriptorDataType()))
        return kind->mMakeComputer(inProperty);
    AssertWithMessage("DP::DescriptorComputerMgr::GetDescriptorComputer",
                      "Unsupported Descriptor Type !!!");
    return {};
}

bool IsBefore(const ComputerIndex::Entry& inEntry, ComputerIndex::Number inNumber) {
    return inEntry.mNumber < inNumber;
}

template <class Entries>
ComputerIndex::Entry FirstBehind(const Entries& inEntries, ComputerIndex::Number inNumber) {
    const auto at =
        std::lower_bound(inEntries.begin(), inEntries.end(), inNumber + 1, IsBefore);
    if (at == inEntries.end()) return {};
    return {at->mNumber, at->mComputer};
}

}  // namespace

// ---- The index -----------------------------------------------------------------------

void ComputerIndex::Add(IDescriptorComputer* inComputer, const quillet::WideString* inSource) {
    const auto source =
        inSource != nullptr ? mOfSources.try_emplace(*inSource).first : mOfSources.end();
    Entries& ofSource = inSource != nullptr ? source->second : mOfHosts;
    const std::size_t before = ofSource.size();
    const Entry entry{mNewest + 1, inComputer};
    try {
        ofSource.push_back(entry);
        mAll.push_back({entry, source});
    } catch (...) {
        ofSource.resize(before);
        if (inSource != nullptr && before == 0) mOfSources.erase(source);
        throw;
    }
    ++mNewest;
}

void ComputerIndex::Remove(IDescriptorComputer* inComputer) {
    const auto at = std::find_if(mAll.begin(), mAll.end(), [&](const Entry& inEntry) {
        return inEntry.mComputer == inComputer;
    });
    if (at == mAll.end()) return;
    const auto drop = [number = at->mNumber](Entries& ioEntries) {
        ioEntries.erase(std::lower_bound(ioEntries.begin(), ioEntries.end(), number, IsBefore));
    };
    if (at->mSource == mOfSources.end()) {
        drop(mOfHosts);
    } else {
        drop(at->mSource->second);
        if (at->mSource->second.empty()) mOfSources.erase(at->mSource);
    }
    mAll.erase(at);
}

void ComputerIndex::Clear() {
    mAll.clear();
    mOfHosts.clear();
    mOfSources.clear();
}

ComputerIndex::Entry ComputerIndex::Next(const quillet::WideString* inSource,
                                         Number inBehind) const {
    if (inSource == nullptr) return FirstBehind(mAll, inBehind);
    const Entry ofHost = FirstBehind(mOfHosts, inBehind);
    const auto source = mOfSources.find(*inSource);
    if (source == mOfSources.end()) return ofHost;
    const Entry own = FirstBehind(source->second, inBehind);
    const bool isOwn =
        own.mNumber != 0 && (ofHost.mNumber == 0 || own.mNumber < ofHost.mNumber);
    return isOwn ? own : ofHost;
}

// ---- The manager ---------------------------------------------------------------------

Ref<IDescriptorComputer> DescriptorComputerMgr::GetDescriptorComputer(
    Ref<IDescriptorProperty> inDescriptorProperty) {
    ContractCheck(inDescriptorProperty != NULL, {});
    const quillet::threads::ScopeLock lock(mMutex);

    // The incoming property does the comparing: a tracker's looks at more than a plain one.
    // A host's may call back, so the walk holds the computer and its number alone.
    const bool isOwn = IsOwnProperty(inDescriptorProperty);
    const quillet::WideString text =
        isOwn ? inDescriptorProperty->GetSourceID() : quillet::WideString();
    const quillet::WideString* const source = isOwn ? &text : nullptr;
    ComputerIndex::Entry entry;
    while ((entry = mIndex.Next(source, entry.mNumber)).mNumber != 0) {
        const Ref<IDescriptorComputer> computer(entry.mComputer);
        if (inDescriptorProperty->IsEqual(computer->GetDescriptorProperty())) return computer;
    }

    const Ref<IDescriptorComputer> made = MakeComputer(inDescriptorProperty);
    if (made == NULL) return {};
    Ref<DescriptorComputer>(made)->SetDescriptorProperty(inDescriptorProperty);
    mComputers.push_back(made);
    try {
        mIndex.Add(made.operator->(), source);
    } catch (...) {
        mComputers.pop_back();
        throw;
    }
    return made;
}

void DescriptorComputerMgr::RemoveDescriptorComputers(quillet::WideString inSourceID) {
    const quillet::threads::ScopeLock lock(mMutex);
    ComputerIndex::Entry entry;
    while ((entry = mIndex.Next(&inSourceID, entry.mNumber)).mNumber != 0) {
        const Ref<IDescriptorComputer> computer(entry.mComputer);
        if (computer->GetSourceID() != inSourceID) continue;
        // Perhaps it is gone: a host's property that was just asked may have changed the list.
        mIndex.Remove(entry.mComputer);
        std::erase(mComputers, computer);
        return;  // the computer goes with `computer`, when the list is whole again
    }
}

void DescriptorComputerMgr::RemoveAllDescriptorComputers() {
    const quillet::threads::ScopeLock lock(mMutex);
    // Out of the list first: destructors of a host's properties run here, and they may use
    // the manager. What they make goes as well.
    while (!mComputers.empty()) {
        std::vector<Ref<IDescriptorComputer>> removed;
        removed.swap(mComputers);
        mIndex.Clear();
        for (auto& computer : removed)
            computer = nullptr;
    }
}

Ref<IDescriptorComputerMgr> CreateDescriptorComputerMgr() {
    return sComputerMgr.GetOrMake<DescriptorComputerMgr>();
}

void DropDescriptorComputerMgr() { sComputerMgr.Set(nullptr); }

}  // namespace DP
