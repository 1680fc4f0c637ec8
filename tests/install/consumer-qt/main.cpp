// A Qt program that only knows the installed library and its Qt component.
#include <zevcore-qt/GridView.h>
#include <zevcore-qt/QtConvert.h>
#include <zevcore-qt/QtHost.h>
#include <zevcore/zevcore.h>
#include <QApplication>
#include <cstdio>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    InitCoreDLL();
    CZEVQtHost host;
    CUGCtrl model;
    model.SetNumberCols(2);
    model.SetNumberRows(1);
    model.QuickSetText(1, 0, "cell");
    CZEVQtGridView view(model);
    const bool ok =
        zevqt::toCString(zevqt::toQString("plate")) == CString("plate") && view.isWindow();
    std::printf("consumer: %s (%s)\n", ok ? "ok" : "FAILED", ZEVCoreVersion());
    return ok ? 0 : 1;
}
