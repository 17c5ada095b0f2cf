// NumPy's arrays as frames, and results as arrays that share the library's memory.

#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "descriptor/Frame.h"
#include "descriptor/Points.h"

namespace Python {

namespace py = pybind11;

/// A frame that is given, and the array behind it.
///
/// The pixels of a row must lie side by side; rows may have any distance, also a negative one.
/// Three channels may lie in the opposite order (`array[..., ::-1]`). Such arrays are viewed
/// as they lie, all others are copied once.
///
/// Threads: made and destroyed with the interpreter's lock held; read without.
/// Errors: TypeError for what is no array of uint8 or float32, ValueError for its shape.
class InputFrame {
public:
    /// @param inChannels  "rgb" or "bgr": the order of three and four channels.
    InputFrame(const py::object& inPixels, const std::string& inChannels,
               std::optional<std::int64_t> inNumber = {}, std::optional<double> inTime = {});

    const descriptor::Frame& frame() const { return mFrame; }
    /// The same, holding on to the array for as long as anybody has the frame.
    descriptor::Frame kept_frame() const;

private:
    py::array mArray;
    descriptor::Frame mFrame;
};

/// Whether the array is taken without a copy of this layer's making.
bool is_viewed(const py::object& inPixels);

/// A read-only structured array over the points, which `inOwner` keeps alive.
py::array array_of(const std::vector<descriptor::Point>& inPoints,
                   std::shared_ptr<const void> inOwner);

/// A read-only array (height, width) over a grey frame of the library.
py::array array_of(const descriptor::Frame& inFrame);

}  // namespace Python
