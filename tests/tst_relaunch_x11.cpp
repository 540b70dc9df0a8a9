#include "support/VirtualScreen.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {

// A window manager on a busy machine may take seconds to answer.
constexpr int patience = 30000;

// The real program on an X server of its own with openbox, in a home of its own, driven by
// xdotool as a person's hand would. Both processes of a relaunch write to one log file: the
// new one inherits the old one's standard error.
class ProgramOnScreen {
public:
    ~ProgramOnScreen()
    {
        // The relaunched process is no child of ours: it is told by the home it runs in.
        for (const qint64 pid : programsInHome()) {
            if (pid != program.processId())
                ::kill(static_cast<pid_t>(pid), SIGTERM);
        }
        [[maybe_unused]] const bool gone =
            QTest::qWaitFor([&] { return programsInHome().size() <= 1; }, patience);
        for (QProcess* p : {&program, &windowManager}) {
            if (p->state() != QProcess::NotRunning) {
                p->kill();
                p->waitForFinished(10000);
            }
        }
    }

    bool start()
    {
        display = screen.start({1280, 800});
        if (display.isEmpty())
            return false;
        QDir(home.path()).mkpath(u"run"_s);
        QFile::setPermissions(home.path() + u"/run"_s, QFileDevice::ReadOwner
                                                           | QFileDevice::WriteOwner
                                                           | QFileDevice::ExeOwner);
        windowManager.setProcessEnvironment(environment());
        windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
        return windowManager.waitForStarted()
               && QTest::qWaitFor(
                   [&] {
                       return run(u"xprop"_s, {u"-root"_s})
                           .contains("_NET_SUPPORTING_WM_CHECK(WINDOW)");
                   },
                   patience);
    }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"DISPLAY"_s, QString::fromLatin1(display));
        env.insert(u"HOME"_s, home.path());
        env.insert(u"XDG_DATA_HOME"_s, home.path() + u"/data"_s);
        env.insert(u"XDG_CONFIG_HOME"_s, home.path() + u"/config"_s);
        env.insert(u"XDG_RUNTIME_DIR"_s, home.path() + u"/run"_s);
        env.insert(u"PONDRIFT_DEBUG_DECK"_s, u"1"_s);
        env.remove(u"QT_QPA_PLATFORM"_s);
        return env;
    }

    bool seed(const QStringList& titles)
    {
        return QProcess::execute(QString::fromUtf8(PONDRIFT_HELPER_DIR) + u"/seednotes"_s,
                                 QStringList{home.path() + u"/data/Pondrift"_s} + titles)
               == 0;
    }

    bool launch()
    {
        program.setProcessEnvironment(environment());
        program.setStandardOutputFile(logPath(), QIODevice::Append);
        program.setStandardErrorFile(logPath(), QIODevice::Append);
        program.start(QString::fromUtf8(PONDRIFT_BINARY), {});
        return program.waitForStarted() && waitForLine(u"making a deck"_s);
    }

    // A later start with a request, handed to the running instance.
    bool request(const QString& url)
    {
        QProcess later;
        later.setProcessEnvironment(environment());
        later.start(QString::fromUtf8(PONDRIFT_BINARY), {url});
        return later.waitForFinished(patience) && later.exitCode() == 0;
    }

    // Waits for a log line holding the text, after the lines already looked at; the match
    // is captured whole from the first group of the pattern.
    bool waitForLine(const QString& pattern, QString* captured = nullptr)
    {
        const QRegularExpression re(pattern);
        return QTest::qWaitFor(
            [&] {
                const QString log = logSoFar();
                const QRegularExpressionMatch m = re.match(log, seen);
                if (!m.hasMatch())
                    return false;
                seen = m.capturedEnd();
                if (captured)
                    *captured = m.captured(1);
                return true;
            },
            patience);
    }
    QString logSoFar() const
    {
        QFile file(logPath());
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    QByteArray run(const QString& tool, const QStringList& args) const
    {
        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(tool, args);
        if (!p.waitForFinished(patience))
            return {};
        return p.readAllStandardOutput().trimmed();
    }
    bool xdotool(const QStringList& args) const
    {
        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(u"xdotool"_s, args);
        return p.waitForFinished(patience) && p.exitCode() == 0;
    }
    QString window(const QString& name) const
    {
        const QByteArray found = run(u"xdotool"_s, {u"search"_s, u"--name"_s, u'^' + name + u'$'});
        return QString::fromLatin1(found.split('\n').constFirst());
    }
    QString activeWindow() const
    {
        return QString::fromLatin1(run(u"xdotool"_s, {u"getactivewindow"_s}));
    }
    qint64 pidOf(const QString& window) const
    {
        return run(u"xdotool"_s, {u"getwindowpid"_s, window}).toLongLong();
    }
    // Every process of the program that runs in this test's home.
    QList<qint64> programsInHome() const
    {
        QList<qint64> pids;
        const QByteArray mark = "HOME=" + home.path().toUtf8();
        for (const QString& entry : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
            bool number = false;
            const qint64 pid = entry.toLongLong(&number);
            QFile environ(u"/proc/"_s + entry + u"/environ"_s);
            if (!number || !environ.open(QIODevice::ReadOnly))
                continue;
            if (environ.readAll().split('\0').contains(mark)
                && QFile::symLinkTarget(u"/proc/"_s + entry + u"/exe"_s)
                       == QFileInfo(QString::fromUtf8(PONDRIFT_BINARY)).canonicalFilePath())
                pids << pid;
        }
        return pids;
    }

    QProcess program;

private:
    QString logPath() const { return home.filePath(u"pondrift.log"_s); }

    VirtualScreen screen;
    QByteArray display;
    QTemporaryDir home;
    QProcess windowManager;
    qsizetype seen = 0;
};

} // namespace

