#include "zevcore-qt/GridView.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include "zevcore-qt/QtConvert.h"
#include "zevcore/settings/BaseProperty.h"
#include "zevcore/settings/PropertyGrid.h"

namespace {

constexpr int kButtonWidth = 16;

QRect toQRect(const RECT& r) {
    return QRect(QPoint(r.left, r.top), QPoint(r.right - 1, r.bottom - 1));
}

}  // namespace

CZEVQtGridView::CZEVQtGridView(CUGCtrl& model, QWidget* parent)
    : QWidget(parent),
      m_model(model),
      m_propertyGrid(dynamic_cast<CPropertyGrid*>(&model)),
      m_editor(new QLineEdit(this)),
      m_error(new QLabel(this)) {
    setObjectName("zevGrid");
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    if (!m_model.IsCreated()) m_model.CreateGrid();
    m_editor->setObjectName("zevGridEditor");
    m_editor->setFrame(false);
    m_editor->hide();
    m_editor->installEventFilter(this);
    connect(m_editor, &QLineEdit::textEdited, this, [this](const QString& text) {
        m_model.TypeText(zevqt::toCString(text));
        Refresh();
    });
    m_error->setObjectName("zevGridError");
    m_error->setTextFormat(Qt::PlainText);
    m_error->setMargin(3);
    m_error->setStyleSheet(
        "QLabel#zevGridError { background: #ffff00; color: #ff0000; border: 1px solid #ff0000; }");
    m_error->hide();
}

CZEVQtGridView::~CZEVQtGridView() = default;

QSize CZEVQtGridView::sizeHint() const {
    int width = m_model.GetSH_Width();
    for (int c = 0; c < m_model.GetNumberCols(); ++c) width += m_model.GetColWidth(c);
    int height = m_model.GetTH_Height();
    for (int r = 0; r < m_model.GetNumberRows(); ++r) height += m_model.GetRowHeight(r);
    return QSize(std::max(width, 200), std::max(height, 60));
}

QRect CZEVQtGridView::CellRect(int col, int row) const {
    RECT r{};
    if (!m_model.GetCellRect(col, row, &r)) return {};
    return toQRect(r);
}

bool CZEVQtGridView::CellAt(const QPoint& point, int& col, int& row) const {
    const int th = m_model.GetTH_Height();
    if (point.y() < 0 || point.x() < m_model.GetSH_Width()) return false;
    if (point.y() < th) {
        row = -1;
    } else {
        row = (point.y() - th) / std::max(m_model.GetRowHeight(0), 1);
        if (row >= m_model.GetNumberRows()) return false;
    }
    int left = m_model.GetSH_Width();
    for (int c = 0; c < m_model.GetNumberCols(); ++c) {
        const int right = left + m_model.GetColWidth(c);
        if (point.x() < right) {
            // A joined cell answers for its top-left cell.
            const RECT join = m_model.GetJoinRange(c, row);
            col = join.left;
            row = join.top;
            return true;
        }
        left = right;
    }
    return false;
}

CZEVQtGridView::Part CZEVQtGridView::partAt(int col, int row, const QPoint& point) const {
    const CUGCell cell = m_model.DrawnCell(col, row);
    const CString type = m_model.CellTypeName(cell.GetCellType());
    const QRect rect = CellRect(col, row);
    if (type == "drop list" || type == "ellipsis") {
        if (point.x() >= rect.right() - kButtonWidth) return Part::Button;
    } else if (type == "spin button") {
        if (point.x() >= rect.right() - kButtonWidth)
            return point.y() < rect.center().y() ? Part::UpperButton : Part::LowerButton;
    } else if (type == "check box" || type == "expand box") {
        return Part::Button;
    }
    return Part::Text;
}

void CZEVQtGridView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    for (int row = -1; row < m_model.GetNumberRows(); ++row) {
        if (row == -1 && m_model.GetTH_Height() == 0) continue;
        for (int col = 0; col < m_model.GetNumberCols(); ++col) {
            const RECT join = m_model.GetJoinRange(col, row);
            if (join.left != col || join.top != row) continue;  // painted with its join
            paintCell(painter, col, row);
        }
    }
}

