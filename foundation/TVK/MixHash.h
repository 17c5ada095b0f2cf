// MixHash: folds bytes into a HashValue.

#pragma once

#include <cstddef>

#include "TVK/Export.h"
#include "TVK/HashValue.h"

namespace DP {
class DescriptorDataKey;
}

namespace TVK {

/// Private to the one class that hashes: the value is not promised from version to
/// version, and nobody else is to come to depend on it.
///
/// Ownership: none.
/// Threads: any number at once, on hashes of their own.
/// Errors: none.
/// Frozen: the signature; not the values.
class MixHash {
    friend class DP::DescriptorDataKey;

    /// Changes `ioHash` by `inSize` bytes. The same bytes on the same hash give the same
    /// result on every machine.
    TVK_API static void MixInData(HashValue& ioHash, const unsigned char* inData,
                                  std::size_t inSize);
};

}  // namespace TVK
