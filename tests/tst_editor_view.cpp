// The note text view under real key and mouse events: typing and undo, task lines, image
// tokens under the keyboard, drops, input-method composition, links, find and the image
// overlays.
#include "editor/EditorBridge.h"
#include "editor/EditorRanges.h"
#include "editor/EditorStyleEngine.h"
#include "editor/ui/NoteTextView.h"
#include "images/ImageStore.h"
#include "platform/qt/QtFiles.h"
#include "editor/ui/NoteImageHandleWidget.h"
#include "editor/ui/NoteImageOverlays.h"
#include "editor/ui/NoteImageOverlayWidget.h"
#include "support/RecordingDesktop.h"

#include <QApplication>
#include <QImage>
#include <QMimeData>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

QFont body(double size)
{
    QFont font(u"DejaVu Sans"_s);
    font.setPointSizeF(size * 0.75);
    return font;
}

NoteTextView::Configuration configuration(bool markdown = true)
{
    NoteTextView::Configuration c;
    c.ink = QColor(30, 30, 30);
    c.fontSize = 14;
    c.markdownEnabled = markdown;
    c.styleToken = u"yellow"_s;
    c.bodyFont = body;
    return c;
}

void placeCaret(NoteTextView& view, qsizetype position, qsizetype anchor = -1)
{
    QTextCursor cursor = view.textCursor();
    cursor.setPosition(static_cast<int>(anchor >= 0 ? anchor : position));
    cursor.setPosition(static_cast<int>(position), QTextCursor::KeepAnchor);
    view.setTextCursor(cursor);
}

QPoint pointOf(NoteTextView& view, qsizetype position)
{
    QTextCursor cursor = view.textCursor();
    cursor.setPosition(static_cast<int>(position));
    return view.cursorRect(cursor).center();
}

} // namespace

class EditorViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void typingThenUndoRestoresTheTextAndNeverAStyle();
    void returnOnTaskLines_data();
    void returnOnTaskLines();
    void clickingABoxFlipsItAndTheSavePathSeesIt();
    void clickingBesideABoxPlacesTheCaret();
    void backspaceRevealsAPictureBeforeRemovingIt();
    void typingAfterARevealKeepsThePicture();
    void arrowKeysNeverRestInsideAHiddenToken();
    void dropInMidLinePutsThePictureOnItsOwnLine();
    void insertedImageFilesSkipNonImages();
    void compositionIsNotStyledUntilCommitted();
    void outsideTextAndConfigurationChanges();
    void controlClickOpensOnlyWebLinks();
    void findCountsAndWraps();
    void toggleTaskLine_data();
    void toggleTaskLine();
    void overlaySizes_data();
    void overlaySizes();
    void pictureLineReservesItsHeight();
    void markdownOffShowsNoPicture();
    void selectingAPictureThenTypingAddsTextBelow();
    void resizingWritesTheWidthAsOneUndoableEdit();
    void aPictureFollowsItsFileAndTheViewsWidth();

private:
    QString makeImage(int width, int height);
    std::unique_ptr<NoteTextView> makeView(const QString& text, bool markdown = true);

    QTemporaryDir dir;
    QtFiles files;
    std::optional<ImageStore> images;
    RecordingDesktop desktop;
    EditorBridge bridge;
};

void EditorViewTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(dir.isValid());
    images.emplace(dir.filePath(u"Images"_s), files);
}

void EditorViewTest::init()
{
    desktop.openedUrls.clear();
}

QString EditorViewTest::makeImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(QColor(40, 120, 200));
    const auto id = images->save(image);
    return id.value_or(QString());
}

std::unique_ptr<NoteTextView> EditorViewTest::makeView(const QString& text, bool markdown)
{
    auto view = std::make_unique<NoteTextView>(text, configuration(markdown), &bridge, desktop, *images);
    view->resize(420, 500);
    view->show();
    if (!QTest::qWaitForWindowExposed(view.get()))
        return nullptr;
    return view;
}

