#include "notes/Store.h"
#include "platform/qt/QtFiles.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

// Every way the program can be ended from outside saves what was typed: a signal from a
// closing terminal or a session, and the display going away under it (a desktop without
// session management kills the X server at logout).
class TestEndings : public QObject {
    Q_OBJECT

    static constexpr int patience = 60000;

    // Starts the program with an edit its clock will never save, on the given display,
    // and waits until the edit is made.
    static bool startWithUnsavedEdit(QProcess& program, const QString& data, const QString& text,
                                     const QString& display)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"DISPLAY"_s, display);
        env.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        program.setProcessEnvironment(env);
        program.setProcessChannelMode(QProcess::SeparateChannels);
        program.setReadChannel(QProcess::StandardOutput);
        program.start(QString::fromUtf8(PONDRIFT_HELPER_DIR) + u"/unsavededit"_s, {data, text});
        if (!program.waitForStarted(patience))
            return false;
        QDeadlineTimer deadline(patience);
        while (!program.canReadLine() && program.state() == QProcess::Running
               && !deadline.hasExpired())
            program.waitForReadyRead(100);
        return program.canReadLine() && program.readLine().trimmed() == "R";
    }

    static QStringList bodies(const QString& data)
    {
        QtFiles files;
        Store store(data + u"/notes.db"_s, data + u"/note.key"_s, files);
        QStringList result;
        for (const Note& note : store.load())
            result << note.body;
        return result;
    }

private Q_SLOTS:
    void everyEndingSignalSavesTheUnsavedEdit_data()
    {
        QTest::addColumn<int>("signalNumber");
        QTest::newRow("SIGHUP: the terminal closed") << int(SIGHUP);
        QTest::newRow("SIGQUIT: Ctrl+\\ in the terminal") << int(SIGQUIT);
        QTest::newRow("SIGTERM: the session ends") << int(SIGTERM);
        QTest::newRow("SIGINT: Ctrl+C") << int(SIGINT);
    }
    void everyEndingSignalSavesTheUnsavedEdit()
    {
        QFETCH(int, signalNumber);
        QTemporaryDir data;
        QProcess program;
        QVERIFY(startWithUnsavedEdit(program, data.path(), u"typed before the signal"_s,
                                     qEnvironmentVariable("DISPLAY")));
        ::kill(static_cast<pid_t>(program.processId()), signalNumber);
        QVERIFY(program.waitForFinished(patience));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(bodies(data.path()), QStringList{u"typed before the signal"_s});
    }

    void theXServerDyingSavesTheUnsavedEdit()
    {
        // A display of its own, to kill.
        QProcess server;
        server.setProcessChannelMode(QProcess::SeparateChannels);
        server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"640x480x24"_s,
                                 u"-nolisten"_s, u"tcp"_s});
        QVERIFY2(server.waitForStarted(patience), "Xvfb is needed for this test");
        QDeadlineTimer deadline(patience);
        while (!server.canReadLine() && !deadline.hasExpired())
            server.waitForReadyRead(100);
        const QByteArray number = server.readLine().trimmed();
        QVERIFY(!number.isEmpty());

        QTemporaryDir data;
        QProcess program;
        QVERIFY(startWithUnsavedEdit(program, data.path(), u"typed before the display went"_s,
                                     u":"_s + QString::fromLatin1(number)));
        server.kill();
        QVERIFY(server.waitForFinished(patience));
        QVERIFY(program.waitForFinished(patience));
        QCOMPARE(bodies(data.path()), QStringList{u"typed before the display went"_s});
    }
};

QTEST_GUILESS_MAIN(TestEndings)
#include "tst_endings_x11.moc"
