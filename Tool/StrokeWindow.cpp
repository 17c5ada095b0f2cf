// The window of `select --interactive`.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Canvas.h"
#include "ClientFrames.h"
#include "JsonFile.h"
#include "PictureWindow.h"
#include "SelectionPicture.h"
#include "Stopwatch.h"
#include "UserError.h"
#include "Windows.h"
#include "descriptor/Selection.h"
#include "descriptor/strokes_json.h"

namespace Host {
namespace {

using descriptor::Label;
using descriptor::Stroke;
using descriptor::Strokes;

// The picture with its selection and strokes. Only what changed is computed and uploaded.
class StrokeWindow final : public PictureWindow {
public:
    StrokeWindow(const Frame& inPicture, const std::string& inName, const Strokes& inDemo,
                 const OutputOptions& inOutput)
        : PictureWindow(inPicture.mWidth, inPicture.mHeight, 0),
          mPicture(inPicture),
          mName(inName),
          mDemo(inDemo),
          mOutput(inOutput),
          mSelection(ColourView(inPicture)),
          mShown(inPicture),
          mLabels(inPicture.mWidth, inPicture.mHeight),
          mRadius(std::max(2.0, std::min(inPicture.mWidth, inPicture.mHeight) * 0.014)) {
        Reopen();
        Redraw(Whole());
        ShowState();
    }

    void ReportDrawing() const {
        std::printf("  %lld moves drawn in %.1f ms, %d cuts\n", mMoves, mDrawSeconds * 1e3,
                    mCuts);
    }

private:
    // ---- What the user does ----------------------------------------------------------------

    void Press(int inButton) override {
        mStroke = {
            .path = {},
            .radius = mRadius,
            .label = inButton == SDL_BUTTON_LEFT ? Label::foreground : Label::background};
        PaintOn();
    }
    void Move(int inButton) override {
        if (inButton != 0) PaintOn();
    }
    void Release(int) override {
        const bool isFirst = mSelection.history().empty();
        mSelection.add(mStroke);
        std::printf("  cut in %.1f ms\n", mSelection.last_cut_seconds() * 1e3);
        ++mCuts;
        const Stopwatch drawing;
        const Area changed = TakeLabels();
        // What is not selected begins to fade with the first cut.
        Redraw(isFirst ? Whole() : changed);
        ShowState();
        mDrawSeconds += drawing.Seconds();
        mIsChanged = true;
    }
    void Wheel(int inSteps) override {
        mRadius = std::clamp(mRadius * std::pow(1.15, inSteps), 1.0, 400.0);
    }
    void Key(SDL_Keycode inKey, bool inHasControl, bool inHasShift) override {
        if (inKey == SDLK_s) Save();
        if (inKey == SDLK_r) StartOver();
        if (inKey != SDLK_z || !inHasControl) return;
        if (inHasShift ? mSelection.redo() : mSelection.undo()) ShowAll();
    }
    bool IsSaved() const override { return !mIsChanged; }

    void StartOver() {
        if (mSelection.history().empty() ||
            (mIsChanged && !Asks("Start over and lose the strokes?")))
            return;
        mSelection.replace({});
        ShowAll();
    }

    void PaintOn() {
        const Stopwatch drawing;
        mStroke.path.push_back({PictureX(MouseX()) - 0.5, PictureY(MouseY()) - 0.5});
        Upload(mShown, DrawLine(mStroke, mStroke.path.size() - 1, Whole()));
        ++mMoves;
        mDrawSeconds += drawing.Seconds();
    }

    // ---- Drawing ---------------------------------------------------------------------------

    void ShowAll() {
        mIsChanged = true;
        TakeLabels();
        Redraw(Whole());
        ShowState();
    }

    // Gives the pixels whose label or border is another one now.
    Area TakeLabels() {
        const descriptor::Frame labels = mSelection.mask();
        Area changed{0, 0, 0, 0};
        for (int y = 0; y < labels.height; ++y) {
            const std::uint8_t* const now = labels.row(y);
            std::uint8_t* const then = &mLabels.At(0, y);
            if (std::equal(now, now + labels.width, then)) continue;
            const int first = int(std::mismatch(now, now + labels.width, then).first - now);
            int last = labels.width - 1;
            while (now[last] == then[last])
                --last;
            changed.Take({std::max(0, first - 1), std::max(0, y - 1), last + 1, y + 1});
            std::copy_n(now, labels.width, then);
        }
        return changed;
    }

