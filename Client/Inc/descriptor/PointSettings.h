// PointSettings: how points are found and followed.

#pragma once

#include <cmath>
#include <cstdint>
#include <string>

#include "descriptor/Error.h"

namespace descriptor {

/// Which tracker.
enum class Engine : std::int32_t {
    apt,  ///< patch alignment over a pyramid; drops what stands still, can verify
    klt,  ///< image gradients over smoothed pyramids
};

/// "apt" or "klt".
constexpr const char* to_string(Engine inEngine) noexcept {
    return inEngine == Engine::apt ? "apt" : "klt";
}

/// All that can be set, with what it is by default.
struct PointSettings {
    Engine engine = Engine::apt;  ///< which tracker
    int max_points = 500;         ///< as many at most; 1 to 100000
    int min_points = -1;          ///< new ones are looked for below so many; -1: nine tenths
    int min_distance = 10;  ///< APT: pixels between new points, 0 to 10000; KLT: always 10
    float stationary_limit =
        0.0f;             ///< APT: drops what moves no more than so; -1: drops nothing
    bool verify = false;  ///< APT: compares each point with its first patch
    /// Above 0: each point is also followed back into the frame before, and `came_back` is
    /// false for those that end farther from where they were, in pixels. Costs a second step.
    double round_trip = 0.0;

    /// The numbers as the library takes them.
    /// @{
    unsigned points() const noexcept { return static_cast<unsigned>(max_points); }
    unsigned least() const noexcept {
        return static_cast<unsigned>(min_points < 0 ? max_points * 9 / 10 : min_points);
    }
    unsigned distance() const noexcept { return static_cast<unsigned>(min_distance); }
    /// @}

    /// @throws ArgumentError for a value out of its range, or that has no effect.
    void check() const {
        const auto refuse = [](const char* inName, const std::string& inText) {
            throw ArgumentError(std::string("settings.") + inName, inText);
        };
        const auto range = [](const char* inName, double inValue, int inLeast, int inMost) {
            detail::check_range(std::string("settings.") + inName, inValue, inLeast, inMost);
        };
        range("max_points", max_points, 1, 100000);
        range("min_points", min_points, -1, 100000);
        range("min_distance", min_distance, 0, 10000);
        range("stationary_limit", static_cast<double>(stationary_limit), -1, 1000);
        range("round_trip", round_trip, 0, 1000);
        if (engine == Engine::apt) return;
        if (engine != Engine::klt) refuse("engine", "there is no such");
        if (min_distance != 10) refuse("min_distance", "KLT points are always 10 pixels apart");
        if (stationary_limit != 0.0f) refuse("stationary_limit", "is for the APT engine");
        if (verify) refuse("verify", "is for the APT engine");
    }
};

}  // namespace descriptor
