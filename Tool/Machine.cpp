#include "Machine.h"

#include "System.h"

namespace Host {

#if defined(__x86_64__)
// The compiler's name for a level is new, so its instructions are asked for one by one.
std::string InstructionSetLevel() {
    const auto all = [](auto... inSupported) {
        return (... && (inSupported != 0));
    };
    const bool v2 = all(__builtin_cpu_supports("sse4.2"), __builtin_cpu_supports("ssse3"),
                        __builtin_cpu_supports("popcnt"));
    const bool v3 = v2 && all(__builtin_cpu_supports("avx2"), __builtin_cpu_supports("fma"),
                              __builtin_cpu_supports("bmi"), __builtin_cpu_supports("bmi2"));
    const bool v4 =
        v3 && all(__builtin_cpu_supports("avx512f"), __builtin_cpu_supports("avx512bw"),
                  __builtin_cpu_supports("avx512cd"), __builtin_cpu_supports("avx512dq"),
                  __builtin_cpu_supports("avx512vl"));
    return v4 ? "x86-64-v4" : v3 ? "x86-64-v3" : v2 ? "x86-64-v2" : "x86-64-v1";
}
#else
std::string InstructionSetLevel() { return ProcessorName(); }
#endif

}  // namespace Host
