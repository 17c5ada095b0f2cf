#include "Interactive.h"

#include <SDL.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <deque>
#include <fstream>
#include <memory>
#include <utility>
#include <vector>

#include "Canvas.h"
#include "Interrupt.h"
#include "JsonFile.h"
#include "Selection.h"
#include "SelectionPicture.h"
#include "Stopwatch.h"
#include "UserError.h"

namespace Host {
namespace {

struct SdlDeleter {
    void operator()(SDL_Window* inWindow) const { SDL_DestroyWindow(inWindow); }
    void operator()(SDL_Renderer* inRenderer) const { SDL_DestroyRenderer(inRenderer); }
    void operator()(SDL_Texture* inTexture) const { SDL_DestroyTexture(inTexture); }
};
template <class T>
using SdlPtr = std::unique_ptr<T, SdlDeleter>;

template <class T>
SdlPtr<T> Made(T* inObject) {
    if (!inObject)
        throw UserError(std::string("the window cannot be opened: ") + SDL_GetError());
    return SdlPtr<T>(inObject);
}

struct SdlSession {
    SdlSession() {
        SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");  // Ctrl-C is ours
        if (SDL_Init(SDL_INIT_VIDEO) != 0)
            throw UserError(std::string("there is no display to open a window on: ") +
                            SDL_GetError());
        // Without a display SDL falls back on drivers that show nothing.
        const std::string driver = SDL_GetCurrentVideoDriver();
        if (driver != "dummy" && driver != "offscreen" && driver != "evdev") return;
        SDL_Quit();
        throw UserError("there is no display to open a window on");
    }
    ~SdlSession() { SDL_Quit(); }
};

// One stroke as the hand made it: button down to button up.
using Stroke = std::vector<BrushLine>;

Json ToJson(const BrushLine& inLine) {
    return {inLine.mFromX, inLine.mFromY,  inLine.mToX,
            inLine.mToY,   inLine.mRadius, inLine.mIsForeground ? "foreground" : "background"};
}

BrushLine FromJson(const Json& inLine) {
    return {inLine.at(0), inLine.at(1), inLine.at(2),
            inLine.at(3), inLine.at(4), inLine.at(5) == "foreground"};
}

// Pixels that must be drawn anew; empty where `mLeft` is not below `mRight`.
struct Area {
    int mLeft, mTop, mRight, mBottom;

    bool IsEmpty() const { return mLeft >= mRight || mTop >= mBottom; }
    void Take(const Area& inOther) {
        if (inOther.IsEmpty()) return;
        if (IsEmpty()) *this = inOther;
        mLeft = std::min(mLeft, inOther.mLeft);
        mTop = std::min(mTop, inOther.mTop);
        mRight = std::max(mRight, inOther.mRight);
        mBottom = std::max(mBottom, inOther.mBottom);
    }
};

// The picture with its selection and strokes. Only what changed is computed and uploaded.
class Painter {
public:
    Painter(const Frame& inPicture, const std::string& inName, const OutputOptions& inOutput)
        : mPicture(inPicture),
          mName(inName),
          mOutput(inOutput),
          mSelection(std::make_unique<Selection>(inPicture, inName)),
          mShown(inPicture),
          mLabels(inPicture.mWidth, inPicture.mHeight),
          mRadius(std::max(2.0, std::min(inPicture.mWidth, inPicture.mHeight) * 0.014)) {
        OpenWindow();
        Reopen();
    }

    int Run(const std::vector<BrushLine>& inDemo) {
        std::deque<BrushLine> demo(inDemo.begin(), inDemo.end());
        Redraw(Whole());
        while (!mEnded && !Interrupted()) {
            SDL_Event event;
            if (SDL_WaitEventTimeout(&event, 50)) {
                // Moves that came meanwhile are drawn together.
                do
                    Handle(event);
                while (SDL_PollEvent(&event));
                Show();
            } else if (!demo.empty()) {
                PushMouse(demo.front());
                demo.pop_front();
            } else if (!inDemo.empty()) {
                ShowUndoAndRedo();
                Save();
                mEnded = true;
            }
        }
        std::printf("  %lld moves drawn in %.1f ms, %d cuts\n", mMoves, mDrawSeconds * 1e3,
                    mCuts);
        return Interrupted() ? kInterruptedExitCode : 0;
    }

private:
    Area Whole() const { return {0, 0, mPicture.mWidth, mPicture.mHeight}; }

