#include "zevcore-qt/UnitsEdit.h"

#include <QApplication>
#include <QDialog>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPalette>
#include <QPushButton>
#include <QTimer>

#include "zevcore-qt/QtConvert.h"
#include "zevcore-qt/QtHost.h"

CZEVQtBalloon::CZEVQtBalloon(QWidget* field)
    : QLabel(field, Qt::ToolTip | Qt::FramelessWindowHint), m_field(field) {
    setObjectName("zevBalloon");
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setMargin(6);
    setStyleSheet(
        "QLabel#zevBalloon { background: #ffffe1; color: black; border: 1px solid #767676;"
        " border-radius: 4px; }");
    hide();
}

void CZEVQtBalloon::SetText(const char* text) {
    setText(zevqt::toQString(text));
    adjustSize();
}

void CZEVQtBalloon::On() {
    m_on = true;
    if (!m_field) return;
    adjustSize();
    move(m_field->mapToGlobal(QPoint(0, m_field->height() + 2)));
    show();
    raise();
}

void CZEVQtBalloon::Off() {
    m_on = false;
    hide();
}

CZEVQtUnitsEdit::CZEVQtUnitsEdit(QWidget* parent) : QLineEdit(parent), m_logic(&m_ownLogic) {
    init();
}

CZEVQtUnitsEdit::CZEVQtUnitsEdit(CUnitsEditCtrl& logic, QWidget* parent)
    : QLineEdit(parent), m_logic(&logic) {
    init();
}

CZEVQtUnitsEdit::~CZEVQtUnitsEdit() {
    m_logic->SetBalloon(nullptr);
}

void CZEVQtUnitsEdit::init() {
    m_balloon = new CZEVQtBalloon(this);
    m_logic->SetBalloon(m_balloon);
    m_logic->m_hWnd = CZEVQtWindows::HandleOf(this);
    connect(this, &QLineEdit::textEdited, this, [this](const QString& text) {
        m_logic->SetWindowText(zevqt::toCString(text));
        Sync();
    });
    Sync();
}

void CZEVQtUnitsEdit::SetupControl(unsigned id, ETUnit unit, ETUnitRange range, QObject* notify) {
    setProperty("zevId", id);
    if (!notify) notify = parentWidget();
    m_logic->SetupControl(id, notify ? CZEVQtWindows::HandleOf(notify) : nullptr, unit, range);
    m_logic->SetLastGoodValue();
    Sync();
}

void CZEVQtUnitsEdit::SetValue(double value) {
    m_logic->SetValue(value);
    Sync();
}

double CZEVQtUnitsEdit::Value(bool* ok) {
    const double value = m_logic->GetValue();
    if (ok) *ok = m_logic->LastError() == UNIT_OK;
    return value;
}

void CZEVQtUnitsEdit::Sync() {
    if (m_syncing) return;
    m_syncing = true;
    const QString text = zevqt::toQString(m_logic->GetWindowText());
    if (text != this->text()) {
        // A text set by the logic: the caret and selection follow the logic's.
        setText(text);
        int start = 0, end = 0;
        m_logic->GetSel(start, end);
        if (end > start)
            setSelection(start, end - start);
        else
            setCursorPosition(start);
    }
    QPalette p = palette();
    p.setColor(QPalette::Text,
               m_logic->TextColor() == CUnitsEditCtrl::kRed ? QColor(Qt::red) : QColor(Qt::black));
    setPalette(p);
    m_syncing = false;
}

void CZEVQtUnitsEdit::carryOut(ETUnitsEditMove move) {
    Sync();
    switch (move) {
        case UEM_NONE:
            return;
        case UEM_KEEP_FOCUS:
            // The field failed its check: the focus comes back once the change is over.
            QTimer::singleShot(0, this, [this] {
                setFocus(Qt::OtherFocusReason);
                int start = 0, end = 0;
                m_logic->GetSel(start, end);
                setCursorPosition(start);
            });
            return;
        case UEM_PREVIOUS:
        case UEM_NEXT:
            Q_EMIT moveRequested(move);
            if (QWidget* w = window()) {
                // focusNextPrevChild is protected: step through the window's chain instead.
                QWidget* target = move == UEM_NEXT ? nextInFocusChain() : previousInFocusChain();
                while (target && target != this && !(target->focusPolicy() & Qt::TabFocus))
                    target = move == UEM_NEXT ? target->nextInFocusChain()
                                              : target->previousInFocusChain();
                if (target && target != this && target->window() == w) target->setFocus();
            }
            return;
        case UEM_DEFAULT_BUTTON:
        case UEM_SHEET_BUTTON: {
            Q_EMIT moveRequested(move);
            if (auto* dialog = qobject_cast<QDialog*>(window())) {
                for (QPushButton* b : dialog->findChildren<QPushButton*>())
                    if (b->isDefault()) {
                        b->click();
                        return;
                    }
            }
            return;
        }
    }
}

bool CZEVQtUnitsEdit::event(QEvent* event) {
    // Tab would move the focus before the field sees it; the logic decides instead.
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) {
            keyPressEvent(key);
            return true;
        }
    }
    return QLineEdit::event(event);
}

void CZEVQtUnitsEdit::keyPressEvent(QKeyEvent* event) {
    ETUnitsEditKey key = UEK_OTHER;
    switch (event->key()) {
        case Qt::Key_Tab:
            key = UEK_TAB;
            break;
        case Qt::Key_Backtab:
            key = UEK_TAB;
            break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            key = UEK_ENTER;
            break;
        case Qt::Key_Escape:
            key = UEK_ESCAPE;
            break;
        case Qt::Key_Up:
            key = UEK_UP;
            break;
        case Qt::Key_Down:
            key = UEK_DOWN;
            break;
        case Qt::Key_F2:
            key = UEK_F2;
            break;
        default:
            break;
    }
    if (key == UEK_OTHER) {
        const QString typed = event->text();
        if (!typed.isEmpty() && !m_logic->OnChar(typed.at(0).toLatin1())) return;
        QLineEdit::keyPressEvent(event);
        return;
    }
    const bool shift = (event->modifiers() & Qt::ShiftModifier) || event->key() == Qt::Key_Backtab;
    carryOut(m_logic->OnKeyDown(key, shift));
    // Escape also reaches the dialog, which closes on it.
    if (key == UEK_ESCAPE)
        event->ignore();
    else
        event->accept();
}

void CZEVQtUnitsEdit::focusInEvent(QFocusEvent* event) {
    QLineEdit::focusInEvent(event);
    m_logic->OnSetFocus();
    int start = 0, end = 0;
    m_logic->GetSel(start, end);
    if (end > start)
        setSelection(start, end - start);
    else
        setCursorPosition(start);
}

void CZEVQtUnitsEdit::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    // The window lost the focus (another application's window): no control of ours took it.
    const bool toWindow =
        event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason;
    unsigned newId = 0;
    if (QWidget* next = QApplication::focusWidget()) newId = next->property("zevId").toUInt();
    carryOut(m_logic->OnKillFocus(toWindow, newId));
}

void CZEVQtUnitsEdit::moveEvent(QMoveEvent* event) {
    QLineEdit::moveEvent(event);
    if (m_balloon->IsOn()) m_balloon->On();
}
