#include "EditorFiles.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "JsonFile.h"
#include "TextFile.h"
#include "UserError.h"

namespace Host {
namespace {

template <class... Values>
void Print(std::string& ioText, const char* inFormat, Values... inValues) {
    char line[256];
    std::snprintf(line, sizeof line, inFormat, inValues...);
    ioText += line;
}

// Blender counts frames from 1; the empty moves over a plane of one unit's width, y upward.
std::string Blender(const Motion& inMotion) {
    std::string text =
        "# Run in Blender's text editor: makes an empty that moves as the track does.\n"
        "# frame, x and y of the centre, width, height; y upward, the picture 1 unit wide\n"
        "keys = [\n";
    for (const Motion::Key& key : inMotion.mKeys) {
        const Point centre = inMotion.Centre(key);
        Print(text, "    (%lld, %.7f, %.7f, %.7f, %.7f),\n", key.mFrame + 1,
              centre.mX / inMotion.mWidth - 0.5,
              (0.5 * inMotion.mHeight - centre.mY) / inMotion.mWidth,
              key.mBox.mWidth / inMotion.mWidth, key.mBox.mHeight / inMotion.mWidth);
    }
    return text +
           "]\n"
           "import bpy\n"
           "track = bpy.data.objects.new('track', None)\n"
           "bpy.context.collection.objects.link(track)\n"
           "for frame, x, y, width, height in keys:\n"
           "    track.location = (x, y, 0.0)\n"
           "    track.scale = (width, height, 1.0)\n"
           "    track.keyframe_insert('location', frame=frame)\n"
           "    track.keyframe_insert('scale', frame=frame)\n";
}

// Scale is in percent of the first rectangle.
std::string AfterEffects(const Motion& inMotion) {
    std::string text = "Adobe After Effects 8.0 Keyframe Data\n\n";
    Print(text, "\tUnits Per Second\t%.6g\n", inMotion.mFrameRate);
    Print(text, "\tSource Width\t%d\n\tSource Height\t%d\n", inMotion.mWidth, inMotion.mHeight);
    text += "\tSource Pixel Aspect Ratio\t1\n\tComp Pixel Aspect Ratio\t1\n\n";
    text += "Transform\tPosition\n\tFrame\tX pixels\tY pixels\tZ pixels\n";
    for (const Motion::Key& key : inMotion.mKeys)
        Print(text, "\t%lld\t%.4f\t%.4f\t0\n", key.mFrame, inMotion.Centre(key).mX,
              inMotion.Centre(key).mY);
    text += "\nTransform\tScale\n\tFrame\tX percent\tY percent\tZ percent\n";
    const auto percent = [](double inSize, double inFirst) {
        return inFirst > 0.0 ? 100.0 * inSize / inFirst : 100.0;
    };
    for (const Motion::Key& key : inMotion.mKeys) {
        const Box& first = inMotion.mKeys.front().mBox;
        Print(text, "\t%lld\t%.4f\t%.4f\t100\n", key.mFrame,
              percent(key.mBox.mWidth, first.mWidth), percent(key.mBox.mHeight, first.mHeight));
    }
    return text + "\nEnd of Keyframe Data\n";
}

std::string Nuke(const Motion& inMotion) {
    std::string text;
    for (const Motion::Key& key : inMotion.mKeys)
        Print(text, "%lld %.4f %.4f\n", key.mFrame, inMotion.Centre(key).mX,
              inMotion.mHeight - inMotion.Centre(key).mY);
    return text;
}

std::string Mlt(const Motion& inMotion) {
    std::string text;
    for (const Motion::Key& key : inMotion.mKeys)
        Print(text, "%s%lld=%.2f %.2f %.2f %.2f 1", text.empty() ? "" : ";", key.mFrame,
              key.mBox.mX, key.mBox.mY, key.mBox.mWidth, key.mBox.mHeight);
    return text + "\n";
}

void PrintClock(std::string& ioText, double inSeconds) {
    const long long milliseconds = std::llround(std::max(0.0, inSeconds) * 1e3);
    Print(ioText, "%02lld:%02lld:%02lld.%03lld", milliseconds / 3600000,
          milliseconds / 60000 % 60, milliseconds / 1000 % 60, milliseconds % 1000);
}

std::string WebVtt(const Motion& inMotion) {
    std::string text = "WEBVTT\n";
    for (std::size_t i = 0; i < inMotion.mKeys.size(); ++i) {
        const Motion::Key& key = inMotion.mKeys[i];
        const bool isLast = i + 1 == inMotion.mKeys.size();
        text += "\n";
        PrintClock(text, key.mTime);
        text += " --> ";
        PrintClock(
            text, isLast ? key.mTime + 1.0 / inMotion.mFrameRate : inMotion.mKeys[i + 1].mTime);
        text += '\n';
        text += JsonText({{"frame", key.mFrame},
                          {"x", key.mBox.mX},
                          {"y", key.mBox.mY},
                          {"width", key.mBox.mWidth},
                          {"height", key.mBox.mHeight}});
        text += '\n';
    }
    return text;
}

struct Form {
    const char *mName, *mEnding;
    std::string (*mText)(const Motion&);
};
constexpr Form kForms[] = {{"blender", ".blender.py", &Blender},
                           {"ae", ".ae.txt", &AfterEffects},
                           {"nuke", ".nuke.txt", &Nuke},
                           {"mlt", ".mlt.txt", &Mlt},
                           {"webvtt", ".vtt", &WebVtt}};

const Form& Find(const std::string& inName) {
    for (const Form& form : kForms)
        if (form.mName == inName) return form;
    throw UsageError("there is no form '" + inName + "' for editors");
}

}  // namespace

std::vector<std::string> EditorForms() {
    std::vector<std::string> names;
    for (const Form& form : kForms)
        names.emplace_back(form.mName);
    return names;
}

std::string EditorFileName(const std::string& inStem, const std::string& inForm) {
    return inStem + Find(inForm).mEnding;
}

void WriteEditorFiles(const Motion& inMotion, const std::vector<std::string>& inForms,
                      const std::string& inPathStem) {
    for (const std::string& form : inForms) {
        TextFile file(EditorFileName(inPathStem, form));
        file.Print(Find(form).mText(inMotion));
        file.Flush();
    }
}

void PointPaths::Add(const descriptor::FramePoints& inPoints, long long inFrame,
                     double inTime) {
    for (const descriptor::Point& point : inPoints.lost)
        Keep(mPaths[std::size_t(point.slot)]);
    for (const descriptor::Point& point : inPoints) {
        mPaths.resize(std::max(mPaths.size(), std::size_t(point.slot) + 1));
        mPaths[std::size_t(point.slot)].push_back(
            {inFrame, inTime, {point.x + 0.5, point.y + 0.5, 0.0, 0.0}});
    }
}

void PointPaths::Keep(Path& ioPath) {
    const auto isLonger = [](const Path& inFirst, const Path& inSecond) {
        return inFirst.size() > inSecond.size();
    };
    if (mLongest.size() < kPaths || isLonger(ioPath, mLongest.back())) {
        if (mLongest.size() == kPaths) mLongest.pop_back();
        mLongest.insert(std::upper_bound(mLongest.begin(), mLongest.end(), ioPath, isLonger),
                        ioPath);
    }
    ioPath.clear();
}

std::vector<PointPaths::Path> PointPaths::Longest() {
    for (Path& path : mPaths)
        Keep(path);
    std::erase_if(mLongest, [](const Path& inPath) { return inPath.empty(); });
    return mLongest;
}

}  // namespace Host