    void Redraw(const Area& inArea) {
        if (inArea.IsEmpty()) return;
        TintArea(inArea);
        for (const Strokes& strokes : mSelection.history())
            for (const Stroke& stroke : strokes)
                for (std::size_t i = 0; i < stroke.path.size(); ++i)
                    DrawLine(stroke, i, inArea);
        Upload(mShown, inArea);
    }

    // The picture with what is not selected faded, and the border of the selection.
    void TintArea(const Area& inArea) {
        const int width = mPicture.mWidth, height = mPicture.mHeight;
        const bool isStarted = !mSelection.history().empty();
        for (int y = inArea.mTop; y < inArea.mBottom; ++y)
            for (int x = inArea.mLeft; x < inArea.mRight; ++x) {
                const std::uint8_t* const from = mPicture.Pixel(x, y);
                std::uint8_t* const to = mShown.Pixel(x, y);
                std::copy_n(from, 4, to);
                if (!isStarted) continue;
                const std::uint8_t label = mLabels.At(x, y);
                const bool isBorder = (x + 1 < width && mLabels.At(x + 1, y) != label) ||
                                      (y + 1 < height && mLabels.At(x, y + 1) != label);
                if (isBorder) {
                    to[0] = 90, to[1] = 236, to[2] = 255;
                } else if (label <= 127) {
                    const int grey = (from[0] + 2 * from[1] + from[2]) / 4;
                    to[0] = std::uint8_t((from[0] + 3 * grey) / 8 + 18);
                    to[1] = std::uint8_t((from[1] + 3 * grey) / 8 + 12);
                    to[2] = std::uint8_t((from[2] + 3 * grey) / 8 + 9);
                }
            }
    }

    // The way to one point of a stroke's path, as far as it lies in an area.
    Area DrawLine(const Stroke& inStroke, std::size_t inPoint, const Area& inWithin) {
        const auto bound = [](double inValue, int inFrom, int inTo) {
            return int(std::clamp(inValue, double(inFrom), double(inTo)));
        };
        const descriptor::Position to = inStroke.path[inPoint];
        const descriptor::Position from = inStroke.path[inPoint > 0 ? inPoint - 1 : 0];
        const double radius = inStroke.radius, reach = radius + 1.0;
        const Area area{
            bound(std::min(from.x, to.x) - reach, inWithin.mLeft, inWithin.mRight),
            bound(std::min(from.y, to.y) - reach, inWithin.mTop, inWithin.mBottom),
            bound(std::max(from.x, to.x) + reach + 1.0, inWithin.mLeft, inWithin.mRight),
            bound(std::max(from.y, to.y) + reach + 1.0, inWithin.mTop, inWithin.mBottom)};
        const double alongX = to.x - from.x, alongY = to.y - from.y;
        const double square = std::max(1e-9, alongX * alongX + alongY * alongY);
        const bool isForeground = inStroke.label == Label::foreground;
        for (int y = area.mTop; y < area.mBottom; ++y)
            for (int x = area.mLeft; x < area.mRight; ++x) {
                const double dx = x - from.x, dy = y - from.y;
                const double share = std::clamp((dx * alongX + dy * alongY) / square, 0.0, 1.0);
                const double awayX = dx - share * alongX, awayY = dy - share * alongY;
                if (awayX * awayX + awayY * awayY > radius * radius) continue;
                std::uint8_t* const pixel = mShown.Pixel(x, y);
                pixel[0] = isForeground ? 110 : 170;
                pixel[1] = isForeground ? 235 : 60;
                pixel[2] = isForeground ? 70 : 255;
            }
        return area;
    }

    void ShowState() {
        char cut[64] = "";
        if (mCuts > 0)
            std::snprintf(cut, sizeof cut, "cut in %.1f ms   ",
                          mSelection.last_cut_seconds() * 1e3);
        SetTitle(cut + mName +
                 ":   left/right button: foreground/background   wheel: brush   "
                 "Ctrl-wheel: zoom   middle button: move   Ctrl-Z, Ctrl-Shift-Z   "
                 "s: save   r: start over   q: end");
    }

