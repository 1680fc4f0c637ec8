#pragma once

// The edit field for a value with units: a QLineEdit that feeds CUnitsEditCtrl its text,
// keys and focus changes and shows what it answers (text, selection, red text, the balloon
// beside the field), so that the field behaves exactly as its logic says.

#include <QLabel>
#include <QLineEdit>
#include <QPointer>

#include "zevcore/quantities/UnitsEditCtrl.h"

/// The balloon: a tooltip-style bubble under its field.
class CZEVQtBalloon : public QLabel, public IZEVBalloon {
public:
    explicit CZEVQtBalloon(QWidget* field);
    void SetText(const char* text) override;
    void On() override;
    void Off() override;
    bool IsOn() const override { return m_on; }

private:
    QPointer<QWidget> m_field;
    bool m_on = false;
};

class CZEVQtUnitsEdit : public QLineEdit {
    Q_OBJECT
public:
    /// A field with logic of its own.
    explicit CZEVQtUnitsEdit(QWidget* parent = nullptr);
    /// A field showing `logic`, which must outlive it (a property grid's field).
    CZEVQtUnitsEdit(CUnitsEditCtrl& logic, QWidget* parent);
    ~CZEVQtUnitsEdit() override;

    /// The dialog item's id (other fields find it through the "zevId" property) and the
    /// window that is sent ZEV_UNITS_EDIT_CHECKED: `notify`'s handle, as CZEVQtWindows gives
    /// it (null: the field's parent widget).
    void SetupControl(unsigned id, ETUnit unit, ETUnitRange range, QObject* notify = nullptr);
    CUnitsEditCtrl& Logic() { return *m_logic; }
    CZEVQtBalloon& BalloonWidget() { return *m_balloon; }

    void SetValue(double value);
    /// The value of the text; `ok` tells whether the entry is good.
    double Value(bool* ok = nullptr);
    /// Shows what the logic holds now: text, selection and colour.
    void Sync();

Q_SIGNALS:
    /// The logic asked for the focus to move on (UEM_NEXT, UEM_PREVIOUS) or for the default
    /// button (UEM_DEFAULT_BUTTON, UEM_SHEET_BUTTON).
    void moveRequested(int move);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void moveEvent(QMoveEvent* event) override;

private:
    void init();
    void carryOut(ETUnitsEditMove move);

    CUnitsEditCtrl m_ownLogic;
    CUnitsEditCtrl* m_logic;
    CZEVQtBalloon* m_balloon;
    bool m_syncing = false;
};
