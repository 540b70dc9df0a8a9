// The library with 10,000 notes of about 1 KiB, each beside a baseline from the same run:
//   LibraryFilter      the library's list for a two-letter query that one note in ten holds,
//                      as each keystroke of a search asks for it
//   LibraryFilterBase  a bare loop over the same titles and texts doing the same lowering and
//                      searching, nothing of the program's own
//   LibraryScroll      the library window's list scrolled by one screenful and that screenful
//                      painted (rows with chips, titles, ages, task marks and previews)
//   LibraryScrollBase  a plain QListView of the same size over the same titles, scrolled and
//                      painted the same way with Qt's own row painting
//
// Run: bash scripts/bench.sh bench_library
#include "BenchMain.h"
#include "StandIns.h"
#include "notes/NoteText.h"
#include "surfaces/Library.h"
#include "surfaces/Transfers.h"
#include "surfaces/ui/LibraryWindow.h"

#include <QApplication>
#include <QListView>
#include <QScrollBar>
#include <QStringListModel>

#include <benchmark/benchmark.h>

#include <memory>

using namespace Qt::Literals::StringLiterals;
using namespace StandIns;

namespace {

constexpr int noteCount = 10000;
const QString query = u"qu"_s;

struct NoTransfers final : Transfers {
    void exportNotes(TransferFormat, const QStringList&) override {}
    void importFiles() override {}
};

// About a kilobyte of prose, a task line among it, different for every note; one note in ten
// holds the query.
QString body(int i)
{
    QString text = u"Note %1 about the week\n- [ ] call the printer\n"_s.arg(i);
    if (i % 10 == 0)
        text += u"A quick word. "_s;
    static const QString prose =
        u"Plain prose with nothing special in it, the kind of line a note holds. "_s;
    while (text.size() < 1000)
        text += prose;
    return text;
}

struct Shelf : NoteShelf {
    NoDesktop desktop;
    NoTransfers transfers;
    std::unique_ptr<Library> library;

    Shelf()
    {
        QList<Note> batch;
        for (int i = 0; i < noteCount; ++i) {
            Note note;
            note.body = body(i);
            batch.append(note);
        }
        notes.ingest(batch);
        library = std::make_unique<Library>(notes, files, paths.trash(), [this](Library& owner) {
            return new LibraryWindow(
                owner, LibraryWindow::Parts{notes, scheduler, desktop, images, transfers, nullptr});
        });
    }
};

Shelf& shelf()
{
    static Shelf s;
    return s;
}

void LibraryFilter(benchmark::State& state)
{
    Library& library = *shelf().library;
    library.setQuery(query);
    for (auto _ : state)
        benchmark::DoNotOptimize(library.filtered());
    state.counters["listed"] = double(library.filtered().size());
    library.setQuery(QString());
}

void LibraryFilterBase(benchmark::State& state)
{
    QStringList titles;
    QStringList bodies;
    for (const Note& note : shelf().notes.active()) {
        titles.append(NoteText::displayTitle(note));
        bodies.append(note.body);
    }
    for (auto _ : state) {
        QList<qsizetype> found;
        for (qsizetype i = 0; i < titles.size(); ++i)
            if (titles[i].toLower().contains(query) || bodies[i].toLower().contains(query))
                found.append(i);
        benchmark::DoNotOptimize(found);
    }
}

// Scrolls by a page, wrapping at the end, and paints what shows.
void pageAndPaint(QListView& list)
{
    QScrollBar* bar = list.verticalScrollBar();
    const int next = bar->value() + bar->pageStep();
    bar->setValue(next > bar->maximum() ? 0 : next);
    benchmark::DoNotOptimize(list.viewport()->grab());
}

void LibraryScroll(benchmark::State& state)
{
    Shelf& s = shelf();
    s.library->show(LibraryMode::all);
    auto* window = dynamic_cast<QWidget*>(s.library->view());
    auto* list = window ? window->findChild<QListView*>() : nullptr;
    if (!list) {
        state.SkipWithError("the library window has no list");
        return;
    }
    QCoreApplication::processEvents();
    for (auto _ : state)
        pageAndPaint(*list);
    state.counters["rows"] = double(list->model()->rowCount());
}

void LibraryScrollBase(benchmark::State& state)
{
    QStringList rows;
    for (const Note& note : shelf().notes.active())
        rows.append(NoteText::displayTitle(note));
    QStringListModel model(rows);
    QListView list;
    list.setModel(&model);
    list.setUniformItemSizes(true);
    list.resize(300, 700);
    list.show();
    QCoreApplication::processEvents();
    for (auto _ : state)
        pageAndPaint(list);
}

} // namespace

BENCHMARK(LibraryFilter)->Unit(benchmark::kMillisecond);
BENCHMARK(LibraryFilterBase)->Unit(benchmark::kMillisecond);
BENCHMARK(LibraryScroll)->Unit(benchmark::kMillisecond);
BENCHMARK(LibraryScrollBase)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return runBenchmarks<QApplication>(argc, argv); }
