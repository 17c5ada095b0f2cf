// The window of `region --interactive` and `track --interactive`.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "Canvas.h"
#include "JsonFile.h"
#include "PictureWindow.h"
#include "UserError.h"
#include "Windows.h"

namespace Host {
namespace {

constexpr int kBar = 28;  // the bar of the frames, in the window's pixels

class ClipWindow final : public PictureWindow {
public:
    ClipWindow(const HeldClip& inClip, KeyedRun& ioRun, const KeyFrames& inDemo,
               const OutputOptions& inOutput)
        : PictureWindow(inClip.Width(), inClip.Height(), kBar),
          mClip(inClip),
          mRun(ioRun),
          mDemo(inDemo),
          mOutput(inOutput),
          mCanvas(inClip.Width(), inClip.Height()) {
        Reopen();
        Redraw();
    }

    bool WantsFiles() const { return mWantsFiles; }

private:
    long long Last() const { return mClip.FrameCount() - 1; }

    // ---- What the user does ----------------------------------------------------------------

    void Press(int inButton) override {
        mIsOnBar = MouseY() >= WindowSize().mHeight - kBar;
        if (mIsOnBar) return GoToMouse();
        if (inButton != SDL_BUTTON_LEFT) return;
        mFromX = PictureX(MouseX());
        mFromY = PictureY(MouseY());
        mIsDrawing = true;
    }
    void Move(int inButton) override {
        if (inButton != 0 && mIsOnBar) GoToMouse();
    }
    void Release(int) override {
        mIsOnBar = false;
        if (!mIsDrawing) return;
        mIsDrawing = false;
        const Box rect = DrawnRect();
        if (rect.mWidth < 4.0 || rect.mHeight < 4.0) return;  // a click
        KeyFrames keys = mKeys;
        keys[mFrame] = rect;
        Change(keys);
    }
    void Wheel(int inSteps) override { GoTo(mFrame - inSteps); }
    void Key(SDL_Keycode inKey, bool inHasControl, bool inHasShift) override {
        if (inKey == SDLK_LEFT) GoTo(mFrame - 1);
        if (inKey == SDLK_RIGHT) GoTo(mFrame + 1);
        if (inKey == SDLK_PAGEUP) GoTo(mFrame - 10);
        if (inKey == SDLK_PAGEDOWN) GoTo(mFrame + 10);
        if (inKey == SDLK_HOME) GoTo(0);
        if (inKey == SDLK_END) GoTo(Last());
        if (inKey == SDLK_SPACE) mIsPlaying = !mIsPlaying;
        if (inKey == SDLK_s) Save();
        if (inKey == SDLK_DELETE && mKeys.count(mFrame) > 0) {
            KeyFrames keys = mKeys;
            keys.erase(mFrame);
            Change(keys);
        }
        if (inKey != SDLK_z || !inHasControl) return;
        std::vector<KeyFrames>& from = inHasShift ? mUndone : mDone;
        if (from.empty()) return;
        (inHasShift ? mDone : mUndone).push_back(mKeys);
        mKeys = from.back();
        from.pop_back();
        TakeKeys();
    }
    bool IsSaved() const override { return !mIsChanged; }

    void GoTo(long long inFrame) {
        mFrame = std::clamp(inFrame, 0LL, Last());
        Redraw();
    }
    void GoToMouse() {
        const double share = double(MouseX()) / std::max(1, WindowSize().mWidth - 1);
        GoTo(std::llround(share * double(Last())));
    }
    void Change(const KeyFrames& inKeys) {
        mDone.push_back(mKeys);
        mUndone.clear();
        mKeys = inKeys;
        TakeKeys();
    }
    void TakeKeys() {
        mRun.SetKeys(mKeys);
        mIsChanged = true;
        Redraw();
    }

    // ---- Drawing ---------------------------------------------------------------------------

    Box DrawnRect() const {
        const auto within = [](double inValue, int inSide) {
            return std::clamp(inValue, 0.0, double(inSide));
        };
        const double x[] = {within(mFromX, mClip.Width()),
                            within(PictureX(MouseX()), mClip.Width())};
        const double y[] = {within(mFromY, mClip.Height()),
                            within(PictureY(MouseY()), mClip.Height())};
        return {std::min(x[0], x[1]), std::min(y[0], y[1]), std::abs(x[1] - x[0]),
                std::abs(y[1] - y[0])};
    }

    void Redraw() {
        const Frame& frame = mClip.At(mFrame);
        mCanvas.DrawFrame(frame, {0.0, 0.0, double(frame.mWidth), double(frame.mHeight)});
        mRun.Draw(mCanvas, mFrame);
        UploadPixels(mCanvas.Pixels(), mCanvas.Stride());
        SetTitle("frame " + std::to_string(mFrame) + " of " + std::to_string(Last()) + ": " +
                 mRun.StateOf(mFrame) +
                 "   drag: rectangle   bar, wheel, arrows: frames   space: play   "
                 "Delete: drop it   Ctrl-Z, Ctrl-Shift-Z   s: save   q: end");
    }

