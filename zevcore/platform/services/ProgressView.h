#pragma once

// The window of a progress report, as the host draws it: a bar from 0 to 100, a percentage
// text, a status text and a stop button. The library decides what to show and when
// (zevcore/frame/Progress.h); a view only shows it and hands back the user's clicks.
//
// An application installs a factory of views once; until it does, the headless factory
// stands in, whose views draw a bar on stderr when stderr is a terminal and stay silent
// otherwise. Called on the interface thread only.

#include <cstdio>
#include <memory>
#include <string>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"

/// A rectangle in pixels; right and bottom lie just outside.
struct ZEVRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
};

class ZEVCORE_API IZEVProgressView {
public:
    virtual ~IZEVProgressView();
    /// The window's handle: never null while the view exists.
    virtual HWND Window() = 0;
    /// Makes the bar in its frame; false when it cannot be made.
    virtual bool CreateBar() = 0;
    /// The view's own rectangle on the screen, the screen's, and the application's main
    /// window's (false when it has none that can be measured).
    virtual ZEVRect DialogRect() = 0;
    virtual ZEVRect ScreenRect() = 0;
    virtual bool WindowRect(HWND window, ZEVRect& rect) = 0;
    virtual void MoveTo(int x, int y) = 0;
    virtual void SetTitle(const char* title) = 0;
    /// The bar's position, 0 to 100.
    virtual void SetBar(int percent) = 0;
    virtual void SetPercentText(const char* text) = 0;
    virtual void SetStatusText(const char* text) = 0;
    /// The stop button's text (null keeps it) and whether it can be pressed.
    virtual void SetButton(const char* text, bool enabled) = 0;
    virtual void Redraw() = 0;
    /// Takes or releases the mouse, so that the view sees clicks while the work runs.
    virtual void CaptureMouse(bool capture) = 0;
    /// Takes one waiting left-button press from the queue, if there is one, with its
    /// position in the view's client coordinates.
    virtual bool TakeClick(int& x, int& y) = 0;
    /// Whether a client point lies on the stop button.
    virtual bool ButtonContains(int x, int y) = 0;
    /// The client area's width and height.
    virtual void ClientSize(int& width, int& height) = 0;
    /// True: the ordinary arrow over the view; false: back to the application's pointer.
    virtual void ShowArrowCursor(bool arrow) = 0;
    /// Gives the keyboard focus to a window, if it still exists.
    virtual void GiveFocusTo(HWND window) = 0;
};

class ZEVCORE_API IZEVProgressViewFactory {
public:
    virtual ~IZEVProgressViewFactory();
    /// A new view, a child of `owner`, for the report with this id (0 to 3); null when none
    /// can be made.
    virtual std::unique_ptr<IZEVProgressView> CreateProgressView(HWND owner, int id) = 0;
};

ZEVCORE_API IZEVProgressViewFactory& ZEVProgressViews();
/// Installs a factory (not owned; null puts the headless one back); answers the one before.
ZEVCORE_API IZEVProgressViewFactory* ZEVInstallProgressViews(IZEVProgressViewFactory* factory);

/// The headless view: a one-line bar ("title [#####     ]  50% status") redrawn in place on
/// a stream, when drawing is on; it sees no clicks.
class ZEVCORE_API CZEVTextProgressView : public IZEVProgressView {
public:
    /// Draws on `out` when `draw` is true; `width` is the line's width in characters.
    CZEVTextProgressView(std::FILE* out, bool draw, int width = 80);
    ~CZEVTextProgressView() override;

    HWND Window() override { return reinterpret_cast<HWND>(this); }
    bool CreateBar() override { return true; }
    ZEVRect DialogRect() override { return {0, 0, 360, 120}; }
    ZEVRect ScreenRect() override { return {0, 0, 1280, 1024}; }
    bool WindowRect(HWND, ZEVRect&) override { return false; }
    void MoveTo(int, int) override {}
    void SetTitle(const char* title) override;
    void SetBar(int percent) override;
    void SetPercentText(const char*) override {}
    void SetStatusText(const char* text) override;
    void SetButton(const char*, bool) override {}
    void Redraw() override { draw(); }
    void CaptureMouse(bool) override {}
    bool TakeClick(int&, int&) override { return false; }
    bool ButtonContains(int, int) override { return false; }
    void ClientSize(int& width, int& height) override {
        width = 360;
        height = 120;
    }
    void ShowArrowCursor(bool) override {}
    void GiveFocusTo(HWND) override {}

private:
    void draw();
    std::FILE* m_out;
    bool m_draw;
    int m_width;
    bool m_drawn = false;
    int m_percent = 0;
    std::string m_title;
    std::string m_status;
};

/// The headless factory: text views on stderr, drawing only when stderr is a terminal.
class ZEVCORE_API CZEVTextProgressViews : public IZEVProgressViewFactory {
public:
    std::unique_ptr<IZEVProgressView> CreateProgressView(HWND owner, int id) override;
};
