// The shortest way to tracked points: DP::Tracker takes one float grey image after the
// other, and keeps neither keys nor caches.
//
// The clip is a rendered pattern that moves by 1.5 pixels to the right and 0.75 up from
// frame to frame; the program finds that motion again.

#include <DP/Tracker.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int kColumns = 240;
constexpr int kRows = 180;
constexpr float kMotionX = 1.5f;
constexpr float kMotionY = -0.75f;  // positions count y downward

// Waves that cross give corners everywhere, and can be moved by parts of a pixel.
IP::ImagePtr<float> Render(int inFrame) {
    const auto image = TVK::MakeObject<IP::Image<float>>(kColumns, kRows);
    float* pixel = image->GetData();
    for (int row = 0; row < kRows; ++row)
        for (int column = 0; column < kColumns; ++column) {
            const float x = static_cast<float>(column) - kMotionX * static_cast<float>(inFrame);
            const float y = static_cast<float>(row) - kMotionY * static_cast<float>(inFrame);
            *pixel++ = 128.0f + 60.0f * std::sin(0.31f * x + 2.0f * std::sin(0.05f * y)) *
                                    std::sin(0.27f * y + 2.0f * std::sin(0.07f * x));
        }
    return image;
}

float Median(std::vector<float> ioValues) {
    if (ioValues.empty()) return 0.0f;
    const auto middle = ioValues.begin() + static_cast<std::ptrdiff_t>(ioValues.size() / 2);
    std::nth_element(ioValues.begin(), middle, ioValues.end());
    return *middle;
}

}  // namespace

int main() {
    const std::unique_ptr<DP::Tracker> tracker(DP::Tracker::CreateTracker(kColumns, kRows));
    DP::APTFeatureListPtr features;
    bool right = true;
    for (int frame = 0; frame < 6; ++frame) {
        tracker->TrackFeatures(Render(frame), static_cast<unsigned int>(frame), features);

        // The list is an array of slots: a status of 0 was carried over from the frame
        // before, above 0 is new in this frame, below 0 is an empty slot.
        std::vector<float> motionX;
        std::vector<float> motionY;
        int fresh = 0;
        for (const DP::APTFeature& feature : *features) {
            fresh += feature.mStatus > 0;
            if (feature.mStatus != DP::kAPTFeatureTracked) continue;
            motionX.push_back(feature.mDeltaX);
            motionY.push_back(feature.mDeltaY);
        }
        const float x = Median(motionX);
        const float y = Median(motionY);
        std::printf("frame %d: %3d tracked, %3d new, motion (%.2f, %.2f)\n", frame,
                    static_cast<int>(motionX.size()), fresh, static_cast<double>(x),
                    static_cast<double>(y));
        if (frame == 0)
            right = right && fresh > 20;
        else
            right = right && motionX.size() > 20 && std::fabs(x - kMotionX) < 0.05f &&
                    std::fabs(y - kMotionY) < 0.05f;
    }
    return right ? 0 : 1;
}
