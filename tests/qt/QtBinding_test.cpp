// The Qt binding driven as a user would: typing into fields, clicking cells and buttons.

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTabBar>
#include <QTimer>
#include <QVBoxLayout>
#include <memory>

#include "QtTestMain.h"
#include "tools/zevcore/PrefsTree.h"
#include "zevcore-qt/GridView.h"
#include "zevcore-qt/PreferencesDialog.h"
#include "zevcore-qt/QtConvert.h"
#include "zevcore-qt/QtGdi.h"
#include "zevcore-qt/QtProgressView.h"
#include "zevcore-qt/UnitStyleDialog.h"
#include "zevcore-qt/UnitsEdit.h"
#include "zevcore/frame/Progress.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/quantities/Units.h"
#include "zevcore/settings/BaseProperty.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"
#include "zevcore/settings/PropertyGrid.h"
#include "zevcore/settings/PropertyGroup.h"

namespace {

// A group that owns its rows and counts the changes that left it dirty.
class Group : public CPropertyGroup {
public:
    Group() : CPropertyGroup("Beam") {}
    ~Group() override { remove_all_properties(true); }
    const char* applyChange(int row) override {
        ++applied;
        return CPropertyGroup::applyChange(row);
    }
    int applied = 0;
};

void showActive(QWidget& w) {
    w.show();
    w.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&w));
}

// Runs `act` on the next modal dialog of type T once it is up.
template <typename T, typename Act>
void whenModal(Act act) {
    QTimer::singleShot(0, [act] {
        for (int tries = 0; tries < 200; ++tries) {
            if (auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget())) {
                act(dialog);
                return;
            }
            QTest::qWait(10);
        }
    });
}

}  // namespace

class TestBinding : public QObject {
    Q_OBJECT
public:
    explicit TestBinding(CZEVQtHost& host) : m_host(host) {}

private Q_SLOTS:
    void init() {
        // Whatever a test saved of the unit styles is forgotten.
        RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\ZEV\\Units2010");
        Units::resetStyles();
        Units::readStyles();
        Units::setStyle(UNIT_STYLE_USA, false);
    }

