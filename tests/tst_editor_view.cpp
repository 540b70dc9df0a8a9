// The note text view under real key and mouse events, proving that its events reach the
// editor's decisions and their answers reach the text: typing and undo, task lines, image
// tokens under the keyboard, pictures in, links, find, and the image overlays.
#include "editor/EditorBridge.h"
#include "editor/EditorStyleEngine.h"
#include "editor/ui/NoteImageHandleWidget.h"
#include "editor/ui/NoteImageOverlayWidget.h"
#include "editor/ui/NoteImageOverlays.h"
#include "editor/ui/NoteTextView.h"
#include "images/ImageStore.h"
#include "platform/qt/QtFiles.h"
#include "support/RecordingDesktop.h"
#include "support/TestFiles.h"

#include <QAbstractAnimation>
#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QBuffer>
#include <QInputMethodEvent>
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
    return {QColor(30, 30, 30), 14, markdown, {}, markdown ? u"yellow"_s : u"plain"_s, body};
}

void placeCaret(NoteTextView& view, qsizetype position)
{
    QTextCursor cursor = view.textCursor();
    cursor.setPosition(static_cast<int>(position));
    view.setTextCursor(cursor);
}

QPoint pointOf(NoteTextView& view, qsizetype position)
{
    QTextCursor cursor = view.textCursor();
    cursor.setPosition(static_cast<int>(position));
    return view.cursorRect(cursor).center();
}

bool hidden(NoteTextView& view, qsizetype position)
{
    return EditorStyleEngine::isHidden(*view.document(), position);
}

QTextCharFormat drawnFormat(const QTextBlock& block, int at)
{
    QTextCharFormat format;
    for (const QTextLayout::FormatRange& range : block.layout()->formats()) {
        if (at >= range.start && at < range.start + range.length)
            format.merge(range.format);
    }
    return format;
}

void compose(NoteTextView& view, const QString& preedit, const QString& commit = {})
{
    QTextCharFormat underline;
    underline.setFontUnderline(true);
    QList<QInputMethodEvent::Attribute> attributes;
    if (!preedit.isEmpty())
        attributes = {{QInputMethodEvent::TextFormat, 0, int(preedit.size()), underline},
                      {QInputMethodEvent::Cursor, int(preedit.size()), 1, {}}};
    QInputMethodEvent event(preedit, attributes);
    event.setCommitString(commit);
    QApplication::sendEvent(&view, &event);
}

double blockTop(NoteTextView& view, int block)
{
    const QTextDocument& document = *view.document();
    return document.documentLayout()->blockBoundingRect(document.findBlockByNumber(block)).top();
}

} // namespace

class EditorViewTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    QtFiles files;
    ImageStore images{dir.filePath(u"Images"_s), files};
    RecordingDesktop desktop;
    EditorBridge bridge;

    // A picture of one colour: a bitmap, capped as pasted ones are, or a photo's own bytes.
    QString makeImage(QSize size, const char* photoFormat = nullptr)
    {
        QImage image(size, QImage::Format_ARGB32);
        image.fill(QColor(40, 120, 200));
        if (!photoFormat)
            return images.save(image).value_or(QString());
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, photoFormat);
        return images.save(bytes, QString::fromLatin1(photoFormat)).value_or(QString());
    }

    // A view that never shows fails the test here, so that callers need no check of their own.
    std::unique_ptr<NoteTextView> makeView(const QString& text, bool markdown = true)
    {
        auto view =
            std::make_unique<NoteTextView>(text, configuration(markdown), &bridge, desktop, images);
        view->resize(420, 500);
        view->show();
        QTest::qVerify(QTest::qWaitForWindowExposed(view.get()), "the view is shown", "", __FILE__,
                       __LINE__);
        return view;
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void typingThenUndoRestoresTheTextAndNeverAStyle()
    {
        const QString original = u"# Title\n**bold** and *it*\nplain"_s;
        auto view = makeView(original);
        for (qsizetype position : {0, 10, 30, 3})
            placeCaret(*view, position);
        QVERIFY(!view->document()->isUndoAvailable() && !view->document()->isModified());

        placeCaret(*view, 16); // after "**bold**"
        QTest::keyClicks(view.get(), u" **x** y"_s);
        QTest::keyClick(view.get(), Qt::Key_Return);
        QTest::keyClicks(view.get(), u"~~z~~"_s);
        QCOMPARE(view->text(), u"# Title\n**bold** **x** y\n~~z~~ and *it*\nplain"_s);
        for (int steps = 0; view->document()->isUndoAvailable() && steps < 100; ++steps) {
            const QString before = view->text();
            QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
            QVERIFY2(view->text() != before, "an undo step changed nothing: styling was recorded");
        }
        QCOMPARE(view->text(), original);
        QVERIFY(!view->document()->isModified());
    }

    void taskLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("caret");
        QTest::addColumn<bool>("toggle"); // the bridge's toggle, else Return
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("expectedCaret");
        // clang-format off
        QTest::newRow("Return on a task with text continues with a fresh open box") << u"\u2610 buy milk"_s << 10 << false << u"\u2610 buy milk\n\u2610 "_s << 13;
        QTest::newRow("Return on a done task continues with an open box too") << u"\u2611 done\nnext"_s << 6 << false << u"\u2611 done\n\u2610 \nnext"_s << 9;
        QTest::newRow("Return on a bare box ends the list") << u"\u2610 a\n\u2610 "_s << 6 << false << u"\u2610 a\n"_s << 4;
        QTest::newRow("Return on a bare box mid-note takes its line break too") << u"\u2610 \nafter"_s << 2 << false << u"after"_s << 0;
        QTest::newRow("Return on a plain line gives a plain break") << u"- item"_s << 6 << false << u"- item\n"_s << 7;
        QTest::newRow("toggling a plain line gives it a box") << u"milk"_s << 2 << true << u"\u2610 milk"_s << 4;
        QTest::newRow("toggling the empty last line gives it a box") << u"a\n"_s << 2 << true << u"a\n\u2610 "_s << 4;
        QTest::newRow("toggling a done line takes its box and blank") << u"\u2611 done\nx"_s << 3 << true << u"done\nx"_s << 1;
        QTest::newRow("toggling a box without a blank takes one character") << u"\u2610x"_s << 1 << true << u"x"_s << 0;
        // clang-format on
    }

    void taskLines()
    {
        QFETCH(QString, text);
        QFETCH(int, caret);
        QFETCH(bool, toggle);
        QFETCH(QString, expected);
        QFETCH(int, expectedCaret);
        auto view = makeView(text);
        placeCaret(*view, caret);
        if (toggle)
            bridge.toggleTaskLine();
        else
            QTest::keyClick(view.get(), Qt::Key_Return);
        QCOMPARE(view->text(), expected);
        QCOMPARE(view->textCursor().position(), expectedCaret);
        QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier); // one step
        QCOMPARE(view->text(), text);
    }

    void clicksFlipBoxesPlaceTheCaretAndOpenOnlyWebLinks()
    {
        auto view =
            makeView(u"note\n\u2610 a long task\n[site](https://example.org) [file](ftp://b)"_s);
        QSignalSpy edited(view.get(), &NoteTextView::edited);
        const QPoint box = pointOf(*view, 5) + QPoint(3, 0);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, box);
        QCOMPARE(view->text().mid(5, 2), u"\u2611 "_s);
        QCOMPARE(edited.count(), 1);
        QVERIFY(EditorStyleEngine::styledFormat(*view->document(), 7).fontStrikeOut());
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, box);
        QVERIFY(!EditorStyleEngine::styledFormat(*view->document(), 7).fontStrikeOut());
        QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(view->text().mid(5, 2), u"\u2611 "_s);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, pointOf(*view, 14));
        QCOMPARE(view->textCursor().position(), 14);

        const QPoint site = pointOf(*view, 21) + QPoint(1, 0);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier, site);
        QCOMPARE(desktop.openedUrls, (QList<QUrl>{QUrl(u"https://example.org"_s)}));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          pointOf(*view, view->text().indexOf(u"file"_s) + 1));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                          site); // a plain click places the caret
        QCOMPARE(desktop.openedUrls.size(), 1);
    }

    void picturesComeInOnLinesOfTheirOwn()
    {
        QImage image(30, 20, QImage::Format_RGB32);
        image.fill(Qt::red);
        const QString path = dir.filePath(u"dropped.png"_s);
        QVERIFY(image.save(path) && TestFiles::write(dir.filePath(u"notes.txt"_s), "text"));

        auto view = makeView(u"hello world"_s);
        QMimeData mime;
        mime.setUrls({QUrl::fromLocalFile(path)});
        const QPoint at = pointOf(*view, 5);
        QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, {});
        QApplication::sendEvent(view->viewport(), &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(at, Qt::CopyAction, &mime, Qt::LeftButton, {});
        QApplication::sendEvent(view->viewport(), &drop);
        const QList<ImageToken> dropped = ImageTokens::tokens(view->text());
        QCOMPARE(dropped.size(), 1);
        QCOMPARE(view->text(), u"hello\n"_s + ImageTokens::token(dropped[0].id) + u"\n\n world"_s);
        QCOMPARE(view->textCursor().position(), dropped[0].range.end() + 2);
        QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(view->text(), u"hello world"_s);

        // Files that are no pictures, or are gone, are skipped.
        placeCaret(*view, 11);
        view->insertImageFiles({dir.filePath(u"notes.txt"_s), path, dir.filePath(u"gone.png"_s)});
        const QList<ImageToken> inserted = ImageTokens::tokens(view->text());
        QCOMPARE(inserted.size(), 1);
        QCOMPARE(view->text(), u"hello world\n"_s + ImageTokens::token(inserted[0].id) + u"\n"_s);
    }

    void findCountsAndWraps()
    {
        EditorBridge alone;
        alone.recount(u"a"_s);
        alone.findNext(u"a"_s, true); // nothing harmful without a view
        QCOMPARE(alone.matchCount(), 0);

        auto view = makeView(u"aaaa One note"_s);
        QSignalSpy counted(&bridge, &EditorBridge::matchCountChanged);
        for (const QString& query : {u"aa"_s, u"AA"_s})
            bridge.recount(query);
        QCOMPARE(bridge.matchCount(), 2);
        QCOMPARE(counted.count(), 1);
        bridge.recount(QString());
        QCOMPARE(bridge.matchCount(), 0);

        // From mid-match onwards, wrapping round both ends; a lone match stays found both ways.
        placeCaret(*view, 1);
        const QList<std::tuple<QString, bool, TextRange>> steps{
            {u"aa"_s, true, {1, 2}},    {u"aa"_s, true, {0, 2}},   {u"aa"_s, false, {2, 2}},
            {u"aa"_s, false, {0, 2}},   {u"NOTE"_s, true, {9, 4}}, {u"NOTE"_s, true, {9, 4}},
            {u"NOTE"_s, false, {9, 4}}, {u"zzz"_s, false, {9, 4}}};
        for (const auto& [query, forward, found] : steps) {
            bridge.findNext(query, forward);
            QCOMPARE(view->selectedRange(), found);
        }

        // A match found flashes, fades, and leaves nothing behind but its selection. The flash
        // is a layer of its own, drawn over the spelling's marks, which it leaves alone.
        const auto marks = [&] {
            QStringList texts;
            for (const QTextEdit::ExtraSelection& s : view->extraSelections())
                texts.append(s.cursor.selectedText());
            return texts;
        };
        QTextEdit::ExtraSelection misspelled;
        misspelled.cursor = QTextCursor(view->document());
        misspelled.cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        view->setSelectionLayer(u"spelling"_s, {misspelled});
        bridge.findNext(u"one"_s, true);
        const auto flash = [&] { return view->selectionLayer(u"find"_s); };
        QCOMPARE(marks(), (QStringList{u"One"_s, view->text()}));
        const QColor first = flash()[0].format.background().color();
        QVERIFY(first.alpha() > 0);
        QTRY_VERIFY(flash().isEmpty() || flash()[0].format.background().color() != first);
        QTRY_COMPARE(marks(), QStringList{view->text()});
        QVERIFY(flash().isEmpty());
        for (const QAbstractAnimation* animation : view->findChildren<QAbstractAnimation*>())
            QCOMPARE(animation->state(), QAbstractAnimation::Stopped);
        QCOMPARE(view->selectedRange(), (TextRange{5, 3}));
    }

    // A pre-edit keeps the line's styling, its picture's room and overlay; nothing below moves.
    // Looks are in the block's own positions: "2+5=heading" is five units from 2.
    void composingKeepsTheLinesStyle_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("caret");
        QTest::addColumn<QString>("looks");
        const QString token = ImageTokens::token(u"COMPOSE"_s);
        const int t = int(token.size());
        // clang-format off
        QTest::newRow("a heading composed at its end") << u"# Title\nbody"_s << 7 << u"2+5=heading|7+5=heading,ime"_s;
        QTest::newRow("a picture's line composed behind the picture") << u"top\n"_s + token + u"\nend"_s << 4 + t << u"0+1=room|1+%1=hidden|%2+5=ime"_s.arg(t - 1).arg(t);
        QTest::newRow("a picture's line composed before the picture") << u"top\n"_s + token + u"\nend"_s << 4 << u"0+5=ime|5+1=room|6+%1=hidden"_s.arg(t - 1);
        // clang-format on
    }

    void composingKeepsTheLinesStyle()
    {
        QFETCH(QString, text);
        QFETCH(int, caret);
        QFETCH(QString, looks);
        auto view = makeView(text);
        placeCaret(*view, caret);
        const int block = view->textCursor().blockNumber();
        const double below = blockTop(*view, block + 1);
        const auto pictures = [&] {
            QList<QRect> frames;
            for (const NoteImageOverlayWidget* widget : view->imageOverlays()->widgets())
                frames.append(widget->geometry());
            return frames;
        };
        const QList<QRect> shown = pictures();
        const auto reported = [&] {
            QList<QTextCharFormat> formats;
            const QTextBlock line = view->document()->findBlockByNumber(block);
            for (int at = line.position(); at < line.position() + line.length() - 1; ++at)
                formats.append(EditorStyleEngine::styledFormat(*view->document(), at));
            return formats;
        };
        const QList<QTextCharFormat> styled = reported();
        const auto is = [](const QString& name, const QTextCharFormat& f) {
            return name == u"heading"_s ? f.fontPointSize() > 14
                   : name == u"ime"_s   ? f.fontUnderline()
                   : name == u"hidden"_s
                       ? f.boolProperty(EditorStyleEngine::hiddenProperty)
                       : f.doubleProperty(EditorStyleEngine::reservedHeightProperty) > 0;
        };
        for (const QString& preedit : {u"z"_s, u"zhong"_s}) {
            compose(*view, preedit);
            QVERIFY(view->hasMarkedText());
        }
        const QTextBlock composing = view->document()->findBlockByNumber(block);
        for (const QString& look : looks.split(u'|')) {
            const TextRange range{look.section(u'+', 0, 0).toLongLong(),
                                  look.section(u'+', 1).section(u'=', 0, 0).toLongLong()};
            for (const QString& name : look.section(u'=', 1).split(u',')) {
                for (qsizetype at = range.location; at < range.end(); ++at)
                    QVERIFY2(is(name, drawnFormat(composing, int(at))),
                             qPrintable(u"%1 at %2"_s.arg(name).arg(at)));
            }
        }
        QVERIFY(reported() == styled);
        view->document()->documentLayout()->documentSize();
        QCOMPARE(blockTop(*view, block + 1), below);
        view->imageOverlays()->place();
        QCOMPARE(pictures(), shown);
        QCOMPARE(view->text(), text);

        compose(*view, {}, u"中"_s);
        QVERIFY(!view->hasMarkedText());
        QCOMPARE(view->text(), text.left(caret) + u"中"_s + text.mid(caret));
        QCOMPARE(pictures().size(), shown.size());
    }

    void aRevealedPictureSurvivesTypedText_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("typed");
        QTest::newRow("Tab") << u"tab"_s << u"\t"_s;
        QTest::newRow("a letter with Alt") << u"alt"_s << u"x"_s;
        QTest::newRow("a composition starting") << u"compose"_s << u"中"_s;
        QTest::newRow("a commit with no composition") << u"commit"_s << u"中"_s;
    }

    void aRevealedPictureSurvivesTypedText()
    {
        QFETCH(QString, input);
        QFETCH(QString, typed);
        const QString token = ImageTokens::token(makeImage({120, 60}));
        auto view = makeView(u"top\n"_s + token + u"\nbottom"_s);
        placeCaret(*view, 4 + token.size() + 1);
        QTest::keyClick(view.get(), Qt::Key_Backspace);
        QCOMPARE(view->selectedRange(), (TextRange{4, token.size()}));
        QVERIFY(!hidden(*view, 4) && view->imageOverlays()->widgets().isEmpty());
        if (input == u"tab") {
            QTest::keyClick(view.get(), Qt::Key_Tab);
        } else if (input == u"alt") {
            QTest::keyClick(view.get(), Qt::Key_X, Qt::AltModifier);
        } else if (input == u"compose") {
            compose(*view, u"zh"_s);
            QVERIFY(view->text().contains(token));
            compose(*view, {}, typed);
        } else {
            compose(*view, {}, typed);
        }
        QCOMPARE(view->text(), u"top\n"_s + token + u"\n"_s + typed + u"bottom"_s);
        QVERIFY(hidden(*view, 4) && !view->revealedImageID());
        QCOMPARE(view->imageOverlays()->widgets().size(), 1);
    }

    void keysTakeAPictureWhole_data()
    {
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<bool>("atEnd");       // the caret at the picture's end, else at its start
        QTest::addColumn<QString>("expected"); // "at start", "at end", "select" or "deleted"
        QTest::addColumn<bool>("rightToLeft"); // bare keys in a right-to-left note, else with Ctrl
        // clang-format off
        QTest::newRow("Ctrl+Right at a picture's start passes it") << QList<int>{Qt::Key_Right} << false << u"at end"_s << false;
        QTest::newRow("Ctrl+Left at a picture's end passes it") << QList<int>{Qt::Key_Left} << true << u"at start"_s << false;
        QTest::newRow("Ctrl+Backspace behind a picture shows it") << QList<int>{Qt::Key_Backspace} << true << u"select"_s << false;
        QTest::newRow("Ctrl+Delete before a picture shows it") << QList<int>{Qt::Key_Delete} << false << u"select"_s << false;
        QTest::newRow("a second Ctrl+Backspace removes the picture seen") << QList<int>{Qt::Key_Backspace, Qt::Key_Backspace} << true << u"deleted"_s << false;
        QTest::newRow("Left in a right-to-left line goes forward, past the picture") << QList<int>{Qt::Key_Left} << false << u"at end"_s << true;
        QTest::newRow("Right in a right-to-left line goes back, past the picture") << QList<int>{Qt::Key_Right} << true << u"at start"_s << true;
        // clang-format on
    }

    void keysTakeAPictureWhole()
    {
        QFETCH(QList<int>, keys);
        QFETCH(bool, atEnd);
        QFETCH(QString, expected);
        QFETCH(bool, rightToLeft);
        const QString token = ImageTokens::token(makeImage({80, 40}));
        const QString text = (rightToLeft ? u"של "_s : u"ab "_s) + token + u" cd"_s;
        const TextRange at{3, token.size()};
        auto view = makeView(text);
        NoteTextView::Configuration direction = configuration();
        direction.textDirection =
            rightToLeft ? NoteTextDirection::RightToLeft : NoteTextDirection::LeftToRight;
        view->setConfiguration(direction);
        placeCaret(*view, atEnd ? at.end() : at.location);
        for (int key : keys)
            QTest::keyClick(view.get(), Qt::Key(key),
                            rightToLeft ? Qt::NoModifier : Qt::ControlModifier);
        if (expected == u"deleted"_s) {
            QCOMPARE(view->text(), text.left(at.location) + text.mid(at.end()));
            return;
        }
        QCOMPARE(view->text(), text);
        if (expected == u"select"_s) {
            QCOMPARE(view->selectedRange(), at);
            QVERIFY(!hidden(*view, at.location));
            return;
        }
        QCOMPARE(view->textCursor().position(), expected == u"at end"_s ? at.end() : at.location);
        QVERIFY(hidden(*view, at.location));
    }

    void picturesTakeTheirSizeAndTheirLinesRoom()
    {
        const QString wide = makeImage({100, 50});
        const QString tall = makeImage({100, 80});
        // clang-format off
        const QList<std::pair<QString, QSizeF>> pictures{ // a width of -1: the container's
            {ImageTokens::token(tall), {100, 80}},   // not enlarged
            {ImageTokens::token(tall, 50), {50, 40}},  // the same picture at another width
            {ImageTokens::token(wide, 10), {40, 20}},  // at least 40
            {ImageTokens::token(wide, 5000), {-1, 0.5}},
            {ImageTokens::token(makeImage({1000, 500})), {320, 160}},
            {ImageTokens::token(u"MISSING-1"_s), {160, 96}}, // a placeholder
            {ImageTokens::token(u"MISSING-2"_s, 200), {200, 120}}};
        // clang-format on
        QString text = u"\u2611 top"_s;
        for (const auto& picture : pictures)
            text += u"\n"_s + picture.first;
        auto view = makeView(text + u"\nend"_s);
        const QList<NoteImageOverlayWidget*> widgets = view->imageOverlays()->widgets();
        QCOMPARE(widgets.size(), pictures.size());
        const auto lineHeight = [&](int block) {
            return view->document()->findBlockByNumber(block).layout()->lineAt(0).height();
        };
        const double container = view->imageOverlays()->containerWidth();
        for (int i = 0; i < pictures.size(); ++i) {
            QSizeF size = pictures[i].second;
            if (size.width() < 0)
                size = QSizeF(container, container * size.height());
            QVERIFY2(qAbs(widgets[i]->width() - size.width()) <= 1
                         && qAbs(widgets[i]->height() - size.height()) <= 1,
                     qPrintable(pictures[i].first));
            QVERIFY(qAbs(lineHeight(i + 1) - (size.height() + 6)) <= 1.5);
            QVERIFY(i == 0 || widgets[i]->y() >= widgets[i - 1]->y() + widgets[i - 1]->height());
            QCOMPARE(widgets[i]->hasFile(), !pictures[i].first.contains(u"MISSING"_s));
        }
        QCOMPARE(widgets[0]->grab().toImage().pixelColor(20, 20), QColor(40, 120, 200));
        QVERIFY(!view->document()->isUndoAvailable()); // the room is no edit

        // A file that arrives (by sync) and a narrower view each give a picture's line new room.
        QImage late(300, 150, QImage::Format_ARGB32);
        late.fill(Qt::green);
        QVERIFY(late.save(dir.filePath(u"Images/MISSING-1.png"_s)));
        view->imageOverlays()->place(); // as after any scroll or layout change
        QTRY_VERIFY(view->imageOverlays()->widgets().value(5)->hasFile());
        QTRY_VERIFY(qAbs(lineHeight(6) - (150 + 6)) <= 1.5);
        view->resize(220, 500);
        QTRY_VERIFY(lineHeight(6) < 150);

        // A new configuration restyles at once; with Markdown off tokens show as text.
        NoteTextView::Configuration plain = configuration(false);
        plain.ink = Qt::red;
        view->setConfiguration(plain);
        QCOMPARE(view->palette().color(QPalette::Text), QColor(Qt::red));
        QCOMPARE(EditorStyleEngine::styledFormat(*view->document(), 0).foreground().color().rgb(),
                 QColor(Qt::red).rgb());
        QVERIFY(view->imageOverlays()->widgets().isEmpty() && !hidden(*view, 6));
    }

    void aPictureGoesOnlyWhenSeenAndResizesAsOneEdit()
    {
        const QString id = makeImage({200, 100});
        const QString token = ImageTokens::token(id);
        const QString text = u"top\n"_s + token + u"\nbottom"_s;
        auto view = makeView(text);
        placeCaret(*view, 4);
        QTest::keyClick(view.get(), Qt::Key_Delete);
        QTest::keyClick(view.get(), Qt::Key_Delete);
        QCOMPARE(view->text(), u"top\n\nbottom"_s);
        QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
        // Undone, the picture is back at once, also with the caret on its line.
        QCOMPARE(view->text(), text);
        QTRY_COMPARE(view->imageOverlays()->widgets().size(), 1);
        QVERIFY(hidden(*view, 5));
        placeCaret(*view, 0);

        NoteImageOverlayWidget* picture = view->imageOverlays()->widgets().value(0);
        QTest::mouseClick(picture, Qt::LeftButton, {}, QPoint(10, 10));
        QVERIFY(picture->isSelected() && picture->handle()->isVisible());
        QTest::keyClicks(view.get(), u"x"_s);
        QCOMPARE(view->text(), u"top\n"_s + token + u"\nxbottom"_s);
        QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);

        // Drag 80 to the left of a grip 8 inside the corner: 110 wide, the aspect kept, and the
        // text waits for the release.
        NoteImageHandleWidget* handle = picture->handle();
        const QPoint grip(8, 8);
        const QPoint end = handle->mapTo(view->viewport(), grip - QPoint(80, 0));
        QTest::mousePress(handle, Qt::LeftButton, {}, grip);
        QMouseEvent moved(QEvent::MouseMove, QPointF(grip - QPoint(80, 0)),
                          handle->mapToGlobal(QPointF(grip - QPoint(80, 0))), Qt::LeftButton,
                          Qt::LeftButton, {});
        QApplication::sendEvent(handle, &moved);
        QCOMPARE(view->text(), text);
        picture = view->imageOverlays()->widgets().value(0);
        QVERIFY(qAbs(picture->width() - 110) <= 1 && qAbs(picture->height() - 55) <= 1);
        QTest::mouseRelease(picture->handle(), Qt::LeftButton, {},
                            picture->handle()->mapFrom(view->viewport(), end));
        QCOMPARE(view->text(), u"top\n"_s + ImageTokens::token(id, 110) + u"\nbottom"_s);
        QTest::keyClick(view.get(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(view->text(), text);
    }

    void typingInANoteWithPhotosDecodesNoPhotoAgain_data()
    {
        QTest::addColumn<QList<int>>("keys");
        QTest::newRow("typing a letter") << QList<int>{Qt::Key_A};
        QTest::newRow("Return above the photos moves them down") << QList<int>{Qt::Key_Return};
        QTest::newRow("caret moves past the photos' lines")
            << QList<int>{Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Up};
    }
    void typingInANoteWithPhotosDecodesNoPhotoAgain()
    {
        QFETCH(QList<int>, keys);
        QString text = u"# Trip"_s;
        for (int i = 0; i < 4; ++i)
            text += u"\nday "_s + QString::number(i) + u"\n"_s
                    + ImageTokens::token(makeImage({4000, 3000}, "jpg"), 100);
        QList<QSize> decodes;
        images.onDecode = [&](const QString&, QSize size) { decodes.append(size); };
        const auto reset = qScopeGuard([&] { images.onDecode = nullptr; });
        auto view = makeView(text);
        view->grab(); // the first display
        const QList<NoteImageOverlayWidget*> photos = view->imageOverlays()->widgets();
        QCOMPARE(photos.size(), 4);
        QCOMPARE(decodes.size(), 4);
        for (QSize size : std::as_const(decodes))
            QVERIFY2(size.width() <= 128, "a photo is decoded at the width it shows");
        decodes.clear();
        placeCaret(*view, 3);
        for (int key : keys)
            QTest::keyClick(view.get(), Qt::Key(key));
        QTest::qWait(1); // the placements that follow a layout change
        view->grab();
        QVERIFY2(decodes.isEmpty(), "a keystroke decodes no photo");
        QVERIFY2(view->imageOverlays()->widgets() == photos,
                 "the photos' widgets are kept and moved, not made again");
    }
};

QTEST_MAIN(EditorViewTest)
#include "tst_editor_view.moc"
