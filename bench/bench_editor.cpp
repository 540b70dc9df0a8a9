// The editor's hot paths, each beside a baseline from the same run:
//   Styling/N        one keystroke's edit and the engine's work on the touched lines
//   StylingBase/N    the same edit, and the eight expressions over the same lines
//   Keystroke/N      a key event into NoteTextView: insert, restyle, layout (no paint)
//   KeystrokePlain/N the same with Markdown styling off (the view's own plumbing)
//   KeystrokeBase/N  the same key event into a bare QTextEdit with the same text
//   CaretMove/N      a caret move to another line (two lines restyled) and its base
//   CaretJump/N      a caret move between the middle and the top (two lines far apart)
//   FullPass         opening the 1 MiB note: a shown view made, laid out whole and its
//                    first screen painted, against a bare QTextEdit doing the same
//   PhotoKeystroke/P a keystroke in a 200-line note with P photos of 12 megapixels shown at
//                    the note's width, after their first display: the key, the placements
//                    and layout that follow it, and the paint
//   PhotoKeystrokeBase/P  the same keystroke in the same note without its photos
//   PhotoOpen/P      opening that note with a store that has decoded nothing yet: made,
//                    shown, laid out, first screen painted
//   PhotoOpenBase/P  opening the same note without its photos
//   PhotoMemory/P    every photo of the note scrolled into view once: the decoded images
//                    the store holds (cache_MB), the process's growth (rss_MB), and what
//                    the photos take decoded whole (whole_MB); QT_SCALE_FACTOR=2 gives the
//                    figure for a display of scale 2
// N is the note's length in lines; 20,000 lines is about 1 MiB of text. Keystroke figures
// carry p50/p99 counters in microseconds.
//
// Run: QT_QPA_PLATFORM=offscreen build/editor-rel/bench/bench_editor
#include "editor/EditorRanges.h"
#include "editor/EditorStyleCache.h"
#include "editor/EditorStyleEngine.h"
#include "editor/ui/NoteTextView.h"
#include "images/ImageStore.h"
#include "platform/Desktop.h"
#include "platform/qt/QtFiles.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextEdit>

#include <benchmark/benchmark.h>

#include <chrono>
#include <map>
#include <memory>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

class NoDesktop final : public Desktop {
public:
    bool openUrl(const QUrl&) override { return false; }
};

// Realistic Markdown: prose with inline styles, headings, tasks, bullets, quotes, code and
// blank lines, about 52 characters a line.
QString note(int lines)
{
    static const QStringList kinds = {
        u"# Weekly plan"_s,
        u"Met with **Ana** about the *launch* and the [brief](https://ex.org/b)."_s,
        u"\u2610 call the printer about the proofs"_s,
        u"\u2611 **send** invoices to the two clients"_s,
        u"- milk, eggs, bread and some fruit for the week"_s,
        u"> the best way out is always through"_s,
        u"Run `make check` before pushing, then ~~wait~~ merge."_s,
        u"Plain prose line with nothing special in it at all ok"_s,
        QString(),
        u"## Notes from the call with the design team today"_s,
    };
    QStringList out;
    out.reserve(lines);
    for (int i = 0; i < lines; ++i)
        out.append(kinds[i % kinds.size()]);
    return out.join(u'\n');
}

QFont body(double size)
{
    QFont font(u"DejaVu Sans"_s);
    font.setPointSizeF(size * 0.75);
    return font;
}

NoteTextView::Configuration configuration()
{
    NoteTextView::Configuration c;
    c.ink = QColor(40, 40, 40);
    c.fontSize = 14;
    c.styleToken = u"bench"_s;
    c.bodyFont = body;
    return c;
}

void layOutAll(QTextEdit& edit)
{
    QTextDocument* document = edit.document();
    document->documentLayout()->blockBoundingRect(document->lastBlock());
}

NoDesktop& desktop()
{
    static NoDesktop d;
    return d;
}

