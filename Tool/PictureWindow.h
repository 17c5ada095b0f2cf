// PictureWindow: a picture in a window that can be zoomed and moved, by SDL.

#pragma once

#include <SDL.h>

#include <memory>
#include <string>

#include "Frame.h"

namespace Host {

/// Pixels that must be drawn anew; empty where `mLeft` is not below `mRight`.
struct Area {
    int mLeft, mTop, mRight, mBottom;

    bool IsEmpty() const { return mLeft >= mRight || mTop >= mBottom; }
    void Take(const Area& inOther);
};

/// One window with one picture. What is drawn on it and what the user's hand does there is a
/// derived class's.
///
/// Ctrl-wheel, plus and minus zoom, 0 fits the picture, the middle button moves it, q and
/// Escape end.
///
/// Ownership: plain object; one at a time.
/// Threads: the one that made it.
/// Errors: where there is no display `UserError` is thrown.
class PictureWindow {
public:
    virtual ~PictureWindow();
    PictureWindow(const PictureWindow&) = delete;
    PictureWindow& operator=(const PictureWindow&) = delete;

    /// Until the user ends it; gives the exit code.
    int Run();

protected:
    /// @param inFoot  pixels of the window below the picture, for what `DrawOver` has there.
    PictureWindow(int inWidth, int inHeight, int inFoot);

    // What happens; the mouse is where `MouseX` and `MouseY` say.
    virtual void Press(int inButton) = 0;
    virtual void Move(int inButton) = 0;  // 0: none is down
    virtual void Release(int inButton) = 0;
    virtual void Wheel(int inSteps) = 0;
    virtual void Key(SDL_Keycode inKey, bool inHasControl, bool inHasShift) = 0;
    /// Called while no event waits; whether there is more to do, or something to show.
    virtual bool Work() = 0;
    /// Over the picture, in the window's pixels.
    virtual void DrawOver(SDL_Renderer* ioRenderer) = 0;
    /// Whether all is saved, so that the window may go.
    virtual bool IsSaved() const = 0;

    /// Shows pixels of a frame of the picture's size.
    void Upload(const Frame& inFrame, const Area& inArea);
    /// Shows a whole picture of BGRA.
    void UploadPixels(const std::uint8_t* inPixels, int inStride);
    Area Whole() const { return {0, 0, mWidth, mHeight}; }
    void SetTitle(const std::string& inTitle);
    void End() { mEnded = true; }
    bool Asks(const char* inQuestion) const;

    int MouseX() const { return mMouseX; }
    int MouseY() const { return mMouseY; }
    /// The window's places in the picture and back, as edges count.
    double PictureX(int inX) const { return (inX + 0.5 - mLeft) / mZoom; }
    double PictureY(int inY) const { return (inY + 0.5 - mTop) / mZoom; }
    double WindowX(double inX) const { return mLeft + mZoom * inX; }
    double WindowY(double inY) const { return mTop + mZoom * inY; }
    double Zoom() const { return mZoom; }
    struct Extent {
        int mWidth = 0, mHeight = 0;
    };
    Extent WindowSize() const;

    /// What the window really shows, read back from it.
    void WritePng(const std::string& inFile);
    /// What a hand would do: button down at the first place, moves, button up at the last;
    /// places in the window.
    void PushDrag(int inButton, double inFromX, double inFromY, double inToX, double inToY,
                  bool inBegins = true, bool inEnds = true);
    void PushKey(SDL_Keycode inKey);

private:
    struct Session {
        Session();
        ~Session();
    };
    struct Deleter {
        void operator()(SDL_Window* inWindow) const { SDL_DestroyWindow(inWindow); }
        void operator()(SDL_Renderer* inOne) const { SDL_DestroyRenderer(inOne); }
        void operator()(SDL_Texture* inTexture) const { SDL_DestroyTexture(inTexture); }
    };
    template <class T>
    using Ptr = std::unique_ptr<T, Deleter>;
    template <class T>
    static Ptr<T> Made(T* inObject);

    void Handle(const SDL_Event& inEvent);
    void HandleKey(const SDL_Keysym& inKey);
    void HandleMotion(int inX, int inY);
    void Fit();
    void ZoomBy(double inFactor);
    void Show();

    Session mSession;
    int mWidth, mHeight, mFoot;
    Ptr<SDL_Window> mWindow;
    Ptr<SDL_Renderer> mRenderer;
    Ptr<SDL_Texture> mTexture;
    double mZoom = 1.0, mLeft = 0.0, mTop = 0.0;  // of the picture in the window
    int mButton = 0, mMouseX = 0, mMouseY = 0;
    bool mEnded = false;
};

}  // namespace Host
