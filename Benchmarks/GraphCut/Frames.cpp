#include "Frames.h"

#include "GraphCut/Scene.h"

namespace Bench {

Frame::Frame(const Clip& inClip)
    : mName(inClip.GetName()),
      mColumns(inClip.GetColumns()),
      mRows(inClip.GetRows()),
      mPixels(inClip.Colour(0)),
      mForeground(Testing::FlatImage(mColumns, mRows, 0)),
      mBackground(Testing::FlatImage(mColumns, mRows, 0)) {
    Testing::PaintDab(mForeground, mColumns / 2, mRows / 2, mRows / 10);
    const int rim = mRows / 60;
    for (int y = 0; y < mRows; ++y)
        for (int x = 0; x < mColumns; ++x)
            if (x < rim || y < rim || x >= mColumns - rim || y >= mRows - rim)
                mBackground->GetData()[y * mColumns + x] = 255;
}

}  // namespace Bench