void CZEVQtGridView::paintCell(QPainter& painter, int col, int row) {
    const QRect rect = CellRect(col, row);
    if (rect.isEmpty()) return;
    const CUGCell cell = m_model.DrawnCell(col, row);
    const bool current =
        row >= 0 && row == m_model.GetCurrentRow() && col == m_model.GetCurrentCol();
    COLORREF back = current && cell.GetHBackColor() != CUGCell::kNoColor ? cell.GetHBackColor()
                                                                         : cell.GetBackColor();
    COLORREF text = current && cell.GetHTextColor() != CUGCell::kNoColor ? cell.GetHTextColor()
                                                                         : cell.GetTextColor();
    QColor backColor = back != CUGCell::kNoColor ? zevqt::toQColor(back)
                       : row < 0                 ? palette().color(QPalette::Button)
                                                 : palette().color(QPalette::Base);
    QColor textColor =
        text != CUGCell::kNoColor ? zevqt::toQColor(text) : palette().color(QPalette::Text);
    painter.fillRect(rect, backColor);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect.adjusted(0, 0, 0, 0));

    const int fontIndex = cell.GetFont() >= 0 ? cell.GetFont() : m_model.GetDefFont();
    const LOGFONTA* logFont = m_model.GetFont(fontIndex);
    painter.setFont(logFont ? zevqt::toQFont(*logFont) : font());

    const CString type = m_model.CellTypeName(cell.GetCellType());
    QRect textRect = rect.adjusted(4, 0, -2, 0);
    if (type == "expand box" || type == "check box")
        textRect.setLeft(paintBox(painter, rect, type, cell, textColor).right() + 2);
    else if (type == "drop list" || type == "ellipsis" || type == "spin button")
        textRect.setRight(paintButton(painter, rect, type).left() - 2);
    painter.setPen(textColor);
    QFont f = painter.font();
    if (type == "hint") {
        f.setItalic(true);
        painter.setFont(f);
    }
    const int flags = (row < 0 ? Qt::AlignHCenter : Qt::AlignLeft) | Qt::AlignVCenter;
    painter.drawText(textRect, flags, zevqt::toQString(cell.GetText()));

    if (current && hasFocus()) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1, Qt::DotLine));
        painter.drawRect(rect.adjusted(1, 1, -1, -1));
    }
}

// The box of a check box (ticked, or grey for the third state) or of an expand box (a minus,
// or a plus when closed) at the cell's left; answers where it is.
QRect CZEVQtGridView::paintBox(QPainter& painter, const QRect& rect, const CString& type,
                               const CUGCell& cell, const QColor& textColor) {
    const int side = std::min(rect.height() - 6, 12);
    const QRect box(rect.left() + 4, rect.center().y() - side / 2, side, side);
    painter.setPen(textColor);
    painter.setBrush(Qt::white);
    painter.drawRect(box);
    painter.setBrush(Qt::NoBrush);
    const int number = static_cast<int>(cell.GetNumber());
    if (type == "expand box") {
        painter.setPen(Qt::black);
        painter.drawLine(box.left() + 2, box.center().y(), box.right() - 2, box.center().y());
        if (number == 1)  // closed: the plus
            painter.drawLine(box.center().x(), box.top() + 2, box.center().x(), box.bottom() - 2);
    } else if (number == 1) {
        painter.setPen(QPen(Qt::black, 2));
        painter.drawLine(box.left() + 2, box.center().y(), box.center().x() - 1, box.bottom() - 2);
        painter.drawLine(box.center().x() - 1, box.bottom() - 2, box.right() - 2, box.top() + 2);
    } else if (number == 2) {
        painter.fillRect(box.adjusted(3, 3, -2, -2), Qt::gray);
    }
    return box;
}

// The button at the cell's right of a drop list (an arrow), an ellipsis ("...") or a spin
// button (+ over -); answers where it is.
QRect CZEVQtGridView::paintButton(QPainter& painter, const QRect& rect, const CString& type) {
    const QRect button(rect.right() - kButtonWidth, rect.top() + 1, kButtonWidth,
                       rect.height() - 2);
    painter.fillRect(button, palette().color(QPalette::Button));
    painter.setPen(palette().color(QPalette::ButtonText));
    painter.drawRect(button.adjusted(0, 0, -1, -1));
    const QPoint c = button.center();
    if (type == "drop list") {
        painter.setBrush(palette().color(QPalette::ButtonText));
        painter.drawPolygon(QPolygon({QPoint(c.x() - 4, c.y() - 2), QPoint(c.x() + 4, c.y() - 2),
                                      QPoint(c.x(), c.y() + 3)}));
        painter.setBrush(Qt::NoBrush);
    } else if (type == "ellipsis") {
        painter.drawText(button, Qt::AlignCenter, "...");
    } else {
        painter.drawLine(button.left(), c.y(), button.right(), c.y());
        painter.drawText(QRect(button.left(), button.top(), button.width(), c.y() - button.top()),
                         Qt::AlignCenter, "+");
        painter.drawText(QRect(button.left(), c.y(), button.width(), button.bottom() - c.y()),
                         Qt::AlignCenter, "-");
    }
    return button;
}

