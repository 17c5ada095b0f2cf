#include "Interactive.h"

#include <SDL.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <memory>

#include "Canvas.h"
#include "Interrupt.h"
#include "Selection.h"
#include "SelectionPicture.h"
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

class Painter {
public:
    Painter(const Frame& inPicture, const std::string& inName, const OutputOptions& inOutput)
        : mPicture(inPicture),
          mOutput(inOutput),
          mSelection(inPicture, inName),
          mCanvas(inPicture.mWidth, inPicture.mHeight),
          mAll{Mask(inPicture.mWidth, inPicture.mHeight),
               Mask(inPicture.mWidth, inPicture.mHeight)},
          mNew(mAll),
          mRadius(std::max(2.0, std::min(inPicture.mWidth, inPicture.mHeight) * 0.014)) {
        const double fit =
            std::min({1.0, 1600.0 / inPicture.mWidth, 900.0 / inPicture.mHeight});
        mWindow = Made(SDL_CreateWindow(("select: " + inName).c_str(), SDL_WINDOWPOS_CENTERED,
                                        SDL_WINDOWPOS_CENTERED, int(inPicture.mWidth * fit),
                                        int(inPicture.mHeight * fit), SDL_WINDOW_RESIZABLE));
        mRenderer = Made(SDL_CreateRenderer(mWindow.get(), -1, 0));
        // Events and drawing count the picture's own pixels at any size of the window.
        SDL_RenderSetLogicalSize(mRenderer.get(), inPicture.mWidth, inPicture.mHeight);
        mTexture = Made(SDL_CreateTexture(mRenderer.get(), SDL_PIXELFORMAT_ARGB8888,
                                          SDL_TEXTUREACCESS_STREAMING, inPicture.mWidth,
                                          inPicture.mHeight));
    }

    void Run(const std::vector<BrushLine>& inDemo) {
        std::deque<BrushLine> demo(inDemo.begin(), inDemo.end());
        Draw();
        while (!mEnded && !Interrupted()) {
            SDL_Event event;
            if (SDL_WaitEventTimeout(&event, 50)) {
                Handle(event);
            } else if (!demo.empty()) {
                PushMouse(demo.front());
                demo.pop_front();
            } else if (!inDemo.empty()) {
                Save();
                mEnded = true;
            }
        }
    }

private:
    void Handle(const SDL_Event& inEvent) {
        switch (inEvent.type) {
            case SDL_QUIT:
                mEnded = true;
                break;
            case SDL_WINDOWEVENT:
                Show();
                break;
            case SDL_KEYDOWN:
                HandleKey(inEvent.key.keysym.sym);
                break;
            case SDL_MOUSEBUTTONDOWN:
                mButton = inEvent.button.button;
                PaintTo(inEvent.button.x, inEvent.button.y, true);
                break;
            case SDL_MOUSEMOTION:
                if (mButton != 0) PaintTo(inEvent.motion.x, inEvent.motion.y, false);
                break;
            case SDL_MOUSEBUTTONUP:
                if (mButton == inEvent.button.button) EndStroke();
                break;
            default:
                break;
        }
    }

    void HandleKey(SDL_Keycode inKey) {
        if (inKey == SDLK_ESCAPE || inKey == SDLK_q) mEnded = true;
        if (inKey == SDLK_PLUS || inKey == SDLK_KP_PLUS)
            mRadius = std::min(mRadius * 1.25, 200.0);
        if (inKey == SDLK_MINUS || inKey == SDLK_KP_MINUS)
            mRadius = std::max(mRadius / 1.25, 1.0);
        if (inKey == SDLK_s) Save();
        if (inKey != SDLK_r) return;
        mSelection.StartOver();
        mAll = mNew = {Mask(mPicture.mWidth, mPicture.mHeight),
                       Mask(mPicture.mWidth, mPicture.mHeight)};
        Draw();
    }

