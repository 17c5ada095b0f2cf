// The library as a host drives it over a clip: frame by frame, everything by the exported
// functions and through the cache.

#pragma once

#include <string>
#include <vector>

#include "Benchmarks/Support/Clips.h"
#include "Benchmarks/Support/Points.h"
#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IKLTDescriptor.h"
#include "DP/IRegionTrackerDescriptor.h"

namespace Bench {

constexpr unsigned int kPoints = 500;

/// Points through the cache. `Step` takes the clip's frames in their order, from 0 on.
class PointRun {
public:
    virtual ~PointRun() = default;
    virtual void Step(int inFrame) = 0;
    virtual std::vector<Point> GetPoints() const = 0;
};

class KltRun : public PointRun {
public:
    KltRun(const Clip& inClip, const std::string& inSource, unsigned int inMinFeatures);
    void Step(int inFrame) override;
    std::vector<Point> GetPoints() const override;

private:
    const Clip& mClip;
    quillet::WideString mSource;
    unsigned int mMinFeatures;
    DP::Ref<DP::IDescriptorComputer> mComputer;
    DP::Ref<DP::IDescriptorData> mPrevious;
};

class AptRun : public PointRun {
public:
    AptRun(const Clip& inClip, const std::string& inSource, unsigned int inVerify);
    void Step(int inFrame) override;
    std::vector<Point> GetPoints() const override;

private:
    const Clip& mClip;
    quillet::WideString mSource;
    unsigned int mVerify;
    DP::Ref<DP::IDescriptorComputer> mComputer;
    DP::Ref<DP::IAPTDescriptorData> mPrevious;
};

/// A rectangle, from the clip's own start.
class RegionRun {
public:
    RegionRun(const Clip& inClip, const std::string& inSource);
    void Step(int inFrame);
    Box GetBox() const;

private:
    const Clip& mClip;
    quillet::WideString mSource;
    DP::RegionPtr mStart;
    DP::Ref<DP::IDescriptorComputer> mComputer;
    DP::Ref<DP::IRegionTrackerDescriptorData> mPrevious;
};

/// Grey images of a frame; the cache keeps them.
IP::ImagePtr<unsigned char> RequestGrey(const Clip& inClip, const std::string& inSource,
                                        int inFrame);
IP::ImagePtr<float> RequestFloatGrey(const Clip& inClip, const std::string& inSource,
                                     int inFrame);

/// A cut from strokes. Without labels a new frame, else a further stroke on the last one; the
/// labels are then changed in place.
IP::ImagePtr<unsigned char> RequestCut(const Clip& inClip, const std::string& inSource,
                                       int inNumber, const IP::ImagePtr<unsigned char>& inFront,
                                       const IP::ImagePtr<unsigned char>& inBack,
                                       const IP::ImagePtr<unsigned char>& ioLabels);

}  // namespace Bench