void CZEVQtGridView::Refresh() {
    // The editor shows what the model's edit window holds, in its colour.
    if (m_model.IsEditing() && m_model.EditWindow()) {
        const QRect cell = CellRect(m_model.EditCol(), m_model.EditRow());
        m_editor->setGeometry(cell.adjusted(1, 1, -1, -1));
        const QString text = zevqt::toQString(m_model.EditWindow()->GetWindowText());
        if (m_editor->text() != text) m_editor->setText(text);
        QPalette p = m_editor->palette();
        auto* units = dynamic_cast<CUnitsEditCtrl*>(m_model.EditWindow());
        p.setColor(QPalette::Text, units && units->TextColor() == CUnitsEditCtrl::kRed
                                       ? QColor(Qt::red)
                                       : palette().color(QPalette::Text));
        m_editor->setPalette(p);
        if (!m_editor->isVisible()) {
            m_editor->show();
            m_editor->setFocus();
            m_editor->selectAll();
        }
    } else if (m_editor->isVisible()) {
        m_editor->hide();
        setFocus();
    }
    if (m_propertyGrid && m_propertyGrid->ErrorWindow().IsOn()) {
        const CMessage& message = m_propertyGrid->ErrorWindow();
        m_error->setText(zevqt::toQString(message.Text()));
        m_error->adjustSize();
        const POINT corner = message.Position();
        int x = std::clamp(static_cast<int>(corner.x), 0, std::max(width() - m_error->width(), 0));
        int y = std::max(static_cast<int>(corner.y) - m_error->height(), 0);
        m_error->move(x, y);
        m_error->show();
        m_error->raise();
    } else {
        m_error->hide();
    }
    update();
}

void CZEVQtGridView::afterAction() {
    Refresh();
    Q_EMIT modelChanged();
}

bool CZEVQtGridView::finishEdit(bool cancelled) {
    if (!m_model.IsEditing() || m_finishing) return true;
    m_finishing = true;
    m_model.TypeText(zevqt::toCString(m_editor->text()));
    const bool closed = m_model.FinishEdit(cancelled);
    m_finishing = false;
    afterAction();
    return closed;
}

void CZEVQtGridView::openList(int col, int row) {
    const CUGCell cell = m_model.DrawnCell(col, row);
    const QStringList items = zevqt::toQString(cell.GetLabelText()).split('\n', Qt::SkipEmptyParts);
    delete m_list;
    m_list = new QMenu(this);
    m_list->setObjectName("zevGridList");
    m_list->setAttribute(Qt::WA_DeleteOnClose);
    for (int i = 0; i < items.size(); ++i) {
        // A list item is data, not a menu label: an "&" in it is shown, not taken as a
        // mnemonic ("Kips &Inches" showed as "Kips _Inches").
        QAction* action = m_list->addAction(QString(items[i]).replace('&', "&&"));
        connect(action, &QAction::triggered, this, [this, col, row, i] {
            m_model.NotifyCellType(col, row, CN_LIST_PICK, i);
            m_model.NotifyCellType(col, row, CN_LIST_DONE, 0);
            afterAction();
        });
    }
    const QRect rect = CellRect(col, row);
    m_list->popup(mapToGlobal(rect.bottomLeft()));
}

void CZEVQtGridView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    setFocus();
    int col = 0, row = 0;
    if (!CellAt(event->position().toPoint(), col, row)) return;
    // A click elsewhere first ends the open edit; a refused entry keeps it open.
    if (m_model.IsEditing() && (col != m_model.EditCol() || row != m_model.EditRow()) &&
        !finishEdit(false))
        return;
    if (row < 0) return;
    const CUGCell cell = m_model.DrawnCell(col, row);
    const CString type = m_model.CellTypeName(cell.GetCellType());
    switch (partAt(col, row, event->position().toPoint())) {
        case Part::Button:
            m_model.GotoCell(col, row);
            if (type == "check box" || type == "expand box") {
                const int state = static_cast<int>(cell.GetNumber());
                const bool three = (cell.GetCellTypeEx() & UGCT_CHECKBOX3STATE) != 0;
                const int next = type == "expand box" ? (state == 0 ? 1 : 0)
                                 : three              ? (state + 1) % 3
                                                      : (state == 1 ? 0 : 1);
                m_model.NotifyCellType(col, row, CN_CHECK, next);
            } else if (type == "drop list") {
                openList(col, row);
            } else {
                m_model.NotifyCellType(col, row, CN_ELLIPSIS, 0);
            }
            break;
        case Part::UpperButton:
            m_model.GotoCell(col, row);
            m_model.NotifyCellType(col, row, CN_SPIN_UP, 0);
            break;
        case Part::LowerButton:
            m_model.GotoCell(col, row);
            m_model.NotifyCellType(col, row, CN_SPIN_DOWN, 0);
            break;
        case Part::Text:
            if (!m_model.IsEditing()) m_model.Click(col, row);
            break;
    }
    afterAction();
}