    // The brush's circle, white within black.
    void DrawOver(SDL_Renderer* ioRenderer) override {
        constexpr int kPoints = 49;
        for (const bool isWhite : {false, true}) {
            SDL_FPoint circle[kPoints];
            const double radius = mRadius * Zoom() + (isWhite ? 0.0 : 1.0);
            for (int i = 0; i < kPoints; ++i) {
                const double angle = i * 2.0 * 3.14159265358979 / (kPoints - 1);
                circle[i] = {float(MouseX() + radius * std::cos(angle)),
                             float(MouseY() + radius * std::sin(angle))};
            }
            const Uint8 shade = isWhite ? 255 : 0;
            SDL_SetRenderDrawColor(ioRenderer, shade, shade, shade, 255);
            SDL_RenderDrawLinesF(ioRenderer, circle, kPoints);
        }
    }

    // ---- Files -----------------------------------------------------------------------------

    // Strokes that were saved for this picture are made again.
    void Reopen() {
        const std::string path = mOutput.Path("strokes.json");
        std::ifstream file(path, std::ios::binary);
        if (!file) return;
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        try {
            const descriptor::StrokeFile saved = descriptor::strokes_from_json(text);
            const Json source = Json::parse(text).value("source", Json());
            if (saved.width != mPicture.mWidth || saved.height != mPicture.mHeight ||
                source != Json::parse(JsonText(mName)))
                return;
            mSelection.replace(saved.history);
            std::printf("  made %zu saved strokes again\n", saved.history.size());
        } catch (const descriptor::ArgumentError&) {
            throw UserError("file '" + path +
                            "' does not hold strokes; move it away to begin anew");
        }
        TakeLabels();
    }

    void Save() {
        Canvas canvas(mPicture.mWidth, mPicture.mHeight);
        WriteSelection(canvas, mPicture, mLabels, mOutput);
        WritePng(mOutput.Path("window.png"));
        Json strokes = Json::parse(to_json(descriptor::strokes_of(mSelection)));
        strokes["source"] = mName;
        TextFile file(mOutput.Path("strokes.json"));
        file.Print(JsonText(strokes) + "\n");
        file.Flush();
        mIsChanged = false;
        std::printf("  wrote labels.png, cutout.png, window.png and strokes.json in %s\n",
                    mOutput.mFolder.c_str());
    }

    // ---- The demonstration -----------------------------------------------------------------

    bool Work() override {
        if (mDemo.empty()) return false;
        if (mDemoAt < mDemo.size()) {
            const Stroke& stroke = mDemo[mDemoAt++];
            const descriptor::Position from = stroke.path.front(), to = stroke.path.back();
            mRadius = stroke.radius;
            PushDrag(stroke.label == Label::foreground ? SDL_BUTTON_LEFT : SDL_BUTTON_RIGHT,
                     WindowX(from.x + 0.5), WindowY(from.y + 0.5), WindowX(to.x + 0.5),
                     WindowY(to.y + 0.5));
            return true;
        }
        ShowUndoAndRedo();
        Save();
        End();
        return false;
    }

    // Takes half of the strokes back and makes them again: the selection must be the same.
    void ShowUndoAndRedo() {
        const Mask labels = mLabels;
        const std::size_t half = mSelection.history().size() / 2 + 1;
        for (std::size_t i = 0; i < half; ++i)
            Key(SDLK_z, true, false);
        const bool differed = mLabels.mBytes != labels.mBytes;
        for (std::size_t i = 0; i < half; ++i)
            Key(SDLK_z, true, true);
        const bool same = mLabels.mBytes == labels.mBytes;
        std::printf("  undo changed the selection: %s; redo brought it back: %s\n",
                    differed ? "yes" : "no", same ? "yes" : "no");
    }

    const Frame& mPicture;
    std::string mName;
    Strokes mDemo;
    const OutputOptions& mOutput;
    descriptor::Selection mSelection;
    Frame mShown;
    Mask mLabels;
    Stroke mStroke;  // the one that is being painted
    double mRadius;
    std::size_t mDemoAt = 0;
    long long mMoves = 0;
    int mCuts = 0;
    double mDrawSeconds = 0.0;
    bool mIsChanged = false;
};

}  // namespace

int RunStrokeWindow(const Frame& inPicture, const std::string& inName, const Strokes& inDemo,
                    const OutputOptions& inOutput) {
    StrokeWindow window(inPicture, inName, inDemo, inOutput);
    const int exitCode = window.Run();
    window.ReportDrawing();
    return exitCode;
}

}  // namespace Host