// Pictures would go to a folder that nothing here reads; the notes hold none.
ImageStore& images()
{
    static QtFiles files;
    static ImageStore store(QDir::tempPath() + u"/pondrift-bench-images"_s, files);
    return store;
}

// Views are kept between benchmarks (a 1 MiB note takes a while to lay out) and dropped
// before the application object goes.
std::map<std::pair<int, bool>, std::unique_ptr<NoteTextView>> styledViews;
std::map<int, std::unique_ptr<QTextEdit>> bareViews;

NoteTextView& styledView(int lines, bool markdown = true)
{
    auto& view = styledViews[{lines, markdown}];
    if (!view) {
        auto config = configuration();
        config.markdownEnabled = markdown;
        view = std::make_unique<NoteTextView>(note(lines), config, nullptr, desktop(), images());
        view->resize(520, 700);
        view->show();
        layOutAll(*view);
    }
    return *view;
}

QTextEdit& bareView(int lines)
{
    auto& view = bareViews[lines];
    if (!view) {
        view = std::make_unique<QTextEdit>();
        view->setAcceptRichText(false);
        view->setFont(body(14));
        view->setPlainText(note(lines));
        view->resize(520, 700);
        view->show();
        layOutAll(*view);
    }
    return *view;
}

// The line of prose in the middle of the note, just after its "**Ana**".
int midPosition(QTextEdit& edit)
{
    QTextDocument* document = edit.document();
    QTextBlock block = document->findBlockByNumber(document->blockCount() / 2);
    while (block.isValid() && !block.text().startsWith(u"Met with"_s))
        block = block.next();
    return block.position() + 17;
}

void placeCaret(QTextEdit& edit, int position)
{
    QTextCursor cursor = edit.textCursor();
    cursor.setPosition(position);
    edit.setTextCursor(cursor);
}

void sendKey(QWidget& widget, int key, const QString& text)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&widget, &press);
}

void reportPercentiles(benchmark::State& state, std::vector<double>& micros)
{
    if (micros.empty())
        return;
    std::sort(micros.begin(), micros.end());
    state.counters["p50_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[std::min(micros.size() - 1, micros.size() * 99 / 100)];
}

// A keystroke is typing one letter; Backspace takes it away again so the note stays the same
// size. Both are keystrokes; the figures are per key.
template <typename Edit>
void keystrokes(benchmark::State& state, Edit& edit)
{
    const int position = midPosition(edit);
    placeCaret(edit, position);
    std::vector<double> micros;
    micros.reserve(4096);
    bool typing = true;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (typing)
            sendKey(edit, Qt::Key_A, u"a"_s);
        else
            sendKey(edit, Qt::Key_Backspace, QString());
        // The layout of what changed, as the next paint would need it.
        edit.document()->documentLayout()->blockBoundingRect(edit.textCursor().block());
        const auto stop = std::chrono::steady_clock::now();
        micros.push_back(std::chrono::duration<double, std::micro>(stop - start).count());
        typing = !typing;
    }
    if (!typing)
        sendKey(edit, Qt::Key_Backspace, QString());
    reportPercentiles(state, micros);
}

void Keystroke(benchmark::State& state)
{
    keystrokes(state, styledView(static_cast<int>(state.range(0))));
}

// The view's own plumbing without Markdown: what the coordinator costs beyond Qt.
void KeystrokePlain(benchmark::State& state)
{
    keystrokes(state, styledView(static_cast<int>(state.range(0)), false));
}

void KeystrokeBase(benchmark::State& state)
{
    keystrokes(state, bareView(static_cast<int>(state.range(0))));
}