    void OpenWindow() {
        SDL_Rect screen{0, 0, 1600, 900};
        SDL_GetDisplayUsableBounds(0, &screen);
        const double fit = std::min(
            {1.0, 0.95 * screen.w / mPicture.mWidth, 0.9 * screen.h / mPicture.mHeight});
        mWindow = Made(SDL_CreateWindow("", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED,
                                        std::max(160, int(mPicture.mWidth * fit)),
                                        std::max(120, int(mPicture.mHeight * fit)),
                                        SDL_WINDOW_RESIZABLE));
        mRenderer = Made(SDL_CreateRenderer(mWindow.get(), -1, 0));
        mTexture = Made(SDL_CreateTexture(mRenderer.get(), SDL_PIXELFORMAT_ARGB8888,
                                          SDL_TEXTUREACCESS_STREAMING, mPicture.mWidth,
                                          mPicture.mHeight));
        Fit();
        SetTitle();
    }

    // ---- Where the picture is in the window ------------------------------------------------

    void Fit() {
        int width = 0, height = 0;
        SDL_GetRendererOutputSize(mRenderer.get(), &width, &height);
        mZoom = std::min(double(width) / mPicture.mWidth, double(height) / mPicture.mHeight);
        mLeft = (width - mZoom * mPicture.mWidth) / 2;
        mTop = (height - mZoom * mPicture.mHeight) / 2;
    }
    double PictureX(int inX) const { return (inX + 0.5 - mLeft) / mZoom; }
    double PictureY(int inY) const { return (inY + 0.5 - mTop) / mZoom; }

    // Keeps the place under the pointer where it is.
    void ZoomBy(double inFactor) {
        const double x = PictureX(mMouseX), y = PictureY(mMouseY);
        mZoom = std::clamp(mZoom * inFactor, 0.05, 32.0);
        mLeft = mMouseX + 0.5 - x * mZoom;
        mTop = mMouseY + 0.5 - y * mZoom;
    }

    // ---- What the user does ----------------------------------------------------------------

    void Handle(const SDL_Event& inEvent) {
        switch (inEvent.type) {
            case SDL_QUIT:
                End();
                break;
            case SDL_WINDOWEVENT:
                if (inEvent.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) Fit();
                break;
            case SDL_KEYDOWN:
                HandleKey(inEvent.key.keysym);
                break;
            case SDL_MOUSEWHEEL:
                HandleWheel(inEvent.wheel.y);
                break;
            case SDL_MOUSEBUTTONDOWN:
                MoveMouse(inEvent.button.x, inEvent.button.y);
                if (mButton == 0) StartStroke(inEvent.button.button);
                break;
            case SDL_MOUSEMOTION:
                HandleMotion(inEvent.motion);
                break;
            case SDL_MOUSEBUTTONUP:
                if (mButton == inEvent.button.button) EndStroke();
                break;
            default:
                break;
        }
    }

    void HandleMotion(const SDL_MouseMotionEvent& inMotion) {
        if (mButton == SDL_BUTTON_MIDDLE) {
            mLeft += inMotion.x - mMouseX;
            mTop += inMotion.y - mMouseY;
        }
        MoveMouse(inMotion.x, inMotion.y);
        if (!mStroke.empty()) PaintTo(PictureX(inMotion.x), PictureY(inMotion.y));
    }

    void HandleWheel(int inSteps) {
        const bool zooms = (SDL_GetModState() & KMOD_CTRL) != 0;
        const double factor = std::pow(1.15, inSteps);
        if (zooms)
            ZoomBy(factor);
        else
            mRadius = std::clamp(mRadius * factor, 1.0, 400.0);
    }

