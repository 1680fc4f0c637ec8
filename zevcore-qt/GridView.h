#pragma once

// A view over a windowless grid control (CUGCtrl, such as a property grid): it paints what
// the model says each cell shows (joins, colours, fonts, the cell types' buttons) and hands
// every click, key and edit to the model, so the model's rules hold unchanged. The in-place
// editor is a QLineEdit that types into the model's edit window; a property grid's rejection
// pop-up is shown above the cell while the model keeps it on.

#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QWidget>

#include "zevcore/controls/UGCtrl.h"

class CPropertyGrid;

class CZEVQtGridView : public QWidget {
    Q_OBJECT
public:
    /// `model` must outlive the view; it is made (CreateGrid) if it was not.
    explicit CZEVQtGridView(CUGCtrl& model, QWidget* parent = nullptr);
    ~CZEVQtGridView() override;

    CUGCtrl& Model() { return m_model; }
    /// The cell under a point of the view: false outside every cell.
    bool CellAt(const QPoint& point, int& col, int& row) const;
    /// The rectangle of a cell (joins included) in the view.
    QRect CellRect(int col, int row) const;
    /// The open in-place editor, or null.
    QLineEdit* Editor() const { return m_editor->isVisible() ? m_editor : nullptr; }
    /// The rejection pop-up, visible while the model keeps it on.
    QLabel* ErrorPopup() const { return m_error; }
    /// The drop list open now, or null.
    QMenu* OpenList() const { return m_list; }

    /// Shows the model as it is now: the editor, the pop-up and the cells.
    void Refresh();
    QSize sizeHint() const override;

Q_SIGNALS:
    /// After each user action the model accepted or refused, for the application.
    void modelChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Part { Text, Button, UpperButton, LowerButton };
    /// What of a cell a point falls on: its text or its cell type's button.
    Part partAt(int col, int row, const QPoint& point) const;
    void paintCell(QPainter& painter, int col, int row);
    QRect paintBox(QPainter& painter, const QRect& rect, const CString& type, const CUGCell& cell,
                   const QColor& textColor);
    QRect paintButton(QPainter& painter, const QRect& rect, const CString& type);
    /// Finishes an open edit; false when the model refused the entry (it stays open).
    bool finishEdit(bool cancelled);
    void openList(int col, int row);
    void afterAction();

    CUGCtrl& m_model;
    CPropertyGrid* m_propertyGrid;
    QLineEdit* m_editor;
    QLabel* m_error;
    QPointer<QMenu> m_list;
    bool m_finishing = false;
};
