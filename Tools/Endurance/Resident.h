// Resident: memory that a program holds, and whether a series of measurements grows.

#pragma once

#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <vector>

namespace Testing {

/// Bytes of the process that are in memory now, less the pages of files: those the system takes
/// away and brings back as it likes. Linux only.
inline double ResidentBytes() {
    std::ifstream file("/proc/self/statm");
    double total = 0.0;
    double resident = 0.0;
    double ofFiles = 0.0;
    file >> total >> resident >> ofFiles;
    return (resident - ofFiles) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// The slope of the straight line of least squares through equally spaced values.
inline double SlopePerStep(const std::vector<double>& inValues) {
    const double count = static_cast<double>(inValues.size());
    const double middle = (count - 1.0) / 2.0;
    double product = 0.0;
    double square = 0.0;
    for (std::size_t i = 0; i < inValues.size(); ++i) {
        const double x = static_cast<double>(i) - middle;
        product += x * inValues[i];
        square += x * x;
    }
    return square > 0.0 ? product / square : 0.0;
}

}  // namespace Testing