void CZEVQtGridView::mouseDoubleClickEvent(QMouseEvent* event) {
    int col = 0, row = 0;
    if (event->button() != Qt::LeftButton || !CellAt(event->position().toPoint(), col, row)) return;
    m_model.DoubleClick(col, row);
    afterAction();
}

void CZEVQtGridView::keyPressEvent(QKeyEvent* event) {
    UINT key = 0;
    switch (event->key()) {
        case Qt::Key_Up:
            key = VK_UP;
            break;
        case Qt::Key_Down:
            key = VK_DOWN;
            break;
        case Qt::Key_Left:
            key = VK_LEFT;
            break;
        case Qt::Key_Right:
            key = VK_RIGHT;
            break;
        case Qt::Key_Tab:
            key = VK_TAB;
            break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            key = VK_RETURN;
            break;
        case Qt::Key_Escape:
            key = VK_ESCAPE;
            break;
        case Qt::Key_Delete:
            key = VK_DELETE;
            break;
        case Qt::Key_Insert:
            key = VK_INSERT;
            break;
        default:
            break;
    }
    if (key) {
        m_model.KeyDown(key);
        afterAction();
        return;
    }
    const QString typed = event->text();
    if (!typed.isEmpty() && typed.at(0).isPrint() && typed.at(0).unicode() < 128 &&
        m_model.GetCurrentRow() >= 0) {
        // Typing on a cell starts its edit with that character.
        int col = m_model.GetCurrentCol();
        if (m_propertyGrid) col = m_propertyGrid->GetPropertyColumn();
        if (m_model.StartEdit(col, m_model.GetCurrentRow(), typed.at(0).toLatin1())) {
            afterAction();
            m_editor->deselect();
            m_editor->end(false);
            return;
        }
    }
    QWidget::keyPressEvent(event);
}

void CZEVQtGridView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    m_model.SetWindowSize(width(), height());
    Refresh();
}

bool CZEVQtGridView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        int col = 0, row = 0;
        CString hint;
        if (CellAt(help->pos(), col, row) && m_model.Hint(col, row, hint) && !hint.IsEmpty())
            QToolTip::showText(help->globalPos(), zevqt::toQString(hint), this);
        else
            QToolTip::hideText();
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        // Tab belongs to the grid, not to the dialog's focus chain.
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Tab) {
            keyPressEvent(key);
            return true;
        }
    }
    return QWidget::event(event);
}

bool CZEVQtGridView::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_editor) return QWidget::eventFilter(watched, event);
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        switch (key->key()) {
            case Qt::Key_Return:
            case Qt::Key_Enter:
                finishEdit(false);
                return true;
            case Qt::Key_Escape:
                finishEdit(true);
                return true;
            case Qt::Key_Tab:
            case Qt::Key_Up:
            case Qt::Key_Down:
                if (finishEdit(false)) {
                    m_model.KeyDown(key->key() == Qt::Key_Up     ? VK_UP
                                    : key->key() == Qt::Key_Down ? VK_DOWN
                                                                 : VK_TAB);
                    afterAction();
                }
                return true;
            default:
                break;
        }
    } else if (event->type() == QEvent::FocusOut) {
        auto* focus = static_cast<QFocusEvent*>(event);
        // Leaving the grid commits the entry, as a click elsewhere would.
        if (focus->reason() != Qt::ActiveWindowFocusReason &&
            focus->reason() != Qt::PopupFocusReason && m_editor->isVisible())
            QMetaObject::invokeMethod(
                this,
                [this] {
                    if (m_editor->isVisible() && !m_editor->hasFocus()) finishEdit(false);
                },
                Qt::QueuedConnection);
    }
    return QWidget::eventFilter(watched, event);
}
