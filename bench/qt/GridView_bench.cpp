// The Qt binding's costs where they are paid often: painting a property grid of many rows,
// and a message through the Qt window service (the paver sends one per progress line).

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <cstdlib>
#include <memory>
#include <vector>

#include "zevcore-qt/GridView.h"
#include "zevcore-qt/QtHost.h"
#include "zevcore/settings/BaseProperty.h"
#include "zevcore/settings/PropertyGrid.h"
#include "zevcore/settings/PropertyGroup.h"

namespace {

QApplication& application() {
    static int argc = 1;
    static char name[] = "qt_bench";
    static char* argv[] = {name, nullptr};
    if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
    static QApplication app(argc, argv);
    return app;
}

class Rows : public CPropertyGroup {
public:
    explicit Rows(int count) : CPropertyGroup("Rows") {
        for (int i = 0; i < count; ++i) {
            auto* row = new CIntegerProperty("Row", "", 1, 0, 1000);
            row->value(i % 1000);
            add_property(row);
        }
        reset();
    }
    ~Rows() override { remove_all_properties(true); }
};

// One whole paint of the grid's cells into an image the size of the grid.
void BM_GridViewPaint(benchmark::State& state) {
    application();
    Rows rows(static_cast<int>(state.range(0)));
    CPropertyGrid grid;
    grid.SetGroup(&rows, 1);
    CZEVQtGridView view(grid);
    view.resize(view.sizeHint());
    QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        view.render(&image);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_GridViewPaint)->Arg(20)->Arg(200)->Unit(benchmark::kMicrosecond);

// A sent message: the handle looked up, the handler run.
void BM_SendMessage(benchmark::State& state) {
    application();
    CZEVQtWindows windows;
    QObject target;
    long long received = 0;
    const HWND handle = windows.Register(&target, [&](UINT, WPARAM, LPARAM) -> LRESULT {
        ++received;
        return 0;
    });
    for (auto _ : state) benchmark::DoNotOptimize(windows.SendMessage(handle, 0x8400, 0, 0));
    benchmark::DoNotOptimize(received);
}
BENCHMARK(BM_SendMessage);

}  // namespace
