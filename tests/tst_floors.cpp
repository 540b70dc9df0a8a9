#include "support/TestFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The floors of the source tree, lowest first. A folder includes its own files and those of
// lower floors only; folders that share a floor do not include each other.
const QHash<QString, int> floors{
    {u"platform"_s, 0}, {u"l10n"_s, 1},     {u"settings"_s, 2}, {u"notes"_s, 3},
    {u"images"_s, 4},   {u"editor"_s, 5},   {u"exchange"_s, 5}, {u"sync"_s, 6},
    {u"deck"_s, 6},     {u"surfaces"_s, 7}, {u"app"_s, 8},
};

// Files that may see widgets: everything under a ui/ folder, and main.cpp. The desktop's
// own backends may see xcb besides.
bool mayUseWidgets(const QString& file)
{
    return file.contains(u"/ui/"_s) || file == u"main.cpp"_s;
}

bool mayUseXcb(const QString& file)
{
    return mayUseWidgets(file) || file.startsWith(u"platform/x11/"_s);
}

QSet<QString> widgetHeaders()
{
    const QDir dir(QStringLiteral(PONDRIFT_QTWIDGETS_DIR));
    const QStringList names = dir.entryList(QDir::Files);
    return {names.cbegin(), names.cend()};
}

// Every include of the tree under root that breaks the floors, as "file: what".
QStringList violations(const QString& root)
{
    static const QRegularExpression include(u"^\\s*#\\s*include\\s*([<\"])([^>\"]+)[>\"]"_s);
    static const QSet<QString> widgets = widgetHeaders();
    QStringList found;
    QDirIterator it(root, {u"*.h"_s, u"*.cpp"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString file = QDir(root).relativeFilePath(path);
        const QString folder = file.contains(u'/') ? file.section(u'/', 0, 0) : QString();
        if (!folder.isEmpty() && !floors.contains(folder)) {
            found.append(file + u": a folder outside the floors"_s);
            continue;
        }
        const QStringList lines = QString::fromUtf8(TestFiles::read(path)).split(u'\n');
        for (const QString& line : lines) {
            const QRegularExpressionMatch m = include.match(line);
            if (!m.hasMatch())
                continue;
            const QString target = m.captured(2);
            if (m.captured(1) == u"<"_s) {
                const bool widget = target.startsWith(u"QtWidgets/"_s) || widgets.contains(target);
                const bool xcb = target.startsWith(u"xcb/"_s) || target.startsWith(u"X11/"_s)
                                 || target.startsWith(u"xkbcommon/xkbcommon-x11"_s);
                if ((widget && !mayUseWidgets(file)) || (xcb && !mayUseXcb(file)))
                    found.append(file + u": includes <"_s + target + u"> outside ui/"_s);
                continue;
            }
            if (!target.contains(u'/'))
                continue;
            const QString to = target.section(u'/', 0, 0);
            if (!floors.contains(to)) {
                found.append(file + u": includes "_s + target + u" from outside the floors"_s);
                continue;
            }
            if (target.contains(u"/ui/"_s) && !mayUseWidgets(file))
                found.append(file + u": includes the widget file "_s + target + u" outside ui/"_s);
            if (!folder.isEmpty() && to != folder && floors.value(to) >= floors.value(folder))
                found.append(file + u": includes "_s + target + u", not on a lower floor"_s);
        }
    }
    found.sort();
    return found;
}

// A copy of the real source tree, to plant wrong includes in.
bool copyTree(const QString& from, const QString& to)
{
    QDirIterator it(from, {u"*.h"_s, u"*.cpp"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!TestFiles::write(to + u'/' + QDir(from).relativeFilePath(path), TestFiles::read(path)))
            return false;
    }
    return true;
}

} // namespace

class TestFloors : public QObject {
    Q_OBJECT

    const QString source = QStringLiteral(PONDRIFT_SOURCE_DIR) + u"/src"_s;

private Q_SLOTS:
    void theSourceTreeKeepsItsFloors()
    {
        QVERIFY2(!widgetHeaders().isEmpty(), "Qt Widgets' headers are not where the build says");
        const QStringList found = violations(source);
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
    }

    void aPlantedWrongIncludeIsCaught_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("report");
        QTest::newRow("a model includes a higher floor")
            << u"notes/NoteStore.cpp"_s << u"#include \"editor/EditorBridge.h\""_s
            << u"notes/NoteStore.cpp: includes editor/EditorBridge.h, not on a lower floor"_s;
        QTest::newRow("two folders of one floor include each other")
            << u"exchange/NoteDocument.cpp"_s << u"#include \"editor/EditorBridge.h\""_s
            << u"exchange/NoteDocument.cpp: includes editor/EditorBridge.h, not on a lower floor"_s;
        QTest::newRow("the platform includes the settings above it")
            << u"platform/Log.cpp"_s << u"#include \"settings/Settings.h\""_s
            << u"platform/Log.cpp: includes settings/Settings.h, not on a lower floor"_s;
        QTest::newRow("a core file includes Qt Widgets by module")
            << u"notes/NoteText.cpp"_s << u"#include <QtWidgets/QWidget>"_s
            << u"notes/NoteText.cpp: includes <QtWidgets/QWidget> outside ui/"_s;
        QTest::newRow("a core file includes a widget by its class")
            << u"editor/EditorBridge.cpp"_s << u"#include <QTextEdit>"_s
            << u"editor/EditorBridge.cpp: includes <QTextEdit> outside ui/"_s;
        QTest::newRow("a core file includes xcb")
            << u"platform/Files.cpp"_s << u"#include <xcb/xcb.h>"_s
            << u"platform/Files.cpp: includes <xcb/xcb.h> outside ui/"_s;
        QTest::newRow("a model includes the widgets of its own subsystem")
            << u"editor/EditorBridge.cpp"_s << u"#include \"editor/ui/NoteTextView.h\""_s
            << u"editor/EditorBridge.cpp: includes the widget file editor/ui/NoteTextView.h "
               u"outside ui/"_s;
    }
    void aPlantedWrongIncludeIsCaught()
    {
        QFETCH(QString, file);
        QFETCH(QString, line);
        QFETCH(QString, report);
        QTemporaryDir copy;
        QVERIFY(copyTree(source, copy.path()));
        const QString path = copy.filePath(file);
        QVERIFY2(QFile::exists(path), qPrintable(file));
        QVERIFY(TestFiles::write(path, TestFiles::read(path) + line.toUtf8() + '\n'));
        QCOMPARE(violations(copy.path()), QStringList{report});
    }
};

QTEST_GUILESS_MAIN(TestFloors)
#include "tst_floors.moc"
