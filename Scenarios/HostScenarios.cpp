// The scenarios that a host could run: everything goes through the exported functions.

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "Clip.h"
#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGraphCutDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "DP/IKLTDescriptor.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "DP/Tracker.h"
#include "Scenario.h"
#include "quillet/WideString.h"

namespace Scenarios {
namespace {

using DP::Ref;
using ByteImage = IP::ImagePtr<unsigned char>;
using FloatImage = IP::ImagePtr<float>;

// Sources are named after the scenario, so that no two scenarios share a key.
quillet::WideString Source(const std::string& inName) {
    return quillet::utility::AsciiToUTF16(inName.c_str());
}

std::string SizeOf(const Clip& inClip) {
    return std::to_string(inClip.mColumns) + "x" + std::to_string(inClip.mRows);
}

// Where memory is short a result may come without an image.
template <class T>
void AddImage(Digest& ioDigest, const IP::ImagePtr<T>& inImage) {
    if (inImage == NULL || !inImage->GetData()) throw std::bad_alloc();
    ioDigest.AddInteger(inImage->GetColumns());
    ioDigest.AddInteger(inImage->GetRows());
    ioDigest.AddPixels(inImage->GetData(),
                       std::size_t(inImage->GetColumns()) * std::size_t(inImage->GetRows()));
}

// ---- Grey images ---------------------------------------------------------------------

constexpr std::pair<Clip, int> kGreyFrames[] = {
    {{.mColumns = 1, .mRows = 1}, 0},       {{.mColumns = 1, .mRows = 9}, 3},
    {{.mColumns = 7, .mRows = 1}, 0},       {{.mColumns = 33, .mRows = 17}, 5},
    {{.mColumns = 64, .mRows = 48}, 0},     {{.mColumns = 321, .mRows = 239}, 12},
    {{.mColumns = 640, .mRows = 360}, 256},
};

template <class Interface>
Ref<DP::IDescriptorData> RequestGrey(const std::string& inName, DP::DescriptorDataType inType,
                                     const Clip& inClip, int inFrame, int inPadding) {
    const auto item = DP::CreateDescriptorWorkerItem(inType);
    item->SetDataKey(
        DP::CreateDescriptorDataKey(Source(inName), inFrame, inClip.mRows, inClip.mColumns));
    const auto frame = inClip.Bgra(inFrame, inPadding);
    Ref<Interface>(item)->SetInputImage(frame.data(), inClip.mRows, inClip.mColumns,
                                        inClip.RowBytes(inPadding));
    return DP::CreateDescriptorComputer(DP::CreateDescriptorProperty(Source(inName), inType))
        ->GetDescriptorData(item, true);
}

ByteImage Grey(const std::string& inName, const Clip& inClip, int inFrame, int inPadding) {
    return Ref<DP::IGreyImageDescriptorData>(
               RequestGrey<DP::IGreyImageDescriptorWorkerItem>(
                   inName, DP::kDescriptorDataTypeGreyImage, inClip, inFrame, inPadding))
        ->GetGreyImageData();
}

FloatImage FloatGrey(const std::string& inName, const Clip& inClip, int inFrame,
                     int inPadding) {
    return Ref<DP::IFloatGreyImageDescriptorData>(
               RequestGrey<DP::IFloatGreyImageDescriptorWorkerItem>(
                   inName, DP::kDescriptorDataTypeFloatGreyImage, inClip, inFrame, inPadding))
        ->GetFloatGreyImageData();
}

void AddGreyScenarios(std::vector<Scenario>& ioScenarios) {
    for (const auto& frame : kGreyFrames) {
        const Clip clip = frame.first;
        const int padding = frame.second;
        const std::string size = SizeOf(clip);
        ioScenarios.push_back({.mName = "grey/" + size, .mRun = [=](Digest& ioDigest) {
                                   AddImage(ioDigest, Grey("grey/" + size, clip, 2, padding));
                               }});
        ioScenarios.push_back({.mName = "float-grey/" + size, .mRun = [=](Digest& ioDigest) {
                                   AddImage(ioDigest,
                                            FloatGrey("float-grey/" + size, clip, 2, padding));
                               }});
    }
}

// ---- KLT -----------------------------------------------------------------------------

struct KltRun {
    const char* mName;
    Clip mClip;
    int mFrames = 8;
    unsigned int mFeatures = 50;
    unsigned int mMinFeatures = 40;
    int mStep = 1;
};

constexpr KltRun kKltRuns[] = {
    {.mName = "defaults", .mClip = {.mColumns = 160, .mRows = 120}},
    {.mName = "odd", .mClip = {.mColumns = 131, .mRows = 77}},
    {.mName = "fast", .mClip = {.mSpeedX = 6.4, .mSpeedY = 3.1}, .mMinFeatures = 50},
    {.mName = "noisy", .mClip = {.mNoise = 12, .mSeed = 4}},
    {.mName = "never-refilled", .mClip = {.mSpeedX = 4}, .mMinFeatures = 0},
    {.mName = "every-third", .mClip = {.mSpeedX = 0.4, .mSpeedY = 0.3}, .mStep = 3},
    {.mName = "one-feature", .mClip = {}, .mFeatures = 1, .mMinFeatures = 1},
    {.mName = "small", .mClip = {.mColumns = 31, .mRows = 29}, .mFeatures = 4},
    {.mName = "too-small", .mClip = {.mColumns = 9, .mRows = 8}, .mFeatures = 4},
    {.mName = "large",
     .mClip = {.mColumns = 641, .mRows = 479, .mNoise = 2},
     .mFrames = 3,
     .mFeatures = 500,
     .mMinFeatures = 450},
    {.mName = "long", .mClip = {.mNoise = 3, .mSeed = 7}, .mFrames = 100, .mMinFeatures = 45},
};

void AddFeatures(Digest& ioDigest, const DP::KLTFeatureList& inFeatures) {
    for (const DP::KLTFeature& feature : inFeatures) {
        ioDigest.AddFloat(feature.mX);
        ioDigest.AddFloat(feature.mY);
        ioDigest.AddInteger(feature.mValue);
        ioDigest.AddInteger(feature.mId);
        ioDigest.AddInteger(feature.mAge);
        ioDigest.AddFloat(feature.mDeltaX);
        ioDigest.AddFloat(feature.mDeltaY);
    }
}

// `inDistance` is compared and not used: it gives each scenario a tracker of its own.
void RunKlt(Digest& ioDigest, const std::string& inName, const KltRun& inRun,
            unsigned int inDistance) {
    const auto type = DP::kDescriptorDataTypeKLT;
    const auto source = Source(inName);
    const auto computer = DP::CreateDescriptorComputer(DP::CreateKLTDescriptorProperty(
        inRun.mFeatures, inRun.mStep, inDistance, inRun.mMinFeatures, source, type));
    ByteImage previous_image;
    Ref<DP::IDescriptorData> previous;
    for (int i = 0; i < inRun.mFrames; ++i) {
        const int frame = i * inRun.mStep;
        const ByteImage image = inRun.mClip.Bytes(frame);
        const auto item = DP::CreateDescriptorWorkerItem(type);
        item->SetDataKey(DP::CreateKLTDescriptorDataKey(
            source, frame, inRun.mStep, inRun.mFeatures, inRun.mClip.mRows,
            inRun.mClip.mColumns, inDistance, inRun.mMinFeatures));
        Ref<DP::IKLTDescriptorWorkerItem>(item)->SetInputImages(previous_image, image,
                                                                previous);
        previous = computer->GetDescriptorData(item, true);
        previous_image = image;
        AddFeatures(ioDigest, *Ref<DP::IKLTDescriptorData>(previous)->GetFeatureList());
    }
}

void AddKltScenarios(std::vector<Scenario>& ioScenarios) {
    unsigned int distance = 0;
    for (const KltRun& run : kKltRuns) {
        const std::string name = std::string("klt/") + run.mName;
        ioScenarios.push_back(
            {.mName = name, .mRun = [=, number = distance++](Digest& ioDigest) {
                 RunKlt(ioDigest, name, run, number);
             }});
    }
}

// ---- APT -----------------------------------------------------------------------------

struct AptRun {
    const char* mName;
    Clip mClip;
    int mFrames = 8;
    unsigned int mFeatures = 50;
    unsigned int mMinFeatures = 40;
    unsigned int mDistance = 8;
    float mStationaryLimit = 0.0f;
    unsigned int mVerify = 0;
};

constexpr AptRun kAptRuns[] = {
    {.mName = "selection", .mClip = {.mColumns = 161, .mRows = 119}, .mFrames = 1},
    {.mName = "selection-large",
     .mClip = {.mColumns = 640, .mRows = 480},
     .mFrames = 1,
     .mFeatures = 500},
    {.mName = "defaults", .mClip = {.mColumns = 160, .mRows = 120}},
    {.mName = "odd", .mClip = {.mColumns = 131, .mRows = 77}},
    {.mName = "fast", .mClip = {.mSpeedX = 9.4, .mSpeedY = 5.1}, .mMinFeatures = 50},
    {.mName = "noisy", .mClip = {.mNoise = 12, .mSeed = 4}},
    {.mName = "verified", .mClip = {.mNoise = 6, .mSeed = 5}, .mFrames = 12, .mVerify = 1},
    {.mName = "stationary", .mClip = {.mSpeedX = 0.3}, .mStationaryLimit = 0.31f},
    {.mName = "dense", .mClip = {}, .mFeatures = 200, .mDistance = 2},
    {.mName = "small", .mClip = {.mColumns = 33, .mRows = 31}, .mFeatures = 4},
    {.mName = "too-small", .mClip = {.mColumns = 5, .mRows = 4}, .mFeatures = 4},
    {.mName = "long",
     .mClip = {.mNoise = 3, .mSeed = 7},
     .mFrames = 100,
     .mMinFeatures = 45,
     .mVerify = 1},
};

void AddFeatures(Digest& ioDigest, const DP::APTFeatureList& inFeatures) {
    for (const DP::APTFeature& feature : inFeatures) {
        ioDigest.AddFloat(feature.mX);
        ioDigest.AddFloat(feature.mY);
        ioDigest.AddInteger(feature.mStatus);
        ioDigest.AddFloat(feature.mCorrelation);
        ioDigest.AddInteger(feature.mAge);
        ioDigest.AddFloat(feature.mDeltaX);
        ioDigest.AddFloat(feature.mDeltaY);
    }
}

// A frame of a clip, by its number.
using FrameOf = std::function<FloatImage(const Clip&, int)>;

void RunApt(Digest& ioDigest, const std::string& inName, const AptRun& inRun, int inTag,
            const FrameOf& inFrameOf) {
    const auto type = DP::kDescriptorDataTypeAPT;
    const auto source = Source(inName);
    const auto computer = DP::CreateDescriptorComputer(DP::CreateAPTDescriptorProperty(
        inRun.mFeatures, inTag, inRun.mDistance, inRun.mMinFeatures, source, type,
        inRun.mStationaryLimit, inRun.mVerify));
    FloatImage previous_image;
    Ref<DP::IAPTDescriptorData> previous;
    for (int frame = 0; frame < inRun.mFrames; ++frame) {
        const FloatImage image = inFrameOf(inRun.mClip, frame);
        const auto item = DP::CreateDescriptorWorkerItem(type);
        item->SetDataKey(DP::CreateAPTDescriptorDataKey(
            source, frame, inTag, inRun.mFeatures, inRun.mClip.mRows, inRun.mClip.mColumns,
            inRun.mDistance, inRun.mMinFeatures, inRun.mStationaryLimit, inRun.mVerify));
        Ref<DP::IAPTDescriptorWorkerItem>(item)->SetInputs(
            previous_image, image, previous, static_cast<unsigned int>(inRun.mClip.mColumns),
            static_cast<unsigned int>(inRun.mClip.mRows));
        previous = Ref<DP::IAPTDescriptorData>(computer->GetDescriptorData(item, true));
        previous_image = image;
        AddFeatures(ioDigest, *previous->GetFeatures());
    }
}

FloatImage PlainFrame(const Clip& inClip, int inFrame) { return inClip.Floats(inFrame); }

// From frame 3 on with pixels that no camera makes.
FloatImage HostileFrame(const Clip& inClip, int inFrame) {
    constexpr float kValues[] = {std::numeric_limits<float>::quiet_NaN(),
                                 std::numeric_limits<float>::infinity(), -1e30f,
                                 std::numeric_limits<float>::denorm_min()};
    const FloatImage image = inClip.Floats(inFrame);
    if (inFrame >= 3)
        for (std::size_t i = std::size_t(inFrame); i < inClip.Pixels(); i += 211)
            image->GetData()[i] = kValues[i % 4];
    return image;
}

void AddAptScenarios(std::vector<Scenario>& ioScenarios) {
    int tag = 0;
    for (const AptRun& run : kAptRuns) {
        const std::string name = std::string("apt/") + run.mName;
        ioScenarios.push_back({.mName = name,
                               .mUsesLapack = run.mFrames > 1,
                               .mRun = [=, number = tag++](Digest& ioDigest) {
                                   RunApt(ioDigest, name, run, number, PlainFrame);
                               }});
    }
    ioScenarios.push_back(
        {.mName = "apt/not-a-number", .mUsesLapack = true, .mRun = [=](Digest& ioDigest) {
             RunApt(ioDigest, "apt/not-a-number", {.mName = "", .mClip = {}}, tag,
                    HostileFrame);
         }});
}

// ---- The tracker of its own ----------------------------------------------------------

void RunTracker(Digest& ioDigest, const Clip& inClip, int inFrames) {
    const std::unique_ptr<DP::Tracker> tracker(DP::Tracker::CreateTracker(
        static_cast<unsigned int>(inClip.mColumns), static_cast<unsigned int>(inClip.mRows)));
    DP::APTFeatureListPtr features;
    for (int frame = 0; frame < inFrames; ++frame) {
        tracker->TrackFeatures(inClip.Floats(frame), static_cast<unsigned int>(frame),
                               features);
        AddFeatures(ioDigest, *features);
    }
}

void AddTrackerScenarios(std::vector<Scenario>& ioScenarios) {
    for (const Clip& clip :
         {Clip{.mColumns = 64, .mRows = 48}, Clip{.mColumns = 200, .mRows = 150},
          Clip{.mColumns = 163, .mRows = 91, .mNoise = 4, .mSeed = 3}})
        ioScenarios.push_back({.mName = "tracker/" + SizeOf(clip),
                               .mUsesLapack = true,
                               .mRun = [=](Digest& ioDigest) {
                                   RunTracker(ioDigest, clip, 6);
                               }});
}

// ---- Region --------------------------------------------------------------------------

struct RegionRun {
    const char* mName;
    Clip mClip;
    TVK::ParamRect<float> mRegion{30, 20, 90, 70};  // left, top, right, bottom; y upward
    int mFrames = 8;
    unsigned int mFeatures = 60;
};

constexpr RegionRun kRegionRuns[] = {
    {.mName = "brief",
     .mClip = {.mColumns = 64, .mRows = 48},
     .mRegion = {10, 8, 50, 40},
     .mFrames = 3,
     .mFeatures = 12},
    {.mName = "defaults", .mClip = {.mColumns = 160, .mRows = 120}},
    {.mName = "odd", .mClip = {.mColumns = 131, .mRows = 97}},
    {.mName = "fast", .mClip = {.mColumns = 160, .mRows = 120, .mSpeedX = 5, .mSpeedY = 2}},
    {.mName = "noisy", .mClip = {.mColumns = 160, .mRows = 120, .mNoise = 8, .mSeed = 9}},
    {.mName = "leaves",
     .mClip = {.mColumns = 120, .mRows = 90, .mSpeedX = 7},
     .mRegion = {60, 20, 110, 70},
     .mFrames = 14},
    {.mName = "stands-still",
     .mClip = {.mColumns = 120, .mRows = 90, .mSpeedX = 0, .mSpeedY = 0}},
    {.mName = "outside", .mClip = {}, .mRegion = {-50, -40, -10, -5}},
    {.mName = "long",
     .mClip = {.mColumns = 160, .mRows = 120, .mSpeedX = 0.4, .mSpeedY = 0.2, .mNoise = 2},
     .mFrames = 60},
};

DP::RegionPtr MakeRegion(const TVK::ParamRect<float>& inRegion) {
    return TVK::MakeObject<TVK::ParamRect<float>>(inRegion);
}

void RunRegion(Digest& ioDigest, const std::string& inName, const RegionRun& inRun, int inTag) {
    const auto type = DP::kDescriptorDataTypeRegionTracker;
    const auto source = Source(inName);
    const DP::RegionPtr start = MakeRegion(inRun.mRegion);
    const auto computer =
        DP::CreateDescriptorComputer(DP::CreateRegionTrackerDescriptorProperty(
            inRun.mFeatures, inTag, 4, 10, source, start, inTag, type));
    FloatImage previous_image;
    auto previous = DP::CreateRegionDescriptorData(MakeRegion(inRun.mRegion));
    for (int frame = 0; frame < inRun.mFrames; ++frame) {
        const FloatImage image = inRun.mClip.Floats(frame);
        const auto item = DP::CreateDescriptorWorkerItem(type);
        item->SetDataKey(DP::CreateRegionTrackerDescriptorDataKey(
            source, frame, inTag, inRun.mFeatures, inRun.mClip.mRows, inRun.mClip.mColumns,
            start, inTag, 4, 10));
        Ref<DP::IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
            previous_image, image, previous, static_cast<unsigned int>(inRun.mClip.mColumns),
            static_cast<unsigned int>(inRun.mClip.mRows));
        previous =
            Ref<DP::IRegionTrackerDescriptorData>(computer->GetDescriptorData(item, true));
        previous_image = image;
        const auto region = previous->GetRegion();
        for (const float side : {region->mLeft, region->mTop, region->mRight, region->mBottom})
            ioDigest.AddFloat(side);
        const auto features = Ref<DP::IAPTDescriptorData>(previous)->GetFeatures();
        if (features != NULL) AddFeatures(ioDigest, *features);
    }
}

void AddRegionScenarios(std::vector<Scenario>& ioScenarios) {
    int tag = 0;
    for (const RegionRun& run : kRegionRuns) {
        const std::string name = std::string("region/") + run.mName;
        ioScenarios.push_back(
            {.mName = name, .mUsesLapack = true, .mRun = [=, number = tag++](Digest& ioDigest) {
                 RunRegion(ioDigest, name, run, number);
             }});
    }
}

// ---- Graph cut -----------------------------------------------------------------------

struct GraphCutRun {
    const char* mName;
    Clip mClip;
    int mPadding = 0;
    int mStrokes = 3;
    int mFrames = 1;
};

constexpr GraphCutRun kGraphCutRuns[] = {
    {.mName = "brief", .mClip = {.mColumns = 33, .mRows = 21}, .mPadding = 4, .mStrokes = 2},
    {.mName = "defaults", .mClip = {.mColumns = 160, .mRows = 120}},
    {.mName = "odd", .mClip = {.mColumns = 131, .mRows = 77}, .mPadding = 9},
    {.mName = "noisy", .mClip = {.mNoise = 30}},
    {.mName = "one-pixel", .mClip = {.mColumns = 1, .mRows = 1}},
    {.mName = "one-row", .mClip = {.mColumns = 67, .mRows = 1}, .mPadding = 3},
    {.mName = "one-column", .mClip = {.mColumns = 1, .mRows = 41}},
    {.mName = "frames", .mClip = {}, .mStrokes = 2, .mFrames = 4},
    {.mName = "large", .mClip = {.mColumns = 640, .mRows = 360, .mNoise = 2}, .mStrokes = 4},
    {.mName = "long", .mClip = {.mColumns = 80, .mRows = 60, .mSeed = 3}, .mStrokes = 60},
};

// A dab of a stroke: foreground towards the middle of the image, background at its rim.
ByteImage Stroke(const Clip& inClip, int inNumber, bool inForeground) {
    const auto image = MakeImage<unsigned char>(inClip.mColumns, inClip.mRows);
    const int number = inForeground ? inNumber * 2 : inNumber * 2 + 1;
    const int width = std::max(1, inClip.mColumns / 12);
    const int height = std::max(1, inClip.mRows / 12);
    const int left = inForeground ? inClip.mColumns * (3 + number % 3) / 8
                                  : (number * 37 % 11) * inClip.mColumns / 12;
    const int top = inForeground ? inClip.mRows * (3 + number % 2) / 8
                                 : (number % 2 == 0 ? 0 : inClip.mRows - height);
    for (int y = 0; y < inClip.mRows; ++y)
        for (int x = 0; x < inClip.mColumns; ++x)
            image->GetData()[y * inClip.mColumns + x] =
                x >= left && x < left + width && y >= top && y < top + height ? 255 : 0;
    return image;
}

ByteImage CopyOf(const ByteImage& inImage) {
    const auto copy = MakeImage<unsigned char>(inImage->GetColumns(), inImage->GetRows());
    copy->CopyPixelsFrom(inImage);
    return copy;
}

void RunGraphCut(Digest& ioDigest, const std::string& inName, const GraphCutRun& inRun) {
    const auto type = DP::kDescriptorDataTypeGraphCut;
    const auto source = Source(inName);
    const auto computer =
        DP::CreateDescriptorComputer(DP::CreateDescriptorProperty(source, type));
    for (int frame = 0; frame < inRun.mFrames; ++frame) {
        const auto pixels = inRun.mClip.Bgra(frame, inRun.mPadding);
        ByteImage labels;
        for (int stroke = 0; stroke < inRun.mStrokes; ++stroke) {
            const auto item = DP::CreateDescriptorWorkerItem(type);
            item->SetDataKey(DP::CreateDescriptorDataKey(
                source, frame * 1000 + stroke, inRun.mClip.mRows, inRun.mClip.mColumns));
            Ref<DP::IGraphCutDescriptorWorkerItem>(item)->SetInputs(
                pixels.data(), static_cast<unsigned int>(inRun.mClip.RowBytes(inRun.mPadding)),
                Stroke(inRun.mClip, stroke, true), Stroke(inRun.mClip, stroke, false),
                labels != NULL ? CopyOf(labels) : nullptr);
            labels = Ref<DP::IGraphCutDescriptorData>(computer->GetDescriptorData(item, true))
                         ->GetLabelImage();
            AddImage(ioDigest, labels);
        }
    }
}

void AddGraphCutScenarios(std::vector<Scenario>& ioScenarios) {
    for (const GraphCutRun& run : kGraphCutRuns) {
        const std::string name = std::string("graph-cut/") + run.mName;
        ioScenarios.push_back(
            {.mName = name, .mRunsAlone = true, .mRun = [=](Digest& ioDigest) {
                 RunGraphCut(ioDigest, name, run);
             }});
    }
}

}  // namespace

std::vector<Scenario> HostScenarios() {
    std::vector<Scenario> scenarios;
    AddGreyScenarios(scenarios);
    AddKltScenarios(scenarios);
    AddAptScenarios(scenarios);
    AddTrackerScenarios(scenarios);
    AddRegionScenarios(scenarios);
    AddGraphCutScenarios(scenarios);
    return scenarios;
}

}  // namespace Scenarios