void EditorViewTest::typingThenUndoRestoresTheTextAndNeverAStyle()
{
    const QString original = u"# Title\n**bold** and *it*\nplain"_s;
    auto view = makeView(original);
    QVERIFY(view);
    // Moving between lines restyles them, and none of it is an edit.
    for (qsizetype position : {qsizetype{0}, qsizetype{10}, static_cast<qsizetype>(original.size()), qsizetype{3}})
        placeCaret(*view, position);
    QVERIFY(!view->document()->isUndoAvailable());
    QVERIFY(!view->document()->isModified());

    placeCaret(*view, 8 + 8); // after "**bold**"
    QTest::keyClicks(view.get(), u" **x** y"_s);
    QTest::keyClick(view.get(), Qt::Key_Return);
    QTest::keyClicks(view.get(), u"~~z~~"_s);
    QCOMPARE(view->text(), u"# Title\n**bold** **x** y\n~~z~~ and *it*\nplain"_s);
    QVERIFY(view->document()->isModified());

    int steps = 0;
    while (view->document()->isUndoAvailable() && steps < 100) {
        const QString before = view->text();
        QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY2(view->text() != before, "an undo step changed nothing: styling was recorded");
        ++steps;
    }
    QCOMPARE(view->text(), original);
    QVERIFY(!view->document()->isModified());
}

void EditorViewTest::returnOnTaskLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("caret");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<qsizetype>("expectedCaret");
    QTest::newRow("a task with text continues with a fresh open box")
        << u"\u2610 buy milk"_s << qsizetype{10} << u"\u2610 buy milk\n\u2610 "_s << qsizetype{13};
    QTest::newRow("a done task continues with an open box too")
        << u"\u2611 done\nnext"_s << qsizetype{6} << u"\u2611 done\n\u2610 \nnext"_s << qsizetype{9};
    QTest::newRow("a bare box ends the list and goes")
        << u"\u2610 a\n\u2610 "_s << qsizetype{6} << u"\u2610 a\n"_s << qsizetype{4};
    QTest::newRow("a bare box mid-note goes with its line break")
        << u"\u2610 \nafter"_s << qsizetype{2} << u"after"_s << qsizetype{0};
    QTest::newRow("a plain line gets a plain break")
        << u"- item"_s << qsizetype{6} << u"- item\n"_s << qsizetype{7};
}

void EditorViewTest::returnOnTaskLines()
{
    QFETCH(QString, text);
    QFETCH(qsizetype, caret);
    QFETCH(QString, expected);
    QFETCH(qsizetype, expectedCaret);
    auto view = makeView(text);
    QVERIFY(view);
    placeCaret(*view, caret);
    QTest::keyClick(view.get(), Qt::Key_Return);
    QCOMPARE(view->text(), expected);
    QCOMPARE(view->textCursor().position(), expectedCaret);
    // One step undoes it.
    QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(view->text(), text);
}

void EditorViewTest::clickingABoxFlipsItAndTheSavePathSeesIt()
{
    auto view = makeView(u"note\n\u2610 task\nend"_s);
    QVERIFY(view);
    QSignalSpy changed(view.get(), &QTextEdit::textChanged);
    QString saved;
    connect(view.get(), &QTextEdit::textChanged, this, [&] { saved = view->text(); });
    const QPoint box = pointOf(*view, 5) + QPoint(3, 0);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, box);
    QCOMPARE(view->text(), u"note\n\u2611 task\nend"_s);
    QCOMPARE(saved, view->text());
    QVERIFY(changed.count() >= 1);
    // The done line is struck as a whole.
    QVERIFY(EditorStyleEngine::styledFormat(*view->document(), 7).fontStrikeOut());

    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, box);
    QCOMPARE(view->text(), u"note\n\u2610 task\nend"_s);
    QVERIFY(!EditorStyleEngine::styledFormat(*view->document(), 7).fontStrikeOut());
    QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(view->text(), u"note\n\u2611 task\nend"_s);
}

void EditorViewTest::clickingBesideABoxPlacesTheCaret()
{
    auto view = makeView(u"\u2610 a long task line"_s);
    QVERIFY(view);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, pointOf(*view, 10));
    QCOMPARE(view->text(), u"\u2610 a long task line"_s);
    QCOMPARE(view->textCursor().position(), 10);
}

