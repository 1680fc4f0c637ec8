#include "zevcore/platform/services/ProgressView.h"

#include <sys/ioctl.h>
#include <unistd.h>

IZEVProgressView::~IZEVProgressView() = default;
IZEVProgressViewFactory::~IZEVProgressViewFactory() = default;

namespace {
IZEVProgressViewFactory* gInstalledViews = nullptr;
}

IZEVProgressViewFactory& ZEVProgressViews() {
    static CZEVTextProgressViews fallback;
    return gInstalledViews ? *gInstalledViews : fallback;
}

IZEVProgressViewFactory* ZEVInstallProgressViews(IZEVProgressViewFactory* factory) {
    IZEVProgressViewFactory* previous = gInstalledViews;
    gInstalledViews = factory;
    return previous;
}

CZEVTextProgressView::CZEVTextProgressView(std::FILE* out, bool draw, int width)
    : m_out(out), m_draw(draw && out), m_width(width < 20 ? 20 : width) {}

CZEVTextProgressView::~CZEVTextProgressView() {
    // The line goes with the view, so that what the work prints next starts clean.
    if (m_drawn) {
        std::fprintf(m_out, "\r%*s\r", m_width - 1, "");
        std::fflush(m_out);
    }
}

void CZEVTextProgressView::SetTitle(const char* title) {
    m_title = title ? title : "";
    draw();
}

void CZEVTextProgressView::SetBar(int percent) {
    m_percent = percent < 0 ? 0 : percent > 100 ? 100 : percent;
    draw();
}

void CZEVTextProgressView::SetStatusText(const char* text) {
    m_status = text ? text : "";
    draw();
}

void CZEVTextProgressView::draw() {
    if (!m_draw) return;
    constexpr int kCells = 20;
    const int filled = m_percent * kCells / 100;
    std::string line = m_title.empty() ? "" : m_title + " ";
    line += '[' + std::string(filled, '#') + std::string(kCells - filled, ' ') + ']';
    char percent[8];
    std::snprintf(percent, sizeof percent, " %3d%%", m_percent);
    line += percent;
    if (!m_status.empty()) line += ' ' + m_status;
    // One terminal line: control characters would break it, and it must not wrap.
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20) c = ' ';
    line.resize(static_cast<size_t>(m_width - 1), ' ');
    std::fprintf(m_out, "\r%s", line.c_str());
    std::fflush(m_out);
    m_drawn = true;
}

std::unique_ptr<IZEVProgressView> CZEVTextProgressViews::CreateProgressView(HWND, int) {
    const bool terminal = isatty(STDERR_FILENO) == 1;
    int width = 80;
    winsize size{};
    if (terminal && ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        width = size.ws_col;
    return std::make_unique<CZEVTextProgressView>(stderr, terminal, width);
}
