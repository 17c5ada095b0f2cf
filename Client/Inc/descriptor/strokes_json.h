// Strokes as JSON, to be kept beside a project and opened again.
//
//     {"format": "descriptor-strokes", "version": 1, "width": 1280, "height": 720,
//      "cuts": [[{"label": "foreground", "radius": 6, "path": [[320, 180], [380, 200]]}]]}
//
// One array for each `add`, so that the same cuts are made again, to the same bits. Numbers
// are written so that they are read back to the last bit.
//
// This header needs nlohmann-json (nlohmann/json.hpp), and is the only one that does: texts
// come from users and networks, where a reader that has been attacked for years is better
// than a new one.

#pragma once

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "descriptor/Selection.h"

namespace descriptor {

/// Strokes with the size of the picture that they were drawn on.
struct StrokeFile {
    int width = 0;                 ///< of the picture, in pixels
    int height = 0;                ///< the same
    std::vector<Strokes> history;  ///< as `Selection::history` has them

    /// Side by side.
    friend bool operator==(const StrokeFile&, const StrokeFile&) = default;
};

/// The strokes of a selection that count.
inline StrokeFile strokes_of(const Selection& inSelection) {
    const auto history = inSelection.history();
    return {inSelection.width(), inSelection.height(), {history.begin(), history.end()}};
}

/// As a text of one line.
inline std::string to_json(const StrokeFile& inFile) {
    auto cuts = nlohmann::ordered_json::array();
    for (const Strokes& strokes : inFile.history) {
        auto cut = nlohmann::ordered_json::array();
        for (const Stroke& stroke : strokes) {
            auto path = nlohmann::ordered_json::array();
            for (const Position& point : stroke.path)
                path.push_back({point.x, point.y});
            cut.push_back({{"label", to_string(stroke.label)},
                           {"radius", stroke.radius},
                           {"path", std::move(path)}});
        }
        cuts.push_back(std::move(cut));
    }
    const nlohmann::ordered_json file{{"format", "descriptor-strokes"},
                                      {"version", 1},
                                      {"width", inFile.width},
                                      {"height", inFile.height},
                                      {"cuts", std::move(cuts)}};
    return file.dump();
}

namespace detail {

inline Stroke stroke_of(const nlohmann::json& inStroke) {
    Stroke stroke;
    const std::string label = inStroke.at("label").get<std::string>();
    if (label != "foreground" && label != "background")
        throw ArgumentError("json", "label is neither foreground nor background");
    stroke.label = label == "foreground" ? Label::foreground : Label::background;
    stroke.radius = inStroke.at("radius").get<double>();
    for (const nlohmann::json& point : inStroke.at("path")) {
        if (point.size() != 2) throw ArgumentError("json", "a point has two numbers");
        stroke.path.push_back({point.at(0).get<double>(), point.at(1).get<double>()});
    }
    return stroke;
}

}  // namespace detail

/// @throws ArgumentError for a text that is no such file, or whose strokes cannot be drawn.
inline StrokeFile strokes_from_json(std::string_view inText) {
    try {
        const auto json = nlohmann::json::parse(inText);
        if (json.at("format") != "descriptor-strokes" || json.at("version") != 1)
            throw ArgumentError("json", "this is no descriptor-strokes of version 1");
        StrokeFile file{json.at("width").get<int>(), json.at("height").get<int>(), {}};
        for (const nlohmann::json& cut : json.at("cuts")) {
            Strokes strokes;
            for (const nlohmann::json& stroke : cut)
                strokes.push_back(detail::stroke_of(stroke));
            check(strokes);
            file.history.push_back(std::move(strokes));
        }
        return file;
    } catch (const nlohmann::json::exception& error) {
        throw ArgumentError("json", error.what());
    }
}

/// The same with a file. The path is the system's own.
/// @throws Error where the file cannot be written or read.
/// @{
inline void save_strokes(const std::string& inPath, const Selection& inSelection) {
    std::ofstream file(inPath, std::ios::binary);
    file << to_json(strokes_of(inSelection)) << "\n";
    file.close();
    if (!file) throw Error(inPath + ": cannot be written");
}
inline StrokeFile load_strokes(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file) throw Error(inPath + ": cannot be read");
    return strokes_from_json(text);
}
/// @}

}  // namespace descriptor
