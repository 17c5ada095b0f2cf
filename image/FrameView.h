// FrameView: somebody else's 8-bit grey frame.

#pragma once

namespace IP {

/// `mColumns` times `mRows` grey pixels without gaps, row 0 the top row.
///
/// Ownership: none; the pixels belong to whoever made the view. They may be null where the
/// operation says so.
struct FrameView {
    const unsigned char* mPixels;
    int mColumns;
    int mRows;
};

}  // namespace IP