class TestRelaunchX11 : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Chinese chosen in the settings window while a note is open in the deck: the program
    // replaces itself, and the new process shows the same note and the settings window again,
    // in Chinese.
    void aNewLanguageRelaunchesWithTheSameNoteOpen()
    {
        ProgramOnScreen desk;
        QVERIFY2(desk.start(), "Xvfb, openbox, xprop and xdotool are needed for this test");
        QVERIFY(desk.seed({u"Groceries"_s}));
        QVERIFY(desk.launch());

        // The settings window, with the keyboard on its language list: the second tab's first
        // control.
        QVERIFY(desk.request(u"pondrift://settings"_s));
        QString settings;
        QVERIFY(QTest::qWaitFor(
            [&] { return !(settings = desk.window(u"Pondrift Settings"_s)).isEmpty(); }, patience));
        QVERIFY(QTest::qWaitFor([&] { return desk.activeWindow() == settings; }, patience));
        QVERIFY(desk.xdotool({u"key"_s, u"--delay"_s, u"100"_s, u"ctrl+Tab"_s, u"Tab"_s}));

        // A note opened from the deck's pill and pinned, so that it stays open when the
        // settings window takes the keyboard back.
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, u"1275"_s, u"400"_s}));
        QString tab;
        QVERIFY2(desk.waitForLine(u"\\[deck\\] items tab:\\S*@(\\d+,\\d+,\\d+x\\d+)"_s, &tab),
                 qPrintable(desk.logSoFar()));
        const QStringList box = tab.split(QRegularExpression(u"[,x]"_s));
        const QPoint centre(box[0].toInt() + box[2].toInt() / 2,
                            box[1].toInt() + box[3].toInt() / 2);
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(centre.x()),
                              QString::number(centre.y()), u"click"_s, u"1"_s}));
        QString id;
        QVERIFY2(desk.waitForLine(u"fan -> expanded\\(([0-9A-F-]+)\\)"_s, &id),
                 qPrintable(desk.logSoFar()));
        QVERIFY(QTest::qWaitFor([&] { return desk.activeWindow() != settings; }, patience));
        QVERIFY(desk.xdotool({u"key"_s, u"ctrl+p"_s}));
        QVERIFY(desk.xdotool({u"windowactivate"_s, u"--sync"_s, settings}));
        QVERIFY(QTest::qWaitFor([&] { return desk.activeWindow() == settings; }, patience));

        QVERIFY(desk.xdotool({u"key"_s, u"End"_s}));

        QVERIFY2(desk.program.waitForFinished(patience), "the old process ends");
        QCOMPARE(desk.program.exitCode(), 0);
        QVERIFY2(desk.waitForLine(u"(making a deck)"_s), qPrintable(desk.logSoFar()));
        QString reopened;
        QVERIFY2(desk.waitForLine(u"rest -> expanded\\(([0-9A-F-]+)\\)"_s, &reopened),
                 qPrintable(desk.logSoFar()));
        QCOMPARE(reopened, id);
        QString chinese;
        QVERIFY(QTest::qWaitFor(
            [&] { return !(chinese = desk.window(u"Pondrift 设置"_s)).isEmpty(); }, patience));
        const qint64 pid = desk.pidOf(chinese);
        QVERIFY(pid > 0);
        QCOMPARE(desk.programsInHome(), QList<qint64>{pid});
    }
};

QTEST_MAIN(TestRelaunchX11)
#include "tst_relaunch_x11.moc"
