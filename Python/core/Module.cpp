// descriptor._core: the client layer, as the Python classes beside it call it. They give it
// checked types; what it adds itself are arrays, the interpreter's lock and the errors.

#include <array>
#include <string>
#include <tuple>

#include "Arrays.h"
#include "descriptor/client.h"
#include "descriptor/strokes_json.h"

namespace Python {
namespace {

using namespace descriptor;
using std::optional;
using std::string;
using RectTuple = std::array<double, 4>;
using PathArray = py::array_t<double, py::array::c_style | py::array::forcecast>;
using StrokeTuple = std::tuple<PathArray, double, int>;
using History = std::vector<std::vector<StrokeTuple>>;

/// While it lives other threads of Python run. Nothing of Python may be touched.
using Unlocked = py::gil_scoped_release;

// Errors are classes of Python: descriptor/_errors.py says which of its own each one is.
PyObject* error_class(const char* inName) {
    static const py::module_* const sErrors =
        new py::module_(py::module_::import("descriptor._errors"));
    return sErrors->attr(inName).ptr();
}

void translate(std::exception_ptr inError) {
    try {
        if (inError) std::rethrow_exception(inError);
    } catch (const ArgumentError& error) {
        PyErr_SetString(error_class("ArgumentError"), error.what());
    } catch (const BusyError& error) {
        PyErr_SetString(error_class("BusyError"), error.what());
    } catch (const Cancelled& error) {
        PyErr_SetString(error_class("Cancelled"), error.what());
    } catch (const LibraryError& error) {
        PyErr_SetString(error_class("LibraryError"), error.what());
    } catch (const Error& error) {
        PyErr_SetString(error_class("Error"), error.what());
    }
}

/// An attribute of a settings object, by its name where it has the wrong type.
template <class Value>
void read(const py::object& inSettings, const char* inName, Value& outValue) {
    const py::object value = inSettings.attr(inName);
    try {
        outValue = value.cast<Value>();
    } catch (const py::cast_error&) {
        const py::object expected = py::type::of(py::cast(outValue)).attr("__name__");
        throw py::type_error(string("settings.") + inName + ": expected " +
                             string(py::str(expected)) + ", got " + string(py::repr(value)));
    }
}

PointSettings point_settings(const py::object& inSettings) {
    PointSettings settings;
    int engine = 0;
    read(inSettings, "engine", engine);
    settings.engine = static_cast<Engine>(engine);
    read(inSettings, "max_points", settings.max_points);
    read(inSettings, "min_points", settings.min_points);
    read(inSettings, "min_distance", settings.min_distance);
    read(inSettings, "stationary_limit", settings.stationary_limit);
    read(inSettings, "verify", settings.verify);
    read(inSettings, "round_trip", settings.round_trip);
    return settings;
}

RegionSettings region_settings(const py::object& inSettings) {
    RegionSettings settings;
    read(inSettings, "max_points", settings.max_points);
    read(inSettings, "min_distance", settings.min_distance);
    read(inSettings, "hold_frames", settings.hold_frames);
    return settings;
}

Rect rect_of(const RectTuple& inRect) { return {inRect[0], inRect[1], inRect[2], inRect[3]}; }

py::tuple result_of(FramePoints inPoints) {
    const auto points = std::make_shared<const FramePoints>(std::move(inPoints));
    return py::make_tuple(array_of(points->live, points), array_of(points->lost, points),
                          points->frame, points->time, points->is_repeated, points->is_cut);
}

py::tuple result_of(RegionResult inResult) {
    const auto result = std::make_shared<const RegionResult>(std::move(inResult));
    const Rect& rect = result->rect;
    return py::make_tuple(py::make_tuple(rect.x, rect.y, rect.width, rect.height),
                          static_cast<int>(result->state), result->lost_since,
                          array_of(result->points, result), result->frame, result->time);
}

/// What a run reports to: a function of Python or None. Ctrl-C is looked for in either case,
/// so that it ends the run, within a step too.
ProgressCallback progress_of(const py::object& inCallback) {
    const std::shared_ptr<py::object> callback(new py::object(inCallback), [](py::object* io) {
        const py::gil_scoped_acquire lock;
        delete io;
    });
    return [callback](const Progress& inProgress) {
        const py::gil_scoped_acquire lock;
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        // Within a step nobody is told.
        if (callback->is_none() || inProgress.is_within) return true;
        const py::object total = inProgress.total < 0 ? py::object(py::none())
                                                      : py::object(py::int_(inProgress.total));
        const py::object answer = (*callback)(inProgress.done, total);
        return answer.is_none() || answer.cast<bool>();
    };
}

Strokes strokes_of(const std::vector<StrokeTuple>& inStrokes) {
    Strokes strokes;
    for (const auto& [path, radius, label] : inStrokes) {
        Stroke stroke{.path = {}, .radius = radius, .label = static_cast<Label>(label)};
        const auto points = path.unchecked<2>();
        for (py::ssize_t i = 0; i < points.shape(0); ++i)
            stroke.path.push_back({points(i, 0), points(i, 1)});
        strokes.push_back(std::move(stroke));
    }
    return strokes;
}

std::vector<Strokes> history_of(const History& inHistory) {
    std::vector<Strokes> history;
    for (const auto& strokes : inHistory)
        history.push_back(strokes_of(strokes));
    return history;
}

py::list list_of(const std::vector<Strokes>& inHistory) {
    py::list cuts;
    for (const Strokes& strokes : inHistory) {
        py::list cut;
        for (const Stroke& stroke : strokes) {
            py::list path;
            for (const Position& point : stroke.path)
                path.append(py::make_tuple(point.x, point.y));
            cut.append(py::make_tuple(path, stroke.radius, static_cast<int>(stroke.label)));
        }
        cuts.append(cut);
    }
    return cuts;
}

py::list lines_of(const std::vector<Polyline>& inOutline) {
    py::list lines;
    for (const Polyline& line : inOutline) {
        py::array_t<double> points({static_cast<py::ssize_t>(line.size()), py::ssize_t{2}});
        auto out = points.mutable_unchecked<2>();
        for (std::size_t i = 0; i < line.size(); ++i) {
            out(static_cast<py::ssize_t>(i), 0) = line[i].x;
            out(static_cast<py::ssize_t>(i), 1) = line[i].y;
        }
        lines.append(points);
    }
    return lines;
}

void bind_source(py::module_& ioModule) {
    py::class_<Source>(ioModule, "Source")
        .def(py::init<>())
        .def(py::init([](const py::bytes& inName) { return Source(string(inName)); }));
    ioModule.def("clear_caches", [] {
        const Unlocked unlocked;
        clear_caches();
    });
    ioModule.def("cache_figures", [](optional<int> inKind) {
        const CacheFigures figures =
            inKind ? cache_figures(static_cast<Kind>(*inKind)) : cache_figures();
        return py::make_tuple(figures.bytes, figures.hits, figures.misses);
    });
}

void bind_grey(py::module_& ioModule) {
    py::class_<GreyFrames>(ioModule, "GreyFrames")
        .def(py::init<const Source&>())
        .def("convert", [](const GreyFrames& inGrey, const py::object& inPixels, bool inIsFloat,
                           const string& inChannels, optional<std::int64_t> inNumber) {
            const InputFrame input(inPixels, inChannels, inNumber);
            Frame grey;
            {
                const Unlocked unlocked;
                grey =
                    inIsFloat ? inGrey.grey_float(input.frame()) : inGrey.grey8(input.frame());
            }
            return array_of(grey);
        });
    ioModule.def("is_viewed", &is_viewed);
}

void bind_points(py::module_& ioModule) {
    PYBIND11_NUMPY_DTYPE(Point, id, slot, status, x, y, dx, dy, age, score, round_trip,
                         came_back);
    ioModule.attr("point_dtype") = py::dtype::of<Point>();
    py::class_<PointTracker>(ioModule, "PointTracker")
        .def(py::init([](const py::object& inSettings, const Source& inSource) {
            const PointSettings settings = point_settings(inSettings);
            const Unlocked unlocked;
            return std::make_unique<PointTracker>(settings, inSource);
        }))
        .def("advance",
             [](PointTracker& ioTracker, const py::object& inPixels, const string& inChannels,
                optional<std::int64_t> inNumber, optional<double> inTime) {
                 const InputFrame input(inPixels, inChannels, inNumber, inTime);
                 FramePoints points;
                 {
                     const Unlocked unlocked;
                     points = ioTracker.advance(input.frame());
                 }
                 return result_of(std::move(points));
             })
        .def("restart", &PointTracker::restart, py::call_guard<Unlocked>());
}

void bind_region(py::module_& ioModule) {
    py::class_<RegionTracker>(ioModule, "RegionTracker")
        .def(py::init(
            [](const RectTuple& inStart, const py::object& inSettings, const Source& inSource) {
                const RegionSettings settings = region_settings(inSettings);
                const Unlocked unlocked;
                return std::make_unique<RegionTracker>(rect_of(inStart), settings, inSource);
            }))
        .def("advance",
             [](RegionTracker& ioTracker, const py::object& inPixels,
                const optional<RectTuple>& inRect, const string& inChannels,
                optional<std::int64_t> inNumber, optional<double> inTime) {
                 const InputFrame input(inPixels, inChannels, inNumber, inTime);
                 RegionResult result;
                 {
                     const Unlocked unlocked;
                     result = inRect ? ioTracker.advance(input.frame(), rect_of(*inRect))
                                     : ioTracker.advance(input.frame());
                 }
                 return result_of(std::move(result));
             })
        .def("correct", [](RegionTracker& ioTracker, const RectTuple& inRect) {
            RegionResult result;
            {
                const Unlocked unlocked;
                result = ioTracker.correct(rect_of(inRect));
            }
            return result_of(std::move(result));
        });
    ioModule.def("track_between",
                 [](const py::object& inFrames,
                    const std::vector<std::pair<std::int64_t, RectTuple>>& inKeys,
                    const py::object& inSettings, const string& inChannels,
                    const py::object& inProgress) {
                     std::vector<KeyFrame> keys;
                     for (const auto& key : inKeys)
                         keys.push_back({key.first, rect_of(key.second)});
                     const RegionSettings settings = region_settings(inSettings);
                     settings.check();
                     const auto frameAt = [&](std::int64_t inNumber) {
                         const py::gil_scoped_acquire lock;
                         return InputFrame(inFrames(inNumber), inChannels).kept_frame();
                     };
                     const ProgressCallback progress = progress_of(inProgress);
                     std::vector<RegionResult> results;
                     {
                         const Unlocked unlocked;
                         results = track_between(frameAt, keys, settings, progress);
                     }
                     py::list list;
                     for (RegionResult& result : results)
                         list.append(result_of(std::move(result)));
                     return list;
                 });
}

void bind_selection(py::module_& ioModule) {
    py::class_<Selection>(ioModule, "Selection")
        .def(py::init([](const py::object& inPixels, const string& inChannels,
                         bool inTakesTurns, const py::object& inProgress) {
            const InputFrame input(inPixels, inChannels);
            SelectionSettings settings{inTakesTurns, progress_of(inProgress)};
            const Unlocked unlocked;
            return std::make_unique<Selection>(input.frame(), std::move(settings));
        }))
        .def("add",
             [](Selection& ioSelection, const std::vector<StrokeTuple>& inStrokes) {
                 const Strokes strokes = strokes_of(inStrokes);
                 const Unlocked unlocked;
                 ioSelection.add(strokes);
             })
        .def("replace",
             [](Selection& ioSelection, const History& inHistory) {
                 const std::vector<Strokes> history = history_of(inHistory);
                 const Unlocked unlocked;
                 ioSelection.replace(history);
             })
        .def("undo", &Selection::undo, py::call_guard<Unlocked>())
        .def("redo", &Selection::redo, py::call_guard<Unlocked>())
        .def("can_undo", &Selection::can_undo)
        .def("can_redo", &Selection::can_redo)
        .def("history",
             [](const Selection& inSelection) {
                 const auto history = inSelection.history();
                 return list_of({history.begin(), history.end()});
             })
        .def("mask", [](const Selection& inSelection) { return array_of(inSelection.mask()); })
        .def("to_json",
             [](const Selection& inSelection) { return to_json(strokes_of(inSelection)); })
        .def("last_cut_seconds", &Selection::last_cut_seconds);
    ioModule.def("strokes_from_json", [](const string& inText) {
        const StrokeFile file = strokes_from_json(inText);
        return py::make_tuple(file.width, file.height, list_of(file.history));
    });
    ioModule.def("outline", [](const py::object& inMask) {
        const InputFrame mask(inMask, "rgb");
        return lines_of(outline_of(mask.frame()));
    });
    ioModule.def("to_svg", [](const py::object& inMask) {
        const InputFrame mask(inMask, "rgb");
        return to_svg(outline_of(mask.frame()), mask.frame().width, mask.frame().height);
    });
}

py::dict enum_names() {
    const auto names = [](auto inFirst, auto inLast) {
        py::list list;
        for (int i = static_cast<int>(inFirst); i <= static_cast<int>(inLast); ++i)
            list.append(to_string(static_cast<decltype(inFirst)>(i)));
        return list;
    };
    py::dict dict;
    dict["Engine"] = names(Engine::apt, Engine::klt);
    dict["PointStatus"] = names(PointStatus::found, PointStatus::different);
    dict["RegionState"] = names(RegionState::key_frame, RegionState::lost);
    dict["Label"] = names(Label::foreground, Label::background);
    return dict;
}

}  // namespace
}  // namespace Python

PYBIND11_MODULE(_core, module) {
    using namespace Python;
    py::register_exception_translator(&translate);
    bind_source(module);
    bind_grey(module);
    bind_points(module);
    bind_region(module);
    bind_selection(module);
    module.attr("version") = DP_VERSION;
    // For people, in the order of the values; the enumerations beside this module have them.
    module.attr("texts") = enum_names();
}