    void unitsFieldReadsFeetAndInchesAndTellsItsParent() {
        QDialog dialog;
        int checked = 0;
        m_host.Windows().Register(&dialog, [&](UINT message, WPARAM, LPARAM) -> LRESULT {
            if (message == ZEV_UNITS_EDIT_CHECKED) ++checked;
            return 0;
        });
        auto* field = new CZEVQtUnitsEdit(&dialog);
        auto* other = new QLineEdit(&dialog);
        auto* layout = new QVBoxLayout(&dialog);
        layout->addWidget(field);
        layout->addWidget(other);
        field->SetupControl(1001, UNIT_LENGTH_SMALL, UNIT_RANGE_ANY);
        showActive(dialog);
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, "5' 6 1/2\"");
        QTest::keyClick(field, Qt::Key_Tab);
        QTRY_VERIFY(other->hasFocus());
        bool ok = false;
        QCOMPARE(field->Value(&ok), 66.5);
        QVERIFY(ok);
        QCOMPARE(checked, 2);  // the check of the Tab key, then the one of the lost focus
        QVERIFY(!field->BalloonWidget().isVisible());
    }

    void aBadEntryShowsTheBalloonAndKeepsTheFocus() {
        QDialog dialog;
        auto* field = new CZEVQtUnitsEdit(&dialog);
        auto* other = new QLineEdit(&dialog);
        auto* layout = new QVBoxLayout(&dialog);
        layout->addWidget(field);
        layout->addWidget(other);
        field->SetupControl(1002, UNIT_LENGTH_SMALL, UNIT_RANGE_POSITIVE);
        field->SetValue(12.0);
        showActive(dialog);
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, "12 parsecs");
        QTest::keyClick(field, Qt::Key_Tab);
        QTRY_VERIFY(field->BalloonWidget().isVisible());
        QCOMPARE(field->BalloonWidget().text(),
                 QString::fromUtf8(field->Logic().ErrorMessage().GetString()));
        QVERIFY(!field->BalloonWidget().text().isEmpty());
        QCOMPARE(field->palette().color(QPalette::Text), QColor(Qt::red));
        QTRY_VERIFY(field->hasFocus());
        zevqttest::screenshot(&dialog, "units-field-balloon.png");

        // A good entry takes the balloon down; Tab then moves on.
        field->selectAll();
        QTest::keyClicks(field, "3 ft");
        QVERIFY(!field->BalloonWidget().isVisible());
        QCOMPARE(field->palette().color(QPalette::Text), QColor(Qt::black));
        QTest::keyClick(field, Qt::Key_Tab);
        QTRY_VERIFY(other->hasFocus());
        QCOMPARE(field->Value(), 36.0);
    }

    void theGridViewRoutesEditsChecksAndListsToTheModel() {
        Group group;
        auto* bays = new CIntegerProperty("Bays", "How many bays", 1, 1, 20);
        auto* length = new CPhysicalProperty("Length", UNIT_LENGTH_SMALL, "", 0.0, 1.0, 1e6);
        auto* braced = new CCheckBoxProperty("Braced", CB_YES_NO, "");
        auto* shape = new CListProperty("Shape", "");
        shape->add_list_item("W", 0);
        shape->add_list_item("HSS", 1);
        for (CBaseProperty* p : std::initializer_list<CBaseProperty*>{bays, length, braced, shape})
            group.add_property(p);
        group.reset();
        CPropertyGrid grid;
        grid.SetGroup(&group, 1);
        CZEVQtGridView view(grid);
        view.resize(360, 160);
        showActive(view);
        const int valueCol = grid.GetPropertyColumn();

        // A refused entry stays open, with the row's own message above it.
        QTest::mouseClick(&view, Qt::LeftButton, {}, view.CellRect(valueCol, 0).center());
        QVERIFY(view.Editor());
        view.Editor()->selectAll();
        QTest::keyClicks(view.Editor(), "30");
        QTest::keyClick(view.Editor(), Qt::Key_Return);
        QVERIFY(view.Editor());
        QVERIFY(view.ErrorPopup()->isVisible());
        QCOMPARE(view.ErrorPopup()->text(), QString("Please enter 'Bays' less than 21"));
        QCOMPARE(group.applied, 0);

        view.Editor()->selectAll();
        QTest::keyClicks(view.Editor(), "12");
        QTest::keyClick(view.Editor(), Qt::Key_Return);
        QVERIFY(!view.Editor());
        QVERIFY(!view.ErrorPopup()->isVisible());
        QCOMPARE(bays->value(), 12);
        QCOMPARE(group.applied, 1);

        // A length in feet and inches, through the grid's units field.
        QTest::mouseClick(&view, Qt::LeftButton, {}, view.CellRect(valueCol, 1).center());
        QVERIFY(view.Editor());
        view.Editor()->selectAll();
        QTest::keyClicks(view.Editor(), "5' 6 1/2\"");
        QTest::keyClick(view.Editor(), Qt::Key_Return);
        QVERIFY(!view.Editor());
        QCOMPARE(length->value(), 66.5);

        // The check box toggles on a click; the list opens and takes a pick.
        QTest::mouseClick(&view, Qt::LeftButton, {}, view.CellRect(valueCol, 2).center());
        QCOMPARE(braced->state(), CHECK_ON);
        const QRect shapeCell = view.CellRect(valueCol, 3);
        QTest::mouseClick(&view, Qt::LeftButton, {},
                          QPoint(shapeCell.right() - 4, shapeCell.center().y()));
        QVERIFY(view.OpenList());
        QCOMPARE(view.OpenList()->actions().size(), 2);
        view.OpenList()->actions().at(1)->trigger();
        QCOMPARE(shape->selected_index(), 1);
        QCOMPARE(group.applied, 4);
        QCOMPARE(QString::fromUtf8(grid.DrawnCell(valueCol, 3).GetText().GetString()),
                 QString("HSS"));
    }

    void spinButtonsStepAndTheEllipsisOpensTheChooser() {
        Group group;
        auto* bays = new CIntegerProperty("Bays", "", 2, 1, 20);
        auto* colour = new CColorProperty("Colour", "");
        bays->value(1);
        group.add_property(bays);
        group.add_property(colour);
        group.reset();
        CPropertyGrid grid;
        grid.SetGroup(&group, 1);
        CZEVQtGridView view(grid);
        view.resize(360, 120);
        showActive(view);
        const int valueCol = grid.GetPropertyColumn();
        const QRect spin = view.CellRect(valueCol, 0);
        QTest::mouseClick(&view, Qt::LeftButton, {}, QPoint(spin.right() - 4, spin.top() + 3));
        QTest::mouseClick(&view, Qt::LeftButton, {}, QPoint(spin.right() - 4, spin.top() + 3));
        QCOMPARE(bays->value(), 5);  // 1 and two steps of 2
        QTest::mouseClick(&view, Qt::LeftButton, {}, QPoint(spin.right() - 4, spin.bottom() - 3));
        QCOMPARE(bays->value(), 3);

        // The [...] of a colour row asks the dialog service, here Qt's colour chooser.
        whenModal<QColorDialog>([](QColorDialog* dialog) {
            dialog->setCurrentColor(QColor(10, 20, 30));
            dialog->accept();
        });
        const QRect button = view.CellRect(valueCol, 1);
        QTest::mouseClick(&view, Qt::LeftButton, {},
                          QPoint(button.right() - 4, button.center().y()));
        QCOMPARE(colour->color(), RGB(10, 20, 30));
        QCOMPARE(grid.DrawnCell(valueCol, 1).GetBackColor(), RGB(10, 20, 30));
    }

    void theProgressViewShowsTheReportAndItsStopButtonStops() {
        QWidget owner;
        int stops = 0;
        m_host.Windows().Register(&owner, [&](UINT message, WPARAM, LPARAM) -> LRESULT {
            if (message == WM_ZEV_PROGRESS_STOP) ++stops;
            return 0;
        });
        showActive(owner);
        CZEVManualClock clock;
        IZEVClock* before = ZEVInstallClock(&clock);
        StartProgressDialog("Working", true, true, false, CZEVQtWindows::HandleOf(&owner), 0);
        CZEVQtProgressView* view = CZEVQtProgressView::Live(0);
        QVERIFY(view);
        QVERIFY(view->isVisible());
        QCOMPARE(view->windowTitle(), QString("Working"));
        QVERIFY(!UpdateProgressDialog(0.5, "half way", 0));
        QCOMPARE(view->Bar()->value(), 50);
        QCOMPARE(view->PercentLabel()->text(), QString("50%"));
        QCOMPARE(view->StatusLabel()->text(), QString("half way"));

        QTest::mouseClick(view->StopButton(), Qt::LeftButton);
        clock.Advance(5000);  // the library looks for a press at most every few seconds
        QVERIFY(UpdateProgressDialog(0.6, nullptr, 0));
        QCOMPARE(stops, 1);
        QCOMPARE(view->StopButton()->text(), QString("Stopping!"));
        KillProgressDialog(0);
        QVERIFY(!CZEVQtProgressView::Live(0));
        ZEVInstallClock(before);
    }

    void messagesReachLiveTargetsOnlyAndTimersFire() {
        auto target = std::make_unique<QObject>();
        std::vector<UINT> got;
        const HWND handle = m_host.Windows().Register(target.get(), [&](UINT m, WPARAM, LPARAM) {
            got.push_back(m);
            return static_cast<LRESULT>(m + 1);
        });
        QCOMPARE(ZEVWindows().SendMessage(handle, 7, 0, 0), LRESULT(8));
        QVERIFY(ZEVWindows().PostMessage(handle, 9, 0, 0));
        QCOMPARE(got.size(), size_t(1));  // a posted message waits for the loop
        ZEVWindows().PumpMessages();
        QCOMPARE(got, (std::vector<UINT>{7, 9}));
        target.reset();
        QCOMPARE(ZEVWindows().SendMessage(handle, 7, 0, 0), LRESULT(0));
        QVERIFY(!ZEVWindows().PostMessage(handle, 7, 0, 0));

        int ticks = 0;
        QCOMPARE(ZEVTimers().SetTimer(42, 5,
                                      [&](UINT_PTR id) {
                                          if (++ticks == 3)
                                              ZEVTimers().KillTimer(id);  // a timer may end itself
                                      }),
                 UINT_PTR(42));
        QTRY_COMPARE(ticks, 3);
        QTest::qWait(30);
        QCOMPARE(ticks, 3);
        QVERIFY(!ZEVTimers().KillTimer(42));
    }

    void dialogsConvertFiltersAndRememberAnAnswer() {
        QCOMPARE(CZEVQtDialogs::QtFilter("Text (*.txt)|*.txt;*.bnd|All files|*||"),
                 QString("Text (*.txt *.bnd);;All files (*)"));

        const char* key = "Software\\ZEV\\Binding Test\\Questions";
        whenModal<QMessageBox>([](QMessageBox* box) {
            QVERIFY(box->checkBox());
            box->checkBox()->setChecked(true);
            box->button(QMessageBox::No)->click();
        });
        QCOMPARE(m_host.Dialogs().MessageBoxDontAsk(nullptr, key, "Q1", "Go on?", "Test", MB_YESNO),
                 IDNO);
        // Answered from the store now, without a box.
        QCOMPARE(m_host.Dialogs().MessageBoxDontAsk(nullptr, key, "Q1", "Go on?", "Test", MB_YESNO),
                 IDNO);
        CZEVQtDialogs::ForgetAnswers(key);
        whenModal<QMessageBox>([](QMessageBox* box) { box->button(QMessageBox::Yes)->click(); });
        QCOMPARE(m_host.Dialogs().MessageBoxDontAsk(nullptr, key, "Q1", "Go on?", "Test", MB_YESNO),
                 IDYES);
    }

    void theDesktopServiceAnswersFromQt() {
        CZEVQtGdi gdi;
        QCOMPARE(gdi.SysColor(COLOR_WINDOW),
                 zevqt::toColorRef(QApplication::palette().color(QPalette::Base)));
        QCOMPARE(gdi.SysColor(9999), COLORREF(0));
        LOGFONTA font{};
        font.lfHeight = -13;
        font.lfWeight = FW_BOLD;
        std::snprintf(font.lfFaceName, sizeof font.lfFaceName, "DejaVu Sans");
        const LOGFONTA realised = gdi.Realise(font);
        QCOMPARE(realised.lfHeight, LONG(-13));
        QCOMPARE(realised.lfWeight, FW_BOLD);
        QVERIFY(std::memchr(realised.lfFaceName, '\0', LF_FACESIZE));
        QCOMPARE(gdi.Metrics(font).height, LONG(QFontMetrics(zevqt::toQFont(font)).height()));
        QVERIFY(gdi.TextWidth(font, "WWWW") > gdi.TextWidth(font, "ii"));
    }

    void theUnitStyleDialogChangesTheStyleOnOkOnly() {
        whenModal<CZEVQtUnitStyleDialog>([](CZEVQtUnitStyleDialog* dialog) {
            dialog->StyleList()->setCurrentIndex(UNIT_STYLE_NEWTONS_METERS);
            dialog->DecimalsList()->setCurrentIndex(5);
            dialog->reject();
        });
        QCOMPARE(Units::customizeDialog(), IDCANCEL);
        QCOMPARE(Units::currentStyle(), UNIT_STYLE_USA);

        whenModal<CZEVQtUnitStyleDialog>([](CZEVQtUnitStyleDialog* dialog) {
            dialog->StyleList()->setCurrentIndex(UNIT_STYLE_NEWTONS_METERS);
            // Only lengths and areas may change in a built-in style.
            QVERIFY(dialog->CategoryList(UNIT_LENGTH_SMALL)->isEnabled());
            QVERIFY(!dialog->CategoryList(UNIT_FORCE)->isEnabled());
            dialog->DecimalsList()->setCurrentIndex(5);
            zevqttest::screenshot(dialog, "unit-style-dialog.png");
            dialog->accept();
        });
        QCOMPARE(Units::customizeDialog(), IDOK);
        QCOMPARE(Units::currentStyle(), UNIT_STYLE_NEWTONS_METERS);
        QCOMPARE(Units::decimalPlaces(), 5);
    }

    void thePreferencesDialogCommitsAndSaves() {
        auto manager = zevtool::makeStudioPreferences("Binding Test");
        manager->ReadPreferencesFromRegistry();
        {
            CZEVQtPreferencesDialog dialog(*manager);
            showActive(dialog);
            QCOMPARE(dialog.Tabs()->count(), 4);
            QCOMPARE(dialog.Tabs()->tabText(1), QString("Mesh"));
            // The Units tab: the second row is "Decimal places".
            CZEVQtGridView* view = dialog.View(0);
            int row = -1;
            for (int r = 0; r < view->Model().GetNumberRows(); ++r)
                if (view->Model().DrawnCell(view->Model().GetNumberCols() - 2, r).GetText() ==
                    "Decimal places")
                    row = r;
            QVERIFY(row >= 0);
            const QRect cell = view->CellRect(view->Model().GetNumberCols() - 1, row);
            QTest::mouseClick(view, Qt::LeftButton, {}, cell.center() - QPoint(20, 0));
            QVERIFY(view->Editor());
            view->Editor()->selectAll();
            QTest::keyClicks(view->Editor(), "5");
            QTest::keyClick(view->Editor(), Qt::Key_Return);
            QVERIFY(!view->Editor());
            dialog.SelectTab(1);
            QCOMPARE(dialog.Tabs()->currentIndex(), 1);
            zevqttest::screenshot(&dialog, "preferences-dialog.png");
            dialog.accept();
        }
        auto reread = zevtool::makeStudioPreferences("Binding Test");
        reread->ReadPreferencesFromRegistry();
        auto* decimals =
            dynamic_cast<CIntPreference*>(reread->GetPreference(zevtool::kPrefDecimals));
        QVERIFY(decimals);
        QCOMPARE(decimals->GetValue(), 5);
    }

private:
    CZEVQtHost& m_host;
};

ZEV_QTEST_MAIN(TestBinding)
#include "QtBinding_test.moc"