    void HandleKey(const SDL_Keysym& inKey) {
        if (mButton != 0) return;  // not in the middle of a stroke
        const bool hasControl = (inKey.mod & KMOD_CTRL) != 0;
        const bool hasShift = (inKey.mod & KMOD_SHIFT) != 0;
        if (inKey.sym == SDLK_ESCAPE || inKey.sym == SDLK_q) End();
        if (inKey.sym == SDLK_PLUS || inKey.sym == SDLK_KP_PLUS) ZoomBy(1.25);
        if (inKey.sym == SDLK_MINUS || inKey.sym == SDLK_KP_MINUS) ZoomBy(0.8);
        if (inKey.sym == SDLK_0) Fit();
        if (inKey.sym == SDLK_s) Save();
        if (inKey.sym == SDLK_r) StartOver();
        if (inKey.sym == SDLK_z && hasControl && hasShift) Redo();
        if (inKey.sym == SDLK_z && hasControl && !hasShift) Undo();
    }

    void End() { mEnded = !mIsChanged || Asks("End without saving the strokes?"); }

    bool Asks(const char* inQuestion) const {
        const SDL_MessageBoxButtonData buttons[] = {
            {SDL_MESSAGEBOX_BUTTON_ESCAPEKEY_DEFAULT, 0, "No"},
            {SDL_MESSAGEBOX_BUTTON_RETURNKEY_DEFAULT, 1, "Yes"}};
        const SDL_MessageBoxData box{
            SDL_MESSAGEBOX_WARNING, mWindow.get(), "select", inQuestion, 2, buttons, nullptr};
        int answer = 0;
        return SDL_ShowMessageBox(&box, &answer) == 0 && answer == 1;
    }

    void StartOver() {
        if (mStrokes.empty() || (mIsChanged && !Asks("Start over and lose the strokes?")))
            return;
        mStrokes.clear();
        mUndone.clear();
        Replay();
    }

    // ---- Strokes ---------------------------------------------------------------------------

    void MoveMouse(int inX, int inY) {
        mMouseX = inX;
        mMouseY = inY;
    }

    void StartStroke(Uint8 inButton) {
        mButton = inButton;
        if (inButton == SDL_BUTTON_MIDDLE) return;
        mX = PictureX(mMouseX);
        mY = PictureY(mMouseY);
        mNew = {Mask(mPicture.mWidth, mPicture.mHeight),
                Mask(mPicture.mWidth, mPicture.mHeight)};
        PaintTo(mX, mY);
    }

    void PaintTo(double inX, double inY) {
        const Stopwatch drawing;
        mStroke.push_back({mX, mY, inX, inY, mRadius, mButton == SDL_BUTTON_LEFT});
        PaintLine(mNew, mStroke.back());
        const Area area = DrawLine(mStroke.back(), Whole());
        Upload(area);
        mX = inX;
        mY = inY;
        ++mMoves;
        mDrawSeconds += drawing.Seconds();
    }

    // Only what is new goes to the library: earlier strokes stay in force there.
    void EndStroke() {
        mButton = 0;
        if (mStroke.empty()) return;
        mStrokes.push_back(std::move(mStroke));
        mStroke.clear();
        mUndone.clear();
        Cut(mNew);
        std::printf("  cut in %.1f ms\n", mSelection->Milliseconds());
        mIsChanged = true;
    }

    void Undo() {
        if (mStrokes.empty()) return;
        mUndone.push_back(std::move(mStrokes.back()));
        mStrokes.pop_back();
        Replay();
    }

    void Redo() {
        if (mUndone.empty()) return;
        mStrokes.push_back(std::move(mUndone.back()));
        mUndone.pop_back();
        Replay();
    }

    // The library cannot take a stroke back: the picture is begun anew, and the strokes that
    // remain are made again one by one, in their order, which gives the same bits.
    void Replay() {
        mSelection->StartOver();
        mIsChanged = true;
        for (const Stroke& stroke : mStrokes)
            mSelection->Cut(MasksOf(stroke));
        TakeLabels();
        Redraw(Whole());
        SetTitle();
    }