void EditorViewTest::backspaceRevealsAPictureBeforeRemovingIt()
{
    const QString id = makeImage(60, 30);
    const QString token = ImageTokens::token(id);
    const QString text = u"before\n"_s + token + u"\nafter"_s;
    auto view = makeView(text);
    QVERIFY(view);
    const qsizetype tokenStart = 7;
    QVERIFY(EditorStyleEngine::isHidden(*view->document(), tokenStart));

    placeCaret(*view, tokenStart + token.size() + 1); // start of "after"
    QTest::keyClick(view.get(), Qt::Key_Backspace);
    QCOMPARE(view->text(), text);
    QCOMPARE(view->selectedRange(), (TextRange{tokenStart, token.size()}));
    QCOMPARE(view->revealedImageID(), std::optional<QString>(id));
    QVERIFY(!EditorStyleEngine::isHidden(*view->document(), tokenStart));
    QVERIFY(view->imageOverlays()->widgets().isEmpty());

    QTest::keyClick(view.get(), Qt::Key_Backspace);
    QCOMPARE(view->text(), u"before\n\nafter"_s);

    // A caret move away hides a revealed token again.
    QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(view->text(), text);
    placeCaret(*view, tokenStart + token.size());
    QTest::keyClick(view.get(), Qt::Key_Backspace);
    QVERIFY(!EditorStyleEngine::isHidden(*view->document(), tokenStart));
    placeCaret(*view, 2);
    QVERIFY(!view->revealedImageID());
    QVERIFY(EditorStyleEngine::isHidden(*view->document(), tokenStart));
    QCOMPARE(view->imageOverlays()->widgets().size(), 1);

    // Delete at the token's start reveals it the same way.
    placeCaret(*view, tokenStart);
    QTest::keyClick(view.get(), Qt::Key_Delete);
    QCOMPARE(view->text(), text);
    QCOMPARE(view->selectedRange(), (TextRange{tokenStart, token.size()}));
    QTest::keyClick(view.get(), Qt::Key_Delete);
    QCOMPARE(view->text(), u"before\n\nafter"_s);
}

void EditorViewTest::typingAfterARevealKeepsThePicture()
{
    const QString token = ImageTokens::token(makeImage(20, 20));
    const QString text = token + u"\nx"_s;
    auto view = makeView(text);
    QVERIFY(view);
    placeCaret(*view, token.size());
    QTest::keyClick(view.get(), Qt::Key_Backspace);
    QCOMPARE(view->selectedRange(), (TextRange{0, token.size()}));
    QTest::keyClicks(view.get(), u"y"_s);
    QCOMPARE(view->text(), token + u"\nyx"_s);
}

void EditorViewTest::arrowKeysNeverRestInsideAHiddenToken()
{
    const QString token = ImageTokens::token(makeImage(20, 20));
    const QString text = u"ab"_s + token + u"cd\n"_s + token + u"\nef"_s;
    auto view = makeView(text);
    QVERIFY(view);
    auto inside = [&](qsizetype caret) {
        for (const ImageToken& t : ImageTokens::tokens(text))
            if (t.range.location < caret && caret < t.range.end())
                return true;
        return false;
    };
    placeCaret(*view, 0);
    for (int i = 0; i < 12; ++i) {
        QTest::keyClick(view.get(), Qt::Key_Right);
        QVERIFY2(!inside(view->textCursor().position()), qPrintable(QString::number(view->textCursor().position())));
    }
    // Left from behind the first token lands at its start.
    placeCaret(*view, 2 + token.size());
    QTest::keyClick(view.get(), Qt::Key_Left);
    QCOMPARE(view->textCursor().position(), 2);
    placeCaret(*view, text.size());
    for (int i = 0; i < 6; ++i) {
        QTest::keyClick(view.get(), Qt::Key_Up);
        QVERIFY(!inside(view->textCursor().position()));
        QTest::keyClick(view.get(), Qt::Key_Left);
        QVERIFY(!inside(view->textCursor().position()));
    }
}

