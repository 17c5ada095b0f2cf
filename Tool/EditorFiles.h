// EditorFiles: a run of a point or rectangle as compositing programs and web pages read it.

#pragma once

#include <string>
#include <vector>

#include "Geometry.h"
#include "descriptor/Points.h"

namespace Host {

/// One rectangle a frame, with its time; y downward. A point has no width and height.
struct Motion {
    struct Key {
        long long mFrame = 0;
        double mTime = 0.0;  ///< seconds
        Box mBox;
    };
    int mWidth = 0, mHeight = 0;  ///< of the picture
    double mFrameRate = 25.0;
    std::vector<Key> mKeys;

    Point Centre(const Key& inKey) const {
        return {inKey.mBox.mX + inKey.mBox.mWidth / 2, inKey.mBox.mY + inKey.mBox.mHeight / 2};
    }
};

/// The forms, by the names that `--editors` takes.
///
///     blender    a Python script: an empty with key frames, in Blender's text editor
///     ae         Adobe After Effects key-frame text: position and scale, for the clipboard
///     nuke       tracker ASCII of Nuke and Natron: frame, x, y, with y upward
///     mlt        MLT's animation string of a rectangle (Kdenlive, Shotcut)
///     webvtt     WebVTT metadata cues with a JSON rectangle each
std::vector<std::string> EditorForms();
/// The name of the file for a form, such as "region.vtt".
std::string EditorFileName(const std::string& inStem, const std::string& inForm);

/// Writes a file for each form; their paths begin with `inPathStem`.
/// @throws UserError if one cannot be written, UsageError for a form that is not known.
void WriteEditorFiles(const Motion& inMotion, const std::vector<std::string>& inForms,
                      const std::string& inPathStem);

/// The points that were followed longest, as motions without a size.
///
/// Threads: one thread at a time.
class PointPaths {
public:
    using Path = std::vector<Motion::Key>;
    static constexpr std::size_t kPaths = 4;

    void Add(const descriptor::FramePoints& inPoints, long long inFrame, double inTime);
    /// At most `kPaths`, the longest first. The run is over.
    std::vector<Path> Longest();

private:
    void Keep(Path& ioPath);

    std::vector<Path> mPaths;    // of the points that live, by slot
    std::vector<Path> mLongest;  // of those that were lost, the longest first
};

}  // namespace Host