    // The rectangle that is being drawn, and the bar: a line for the frame that is shown, one
    // for each key frame, and light where the run has been.
    void DrawOver(SDL_Renderer* ioRenderer) override {
        if (mIsDrawing) {
            const Box rect = DrawnRect();
            for (const int shade : {0, 255}) {
                const float out = shade == 0 ? 1.0f : 0.0f;
                const SDL_FRect shown{float(WindowX(rect.mX)) - out,
                                      float(WindowY(rect.mY)) - out,
                                      float(rect.mWidth * Zoom()) + 2 * out,
                                      float(rect.mHeight * Zoom()) + 2 * out};
                SDL_SetRenderDrawColor(ioRenderer, Uint8(shade), Uint8(shade), Uint8(shade),
                                       255);
                SDL_RenderDrawRectF(ioRenderer, &shown);
            }
        }
        const Extent size = WindowSize();
        const float top = float(size.mHeight - kBar);
        const auto fill = [&](float inLeft, float inWidth, Colour inColour) {
            const SDL_FRect part{inLeft, top, inWidth, float(kBar)};
            SDL_SetRenderDrawColor(ioRenderer, Uint8(inColour.mRed), Uint8(inColour.mGreen),
                                   Uint8(inColour.mBlue), 255);
            SDL_RenderFillRectF(ioRenderer, &part);
        };
        const auto at = [&](long long inFrame) {
            return float(double(inFrame) / double(std::max(1LL, Last())) * (size.mWidth - 4));
        };
        fill(0.0f, float(size.mWidth), {52.0, 56.0, 62.0});
        for (const auto& [frame, rect] : mKeys)
            fill(at(frame), 4.0f, {96.0, 255.0, 120.0});
        fill(at(mFrame), 3.0f, {255.0, 255.0, 255.0});
    }

    // ---- Files -----------------------------------------------------------------------------

    void Reopen() {
        const std::string path = mOutput.Path("keys.json");
        std::ifstream file(path, std::ios::binary);
        if (!file) return;
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        KeyFrames keys;
        try {
            const Json saved = Json::parse(text);
            if (saved.at("source") != Json::parse(JsonText(mClip.Name())) ||
                saved.at("width") != mClip.Width() || saved.at("height") != mClip.Height())
                return;
            for (const Json& key : saved.at("keys")) {
                const long long frame = key.at("frame");
                if (frame >= 0 && frame <= Last())
                    keys[frame] = {key.at("x"), key.at("y"), key.at("width"), key.at("height")};
            }
        } catch (const Json::exception&) {
            throw UserError("file '" + path +
                            "' does not hold key frames; move it away to begin anew");
        }
        std::printf("  took %zu saved key frames\n", keys.size());
        mKeys = keys;
        mRun.SetKeys(mKeys);
    }

    void Save() {
        Json head{
            {"source", mClip.Name()}, {"width", mClip.Width()}, {"height", mClip.Height()}};
        JsonFile file(mOutput.Path("keys.json"), head, "keys", Links::kRefused);
        for (const auto& [frame, rect] : mKeys)
            file.Add({{"frame", frame},
                      {"x", rect.mX},
                      {"y", rect.mY},
                      {"width", rect.mWidth},
                      {"height", rect.mHeight}});
        file.Finish(Json::object());
        WritePng(mOutput.Path("window.png"));
        std::printf("  wrote keys.json with %zu key frames, and window.png, in %s\n",
                    mKeys.size(), mOutput.mFolder.c_str());
        mIsChanged = false;
        mWantsFiles = !mKeys.empty();
    }

    // ---- Time that is left -----------------------------------------------------------------

    bool Work() override {
        if (mRun.Work()) {
            // What is shown may have been computed just now, or what follows it.
            if (mRun.StateOf(mFrame) != mState) Redraw();
            mState = mRun.StateOf(mFrame);
            return true;
        }
        if (mIsPlaying && mFrame < Last()) {
            SDL_Delay(Uint32(std::clamp(1000.0 / mClip.FrameRate(), 1.0, 200.0)));
            GoTo(mFrame + 1);
            return true;
        }
        mIsPlaying = false;
        return !mDemo.empty() && PlayDemo();
    }

    // Goes to each key frame by the bar, and draws its rectangle: what a hand would do.
    bool PlayDemo() {
        const Extent size = WindowSize();
        const double bar = size.mHeight - kBar / 2.0;
        if (mDemoStep / 2 < mDemo.size()) {
            const auto key = std::next(mDemo.begin(), std::ptrdiff_t(mDemoStep / 2));
            const Box& rect = key->second;
            if (mDemoStep++ % 2 == 0) {
                const double x =
                    double(key->first) / double(std::max(1LL, Last())) * (size.mWidth - 1);
                PushDrag(SDL_BUTTON_LEFT, x, bar, x, bar);
            } else {
                PushDrag(SDL_BUTTON_LEFT, WindowX(rect.mX), WindowY(rect.mY),
                         WindowX(rect.Right()), WindowY(rect.Bottom()));
            }
            return true;
        }
        const KeyFrames keys = mKeys;
        Key(SDLK_z, true, false);
        const bool differed = keys.size() != mKeys.size();
        Key(SDLK_z, true, true);
        std::printf("  undo took a key frame away: %s; redo brought it back: %s\n",
                    differed ? "yes" : "no", keys.size() == mKeys.size() ? "yes" : "no");
        while (mRun.Work()) {
        }
        GoTo(Last() / 2);
        Save();
        End();
        return false;
    }

    const HeldClip& mClip;
    KeyedRun& mRun;
    KeyFrames mDemo;
    const OutputOptions& mOutput;
    Canvas mCanvas;
    KeyFrames mKeys;
    std::vector<KeyFrames> mDone, mUndone;
    std::string mState;
    long long mFrame = 0;
    double mFromX = 0.0, mFromY = 0.0;  // where the rectangle was begun, in the picture
    std::size_t mDemoStep = 0;
    bool mIsDrawing = false, mIsOnBar = false, mIsPlaying = false;
    bool mIsChanged = false, mWantsFiles = false;
};

}  // namespace

bool RunClipWindow(const HeldClip& inClip, KeyedRun& ioRun, const KeyFrames& inDemo,
                   const OutputOptions& inOutput) {
    ClipWindow window(inClip, ioRun, inDemo, inOutput);
    window.Run();
    if (!window.WantsFiles()) return false;
    while (ioRun.Work()) {
    }
    return true;
}

}  // namespace Host
