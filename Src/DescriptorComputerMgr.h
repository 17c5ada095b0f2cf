// DescriptorComputerMgr: the live computers, one for each distinct property.

#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "ClassIDs.h"
#include "DP/IDescriptorComputerMgr.h"
#include "TVK/SingletonGuard.h"
#include "quillet/RecursiveMutex.h"
#include "quillet/ThreadAnnotations.h"

namespace DP {

/// Finds the computers that a walk over all of them in order of creation could stop at.
///
/// The library's own properties are equal only where their sources are, which never change.
/// A host's may compare in any way: it is asked about every computer where it comes in, and
/// is one of the candidates of every source where a computer has it.
///
///     all         1  2  3  4  5  6  7     a host's property comes in
///     of "clip"      2        5           one of the library's with this source comes in:
///     of hosts          3           7       2, 3, 5, 7
///
/// Whose property a computer has is told when it is added, and no host's code is called here.
///
/// Ownership: none; whoever owns a computer takes it out before it goes.
/// Threads: one at a time.
/// Errors: `std::bad_alloc` passes through `Add`, which has then added nothing.
class ComputerIndex {
public:
    using Number = std::uint64_t;  // of a computer, in order of creation; 0 is none
    struct Entry {
        Number mNumber = 0;
        IDescriptorComputer* mComputer = nullptr;
    };

    /// A null source is that of a host's property.
    void Add(IDescriptorComputer* inComputer, const quillet::WideString* inSource);
    void Remove(IDescriptorComputer* inComputer);
    void Clear();

    /// The first behind the given number, or none; a null source is any.
    Entry Next(const quillet::WideString* inSource, Number inBehind) const;

private:
    using Entries = std::vector<Entry>;
    using Sources = std::map<quillet::WideString, Entries>;
    struct Listed : Entry {
        Sources::iterator mSource;  // the end for a host's
    };

    Number mNewest = 0;
    std::vector<Listed> mAll;
    Entries mOfHosts;
    Sources mOfSources;
};

class DescriptorComputerMgr
    : public TVK::Singleton<DescriptorComputerMgr, IDescriptorComputerMgr> {
public:
    Ref<IDescriptorComputer> GetDescriptorComputer(
        Ref<IDescriptorProperty> inDescriptorProperty) override;
    void RemoveDescriptorComputers(quillet::WideString inSourceID) override;
    void RemoveAllDescriptorComputers() override;

private:
    std::vector<Ref<IDescriptorComputer>> mComputers  // in order of creation
        DP_GUARDED_BY(mMutex);
    quillet::threads::RecursiveMutex mMutex;
    ComputerIndex mIndex DP_GUARDED_BY(mMutex);
};

/// Lets the reference go that keeps the manager between calls.
void DropDescriptorComputerMgr();

}  // namespace DP