// The engine's own work for one keystroke: a document with the same text but no layout
// attached, so that the figure holds the expressions, the runs and the formats, and not Qt's
// relayout (which the keystroke figures carry). Each round types or removes one letter, as a
// keystroke does, so the formats really change; the baseline makes the same edit and runs the
// eight expressions over the same lines.
struct StylingFixture {
    explicit StylingFixture(int lines)
    {
        document.setPlainText(note(lines));
        QTextBlock block = document.findBlockByNumber(document.blockCount() / 2);
        while (block.isValid() && !block.text().startsWith(u"Met with"_s))
            block = block.next();
        position = block.position() + 17;
        cursor = QTextCursor(&document);
    }

    // Inside an edit block the cursor leaves its x position for later: outside one, each
    // setPosition, insert and delete itemizes the line (with the styled side's formats, twice
    // a round), which is Qt's layout work and not the engine's.
    QList<TextRange> edit()
    {
        cursor.beginEditBlock();
        cursor.setPosition(position);
        if (typed)
            cursor.deleteChar();
        else
            cursor.insertText(u"a"_s);
        cursor.endEditBlock();
        typed = !typed;
        return EditorRanges::affectedLineRanges({{position, typed ? 1 : 0}}, document);
    }

    QTextDocument document;
    QTextCursor cursor;
    int position = 0;
    bool typed = false;
};

void Styling(benchmark::State& state)
{
    StylingFixture fixture(static_cast<int>(state.range(0)));
    EditorStyleEngine::Options options;
    options.ink = QColor(40, 40, 40);
    options.size = 14;
    options.bodyFont = body;
    EditorStyleCache cache;
    for (auto _ : state) {
        const QList<TextRange> lines = fixture.edit();
        benchmark::DoNotOptimize(EditorStyleEngine::apply(
            fixture.document, lines, EditorRanges::lineRange(fixture.position, fixture.document),
            std::nullopt, options, cache));
    }
}

void StylingBase(benchmark::State& state)
{
    StylingFixture fixture(static_cast<int>(state.range(0)));
    // The engine's eight, with its options: line anchors only where a pattern has them.
    static const QList<QRegularExpression> expressions = [] {
        QList<QRegularExpression> list;
        const std::pair<QString, bool> patterns[] = {
            {uR"(^(#{1,6})[ \t]+(.+)$)"_s, true},
            {uR"((\*\*|__)(?=\S)(.+?)(?<=\S)\1)"_s, false},
            {uR"((?<![\*_])([\*_])(?=[^\*_\s])(.+?)(?<=[^\*_\s])\1(?![\*_]))"_s, false},
            {uR"(`([^`\n]+)`)"_s, false},
            {uR"(~~(?=\S)(.+?)(?<=\S)~~)"_s, false},
            {uR"(^>[ \t]?(.*)$)"_s, true},
            {uR"(^[ \t]*([-*+])[ \t]+)"_s, true},
            {uR"(\[([^\]\n]+)\]\(([^)\s]+)\))"_s, false},
        };
        for (const auto& [pattern, anchored] : patterns) {
            QRegularExpression::PatternOptions options =
                QRegularExpression::UseUnicodePropertiesOption;
            if (anchored)
                options |= QRegularExpression::MultilineOption;
            QRegularExpression re(u"(*ANY)"_s + pattern, options);
            re.optimize();
            list.append(re);
        }
        return list;
    }();
    for (auto _ : state) {
        const QList<TextRange> lines = fixture.edit();
        qsizetype found = 0;
        for (const TextRange& range : lines) {
            const QString s = EditorRanges::text(fixture.document, range);
            for (const QRegularExpression& re : expressions) {
                for (auto it = re.globalMatch(s); it.hasNext();)
                    found += it.next().capturedLength(0);
            }
        }
        benchmark::DoNotOptimize(found);
    }
}

template <typename Edit>
void caretMoves(benchmark::State& state, Edit& edit, bool far = false)
{
    const int position = midPosition(edit);
    const int other = far ? edit.document()->findBlockByNumber(1).position() + 3
                          : edit.document()->findBlock(position).next().next().position() + 3;
    bool there = false;
    for (auto _ : state) {
        placeCaret(edit, there ? position : other);
        edit.document()->documentLayout()->blockBoundingRect(edit.textCursor().block());
        there = !there;
    }
}