void EditorViewTest::dropInMidLinePutsThePictureOnItsOwnLine()
{
    QImage image(30, 20, QImage::Format_RGB32);
    image.fill(Qt::red);
    const QString path = dir.filePath(u"dropped.png"_s);
    QVERIFY(image.save(path));

    auto view = makeView(u"hello world"_s);
    QVERIFY(view);
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(path)});
    const QPoint at = pointOf(*view, 5);
    QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, {});
    QApplication::sendEvent(view->viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QDragMoveEvent move(at, Qt::CopyAction, &mime, Qt::LeftButton, {});
    QApplication::sendEvent(view->viewport(), &move);
    QDropEvent drop(at, Qt::CopyAction, &mime, Qt::LeftButton, {});
    QApplication::sendEvent(view->viewport(), &drop);

    const QList<ImageToken> tokens = ImageTokens::tokens(view->text());
    QCOMPARE(tokens.size(), 1);
    // A break on each side, and the caret behind the inserted text.
    QCOMPARE(view->text(), u"hello\n"_s + ImageTokens::token(tokens[0].id) + u"\n\n world"_s);
    QCOMPARE(view->textCursor().position(), tokens[0].range.end() + 2);
    QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(view->text(), u"hello world"_s);
}

void EditorViewTest::insertedImageFilesSkipNonImages()
{
    QImage image(10, 10, QImage::Format_RGB32);
    image.fill(Qt::green);
    const QString picture = dir.filePath(u"pic.png"_s);
    QVERIFY(image.save(picture));
    const QString notes = dir.filePath(u"notes.txt"_s);
    QFile file(notes);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("text");
    file.close();

    auto view = makeView(u"line"_s);
    QVERIFY(view);
    placeCaret(*view, 4);
    view->insertImageFiles({notes, picture, dir.filePath(u"gone.png"_s)});
    const QList<ImageToken> tokens = ImageTokens::tokens(view->text());
    QCOMPARE(tokens.size(), 1);
    QCOMPARE(view->text(), u"line\n"_s + ImageTokens::token(tokens[0].id) + u"\n"_s);
}

void EditorViewTest::compositionIsNotStyledUntilCommitted()
{
    auto view = makeView(u"line\n"_s);
    QVERIFY(view);
    view->setFocus();
    placeCaret(*view, 5);
    QInputMethodEvent preedit(u"**b**"_s, {});
    QApplication::sendEvent(view.get(), &preedit);
    QVERIFY(view->hasMarkedText());
    QCOMPARE(view->text(), u"line\n"_s);

    // The surface's text waits while the input method composes.
    view->setText(u"replaced"_s);
    QCOMPARE(view->text(), u"line\n"_s);

    QInputMethodEvent commit;
    commit.setCommitString(u"**b**"_s);
    QApplication::sendEvent(view.get(), &commit);
    QVERIFY(!view->hasMarkedText());
    QCOMPARE(view->text(), u"line\n**b**"_s);
    QVERIFY(EditorStyleEngine::styledFormat(*view->document(), 7).fontWeight() >= QFont::DemiBold);
    // The caret's line shows its markers; off it they hide.
    QVERIFY(!EditorStyleEngine::isHidden(*view->document(), 5));
    placeCaret(*view, 0);
    QVERIFY(EditorStyleEngine::isHidden(*view->document(), 5));
}

void EditorViewTest::outsideTextAndConfigurationChanges()
{
    auto view = makeView(u"**a**"_s);
    QVERIFY(view);
    QSignalSpy changed(view.get(), &QTextEdit::textChanged);
    view->setText(u"**a**"_s);
    QCOMPARE(changed.count(), 0);
    placeCaret(*view, 3);
    view->setText(u"new **text** here"_s);
    QCOMPARE(view->text(), u"new **text** here"_s);
    QCOMPARE(view->textCursor().position(), 3);
    QVERIFY(EditorStyleEngine::styledFormat(*view->document(), 6).fontWeight() >= QFont::DemiBold);

    // CR LF from outside reads back as LF, and the same text given again changes nothing.
    view->setText(u"x\r\ny"_s);
    QCOMPARE(view->text(), u"x\ny"_s);
    placeCaret(*view, 3);
    const int before = static_cast<int>(changed.count());
    view->setText(u"x\r\ny"_s);
    QCOMPARE(static_cast<int>(changed.count()), before);
    QCOMPARE(view->textCursor().position(), 3);
    view->setText(u"new **text** here"_s);

    // A new ink restyles everything at once.
    auto config = configuration();
    config.ink = QColor(200, 0, 0);
    config.styleToken = u"red"_s;
    view->setConfiguration(config);
    QCOMPARE(view->palette().color(QPalette::Text), QColor(200, 0, 0));
    QColor marker = EditorStyleEngine::styledFormat(*view->document(), 4).foreground().color();
    marker.setAlpha(255);
    QCOMPARE(marker, QColor(200, 0, 0));
    // Markdown off shows every marker.
    config.markdownEnabled = false;
    config.styleToken = u"plain"_s;
    view->setConfiguration(config);
    placeCaret(*view, 0);
    QVERIFY(!EditorStyleEngine::isHidden(*view->document(), 4));
}

