// The fit of a region's motion to hostile points and rectangles, and the region tracker over
// frames. What the groups of a fit hold is checked; a rectangle may be anything.

#include <algorithm>
#include <vector>

#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "Fuzz/Frames.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "RegionTracker/RegionMotionFit.h"
#include "RegionTracker/RegionTrackerWrapper.h"
#include "Support/Reports.h"

namespace {

using DP::APTFeatureList;
using Fuzz::Input;
using Fuzz::Require;
using Rect = TVK::ParamRect<float>;

Rect ReadRect(Input& ioInput) {
    return {ioInput.Float(), ioInput.Float(), ioInput.Float(), ioInput.Float()};
}

// Points that move by one motion or another, or anyhow.
void ReadPoints(Input& ioInput, APTFeatureList& outPrevious, APTFeatureList& outCurrent) {
    const float motions[2][2] = {{ioInput.Float(), ioInput.Float()},
                                 {ioInput.Float(), ioInput.Float()}};
    for (int i = ioInput.Between(0, 40); i > 0; --i) {
        DP::APTFeature from, to;
        const int kind = ioInput.Byte();
        from.mX = kind < 0xf0 ? static_cast<float>(ioInput.Byte()) : ioInput.Float();
        from.mY = kind < 0xf0 ? static_cast<float>(ioInput.Byte()) : ioInput.Float();
        to.mX = from.mX + motions[kind % 2][0];
        to.mY = kind % 8 == 7 ? ioInput.Float() : from.mY + motions[kind % 2][1];
        to.mStatus = kind % 16 == 9    ? ioInput.Whole<int>()
                     : kind % 16 == 10 ? DP::kAPTFeatureLost
                                       : DP::kAPTFeatureTracked;
        outPrevious.push_back(from);
        outCurrent.push_back(to);
    }
}

// What falls outside the image is not drawn.
void DrawRect(Input& ioInput, const Rect& inRect) {
    const Fuzz::Size size = Fuzz::ReadSize(ioInput, 48);
    std::vector<unsigned char> plane(static_cast<std::size_t>(size.mCols * size.mRows) + 1);
    DP::RegionTrackerWrapper::DrawRectOnPlane(plane.data(), size.mCols, size.mRows,
                                              TVK::MakeObject<Rect>(inRect));
    Require(plane.back() == 0, "the byte behind the plane");
}

void Fit(Input& ioInput) {
    const auto previous = TVK::MakeObject<APTFeatureList>();
    const auto current = TVK::MakeObject<APTFeatureList>();
    const Rect rect = ReadRect(ioInput);
    const int rows = ioInput.Whole<int>();
    ReadPoints(ioInput, *previous, *current);

    Rect moved;
    DP::MotionGroups groups;
    int selected = -1;
    DP::FitRegionMotion(current, previous, rows, &rect, &moved, groups, &selected);
    DrawRect(ioInput, rect);
    DrawRect(ioInput, moved);
    Require(selected == 0 || selected == 1, "one of the two groups");
    Require(groups.size() == 2, "two groups");
    std::vector<int> all(groups[0]);
    all.insert(all.end(), groups[1].begin(), groups[1].end());
    Require(std::is_sorted(groups[0].begin(), groups[0].end()), "ascending");
    Require(std::is_sorted(groups[1].begin(), groups[1].end()), "ascending");
    std::sort(all.begin(), all.end());
    Require(std::adjacent_find(all.begin(), all.end()) == all.end(), "in one group at most");
    for (const int index : all)
        Require((*current)[static_cast<std::size_t>(index)].mStatus >= 0, "live points");
}

void Track(Input& ioInput) {
    const Fuzz::Size size = Fuzz::ReadSize(ioInput, 48);
    const auto slots = static_cast<unsigned int>(ioInput.Between(0, 15));
    const auto region = TVK::MakeObject<Rect>(ReadRect(ioInput));
    const auto computer =
        DP::CreateDescriptorComputer(DP::CreateRegionTrackerDescriptorProperty(
            slots, 0, ioInput.Whole<unsigned int>(), 5, {}, region, 0,
            DP::kDescriptorDataTypeRegionTracker));
    DP::Ref<DP::IRegionTrackerDescriptorData> data = DP::CreateRegionDescriptorData(region);
    IP::ImagePtr<float> previous;
    for (int frame = 0; frame < 6 && !ioInput.IsAtEnd(); ++frame) {
        const auto current = Fuzz::ReadFloatImage(ioInput, size);
        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeRegionTracker);
        item->SetDataKey(DP::CreateRegionTrackerDescriptorDataKey(
            {}, frame, 0, slots, size.mRows, size.mCols, region, 0, 3, 5));
        DP::Ref<DP::IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
            previous, current, data, static_cast<unsigned int>(size.mCols),
            static_cast<unsigned int>(size.mRows));
        data = computer->GetDescriptorData(item, ioInput.Flag());
        Require(data != NULL && data->GetRegion() != NULL, "a frame has a region");
        Require(DP::Ref<DP::IAPTDescriptorData>(data)->GetFeatures()->size() == slots,
                "a slot for each point");
        previous = current;
    }
    DP::FlushAllDescriptorResources();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    const Testing::RecordedReports reports;
    Input input(inData, inSize);
    if (input.Flag())
        Fit(input);
    else
        Track(input);
    return 0;
}