    void PaintTo(int inX, int inY, bool inIsStart) {
        const BrushLine line{inIsStart ? inX + 0.5 : mX,
                             inIsStart ? inY + 0.5 : mY,
                             inX + 0.5,
                             inY + 0.5,
                             mRadius,
                             mButton == SDL_BUTTON_LEFT};
        PaintLine(mNew, line);
        PaintLine(mAll, line);
        mX = inX + 0.5;
        mY = inY + 0.5;
        Draw();
    }

    // Only what is new goes to the library: earlier strokes stay in force there.
    void EndStroke() {
        mButton = 0;
        mSelection.Cut(mNew);
        std::printf("  cut in %.1f ms\n", mSelection.Milliseconds());
        mNew = {Mask(mPicture.mWidth, mPicture.mHeight),
                Mask(mPicture.mWidth, mPicture.mHeight)};
        Draw();
    }

    void Draw() {
        const Box whole{0.0, 0.0, double(mPicture.mWidth), double(mPicture.mHeight)};
        if (mSelection.IsStarted())
            DrawSelection(mCanvas, whole, mPicture, mSelection.Labels());
        else
            mCanvas.DrawFrame(mPicture, whole);
        DrawStrokes(mCanvas, whole, mAll);
        mCanvas.Label(8.0, 8.0,
                      "left: foreground   right: background   +/-: brush   "
                      "r: start over   s: save   q: end",
                      12.0);
        SDL_UpdateTexture(mTexture.get(), nullptr, mCanvas.Pixels(), mCanvas.Stride());
        Show();
    }

    void Show() {
        SDL_RenderClear(mRenderer.get());
        SDL_RenderCopy(mRenderer.get(), mTexture.get(), nullptr, nullptr);
        SDL_RenderPresent(mRenderer.get());
    }

    void Save() {
        const Frame& picture = mPicture;
        const Box whole{0.0, 0.0, double(picture.mWidth), double(picture.mHeight)};
        Canvas canvas(picture.mWidth, picture.mHeight);
        canvas.DrawGrey(mSelection.Labels().mBytes.data(), picture.mWidth, picture.mHeight,
                        whole);
        canvas.WritePng(mOutput.Path("labels.png"));
        DrawCutout(canvas, whole, picture, mSelection.Labels());
        canvas.WritePng(mOutput.Path("cutout.png"));
        SaveWindow();
        std::printf("  wrote labels.png, cutout.png and window.png in %s\n",
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

    // One line as a hand would paint it: button down, a few moves, button up.
    void PushMouse(const BrushLine& inLine) {
        mRadius = inLine.mRadius;
        const Uint8 button = Uint8(inLine.mIsForeground ? SDL_BUTTON_LEFT : SDL_BUTTON_RIGHT);
        constexpr int kMoves = 6;
        for (int i = 0; i <= kMoves; ++i) {
            const double share = double(i) / kMoves;
            const int x = int(inLine.mFromX + (inLine.mToX - inLine.mFromX) * share);
            const int y = int(inLine.mFromY + (inLine.mToY - inLine.mFromY) * share);
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

    const Frame& mPicture;
    const OutputOptions& mOutput;
    Selection mSelection;
    Canvas mCanvas;
    Strokes mAll, mNew;
    double mRadius;
    SdlPtr<SDL_Window> mWindow;
    SdlPtr<SDL_Renderer> mRenderer;
    SdlPtr<SDL_Texture> mTexture;
    int mButton = 0;
    double mX = 0.0, mY = 0.0;
    bool mEnded = false;
};

}  // namespace

int RunInteractive(const Frame& inPicture, const std::string& inName,
                   const std::vector<BrushLine>& inDemo, const OutputOptions& inOutput) {
    const SdlSession session;
    Painter painter(inPicture, inName, inOutput);
    painter.Run(inDemo);
    return Interrupted() ? kInterruptedExitCode : 0;
}

}  // namespace Host