    Strokes MasksOf(const Stroke& inStroke) const {
        Strokes masks{Mask(mPicture.mWidth, mPicture.mHeight),
                      Mask(mPicture.mWidth, mPicture.mHeight)};
        for (const BrushLine& line : inStroke)
            PaintLine(masks, line);
        return masks;
    }

    void Cut(const Strokes& inMasks) {
        const Stopwatch drawing;
        mSelection->Cut(inMasks);
        mDrawSeconds -= mSelection->Milliseconds() / 1e3;
        ++mCuts;
        const bool isFirst = mStrokes.size() == 1;  // what is not selected begins to fade
        const Area changed = TakeLabels();
        Redraw(isFirst ? Whole() : changed);
        SetTitle();
        mDrawSeconds += drawing.Seconds();
    }

    // Gives the pixels whose label or border is another one now.
    Area TakeLabels() {
        Mask labels(mPicture.mWidth, mPicture.mHeight);
        if (mSelection->IsStarted()) labels = mSelection->Labels();
        Area changed{0, 0, 0, 0};
        for (int y = 0; y < labels.mHeight; ++y) {
            const std::uint8_t* const now = &labels.mBytes[std::size_t(y) * labels.mWidth];
            const std::uint8_t* const then = &mLabels.mBytes[std::size_t(y) * labels.mWidth];
            if (std::equal(now, now + labels.mWidth, then)) continue;
            const int first = int(std::mismatch(now, now + labels.mWidth, then).first - now);
            int last = labels.mWidth - 1;
            while (now[last] == then[last])
                --last;
            changed.Take({std::max(0, first - 1), std::max(0, y - 1), last + 1, y + 1});
        }
        mLabels = std::move(labels);
        return changed;
    }

    // ---- Drawing ---------------------------------------------------------------------------

    void Redraw(const Area& inArea) {
        if (inArea.IsEmpty()) return;
        TintArea(inArea);
        for (const Stroke& stroke : mStrokes)
            for (const BrushLine& line : stroke)
                DrawLine(line, inArea);
        Upload(inArea);
    }

