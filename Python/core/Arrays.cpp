#include "Arrays.h"

#include <cmath>
#include <string>

namespace Python {

// Both live in this module alone: the names of its columns are part of its interface.
using descriptor::Point;

namespace {

using descriptor::PixelFormat;

std::string name_of_type(const py::handle& inObject) {
    return py::type::of(inObject).attr("__name__").cast<std::string>();
}

py::array as_array(const py::object& inPixels) {
    py::array array = py::array::ensure(inPixels);
    if (!array) throw py::type_error("frame: expected an array, got " + name_of_type(inPixels));
    const bool isByte = array.dtype().is(py::dtype::of<std::uint8_t>()) ||
                        array.dtype().equal(py::dtype::of<std::uint8_t>());
    const bool isFloat = !isByte && array.dtype().equal(py::dtype::of<float>());
    if (!isByte && !isFloat)
        throw py::type_error("frame: expected uint8, or float32 for grey, got " +
                             py::str(array.dtype()).cast<std::string>());
    const bool isGrey = array.ndim() == 2;
    const bool hasChannels =
        array.ndim() == 3 && isByte && (array.shape(2) == 3 || array.shape(2) == 4);
    if (!isGrey && !hasChannels)
        throw py::value_error(
            "frame: expected the shape (height, width)" +
            std::string(isByte ? ", with 3 or 4 channels behind it or without" : "") +
            ", got " + py::str(py::object(array.attr("shape"))).cast<std::string>());
    for (int axis = 0; axis < 2; ++axis)
        if (array.shape(axis) < 1 || array.shape(axis) > 65535)
            throw py::value_error("frame: expected 1 to 65535 rows and columns, got " +
                                  py::str(py::object(array.attr("shape"))).cast<std::string>());
    return array;
}

// Whether rows of the array are rows of a frame, and whether its channels are reversed.
bool has_rows(const py::array& inArray, bool& outIsReversed) {
    const py::ssize_t channels = inArray.ndim() == 3 ? inArray.shape(2) : 1;
    const py::ssize_t pixel = channels * inArray.itemsize();
    outIsReversed = channels == 3 && inArray.strides(2) == -1;
    if (channels > 1 && inArray.strides(2) != 1 && !outIsReversed) return false;
    if (inArray.shape(1) > 1 && inArray.strides(1) != pixel) return false;
    return inArray.shape(0) == 1 || std::abs(inArray.strides(0)) >= inArray.shape(1) * pixel;
}

py::array viewable(const py::array& inArray) {
    bool isReversed = false;
    if (has_rows(inArray, isReversed)) return inArray;
    py::array copy = py::array::ensure(inArray, py::array::c_style | py::array::forcecast);
    if (!copy) throw std::bad_alloc();
    return copy;
}

PixelFormat format_of(const py::array& inArray, bool inIsBlueFirst) {
    if (inArray.ndim() == 2)
        return inArray.itemsize() == 1 ? PixelFormat::grey8 : PixelFormat::grey_float;
    if (inArray.shape(2) == 4) return inIsBlueFirst ? PixelFormat::bgra : PixelFormat::rgba;
    return inIsBlueFirst ? PixelFormat::bgr : PixelFormat::rgb;
}

// The deleter of what Python owns: it may run in any thread, with the lock or without.
template <class Object>
std::shared_ptr<const void> shared(Object inObject) {
    return std::shared_ptr<const void>(new Object(std::move(inObject)),
                                       [](const void* ioOwner) {
                                           const py::gil_scoped_acquire lock;
                                           delete static_cast<const Object*>(ioOwner);
                                       });
}

py::array read_only(const py::dtype& inType, std::vector<py::ssize_t> inShape,
                    const void* inData, std::shared_ptr<const void> inOwner) {
    using Owner = std::shared_ptr<const void>;
    const py::capsule base(new Owner(std::move(inOwner)),
                           [](void* ioOwner) { delete static_cast<Owner*>(ioOwner); });
    py::array array(inType, std::move(inShape), inData, base);
    py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return array;
}

}  // namespace

InputFrame::InputFrame(const py::object& inPixels, const std::string& inChannels,
                       std::optional<std::int64_t> inNumber, std::optional<double> inTime)
    : mArray(viewable(as_array(inPixels))) {
    if (inChannels != "rgb" && inChannels != "bgr")
        throw py::value_error("channels: expected 'rgb' or 'bgr', got '" + inChannels + "'");
    if (inTime && !std::isfinite(*inTime))
        throw py::value_error("time: expected a finite number of seconds");
    bool isReversed = false;
    has_rows(mArray, isReversed);
    const auto* pixels = static_cast<const unsigned char*>(mArray.data());
    mFrame.pixels = isReversed ? pixels - 2 : pixels;
    mFrame.format = format_of(mArray, (inChannels == "bgr") != isReversed);
    mFrame.width = static_cast<int>(mArray.shape(1));
    mFrame.height = static_cast<int>(mArray.shape(0));
    mFrame.stride = mArray.shape(0) > 1 ? mArray.strides(0) : 0;
    mFrame.number = inNumber;
    mFrame.time = inTime;
}

descriptor::Frame InputFrame::kept_frame() const {
    descriptor::Frame frame = mFrame;
    frame.owner = shared(mArray);
    return frame;
}

bool is_viewed(const py::object& inPixels) {
    bool isReversed = false;
    return has_rows(as_array(inPixels), isReversed);
}

py::array array_of(const std::vector<Point>& inPoints, std::shared_ptr<const void> inOwner) {
    static const py::dtype* const sType = new py::dtype(py::dtype::of<Point>());
    return read_only(*sType, {static_cast<py::ssize_t>(inPoints.size())}, inPoints.data(),
                     std::move(inOwner));
}

py::array array_of(const descriptor::Frame& inFrame) {
    const bool isByte = inFrame.format == PixelFormat::grey8;
    return read_only(isByte ? py::dtype::of<std::uint8_t>() : py::dtype::of<float>(),
                     {inFrame.height, inFrame.width}, inFrame.pixels, inFrame.owner);
}

}  // namespace Python
