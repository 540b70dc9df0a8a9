// Opening a note from the fan: the deck's sheet made for the note, shown, laid out and its
// first frame painted, each beside a baseline from the same run:
//   SheetOpen/N      the note sheet (header, text view styled as Markdown, footer, gutter,
//                    shadow) made for a note of N lines in a real library, shown and painted
//   SheetOpenBase/N  a bare QTextEdit of the sheet's size made with the same text, shown and
//                    painted: the floor that Qt's own text widget pays for that text
// The deck's own timing (the frame grows a thirtieth of a second before the content) is not
// counted; it is the same wait whatever the note.
//
// Run: QT_QPA_PLATFORM=offscreen build/bench/bench_sheet
#include "BenchMain.h"
#include "StandIns.h"
#include "deck/DeckActions.h"
#include "deck/DeckController.h"
#include "deck/DeckWindow.h"
#include "deck/ui/NoteEditorView.h"

#include <QApplication>
#include <QHash>
#include <QTextEdit>

#include <benchmark/benchmark.h>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

using namespace StandIns;

struct NoActions final : DeckActions {
    void newNote() override {}
    void openSettings() override {}
    void stepFontSize(double) override {}
    void refreshDecks() override {}
    void run(const QString&) override {}
    bool offers(const QString&) const override { return false; }
};

struct NoWindow final : DeckWindow {
    void attach(DeckController*) override {}
    QRectF frame() const override { return at; }
    void setFrame(const QRectF& f) override { at = f; }
    void orderFront() override {}
    void makeKeyAndOrderFront() override {}
    void resignKey() override {}
    bool isKey() const override { return true; }
    void applyLevel() override {}
    void orderOut() override {}
    void installNoteMonitors() override {}
    void removeNoteMonitors() override {}
    void willChangeState(const DeckState&, std::optional<DeckSpring>) override {}
    QRectF at;
};

// Prose with the Markdown a note holds, about 50 characters a line.
QString body(int lines)
{
    static const QStringList kinds = {
        u"# Weekly plan"_s,
        u"Met with **Ana** about the *launch* and the [brief](https://ex.org/b)."_s,
        u"\u2610 call the printer about the proofs"_s,
        u"- milk, eggs, bread and some fruit for the week"_s,
        u"Plain prose line with nothing special in it at all ok"_s,
        QString(),
    };
    QStringList out;
    for (int i = 0; i < lines; ++i)
        out.append(kinds[i % kinds.size()]);
    return out.join(u'\n');
}

// One library and one deck for the whole run, with a note of each length.
struct Deck : NoteShelf {
    NoDesktop desktop;
    OneDisplay displays;
    StillPointer pointer;
    NoActions actions;
    NoWindow window;
    std::unique_ptr<DeckController> deck;
    QHash<int, QString> ids;

    Deck()
    {
        deck = std::make_unique<DeckController>(1, displays, pointer, scheduler, notes, window,
                                                actions, nullptr, nullptr);
        deck->pointerEntered();
    }
    QString note(int lines)
    {
        if (!ids.contains(lines))
            ids[lines] = notes.create(body(lines), QString()).id;
        return ids[lines];
    }
};

Deck& deck()
{
    static Deck d;
    return d;
}

void SheetOpen(benchmark::State& state)
{
    Deck& d = deck();
    const QString id = d.note(int(state.range(0)));
    d.deck->expand(id);
    const Note note = *d.notes.note(id);
    for (auto _ : state) {
        NoteEditorView view(note, d.deck->model(), *d.deck, d.notes, true, d.desktop, d.images,
                            d.scheduler, nullptr);
        view.show();
        benchmark::DoNotOptimize(view.grab());
    }
    d.deck->collapse();
}

void SheetOpenBase(benchmark::State& state)
{
    Deck& d = deck();
    const QString text = body(int(state.range(0)));
    const QSizeF size = Settings::noteSize();
    for (auto _ : state) {
        QTextEdit view;
        view.setAcceptRichText(false);
        view.setFont(Ink::body(Settings::noteFontSize()));
        view.resize(size.toSize());
        view.setPlainText(text);
        view.show();
        benchmark::DoNotOptimize(view.grab());
    }
    (void)d;
}

} // namespace

BENCHMARK(SheetOpen)->Arg(10)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(SheetOpenBase)->Arg(10)->Arg(2000)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return runBenchmarks<QApplication>(argc, argv); }
