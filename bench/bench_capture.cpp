// The capture key's answer: from the press reaching the program to the capture panel's first
// painted frame on a real X server, beside a baseline from the same run:
//   CaptureOpen      QuickCapture shows its panel (made, placed, given the keyboard through
//                    the window manager hints, its targets read from a library of 200 notes)
//                    until the panel's first paint is done; then the panel is dropped
//   CaptureOpenBase  a bare frameless window of the panel's size with one text field, shown
//                    and activated, until its first paint is done
// Both measure warm: the first opening, which loads fonts and Qt's plugins, is left out.
//
// Run: bash scripts/bench.sh bench_capture (under xvfb-run when DISPLAY is unset)
#include "BenchMain.h"
#include "StandIns.h"
#include "platform/fallback/FixedCompositor.h"
#include "platform/fallback/NoWindowHints.h"
#include "platform/x11/X11Compositor.h"
#include "platform/x11/X11WindowHints.h"
#include "surfaces/QuickCapture.h"
#include "surfaces/ui/CapturePanel.h"

#include <QApplication>
#include <QLineEdit>
#include <QVBoxLayout>

#include <benchmark/benchmark.h>

#include <memory>

using namespace Qt::Literals::StringLiterals;
using namespace StandIns;

namespace {

// Counts the paints a window has finished: a paint event is done once the event loop turn
// that delivered it has returned.
class PaintWatch final : public QObject {
public:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            painted = true;
        return false;
    }
    bool painted = false;
};

void untilPainted(const PaintWatch& watch)
{
    while (!watch.painted)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

// One library and one capture for the whole run.
struct Capture : NoteShelf {
    OneDisplay displays{QRectF(0, 0, 1280, 800)};
    StillPointer pointer{{640, 400}};
    std::unique_ptr<WindowHints> hints;
    std::unique_ptr<Compositor> compositor;
    PaintWatch watch;
    std::unique_ptr<QuickCapture> capture;

    Capture()
    {
        for (int i = 0; i < 200; ++i)
            notes.create(u"Note %1\nwith a second line"_s.arg(i), QString());
        if (auto x11 = X11WindowHints::open())
            hints = std::move(x11);
        else
            hints = std::make_unique<NoWindowHints>();
        if (auto x11 = X11Compositor::open())
            compositor = std::move(x11);
        else
            compositor = std::make_unique<FixedCompositor>();
        capture = std::make_unique<QuickCapture>(
            notes, scheduler, pointer, displays, [this](QuickCapture& owner) {
                auto* panel = new CapturePanel(owner, {notes, *hints, *compositor});
                panel->installEventFilter(&watch);
                return panel;
            });
    }
    void openOnce()
    {
        watch.painted = false;
        capture->show();
        untilPainted(watch);
    }
    void close()
    {
        capture->dismiss();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
};

Capture& capture()
{
    static Capture c;
    return c;
}

void CaptureOpen(benchmark::State& state)
{
    Capture& c = capture();
    c.openOnce();
    c.close();
    for (auto _ : state) {
        c.openOnce();
        state.PauseTiming();
        c.close();
        state.ResumeTiming();
    }
}

void CaptureOpenBase(benchmark::State& state)
{
    Capture& c = capture();
    const QSize size = QuickCapture::size.toSize();
    const auto openOnce = [&] {
        auto window = std::make_unique<QWidget>(nullptr, Qt::Tool | Qt::FramelessWindowHint);
        auto* field = new QLineEdit(window.get());
        (new QVBoxLayout(window.get()))->addWidget(field);
        window->resize(size);
        window->move(640 - size.width() / 2, 400 - size.height() / 2);
        PaintWatch watch;
        window->installEventFilter(&watch);
        window->show();
        window->activateWindow();
        field->setFocus();
        untilPainted(watch);
        return window;
    };
    openOnce();
    for (auto _ : state) {
        auto window = openOnce();
        state.PauseTiming();
        window.reset();
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
    (void)c;
}

} // namespace

BENCHMARK(CaptureOpen)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(CaptureOpenBase)->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char** argv) { return runBenchmarks<QApplication>(argc, argv); }
