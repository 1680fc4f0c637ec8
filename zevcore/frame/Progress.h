#pragma once

// Progress reports for long computations on the interface thread: up to four at once (ids 0
// to 3, so that an outer and an inner operation report separately), each a fraction, a text
// and a stop button the user may press. The computation asks, with each update, whether the
// user wants it to stop.
//
// The usual caller: StartProgressDialog; in the loop UpdateProgressDialog or
// IncrementProgressDialog, leaving the loop on true; KillProgressDialog.
//
// Batch mode turns all of it off, so the same code runs unattended: nothing is shown and
// nothing can be stopped. An id out of range, a missing owner or a missing report is
// ignored, and the answer is that nobody stopped. The window itself is a view made by the
// installed IZEVProgressViewFactory (zevcore/platform/services/ProgressView.h).

#include <memory>
#include <string>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/services/ProgressView.h"

/// Sent to the owner (both parameters 0) when the user presses stop, if the report was
/// started with `notifyOwner`.
inline constexpr UINT WM_ZEV_PROGRESS_STOP = 0x8083;

/// The controls of the progress window: stop button, percentage text, status text, the
/// frame that places the bar, and the bar.
inline constexpr int IDC_PROGRESS_STOP = 2;
inline constexpr int IDC_PROGRESS_PERCENT = 1210;
inline constexpr int IDC_PROGRESS_STATUS = 1782;
inline constexpr int IDC_PROGRESS_FRAME = 1778;
inline constexpr int IDC_PROGRESS_BAR = 99;

/// The state of one report id.
struct ZEVCORE_API CProgressDialogData {
    /// The last status text.
    char text[512];
    /// The last stored progress, 0 to 1.
    double fraction;
    /// The user has stopped the operation.
    bool stop;
    /// Free for the caller.
    double data1;
    double data2;
    /// The step of IncrementProgressDialog.
    double increment;
    /// The live report's window, or null.
    HWND window;

    CProgressDialogData();
    /// Empties the text and sets every number to 0 and the flag to false; keeps the window.
    void reset();
};

/// One per id.
ZEVCORE_API extern CProgressDialogData ProgressData[4];

/// A live progress report. Made and destroyed by the functions below.
class ZEVCORE_API TProgressDlg {
public:
    /// An id outside 0 to 3 becomes 0. `title` is not copied: it must outlive the report.
    TProgressDlg(const char* title, bool canStop, bool notifyOwner, bool ownCursor, HWND owner,
                 int id);
    ~TProgressDlg();
    TProgressDlg(const TProgressDlg&) = delete;
    TProgressDlg& operator=(const TProgressDlg&) = delete;

    /// Makes the view and prepares it; false when no view could be made.
    bool Create();
    HWND Window() const;

    /// Shows the fraction (as a whole percentage, 0 to 100) and a non-null text when either
    /// changed, then polls for a stop; answers whether the user has stopped. False without a
    /// bar.
    bool UpdateProgress(double fraction, const char* text);
    /// The cooperative poll for a press of stop: at most once in more than 3 seconds of the
    /// host's clock (counted in whole seconds, modulo 60), one waiting click is taken.
    void CheckButton();
    /// A click in the view: a click on the stop button stops the operation.
    void OnLButtonDown(int x, int y);
    /// The pointer moved over the view: with own cursor, the arrow inside the client area
    /// (edges excluded), the application's pointer outside.
    void OnMouseMove(int x, int y);
    void StopButton();

    void GetProgressDialogData(double* data1, double* data2) const;
    void SetProgressDialogData(double data1, double data2);

    bool stopped = false;
    const char* title;
    int percent = 0;
    double data[2] = {0.0, 0.0};
    bool canStop;
    bool notify;
    bool mouseInside = false;
    bool ownCursor;
    HWND mainWindow;
    HWND owner;
    int id;

private:
    void OnInitDialog();
    std::unique_ptr<IZEVProgressView> m_view;
    bool m_bar = false;
    std::string m_shownText;
};

ZEVCORE_API void StartProgressDialog(const char* title, bool canStop, bool notifyOwner,
                                     bool ownCursor, HWND owner, int id);
/// Stores a fraction from 0 up to (not including) 1.01, and the text when not null, then
/// shows them; true when the user has stopped. A negative fraction changes only the text.
ZEVCORE_API bool UpdateProgressDialog(double fraction, const char* text, int id);
/// Adds the increment to the stored fraction (starting again at 0.1 past 1.0) and updates.
/// Call SetProgressDialogIncrement after StartProgressDialog, which clears the increment.
ZEVCORE_API bool IncrementProgressDialog(int id, const char* text);
/// Stores an increment of at least -0.0001; smaller ones are ignored.
ZEVCORE_API void SetProgressDialogIncrement(double increment, int id);
ZEVCORE_API void KillProgressDialog(int id);
ZEVCORE_API bool IsProgressDialogActive(int id);
/// The stop flag of a live report; false when none stands on the id (ask before the kill).
ZEVCORE_API bool ProgressDialogWasCancelled(int id);
ZEVCORE_API void SetProgressBatchMode(bool batch);
/// The two free values of the id's data, in batch mode as well. Null pointers are ignored.
ZEVCORE_API void GetProgressDialogData(double* data1, double* data2, int id);
ZEVCORE_API void SetProgressDialogData(double data1, double data2, int id);
