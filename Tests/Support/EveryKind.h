// EveryKind: the smallest of the scenarios that together run all eight kinds.

#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

#include "Scenario.h"

namespace Testing {

inline std::vector<Scenarios::Scenario> EveryKind() {
    constexpr std::string_view kNames[] = {
        "grey/33x17",    "float-grey/33x17",    "klt/small",       "apt/small",
        "region/brief",  "graph-cut/one-row",   "graph-cut/brief", "image-pyramid/odd",
        "tracker/64x48", "colour-pyramid/64x33"};
    std::vector<Scenarios::Scenario> scenarios = Scenarios::HostScenarios();
    std::ranges::move(Scenarios::InsideScenarios(), std::back_inserter(scenarios));
    std::erase_if(scenarios, [&](const Scenarios::Scenario& inScenario) {
        return std::ranges::find(kNames, inScenario.mName) == std::end(kNames);
    });
    return scenarios;
}

}  // namespace Testing
