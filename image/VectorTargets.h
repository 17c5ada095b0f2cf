// VectorTargets: which forms of a table of loops this machine can run.
//
// A table is compiled from one text (*.inc) once for each instruction set, in a file with
// flags of its own. Such a file does not include this header: an inline function that is
// compiled with its flags may be the copy that the linker keeps for every machine.

#pragma once

#include <cstddef>
#include <span>

#include "platform/Processor.h"

namespace IP {

/// The tables that this machine can run, the portable one first, the widest last.
///
/// Ownership: the tables are constants; this points to them. Threads: immutable.
template <class Table>
class VectorTargets {
public:
    /// A table that was not built is null.
    VectorTargets(const Table& inPortable, const Table* inAVX2, const Table* inAVX512) {
        mTables[mCount++] = &inPortable;
        if (inAVX2 && platform::HasAVX2()) mTables[mCount++] = inAVX2;
        if (inAVX512 && platform::HasFastAVX512()) mTables[mCount++] = inAVX512;
    }

    std::span<const Table* const> All() const { return {mTables, mCount}; }
    const Table& Widest() const { return *mTables[mCount - 1]; }

private:
    const Table* mTables[3] = {};
    std::size_t mCount = 0;
};

}  // namespace IP

// The address of a table that is there only where the build made it.
#ifdef DP_HAVE_AVX2
#define DP_IF_AVX2(inTable) &inTable
#else
#define DP_IF_AVX2(inTable) nullptr
#endif
#ifdef DP_HAVE_AVX512
#define DP_IF_AVX512(inTable) &inTable
#else
#define DP_IF_AVX512(inTable) nullptr
#endif
