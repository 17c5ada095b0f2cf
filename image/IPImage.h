// Image: the pixel container.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "TVK/ContractCheck.h"
#include "TVK/MemoryRecycler.h"
#include "TVK/ObjectPtr.h"

namespace IP {

template <class T>
class Image;

/// An image that is shared.
template <class T>
using ImagePtr = TVK::ObjectPtr<Image<T>>;

/// A dense raster of one plane, `T` being `unsigned char` or `float`. Pixel (x, y) stands
/// at index y * columns + x; row 0 is the top row of the picture; there is no padding
/// between rows, and an image is never a view into another.
///
/// **A new image holds whatever the last user of its block left there.** Write every
/// pixel before you read one.
///
/// Ownership: an image owns its block alone and gives it back to the recycler when it
///   dies. Images travel as `ImagePtr<T>`, which shares the pixels; copying pixels is
///   always explicit.
/// Threads: no locks. One thread fills an image, any number may read it afterwards.
/// Errors: a broken precondition throws the contract error and changes nothing. Where the
///   recycler has no block, or a size is negative, `GetData` is null.
///
/// The order of the members is binary interface and frozen.
template <class T>
class Image {
public:
    Image() = default;

    /// `inCols` by `inRows` pixels, not cleared.
    Image(int inCols, int inRows) { ResizeForReuse(inCols, inRows); }

    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    ~Image() {
        if (mRecycler != NULL) mRecycler->RecycleBuffer(mBuffer);
    }

    /// Gives an empty image its size and its block. On an image that has pixels it changes
    /// the size alone and keeps the block, without a check: a larger size is the caller's
    /// fault.
    void ResizeForReuse(int inCols, int inRows) {
        mCols = inCols;
        mRows = inRows;
        mRowBytes = static_cast<std::int32_t>(std::int64_t{inCols} * kPixelBytes);
        if (mData || mRecycler != NULL) return;
        mRecycler = TVK::MemoryRecycler::Instance();
        if (mRecycler == NULL) return;
        mBuffer = mRecycler->AllocateBuffer(ByteCount(inCols, inRows));
        mData = static_cast<T*>(mBuffer.mBlock);
    }

    /// The size as it was given, also where that is impossible.
    /// @{
    int GetRows() const { return mRows; }
    int GetColumns() const { return mCols; }
    /// @}

    /// The first pixel of the top row; null where there are no pixels.
    /// @{
    T* GetData() { return mData; }
    const T* GetData() const { return mData; }
    /// @}

    /// Copies all pixels of an image of the same size; nothing where either has none.
    void CopyPixelsFrom(ImagePtr<T> inImage) {
        ContractCheckIn("image/IPImage.h", inImage != NULL);
        ContractCheckIn("image/IPImage.h", mCols == inImage->GetColumns());
        ContractCheckIn("image/IPImage.h", mRows == inImage->GetRows());
        if (inImage->PixelCount() != 0 && PixelCount() != 0)
            std::memcpy(mData, inImage->GetData(), PixelCount() * kPixelBytes);
    }

    /// Converts bytes, in memory order, to the floats of the same values, 0 to 255. The
    /// number of pixels comes from the image's size before the call; the given size, which
    /// must not be larger, becomes the image's. Callers pass the image's own size.
    void ConvertFromBytes(const unsigned char* inBytes, int inCols,
                          int inRows) requires std::is_same_v<T, float> {
        ContractCheckIn("image/IPImage.h", mCols >= inCols);
        ContractCheckIn("image/IPImage.h", mRows >= inRows);
        const std::size_t count = PixelCount();
        mCols = inCols;
        mRows = inRows;
        for (std::size_t i = 0; i < count; ++i)
            mData[i] = static_cast<T>(inBytes[i]);
    }

private:
    static constexpr std::int64_t kPixelBytes{sizeof(T)};

    // Negative for an impossible size, which the recycler answers with a null block. Two
    // sides below 2^31 and 4 bytes a pixel can pass 2^63 by one bit at the most.
    static std::int64_t ByteCount(int inCols, int inRows) {
        if (inCols < 0 || inRows < 0) return -1;
        constexpr std::int64_t kMost = INT64_MAX / kPixelBytes;
        const std::int64_t pixels = std::int64_t{inCols} * inRows;
        return pixels <= kMost ? pixels * kPixelBytes : -1;
    }

    // 0 for an image without pixels, whatever its size says.
    std::size_t PixelCount() const {
        if (!mData || mCols < 0 || mRows < 0) return 0;
        return static_cast<std::size_t>(mCols) * static_cast<std::size_t>(mRows);
    }

    std::int32_t mCols = 0;
    std::int32_t mRows = 0;
    std::int32_t mRowBytes = 0;
    T* mData = nullptr;
    TVK::MemoryBuffer mBuffer;
    TVK::ObjectPtr<TVK::MemoryRecycler> mRecycler;
};

}  // namespace IP
