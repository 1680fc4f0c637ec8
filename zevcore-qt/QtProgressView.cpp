#include "zevcore-qt/QtProgressView.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include "zevcore-qt/QtConvert.h"

namespace {

CZEVQtProgressView* gLive[4] = {nullptr, nullptr, nullptr, nullptr};

ZEVRect toRect(const QRect& r) {
    return {r.left(), r.top(), r.left() + r.width(), r.top() + r.height()};
}

}  // namespace

CZEVQtProgressView::CZEVQtProgressView(QWidget* owner, int id)
    : QDialog(owner, Qt::Dialog | Qt::WindowTitleHint | Qt::CustomizeWindowHint),
      m_id(id),
      m_bar(new QProgressBar(this)),
      m_percent(new QLabel(this)),
      m_status(new QLabel(this)),
      m_stop(new QPushButton(tr("Stop"), this)) {
    setObjectName("zevProgress");
    setModal(false);
    m_bar->setRange(0, 100);
    m_bar->setTextVisible(false);
    m_percent->setObjectName("percent");
    m_status->setObjectName("status");
    m_status->setMinimumWidth(320);
    m_status->setTextFormat(Qt::PlainText);
    m_stop->setObjectName("stop");
    auto* barRow = new QHBoxLayout;
    barRow->addWidget(m_bar, 1);
    barRow->addWidget(m_percent);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(barRow);
    layout->addWidget(m_status);
    layout->addWidget(m_stop, 0, Qt::AlignHCenter);
    connect(m_stop, &QPushButton::clicked, this, [this] {
        const QPoint centre = m_stop->geometry().center();
        m_clicks.emplace_back(centre.x(), centre.y());
    });
    if (id >= 0 && id < 4) gLive[id] = this;
    show();
}

CZEVQtProgressView::~CZEVQtProgressView() {
    if (m_id >= 0 && m_id < 4 && gLive[m_id] == this) gLive[m_id] = nullptr;
}

CZEVQtProgressView* CZEVQtProgressView::Live(int id) {
    return id >= 0 && id < 4 ? gLive[id] : nullptr;
}

bool CZEVQtProgressView::CreateBar() {
    return true;
}

ZEVRect CZEVQtProgressView::DialogRect() {
    adjustSize();
    return toRect(frameGeometry());
}

ZEVRect CZEVQtProgressView::ScreenRect() {
    const QScreen* s = screen() ? screen() : QApplication::primaryScreen();
    return s ? toRect(s->geometry()) : ZEVRect{0, 0, 1280, 1024};
}

bool CZEVQtProgressView::WindowRect(HWND window, ZEVRect& rect) {
    QWidget* w = zevqt::liveWidget(window);
    if (!w) return false;
    rect = toRect(w->window()->frameGeometry());
    return true;
}

void CZEVQtProgressView::MoveTo(int x, int y) {
    move(x, y);
}

void CZEVQtProgressView::SetTitle(const char* title) {
    setWindowTitle(zevqt::toQString(title));
}

void CZEVQtProgressView::SetBar(int percent) {
    m_bar->setValue(percent);
}

void CZEVQtProgressView::SetPercentText(const char* text) {
    m_percent->setText(zevqt::toQString(text));
}

void CZEVQtProgressView::SetStatusText(const char* text) {
    m_status->setText(zevqt::toQString(text));
}

void CZEVQtProgressView::SetButton(const char* text, bool enabled) {
    if (text) m_stop->setText(zevqt::toQString(text));
    m_stop->setEnabled(enabled);
}

void CZEVQtProgressView::Redraw() {
    repaint();
}

bool CZEVQtProgressView::TakeClick(int& x, int& y) {
    if (m_clicks.empty()) return false;
    x = m_clicks.front().first;
    y = m_clicks.front().second;
    m_clicks.pop_front();
    return true;
}

bool CZEVQtProgressView::ButtonContains(int x, int y) {
    return m_stop->geometry().contains(x, y);
}

void CZEVQtProgressView::ClientSize(int& width, int& height) {
    width = this->width();
    height = this->height();
}

void CZEVQtProgressView::ShowArrowCursor(bool arrow) {
    if (arrow)
        setCursor(Qt::ArrowCursor);
    else
        unsetCursor();
}

void CZEVQtProgressView::GiveFocusTo(HWND window) {
    if (QWidget* w = zevqt::liveWidget(window)) {
        w->activateWindow();
        w->setFocus();
    }
}

std::unique_ptr<IZEVProgressView> CZEVQtProgressViews::CreateProgressView(HWND owner, int id) {
    return std::make_unique<CZEVQtProgressView>(zevqt::liveWidget(owner), id);
}
