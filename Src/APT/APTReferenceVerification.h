// APTReferenceVerification: is a tracked point still the one that was selected?
//
// Frame-to-frame tracking drifts. This stage keeps the patch that each point had when it
// was selected and aligns it with every later frame, by a richer model: an affine warp, and
// a gain and an offset for each channel.

#pragma once

#include <cstdint>
#include <vector>

#include "APT/APTPatchAlignment.h"
#include "DP/APTFeature.h"

namespace DP {

/// Where a slot's point was selected, and how its patch has changed since:
///     tx ty | a b c d | gain and offset of each channel
/// An offset (dx, dy) in the patch lies at
///     X = (1 + a) dx + x + b dy + tx      Y = c dx + y + (1 + d) dy + ty
struct APTReferencePatch {
    float mX = 0.0f;
    float mY = 0.0f;
    float mParameters[kAPTMaxParameters] = {};
};

/// The templates of a reference at every level, and what a solver makes of each of them once:
/// the factor of its normal matrix.
///
/// Ownership: owns its floats. Threads: one at a time. Errors: no memory throws
///   std::bad_alloc.
class APTReferenceTemplates {
public:
    struct Level {
        APTTemplate mPlanes;
        const float* mFactor;  // by columns; null where the system has no solution
    };

    void Init(const APTPatchShape& inShape, int inLevels);
    bool IsEmpty() const { return mPlanes.IsEmpty(); }

    /// Takes the templates of a point of level 0.
    void Capture(APTPoint inPoint, APTImagePyramid& inPyramid);
    int GetLevelCount() const { return mPlanes.GetLevelCount(); }

    /// A level as the solver of a model needs it. Models without a system have no factor.
    Level GetLevel(int inLevel, APTMotionModel inModel, APTWorkspace& ioWorkspace);
    /// Fetches what a search at level 0 reads.
    void ReadAhead() const;
    const float* GetTemplate(int inLevel) { return mPlanes.GetLevel(inLevel).mTemplate; }

private:
    enum class System : unsigned char { kUnknown, kSolvable, kSingular };

    bool Factorise(const APTTemplate& inPlanes, APTWorkspace& ioWorkspace,
                   float* outFactor) const;

    APTPatchPyramid mPlanes;
    APTMotionModel mModel = kAPTModelReserved;  // whose factors these are
    std::vector<System> mSystems;               // of each level
    std::size_t mFactorFloats = 0;              // of the largest system
    std::vector<float> mFactors;                // a block of them for each level
};

/// The references of one engine, addressed by slot: one list an engine.
///
/// Ownership: owns its storage. A slot takes room for its templates when it first holds a
///   point, so that a large capacity alone costs little.
/// Threads: one at a time.
/// Errors: statuses on the records only.
class APTReferenceVerification {
public:
    void Init(const APTPatchShape& inShape, int inLevels, std::size_t inSlots);
    bool Exists() const { return !mRecords.empty(); }

    /// Takes the references of the points that are new in `inFeatures`, from the frame in
    /// which they were selected.
    void Capture(const APTFeatureList& inFeatures, APTImagePyramid& inPrevious);

    /// Seeds the translations with where the frame-to-frame stage found the points. What
    /// was found of warp, gain and offset in the previous frame is kept.
    void HandOver(const APTFeatureList& inFeatures);

    /// Aligns the references with the current frame. A point that correlates takes the
    /// position found here; any other is dropped.
    void VerifyFeatures(APTImagePyramid& inCurrent, const APTSearch& inSearch,
                        APTFeatureList& ioFeatures);

private:
    void ReadAhead(std::size_t inSlot, const APTImagePyramid& inCurrent,
                   const APTFeature& inFeature) const;
    bool VerifyFeature(std::size_t inSlot, APTImagePyramid& inCurrent,
                       const APTSearch& inSearch, APTFeature& ioFeature);

    APTPatchShape mShape;
    int mLevels = 0;
    APTWorkspace mWorkspace;
    std::vector<APTReferenceTemplates> mTemplates;
    std::vector<APTReferencePatch> mRecords;
    std::uint64_t mLost = 0;  // counted; nothing reads it
};

/// As `SolveLevel`, for the warp. Model 0 has the six geometric parameters, model 2 gains
/// and offsets too; model 1 never converges.
int SolveWarpLevel(APTWorkspace& ioWorkspace, const APTReferenceTemplates::Level& inTemplate,
                   const APTImageLevel& inLevel, APTPoint inPoint, const APTSearch& inSearch,
                   float* ioParameters);

/// As `AlignPatch`, for the warp and without a test of the correlation. The warp's matrix
/// is the same at every level; only translation and position are scaled.
int AlignReferencePatch(APTWorkspace& ioWorkspace, APTReferenceTemplates& ioTemplates,
                        APTImagePyramid& inPyramid, APTPoint inPoint, const APTSearch& inSearch,
                        float* ioParameters);

}  // namespace DP
