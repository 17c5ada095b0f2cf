// EveryKind: the smallest of the scenarios that together run all kinds.

#pragma once

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Scenario.h"
#include "Support/KindTable.h"

namespace Testing {

/// @throws std::logic_error where a kind has no scenario, or one that there is not.
inline std::vector<Scenarios::Scenario> EveryKind() {
    std::vector<Scenarios::Scenario> all = Scenarios::HostScenarios();
    std::ranges::move(Scenarios::InsideScenarios(), std::back_inserter(all));
    std::vector<Scenarios::Scenario> scenarios;
    for (const KindRow& row : KindTable()) {
        if (row.mScenarios.empty()) throw std::logic_error("no scenario for " + row.mName);
        for (const std::string& name : row.mScenarios) {
            const auto found = std::ranges::find(all, name, &Scenarios::Scenario::mName);
            if (found == all.end()) throw std::logic_error("no scenario " + name);
            scenarios.push_back(*found);
        }
    }
    return scenarios;
}

}  // namespace Testing