void EditorViewTest::controlClickOpensOnlyWebLinks()
{
    auto view = makeView(u"x\n[site](https://example.org) [file](ftp://b)"_s);
    QVERIFY(view);
    placeCaret(*view, 0);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier, pointOf(*view, 4) + QPoint(1, 0));
    QCOMPARE(desktop.openedUrls, (QList<QUrl>{QUrl(u"https://example.org"_s)}));
    placeCaret(*view, 0);
    const qsizetype file = view->text().indexOf(u"file"_s);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier, pointOf(*view, file + 1));
    QCOMPARE(desktop.openedUrls.size(), 1);
    // A plain click on a link just places the caret.
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, pointOf(*view, 4) + QPoint(1, 0));
    QCOMPARE(desktop.openedUrls.size(), 1);
}

void EditorViewTest::findCountsAndWraps()
{
    EditorBridge alone;
    alone.recount(u"a"_s);
    QCOMPARE(alone.matchCount(), 0);
    alone.findNext(u"a"_s, true); // nothing harmful without a view

    auto view = makeView(u"aaaa"_s);
    QVERIFY(view);
    QSignalSpy counted(&bridge, &EditorBridge::matchCountChanged);
    bridge.recount(u"aa"_s);
    QCOMPARE(bridge.matchCount(), 2);
    QCOMPARE(counted.count(), 1);
    bridge.recount(u"AA"_s);
    QCOMPARE(bridge.matchCount(), 2);
    bridge.recount(QString());
    QCOMPARE(bridge.matchCount(), 0);

    placeCaret(*view, 1); // mid-match: the next one starts behind the caret
    bridge.findNext(u"aa"_s, true);
    QCOMPARE(view->selectedRange(), (TextRange{1, 2}));
    bridge.findNext(u"aa"_s, true);
    QCOMPARE(view->selectedRange(), (TextRange{0, 2})); // wrapped to the top
    bridge.findNext(u"aa"_s, false);
    QCOMPARE(view->selectedRange(), (TextRange{2, 2})); // wrapped to the last
    bridge.findNext(u"aa"_s, false);
    QCOMPARE(view->selectedRange(), (TextRange{0, 2}));

    view->setText(u"One note here"_s);
    placeCaret(*view, 0);
    for (bool forward : {true, true, false, false}) {
        bridge.findNext(u"NOTE"_s, forward);
        QCOMPARE(view->selectedRange(), (TextRange{4, 4}));
    }
    bridge.findNext(u"zzz"_s, true);
    QCOMPARE(view->selectedRange(), (TextRange{4, 4}));
}

void EditorViewTest::toggleTaskLine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("caret");
    QTest::addColumn<QString>("expected");
    QTest::newRow("a plain line gets a box") << u"milk"_s << qsizetype{2} << u"\u2610 milk"_s;
    QTest::newRow("the empty last line gets a box") << u"a\n"_s << qsizetype{2} << u"a\n\u2610 "_s;
    QTest::newRow("a done line loses its box and blank") << u"\u2611 done\nx"_s << qsizetype{3} << u"done\nx"_s;
    QTest::newRow("a box without a blank loses one character") << u"\u2610x"_s << qsizetype{1} << u"x"_s;
}

void EditorViewTest::toggleTaskLine()
{
    QFETCH(QString, text);
    QFETCH(qsizetype, caret);
    QFETCH(QString, expected);
    auto view = makeView(text);
    QVERIFY(view);
    placeCaret(*view, caret);
    bridge.toggleTaskLine();
    QCOMPARE(view->text(), expected);
    QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(view->text(), text);
}

