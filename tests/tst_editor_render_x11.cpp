// Renders a styled note in a real X window and keeps the picture for a person to look at:
// editor-render.png beside the test program (and in PONDRIFT_RENDER_COPY when set). It
// checks what a glance would: the picture shows where its token is, hidden markers leave no
// ink, and a done task is struck.
#include "editor/EditorBridge.h"
#include "editor/EditorStyleEngine.h"
#include "editor/ui/NoteTextView.h"
#include "images/ImageStore.h"
#include "platform/qt/QtFiles.h"
#include "editor/ui/NoteImageOverlays.h"
#include "editor/ui/NoteImageOverlayWidget.h"
#include "support/RecordingDesktop.h"

#include <QApplication>
#include <QPainter>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

class EditorRenderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void rendersAStyledNote();

private:
    QTemporaryDir dir;
    QtFiles files;
    std::optional<ImageStore> images;
};

void EditorRenderTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(dir.isValid());
    images.emplace(dir.filePath(u"Images"_s), files);
}

void EditorRenderTest::rendersAStyledNote()
{
    // A small picture: a blue field with an orange sun.
    QImage image(160, 90, QImage::Format_ARGB32);
    image.fill(QColor(52, 120, 200));
    {
        QPainter p(&image);
        p.setRenderHint(QPainter::Antialiasing);
        p.setBrush(QColor(250, 170, 40));
        p.setPen(Qt::NoPen);
        p.drawEllipse(QPointF(120, 30), 16, 16);
        p.setBrush(QColor(40, 140, 70));
        p.drawRect(0, 65, 160, 25);
    }
    const auto id = images->save(image);
    QVERIFY(id);

    const QString text = u"# Shopping\n"
                         "Buy **fresh** bread and *ripe* fruit, see [the list](https://example.org).\n"
                         "\u2610 milk\n"
                         "\u2611 **eggs** done\n"
                         "> a quoted line with `code`\n"_s
        + ImageTokens::token(*id) + u"\n- last ~~old~~ item"_s;

    QWidget paper;
    paper.setAutoFillBackground(true);
    QPalette palette = paper.palette();
    palette.setColor(QPalette::Window, QColor(255, 241, 168));
    paper.setPalette(palette);
    auto* layout = new QVBoxLayout(&paper);
    layout->setContentsMargins(0, 0, 0, 0);

    RecordingDesktop desktop;
    EditorBridge bridge;
    NoteTextView::Configuration config;
    config.ink = QColor(60, 50, 20);
    config.fontSize = 15;
    config.styleToken = u"yellow"_s;
    config.bodyFont = [](double size) {
        QFont font(u"DejaVu Sans"_s);
        font.setPointSizeF(size * 0.75);
        return font;
    };
    auto* view = new NoteTextView(text, config, &bridge, desktop, *images, &paper);
    layout->addWidget(view);
    paper.resize(460, 420);
    paper.show();
    QVERIFY(QTest::qWaitForWindowExposed(&paper));
    // The caret on the quote line: its ">" shows dimmed, every other marker hides.
    QTextCursor cursor = view->textCursor();
    cursor.setPosition(int(text.indexOf(u"> a"_s)) + 3);
    view->setTextCursor(cursor);
    QCoreApplication::processEvents();

    const QImage shot = paper.grab().toImage();
    const QString path = QCoreApplication::applicationDirPath() + u"/editor-render.png"_s;
    QVERIFY(shot.save(path));
    const QString copy = qEnvironmentVariable("PONDRIFT_RENDER_COPY");
    if (!copy.isEmpty()) {
        QFile::remove(copy);
        QVERIFY(QFile::copy(path, copy));
    }

    // The picture shows over its token's line: its blue in the middle of the overlay.
    const QList<NoteImageOverlayWidget*> pictures = view->imageOverlays()->widgets();
    QCOMPARE(pictures.size(), 1);
    const QPoint pictureCentre = pictures[0]->mapTo(&paper, QPoint(20, 20));
    const QColor sky = shot.pixelColor(pictureCentre * shot.devicePixelRatio());
    QVERIFY2(sky.blue() > 150 && sky.red() < 120, qPrintable(sky.name()));

    // The heading's "#" is hidden: "Shopping" starts at the text's left edge, where the
    // body line below starts too.
    QTextCursor heading = view->textCursor();
    heading.setPosition(1);
    QTextCursor body = view->textCursor();
    body.setPosition(int(text.indexOf(u"Buy"_s)));
    QVERIFY(qAbs(view->cursorRect(heading).x() - view->cursorRect(body).x()) <= 1);
    QVERIFY(EditorStyleEngine::styledFormat(*view->document(), text.indexOf(u"eggs"_s)).fontStrikeOut());
}

QTEST_MAIN(EditorRenderTest)
#include "tst_editor_render_x11.moc"