    // The picture with what is not selected faded, and the border of the selection.
    void TintArea(const Area& inArea) {
        const int width = mPicture.mWidth, height = mPicture.mHeight;
        const bool isStarted = mSelection->IsStarted();
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

    Area DrawLine(const BrushLine& inLine, const Area& inWithin) {
        const auto bound = [](double inValue, int inFrom, int inTo) {
            return int(std::clamp(inValue, double(inFrom), double(inTo)));
        };
        const double reach = inLine.mRadius + 1.0;
        const Area area{bound(std::min(inLine.mFromX, inLine.mToX) - reach, inWithin.mLeft,
                              inWithin.mRight),
                        bound(std::min(inLine.mFromY, inLine.mToY) - reach, inWithin.mTop,
                              inWithin.mBottom),
                        bound(std::max(inLine.mFromX, inLine.mToX) + reach + 1.0,
                              inWithin.mLeft, inWithin.mRight),
                        bound(std::max(inLine.mFromY, inLine.mToY) + reach + 1.0, inWithin.mTop,
                              inWithin.mBottom)};
        const double alongX = inLine.mToX - inLine.mFromX, alongY = inLine.mToY - inLine.mFromY;
        const double square = std::max(1e-9, alongX * alongX + alongY * alongY);
        for (int y = area.mTop; y < area.mBottom; ++y)
            for (int x = area.mLeft; x < area.mRight; ++x) {
                const double dx = x + 0.5 - inLine.mFromX, dy = y + 0.5 - inLine.mFromY;
                const double share = std::clamp((dx * alongX + dy * alongY) / square, 0.0, 1.0);
                const double awayX = dx - share * alongX, awayY = dy - share * alongY;
                if (awayX * awayX + awayY * awayY > inLine.mRadius * inLine.mRadius) continue;
                std::uint8_t* const pixel = mShown.Pixel(x, y);
                const bool isForeground = inLine.mIsForeground;
                pixel[0] = isForeground ? 110 : 170;
                pixel[1] = isForeground ? 235 : 60;
                pixel[2] = isForeground ? 70 : 255;
            }
        return area;
    }

    void Upload(const Area& inArea) {
        if (inArea.IsEmpty()) return;
        const SDL_Rect part{inArea.mLeft, inArea.mTop, inArea.mRight - inArea.mLeft,
                            inArea.mBottom - inArea.mTop};
        SDL_UpdateTexture(mTexture.get(), &part, mShown.Pixel(part.x, part.y),
                          mShown.RowBytes());
    }

    void SetTitle() {
        char cut[64] = "";
        if (mSelection->IsStarted())
            std::snprintf(cut, sizeof cut, "cut in %.1f ms   ", mSelection->Milliseconds());
        SDL_SetWindowTitle(mWindow.get(),
                           (cut + mName +
                            ":   left/right button: foreground/background   wheel: brush   "
                            "Ctrl-wheel: zoom   middle button: move   Ctrl-Z, Ctrl-Shift-Z   "
                            "s: save   r: start over   q: end")
                               .c_str());
    }

    void Show() {
        const SDL_FRect where{float(mLeft), float(mTop), float(mZoom * mPicture.mWidth),
                              float(mZoom * mPicture.mHeight)};
        SDL_SetRenderDrawColor(mRenderer.get(), 32, 34, 38, 255);
        SDL_RenderClear(mRenderer.get());
        SDL_RenderCopyF(mRenderer.get(), mTexture.get(), nullptr, &where);
        ShowBrush();
        SDL_RenderPresent(mRenderer.get());
    }

    // The brush's circle, white within black.
    void ShowBrush() {
        constexpr int kPoints = 49;
        for (const bool isWhite : {false, true}) {
            SDL_FPoint circle[kPoints];
            const double radius = mRadius * mZoom + (isWhite ? 0.0 : 1.0);
            for (int i = 0; i < kPoints; ++i) {
                const double angle = i * 2.0 * 3.14159265358979 / (kPoints - 1);
                circle[i] = {float(mMouseX + radius * std::cos(angle)),
                             float(mMouseY + radius * std::sin(angle))};
            }
            const Uint8 shade = isWhite ? 255 : 0;
            SDL_SetRenderDrawColor(mRenderer.get(), shade, shade, shade, 255);
            SDL_RenderDrawLinesF(mRenderer.get(), circle, kPoints);
        }
    }

    // ---- Files -----------------------------------------------------------------------------

    // Strokes that were saved for this picture are made again.
    void Reopen() {
        std::ifstream file(mOutput.Path("strokes.json"));
        if (!file) return;
        const Json saved = Json::parse(file, nullptr, false);
        try {
            if (saved.at("width") != mPicture.mWidth ||
                saved.at("height") != mPicture.mHeight ||
                saved.at("source") != Json::parse(JsonText(mName)))
                return;
            for (const Json& stroke : saved.at("strokes")) {
                mStrokes.emplace_back();
                for (const Json& line : stroke)
                    mStrokes.back().push_back(FromJson(line));
            }
        } catch (const Json::exception&) {
            throw UserError("file '" + mOutput.Path("strokes.json") +
                            "' does not hold strokes; move it away to begin anew");
        }
        Replay();
        mIsChanged = false;
        std::printf("  made %zu saved strokes again\n", mStrokes.size());
    }

    void SaveStrokes() const {
        JsonFile file(mOutput.Path("strokes.json"),
                      JsonHead("select", mName, mPicture.mWidth, mPicture.mHeight), "strokes",
                      Links::kRefused);
        for (const Stroke& stroke : mStrokes) {
            Json lines = Json::array();
            for (const BrushLine& line : stroke)
                lines.push_back(ToJson(line));
            file.Add(lines);
        }
        file.Finish(Json::object());
    }

    void Save() {
        const Box whole{0.0, 0.0, double(mPicture.mWidth), double(mPicture.mHeight)};
        Canvas canvas(mPicture.mWidth, mPicture.mHeight);
        canvas.DrawGrey(mLabels.mBytes.data(), mPicture.mWidth, mPicture.mHeight, whole);
        canvas.WritePng(mOutput.Path("labels.png"));
        DrawCutout(canvas, whole, mPicture, mLabels);
        canvas.WritePng(mOutput.Path("cutout.png"));
        SaveWindow();
        SaveStrokes();
        mIsChanged = false;
        std::printf("  wrote labels.png, cutout.png, window.png and strokes.json in %s\n",
                    mOutput.mFolder.c_str());
    }

    // What the window really shows, read back from it.
    void SaveWindow() {
        int width = 0;
        int height = 0;
        SDL_GetRendererOutputSize(mRenderer.get(), &width, &height);
        Frame window;
        window.Resize(width, height);
        Show();
        SDL_RenderReadPixels(mRenderer.get(), nullptr, SDL_PIXELFORMAT_ARGB8888,
                             window.mPixels.data(), window.RowBytes());
        Canvas canvas(width, height);
        canvas.DrawFrame(window, {0.0, 0.0, double(width), double(height)});
        canvas.WritePng(mOutput.Path("window.png"));
    }

    // ---- The demonstration -----------------------------------------------------------------

    // One line as a hand would paint it: button down, moves, button up.
    void PushMouse(const BrushLine& inLine) {
        mRadius = inLine.mRadius;
        const Uint8 button = Uint8(inLine.mIsForeground ? SDL_BUTTON_LEFT : SDL_BUTTON_RIGHT);
        constexpr int kMoves = 20;
        for (int i = 0; i <= kMoves; ++i) {
            const double share = double(i) / kMoves;
            const int x =
                int(mLeft + mZoom * (inLine.mFromX + (inLine.mToX - inLine.mFromX) * share));
            const int y =
                int(mTop + mZoom * (inLine.mFromY + (inLine.mToY - inLine.mFromY) * share));
            SDL_Event event = {};
            event.type = i == 0 ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEMOTION;
            if (i == 0)
                event.button = {event.type, 0, 0, 0, button, SDL_PRESSED, 1, 0, x, y};
            else
                event.motion.x = x, event.motion.y = y;
            SDL_PushEvent(&event);
            if (i < kMoves) continue;
            event.type = SDL_MOUSEBUTTONUP;
            event.button = {event.type, 0, 0, 0, button, SDL_RELEASED, 1, 0, x, y};
            SDL_PushEvent(&event);
        }
    }

    // Takes half of the strokes back and makes them again: the selection must be the same.
    void ShowUndoAndRedo() {
        const Mask labels = mLabels;
        const std::size_t half = mStrokes.size() / 2 + 1;
        for (std::size_t i = 0; i < half; ++i)
            Undo();
        const bool differed = mLabels.mBytes != labels.mBytes;
        for (std::size_t i = 0; i < half; ++i)
            Redo();
        const bool same = mLabels.mBytes == labels.mBytes;
        std::printf("  undo changed the selection: %s; redo brought it back: %s\n",
                    differed ? "yes" : "no", same ? "yes" : "no");
    }

    const Frame& mPicture;
    std::string mName;
    const OutputOptions& mOutput;
    std::unique_ptr<Selection> mSelection;
    Frame mShown;
    Mask mLabels;
    std::vector<Stroke> mStrokes, mUndone;
    Stroke mStroke;  // the one that is being painted
    Strokes mNew;    // its masks
    double mRadius;
    SdlPtr<SDL_Window> mWindow;
    SdlPtr<SDL_Renderer> mRenderer;
    SdlPtr<SDL_Texture> mTexture;
    double mZoom = 1.0, mLeft = 0.0, mTop = 0.0;  // of the picture in the window
    int mButton = 0, mMouseX = 0, mMouseY = 0;
    double mX = 0.0, mY = 0.0;  // where the stroke is, in the picture
    long long mMoves = 0;
    int mCuts = 0;
    double mDrawSeconds = 0.0;
    bool mIsChanged = false, mEnded = false;
};

}  // namespace

int RunInteractive(const Frame& inPicture, const std::string& inName,
                   const std::vector<BrushLine>& inDemo, const OutputOptions& inOutput) {
    const SdlSession session;
    Painter painter(inPicture, inName, inOutput);
    return painter.Run(inDemo);
}

}  // namespace Host