void EditorViewTest::overlaySizes_data()
{
    QTest::addColumn<int>("imageWidth");
    QTest::addColumn<int>("imageHeight");
    QTest::addColumn<QString>("width");
    QTest::addColumn<bool>("hasFile");
    QTest::addColumn<double>("expectedWidth"); // -1: the container's width
    QTest::addColumn<double>("expectedHeight");
    QTest::newRow("a width of 10 shows at the minimum 40") << 100 << 50 << u"10"_s << true << 40.0 << 20.0;
    QTest::newRow("a width of 5000 shows at the container's width") << 100 << 50 << u"5000"_s << true << -1.0 << -1.0;
    QTest::newRow("a picture 100 wide without width is not enlarged") << 100 << 60 << QString() << true << 100.0 << 60.0;
    QTest::newRow("a big picture without width stops at 320") << 1000 << 500 << QString() << true << 320.0 << 160.0;
    QTest::newRow("a missing file gets a placeholder 160 wide") << 0 << 0 << QString() << false << 160.0 << 96.0;
    QTest::newRow("a missing file keeps its token width") << 0 << 0 << u"200"_s << false << 200.0 << 120.0;
}

void EditorViewTest::overlaySizes()
{
    QFETCH(int, imageWidth);
    QFETCH(int, imageHeight);
    QFETCH(QString, width);
    QFETCH(bool, hasFile);
    QFETCH(double, expectedWidth);
    QFETCH(double, expectedHeight);
    const QString id = hasFile ? makeImage(imageWidth, imageHeight) : u"MISSING-1"_s;
    const std::optional<double> tokenWidth = width.isEmpty() ? std::nullopt : std::optional<double>(width.toDouble());
    auto view = makeView(u"a\n"_s + ImageTokens::token(id, tokenWidth) + u"\nb"_s);
    QVERIFY(view);
    const double container = view->imageOverlays()->containerWidth();
    if (expectedWidth < 0) {
        expectedWidth = container;
        expectedHeight = 50.0 * container / 100.0;
    }
    const QList<NoteImageOverlayWidget*> widgets = view->imageOverlays()->widgets();
    QCOMPARE(widgets.size(), 1);
    QCOMPARE(widgets[0]->hasFile(), hasFile);
    QVERIFY(qAbs(widgets[0]->width() - expectedWidth) <= 1);
    QVERIFY(qAbs(widgets[0]->height() - expectedHeight) <= 1);
}

void EditorViewTest::pictureLineReservesItsHeight()
{
    const QString id = makeImage(100, 80);
    const QString text = u"top\n"_s + ImageTokens::token(id) + u"\n"_s + ImageTokens::token(id, 50) + u"\nend"_s;
    auto view = makeView(text);
    QVERIFY(view);
    auto lineHeight = [&](int blockNumber) {
        const QTextBlock block = view->document()->findBlockByNumber(blockNumber);
        return block.layout()->lineAt(0).height();
    };
    QVERIFY(qAbs(lineHeight(1) - (80 + 6)) <= 1.5);
    QVERIFY(qAbs(lineHeight(2) - (40 + 6)) <= 1.5);
    // Two tokens of one picture give two overlays, each on its own line, below the line above.
    const QList<NoteImageOverlayWidget*> widgets = view->imageOverlays()->widgets();
    QCOMPARE(widgets.size(), 2);
    QVERIFY(widgets[1]->y() >= widgets[0]->y() + 80);
    // The token's characters take no width: the caret behind it stays at the line's start.
    QTextCursor behind = view->textCursor();
    behind.setPosition(4 + static_cast<int>(ImageTokens::token(id).size()));
    QTextCursor before = view->textCursor();
    before.setPosition(4);
    QVERIFY(qAbs(view->cursorRect(behind).x() - view->cursorRect(before).x()) <= 1);
    // Typing on another line never adds an undo step for the reserved room.
    QVERIFY(!view->document()->isUndoAvailable());
}

void EditorViewTest::markdownOffShowsNoPicture()
{
    const QString token = ImageTokens::token(makeImage(30, 30));
    auto view = makeView(token, false);
    QVERIFY(view);
    QVERIFY(view->imageOverlays()->widgets().isEmpty());
    QVERIFY(!EditorStyleEngine::isHidden(*view->document(), 0));
}