void CaretMove(benchmark::State& state)
{
    caretMoves(state, styledView(static_cast<int>(state.range(0))));
}

// From the middle of the note to its second line and back: two lines far apart.
void CaretJump(benchmark::State& state)
{
    caretMoves(state, styledView(static_cast<int>(state.range(0))), true);
}

void CaretMoveBase(benchmark::State& state)
{
    caretMoves(state, bareView(static_cast<int>(state.range(0))));
}

// A view that is never shown gets no resize event, so its document has no width and Qt
// lays nothing out: both sides are shown, laid out whole, and their first screen painted.
void FullPass(benchmark::State& state)
{
    const QString text = note(20000);
    for (auto _ : state) {
        NoteTextView view(text, configuration(), nullptr, desktop(), images());
        view.resize(520, 700);
        view.show();
        layOutAll(view);
        benchmark::DoNotOptimize(view.grab());
    }
}

void FullPassBase(benchmark::State& state)
{
    const QString text = note(20000);
    for (auto _ : state) {
        QTextEdit view;
        view.setAcceptRichText(false);
        view.setFont(body(14));
        view.resize(520, 700);
        view.setPlainText(text);
        view.show();
        layOutAll(view);
        benchmark::DoNotOptimize(view.grab());
    }
}

// Photos as a phone leaves them, made once a run: 12 megapixels, noise-free gradients (each
// a little different), stored as JPEG files in a folder of their own.
struct Photos {
    static constexpr int count = 20;
    static constexpr QSize pixels{4000, 3000};

    Photos()
    {
        QtFiles files;
        ImageStore store(folder.path(), files);
        for (int i = 0; i < count; ++i) {
            QImage image(pixels, QImage::Format_RGB32);
            QPainter painter(&image);
            QLinearGradient gradient(0, 0, pixels.width(), pixels.height());
            gradient.setColorAt(0, QColor::fromHsv(i * 17 % 360, 160, 230));
            gradient.setColorAt(1, QColor::fromHsv((i * 17 + 140) % 360, 200, 90));
            painter.fillRect(image.rect(), gradient);
            painter.end();
            QByteArray jpeg;
            QBuffer buffer(&jpeg);
            buffer.open(QIODevice::WriteOnly);
            image.save(&buffer, "JPEG", 90);
            ids.append(*store.save(jpeg, u"jpg"_s));
        }
    }

    // 200 lines of the usual prose, a photo (wider than the note, so shown at its width)
    // after every 200 / count lines; without pictures the same prose alone.
    QString note(int photos, bool withPictures) const
    {
        const QStringList lines = ::note(200).split(u'\n');
        QStringList out;
        int shown = 0;
        for (int i = 0; i < lines.size(); ++i) {
            out.append(lines[i]);
            if (withPictures && i % (200 / photos) == 200 / photos / 2)
                out.append(ImageTokens::token(ids[shown++ % count], 2000));
        }
        return out.join(u'\n');
    }

    QTemporaryDir folder;
    QStringList ids;
};

Photos& photos()
{
    static Photos p;
    return p;
}

struct PhotoStore {
    QtFiles files;
    ImageStore store{photos().folder.path(), files};
};

double residentMiB()
{
    QFile statm(u"/proc/self/statm"_s);
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toDouble() * double(sysconf(_SC_PAGESIZE)) / (1 << 20) : 0;
}

std::unique_ptr<NoteTextView> openPhotoNote(ImageStore& store, int count, bool withPictures)
{
    auto view = std::make_unique<NoteTextView>(photos().note(count, withPictures), configuration(),
                                               nullptr, desktop(), store);
    view->resize(520, 700);
    view->show();
    layOutAll(*view);
    benchmark::DoNotOptimize(view->grab());
    return view;
}

