// The plug-in that load_cycles loads: some work of every kind that a host can reach.

#include "DP/DescriptorFactory.h"
#include "Scenario.h"

extern "C" __attribute__((visibility("default"))) int Work() {
    int wrong = 0;
    for (const auto& scenario : Scenarios::HostScenarios())
        for (const char* const name :
             {"grey/33x17", "float-grey/33x17", "klt/small", "apt/small", "region/brief",
              "graph-cut/brief", "tracker/64x48"})
            if (scenario.mName == name) {
                Scenarios::Digest digest;
                scenario.mRun(digest);
                if (digest.Value() != Scenarios::FindExpectedDigest(name)->mDigest) ++wrong;
            }
    DP::FlushAllDescriptorResources();
    return wrong;
}
