#include "APT/APTLevelDescent.h"

#include <algorithm>

namespace DP {

int APTLevelDescent::Run(int inLevels, int inMostIterations, APTPoint inPoint, int inCount,
                         const float* inStart, float* outResult) {
    float scale = 1.0f;  // powers of two: as exact as halving again and again
    for (int start = 0; start < inLevels; ++start, scale *= 0.5f) {
        std::copy_n(inStart, inCount, mParameters);
        mParameters[0] *= scale;
        mParameters[1] *= scale;
        if (!DescendFrom(start, inMostIterations, {inPoint.mX * scale, inPoint.mY * scale}))
            continue;
        std::copy_n(mParameters, inCount, outResult);
        return start;
    }
    return -1;
}

bool APTLevelDescent::DescendFrom(int inStart, int inMostIterations, APTPoint inPoint) {
    for (int level = inStart;; --level) {
        if (!Converged(Solve(level, inPoint, mParameters), inMostIterations)) return false;
        if (level == inStart && !Accept(level)) return false;
        if (level == 0) return true;
        mParameters[0] *= 2.0f;
        mParameters[1] *= 2.0f;
        inPoint = {inPoint.mX * 2.0f, inPoint.mY * 2.0f};
    }
}

}  // namespace DP