// A key, then what the event loop does with it (the placements that follow a layout change
// and the paint), both sides alike.
void photoKeystrokes(benchmark::State& state, bool withPictures)
{
    PhotoStore photoStore;
    const auto view =
        openPhotoNote(photoStore.store, static_cast<int>(state.range(0)), withPictures);
    const int position = midPosition(*view);
    placeCaret(*view, position);
    QApplication::processEvents();
    benchmark::DoNotOptimize(view->grab()); // the photos about the caret, shown once
    int decodes = 0;
    photoStore.store.onDecode = [&](const QString&, QSize) { ++decodes; };
    std::vector<double> micros;
    bool typing = true;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (typing)
            sendKey(*view, Qt::Key_A, u"a"_s);
        else
            sendKey(*view, Qt::Key_Backspace, QString());
        view->document()->documentLayout()->blockBoundingRect(view->textCursor().block());
        QApplication::processEvents();
        QApplication::processEvents();
        const auto stop = std::chrono::steady_clock::now();
        micros.push_back(std::chrono::duration<double, std::micro>(stop - start).count());
        typing = !typing;
    }
    if (!typing)
        sendKey(*view, Qt::Key_Backspace, QString());
    reportPercentiles(state, micros);
    state.counters["decodes"] = decodes;
    state.counters["cache_MB"] = double(photoStore.store.displayCacheBytes()) / (1 << 20);
}

void PhotoKeystroke(benchmark::State& state) { photoKeystrokes(state, true); }
void PhotoKeystrokeBase(benchmark::State& state) { photoKeystrokes(state, false); }

void photoOpens(benchmark::State& state, bool withPictures)
{
    photos();
    for (auto _ : state) {
        PhotoStore photoStore; // nothing decoded yet, as after a launch
        openPhotoNote(photoStore.store, static_cast<int>(state.range(0)), withPictures);
    }
}

void PhotoOpen(benchmark::State& state) { photoOpens(state, true); }
void PhotoOpenBase(benchmark::State& state) { photoOpens(state, false); }

void PhotoMemory(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    photos();
    for (auto _ : state) {
        const double before = residentMiB();
        PhotoStore photoStore;
        const auto view = openPhotoNote(photoStore.store, count, true);
        QScrollBar* bar = view->verticalScrollBar();
        for (int y = 0; y <= bar->maximum(); y += view->viewport()->height() / 2) {
            bar->setValue(y);
            benchmark::DoNotOptimize(view->grab());
        }
        state.counters["cache_MB"] = double(photoStore.store.displayCacheBytes()) / (1 << 20);
        state.counters["rss_MB"] = residentMiB() - before;
        state.counters["dpr"] = view->devicePixelRatioF();
    }
    state.counters["whole_MB"] =
        double(count) * Photos::pixels.width() * Photos::pixels.height() * 4 / (1 << 20);
}

} // namespace

BENCHMARK(Styling)->Arg(100)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(StylingBase)->Arg(100)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(Keystroke)->Arg(100)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(KeystrokePlain)->Arg(100)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(KeystrokeBase)->Arg(100)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(CaretMove)->Arg(100)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(CaretJump)->Arg(100)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(CaretMoveBase)->Arg(100)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(FullPass)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(FullPassBase)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(PhotoKeystroke)->Arg(6)->Arg(20)->Unit(benchmark::kMicrosecond);
BENCHMARK(PhotoKeystrokeBase)->Arg(6)->Arg(20)->Unit(benchmark::kMicrosecond);
BENCHMARK(PhotoOpen)->Arg(6)->Arg(20)->Unit(benchmark::kMillisecond);
BENCHMARK(PhotoOpenBase)->Arg(6)->Arg(20)->Unit(benchmark::kMillisecond);
BENCHMARK(PhotoMemory)->Arg(20)->Unit(benchmark::kMillisecond)->Iterations(1);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    styledViews.clear();
    bareViews.clear();
    return 0;
}