void EditorViewTest::selectingAPictureThenTypingAddsTextBelow()
{
    const QString token = ImageTokens::token(makeImage(60, 40));
    auto view = makeView(u"top\n"_s + token + u"\nbottom"_s);
    QVERIFY(view);
    placeCaret(*view, 1);
    NoteImageOverlayWidget* picture = view->imageOverlays()->widgets().value(0);
    QVERIFY(picture);
    QTest::mouseClick(picture, Qt::LeftButton, {}, QPoint(10, 10));
    QVERIFY(picture->isSelected());
    QVERIFY(picture->handle()->isVisible());
    QCOMPARE(view->textCursor().position(), 4 + token.size() + 1);
    QTest::keyClicks(view.get(), u"x"_s);
    QCOMPARE(view->text(), u"top\n"_s + token + u"\nxbottom"_s);
}

void EditorViewTest::resizingWritesTheWidthAsOneUndoableEdit()
{
    const QString id = makeImage(200, 100);
    const QString text = u"top\n"_s + ImageTokens::token(id) + u"\nbottom"_s;
    auto view = makeView(text);
    QVERIFY(view);
    NoteImageOverlayWidget* picture = view->imageOverlays()->widgets().value(0);
    QVERIFY(picture);
    QCOMPARE(picture->width(), 200);
    QTest::mouseClick(picture, Qt::LeftButton, {}, QPoint(5, 5));
    NoteImageHandleWidget* handle = picture->handle();
    const QPoint grip(8, 8);
    QTest::mousePress(handle, Qt::LeftButton, {}, grip);
    // Where the pointer ends, in the viewport; the handle moves under it as the picture shrinks.
    const QPoint end = handle->mapTo(view->viewport(), grip - QPoint(80, 0));
    // Drag 80 to the left of a grip 10 inside the corner: 110 wide, the aspect kept, and the
    // text waits.
    QMouseEvent moved(QEvent::MouseMove, QPointF(grip - QPoint(80, 0)), handle->mapToGlobal(QPointF(grip - QPoint(80, 0))),
                      Qt::LeftButton, Qt::LeftButton, {});
    QApplication::sendEvent(handle, &moved);
    QCOMPARE(view->text(), text);
    picture = view->imageOverlays()->widgets().value(0);
    QVERIFY(qAbs(picture->width() - 110) <= 1);
    QVERIFY(qAbs(picture->height() - 55) <= 1);
    NoteImageHandleWidget* movedHandle = view->imageOverlays()->widgets().value(0)->handle();
    QTest::mouseRelease(movedHandle, Qt::LeftButton, {}, movedHandle->mapFrom(view->viewport(), end));
    QCOMPARE(view->text(), u"top\n"_s + ImageTokens::token(id, 110) + u"\nbottom"_s);
    QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(view->text(), text);
}

// The room of a picture follows its size: a file that arrives (by sync) and a narrower view
// each restyle the picture's line.
void EditorViewTest::aPictureFollowsItsFileAndTheViewsWidth()
{
    auto view = makeView(u"a\n"_s + ImageTokens::token(u"LATE-1"_s) + u"\nb"_s);
    QVERIFY(view);
    QCOMPARE(view->imageOverlays()->widgets().value(0)->height(), 96);
    QImage image(300, 150, QImage::Format_ARGB32);
    image.fill(Qt::green);
    QVERIFY(image.save(dir.filePath(u"Images/LATE-1.png"_s)));
    view->imageOverlays()->place(); // as after any scroll or layout change
    QTRY_VERIFY(view->imageOverlays()->widgets().value(0)->hasFile());
    const auto lineHeight = [&] {
        return view->document()->findBlockByNumber(1).layout()->lineAt(0).height();
    };
    QTRY_VERIFY(qAbs(lineHeight() - (150 + 6)) <= 1.5);
    view->resize(220, 500);
    QTRY_VERIFY(lineHeight() < 150);
    QCOMPARE(view->imageOverlays()->widgets().value(0)->width(),
             qRound(view->imageOverlays()->containerWidth()));
}

QTEST_MAIN(EditorViewTest)
#include "tst_editor_view.moc"
