#include "PictureWindow.h"

#include <algorithm>
#include <cmath>

#include "Canvas.h"
#include "Interrupt.h"
#include "UserError.h"

namespace Host {

void Area::Take(const Area& inOther) {
    if (inOther.IsEmpty()) return;
    if (IsEmpty()) *this = inOther;
    mLeft = std::min(mLeft, inOther.mLeft);
    mTop = std::min(mTop, inOther.mTop);
    mRight = std::max(mRight, inOther.mRight);
    mBottom = std::max(mBottom, inOther.mBottom);
}

PictureWindow::Session::Session() {
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

PictureWindow::Session::~Session() { SDL_Quit(); }

template <class T>
PictureWindow::Ptr<T> PictureWindow::Made(T* inObject) {
    if (!inObject)
        throw UserError(std::string("the window cannot be opened: ") + SDL_GetError());
    return Ptr<T>(inObject);
}

PictureWindow::PictureWindow(int inWidth, int inHeight, int inFoot)
    : mWidth(inWidth), mHeight(inHeight), mFoot(inFoot) {
    SDL_Rect screen{0, 0, 1600, 900};
    SDL_GetDisplayUsableBounds(0, &screen);
    const double fit =
        std::min({1.0, 0.95 * screen.w / mWidth, (0.9 * screen.h - mFoot) / mHeight});
    mWindow = Made(SDL_CreateWindow(
        "", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, std::max(160, int(mWidth * fit)),
        std::max(120, int(mHeight * fit)) + mFoot, SDL_WINDOW_RESIZABLE));
    mRenderer = Made(SDL_CreateRenderer(mWindow.get(), -1, 0));
    mTexture = Made(SDL_CreateTexture(mRenderer.get(), SDL_PIXELFORMAT_ARGB8888,
                                      SDL_TEXTUREACCESS_STREAMING, mWidth, mHeight));
    Fit();
}

PictureWindow::~PictureWindow() = default;

int PictureWindow::Run() {
    bool isBusy = true;
    while (!mEnded && !Interrupted()) {
        SDL_Event event;
        const bool happens =
            isBusy ? SDL_PollEvent(&event) != 0 : SDL_WaitEventTimeout(&event, 50) != 0;
        if (!happens) {
            isBusy = Work();
            if (isBusy) Show();
            continue;
        }
        // Moves that came meanwhile are drawn together.
        do
            Handle(event);
        while (SDL_PollEvent(&event));
        Show();
        isBusy = true;
    }
    return Interrupted() ? kInterruptedExitCode : 0;
}

// ---- Where the picture is in the window ----------------------------------------------------

PictureWindow::Extent PictureWindow::WindowSize() const {
    Extent size;
    SDL_GetRendererOutputSize(mRenderer.get(), &size.mWidth, &size.mHeight);
    return size;
}

void PictureWindow::Fit() {
    const Extent size = WindowSize();
    const int height = std::max(1, size.mHeight - mFoot);
    mZoom = std::min(double(size.mWidth) / mWidth, double(height) / mHeight);
    mLeft = (size.mWidth - mZoom * mWidth) / 2;
    mTop = (height - mZoom * mHeight) / 2;
}

// Keeps the place under the pointer where it is.
void PictureWindow::ZoomBy(double inFactor) {
    const double x = PictureX(mMouseX), y = PictureY(mMouseY);
    mZoom = std::clamp(mZoom * inFactor, 0.05, 32.0);
    mLeft = mMouseX + 0.5 - x * mZoom;
    mTop = mMouseY + 0.5 - y * mZoom;
}

// ---- What the user does --------------------------------------------------------------------

void PictureWindow::Handle(const SDL_Event& inEvent) {
    switch (inEvent.type) {
        case SDL_QUIT:
            HandleKey({SDL_SCANCODE_UNKNOWN, SDLK_q, 0, 0});
            break;
        case SDL_WINDOWEVENT:
            if (inEvent.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) Fit();
            break;
        case SDL_KEYDOWN:
            if (mButton == 0) HandleKey(inEvent.key.keysym);  // not in the middle of a drag
            break;
        case SDL_MOUSEWHEEL:
            if ((SDL_GetModState() & KMOD_CTRL) != 0)
                ZoomBy(std::pow(1.15, inEvent.wheel.y));
            else
                Wheel(inEvent.wheel.y);
            break;
        case SDL_MOUSEBUTTONDOWN:
            if (mButton != 0) break;
            HandleMotion(inEvent.button.x, inEvent.button.y);
            mButton = inEvent.button.button;
            if (mButton != SDL_BUTTON_MIDDLE) Press(mButton);
            break;
        case SDL_MOUSEMOTION:
            HandleMotion(inEvent.motion.x, inEvent.motion.y);
            break;
        case SDL_MOUSEBUTTONUP:
            if (mButton != inEvent.button.button) break;
            mButton = 0;
            if (inEvent.button.button != SDL_BUTTON_MIDDLE) Release(inEvent.button.button);
            break;
        default:
            break;
    }
}

void PictureWindow::HandleMotion(int inX, int inY) {
    if (mButton == SDL_BUTTON_MIDDLE) {
        mLeft += inX - mMouseX;
        mTop += inY - mMouseY;
    }
    mMouseX = inX;
    mMouseY = inY;
    if (mButton != SDL_BUTTON_MIDDLE) Move(mButton);
}

void PictureWindow::HandleKey(const SDL_Keysym& inKey) {
    const bool hasControl = (inKey.mod & KMOD_CTRL) != 0;
    const bool hasShift = (inKey.mod & KMOD_SHIFT) != 0;
    if (inKey.sym == SDLK_ESCAPE || inKey.sym == SDLK_q)
        mEnded = IsSaved() || Asks("End without saving?");
    if (inKey.sym == SDLK_PLUS || inKey.sym == SDLK_KP_PLUS) ZoomBy(1.25);
    if (inKey.sym == SDLK_MINUS || inKey.sym == SDLK_KP_MINUS) ZoomBy(0.8);
    if (inKey.sym == SDLK_0) Fit();
    Key(inKey.sym, hasControl, hasShift);
}

bool PictureWindow::Asks(const char* inQuestion) const {
    const SDL_MessageBoxButtonData buttons[] = {
        {SDL_MESSAGEBOX_BUTTON_ESCAPEKEY_DEFAULT, 0, "No"},
        {SDL_MESSAGEBOX_BUTTON_RETURNKEY_DEFAULT, 1, "Yes"}};
    const SDL_MessageBoxData box{SDL_MESSAGEBOX_WARNING,
                                 mWindow.get(),
                                 SDL_GetWindowTitle(mWindow.get()),
                                 inQuestion,
                                 2,
                                 buttons,
                                 nullptr};
    int answer = 0;
    return SDL_ShowMessageBox(&box, &answer) == 0 && answer == 1;
}

// ---- What is seen --------------------------------------------------------------------------

void PictureWindow::Upload(const Frame& inFrame, const Area& inArea) {
    if (inArea.IsEmpty()) return;
    const SDL_Rect part{inArea.mLeft, inArea.mTop, inArea.mRight - inArea.mLeft,
                        inArea.mBottom - inArea.mTop};
    SDL_UpdateTexture(mTexture.get(), &part, inFrame.Pixel(part.x, part.y), inFrame.RowBytes());
}

void PictureWindow::UploadPixels(const std::uint8_t* inPixels, int inStride) {
    SDL_UpdateTexture(mTexture.get(), nullptr, inPixels, inStride);
}

void PictureWindow::SetTitle(const std::string& inTitle) {
    SDL_SetWindowTitle(mWindow.get(), inTitle.c_str());
}

void PictureWindow::Show() {
    const SDL_FRect where{float(mLeft), float(mTop), float(mZoom * mWidth),
                          float(mZoom * mHeight)};
    SDL_SetRenderDrawColor(mRenderer.get(), 32, 34, 38, 255);
    SDL_RenderClear(mRenderer.get());
    SDL_RenderCopyF(mRenderer.get(), mTexture.get(), nullptr, &where);
    DrawOver(mRenderer.get());
    SDL_RenderPresent(mRenderer.get());
}

void PictureWindow::WritePng(const std::string& inFile) {
    const Extent size = WindowSize();
    Frame window;
    window.Resize(size.mWidth, size.mHeight);
    Show();
    SDL_RenderReadPixels(mRenderer.get(), nullptr, SDL_PIXELFORMAT_ARGB8888,
                         window.mPixels.data(), window.RowBytes());
    Canvas canvas(size.mWidth, size.mHeight);
    canvas.DrawFrame(window, {0.0, 0.0, double(size.mWidth), double(size.mHeight)});
    canvas.WritePng(inFile);
}

// ---- A hand --------------------------------------------------------------------------------

void PictureWindow::PushDrag(int inButton, double inFromX, double inFromY, double inToX,
                             double inToY, bool inBegins, bool inEnds) {
    constexpr int kMoves = 20;
    for (int i = 0; i <= kMoves; ++i) {
        const double share = double(i) / kMoves;
        const int x = int(inFromX + (inToX - inFromX) * share);
        const int y = int(inFromY + (inToY - inFromY) * share);
        SDL_Event event = {};
        if (i == 0 && inBegins) {
            event.button = {SDL_MOUSEBUTTONDOWN, 0, 0, 0, Uint8(inButton),
                            SDL_PRESSED,         1, 0, x, y};
        } else {
            event.type = SDL_MOUSEMOTION;
            event.motion.x = x, event.motion.y = y;
        }
        SDL_PushEvent(&event);
        if (i < kMoves || !inEnds) continue;
        event.button = {SDL_MOUSEBUTTONUP, 0, 0, 0, Uint8(inButton), SDL_RELEASED, 1, 0, x, y};
        SDL_PushEvent(&event);
    }
}

void PictureWindow::PushKey(SDL_Keycode inKey) {
    SDL_Event event = {};
    event.type = SDL_KEYDOWN;
    event.key.keysym.sym = inKey;
    SDL_PushEvent(&event);
}

}  // namespace Host
